#pragma once

// Spherical harmonics computed the slow, direct way, for checking the
// library's recurrences: associated Legendre functions from the explicit sum
// of the derivative of Rodrigues' formula in long double, scale factors from
// their closed products, and Gauss-Legendre nodes for integrating over the
// sphere.

#include <cmath>
#include <utility>
#include <vector>

namespace zorvtest {

inline long double FactorialLD(unsigned int n) {
  long double f = 1.L;
  for (unsigned int i = 2; i <= n; ++i) f *= static_cast<long double>(i);
  return f;
}

// P_l^mu(x) without the Condon-Shortley phase, mu >= 0.
inline long double LegendreReference(unsigned int l, unsigned int mu, long double x) {
  if (mu > l) return 0.L;
  long double sum = 0.L;
  for (unsigned int k = 0; 2 * k + mu <= l; ++k) {
    long double const term = FactorialLD(2 * l - 2 * k) /
                             (FactorialLD(k) * FactorialLD(l - k) * FactorialLD(l - 2 * k - mu));
    long double const power = std::pow(x, static_cast<long double>(l - 2 * k - mu));
    sum += ((k % 2 == 1) ? -term : term) * power;
  }
  sum /= std::pow(2.L, static_cast<long double>(l));
  long double const s2 = 1.L - x * x;
  return sum * std::pow(s2 > 0.L ? s2 : 0.L, static_cast<long double>(mu) / 2.L);
}

// Semi-normalised, without phase: sqrt((2 - d(mu)) (l - mu)! / (l + mu)!) P_l^mu.
inline double SemiNormalizedLegendre(unsigned int l, unsigned int mu, double x) {
  long double const norm = (mu == 0 ? 1.L : 2.L) * FactorialLD(l - mu) / FactorialLD(l + mu);
  return static_cast<double>(std::sqrt(norm) * LegendreReference(l, mu, x));
}

// The scale of a normalisation relative to SN3D, for the 3-D and 2-D
// conventions of the system (1 SN3D, 2 SN2D, 3 N3D by |m|, 4 N2D). The 2-D
// factor is sqrt(prod 2k / (2k - 1)), which makes cos(m phi) of unit power
// on the circle.
inline double ScaleReference(unsigned int mu, unsigned int normalization) {
  double twoD = 1.;
  for (unsigned int k = 1; k <= mu; ++k) twoD *= 2. * k / (2. * k - 1.);
  twoD = std::sqrt(twoD);
  switch (normalization) {
    case 2:
      return mu == 0 ? 1. : twoD / std::sqrt(2.);
    case 3:
      return std::sqrt(2. * mu + 1.);
    case 4:
      return mu == 0 ? 1. : twoD;
    default:
      return 1.;
  }
}

// Real harmonic in the positive form, normalisations 1 to 4.
inline double RealReference(unsigned int l, int m, double theta, double phi,
                            unsigned int normalization) {
  unsigned int const mu = static_cast<unsigned int>(m < 0 ? -m : m);
  double const n = SemiNormalizedLegendre(l, mu, std::cos(theta));
  double const trig = m >= 0 ? std::cos(m * phi) : std::sin(mu * phi);
  return ScaleReference(mu, normalization) * n * trig;
}

// Orthonormal complex harmonic with the Condon-Shortley phase:
// Y(l, m) = sqrt((2l+1)/(4 pi) (l-m)!/(l+m)!) P_l^m e^(i m phi), and
// Y(l, -m) = (-1)^m conj(Y(l, m)).
inline std::pair<double, double> ComplexReference(unsigned int l, int m, double theta, double phi) {
  unsigned int const mu = static_cast<unsigned int>(m < 0 ? -m : m);
  long double const k = std::sqrt((2.L * l + 1.L) / (4.L * 3.14159265358979323846L) *
                                  FactorialLD(l - mu) / FactorialLD(l + mu));
  double const v =
      static_cast<double>(k * LegendreReference(l, mu, std::cos(theta))) * ((mu % 2) ? -1. : 1.);
  double re = v * std::cos(mu * phi);
  double im = v * std::sin(mu * phi);
  if (m < 0) {
    double const sign = (mu % 2) ? -1. : 1.;
    re *= sign;
    im *= -sign;
  }
  return {re, im};
}

// The m of each component of a degree in the alternate order: l, -l, l-1,
// -(l-1), ..., 1, -1, 0.
inline std::vector<int> AlternateOrder(unsigned int l) {
  std::vector<int> ms;
  for (int j = static_cast<int>(l); j >= 1; --j) {
    ms.push_back(j);
    ms.push_back(-j);
  }
  ms.push_back(0);
  return ms;
}

// Nodes and weights of the n-point Gauss-Legendre rule on [-1, 1].
inline void GaussLegendre(unsigned int n, std::vector<double>& nodes,
                          std::vector<double>& weights) {
  nodes.assign(n, 0.);
  weights.assign(n, 0.);
  double const pi = 3.14159265358979323846;
  for (unsigned int i = 0; i < n; ++i) {
    double x = std::cos(pi * (i + 0.75) / (n + 0.5));
    double derivative = 1.;
    for (int iteration = 0; iteration < 100; ++iteration) {
      double p0 = 1.;
      double p1 = x;
      for (unsigned int k = 2; k <= n; ++k) {
        double const p2 = ((2. * k - 1.) * x * p1 - (k - 1.) * p0) / k;
        p0 = p1;
        p1 = p2;
      }
      derivative = n * (x * p1 - p0) / (x * x - 1.);
      double const dx = p1 / derivative;
      x -= dx;
      if (std::fabs(dx) < 1e-16) break;
    }
    nodes[i] = x;
    weights[i] = 2. / ((1. - x * x) * derivative * derivative);
  }
}

}  // namespace zorvtest
