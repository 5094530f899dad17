#pragma once

#include <cstdint>
#include <vector>

namespace Zorv {

// The near-field filter of one ambisonic degree m: a source at radius rho
// heard over speakers at radius R. Its zeros are x c / (2 rho) and its poles
// x c / (2 R) in the s plane, x the roots of the Bessel polynomial of degree m
// (nolardsp::RootsOfBesselPolynomial) and c = 340 m/s; each pair of them (and
// the real one of an odd degree) goes through the bilinear transform as one
// section. At DC the filter gains (R / rho)^m, at Nyquist 1, and with equal
// radii it is the identity.
//
// The low-frequency gain of a close source grows without bound with the
// degree; it is held at MaxLowFrequencyGain by moving the source side no
// closer than R / MaxLowFrequencyGain^(1/m). Below that the filter is exact.
// Degrees above the largest table of roots (26) are the identity.
//
// All design arithmetic is in double; the taps are rounded to float at the
// end, in the layout of BiquadCascade::SetCoefficients.
//
// Threads: a message thread; sized at construction, no allocation after.
class NFCHOAFilterModeling {
 public:
  // 1e6 (120 dB): far above any gain heard in use, far below float overflow.
  static double const MaxLowFrequencyGain;
  static double const SpeedOfSound;  // 340 m/s

  explicit NFCHOAFilterModeling(unsigned int order);

  // Rates and radii that are not positive finite numbers are ignored; radii
  // are raised to ZorvDefaultParameters::MinRadius. A new rate redesigns both
  // sides.
  void SetSamplerate(float samplerate);
  void SetSourceRadius(float radius);
  void SetSpeakerRadius(float radius);

  float GetSourceRadius() const { return static_cast<float>(sourceRadius); }
  float GetSpeakerRadius() const { return static_cast<float>(speakerRadius); }
  unsigned int GetOrder() const { return order; }
  // (order + order % 2) / 2; 0 for degrees without roots.
  unsigned int GetNumCascades() const { return static_cast<unsigned int>(realParts.size()); }
  // Recomputes if a setter changed anything; true when it did.
  bool Update();
  // 4 * GetNumCascades() + 1 taps, recomputed if needed.
  float* GetCascadeCoefficients();
  double const* GetCascadeCoefficientsInDouble() {
    Update();
    return tapsDouble.data();
  }

 private:
  void computeSecondOrderCoefficients(std::vector<double>& polynomials, double alpha) const;
  void updateCascadeTaps();
  static double alphaOf(double radius, double samplerate);

  std::uint32_t order;
  bool sourceDirty;
  bool speakerDirty;
  double sourceRadius;
  double speakerRadius;
  double samplerate;
  std::vector<double> realParts;
  std::vector<double> squaredModuli;
  std::vector<double> speakerPolynomials;
  std::vector<double> sourcePolynomials;
  std::vector<float> taps;
  std::vector<double> tapsDouble;
};

}  // namespace Zorv
