#pragma once

// Positions. The frame: x to the listener's right, y to the front, z up, in
// metres. The internal azimuth is atan2(y, x) in radians (0 to the right, the
// front at +pi/2, counter-clockwise seen from above); the user's azimuth
// (degrees, 0 in front, clockwise) is converted at the message boundary only.
namespace nolardsp {

struct SphericalVector;

// Three floats x, y, z, copied by value; an array of them is a plain run of
// floats, three per point.
struct CartesianVector {
  float x = 0.f;
  float y = 0.f;
  float z = 0.f;

  CartesianVector() = default;
  CartesianVector(float x_, float y_, float z_) : x(x_), y(y_), z(z_) {}
  CartesianVector(SphericalVector const& s);  // NOLINT: implicit on purpose
  CartesianVector& operator=(SphericalVector const& s);

  float radius() const;
  // Internal convention, radians.
  float azimuth() const;
  // Radians; 0 at the origin.
  float elevation() const;
};

// Azimuth (radians, internal convention), radius (metres), elevation
// (radians), in that order: the radius stands in the middle.
struct SphericalVector {
  float azimuth = 0.f;
  float radius = 0.f;
  float elevation = 0.f;

  SphericalVector() = default;
  SphericalVector(float azimuth_, float radius_, float elevation_)
      : azimuth(azimuth_), radius(radius_), elevation(elevation_) {}
  SphericalVector& operator=(CartesianVector const& c);
};

static_assert(sizeof(CartesianVector) == 3 * sizeof(float), "arrays of points are runs of floats");

}  // namespace nolardsp
