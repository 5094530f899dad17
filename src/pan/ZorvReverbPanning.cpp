#include "ZorvReverbPanning.h"

#include <cmath>

#include "ZorvShuffle.h"

namespace Zorv {

Pan* ReverbPanning::Create(unsigned int numInputs, unsigned int numOutputs) {
  return new ReverbPanning(numInputs, numOutputs);
}

ReverbPanning::ReverbPanning(unsigned int numInputs_, unsigned int numOutputs_) {
  numInputs = numInputs_;
  numOutputs = numOutputs_;
  sourcePositions.assign(numInputs, nolardsp::CartesianVector());
  update();
}

ReverbPanning::~ReverbPanning() = default;

nolardsp::Matrix<float> ReverbPanning::ComputeReverbMixingMatrix(unsigned int numInputs,
                                                                 unsigned int numOutputs) {
  using nolardsp::Matrix;
  // Input i feeds pattern i mod 4.
  Matrix<float> a(numInputs, 4, 0.f);
  for (unsigned int i = 0; i < numInputs; ++i) a(i, i % 4) = 1.f;
  // Four orthogonal sign patterns.
  Matrix<float> h(4, 4, -0.5f);
  for (unsigned int k = 0; k < 4; ++k) h(k, 3 - k) = 0.5f;
  // Speaker j takes pattern p[j] mod 4.
  std::vector<unsigned int> p;
  Shuffle::GetPermutationForChannels(p, numOutputs);
  Matrix<float> b(4, numOutputs, 0.f);
  for (unsigned int j = 0; j < numOutputs; ++j) b(p[j] % 4, j) = 1.f;

  Matrix<float> r = a * h * b;
  if (r.IsEmpty()) return Matrix<float>(numInputs, numOutputs, 0.f);
  Matrix<float> rt;
  rt.Transpose(r);
  Matrix<float> const rrt = r * rt;
  float s = 0.f;
  for (unsigned int i = 0; i < rrt.GetNumRows(); ++i) {
    for (unsigned int k = 0; k < rrt.GetNumColumns(); ++k) s += rrt(i, k);
  }
  // S is above 0 for any counts above 0 (every permutation reaches pattern
  // 0, whose column sum never vanishes); a guard keeps a NaN off the matrix.
  if (!(s > 0.f) || !std::isfinite(s)) return Matrix<float>(numInputs, numOutputs, 0.f);
  float const scale = 0.5f * std::sqrt(1.f / s) * static_cast<float>(numInputs);
  return r * scale;
}

void ReverbPanning::update() {
  signalMatrix = std::make_unique<nolardsp::SignalMatrix>(numInputs, numOutputs);
  signalMatrix->SetSamplerate(samplerate);
  signalMatrix->SetMaxBlockSize(static_cast<unsigned int>(maxBlockSize));
  signalMatrix->SetGains(ComputeReverbMixingMatrix(numInputs, numOutputs));
  allInputs.assign(numInputs, 1);
}

void ReverbPanning::Process(float** outputs, float** inputs, unsigned long numSamples,
                            short const*) {
  signalMatrix->Process(outputs, inputs, numSamples, allInputs.data());
}

void ReverbPanning::ProcessAdding(float** outputs, float** inputs, unsigned long numSamples,
                                  short const*) {
  signalMatrix->ProcessAdding(outputs, inputs, numSamples, allInputs.data());
}

void ReverbPanning::SetSamplerate(float rate) {
  if (!(rate > 0.f) || !std::isfinite(rate)) return;
  samplerate = rate;
  signalMatrix->SetSamplerate(rate);
}

void ReverbPanning::SetMaxBlockSize(unsigned int size) {
  maxBlockSize = size;
  signalMatrix->SetMaxBlockSize(size);
}

void ReverbPanning::Clear() {
  signalMatrix->Clear();
}

void ReverbPanning::SetInterpolationTime(float milliseconds) {
  signalMatrix->SetRampTime(milliseconds);
}

void ReverbPanning::SetSourcePosition(unsigned int, nolardsp::CartesianVector const&, bool) {}

void ReverbPanning::SetSourcePositions(nolardsp::CartesianVector const*) {}

void ReverbPanning::SetLoudspeakerPositions(nolardsp::CartesianVector const*) {}

void ReverbPanning::SetNumInputs(unsigned int count) {
  numInputs = count;
  sourcePositions.assign(numInputs, nolardsp::CartesianVector());
  update();
}

void ReverbPanning::SetNumOutputs(unsigned int count) {
  numOutputs = count;
  update();
}

}  // namespace Zorv
