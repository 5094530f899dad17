#pragma once

#include <string>

namespace zorvrender {

// Audio coming in, one block at a time, non-interleaved. Memory is sized when
// the source is made; Read allocates nothing.
class Source {
 public:
  virtual ~Source() = default;
  // What messages call it: the file's path, or a description.
  virtual std::string const& Name() const = 0;
  virtual unsigned int NumChannels() const = 0;
  virtual double Samplerate() const = 0;
  virtual long long NumFrames() const = 0;
  // Fills up to numFrames frames of every channel and returns how many it
  // filled: fewer only at the end. Throws RenderError (ExitBadInput) when the
  // data cannot be read.
  virtual unsigned int Read(float* const* channels, unsigned int numFrames) = 0;
};

// Audio going out, one block at a time, non-interleaved.
class Sink {
 public:
  virtual ~Sink() = default;
  virtual unsigned int NumChannels() const = 0;
  // Throws RenderError (ExitBadOutput) when the data cannot be written.
  virtual void Write(float const* const* channels, unsigned int numFrames) = 0;
};

}  // namespace zorvrender
