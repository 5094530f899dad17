#include "ZorvSphericalHarmonicFit.h"

#include <Eigen/Dense>
#include <algorithm>
#include <cmath>

#include "NolarException.h"
#include "NolarFFT.h"
#include "NolarSphericalHarmonic.h"
#include "ZorvHrtf.h"
#include "ZorvHrtfHeaderInfos.h"
#include "ZorvHrtfPoint.h"

namespace Zorv {

namespace {

using nolardsp::Complex;
using nolardsp::SphericalHarmonic;

SphericalHarmonic::Normalization const fitNormalization = SphericalHarmonic::FullyNormalized3D;

unsigned int powerOfTwoAbove(unsigned int n) {
  unsigned int p = 1;
  while (p < n) p <<= 1;
  return p;
}

// Plain forward transform of one ear's taps, zero padded to size.
void spectrum(float const* taps, unsigned int numTaps, nolardsp::FFT<float>& fft,
              std::vector<Complex<float>>& out) {
  out.assign(fft.GetSize(), Complex<float>{0.f, 0.f});
  for (unsigned int k = 0; k < numTaps && k < out.size(); ++k) out[k].re = taps[k];
  fft.process(out.data(), nolardsp::FftForward);
}

// Mean magnitude distance in dB over the bins of 200 Hz to 16 kHz.
double distanceDb(std::vector<Complex<float>> const& a, std::vector<Complex<double>> const& b,
                  double rate) {
  std::size_t const n = a.size();
  double sum = 0.;
  int count = 0;
  for (std::size_t k = 1; k <= n / 2; ++k) {
    double const f = rate * static_cast<double>(k) / static_cast<double>(n);
    if (f < 200. || f > 16000.) continue;
    double const ma = std::hypot(a[k].re, a[k].im) + 1e-9;
    double const mb = std::hypot(b[k].re, b[k].im) + 1e-9;
    sum += std::fabs(20. * std::log10(ma / mb));
    ++count;
  }
  return count > 0 ? sum / count : 0.;
}

}  // namespace

void SphericalHarmonicFit::Direction(nolardsp::CartesianVector const& p, double& theta,
                                     double& phi) {
  double const r = std::sqrt(static_cast<double>(p.x) * p.x + static_cast<double>(p.y) * p.y +
                             static_cast<double>(p.z) * p.z);
  double const half = 1.5707963267948966;
  theta = r > 0. ? half - std::asin(std::max(-1., std::min(1., p.z / r))) : half;
  phi = r > 0. ? std::atan2(static_cast<double>(p.y), static_cast<double>(p.x)) : 0.;
}

SphericalHarmonicFit::Result SphericalHarmonicFit::Fit(Hrtf const& set, unsigned int order,
                                                       double lambda, unsigned int holdOut) {
  HrtfHeaderInfos const& header = *set.GetHrtfHeaderInfos();
  if (header.filterType != FIR || header.numChannels != 2 || header.numCoefficients == 0) {
    NOLAR_THROW("a spherical harmonic fit needs a set of two channels of FIR filters");
  }
  unsigned int const numHarmonics = (order + 1) * (order + 1);
  std::vector<HrtfPoint> const& points = set.GetPoints();
  std::vector<std::size_t> fitted, judged;
  for (std::size_t k = 0; k < points.size(); ++k) {
    (holdOut > 0 && k % holdOut == holdOut / 2 ? judged : fitted).push_back(k);
  }
  if (fitted.size() < numHarmonics) {
    NOLAR_THROW("the set has fewer points than the fit has harmonics");
  }
  unsigned int const taps = header.numCoefficients;
  unsigned int const n = powerOfTwoAbove(taps);
  nolardsp::FFT<float> fft(n);

  auto basisRow = [&](HrtfPoint const& p, std::vector<Complex<double>>& row) {
    double theta = 0., phi = 0.;
    Direction(p.position, theta, phi);
    SphericalHarmonic::SphericalHarmonicsBasis<double>(row, order, theta, phi, fitNormalization,
                                                       SphericalHarmonic::DefaultSorting);
  };

  Eigen::Index const P = static_cast<Eigen::Index>(fitted.size());
  Eigen::MatrixXcd Y(P, numHarmonics);
  std::vector<Complex<double>> row;
  for (Eigen::Index i = 0; i < P; ++i) {
    basisRow(points[fitted[static_cast<std::size_t>(i)]], row);
    for (unsigned int k = 0; k < numHarmonics; ++k) Y(i, k) = {row[k].re, row[k].im};
  }
  Eigen::MatrixXcd A = Y.adjoint() * Y;
  double const scale = A.trace().real() / numHarmonics;
  A.diagonal().array() += lambda * scale;
  Eigen::LDLT<Eigen::MatrixXcd> solver(A);

  Result result;
  SphericalHarmonicData& d = result.data;
  d.info.owner = header.owner;
  d.info.subject = header.subject;
  d.info.copyright = header.copyright;
  d.info.hrtfType = 0;
  d.info.filterType = 5;
  d.info.normalization = fitNormalization;
  d.info.maxOrder = order;
  d.info.numFrequencyBins = n;
  d.info.numChannels = 2;
  d.info.samplingRate = header.sampleRate;
  d.info.numPoints = static_cast<uint32_t>(points.size());

  std::vector<Complex<float>> s;
  Eigen::MatrixXcd B[2];
  for (int ear = 0; ear < 2; ++ear) {
    Eigen::MatrixXcd H(P, n);
    for (Eigen::Index i = 0; i < P; ++i) {
      HrtfPoint const& p = points[fitted[static_cast<std::size_t>(i)]];
      spectrum(p.coefficients.data() + ear * taps, taps, fft, s);
      for (unsigned int k = 0; k < n; ++k) H(i, k) = {s[k].re, s[k].im};
    }
    B[ear] = solver.solve(Y.adjoint() * H);
    auto& out = ear == 0 ? d.sphericalBasisLeft : d.sphericalBasisRight;
    out.resize(static_cast<std::size_t>(numHarmonics) * n);
    for (unsigned int h = 0; h < numHarmonics; ++h) {
      for (unsigned int k = 0; k < n; ++k) {
        std::complex<double> const v = B[ear](h, k);
        out[static_cast<std::size_t>(h) * n + k] = {static_cast<float>(v.real()),
                                                    static_cast<float>(v.imag())};
      }
    }
  }

  // The fit's spectra against the measured ones.
  double const rate = header.sampleRate > 0 ? header.sampleRate : 44100.;
  auto judge = [&](std::vector<std::size_t> const& which, Error& e) {
    double sum = 0.;
    std::vector<Complex<double>> model(n);
    for (std::size_t index : which) {
      HrtfPoint const& p = points[index];
      basisRow(p, row);
      double worst = 0.;
      for (int ear = 0; ear < 2; ++ear) {
        for (unsigned int k = 0; k < n; ++k) {
          std::complex<double> v = 0.;
          for (unsigned int h = 0; h < numHarmonics; ++h) {
            v += std::complex<double>(row[h].re, row[h].im) * B[ear](h, k);
          }
          model[k] = {v.real(), v.imag()};
        }
        spectrum(p.coefficients.data() + ear * taps, taps, fft, s);
        double const dist = distanceDb(s, model, rate);
        sum += dist / 2.;
        worst = std::max(worst, dist);
      }
      e.maxDb = std::max(e.maxDb, worst);
    }
    e.numDirections = static_cast<unsigned int>(which.size());
    e.meanDb = which.empty() ? 0. : sum / static_cast<double>(which.size());
  };
  judge(fitted, result.fitted);
  judge(judged, result.heldOut);
  return result;
}

double SphericalHarmonicFit::SpectralDistanceDb(std::vector<float> const& a,
                                                std::vector<float> const& b, double rate) {
  unsigned int const n = powerOfTwoAbove(static_cast<unsigned int>(std::max(a.size(), b.size())));
  nolardsp::FFT<float> fft(n);
  std::vector<Complex<float>> sa, sb;
  spectrum(a.data(), static_cast<unsigned int>(a.size()), fft, sa);
  spectrum(b.data(), static_cast<unsigned int>(b.size()), fft, sb);
  std::vector<Complex<double>> db(n);
  for (unsigned int k = 0; k < n; ++k) db[k] = {sb[k].re, sb[k].im};
  return distanceDb(sa, db, rate);
}

}  // namespace Zorv
