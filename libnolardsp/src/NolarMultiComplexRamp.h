#pragma once

#include <vector>

#include "NolarComplex.h"

namespace nolardsp {

// The time constant a complex ramp starts with.
class ComplexRamp {
 public:
  static float const DefaultRampDuration;  // 30 milliseconds
};

// A vector of complex values (frequency-domain filter taps) that glide
// together to new targets. Like Ramp, a new target redirects at once from the
// present values. Unlike Ramp it never snaps: when the steps run out the
// values stay where the sum of the steps left them.
//
// The constructor and SetNumRamps allocate; Advance and GetValues do not and
// run on the audio thread.
class MultiComplexRamp {
 public:
  explicit MultiComplexRamp(unsigned int numRamps);

  // numRamps targets. Time exactly 0 jumps to them. The length is computed
  // once for all values; each value steps by (target - current) / length.
  void Start(Complex<float> const* targets, float timeMs);
  // immediately: jump, keeping the time constant; else Start(values, timeConstant).
  void SetValues(Complex<float> const* values, bool immediately);
  // Moves the values numSamples steps on (at most to the end of the ramp).
  void Advance(unsigned int numSamples);
  // Advance, then the present values (numRamps of them).
  Complex<float> const* GetValues(unsigned int numSamples);
  // Resizes when the count changes; kept values stay, new ones are 0.
  void SetNumRamps(unsigned int numRamps);
  void SetTimeConstant(float milliseconds);
  // Same rule as Ramp::SetSamplerate, per value.
  void SetSamplerate(float samplerate);

  unsigned int GetNumRamps() const { return numRamps; }
  int GetStepsRemaining() const { return stepsRemaining; }
  int GetTotalSteps() const { return totalSteps; }
  float GetTimeConstant() const { return timeConstant; }
  Complex<float> const* GetCurrentValues() const { return currentValues.data(); }
  Complex<float> const* GetTargetValues() const { return targetValues.data(); }

 private:
  void computeSteps(int length);

  float samplerate;
  unsigned int numRamps;
  std::vector<Complex<float>> startValues;
  std::vector<Complex<float>> currentValues;
  std::vector<Complex<float>> targetValues;
  int totalSteps;
  std::vector<Complex<float>> steps;
  int stepsRemaining;
  float timeConstant;
};

}  // namespace nolardsp
