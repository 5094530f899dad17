#include "NolarGeometry.h"

#include <algorithm>
#include <cmath>

namespace nolardsp {

unsigned int GetClosestPointIndex(CartesianVector const& p,
                                  std::vector<CartesianVector> const& points) {
  unsigned int best = 0;
  // Double precision: squared float distances overflow from about 1e19 and
  // would make every far point look equally close.
  double bestDistance = 0.0;
  for (std::size_t i = 0; i < points.size(); ++i) {
    double const dx = static_cast<double>(points[i].x) - p.x;
    double const dy = static_cast<double>(points[i].y) - p.y;
    double const dz = static_cast<double>(points[i].z) - p.z;
    double const d = dx * dx + dy * dy + dz * dz;
    if (i == 0 || d < bestDistance) {
      best = static_cast<unsigned int>(i);
      bestDistance = d;
    }
  }
  return best;
}

void ComputeBarycenter(std::vector<CartesianVector> const& points, CartesianVector& result) {
  result = CartesianVector(0.f, 0.f, 0.f);
  if (points.empty()) return;
  for (CartesianVector const& p : points) {
    result.x += p.x;
    result.y += p.y;
    result.z += p.z;
  }
  float const scale = static_cast<float>(1.0 / static_cast<double>(points.size()));
  result.x *= scale;
  result.y *= scale;
  result.z *= scale;
}

float GetRadiusOfTheLargestSphereEncompassing(std::vector<CartesianVector> const& points,
                                              CartesianVector center) {
  float radius = 0.f;
  for (CartesianVector const& p : points) {
    float const dx = p.x - center.x;
    float const dy = p.y - center.y;
    float const dz = p.z - center.z;
    float const d = std::sqrt(dx * dx + dy * dy + dz * dz);
    if (d > radius) radius = d;
  }
  return radius;
}

float angle(CartesianVector const& a, CartesianVector const& b) {
  float const la = a.radius();
  float const lb = b.radius();
  bool const aZero = !(la > 0.f);
  bool const bZero = !(lb > 0.f);
  if (aZero && bZero) return 0.f;
  if (aZero) return std::fabs(std::atan2(b.y, b.x));
  if (bZero) return std::fabs(std::atan2(a.y, a.x));
  float const c = (a.x * b.x + a.y * b.y + a.z * b.z) / (la * lb);
  return std::fabs(std::acos(std::clamp(c, -1.f, 1.f)));
}

}  // namespace nolardsp
