#pragma once

#include <functional>
#include <memory>
#include <streambuf>
#include <string>
#include <vector>

// The facade: the one way a front end (tests, the offline renderer, the Pure
// Data external, a real-time host) drives a zorv.pan~ object. It behaves as the
// host does: it makes the object from its box text, hands it messages as atoms,
// builds the DSP chain and runs the perform routine block by block. This header
// exposes only its own types, so a front end can include it next to another
// host's headers.
//
// Threads: one object may be driven from two threads as in a host (messages on
// one, blocks on the other); ProcessBlock allocates nothing.
namespace zorvhost {

enum class Severity { Post, Warning, Error, Bug };

struct ConsoleLine {
  Severity severity;
  std::string text;
};

// Receives the console lines of one object, creation included.
using ConsoleSink = std::function<void(Severity, std::string const&)>;

// Lines posted by objects that were made without a sink, oldest first, since
// the last call. The process-wide console, as the host's window.
std::vector<ConsoleLine> TakeConsole();

// The process's C++ error stream. Some panners trace their settings there, as
// their classes do in the host they were written for, whose error stream is
// not the user's console. Front ends hide it unless the user asks for it:
// HideCppErrorStream sends std::cerr nowhere and returns the buffer it wrote
// to before (the process's standard error, which the front end may keep for
// its own lines); ShowCppErrorStream undoes it. Call from the main thread
// before objects are made.
std::streambuf* HideCppErrorStream();
void ShowCppErrorStream();

class PanObject {
 public:
  // Makes an object from box text, e.g. "zorv.pan~ @numinputs 2 @numoutputs 8
  // @type vbap2d" (the leading class name is optional). Returns null when the
  // object refuses to exist; the reason is on the console.
  static std::unique_ptr<PanObject> Create(std::string const& boxText,
                                           ConsoleSink sink = ConsoleSink());
  ~PanObject();
  PanObject(PanObject const&) = delete;
  PanObject& operator=(PanObject const&) = delete;

  unsigned int NumInlets() const;
  unsigned int NumOutlets() const;

  // Sends a message as typed in a message box ("source 1 aed 30 0 2"): the
  // text is split into atoms (ints, floats, symbols) and the first one is the
  // selector. "interpolationtime 50" sets that attribute, as in the host. A
  // message the object does not know is answered on the console.
  void SendMessage(std::string const& text);

  // Which inlets have a signal connected; all are until told otherwise. Takes
  // effect at the next StartDsp, as in the host.
  void SetInletConnected(unsigned int inlet, bool connected);

  // The host's signal-processing switch for this object (a disabled object
  // outputs silence).
  void SetDisabled(bool disabled);

  // Builds the DSP chain: the object's "dsp" method at this rate and vector size.
  void StartDsp(double samplerate, unsigned int blockSize);

  // Runs the perform routine once. inputs holds NumInlets() and outputs
  // NumOutlets() channels of numSamples each; numSamples is at most the block
  // size given to StartDsp (0 means that block size). StartDsp must come first.
  void ProcessBlock(float const* const* inputs, float* const* outputs, unsigned int numSamples = 0);

  // The value of an attribute as atom texts (e.g. {"vbap2d"} or {"30."}); empty
  // when the object has no such attribute.
  std::vector<std::string> GetAttribute(std::string const& name) const;

 private:
  struct Impl;
  explicit PanObject(std::unique_ptr<Impl> impl);
  std::unique_ptr<Impl> impl;
};

}  // namespace zorvhost
