// The Pure Data external zorv.pan~: box text, messages, DSP start and signal
// blocks go to the facade; the object's console text comes back to Pd's
// window. The same box text and messages as in every other host:
//   [zorv.pan~ @numinputs 4 @numoutputs 8 @type vbap2d]
//
// Inlets and outlets: one signal inlet per source, the leftmost also taking
// every message; one signal outlet per output.
//
// Unconnected inlets: Pd feeds them a vector of zeros, and Pd 0.53 has no call
// that tells whether a signal inlet is connected. At each DSP start the
// adapter looks at the lines of the object's own canvas: an inlet counts as
// connected (active) when at least one line comes into it from a signal
// outlet. A line from an [inlet~] counts even when nothing feeds the subpatch
// from outside. A float into the leftmost inlet is a message for the object,
// not a constant signal, so an unconnected leftmost inlet stays silent.
//
// The panners' traces to the C++ error stream (std::cerr) are hidden unless
// the environment variable ZORV_PAN_VERBOSE is set (to anything but 0).
//
// Threads: Pd runs messages, DSP start and the perform routine under its one
// lock; the perform routine allocates nothing. This file talks to the facade
// only: Pd's names (gensym, class_new, post, t_atom...) are the only host
// names here.

// clang-format off
// Pd's inner headers need m_pd.h first.
#include <m_pd.h>
extern "C" {
#include <m_imp.h>  // obj_issignaloutlet; this header has no C++ guard of its own
}
#include <g_canvas.h>  // the lines of a canvas
// clang-format on

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <exception>
#include <memory>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "ZorvHost.h"
#include "ZorvPdAtomText.h"

// The facade's vectors are 32-bit floats; so are those of Debian's Pd. A Pd
// built with 64-bit samples needs a conversion here.
static_assert(sizeof(t_sample) == sizeof(float), "Pd's samples are not 32-bit floats");

namespace {

char const* const objectName = "zorv.pan~";

t_class* panTildeClass = nullptr;

// Where one object's console lines go. Lines that come while the box is
// being made wait until Pd's object exists, so that they name it; the lines
// of a box that makes no object go out without one.
struct ConsoleRoute {
  t_object const* owner = nullptr;
  bool holding = true;
  std::vector<zorvhost::ConsoleLine> held;
};

void printLine(t_object const* owner, zorvhost::Severity severity, std::string line) {
  // Some of the object's texts name it already ("zorv.pan~: doesn't
  // understand ..."); Pd's window names it once.
  std::string const name = std::string(objectName) + ": ";
  if (line.compare(0, name.size(), name) == 0) line.erase(0, name.size());
  switch (severity) {
    case zorvhost::Severity::Post:
      post("%s: %s", objectName, line.c_str());
      break;
    case zorvhost::Severity::Warning:
      post("%s: warning: %s", objectName, line.c_str());
      break;
    case zorvhost::Severity::Error:
      // With the object, so that Pd's "find last error" selects the box.
      pd_error(owner, "%s: %s", objectName, line.c_str());
      break;
    case zorvhost::Severity::Bug:
      pd_error(owner, "%s: bug: %s", objectName, line.c_str());
      break;
  }
}

void print(t_object const* owner, zorvhost::Severity severity, std::string const& text) {
  std::istringstream lines(text);
  std::string line;
  bool any = false;
  while (std::getline(lines, line)) {
    printLine(owner, severity, line);
    any = true;
  }
  if (!any) printLine(owner, severity, "");
}

void release(ConsoleRoute& route, t_object const* owner) {
  route.owner = owner;
  route.holding = false;
  for (auto const& line : route.held) print(owner, line.severity, line.text);
  route.held.clear();
}

// What Pd's allocator cannot make: pd_new zeroes the record and runs no
// constructor, so the record holds a pointer to this.
struct Adapter {
  std::unique_ptr<zorvhost::PanObject> pan;
  std::shared_ptr<ConsoleRoute> console;
  t_glist* canvas = nullptr;  // the canvas the box is on: its lines say what is connected
  // The signal vectors of the current DSP chain, set by dsp and read by
  // perform: one per Pd signal inlet, then one per outlet.
  std::vector<float const*> inputs;
  std::vector<float*> outputs;
  std::vector<char> connected;  // scratch for dsp
};

struct PanTilde {
  t_object ob;
  // CLASS_MAINSIGNALIN wants a float field; floats go to the object instead,
  // so this stays 0 and an unconnected leftmost inlet reads zeros.
  t_float scalar;
  Adapter* adapter;
};

void reportException(t_object const* owner, std::exception const& e) {
  print(owner, zorvhost::Severity::Bug, e.what());
}

void sendToObject(PanTilde* x, std::string const& text) {
  try {
    x->adapter->pan->SendMessage(text);
  } catch (std::exception const& e) {
    // Pd is C: nothing may be thrown through it.
    reportException(&x->ob, e);
  }
}

void* panTildeNew(t_symbol*, int argc, t_atom* argv) {
  auto adapter = std::make_unique<Adapter>();
  auto console = std::make_shared<ConsoleRoute>();
  adapter->console = console;
  try {
    adapter->pan = zorvhost::PanObject::Create(
        zorvpd::AtomsText(argc, argv),
        [console](zorvhost::Severity severity, std::string const& text) {
          if (console->holding) {
            console->held.push_back(zorvhost::ConsoleLine{severity, text});
          } else {
            print(console->owner, severity, text);
          }
        });
  } catch (std::exception const& e) {
    release(*console, nullptr);
    reportException(nullptr, e);
    return nullptr;
  }
  if (!adapter->pan) {
    // Pd says "couldn't create" after this, with the box.
    release(*console, nullptr);
    return nullptr;
  }

  auto* x = reinterpret_cast<PanTilde*>(pd_new(panTildeClass));
  x->scalar = 0;
  adapter->canvas = canvas_getcurrent();
  unsigned int const numInlets = std::max(1u, adapter->pan->NumInlets());
  unsigned int const numOutlets = adapter->pan->NumOutlets();
  for (unsigned int i = 1; i < numInlets; ++i)
    inlet_new(&x->ob, &x->ob.ob_pd, &s_signal, &s_signal);
  for (unsigned int j = 0; j < numOutlets; ++j) outlet_new(&x->ob, &s_signal);
  adapter->inputs.assign(numInlets, nullptr);
  adapter->outputs.assign(numOutlets, nullptr);
  adapter->connected.assign(numInlets, 0);
  x->adapter = adapter.release();
  release(*console, &x->ob);
  return x;
}

void panTildeFree(PanTilde* x) {
  // Pd has taken the object out of the DSP chain already.
  delete x->adapter;
  x->adapter = nullptr;
}

// Marks the inlets that at least one line from a signal outlet comes into.
void findConnectedInlets(PanTilde* x) {
  Adapter& a = *x->adapter;
  std::fill(a.connected.begin(), a.connected.end(), 0);
  if (a.canvas == nullptr) {
    std::fill(a.connected.begin(), a.connected.end(), 1);
    return;
  }
  t_linetraverser t;
  linetraverser_start(&t, a.canvas);
  while (linetraverser_next(&t) != nullptr) {
    if (t.tr_ob2 != &x->ob || t.tr_inno < 0) continue;
    auto const inlet = static_cast<std::size_t>(t.tr_inno);
    if (inlet < a.connected.size() && obj_issignaloutlet(t.tr_ob, t.tr_outno)) {
      a.connected[inlet] = 1;
    }
  }
}

// Audio: one call into the facade, which copies the inputs before it writes
// the outputs, so Pd may hand the same vector as an input and an output.
// Allocates nothing.
t_int* panTildePerform(t_int* w) {
  auto* a = reinterpret_cast<Adapter*>(w[1]);
  auto const n = static_cast<unsigned int>(w[2]);
  a->pan->ProcessBlock(a->inputs.data(), a->outputs.data(), n);
  return w + 3;
}

void panTildeDsp(PanTilde* x, t_signal** sp) {
  Adapter& a = *x->adapter;
  std::size_t const numInlets = a.inputs.size();
  for (std::size_t i = 0; i < numInlets; ++i) a.inputs[i] = sp[i]->s_vec;
  for (std::size_t j = 0; j < a.outputs.size(); ++j) a.outputs[j] = sp[numInlets + j]->s_vec;
  findConnectedInlets(x);
  for (unsigned int i = 0; i < a.pan->NumInlets(); ++i) {
    a.pan->SetInletConnected(i, a.connected[i] != 0);
  }
  int const n = sp[0]->s_n;
  try {
    a.pan->StartDsp(sp[0]->s_sr, static_cast<unsigned int>(n));
  } catch (std::exception const& e) {
    reportException(&x->ob, e);
    for (float* out : a.outputs) dsp_add_zero(out, n);
    return;
  }
  dsp_add(panTildePerform, 2, x->adapter, static_cast<t_int>(n));
}

void panTildeFloat(PanTilde* x, t_float f) {
  t_atom atom;
  SETFLOAT(&atom, f);
  sendToObject(x, zorvpd::AtomText(atom));
}

void panTildeAnything(PanTilde* x, t_symbol* s, int argc, t_atom* argv) {
  sendToObject(x, zorvpd::MessageText(s, argc, argv));
}

}  // namespace

// Pd's loader derives this name from the class name: characters that cannot
// be in a C name in hexadecimal, a trailing tilde as "_tilde". It is the only
// symbol the module exports (see ZorvPdExports.map).
extern "C" void setup_zorv0x2epan_tilde(void) {
  // Some panners trace their settings to the C++ error stream, which in Pd
  // is the terminal Pd was started from (or nowhere) and not Pd's window:
  // hidden unless ZORV_PAN_VERBOSE is set to something other than 0.
  char const* verbose = std::getenv("ZORV_PAN_VERBOSE");
  if (verbose == nullptr || *verbose == '\0' || std::string(verbose) == "0") {
    zorvhost::HideCppErrorStream();
  }
  t_class* c = class_new(
      gensym(objectName), reinterpret_cast<t_newmethod>(reinterpret_cast<t_method>(panTildeNew)),
      reinterpret_cast<t_method>(panTildeFree), sizeof(PanTilde), CLASS_DEFAULT, A_GIMME, A_NULL);
  CLASS_MAINSIGNALIN(c, PanTilde, scalar);
  // After CLASS_MAINSIGNALIN, which takes floats for a constant signal: here
  // a float is a message for the object, as in its other hosts.
  class_addfloat(c, reinterpret_cast<t_method>(panTildeFloat));
  class_addanything(c, reinterpret_cast<t_method>(panTildeAnything));
  class_addmethod(c, reinterpret_cast<t_method>(panTildeDsp), gensym("dsp"), A_CANT, A_NULL);
  panTildeClass = c;
}
