#include "ZorvNFCHOAPanningOneSource.h"

#include <algorithm>
#include <cmath>

#include "NolarVectorOperations.h"

namespace Zorv {

NFCHOAPanningOneSource::NFCHOAPanningOneSource(unsigned int order_, unsigned int dimension_)
    : SignalProcessing(1, NumComponents(order_, dimension_), DefaultSampleRate, 512),
      order(order_),
      dimension(dimension_ == 2 ? 2 : 3),
      inputBuffer(512, 0.f),
      filterBank(std::make_unique<NFCHOAFilterBank>(order_)),
      highPassBank(std::make_unique<NFCHOAHighPassFilterBank>(order_, dimension)),
      encoderOwner(Pan::Factory(1, NumComponents(order_, dimension),
                                dimension == 2 ? Pan::HOA2D : Pan::HOA3D, Pan::Direct)),
      encoder(dynamic_cast<HOAPanning*>(encoderOwner.get())),
      matrix(std::make_unique<nolardsp::SignalMatrix>(order_ + 1, numOutputs)),
      degreeBuffer(order_ + 1, std::vector<float>(512, 0.f)),
      degrees(order_ + 1, nullptr),
      outputsAtOffset(numOutputs, nullptr),
      allActive(order_ + 1, 1),
      useHighPass(false),
      highPassRan(false),
      hasPosition(false) {
  for (unsigned int l = 0; l <= order; ++l) degrees[l] = degreeBuffer[l].data();
  matrix->SetGains(0.f);
}

NFCHOAPanningOneSource::~NFCHOAPanningOneSource() = default;

void NFCHOAPanningOneSource::SetSourcePosition(nolardsp::CartesianVector const& p) {
  double const r = std::sqrt(static_cast<double>(p.x) * p.x + static_cast<double>(p.y) * p.y +
                             static_cast<double>(p.z) * p.z);
  if (std::isfinite(r)) {
    // Both banks design nothing for a distance already in use.
    filterBank->SetSourceRadius(static_cast<float>(r));
    highPassBank->SetSourceRadius(static_cast<float>(r));
  }
  position = p;
  hasPosition = true;
  Refresh();
}

void NFCHOAPanningOneSource::Refresh() {
  if (!hasPosition || encoder == nullptr) return;
  encoder->SetSourcePosition(0, position, false);
  float const* gains = encoder->GetNextGains();
  // Components grouped by degree, in both sortings.
  unsigned int k = 0;
  for (unsigned int l = 0; l <= order; ++l) {
    unsigned int const count = dimension == 2 ? (l == 0 ? 1 : 2) : 2 * l + 1;
    for (unsigned int c = 0; c < count && k < numOutputs; ++c, ++k) {
      matrix->SetGain(l, k, gains[k]);
    }
  }
}

void NFCHOAPanningOneSource::ProcessAdding(float** outputs, float const* input, unsigned long n) {
  unsigned long const piece = inputBuffer.size();
  float* in = inputBuffer.data();
  bool const highPass = useHighPass.load(std::memory_order_relaxed);
  if (highPass && !highPassRan) highPassBank->Clear();
  highPassRan = highPass;
  for (unsigned long offset = 0; offset < n; offset += piece) {
    unsigned long const m = std::min(piece, n - offset);
    nolardsp::Mul(in, input + offset, 0.25f, m);
    filterBank->Process(degrees.data(), &in, m, allActive.data());
    if (highPass) highPassBank->Process(degrees.data(), degrees.data(), m, allActive.data());
    for (unsigned int l = 0; l <= order; ++l) nolardsp::Mul(degrees[l], 4.f, m);
    for (unsigned int j = 0; j < numOutputs; ++j) outputsAtOffset[j] = outputs[j] + offset;
    matrix->ProcessAdding(outputsAtOffset.data(), degrees.data(), m, allActive.data());
  }
}

void NFCHOAPanningOneSource::Process(float** outputs, float** inputs, unsigned long n,
                                     short const* activeInputs) {
  if (activeInputs[0] == 0) return;
  for (unsigned int j = 0; j < numOutputs; ++j) nolardsp::Zero(outputs[j], n);
  ProcessAdding(outputs, inputs[0], n);
}

void NFCHOAPanningOneSource::SetSamplerate(float rate) {
  if (!(rate > 0.f) || !std::isfinite(rate)) return;
  samplerate = rate;
  filterBank->SetSamplerate(rate);
  highPassBank->SetSamplerate(rate);
  if (encoder != nullptr) encoder->SetSamplerate(rate);
  matrix->SetSamplerate(rate);
}

void NFCHOAPanningOneSource::SetMaxBlockSize(unsigned int n) {
  if (n < 1) n = 1;
  maxBlockSize = n;
  inputBuffer.assign(n, 0.f);
  for (unsigned int l = 0; l <= order; ++l) {
    degreeBuffer[l].assign(n, 0.f);
    degrees[l] = degreeBuffer[l].data();
  }
  filterBank->SetMaxBlockSize(n);
  highPassBank->SetMaxBlockSize(n);
  if (encoder != nullptr) encoder->SetMaxBlockSize(n);
  matrix->SetMaxBlockSize(n);
}

void NFCHOAPanningOneSource::Clear() {
  filterBank->Clear();
  highPassBank->Clear();
  matrix->Clear();
}

}  // namespace Zorv
