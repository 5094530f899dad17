#include "ZorvSphereShadowFilter.h"

#include <algorithm>
#include <cmath>

namespace Zorv {

float const SphereShadowFilter::SpeedOfSound = 340.f;

void SphereShadowFilter::Coefficients(float w, float angle, float* c) {
  CoefficientsForGain(w, 1.05f + 0.95f * std::cos(1.2f * angle), c);
}

void SphereShadowFilter::CoefficientsForGain(float w, float alpha, float* c) {
  float const norm = 1.f / (1.f + w);
  c[0] = (w + alpha) * norm;
  c[1] = (w - alpha) * norm;
  c[2] = 1.f;
  c[3] = (w - 1.f) * norm;
}

void SphereShadowFilter::Neutral(float* c) {
  c[0] = 1.f;
  c[1] = 0.f;
  c[2] = 1.f;
  c[3] = 0.f;
}

float SphereShadowFilter::AngleBetween(nolardsp::CartesianVector const& a,
                                       nolardsp::CartesianVector const& b) {
  float const na = std::sqrt(a.x * a.x + a.y * a.y + a.z * a.z);
  float const nb = std::sqrt(b.x * b.x + b.y * b.y + b.z * b.z);
  if (na == 0.f && nb == 0.f) return 0.f;
  if (nb == 0.f) return std::fabs(std::atan2(a.y, a.x));
  if (na == 0.f) return std::fabs(std::atan2(b.y, b.x));
  float const q = (a.x * b.x + a.y * b.y + a.z * b.z) / (na * nb);
  return std::fabs(std::acos(std::max(-1.f, std::min(1.f, q))));
}

}  // namespace Zorv
