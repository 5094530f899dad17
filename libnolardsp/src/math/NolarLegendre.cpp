#include "NolarLegendre.h"

#include <cmath>

#include "NolarLegendreRecurrence.h"

namespace nolardsp {

template <typename T>
void Legendre<T>::AssociatedLegendreFunctions(std::vector<T>& out, unsigned int order, T x,
                                              SphericalHarmonic::Normalization const& n) {
  using namespace legendre;
  std::size_t const size = static_cast<std::size_t>(order + 1) * (order + 1);
  out.resize(size);
  x = ClampUnit(x);
  bool const pole = x == T(1) || x == T(-1);
  // At a pole acos(x) is 0 or pi rounded, whose sine is not quite 0; the
  // direction is exact there, so are the zeros of every m other than 0.
  T const s = pole ? T(0) : std::sin(std::acos(x));

  // Fully normalised, without phase; m above 0 mirrors m below 0.
  out[0] = T(1);
  T p2 = T(1);  // P_(l-2)
  T p1 = x;     // P_(l-1)
  T diagonal = T(0);
  for (unsigned int l = 1; l <= order; ++l) {
    T p = x;
    if (l >= 2) {
      p = PolynomialStep(l, x, p1, p2);
      p2 = p1;
      p1 = p;
    }
    if (pole) p = PolynomialAtPole(l, x);
    out[Place(l, 0)] = Zonal(l, p);

    diagonal = DiagonalStep(l, diagonal, s);
    out[Place(l, -static_cast<int>(l))] = diagonal;
    if (l >= 2) {
      out[Place(l, -static_cast<int>(l - 1))] =
          OffDiagonal(l, x, out[Place(l - 1, -static_cast<int>(l - 1))]);
    }
    for (unsigned int mu = 1; mu + 2 <= l; ++mu) {
      int const m = -static_cast<int>(mu);
      out[Place(l, m)] = ColumnStep(l, mu, x, out[Place(l - 1, m)], out[Place(l - 2, m)]);
    }
    for (unsigned int mu = 1; mu <= l; ++mu) {
      out[Place(l, static_cast<int>(mu))] = out[Place(l, -static_cast<int>(mu))];
    }
  }

  // Outside the unnormalised forms the factor of a degree is one value and
  // its sign: taken once per degree, it is the same number ConversionFactor
  // gives entry by entry.
  bool const byEntry = n == SphericalHarmonic::Unnormalized ||
                       n == SphericalHarmonic::SchmidtSeminormalized2D ||
                       n == SphericalHarmonic::FullyNormalized2D;
  bool const phased = n != SphericalHarmonic::GaussNormalization;
  for (unsigned int l = 0; l <= order; ++l) {
    T const f = static_cast<T>(ConversionFactor(l, 0, n));
    for (int m = -static_cast<int>(l); m <= static_cast<int>(l); ++m) {
      if (byEntry) {
        out[Place(l, m)] *= static_cast<T>(ConversionFactor(l, m, n));
      } else {
        out[Place(l, m)] *= (phased && m < 0 && (-m) % 2 == 1) ? -f : f;
      }
    }
  }
}

template <typename T>
T Legendre<T>::AssociatedLegendreFunctions(unsigned int l, int m, T x,
                                           SphericalHarmonic::Normalization const& n) {
  using namespace legendre;
  unsigned int const mu = static_cast<unsigned int>(m < 0 ? -m : m);
  if (mu > l) return T(0);
  x = ClampUnit(x);
  T value = T(1);
  if (mu == 0) {
    if (l >= 1) {
      T p2 = T(1);
      T p1 = x;
      T p = x;
      for (unsigned int k = 2; k <= l; ++k) {
        p = PolynomialStep(k, x, p1, p2);
        p2 = p1;
        p1 = p;
      }
      if (x == T(1) || x == T(-1)) p = PolynomialAtPole(l, x);
      value = Zonal(l, p);
    }
  } else {
    T const s = (x == T(1) || x == T(-1)) ? T(0) : std::sin(std::acos(x));
    T diagonal = T(0);
    for (unsigned int k = 1; k <= mu; ++k) diagonal = DiagonalStep(k, diagonal, s);
    value = diagonal;
    if (l > mu) {
      T p2 = diagonal;
      T p1 = OffDiagonal(mu + 1, x, diagonal);
      for (unsigned int k = mu + 2; k <= l; ++k) {
        T const p = ColumnStep(k, mu, x, p1, p2);
        p2 = p1;
        p1 = p;
      }
      value = p1;
    }
  }
  return value * static_cast<T>(ConversionFactor(l, m, n));
}

template class Legendre<float>;
template class Legendre<double>;

}  // namespace nolardsp
