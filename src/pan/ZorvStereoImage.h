#pragma once

#include <cmath>

#include "NolarCartesianVector.h"

namespace Zorv {

// Shared by the stereo microphone-pair panners: how far a position lies from
// the middle of the stereo image. With r the distance and e the elevation,
// the width is r cos(e) clamped to [0, 1]: a source nearer than 1 m moves
// towards the middle, and a source straight above or below sits in it. A
// position that is not a number sits in the middle too.
inline float StereoImageWidth(nolardsp::CartesianVector const& p) {
  float const r = std::sqrt(p.x * p.x + p.y * p.y + p.z * p.z);
  float e = 0.f;
  if (r > 0.f) {
    float const s = p.z / r;
    e = std::asin(s > 1.f ? 1.f : (s < -1.f ? -1.f : s));
  }
  float const w = std::cos(e) * r;
  if (w > 1.f) return 1.f;
  return w >= 0.f ? w : 0.f;
}

// atan2(y, x) of the position, 0 for a position that is not a number.
inline float StereoImageAzimuth(nolardsp::CartesianVector const& p) {
  float const a = std::atan2(p.y, p.x);
  return a == a ? a : 0.f;
}

}  // namespace Zorv
