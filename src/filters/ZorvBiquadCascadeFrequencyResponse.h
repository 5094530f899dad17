#pragma once

#include <vector>

#include "ZorvBiquadFrequencyResponse.h"

namespace Zorv {

// Several second-order designs meant to run in series, each section
// addressed by its index. New sections are wires (type Null).
//
// Threads: message thread; allocates in the constructor only.
class BiquadCascadeFrequencyResponse {
 public:
  explicit BiquadCascadeFrequencyResponse(unsigned int numCascades);
  ~BiquadCascadeFrequencyResponse();
  BiquadCascadeFrequencyResponse(BiquadCascadeFrequencyResponse const&) = delete;
  BiquadCascadeFrequencyResponse& operator=(BiquadCascadeFrequencyResponse const&) = delete;

  // Each stores the value in the section and recomputes it; an index past the
  // last section does nothing.
  void SetFreq(unsigned int index, float hertz);
  void SetQ(unsigned int index, float q);
  void SetdBGain(unsigned int index, float decibels);
  void SetFilterType(unsigned int index, SecondOrderFilters::Type const& type);
  void SetDoubleShelving(unsigned int index, float lowGain, float midGain, float highGain,
                         float lowFrequency, float highFrequency);
  // Every section, recomputed.
  void SetSamplerate(float samplerate);

  unsigned int GetNumCascades() const { return numCascades; }
  BiquadFrequencyResponse const& GetSection(unsigned int index) const { return *sections[index]; }

  // b0, b1, b2, a0, a1, a2 of each section in turn; the vector is resized.
  void GetCoefficients(std::vector<float>& coefficients) const;
  void GetCoefficients(std::vector<double>& coefficients) const;

  // The product of the sections' magnitudes at a frequency in hertz.
  double GetMagnitude(float hertz) const;

  // Turns six numbers a section (b0 b1 b2 a0 a1 a2, as GetCoefficients writes
  // them) into the layout of a biquad cascade: the overall gain, then b1 b2 a1
  // a2 of each section, both polynomials divided by their first coefficient.
  // Each value is computed in double and rounded to float once. A section
  // whose rounded denominator would not be stable (a pole on or past the
  // unit circle, which rounding can cause for poles very close to it) takes
  // the nearest stable float values. A section with b0 or a0 of 0 mutes the
  // cascade rather than divide by it. `cascade` must hold 4 * sections + 1.
  // Allocates nothing.
  static void RearrangeForCascade(double const* sections, unsigned int numSections, float* cascade);

 private:
  unsigned int numCascades;
  std::vector<BiquadFrequencyResponse*> sections;
};

}  // namespace Zorv
