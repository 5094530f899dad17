#include "ZorvNFCHOAPanning.h"

#include <cmath>

#include "NolarVectorOperations.h"

namespace Zorv {

NFCHOAPanning::NFCHOAPanning(unsigned int numInputs_, unsigned int numOutputs_, unsigned int order_,
                             unsigned int dimension_)
    : order(order_), dimension(dimension_ == 2 ? 2 : 3) {
  numInputs = numInputs_;
  numOutputs = numOutputs_;
  sourcePositions.resize(numInputs);
  for (unsigned int i = 0; i < numInputs; ++i) {
    sources.push_back(std::make_unique<NFCHOAPanningOneSource>(order, dimension));
    // The speakers stand at 1 m unless told otherwise.
    sources.back()->SetSpeakerRadius(1.f);
  }
  unsigned int const components = NFCHOAPanningOneSource::NumComponents(order, dimension);
  conventionsOwner.reset(
      Pan::Factory(1, components, dimension == 2 ? Pan::HOA2D : Pan::HOA3D, Pan::Direct));
  conventions = dynamic_cast<HOAPanning*>(conventionsOwner.get());
}

NFCHOAPanning::~NFCHOAPanning() = default;

void NFCHOAPanning::Process(float** outputs, float** inputs, unsigned long n,
                            short const* activeInputs) {
  for (unsigned int j = 0; j < numOutputs; ++j) nolardsp::Zero(outputs[j], n);
  ProcessAdding(outputs, inputs, n, activeInputs);
}

void NFCHOAPanning::ProcessAdding(float** outputs, float** inputs, unsigned long n,
                                  short const* activeInputs) {
  for (unsigned int i = 0; i < sources.size(); ++i) {
    if (activeInputs[i] != 0) sources[i]->ProcessAdding(outputs, inputs[i], n);
  }
}

void NFCHOAPanning::SetSamplerate(float rate) {
  if (!(rate > 0.f) || !std::isfinite(rate)) return;
  samplerate = rate;
  for (auto& source : sources) source->SetSamplerate(rate);
}

void NFCHOAPanning::SetMaxBlockSize(unsigned int n) {
  maxBlockSize = n;
  for (auto& source : sources) source->SetMaxBlockSize(n);
}

void NFCHOAPanning::Clear() {
  for (auto& source : sources) source->Clear();
}

void NFCHOAPanning::SetSourcePosition(unsigned int index, nolardsp::CartesianVector const& position,
                                      bool) {
  if (index >= sources.size()) return;
  sourcePositions[index] = position;
  sources[index]->SetSourcePosition(position);
}

void NFCHOAPanning::SetSourcePositions(nolardsp::CartesianVector const* positions) {
  for (unsigned int i = 0; i < sources.size(); ++i) SetSourcePosition(i, positions[i], false);
}

void NFCHOAPanning::SetLoudspeakerPositions(nolardsp::CartesianVector const*) {}
void NFCHOAPanning::SetNumInputs(unsigned int) {}
void NFCHOAPanning::SetNumOutputs(unsigned int) {}

void NFCHOAPanning::SetInterpolationTime(float milliseconds) {
  for (auto& source : sources) source->SetInterpolationTime(milliseconds);
}

void NFCHOAPanning::SetSpeakerRadius(float metres) {
  if (!std::isfinite(metres)) return;
  for (auto& source : sources) source->SetSpeakerRadius(metres);
}

void NFCHOAPanning::UseHighPassFilters(bool use) {
  for (auto& source : sources) source->UseHighPassFilters(use);
}

void NFCHOAPanning::SetEncodingNormalization(char const* name) {
  if (conventions != nullptr) conventions->SetEncodingNormalization(name);
  for (auto& source : sources) {
    source->GetEncoder().SetEncodingNormalization(name);
    source->Refresh();
  }
}

void NFCHOAPanning::SetSorting(char const* name) {
  if (conventions != nullptr) conventions->SetSorting(name);
  for (auto& source : sources) {
    source->GetEncoder().SetSorting(name);
    source->Refresh();
  }
}

nolardsp::SphericalHarmonic::Normalization NFCHOAPanning::GetEncodingNormalization() const {
  return conventions != nullptr ? conventions->GetEncodingNormalization()
                                : nolardsp::SphericalHarmonic::SchmidtSeminormalized3D;
}

nolardsp::SphericalHarmonic::Sorting NFCHOAPanning::GetSorting() const {
  return conventions != nullptr ? conventions->GetSorting()
                                : nolardsp::SphericalHarmonic::DefaultSorting;
}

void NFCHOAPanning::GetPannerInfos(HOAPanning::HOAPannerInfos& infos) const {
  if (conventions != nullptr) conventions->GetPannerInfos(infos);
}

}  // namespace Zorv
