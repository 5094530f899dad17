#include "ZorvUserAngles.h"

#include <cmath>

namespace Zorv {

namespace {
// A finite guard only: inside the valid range the loops below run at most a
// few times, and a non-finite or absurd angle must not hang the caller.
float reduce(float value, float period) {
  if (!std::isfinite(value)) return 0.f;
  if (std::fabs(value) > 64.f * period) value = std::fmod(value, period);
  while (value < 0.f) value += period;
  while (value >= period) value -= period;
  return value;
}
}  // namespace

float WrapDegrees360(float degrees) {
  return reduce(degrees, 360.f);
}

float WrapRadians(float radians) {
  return reduce(radians + 3.1415927f, 6.2831855f) - 3.1415927f;
}

float UserAzimuthToInternal(float azimuthDegrees) {
  float const u = WrapDegrees360(270.f - azimuthDegrees);
  return (u - 180.f) * 0.017453292f;
}

float InternalToUserAzimuth(float x, float y) {
  float const u = WrapDegrees360(270.f - std::atan2(y, x) * 57.29578f);
  return u - 180.f;
}

}  // namespace Zorv
