#pragma once

#include <vector>

#include "NolarFilter.h"

namespace Zorv {

// A general recursive filter of one order, direct form I in float:
//
//   y[n] = b0 x[n] + sum_k (b[k] x[n-k] - a[k] y[n-k]),  k = 1 .. order
//
// SetCoefficients reads 2 * (order + 1) floats: b0 .. bN, then a0 .. aN. a0 is
// stored but never divided by: it is taken to be 1. A set with a non-finite
// value or with poles not strictly inside the unit circle (of 1, a1 .. aN) is
// not run: the filter outputs zeros until a good set arrives. A memory that
// stops being finite is cleared and its block silenced.
//
// Threads: Process and SetCoefficients allocate nothing; SetOrder resizes.
class IIRFilter : public nolardsp::Filter {
 public:
  explicit IIRFilter(unsigned int order = 0);
  ~IIRFilter() override;

  using nolardsp::Filter::Process;
  void Process(float* output, float* input, unsigned long numSamples) override;

  void SetSamplerate(float samplerate) override { this->samplerate = samplerate; }
  void SetMaxBlockSize(unsigned int maxBlockSize) override { this->maxBlockSize = maxBlockSize; }
  // Zeroes both memories.
  void Clear() override;

  void SetCoefficients(float* coefficients) override;
  // Starts from silence: clears, whatever other is.
  void SetState(nolardsp::Filter const& other) override;
  // Sizes the coefficients and memories; denominator[0] becomes 1.
  void SetOrder(unsigned int order) override;
  // Zeroes both coefficient vectors; denominator[0] becomes 1.
  void ClearTaps() override;
  bool IsStable() const override;
  bool IsMinimumPhase() const override;
  // Leaves the vector as it is: nothing reads the coefficients back.
  void GetCoefficients(std::vector<float>& coefficients) const override;
  unsigned int GetNumCoefficients() const override {
    return static_cast<unsigned int>(numerator.size() + denominator.size());
  }

  std::vector<float> const& GetNumerator() const { return numerator; }
  std::vector<float> const& GetDenominator() const { return denominator; }

 private:
  std::vector<float> denominator;
  std::vector<float> numerator;
  std::vector<float> outputMemory;
  std::vector<double> scratch;
};

}  // namespace Zorv
