#pragma once

#include <map>
#include <string>

#include "ZorvSecondOrderFilters.h"

namespace Zorv {

// One second-order section designed from a type, a frequency, a Q and a gain:
// b0 + b1 z^-1 + b2 z^-2 over a0 + a1 z^-1 + a2 z^-2, not normalised. The
// design runs in double and is kept both ways: the float coefficients for
// whoever wants them as they are, the double ones for a caller that normalises
// the section itself and should round only once.
//
// The frequency of a design is kept within (0, 0.49] of the rate whatever is
// stored, so that a cut-off above the Nyquist frequency of a low rate still
// gives a stable section. Q is used within [MinQ, MaxQ] and gains within
// +/-MaxGaindB; a setter given NaN changes nothing.
//
// Threads: setters run on a message thread; the object allocates nothing.
class BiquadFrequencyResponse {
 public:
  static float const DefaultSamplerate;
  static float const MinQ;
  static float const MaxQ;
  static float const MaxGaindB;

  explicit BiquadFrequencyResponse(SecondOrderFilters::Type type);

  // Each stores the value and recomputes the section.
  void SetSamplerate(float samplerate);
  void SetFreq(float hertz);
  void SetQ(float q);
  void SetdBGain(float decibels);
  void SetFilterType(SecondOrderFilters::Type const& type);
  // The double shelving section's parameters: gains in decibels, frequencies
  // in hertz, in either order.
  void SetDoubleShelving(float lowGain, float midGain, float highGain, float lowFrequency,
                         float highFrequency);

  float GetSamplerate() const { return samplerate; }
  float GetFreq() const { return frequency; }
  float GetQ() const { return q; }
  float GetdBGain() const { return gain; }
  SecondOrderFilters::Type GetFilterType() const { return type; }

  // b0, b1, b2, a0, a1, a2.
  void GetCoefficients(float* coefficients) const;
  void GetCoefficients(double* coefficients) const;

  // |H| at a frequency in hertz, from the double design.
  double GetMagnitude(float hertz) const;

  // The type a word names ("lowpass", "LowPass", ...); a word the map does
  // not know gives 0, the double shelving type.
  static SecondOrderFilters::Type GetFilterType(char const* word);

 private:
  static void initBiquadFilterTypeMap();
  void updateBiquadCoefficients();

  float samplerate;
  float b0, b1, b2, a0, a1, a2;
  float lowGain, midGain, highGain;
  float lowFrequency, highFrequency;
  float frequency;
  float q;
  float gain;
  SecondOrderFilters::Type type;
  float piOverSamplerate, twoPiOverSamplerate;
  // Products of the coefficients for the magnitude: (b0+b1+b2)^2,
  // (b0+b2)*b1 + 4*b0*b2, b0*b2, and the same of a.
  double bSumSquared, bCross, bOuter, aSumSquared, aCross, aOuter;
  double exact[6];

  static std::map<std::string, SecondOrderFilters::Type> biquadFilterTypeMap;
};

}  // namespace Zorv
