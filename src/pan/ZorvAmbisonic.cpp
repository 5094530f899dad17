#include "ZorvAmbisonic.h"

#include <algorithm>

#include "NolarRealSphericalHarmonic.h"

namespace Zorv {

using nolardsp::RealSphericalHarmonic;
using nolardsp::SphericalHarmonic;

template <typename T>
void Ambisonic<T>::AmbisonicEncodingVector(std::vector<T>& out, unsigned int order,
                                           nolardsp::CartesianVector const& position,
                                           SphericalHarmonic::Normalization const& normalization,
                                           SphericalHarmonic::Sorting const& sorting) {
  std::size_t const size = static_cast<std::size_t>(order + 1) * (order + 1);
  out.resize(size);
  if (sorting == SphericalHarmonic::IncreasingDegrees) {
    T theta;
    T phi;
    RealSphericalHarmonic<T>::Direction(position, theta, phi);
    RealSphericalHarmonic<T>::RealSphericalHarmonics(out, order, theta, phi, normalization);
  } else if (sorting == SphericalHarmonic::AlternateDegrees) {
    std::size_t place = 0;
    for (unsigned int l = 0; l <= order; ++l) {
      for (unsigned int k = 0; k <= 2 * l; ++k) {
        int const m = SphericalHarmonic::AlternateDegreesIndex(l, k);
        out[place++] =
            RealSphericalHarmonic<T>::RealSphericalHarmonics(l, m, position, normalization);
      }
    }
  } else {
    std::fill(out.begin(), out.end(), T(0));
  }
}

template <typename T>
void Ambisonic<T>::AmbisonicEncodingVector2D(std::vector<T>& out, unsigned int order,
                                             nolardsp::CartesianVector const& position,
                                             SphericalHarmonic::Normalization const& normalization,
                                             SphericalHarmonic::Sorting const& sorting) {
  out.resize(2 * static_cast<std::size_t>(order) + 1);
  if (sorting != SphericalHarmonic::IncreasingDegrees &&
      sorting != SphericalHarmonic::AlternateDegrees) {
    std::fill(out.begin(), out.end(), T(0));
    return;
  }
  // (l, -l) first in increasing degrees, (l, l) first in alternate degrees.
  int const firstSign = sorting == SphericalHarmonic::IncreasingDegrees ? -1 : 1;
  out[0] = RealSphericalHarmonic<T>::RealSphericalHarmonics(0, 0, position, normalization);
  for (unsigned int l = 1; l <= order; ++l) {
    int const m = static_cast<int>(l);
    out[2 * l - 1] =
        RealSphericalHarmonic<T>::RealSphericalHarmonics(l, firstSign * m, position, normalization);
    out[2 * l] = RealSphericalHarmonic<T>::RealSphericalHarmonics(l, -firstSign * m, position,
                                                                  normalization);
  }
}

template class Ambisonic<float>;
template class Ambisonic<double>;

}  // namespace Zorv
