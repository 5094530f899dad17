#include "ZorvDbapGainLaw.h"

#include <cmath>

namespace Zorv {

using nolardsp::CartesianVector;

namespace {
// Keeps a source standing on a speaker finite: that speaker's gain tends to 1.
float const distanceFloor = 1e-10f;
}  // namespace

namespace {

// Squared distances are taken in double precision: a speaker or a source near
// 1e20 m squares past the float range, and the law only needs their ratios.
// distance2(k) gives speaker k's (floored) squared distance; gains receive
// constant-power gains in proportion to 1 / distance. Runs on the caller's
// buffer, allocates nothing.
template <typename Distance2>
void inverseDistanceGains(Distance2 const& distance2, unsigned int numSpeakers, float* gains) {
  double sum = 0.0;
  for (unsigned int k = 0; k < numSpeakers; ++k) sum += 1.0 / distance2(k);
  if (!(sum > 0.0) || !std::isfinite(sum)) {
    // A position was not a number, or every distance overflowed even in
    // double precision: fall back on the limit of the law far away, where all
    // distances are alike.
    float const equal = numSpeakers > 0 ? 1.f / std::sqrt(static_cast<float>(numSpeakers)) : 0.f;
    for (unsigned int k = 0; k < numSpeakers; ++k) gains[k] = equal;
    return;
  }
  double const scale = 1.0 / std::sqrt(sum);
  for (unsigned int k = 0; k < numSpeakers; ++k) {
    gains[k] = static_cast<float>(scale / std::sqrt(distance2(k)));
  }
}

}  // namespace

void DbapGainLaw::Omni(CartesianVector const& source, CartesianVector const* speakers,
                       unsigned int numSpeakers, CartesianVector const& barycenter, float spread,
                       bool planar, float* gains) {
  double const bx = static_cast<double>(source.x) - barycenter.x;
  double const by = static_cast<double>(source.y) - barycenter.y;
  double const bz = planar ? 0.0 : static_cast<double>(source.z) - barycenter.z;
  // Without spread the barycenter plays no part, even when it is not finite.
  double const toBarycenter = spread > 0.f ? spread * (bx * bx + by * by + bz * bz) : 0.0;
  double const own = 1.0 - static_cast<double>(spread);
  auto const distance2 = [&](unsigned int k) {
    double const dx = static_cast<double>(source.x) - speakers[k].x;
    double const dy = static_cast<double>(source.y) - speakers[k].y;
    double const dz = planar ? 0.0 : static_cast<double>(source.z) - speakers[k].z;
    return own * (dx * dx + dy * dy + dz * dz) + toBarycenter + distanceFloor;
  };
  inverseDistanceGains(distance2, numSpeakers, gains);
}

void DbapGainLaw::Directional(CartesianVector const& source, CartesianVector const* speakers,
                              unsigned int numSpeakers, CartesianVector const& spread,
                              float* gains) {
  double const sx = 1.0 - static_cast<double>(spread.x);
  double const sy = 1.0 - static_cast<double>(spread.y);
  double const sz = 1.0 - static_cast<double>(spread.z);
  auto const distance2 = [&](unsigned int k) {
    double const dx = sx * (static_cast<double>(source.x) - speakers[k].x);
    double const dy = sy * (static_cast<double>(source.y) - speakers[k].y);
    double const dz = sz * (static_cast<double>(source.z) - speakers[k].z);
    return dx * dx + dy * dy + dz * dz + distanceFloor;
  };
  inverseDistanceGains(distance2, numSpeakers, gains);
}

float DbapGainLaw::OutsideHullFactor(CartesianVector const& source,
                                     CartesianVector const& barycenter,
                                     CartesianVector const& closestVertex) {
  // In double precision so that a far source or vertex cannot overflow the
  // distances; a factor that still is not finite leaves the gains as they are.
  double const toVertex = std::hypot(static_cast<double>(barycenter.x) - closestVertex.x,
                                     static_cast<double>(barycenter.y) - closestVertex.y,
                                     static_cast<double>(barycenter.z) - closestVertex.z);
  double const toSource = std::hypot(static_cast<double>(barycenter.x) - source.x,
                                     static_cast<double>(barycenter.y) - source.y,
                                     static_cast<double>(barycenter.z) - source.z);
  float const factor = static_cast<float>((toVertex + 1.0) / (toSource + 1.0));
  return std::isfinite(factor) ? factor : 1.f;
}

int DbapGainLaw::BlendWeights(float distance, float radius, float& vectorBased,
                              float& distanceBased) {
  float const inner = 0.7f * radius;
  float const outer = 1.3f * radius;
  if (distance > outer) {
    vectorBased = 1.f;
    distanceBased = 0.f;
    return 1;
  }
  if (distance >= inner && outer > inner) {
    vectorBased = (distance - inner) / (outer - inner);
    distanceBased = 1.f - vectorBased;
    return 2;
  }
  // Inside, or every speaker at one point and the source on it, where the
  // blend would be 0 / 0.
  vectorBased = 0.f;
  distanceBased = 1.f;
  return 3;
}

}  // namespace Zorv
