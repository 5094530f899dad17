#include "ZorvNFCHOAHighPass.h"

#include <algorithm>
#include <cmath>

#include "NolarButterworthDesign.h"
#include "NolarVectorOperations.h"
#include "ZorvDefaultParameters.h"

namespace Zorv {

float const NFCHOAHighPass::CrossFadeTime = 10.f;

NFCHOAHighPass::NFCHOAHighPass(unsigned int degree_, unsigned int dimension_)
    : SignalProcessing(1, 1, DefaultSampleRate, 512),
      dimension(dimension_),
      degree(degree_),
      cascade(std::max(1u, (degree_ + 1) / 2)),
      sourceRadius(std::max(ZorvDefaultParameters::sourceReferenceDistance,
                            ZorvDefaultParameters::MinRadius)),
      cutOff(0.f) {
  cascade.SetCrossFadeTime(CrossFadeTime);
  cascade.SetSamplerate(samplerate);
  cascade.SetMaxBlockSize(static_cast<unsigned int>(maxBlockSize));
  taps.reserve(cascade.GetNumCoefficients());
  updateTaps(CutOffFrequency(degree, dimension, sourceRadius), true);
}

NFCHOAHighPass::~NFCHOAHighPass() = default;

float NFCHOAHighPass::CutOffFrequency(unsigned int degree, unsigned int dimension, float radius) {
  float const m = static_cast<float>(degree);
  float const k = 340.f / (6.2831855f * radius);
  if (dimension == 2) return (0.9942727f * m + 0.4176f) * k;
  if (dimension == 3) return (1.048f * m + 0.746f) * k;
  return 0.f;
}

void NFCHOAHighPass::SetSourceRadius(float radius) {
  if (!std::isfinite(radius)) return;
  float const r = std::max(radius, ZorvDefaultParameters::MinRadius);
  if (r == sourceRadius) return;
  sourceRadius = r;
  updateTaps(CutOffFrequency(degree, dimension, sourceRadius), false);
}

void NFCHOAHighPass::updateTaps(float frequency, bool immediately) {
  cutOff = frequency;
  if (degree == 0) return;
  unsigned int const type = nolardsp::HighPass;
  nolardsp::ButterworthDesign<float>::DigitalDesign(taps, degree, frequency, 0.f, samplerate,
                                                    &type);
  // The design's size depends on the order alone: it is the cascade's.
  if (taps.size() != cascade.GetNumCoefficients()) return;
  cascade.SetCoefficients(taps.data(), immediately);
}

void NFCHOAHighPass::SetSamplerate(float rate) {
  if (!(rate > 0.f) || !std::isfinite(rate) || rate == samplerate) return;
  samplerate = rate;
  cascade.SetSamplerate(rate);
  updateTaps(CutOffFrequency(degree, dimension, sourceRadius), true);
}

void NFCHOAHighPass::SetMaxBlockSize(unsigned int n) {
  maxBlockSize = n;
  cascade.SetMaxBlockSize(n);
}

void NFCHOAHighPass::Clear() {
  cascade.Clear();
}

void NFCHOAHighPass::Process(float* output, float const* input, unsigned long n) {
  if (degree == 0) {
    if (output != input) nolardsp::Copy(output, input, n);
    return;
  }
  cascade.ProcessBlock(output, const_cast<float*>(input), n, false);
}

void NFCHOAHighPass::Process(float** outputs, float** inputs, unsigned long n,
                             short const* activeInputs) {
  if (activeInputs[0] == 0) return;
  Process(outputs[0], inputs[0], n);
}

}  // namespace Zorv
