// Signal objects and the perform chain.

#include <atomic>
#include <cstdarg>

#include "MaxApiHost.h"

namespace {

std::atomic<double> currentSamplerate{44100.};
std::atomic<int> currentBlocksize{64};

// The chain that dsp_add appends to: set only while a "dsp" method runs.
thread_local maxapi_chain* building = nullptr;

bool isInstance(void* x) {
  auto* ob = static_cast<t_object*>(x);
  return ob != nullptr && ob->o_messlist != nullptr && ob->o_messlist->c_kind == maxapi_kind_class;
}

}  // namespace

void class_dspinit(t_class* c) {
  if (c != nullptr && c->c_kind == maxapi_kind_class) c->c_data->dsp = true;
}

void z_dsp_setup(t_pxobject* x, long nsignals) {
  if (!isInstance(x)) return;
  x->z_in = nsignals;
  x->z_disabled = 0;
  x->z_ob.o_host->signalInlets = nsignals < 0 ? 0 : nsignals;
}

void z_dsp_free(t_pxobject* x) {
  if (!isInstance(x)) return;
  maxapi_instance* info = x->z_ob.o_host;
  if (info->chain != nullptr) info->chain->words.clear();
  info->chain = nullptr;
}

void dsp_add(t_perfroutine f, int n, ...) {
  if (building == nullptr || f == nullptr) return;
  building->words.push_back(reinterpret_cast<t_int>(f));
  va_list args;
  va_start(args, n);
  for (int i = 0; i < n; ++i) building->words.push_back(va_arg(args, t_int));
  va_end(args);
}

void dsp_addv(t_perfroutine f, int n, void** vector) {
  if (building == nullptr || f == nullptr) return;
  building->words.push_back(reinterpret_cast<t_int>(f));
  for (int i = 0; i < n; ++i) building->words.push_back(reinterpret_cast<t_int>(vector[i]));
}

double sys_getsr(void) {
  return currentSamplerate.load();
}

int sys_getblksize(void) {
  return currentBlocksize.load();
}

void maxapi_set_samplerate(double sr) {
  currentSamplerate.store(sr);
}

void maxapi_set_blocksize(int n) {
  currentBlocksize.store(n);
}

bool maxapi_dsp_build(void* x, maxapi_chain& chain, t_signal** signals, short* counts) {
  common_symbols_init();
  if (!isInstance(x)) return false;
  auto* ob = static_cast<t_object*>(x);
  maxapi_method_entry const* dsp = nullptr;
  for (maxapi_method_entry const& m : ob->o_messlist->c_data->methods) {
    if (m.name == _sym_dsp) dsp = &m;
  }
  chain.words.clear();
  if (dsp == nullptr) return false;
  maxapi_chain* saved = building;
  building = &chain;
  typedef void (*dsp_fn)(void*, t_signal**, short*);
  reinterpret_cast<dsp_fn>(dsp->fn)(x, signals, counts);
  building = saved;
  ob->o_host->chain = &chain;
  return true;
}

void maxapi_chain_run(maxapi_chain const& chain) {
  t_int* w = const_cast<t_int*>(chain.words.data());
  t_int* const end = w + chain.words.size();
  while (w != nullptr && w < end) {
    w = reinterpret_cast<t_perfroutine>(*w)(w);
  }
}
