#include "ZorvNFCHOAFilterModeling.h"

#include <algorithm>
#include <cmath>

#include "NolarBesselPolynomial.h"
#include "NolarSignalProcessing.h"
#include "ZorvDefaultParameters.h"

namespace Zorv {

double const NFCHOAFilterModeling::MaxLowFrequencyGain = 1e6;
double const NFCHOAFilterModeling::SpeedOfSound = 340.0;

NFCHOAFilterModeling::NFCHOAFilterModeling(unsigned int order_)
    : order(order_),
      sourceDirty(true),
      speakerDirty(true),
      sourceRadius(1.0),
      speakerRadius(1.5),
      samplerate(nolardsp::SignalProcessing::DefaultSampleRate) {
  std::vector<nolardsp::Complex<double>> roots;
  nolardsp::RootsOfBesselPolynomial(order, roots);
  // Upper half-plane roots, then the real one of an odd degree.
  std::sort(roots.begin(), roots.end(), [](auto const& a, auto const& b) { return a.im > b.im; });
  unsigned int const sections = roots.empty() ? 0 : (order + order % 2) / 2;
  for (unsigned int k = 0; k < sections; ++k) {
    realParts.push_back(roots[k].re);
    squaredModuli.push_back(roots[k].re * roots[k].re + roots[k].im * roots[k].im);
  }
  speakerPolynomials.assign(3 * sections, 0.0);
  sourcePolynomials.assign(3 * sections, 0.0);
  taps.assign(4 * sections + 1, 0.f);
  tapsDouble.assign(4 * sections + 1, 0.0);
  taps[0] = 1.f;
  tapsDouble[0] = 1.0;
}

double NFCHOAFilterModeling::alphaOf(double radius, double rate) {
  return radius * rate * 4.0 / SpeedOfSound;
}

void NFCHOAFilterModeling::SetSamplerate(float rate) {
  if (!(rate > 0.f) || !std::isfinite(rate)) return;
  if (static_cast<double>(rate) == samplerate) return;
  samplerate = rate;
  sourceDirty = speakerDirty = true;
}

void NFCHOAFilterModeling::SetSourceRadius(float radius) {
  if (!std::isfinite(radius)) return;
  double const r = std::max(radius, ZorvDefaultParameters::MinRadius);
  if (r == sourceRadius) return;
  sourceRadius = r;
  sourceDirty = true;
}

void NFCHOAFilterModeling::SetSpeakerRadius(float radius) {
  if (!std::isfinite(radius)) return;
  double const r = std::max(radius, ZorvDefaultParameters::MinRadius);
  if (r == speakerRadius) return;
  speakerRadius = r;
  speakerDirty = true;
  // The bound on the gain depends on both radii.
  sourceDirty = true;
}

void NFCHOAFilterModeling::computeSecondOrderCoefficients(std::vector<double>& polynomials,
                                                          double alpha) const {
  size_t const sections = realParts.size();
  for (size_t k = 0; k < sections; ++k) {
    double* c = &polynomials[3 * k];
    bool const real = order % 2 == 1 && k + 1 == sections;
    if (real) {
      double const t = realParts[k] / alpha;
      c[0] = 1.0 - t;
      c[1] = -1.0 - t;
      c[2] = 0.0;
    } else {
      double const t = 2.0 * realParts[k] / alpha;
      double const u = squaredModuli[k] / (alpha * alpha);
      c[0] = u + 1.0 - t;
      c[1] = -2.0 * (1.0 - u);
      c[2] = u + 1.0 + t;
    }
  }
}

bool NFCHOAFilterModeling::Update() {
  if (!sourceDirty && !speakerDirty) return false;
  if (speakerDirty)
    computeSecondOrderCoefficients(speakerPolynomials, alphaOf(speakerRadius, samplerate));
  if (sourceDirty) {
    double const closest =
        order > 0 ? speakerRadius * std::pow(MaxLowFrequencyGain, -1.0 / order) : 0.0;
    double const radius = std::max(sourceRadius, closest);
    computeSecondOrderCoefficients(sourcePolynomials, alphaOf(radius, samplerate));
  }
  sourceDirty = speakerDirty = false;
  updateCascadeTaps();
  return true;
}

float* NFCHOAFilterModeling::GetCascadeCoefficients() {
  Update();
  return taps.data();
}

void NFCHOAFilterModeling::updateCascadeTaps() {
  size_t const sections = realParts.size();
  double gain = 1.0;
  for (size_t k = 0; k < sections; ++k) {
    double const* n = &sourcePolynomials[3 * k];
    double const* d = &speakerPolynomials[3 * k];
    gain *= n[0] / d[0];
    tapsDouble[4 * k + 1] = n[1] / n[0];
    tapsDouble[4 * k + 2] = n[2] / n[0];
    tapsDouble[4 * k + 3] = d[1] / d[0];
    tapsDouble[4 * k + 4] = d[2] / d[0];
  }
  tapsDouble[0] = gain;
  for (size_t k = 0; k < tapsDouble.size(); ++k) taps[k] = static_cast<float>(tapsDouble[k]);
}

}  // namespace Zorv
