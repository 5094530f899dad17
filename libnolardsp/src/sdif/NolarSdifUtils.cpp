#include "NolarSdifUtils.h"

#include <cmath>

namespace nolardsp {

namespace {

constexpr float kDegToRad = 0.017453292f;
constexpr float kPi = 3.1415927f;
constexpr float kHalfPi = 1.5707964f;
constexpr float kTwoPi = 6.2831855f;

// v brought to [0, period).
float wrap(float v, float period) {
  float r = std::fmod(v, period);
  if (r < 0.f) r += period;
  if (r >= period) r = 0.f;  // a tiny negative r rounds up to the period
  return r;
}

}  // namespace

CartesianVector SdifUtils::AedToCartesian(float a, float e, float d, bool navigation) {
  if (navigation) {
    e = wrap(e + 180.f, 360.f) - 180.f;
    if (e > 90.f) {
      a = a + 180.f;
      e = 90.f - e;
    } else if (e < -90.f) {
      a = a + 180.f;
      e = -90.f - e;
    }
    if (d < 0.f) {
      d = -d;
      e = -e;
      a = a + 180.f;
    }
    a = wrap(a + 180.f, 360.f) - 180.f;
  }
  // Mathematical azimuth: the front is pi/2, the right 0.
  float t = (wrap(270.f - a, 360.f) - 180.f) * kDegToRad;
  float p = wrap(e * kDegToRad + kPi, kTwoPi) - kPi;
  if (p > kHalfPi) {
    t = t + kPi;
    p = kHalfPi - p;
  } else if (p < -kHalfPi) {
    t = t + kPi;
    p = -kHalfPi - p;
  }
  if (d < 0.f) {
    d = -d;
    p = -p;
    t = t + kPi;
  }
  t = wrap(t + kPi, kTwoPi) - kPi;
  float const c = std::cos(p);
  return CartesianVector(d * c * std::cos(t), d * c * std::sin(t), d * std::sin(p));
}

}  // namespace nolardsp
