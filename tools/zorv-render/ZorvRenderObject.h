#pragma once

#include <functional>
#include <memory>
#include <string>

namespace zorvrender {

enum class ConsoleSeverity { Post, Warning, Error, Bug };

// Receives one console line of the object.
using ConsoleFunction = std::function<void(ConsoleSeverity, std::string const&)>;

// What the renderer needs of the object: the calls a host makes, in the order a
// host makes them. The real one drives the object through its facade; tests
// put a scripted object in its place to see exactly what the renderer does.
class RenderObject {
 public:
  virtual ~RenderObject() = default;
  virtual unsigned int NumInlets() const = 0;
  virtual unsigned int NumOutlets() const = 0;
  virtual void SendMessage(std::string const& text) = 0;
  virtual void SetInletConnected(unsigned int inlet, bool connected) = 0;
  virtual void StartDsp(double samplerate, unsigned int blockSize) = 0;
  // numSamples is 1 to the block size given to StartDsp.
  virtual void ProcessBlock(float const* const* inputs, float* const* outputs,
                            unsigned int numSamples) = 0;
  // Frames the object needs, from the start of its DSP, before a change sent
  // at that start is heard in full: its gains stand still for one
  // interpolation period and ramp over the next.
  virtual long long SettleFrames(double samplerate) const {
    (void)samplerate;
    return 0;
  }
};

// Makes an object from box text, or returns null when the box makes none (the
// reason has gone to the console function by then).
using ObjectFactory =
    std::function<std::unique_ptr<RenderObject>(std::string const& boxText, ConsoleFunction)>;

}  // namespace zorvrender
