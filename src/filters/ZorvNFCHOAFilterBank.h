#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

#include "NolarFadedBiquadCascade.h"
#include "NolarSignalProcessing.h"
#include "ZorvNFCHOAFilterModeling.h"

namespace Zorv {

// One mono signal in, order + 1 out: output m is the input through the
// near-field filter of degree m (output 0 is the input itself). A change of
// radius cross-fades each filter to its new taps; a degree without a filter
// (above 26) copies its input.
//
// A filter whose taps are the identity (a source at the speaker radius), once
// no fade runs, copies its input instead of running: the recursion of b = a
// in float is the identity only up to a rounding noise that its poles near
// z = 1 amplify (1e-4 within a second at 44.1 kHz), and copying is exact.
// Its memory is cleared when it stops, so that it starts again from rest,
// where it is exact too.
//
// Threads: the radius setters run on one message thread and allocate
// nothing; the new taps reach the audio thread through the cascades' pending
// sets. SetSamplerate, SetMaxBlockSize and Clear are set-up calls (no block
// runs meanwhile): a new rate redesigns both sides of every filter and takes
// the taps at once. Process allocates nothing.
class NFCHOAFilterBank : public nolardsp::SignalProcessing {
 public:
  explicit NFCHOAFilterBank(unsigned int order);
  ~NFCHOAFilterBank() override;

  void Process(float** outputs, float** inputs, unsigned long numSamples,
               short const* activeInputs) override;
  void SetSamplerate(float samplerate) override;
  void SetMaxBlockSize(unsigned int maxBlockSize) override;
  void Clear() override;

  // Raised to ZorvDefaultParameters::MinRadius; a value that changes nothing
  // designs nothing.
  void SetSpeakerRadius(float radius);
  void SetSourceRadius(float radius);

  unsigned int GetOrder() const { return order; }
  // Null for degree 0 and for degrees without a filter.
  NFCHOAFilterModeling* GetModel(unsigned int degree) const { return models[degree].get(); }
  nolardsp::FadedBiquadCascade* GetCascade(unsigned int degree) const {
    return cascades[degree].get();
  }

 private:
  void updateFilters(bool immediately);

  std::uint32_t order;
  std::vector<std::unique_ptr<NFCHOAFilterModeling>> models;
  std::vector<std::unique_ptr<nolardsp::FadedBiquadCascade>> cascades;
  // Per degree: the latest set handed over is the identity (message thread
  // writes, audio thread reads), and the cascade stands idle (audio thread).
  std::unique_ptr<std::atomic<bool>[]> identity;
  std::vector<char> idle;
};

}  // namespace Zorv
