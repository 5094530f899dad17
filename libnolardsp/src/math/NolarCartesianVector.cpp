#include "NolarCartesianVector.h"

#include <cmath>

namespace nolardsp {

CartesianVector::CartesianVector(SphericalVector const& s) {
  *this = s;
}

CartesianVector& CartesianVector::operator=(SphericalVector const& s) {
  float const cosElevation = std::cos(s.elevation);
  x = std::cos(s.azimuth) * s.radius * cosElevation;
  y = std::sin(s.azimuth) * s.radius * cosElevation;
  z = std::sin(s.elevation) * s.radius;
  return *this;
}

float CartesianVector::radius() const {
  return std::sqrt(x * x + y * y + z * z);
}

float CartesianVector::azimuth() const {
  return std::atan2(y, x);
}

float CartesianVector::elevation() const {
  float const r = radius();
  if (!(r > 0.f)) return 0.f;
  return std::asin(z / r);
}

SphericalVector& SphericalVector::operator=(CartesianVector const& c) {
  radius = std::sqrt(c.x * c.x + c.y * c.y + c.z * c.z);
  elevation = radius == 0.f ? 0.f : std::asin(c.z / radius);
  azimuth = std::atan2(c.y, c.x);
  return *this;
}

}  // namespace nolardsp
