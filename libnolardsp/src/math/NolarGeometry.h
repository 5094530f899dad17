#pragma once

#include <cmath>
#include <vector>

#include "NolarCartesianVector.h"

// Small geometry on point sets, in single precision. GetClosestPointIndex and
// angle allocate nothing and may run wherever a position is rendered.
namespace nolardsp {

// A distance with the index it belongs to.
struct IndexedDist {
  float dist = 0.f;
  unsigned int index = 0;

  // Strict ordering, ascending by distance.
  static bool sortIndexedDist(IndexedDist const& a, IndexedDist const& b) {
    return !(a.dist >= b.dist);
  }
};

// The index of the point nearest to p in three dimensions; the first of
// equally near points wins. points must not be empty.
unsigned int GetClosestPointIndex(CartesianVector const& p,
                                  std::vector<CartesianVector> const& points);

// The mean of the points; the origin for an empty vector.
void ComputeBarycenter(std::vector<CartesianVector> const& points, CartesianVector& result);

// The largest distance from center to a point (a true distance, not a squared
// one); 0 for an empty vector.
float GetRadiusOfTheLargestSphereEncompassing(std::vector<CartesianVector> const& points,
                                              CartesianVector center);

// True when all three coordinates are finite numbers.
inline bool IsFinite(CartesianVector const& p) {
  return std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z);
}

// The angle between two directions, in radians in [0, pi]. A zero vector
// against another is measured as the other's azimuth from +x, folded to
// [0, pi]; two zero vectors give 0.
float angle(CartesianVector const& a, CartesianVector const& b);

}  // namespace nolardsp
