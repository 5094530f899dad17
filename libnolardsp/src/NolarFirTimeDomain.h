#pragma once

#include <vector>

#include "NolarFilter.h"

namespace nolardsp {

// Direct convolution with order + 1 taps and no latency: coefficients[0] is the
// tap of the newest sample.
//
// The history is linear rather than a ring: memory holds the last `order`
// inputs (oldest first) followed by room for one block, so that each output is
// one contiguous dot product of the reversed taps with the history, computed
// for a run of outputs at a time. Each output is summed over the taps in one
// fixed order, from the oldest sample to the newest.
//
// Threads: Process allocates nothing (blocks above the maximum block size are
// run in pieces of that size). SetOrder and SetMaxBlockSize resize.
class FirTimeDomain : public Filter {
 public:
  explicit FirTimeDomain(unsigned int order = 0);
  ~FirTimeDomain() override;

  using Filter::Process;
  void Process(float* output, float* input, unsigned long numSamples) override;

  void SetSamplerate(float samplerate) override;
  void SetMaxBlockSize(unsigned int maxBlockSize) override;
  // Zeroes the history.
  void Clear() override;

  // Reads order + 1 taps. Allocates nothing.
  void SetCoefficients(float* coefficients) override;
  // Continues the signal history of other (a FirTimeDomain), keeping these taps.
  void SetState(Filter const& other) override;
  // Resizes taps and history, keeping the taps and the newest samples there.
  void SetOrder(unsigned int order) override;
  void ClearTaps() override;
  bool IsStable() const override { return true; }
  bool IsMinimumPhase() const override;
  void GetCoefficients(std::vector<float>& coefficients) const override;
  unsigned int GetNumCoefficients() const override { return order + 1; }
  // The last `order` inputs, oldest first (what the next block continues).
  void GetMemory(std::vector<float>& memoryOut) const override;

 private:
  void processPiece(float* output, float const* input, unsigned long n);

  std::vector<float> reversedTaps;
};

}  // namespace nolardsp
