#include "NolarRealSphericalHarmonic.h"

#include <cmath>

#include "NolarLegendre.h"
#include "NolarLegendreRecurrence.h"

namespace nolardsp {

template <typename T>
void RealSphericalHarmonic<T>::Direction(CartesianVector const& position, T& theta, T& phi) {
  T const x = position.x;
  T const y = position.y;
  T const z = position.z;
  phi = std::atan2(y, x);
  T const r = std::sqrt(x * x + y * y + z * z);
  T const halfPi = static_cast<T>(1.57079632679489661923);
  // The ratio can leave [-1, 1] by a rounding when r is tiny.
  theta = r > T(0) ? halfPi - std::asin(legendre::ClampUnit(z / r)) : halfPi;
}

template <typename T>
void RealSphericalHarmonic<T>::RealSphericalHarmonics(
    std::vector<T>& out, unsigned int order, T theta, T phi,
    SphericalHarmonic::Normalization const& normalization) {
  using SH = SphericalHarmonic;
  std::size_t const size = static_cast<std::size_t>(order + 1) * (order + 1);
  if (normalization == SH::GaussNormalization) {
    out.assign(size, T(0));
    return;
  }
  // The Legendre table goes into out itself, and each entry is turned into
  // its harmonic in place: entry (l, m) needs nothing but itself. The same
  // arithmetic as the complex form, with cos and sin taken once per |m|.
  SH::Normalization const legendreForm =
      normalization == SH::Unnormalized ? SH::Unnormalized : SH::SchmidtSeminormalized3D;
  Legendre<T>::AssociatedLegendreFunctions(out, order, std::cos(theta), legendreForm);
  for (unsigned int l = 0; l <= order; ++l) {
    out[legendre::Place(l, 0)] *= static_cast<T>(SH::ScaleFactor(l, 0, normalization));
  }
  bool const scaleByDegree = normalization == SH::Unnormalized;
  for (unsigned int mu = 1; mu <= order; ++mu) {
    int const m = static_cast<int>(mu);
    T const a = static_cast<T>(mu) * phi;
    T const cosA = std::cos(a);
    T const sinA = std::sin(a);
    T scale = static_cast<T>(SH::ScaleFactor(mu, m, normalization));
    for (unsigned int l = mu; l <= order; ++l) {
      if (scaleByDegree) scale = static_cast<T>(SH::ScaleFactor(l, m, normalization));
      T& positive = out[legendre::Place(l, m)];
      T& negative = out[legendre::Place(l, -m)];
      positive = (scale * positive) * cosA;
      // The imaginary part of m < 0 is -v sin a; odd |m| keeps it, even
      // negates it.
      T const im = -((scale * negative) * sinA);
      negative = (mu % 2 == 1) ? im : -im;
    }
  }
}

template <typename T>
T RealSphericalHarmonic<T>::RealSphericalHarmonics(
    unsigned int l, int m, CartesianVector const& position,
    SphericalHarmonic::Normalization const& normalization) {
  T theta;
  T phi;
  Direction(position, theta, phi);
  return RealPart(SphericalHarmonic::SphericalHarmonics<T>(l, m, theta, phi, normalization), m);
}

template class RealSphericalHarmonic<float>;
template class RealSphericalHarmonic<double>;

}  // namespace nolardsp
