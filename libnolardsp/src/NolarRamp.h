#pragma once

namespace nolardsp {

class Delay;

// One float that glides to a target over a time in milliseconds. A new target
// redirects the ramp at once from wherever it stands (the value never jumps,
// only the slope changes) and starts a full-length ramp from there.
//
// Held by value inside other objects; no allocation anywhere. Setters run
// where the owner's setters run; Process and Step on the audio thread.
class Ramp {
 public:
  // Milliseconds: the ramp time SetValue uses until SetTimeConstant says otherwise.
  static float const DefaultRampDuration;  // 30

  Ramp();

  // Glides to target in timeMs (stored as the time constant). A time of
  // exactly 0 jumps: start, current and target all become target.
  void Start(float target, float timeMs);
  // immediately: jump to value, keeping the time constant; otherwise
  // Start(value, timeConstant).
  void SetValue(float value, bool immediately);
  // Only stored; a running ramp is not touched.
  void SetTimeConstant(float milliseconds);
  // Keeps the remaining time of a running ramp. An idle ramp is re-armed for
  // its full length with an increment of 0 if it stands on its target, so the
  // output does not change. A rate that is not a positive finite number is
  // ignored.
  void SetSamplerate(float samplerate);

  // Writes numSamples values of the ramp and advances it. Within a run the
  // values are computed from the run's start (no accumulation); the first
  // sample after the ramp ends snaps to the exact target.
  void Process(float* output, int numSamples);
  // Process of one sample: returns the present value and advances.
  float Step();

  float GetCurrentValue() const { return currentValue; }
  float GetTargetValue() const { return targetValue; }
  float GetStartValue() const { return startValue; }
  float GetIncrement() const { return increment; }
  int GetStepsRemaining() const { return stepsRemaining; }
  int GetTotalSteps() const { return totalSteps; }
  float GetTimeConstant() const { return timeConstant; }
  float GetSamplerate() const { return samplerate; }
  bool IsRunning() const { return stepsRemaining > 0; }

  // Ramp length in samples for a time: rate * ms * 0.001 in float, clamped at
  // 0 from below (NaN gives 0) and truncated; lengths past the largest int
  // stay at the largest int.
  static int LengthInSamples(float samplerate, float milliseconds);

 private:
  // A delay line reads along its length ramp sample by sample and steps it
  // itself, without the snap to the target that Process does.
  friend class Delay;

  float startValue;
  float currentValue;
  float targetValue;
  float increment;
  float samplerate;
  int stepsRemaining;
  int totalSteps;
  float timeConstant;
};

}  // namespace nolardsp
