#pragma once

#include <cmath>
#include <vector>

#include "NolarSphericalHarmonic.h"

// The steps shared by the table and the single-value forms of the Legendre
// values and of the harmonics built on them. Both forms go through these same
// functions in the same order, so a component computed alone is bit-identical
// to its entry in the table.
namespace nolardsp {
namespace legendre {

// Position of (l, m) in a table of all components.
inline unsigned int Place(unsigned int l, int m) {
  return static_cast<unsigned int>(static_cast<int>(l * l + l) + m);
}

template <typename T>
T ClampUnit(T x) {
  if (x > T(1)) return T(1);
  if (x < T(-1)) return T(-1);
  return x;
}

// n P_n = (2n - 1) x P_(n-1) - (n - 1) P_(n-2), for n of 2 or more.
template <typename T>
T PolynomialStep(unsigned int n, T x, T p1, T p2) {
  return (static_cast<T>(2 * n - 1) * x * p1 - static_cast<T>(n - 1) * p2) / static_cast<T>(n);
}

// P_l at exactly 1 or -1, where no recursion is run.
template <typename T>
T PolynomialAtPole(unsigned int l, T x) {
  return (x > T(0) || l % 2 == 0) ? T(1) : T(-1);
}

// Fully normalised (l, 0) from P_l.
template <typename T>
T Zonal(unsigned int l, T p) {
  return static_cast<T>(std::sqrt(static_cast<double>(2 * l + 1))) * p;
}

// (l, -l) from (l - 1, -(l - 1)); the first, l = 1, is sqrt(3) s.
template <typename T>
T DiagonalStep(unsigned int l, T previous, T s) {
  if (l == 1) return static_cast<T>(std::sqrt(3.)) * s;
  double const f = std::sqrt(static_cast<double>(2 * l + 1) / static_cast<double>(2 * l));
  return previous * (static_cast<T>(f) * s);
}

// (l, -(l - 1)) from (l - 1, -(l - 1)), for l of 2 or more.
template <typename T>
T OffDiagonal(unsigned int l, T x, T diagonal) {
  return static_cast<T>(std::sqrt(static_cast<double>(2 * l + 1))) * x * diagonal;
}

// The coefficients a and b of the step below, in double.
inline void ColumnCoefficients(unsigned int l, unsigned int mu, double& a, double& b) {
  double const ld = l;
  double const md = mu;
  double const den = (ld - md) * (ld + md);
  a = std::sqrt((2. * ld - 1.) * (2. * ld + 1.) / den);
  b = std::sqrt((ld + md - 1.) * (ld - md - 1.) * (2. * ld + 1.) / (den * (2. * ld - 3.)));
}

// The coefficients of every step up to CachedDegree, computed once by the
// function above (so with the same values) at the first use: the square roots
// and divisions dominated the cost of an encoding vector. The first use
// allocates; it happens on a message thread.
unsigned int const CachedDegree = 64;

struct ColumnCoefficientCache {
  std::vector<double> a;
  std::vector<double> b;
  ColumnCoefficientCache() : a(CachedDegree * CachedDegree + 2 * CachedDegree + 1), b(a.size()) {
    for (unsigned int l = 2; l <= CachedDegree; ++l) {
      for (unsigned int mu = 1; mu + 2 <= l; ++mu) {
        ColumnCoefficients(l, mu, a[l * l + mu], b[l * l + mu]);
      }
    }
  }
};

inline ColumnCoefficientCache const& CachedColumnCoefficients() {
  static ColumnCoefficientCache const cache;
  return cache;
}

// (l, -mu) from (l - 1, -mu) and (l - 2, -mu), for 1 <= mu <= l - 2.
template <typename T>
T ColumnStep(unsigned int l, unsigned int mu, T x, T p1, T p2) {
  double a;
  double b;
  if (l <= CachedDegree) {
    ColumnCoefficientCache const& cache = CachedColumnCoefficients();
    a = cache.a[l * l + mu];
    b = cache.b[l * l + mu];
  } else {
    ColumnCoefficients(l, mu, a, b);
  }
  return static_cast<T>(a) * x * p1 - static_cast<T>(b) * p2;
}

// (l + |m|)! / (l - |m|)!, as the product of the integers between.
inline double FactorialRatio(unsigned int l, unsigned int mu) {
  double q = 1.;
  for (unsigned int k = l - mu + 1; k <= l + mu; ++k) q *= static_cast<double>(k);
  return q;
}

// What turns the fully normalised value without phase into the value of a
// normalisation. A value outside the enumeration is read as SN3D.
inline double ConversionFactor(unsigned int l, int m, SphericalHarmonic::Normalization const& n) {
  unsigned int const mu = static_cast<unsigned int>(m < 0 ? -m : m);
  double const oddSign = (mu % 2 == 1) ? -1. : 1.;  // (-1)^m
  double const twoLPlusOne = static_cast<double>(2 * l + 1);
  switch (n) {
    case SphericalHarmonic::FullyNormalized3D:
      return m < 0 ? oddSign : 1.;
    case SphericalHarmonic::GaussNormalization:
      return 1.;
    case SphericalHarmonic::Unnormalized:
    case SphericalHarmonic::SchmidtSeminormalized2D:
    case SphericalHarmonic::FullyNormalized2D:
      if (m == 0) return 1. / std::sqrt(twoLPlusOne);
      return oddSign / std::sqrt(2. * twoLPlusOne / FactorialRatio(l, mu));
    default:
      return (m < 0 ? oddSign : 1.) / std::sqrt(twoLPlusOne);
  }
}

}  // namespace legendre
}  // namespace nolardsp
