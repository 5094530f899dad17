#include "NolarSignalMatrix.h"

#include <algorithm>
#include <cmath>

#include "NolarMatrix.h"
#include "NolarVectorOperations.h"

namespace nolardsp {

float const SignalMatrix::DefaultRampTime = 30.f;

namespace {

int cycleLength(float samples) {
  if (!(samples >= 1.f)) return 0;
  if (samples >= 2147483520.f) return 2147483520;
  return static_cast<int>(samples);
}

}  // namespace

SignalMatrix::SignalMatrix(unsigned int numInputs_, unsigned int numOutputs_)
    : SignalProcessing(numInputs_, numOutputs_, DefaultSampleRate, 512),
      startGains(new float[static_cast<std::size_t>(numInputs_) * numOutputs_]()),
      targetGains(new float[static_cast<std::size_t>(numInputs_) * numOutputs_]()),
      nextGains(new float[static_cast<std::size_t>(numInputs_) * numOutputs_]()),
      rampPosition(0),
      rampLength(cycleLength(0.03f * samplerate)) {
  mixer.Resize(numInputs, numOutputs);
  mixer.SetPeriod(startGains, targetGains);
}

SignalMatrix::~SignalMatrix() {
  delete[] startGains;
  delete[] targetGains;
  delete[] nextGains;
}

void SignalMatrix::SetSamplerate(float rate) {
  if (!(rate > 0.f) || !std::isfinite(rate)) return;
  float const lengthMs = static_cast<float>(rampLength) * 1000.f / samplerate;
  float const positionMs = static_cast<float>(rampPosition) * 1000.f / samplerate;
  rampLength = cycleLength(lengthMs * rate * 0.001f);
  float const position = 0.001f * rate * positionMs;
  rampPosition = position >= 1.f ? cycleLength(position) : 0;
  samplerate = rate;
}

void SignalMatrix::SetMaxBlockSize(unsigned int maxBlockSize_) {
  maxBlockSize = maxBlockSize_;
}

void SignalMatrix::Clear() {}

void SignalMatrix::SetGain(unsigned int input, unsigned int output, float gain) {
  if (input >= numInputs || output >= numOutputs) return;
  nextGains[input * numOutputs + output] = gain;
}

void SignalMatrix::SetGains(float gain) {
  std::fill(nextGains, nextGains + static_cast<std::size_t>(numInputs) * numOutputs, gain);
}

void SignalMatrix::SetGains(Matrix<float> const& gains) {
  unsigned int const rows = gains.GetNumRows() < numInputs ? gains.GetNumRows() : numInputs;
  unsigned int const columns =
      gains.GetNumColumns() < numOutputs ? gains.GetNumColumns() : numOutputs;
  for (unsigned int i = 0; i < rows; ++i) {
    for (unsigned int j = 0; j < columns; ++j) nextGains[i * numOutputs + j] = gains(i, j);
  }
}

void SignalMatrix::SetRampTime(float milliseconds) {
  rampLength = cycleLength(0.001f * samplerate * milliseconds);
}

void SignalMatrix::advance() {
  std::size_t const size = static_cast<std::size_t>(numInputs) * numOutputs;
  std::copy(targetGains, targetGains + size, startGains);
  std::copy(nextGains, nextGains + size, targetGains);
  rampPosition = 0;
  mixer.SetPeriod(startGains, targetGains);
}

void SignalMatrix::Process(float** outputs, float** inputs, unsigned long numSamples,
                           short const* activeInputs) {
  ProcessAddingAndClearAtFirstPass(outputs, inputs, numSamples, activeInputs);
}

void SignalMatrix::ProcessAddingAndClearAtFirstPass(float** outputs, float** inputs,
                                                    unsigned long numSamples,
                                                    short const* activeInputs) {
  if (!AnyInputActive(activeInputs, numInputs)) {
    Mute(outputs, numSamples);
    return;
  }
  runCycles(outputs, inputs, numSamples, activeInputs, true);
}

void SignalMatrix::ProcessAdding(float** outputs, float** inputs, unsigned long numSamples,
                                 short const* activeInputs) {
  runCycles(outputs, inputs, numSamples, activeInputs, false);
}

void SignalMatrix::runCycles(float** outputs, float** inputs, unsigned long numSamples,
                             short const* activeInputs, bool overwrite) {
  RunPeriodClock(
      mixer, rampLength, rampPosition, [this] { advance(); }, outputs, inputs, numSamples,
      activeInputs, overwrite);
}

}  // namespace nolardsp
