#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "NolarSignalProcessing.h"
#include "ZorvNFCHOAHighPass.h"

namespace Zorv {

// order + 1 signals in and out: signal m through the high-pass of degree m
// (signal 0 copied). Follows the source radius whether in use or not, so that
// switching it on acts at once with the right filter.
//
// Threads: as NFCHOAHighPass; SetSourceRadius designs nothing for a radius
// already in use (a move that keeps the distance costs nothing).
class NFCHOAHighPassFilterBank : public nolardsp::SignalProcessing {
 public:
  NFCHOAHighPassFilterBank(unsigned int order, unsigned int dimension);
  ~NFCHOAHighPassFilterBank() override;

  // Works in place (outputs[m] == inputs[m]).
  void Process(float** outputs, float** inputs, unsigned long numSamples,
               short const* activeInputs) override;
  void SetSamplerate(float samplerate) override;
  void SetMaxBlockSize(unsigned int maxBlockSize) override;
  void Clear() override;

  void SetSourceRadius(float radius);
  NFCHOAHighPass* GetFilter(unsigned int degree) const { return filters[degree].get(); }

 private:
  std::uint32_t order;
  std::vector<std::unique_ptr<NFCHOAHighPass>> filters;
};

}  // namespace Zorv
