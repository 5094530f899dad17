#pragma once

#include <vector>

#include "NolarCartesianVector.h"
#include "NolarSphericalHarmonic.h"

namespace nolardsp {

// Real spherical harmonics: for m of 0 or above the real part of the complex
// harmonic, for m below 0 its imaginary part, negated for even |m|. Under
// SN3D, SN2D, N3D and N2D that is the positive form
//
//   c N(l, |m|) cos(m phi)     for m >= 0
//   c N(l, |m|) sin(|m| phi)   for m < 0
//
// with N the semi-normalised Legendre value without Condon-Shortley phase and
// c the scale of the normalisation: so (1, 1) goes with x and (1, -1) with y.
//
// Stateless; any thread.
template <typename T>
class RealSphericalHarmonic {
 public:
  // Every component up to the order, at place l^2 + l + m. out is resized,
  // and is the only memory used: with its capacity in place, nothing is
  // allocated. GaussNormalization has no table form and gives zeros.
  static void RealSphericalHarmonics(std::vector<T>& out, unsigned int order, T theta, T phi,
                                     SphericalHarmonic::Normalization const& normalization);
  // One component in the direction of a position; allocates nothing.
  static T RealSphericalHarmonics(unsigned int l, int m, CartesianVector const& position,
                                  SphericalHarmonic::Normalization const& normalization);

  // The direction of a position: phi = atan2(y, x), theta = pi/2 - asin(z / r),
  // or pi/2 at the origin. No rotation to the front: phi is anticlockwise from
  // the x axis.
  static void Direction(CartesianVector const& position, T& theta, T& phi);

  // The real value from the complex one, by the rule above.
  static T RealPart(Complex<T> const& value, int m) {
    if (m >= 0) return value.re;
    return ((-m) % 2 == 1) ? value.im : -value.im;
  }
};

extern template class RealSphericalHarmonic<float>;
extern template class RealSphericalHarmonic<double>;

}  // namespace nolardsp
