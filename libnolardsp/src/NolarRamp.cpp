#include "NolarRamp.h"

#include <cmath>

#include "NolarSignalProcessing.h"
#include "NolarVectorOperations.h"

namespace nolardsp {

float const Ramp::DefaultRampDuration = 30.f;

namespace {

// Truncation of a non-negative float sample count into an int, saturating.
int truncateCount(float samples) {
  if (!(samples > 0.f)) return 0;
  if (samples >= 2147483520.f) return 2147483520;  // the largest float below INT_MAX
  return static_cast<int>(samples);
}

}  // namespace

Ramp::Ramp()
    : startValue(0.f),
      currentValue(0.f),
      targetValue(0.f),
      increment(0.f),
      samplerate(SignalProcessing::DefaultSampleRate),
      stepsRemaining(0),
      totalSteps(0),
      timeConstant(DefaultRampDuration) {}

int Ramp::LengthInSamples(float rate, float milliseconds) {
  return truncateCount(rate * milliseconds * 0.001f);
}

void Ramp::Start(float target, float timeMs) {
  timeConstant = timeMs;
  if (timeMs == 0.f) {
    startValue = currentValue = targetValue = target;
    stepsRemaining = totalSteps = 0;
    increment = 0.f;
    return;
  }
  startValue = currentValue;
  targetValue = target;
  int const length = LengthInSamples(samplerate, timeMs);
  stepsRemaining = totalSteps = length;
  // A length of 0 never uses its increment: Process jumps to the target.
  increment = length > 0 ? (target - currentValue) / static_cast<float>(length) : 0.f;
}

void Ramp::SetValue(float value, bool immediately) {
  if (immediately) {
    float const keep = timeConstant;
    Start(value, 0.f);
    timeConstant = keep;
  } else {
    Start(value, timeConstant);
  }
}

void Ramp::SetTimeConstant(float milliseconds) {
  timeConstant = milliseconds;
}

void Ramp::SetSamplerate(float rate) {
  if (!(rate > 0.f) || !std::isfinite(rate)) return;
  float const old = samplerate;
  samplerate = rate;
  if (rate == old) return;
  totalSteps = truncateCount(rate * (static_cast<float>(totalSteps) * 1000.f / old) * 0.001f);
  if (stepsRemaining >= 1) {
    stepsRemaining =
        truncateCount((0.001f * rate) * (static_cast<float>(stepsRemaining) * 1000.f / old));
  } else if (stepsRemaining == 0) {
    stepsRemaining = totalSteps;
  }
  if (stepsRemaining > 0) {
    increment = (targetValue - currentValue) / static_cast<float>(stepsRemaining);
  }
}

void Ramp::Process(float* output, int numSamples) {
  if (numSamples <= 0) return;
  while (stepsRemaining > 0) {
    int const m = numSamples < stepsRemaining ? numSamples : stepsRemaining;
    float const end = static_cast<float>(m) * increment + currentValue;
    float const slope = (end - currentValue) / static_cast<float>(m);
    float const from = currentValue;
    for (int i = 0; i < m; ++i) output[i] = static_cast<float>(i) * slope + from;
    currentValue = end;
    stepsRemaining -= m;
    output += m;
    numSamples -= m;
    if (numSamples == 0) return;
  }
  // Past the end: remove the rounding the steps left behind.
  if (currentValue != targetValue) currentValue = targetValue;
  Fill(output, currentValue, static_cast<unsigned long>(numSamples));
}

float Ramp::Step() {
  float value;
  Process(&value, 1);
  return value;
}

}  // namespace nolardsp
