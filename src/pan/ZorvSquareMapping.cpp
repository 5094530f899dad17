#include "ZorvSquareMapping.h"

#include <cmath>

namespace Zorv {

namespace {

float clamp(float v, float low, float high) {
  if (v > high) return high;
  return v >= low ? v : low;  // NaN gives low
}

// Into [0, 360); anything that is not a finite number gives 0. fmod is exact,
// so a huge angle (a corner typed as 1e30) cannot land outside the range and
// leave the corner ordering below to add 360 to it for ever.
float wrap360(float degrees) {
  if (!std::isfinite(degrees)) return 0.f;
  float w = std::fmod(degrees, 360.f);
  if (w < 0.f) w += 360.f;
  // A tiny negative angle plus 360 rounds to 360.
  return w < 360.f ? w : 0.f;
}

// The triangle wave that walks the perimeter: 2 at 0 degrees, 0 at 90, -2 at
// 180, back to 0 at 270.
float triangle(float degrees) {
  float const v = wrap360(degrees);
  if (v <= 180.f) return 2.f - v * 0.022222223f;
  return (v - 180.f) * 0.022222223f - 2.f;
}

}  // namespace

void SquareMapping::panc(float azimuth, float elevation, float distance, float const* corners,
                         float& x, float& y) {
  float const toRadians = 0.017453292f;
  float t = std::acos(clamp(distance, -1.f, 1.f)) * 57.29578f + elevation;
  if (t > 180.f) t -= 360.f;
  if (t < -180.f) t += 360.f;
  float c = std::cos(t * toRadians);
  if (!(c == c)) c = 0.f;
  if (c < 0.f) {
    c = -c;
    azimuth += 180.f;
  }

  float k[4];
  for (int i = 0; i < 4; ++i) k[i] = wrap360(corners[i]);
  for (int i = 1; i < 4; ++i) {
    while (k[i] < k[i - 1]) k[i] += 360.f;
  }

  float s = wrap360(azimuth - k[0]) + k[0];
  if (s < k[1]) {
    s = (s - k[0]) / (k[1] - k[0]) * 90.f;
  } else if (s < k[2]) {
    s = (s - k[1]) / (k[2] - k[1]) * 90.f + 90.f;
  } else if (s < k[3]) {
    s = (s - k[2]) / (k[3] - k[2]) * 90.f + 180.f;
  } else {
    float const span = k[0] + 360.f - k[3];
    // All four corners on one azimuth leave no last sector to spread over.
    s = span > 0.f ? (s - k[3]) / span * 90.f + 270.f : 270.f;
  }

  y = clamp(triangle(s - 45.f), -1.f, 1.f) * c;
  x = clamp(triangle(s - 135.f), -1.f, 1.f) * c;
}

void SquareMapping::panr4(float x, float y, float* out) {
  x = clamp(x, -1.f, 1.f);
  y = clamp(y, -1.f, 1.f);
  float const l = (1.f - x) * 0.5f;
  float const r = (1.f + x) * 0.5f;
  float const f = (1.f + y) * 0.5f;
  float const b = (1.f - y) * 0.5f;
  out[0] = f * l;
  out[1] = f * r;
  out[2] = r * b;
  out[3] = b * l;
}

void SquareMapping::panr5(float x, float y, float* out) {
  x = clamp(x, -1.f, 1.f);
  y = clamp(y, -1.f, 1.f);
  float const l = (1.f - x) * 0.5f;
  float const r = (1.f + x) * 0.5f;
  float const f = (1.f + y) * 0.5f;
  float const b = (1.f - y) * 0.5f;
  float const a = f * l;
  float const c = f * r;
  out[3] = r * b;
  out[4] = b * l;
  out[0] = clamp(a - c, 0.f, 1.f);
  out[2] = clamp(c - a, 0.f, 1.f);
  out[1] = a + c - out[0] - out[2];
}

}  // namespace Zorv
