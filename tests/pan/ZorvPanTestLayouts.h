#pragma once

#include <cmath>
#include <random>
#include <vector>

#include "NolarCartesianVector.h"

// Layouts and measures shared by the panner tests.
namespace zorvtest {

using nolardsp::CartesianVector;

inline CartesianVector fromDegrees(float azimuth, float elevation, float radius = 1.f) {
  float const a = azimuth * 0.017453292f;
  float const e = elevation * 0.017453292f;
  return CartesianVector(radius * std::cos(e) * std::cos(a), radius * std::cos(e) * std::sin(a),
                         radius * std::sin(e));
}

inline CartesianVector unit(CartesianVector v) {
  float const r = v.radius();
  return CartesianVector(v.x / r, v.y / r, v.z / r);
}

inline std::vector<CartesianVector> ring(unsigned int n, float offsetDegrees = 0.f) {
  std::vector<CartesianVector> points;
  for (unsigned int i = 0; i < n; ++i) {
    points.push_back(fromDegrees(offsetDegrees + 360.f * static_cast<float>(i) / n, 0.f));
  }
  return points;
}

inline std::vector<CartesianVector> cube() {
  std::vector<CartesianVector> points;
  for (float z : {1.f, -1.f}) {
    for (float y : {1.f, -1.f}) {
      for (float x : {1.f, -1.f}) points.push_back(unit(CartesianVector(x, y, z)));
    }
  }
  return points;
}

// Eight on the horizon, six at 45 degrees, two at 75: nothing below.
inline std::vector<CartesianVector> dome() {
  std::vector<CartesianVector> points = ring(8);
  for (int i = 0; i < 6; ++i) points.push_back(fromDegrees(30.f + 60.f * i, 45.f));
  points.push_back(fromDegrees(0.f, 75.f));
  points.push_back(fromDegrees(180.f, 75.f));
  return points;
}

inline CartesianVector randomDirection(std::mt19937& rng, float minElevation = -90.f) {
  std::uniform_real_distribution<float> u(-1.f, 1.f);
  for (;;) {
    CartesianVector v(u(rng), u(rng), u(rng));
    float const r = v.radius();
    if (r < 0.1f || r > 1.f) continue;
    v = unit(v);
    if (std::asin(v.z) * 57.29578f < minElevation) continue;
    return v;
  }
}

inline float power(std::vector<float> const& g) {
  float s = 0.f;
  for (float v : g) s += v * v;
  return s;
}

// The direction of sum g_i * speaker_i.
inline CartesianVector image(std::vector<float> const& g, std::vector<CartesianVector> const& s) {
  CartesianVector v;
  for (std::size_t i = 0; i < g.size(); ++i) {
    v.x += g[i] * s[i].x;
    v.y += g[i] * s[i].y;
    v.z += g[i] * s[i].z;
  }
  return v;
}

inline float angleBetween(CartesianVector a, CartesianVector b) {
  float const c = (a.x * b.x + a.y * b.y + a.z * b.z) / (a.radius() * b.radius());
  return std::acos(std::fmin(1.f, std::fmax(-1.f, c)));
}

inline bool allFinite(std::vector<float> const& g) {
  for (float v : g) {
    if (!std::isfinite(v)) return false;
  }
  return true;
}

inline unsigned int countAbove(std::vector<float> const& g, float threshold) {
  unsigned int n = 0;
  for (float v : g) n += v > threshold;
  return n;
}

}  // namespace zorvtest
