#include "NolarMultiComplexRamp.h"

#include <cmath>

#include "NolarRamp.h"
#include "NolarSignalProcessing.h"

namespace nolardsp {

float const ComplexRamp::DefaultRampDuration = 30.f;

MultiComplexRamp::MultiComplexRamp(unsigned int numRamps_)
    : samplerate(SignalProcessing::DefaultSampleRate),
      numRamps(numRamps_),
      startValues(numRamps_, Complex<float>{0.f, 0.f}),
      currentValues(numRamps_, Complex<float>{0.f, 0.f}),
      targetValues(numRamps_, Complex<float>{0.f, 0.f}),
      totalSteps(0),
      steps(numRamps_, Complex<float>{0.f, 0.f}),
      stepsRemaining(0),
      timeConstant(ComplexRamp::DefaultRampDuration) {}

void MultiComplexRamp::computeSteps(int length) {
  // A length of 0 is never stepped: the values stay where they are.
  float const reciprocal = length > 0 ? 1.0f / static_cast<float>(length) : 0.f;
  for (unsigned int i = 0; i < numRamps; ++i) {
    steps[i].re = (targetValues[i].re - currentValues[i].re) * reciprocal;
    steps[i].im = (targetValues[i].im - currentValues[i].im) * reciprocal;
  }
}

void MultiComplexRamp::Start(Complex<float> const* targets, float timeMs) {
  timeConstant = timeMs;
  if (timeMs == 0.f) {
    for (unsigned int i = 0; i < numRamps; ++i) {
      startValues[i] = currentValues[i] = targetValues[i] = targets[i];
      steps[i] = Complex<float>{0.f, 0.f};
    }
    stepsRemaining = totalSteps = 0;
    return;
  }
  for (unsigned int i = 0; i < numRamps; ++i) {
    startValues[i] = currentValues[i];
    targetValues[i] = targets[i];
  }
  int const length = Ramp::LengthInSamples(samplerate, timeMs);
  stepsRemaining = totalSteps = length;
  computeSteps(length);
}

void MultiComplexRamp::SetValues(Complex<float> const* values, bool immediately) {
  if (immediately) {
    float const keep = timeConstant;
    Start(values, 0.f);
    timeConstant = keep;
  } else {
    Start(values, timeConstant);
  }
}

void MultiComplexRamp::Advance(unsigned int numSamples) {
  if (stepsRemaining <= 0) return;
  unsigned int const left = static_cast<unsigned int>(stepsRemaining);
  unsigned int const m = numSamples < left ? numSamples : left;
  float const fm = static_cast<float>(m);
  for (unsigned int i = 0; i < numRamps; ++i) {
    currentValues[i].re += fm * steps[i].re;
    currentValues[i].im += fm * steps[i].im;
  }
  stepsRemaining -= static_cast<int>(m);
}

Complex<float> const* MultiComplexRamp::GetValues(unsigned int numSamples) {
  Advance(numSamples);
  return currentValues.data();
}

void MultiComplexRamp::SetNumRamps(unsigned int n) {
  if (n == numRamps) return;
  Complex<float> const zero{0.f, 0.f};
  startValues.resize(n, zero);
  currentValues.resize(n, zero);
  targetValues.resize(n, zero);
  steps.resize(n, zero);
  numRamps = n;
}

void MultiComplexRamp::SetTimeConstant(float milliseconds) {
  timeConstant = milliseconds;
}

void MultiComplexRamp::SetSamplerate(float rate) {
  if (!(rate > 0.f) || !std::isfinite(rate)) return;
  float const old = samplerate;
  samplerate = rate;
  if (rate == old) return;
  totalSteps = Ramp::LengthInSamples(rate, static_cast<float>(totalSteps) * 1000.f / old);
  if (stepsRemaining >= 1) {
    float const ms = static_cast<float>(stepsRemaining) * 1000.f / old;
    float const samples = (0.001f * rate) * ms;
    stepsRemaining =
        samples >= 2147483520.f ? 2147483520 : (samples > 0.f ? static_cast<int>(samples) : 0);
  } else if (stepsRemaining == 0) {
    stepsRemaining = totalSteps;
  }
  if (stepsRemaining > 0) computeSteps(stepsRemaining);
}

}  // namespace nolardsp
