#include "ZorvNFCHOAFilterBank.h"

#include "NolarVectorOperations.h"

namespace Zorv {

NFCHOAFilterBank::NFCHOAFilterBank(unsigned int order_)
    : SignalProcessing(1, order_ + 1, DefaultSampleRate, 512),
      order(order_),
      models(order_ + 1),
      cascades(order_ + 1),
      identity(new std::atomic<bool>[order_ + 1]),
      idle(order_ + 1, 0) {
  for (unsigned int m = 0; m <= order; ++m) identity[m].store(false);
  for (unsigned int m = 1; m <= order; ++m) {
    auto model = std::make_unique<NFCHOAFilterModeling>(m);
    if (model->GetNumCascades() == 0) continue;
    auto cascade = std::make_unique<nolardsp::FadedBiquadCascade>(model->GetNumCascades());
    cascade->SetSamplerate(samplerate);
    cascade->SetMaxBlockSize(static_cast<unsigned int>(maxBlockSize));
    models[m] = std::move(model);
    cascades[m] = std::move(cascade);
  }
  updateFilters(true);
}

NFCHOAFilterBank::~NFCHOAFilterBank() = default;

void NFCHOAFilterBank::updateFilters(bool immediately) {
  for (unsigned int m = 1; m <= order; ++m) {
    if (!models[m]) continue;
    if (!models[m]->Update() && !immediately) continue;
    float* taps = models[m]->GetCascadeCoefficients();
    bool same = taps[0] == 1.f;
    for (unsigned int k = 0; same && k < models[m]->GetNumCascades(); ++k) {
      same = taps[4 * k + 1] == taps[4 * k + 3] && taps[4 * k + 2] == taps[4 * k + 4];
    }
    // Announced before a set that is not the identity, after one that is:
    // the audio thread copies only when it sees no set pending.
    if (!same) identity[m].store(false, std::memory_order_release);
    cascades[m]->SetCoefficients(taps, immediately);
    if (same) identity[m].store(true, std::memory_order_release);
  }
}

void NFCHOAFilterBank::SetSpeakerRadius(float radius) {
  for (auto& model : models) {
    if (model) model->SetSpeakerRadius(radius);
  }
  updateFilters(false);
}

void NFCHOAFilterBank::SetSourceRadius(float radius) {
  for (auto& model : models) {
    if (model) model->SetSourceRadius(radius);
  }
  updateFilters(false);
}

void NFCHOAFilterBank::SetSamplerate(float rate) {
  if (!(rate > 0.f) || !std::isfinite(rate)) return;
  samplerate = rate;
  for (unsigned int m = 1; m <= order; ++m) {
    if (!models[m]) continue;
    models[m]->SetSamplerate(rate);
    cascades[m]->SetSamplerate(rate);
  }
  updateFilters(true);
}

void NFCHOAFilterBank::SetMaxBlockSize(unsigned int n) {
  maxBlockSize = n;
  for (auto& cascade : cascades) {
    if (cascade) cascade->SetMaxBlockSize(n);
  }
}

void NFCHOAFilterBank::Clear() {
  for (auto& cascade : cascades) {
    if (cascade) cascade->Clear();
  }
}

void NFCHOAFilterBank::Process(float** outputs, float** inputs, unsigned long n,
                               short const* activeInputs) {
  if (activeInputs[0] == 0) return;
  float* input = inputs[0];
  for (unsigned int m = 1; m <= order; ++m) {
    nolardsp::FadedBiquadCascade* cascade = cascades[m].get();
    bool const copy = cascade == nullptr ||
                      (identity[m].load(std::memory_order_acquire) &&
                       !cascade->HasPendingCoefficients() && cascade->GetSamplesRemaining() == 0 &&
                       (cascade->GetState() == nolardsp::FadedBiquadCascade::FilterOneActive ||
                        cascade->GetState() == nolardsp::FadedBiquadCascade::FilterTwoActive));
    if (cascade != nullptr && copy && !idle[m]) cascade->Clear();
    if (cascade != nullptr) idle[m] = copy ? 1 : 0;
    if (!copy) {
      cascade->ProcessBlock(outputs[m], input, n, false);
    } else if (outputs[m] != input) {
      nolardsp::Copy(outputs[m], input, n);
    }
  }
  // Last, so that outputs[0] may be the input itself.
  if (outputs[0] != input) nolardsp::Copy(outputs[0], input, n);
}

}  // namespace Zorv
