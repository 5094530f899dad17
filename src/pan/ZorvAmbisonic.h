#pragma once

#include <vector>

#include "NolarCartesianVector.h"
#include "NolarSphericalHarmonic.h"

namespace Zorv {

// Ambisonic encoding vectors: the real harmonics of a position's direction in
// the order of a sorting. The distance plays no part; the direction is taken
// as nolardsp::RealSphericalHarmonic takes it (phi anticlockwise from x, no
// rotation to the front), and the origin counts as the direction (1, 0, 0).
//
// Stateless; any thread. Both operations resize out and allocate nothing once
// out has the capacity.
template <typename T>
class Ambisonic {
 public:
  // (order + 1)^2 entries. IncreasingDegrees: (0,0), (1,-1), (1,0), (1,1),
  // (2,-2), ...; AlternateDegrees: within each degree (l,l), (l,-l), (l,l-1),
  // ..., (l,1), (l,-1), (l,0). Any other sorting gives zeros.
  static void AmbisonicEncodingVector(
      std::vector<T>& out, unsigned int order, nolardsp::CartesianVector const& position,
      nolardsp::SphericalHarmonic::Normalization const& normalization,
      nolardsp::SphericalHarmonic::Sorting const& sorting);
  // 2 order + 1 entries, the components with |m| = l: place 0 is (0,0);
  // IncreasingDegrees puts (l,-l) at 2l - 1 and (l,l) at 2l, AlternateDegrees
  // the other way round. Any other sorting gives zeros. The elevation is kept:
  // an elevated source carries the sin(theta)^l of its true direction.
  static void AmbisonicEncodingVector2D(
      std::vector<T>& out, unsigned int order, nolardsp::CartesianVector const& position,
      nolardsp::SphericalHarmonic::Normalization const& normalization,
      nolardsp::SphericalHarmonic::Sorting const& sorting);
};

extern template class Ambisonic<float>;
extern template class Ambisonic<double>;

}  // namespace Zorv
