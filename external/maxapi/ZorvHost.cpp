// The facade over our Max API layer: it plays the host's part for one
// zorv.pan~ object.
//
// Deferred calls (defer_medium) run when the facade next hands control back to
// the message side: at the end of Create and of SendMessage, and at the start
// of StartDsp. ProcessBlock never runs them: it is the audio thread's.

#include "ZorvHost.h"

#include <algorithm>
#include <cstring>
#include <exception>
#include <iostream>
#include <mutex>
#include <utility>

#include "MaxApiHost.h"
#include "ZorvPanObject.h"

namespace zorvhost {

namespace {

t_class* panClass() {
  static std::once_flag once;
  std::call_once(once, [] { zorv_pan_main(); });
  return zorv_pan_class;
}

Severity severityOf(int severity) {
  switch (severity) {
    case maxapi_warning:
      return Severity::Warning;
    case maxapi_error:
      return Severity::Error;
    case maxapi_bug:
      return Severity::Bug;
    default:
      return Severity::Post;
  }
}

}  // namespace

namespace {

// A stream buffer that takes everything and keeps nothing.
class NullBuffer final : public std::streambuf {
 protected:
  int overflow(int c) override { return traits_type::not_eof(c); }
  std::streamsize xsputn(char const*, std::streamsize n) override { return n; }
};

std::streambuf*& hiddenBuffer() {
  static std::streambuf* buffer = nullptr;
  return buffer;
}

}  // namespace

std::streambuf* HideCppErrorStream() {
  // Never destroyed: std::cerr is flushed at exit, after function statics
  // made later than it are gone.
  static NullBuffer* nowhere = new NullBuffer();
  if (hiddenBuffer() == nullptr) {
    hiddenBuffer() = std::cerr.rdbuf(nowhere);
  }
  return hiddenBuffer();
}

void ShowCppErrorStream() {
  if (hiddenBuffer() != nullptr) {
    std::cerr.rdbuf(hiddenBuffer());
    hiddenBuffer() = nullptr;
  }
}

std::vector<ConsoleLine> TakeConsole() {
  std::vector<ConsoleLine> lines;
  for (auto& line : maxapi_console_take()) {
    lines.push_back(ConsoleLine{severityOf(line.first), std::move(line.second)});
  }
  return lines;
}

struct PanObject::Impl {
  t_pxobject* x = nullptr;
  unsigned int numInlets = 0;
  unsigned int numOutlets = 0;
  std::vector<short> connected;

  // The chain and what it reads and writes: one vector per inlet, then one per
  // outlet, blockSize samples each, made by StartDsp.
  maxapi_chain chain;
  unsigned int blockSize = 0;
  std::vector<float> signalMemory;
  std::vector<t_signal> signals;
  std::vector<t_signal*> signalPointers;
  std::vector<short> counts;
  // Chain words that carry the vector size, so that a shorter block can run.
  std::vector<std::size_t> vectorSizeWords;
  bool vectorSizeKnown = false;

  float* vector(unsigned int signal) {
    return signalMemory.data() + static_cast<std::size_t>(signal) * blockSize;
  }

  void build(unsigned int n, maxapi_chain& into) {
    for (t_signal& s : signals) s.s_n = static_cast<long>(n);
    maxapi_dsp_build(x, into, signalPointers.data(), counts.data());
  }
};

PanObject::PanObject(std::unique_ptr<Impl> i) : impl(std::move(i)) {}

PanObject::~PanObject() {
  if (impl->x != nullptr) object_free(impl->x);
}

std::unique_ptr<PanObject> PanObject::Create(std::string const& boxText, ConsoleSink sink) {
  t_class* c = panClass();
  std::vector<t_atom> atoms = maxapi_parse_atoms(boxText.c_str());
  if (!atoms.empty() && atoms.front().a_type == A_SYM &&
      atoms.front().a_w.w_sym == class_nameget(c)) {
    atoms.erase(atoms.begin());
  }
  maxapi_console_sink lineSink;
  if (sink) {
    lineSink = [sink](int severity, std::string const& text) { sink(severityOf(severity), text); };
  }
  void* x = nullptr;
  try {
    x = maxapi_object_new(c, atoms, lineSink);
  } catch (std::exception const& e) {
    // A host would let this through; a front end gets the reason instead.
    if (lineSink) {
      lineSink(maxapi_bug, e.what());
    } else {
      maxapi_console_write(nullptr, maxapi_bug, e.what());
    }
    return nullptr;
  }
  if (x == nullptr) return nullptr;
  auto impl = std::make_unique<Impl>();
  impl->x = static_cast<t_pxobject*>(x);
  maxapi_instance const* info = impl->x->z_ob.o_host;
  impl->numInlets = static_cast<unsigned int>(info->signalInlets);
  impl->numOutlets = static_cast<unsigned int>(info->signalOutlets + info->outlets);
  impl->connected.assign(impl->numInlets, 1);
  maxapi_defer_run(x);
  return std::unique_ptr<PanObject>(new PanObject(std::move(impl)));
}

unsigned int PanObject::NumInlets() const {
  return impl->numInlets;
}

unsigned int PanObject::NumOutlets() const {
  return impl->numOutlets;
}

void PanObject::SendMessage(std::string const& text) {
  std::vector<t_atom> atoms = maxapi_parse_atoms(text.c_str());
  if (atoms.empty()) return;
  t_symbol* selector = nullptr;
  if (atoms.front().a_type == A_SYM) {
    selector = atoms.front().a_w.w_sym;
    atoms.erase(atoms.begin());
  } else if (atoms.size() > 1) {
    selector = gensym("list");
  } else {
    selector = gensym(atoms.front().a_type == A_LONG ? "int" : "float");
  }
  maxapi_object_message(impl->x, selector, static_cast<long>(atoms.size()),
                        atoms.empty() ? nullptr : atoms.data());
  maxapi_defer_run(impl->x);
}

void PanObject::SetInletConnected(unsigned int inlet, bool connected) {
  if (inlet < impl->connected.size()) impl->connected[inlet] = connected ? 1 : 0;
}

void PanObject::SetDisabled(bool disabled) {
  impl->x->z_disabled = disabled ? 1 : 0;
}

void PanObject::StartDsp(double samplerate, unsigned int blockSize) {
  Impl& m = *impl;
  maxapi_defer_run(m.x);
  if (blockSize == 0) blockSize = 1;
  unsigned int const numSignals = m.numInlets + m.numOutlets;
  m.blockSize = blockSize;
  m.signalMemory.assign(static_cast<std::size_t>(numSignals) * blockSize, 0.f);
  m.signals.resize(numSignals);
  m.signalPointers.resize(numSignals);
  for (unsigned int s = 0; s < numSignals; ++s) {
    m.signals[s].s_n = static_cast<long>(blockSize);
    m.signals[s].s_vec = m.vector(s);
    m.signals[s].s_sr = samplerate;
    m.signalPointers[s] = &m.signals[s];
  }
  m.counts.assign(numSignals, 1);
  for (unsigned int i = 0; i < m.numInlets; ++i) m.counts[i] = m.connected[i];
  maxapi_set_samplerate(samplerate);
  maxapi_set_blocksize(static_cast<int>(blockSize));

  // The chain is built twice, at half and at full size: the words that differ
  // are the ones that carry the vector size. The full-size build comes last,
  // so the object ends configured for blockSize.
  m.vectorSizeWords.clear();
  m.vectorSizeKnown = false;
  if (blockSize >= 2) {
    maxapi_chain probe;
    m.build(blockSize / 2, probe);
    m.build(blockSize, m.chain);
    if (probe.words.size() == m.chain.words.size()) {
      m.vectorSizeKnown = true;
      for (std::size_t w = 0; w < probe.words.size(); ++w) {
        if (probe.words[w] == static_cast<t_int>(blockSize / 2) &&
            m.chain.words[w] == static_cast<t_int>(blockSize)) {
          m.vectorSizeWords.push_back(w);
        }
      }
    }
  } else {
    m.build(blockSize, m.chain);
    m.vectorSizeKnown = true;
  }
}

void PanObject::ProcessBlock(float const* const* inputs, float* const* outputs,
                             unsigned int numSamples) {
  Impl& m = *impl;
  if (m.blockSize == 0) {
    // No chain yet: silence.
    for (unsigned int j = 0; j < m.numOutlets && outputs != nullptr; ++j) {
      if (outputs[j] != nullptr) std::fill(outputs[j], outputs[j] + numSamples, 0.f);
    }
    return;
  }
  if (numSamples == 0 || numSamples > m.blockSize) numSamples = m.blockSize;
  std::size_t const n = numSamples;
  for (unsigned int i = 0; i < m.numInlets; ++i) {
    float* v = m.vector(i);
    if (inputs != nullptr && inputs[i] != nullptr) {
      std::memcpy(v, inputs[i], n * sizeof(float));
    } else {
      std::fill(v, v + n, 0.f);
    }
    // A shorter block whose size the chain cannot take runs at full size on
    // silence past its end.
    if (n < m.blockSize && !m.vectorSizeKnown) std::fill(v + n, v + m.blockSize, 0.f);
  }
  bool const patch = n < m.blockSize && m.vectorSizeKnown;
  if (patch) {
    for (std::size_t w : m.vectorSizeWords) m.chain.words[w] = static_cast<t_int>(n);
  }
  maxapi_chain_run(m.chain);
  if (patch) {
    for (std::size_t w : m.vectorSizeWords) m.chain.words[w] = static_cast<t_int>(m.blockSize);
  }
  for (unsigned int j = 0; j < m.numOutlets; ++j) {
    if (outputs != nullptr && outputs[j] != nullptr) {
      std::memcpy(outputs[j], m.vector(m.numInlets + j), n * sizeof(float));
    }
  }
}

std::vector<std::string> PanObject::GetAttribute(std::string const& name) const {
  std::vector<std::string> texts;
  long argc = 0;
  t_atom* argv = nullptr;
  if (object_attr_getvalueof(impl->x, gensym(name.c_str()), &argc, &argv) != MAX_ERR_NONE) {
    return texts;
  }
  for (long i = 0; i < argc; ++i) texts.push_back(maxapi_atom_text(argv[i]));
  sysmem_freeptr(argv);
  return texts;
}

}  // namespace zorvhost
