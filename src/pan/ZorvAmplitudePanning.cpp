#include "ZorvAmplitudePanning.h"

#include <algorithm>
#include <climits>
#include <cmath>

#include "NolarVectorOperations.h"

namespace Zorv {

float const AmplitudePanning::DefaultInterpolationTime = 30.f;

namespace {

// Period length in samples for a time already scaled to samples. Anything
// under one sample, including NaN, is a period of no length; the clock handles
// that case explicitly instead of dividing by it.
int periodLength(float samples) {
  if (!(samples >= 1.f)) return 0;
  if (samples >= 2147483520.f) return 2147483520;  // the largest float below INT_MAX
  return static_cast<int>(samples);
}

}  // namespace

AmplitudePanning::AmplitudePanning(unsigned int numInputs_, unsigned int numOutputs_)
    : rampPosition(0), rampLength(0), oneOverRampLength(0.f) {
  SetNumInputs(numInputs_);
  numOutputs = numOutputs_;
  std::size_t const size = static_cast<std::size_t>(numInputs) * numOutputs;
  startGains.assign(size, 0.f);
  targetGains.assign(size, 0.f);
  nextGains.assign(size, 0.f);
  mixer.Resize(numInputs, numOutputs);
  mixer.SetPeriod(startGains.data(), targetGains.data());
  rampLength = periodLength(0.030000001f * samplerate);
  oneOverRampLength = rampLength > 0 ? 1.f / static_cast<float>(rampLength) : 0.f;
}

AmplitudePanning::~AmplitudePanning() = default;

void AmplitudePanning::SetSamplerate(float rate) {
  if (!(rate > 0.f) || !std::isfinite(rate)) return;
  // Times, not sample counts, survive a rate change.
  float const time = static_cast<float>(rampLength) * 1000.f / samplerate;
  float const position = static_cast<float>(rampPosition) * 1000.f / samplerate;
  samplerate = rate;
  SetInterpolationTime(time);
  float const scaled = position * rate * 0.001f;
  rampPosition = scaled >= 1.f ? periodLength(scaled) : 0;
}

void AmplitudePanning::SetMaxBlockSize(unsigned int maxBlockSize_) {
  maxBlockSize = maxBlockSize_;
}

void AmplitudePanning::Clear() {}

void AmplitudePanning::SetSourcePosition(unsigned int index,
                                         nolardsp::CartesianVector const& position, bool) {
  if (index >= numInputs) return;
  sourcePositions[index] = position;
  convert(position, &nextGains[static_cast<std::size_t>(numOutputs) * index], index);
}

void AmplitudePanning::SetSourcePositions(nolardsp::CartesianVector const* positions) {
  for (unsigned int i = 0; i < numInputs; ++i) SetSourcePosition(i, positions[i], false);
}

void AmplitudePanning::SetLoudspeakerPositions(nolardsp::CartesianVector const*) {}

void AmplitudePanning::SetNumInputs(unsigned int n) {
  numInputs = n;
  sourcePositions.resize(n, nolardsp::CartesianVector(0.f, 0.f, 0.f));
  ensureMatrixRoom();
}

void AmplitudePanning::SetNumOutputs(unsigned int m) {
  numOutputs = m;
  ensureMatrixRoom();
}

void AmplitudePanning::SetInterpolationTime(float milliseconds) {
  rampLength = periodLength((0.001f * samplerate) * milliseconds);
  oneOverRampLength = rampLength > 0 ? 1.f / static_cast<float>(rampLength) : 0.f;
}

void AmplitudePanning::ensureMatrixRoom() {
  std::size_t const size = static_cast<std::size_t>(numInputs) * numOutputs;
  if (size > startGains.size()) {
    startGains.assign(size, 0.f);
    targetGains.assign(size, 0.f);
    nextGains.assign(size, 0.f);
  }
  // The layout follows numOutputs, so the mixer reads the period afresh.
  mixer.Resize(numInputs, numOutputs);
  mixer.SetPeriod(startGains.data(), targetGains.data());
}

void AmplitudePanning::rotate() {
  std::copy(targetGains.begin(), targetGains.end(), startGains.begin());
  std::copy(nextGains.begin(), nextGains.end(), targetGains.begin());
  rampPosition = 0;
  mixer.SetPeriod(startGains.data(), targetGains.data());
}

void AmplitudePanning::Process(float** outputs, float** inputs, unsigned long numSamples,
                               short const* activeInputs) {
  ProcessAddingAndClearAtFirstPass(outputs, inputs, numSamples, activeInputs);
}

void AmplitudePanning::ProcessAddingAndClearAtFirstPass(float** outputs, float** inputs,
                                                        unsigned long numSamples,
                                                        short const* activeInputs) {
  if (!nolardsp::AnyInputActive(activeInputs, numInputs)) {
    // Nothing connected: silence, and the clock waits.
    Mute(outputs, numSamples);
    return;
  }
  runClock(outputs, inputs, numSamples, activeInputs, true);
}

void AmplitudePanning::ProcessAdding(float** outputs, float** inputs, unsigned long numSamples,
                                     short const* activeInputs) {
  runClock(outputs, inputs, numSamples, activeInputs, false);
}

void AmplitudePanning::runClock(float** outputs, float** inputs, unsigned long numSamples,
                                short const* activeInputs, bool overwrite) {
  nolardsp::RunPeriodClock(
      mixer, rampLength, rampPosition, [this] { rotate(); }, outputs, inputs, numSamples,
      activeInputs, overwrite);
}

}  // namespace Zorv
