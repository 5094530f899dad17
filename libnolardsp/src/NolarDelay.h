#pragma once

#include <vector>

#include "NolarRamp.h"
#include "NolarSignalProcessing.h"

namespace nolardsp {

// A single-channel delay line with a fractional length that glides.
//
// The line is a power-of-two ring so that wrapping is one mask. Ring sample k
// lives at buffer[k + 4]; the floats below and above it are guards that each
// read-out refreshes just before it reads (ring[-1] = ring[L - 1],
// ring[L] = ring[0], ring[L + 1] = ring[1]), so the four-point formulas need no
// wrap test in their inner loops.
//
// A new length glides over interpolationTime by a Ramp in samples; while it
// glides every output sample is read at its own position (the pitch bends
// briefly, nothing clicks). A delay at rest is read with one fraction for the
// whole block.
//
// Causality: a block is written into the ring before it is read, so a delay of
// 0 gives this block's own input. The two-point read-outs (linear, all-pass)
// are causal from 0 samples on; the four-point ones look one sample ahead of
// the read position and are causal from 1 sample on.
//
// Threads: Process and TapOut run on the audio thread and allocate nothing.
// SetDelay beyond the maximum, SetMaxDelay, SetSamplerate and SetMaxBlockSize
// may reallocate and clear the line: they must not race with Process.
class Delay : public SignalProcessing {
 public:
  enum InterpolationMode : int {
    InterpolationNearest = 0,
    InterpolationLinear = 1,
    InterpolationLagrange = 2,
    InterpolationAllpass = 3,
    InterpolationTwoTapFade = 4,
    InterpolationHermite = 5,
    InterpolationWatte = 6,
    InterpolationBSpline = 7,
    InterpolationParabolic = 8,
  };

  static float const DefaultDelayLineLength;                // 300 ms
  static InterpolationMode const DefaultInterpolationMode;  // linear
  static float const DefaultInterpolationTime;              // 30 ms

  // The largest ring a line ever takes, in samples: a requested maximum that
  // would need more is cut to what this ring holds, and delays are clamped to
  // it (2^24 samples: about 6 minutes at 48 kHz).
  static int const MaxBufferLength;

  // Starts at a delay of 0 samples with a cleared ring.
  Delay(float maxDelayMs = DefaultDelayLineLength,
        InterpolationMode const& mode = DefaultInterpolationMode);
  ~Delay() override;

  // Stored only; used by the next read and the next SetDelay respectively.
  void SetInterpolationMode(InterpolationMode const& mode) { interpolationMode = mode; }
  void SetInterpolationTime(float milliseconds) { interpolationTime = milliseconds; }

  // Glides to ms (at once when immediately is true, which may click: that is
  // what the flag asks for). A delay beyond the maximum first grows the line
  // to it, which clears the line. Negative delays and NaN are read as 0; a
  // delay is never longer than the ring can serve.
  void SetDelay(float milliseconds, bool immediately);
  // The stored maximum is ms plus a 5 ms margin; the ring holds that plus one
  // block. The ring never shrinks in memory. Always clears the line.
  void SetMaxDelay(float milliseconds);

  // One block through the line: the input is written, then the output read.
  // Output and input may be the same run. Blocks longer than the maximum
  // block size are cut into pieces of that size.
  void Process(float* output, float const* input, int numSamples);
  // Channel 0 through the line when activeInputs[0] is non-zero; otherwise
  // nothing happens at all: no sample enters, the output is left as it was
  // and the length does not glide.
  void Process(float** outputs, float** inputs, unsigned long numSamples,
               short const* activeInputs) override;

  // Reads numSamples at a constant delay in samples, from the ring as it
  // stands (the last block written ends just before the write index). state
  // is the all-pass memory.
  void TapOut(float* output, int numSamples, float delaySamples, InterpolationMode const& mode,
              float& state);
  // Reads along a ramp of delays in samples and steps the ramp once per
  // sample. A ramp at rest is read as a constant delay.
  void TapOut(float* output, unsigned int numSamples, Ramp& delay, InterpolationMode const& mode,
              float& state);

  // Keeps the delay in time: the target is re-aimed at the same milliseconds
  // at the new rate, gliding. Clears the line. A rate that is not a positive
  // finite number is ignored.
  void SetSamplerate(float samplerate) override;
  // Stores n and re-sizes the ring (the stored maximum rises by the 5 ms
  // margin each time). Clears the line.
  void SetMaxBlockSize(unsigned int maxBlockSize) override;
  // Zeroes the ring and the all-pass memory; the write index and the length
  // are kept.
  void Clear() override;

  float GetMaxDelay() const { return maxDelay; }
  int GetBufferLength() const { return bufferLength; }
  int GetWriteIndex() const { return writeIndex; }
  InterpolationMode GetInterpolationMode() const { return interpolationMode; }
  float GetInterpolationTime() const { return interpolationTime; }
  Ramp const& GetDelayRamp() const { return delayRamp; }

 private:
  float* ring() { return buffer.data() + 4; }
  // Longest delay in samples that reads nothing written in the present block.
  float longestDelaySamples() const;
  void refreshGuards();

  int bufferLength;
  int allocatedLength;
  float maxDelay;
  int writeIndex;
  float tapState;
  InterpolationMode interpolationMode;
  float interpolationTime;
  std::vector<float> buffer;
  Ramp delayRamp;
  int bufferMask;
};

}  // namespace nolardsp
