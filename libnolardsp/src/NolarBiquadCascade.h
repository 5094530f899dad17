#pragma once

#include <vector>

#include "NolarFilter.h"

namespace nolardsp {

// A cascade of second-order sections with one overall gain:
//
//   H(z) = gain * prod_s (1 + b1 z^-1 + b2 z^-2) / (1 + a1 z^-1 + a2 z^-2)
//
// SetCoefficients takes 4 * numCascades + 1 floats: gain, then b1, b2, a1, a2
// of each section. The denominators are stored negated (b1, b2, -a1, -a2) so
// that the loop only adds, and GetCoefficients returns them as stored: it is
// not the inverse of SetCoefficients.
//
// Direct form I in float with denormals flushed. A set with a non-finite value
// or a section whose poles are not strictly inside the unit circle is not run
// (the cascade outputs zeros and keeps its memory at rest) until a good set
// arrives. Should the memory ever stop being finite (a NaN at the input, say),
// the block is silenced and the memory cleared.
//
// Threads: Process and SetCoefficients allocate nothing; SetNumCascades and
// SetOrder resize (set-up path).
class BiquadCascade : public Filter {
 public:
  explicit BiquadCascade(unsigned int numCascades = 1);
  ~BiquadCascade() override;

  using Filter::Process;
  void Process(float* output, float* input, unsigned long numSamples) override;

  void SetSamplerate(float samplerate) override { this->samplerate = samplerate; }
  void SetMaxBlockSize(unsigned int maxBlockSize) override { this->maxBlockSize = maxBlockSize; }
  // Zeroes the memory.
  void Clear() override;

  void SetCoefficients(float* coefficients) override;
  // A cascade that is handed over starts from silence: clears, whatever other is.
  void SetState(Filter const& other) override;
  // SetNumCascades(order / 2).
  void SetOrder(unsigned int order) override;
  // All stored values 0 but the first (b1 of section 1), which is 1.
  void ClearTaps() override;
  bool IsStable() const override;
  bool IsMinimumPhase() const override;
  // gain, then the stored values (denominators negated).
  void GetCoefficients(std::vector<float>& coefficients) const override;
  unsigned int GetNumCoefficients() const override { return 4 * numCascades + 1; }

  void SetNumCascades(unsigned int numCascades);
  unsigned int GetNumCascades() const { return numCascades; }
  float GetGain() const { return gain; }

 private:
  bool sectionsPass(bool denominators) const;

  unsigned int numCascades;
  float gain;
};

}  // namespace nolardsp
