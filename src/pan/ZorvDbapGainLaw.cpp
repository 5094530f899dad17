#include "ZorvDbapGainLaw.h"

#include <cmath>

namespace Zorv {

using nolardsp::CartesianVector;

namespace {
// Keeps a source standing on a speaker finite: that speaker's gain tends to 1.
float const distanceFloor = 1e-10f;
}  // namespace

void DbapGainLaw::Omni(CartesianVector const& source, CartesianVector const* speakers,
                       unsigned int numSpeakers, CartesianVector const& barycenter, float spread,
                       bool planar, float* gains) {
  float const bx = source.x - barycenter.x;
  float const by = source.y - barycenter.y;
  float const bz = planar ? 0.f : source.z - barycenter.z;
  float const toBarycenter = bx * bx + by * by + bz * bz;
  for (unsigned int k = 0; k < numSpeakers; ++k) {
    float const dx = source.x - speakers[k].x;
    float const dy = source.y - speakers[k].y;
    float const dz = planar ? 0.f : source.z - speakers[k].z;
    gains[k] =
        (1.f - spread) * (dx * dx + dy * dy + dz * dz) + spread * toBarycenter + distanceFloor;
  }
  normalise(gains, numSpeakers);
}

void DbapGainLaw::Directional(CartesianVector const& source, CartesianVector const* speakers,
                              unsigned int numSpeakers, CartesianVector const& spread,
                              float* gains) {
  for (unsigned int k = 0; k < numSpeakers; ++k) {
    float const dx = (1.f - spread.x) * (source.x - speakers[k].x);
    float const dy = (1.f - spread.y) * (source.y - speakers[k].y);
    float const dz = (1.f - spread.z) * (source.z - speakers[k].z);
    gains[k] = dx * dx + dy * dy + dz * dz + distanceFloor;
  }
  normalise(gains, numSpeakers);
}

void DbapGainLaw::normalise(float* gains, unsigned int numSpeakers) {
  float sum = 0.f;
  for (unsigned int k = 0; k < numSpeakers; ++k) sum += 1.f / gains[k];
  if (!(sum > 0.f) || !std::isfinite(sum)) {
    // Every distance overflowed (a source absurdly far away), or a position
    // was not a number: fall back on the limit of the law far away, where all
    // distances are alike.
    float const equal = numSpeakers > 0 ? 1.f / std::sqrt(static_cast<float>(numSpeakers)) : 0.f;
    for (unsigned int k = 0; k < numSpeakers; ++k) gains[k] = equal;
    return;
  }
  float const scale = 1.f / std::sqrt(sum);
  for (unsigned int k = 0; k < numSpeakers; ++k) gains[k] = (1.f / std::sqrt(gains[k])) * scale;
}

float DbapGainLaw::OutsideHullFactor(CartesianVector const& source,
                                     CartesianVector const& barycenter,
                                     CartesianVector const& closestVertex) {
  float const vx = barycenter.x - closestVertex.x;
  float const vy = barycenter.y - closestVertex.y;
  float const vz = barycenter.z - closestVertex.z;
  float const sx = barycenter.x - source.x;
  float const sy = barycenter.y - source.y;
  float const sz = barycenter.z - source.z;
  return (std::sqrt(vx * vx + vy * vy + vz * vz) + 1.f) /
         (std::sqrt(sx * sx + sy * sy + sz * sz) + 1.f);
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
