#pragma once

#include "NolarCartesianVector.h"

namespace Zorv {

// The head (or torso) shadow of a rigid sphere as one first-order section:
// a shelf that lifts high frequencies by up to 6 dB where the wave meets the
// sphere head-on and cuts them by up to 20 dB on the far side. The corner lies
// at twice c / r (c = 340 m/s); the high-frequency gain is
// alpha = 1.05 + 0.95 cos(1.2 t), t the angle between the sound's direction and
// the point on the sphere. Bilinear form, for a FadedIIRFilter of order 1.
class SphereShadowFilter {
 public:
  static float const SpeedOfSound;  // 340 m/s

  // w = 340 / (r fs). Writes b0, b1, a0, a1.
  static void Coefficients(float w, float angle, float* coefficients);
  // The same with the shelf's gain given directly.
  static void CoefficientsForGain(float w, float alpha, float* coefficients);
  // b0 = 1, b1 = 0, a0 = 1, a1 = 0.
  static void Neutral(float* coefficients);
  // The angle between a and b, 0 .. pi. A null vector stands for a direction
  // along the other one's projection on the x axis: with b null it is
  // |atan2(a.y, a.x)|, with a null |atan2(b.y, b.x)|, with both null 0.
  static float AngleBetween(nolardsp::CartesianVector const& a, nolardsp::CartesianVector const& b);
};

}  // namespace Zorv
