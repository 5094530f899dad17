#pragma once

#include "NolarConstants.h"

namespace nolardsp {

// The calling shape of every object that turns blocks of input samples into
// blocks of output samples. Channels are non-interleaved float runs reached
// through arrays of pointers; activeInputs has one entry per input, 0 meaning
// that the input carries nothing and its samples must not be read.
//
// Threads: Process, Bypass and Mute run on the audio thread and allocate
// nothing. Configure, SetSamplerate, SetMaxBlockSize and Clear are called while
// no block runs; they size memory.
class SignalProcessing {
 public:
  static float const DefaultSampleRate;

  SignalProcessing(unsigned int numInputs, unsigned int numOutputs, float samplerate,
                   unsigned long maxBlockSize);
  virtual ~SignalProcessing();

  virtual void Process(float** outputs, float** inputs, unsigned long numSamples,
                       short const* activeInputs) = 0;

  // Copies input i to output i for i below min(numInputs, numOutputs) (zeros
  // when input i is inactive) and zeros the remaining outputs.
  virtual void Bypass(float** outputs, float** inputs, unsigned long numSamples,
                      short const* activeInputs);

  // Zeros every output.
  virtual void Mute(float** outputs, unsigned long numSamples);

  // Takes a new rate and block size (SetSamplerate, SetMaxBlockSize, Clear, in
  // that order) unless both are unchanged and force is false. Always ends by
  // switching the calling thread to flush-to-zero / denormals-are-zero.
  virtual void Configure(float samplerate, unsigned int maxBlockSize, bool force);

  virtual void SetSamplerate(float samplerate) = 0;
  virtual void SetMaxBlockSize(unsigned int maxBlockSize) = 0;
  virtual void Clear() = 0;

  unsigned int GetNumInputs() const { return numInputs; }
  unsigned int GetNumOutputs() const { return numOutputs; }
  float GetSamplerate() const { return samplerate; }
  unsigned long GetMaxBlockSize() const { return maxBlockSize; }

  // Sets flush-to-zero and denormals-are-zero for the calling thread (x86-64);
  // does nothing on other processors.
  static void SetDenormalsToZero();
  // True when the calling thread flushes denormals (always false off x86-64).
  static bool DenormalsAreFlushed();

 protected:
  unsigned int numInputs;
  unsigned int numOutputs;
  float samplerate;
  unsigned long maxBlockSize;
};

}  // namespace nolardsp
