#pragma once

#include <cstdint>
#include <vector>

#include "NolarCartesianVector.h"

namespace Zorv {

// One measured direction of an HRTF set: where it is, its interaural time
// difference and one filter per channel. A plain value, copied freely.
struct HrtfPoint {
  // In the system's axes (+y front, +x right, +z up).
  nolardsp::CartesianVector position{0.f, 1.f, 0.f};
  // Milliseconds, delay of the left ear minus delay of the right ear: negative
  // when the source is on the left.
  float itd = 0.f;
  uint32_t numCoefficients = 0;
  uint32_t numChannels = 0;
  // numCoefficients x numChannels values, channel after channel, left first.
  std::vector<float> coefficients;
  // The point's place in the set, from 0.
  uint32_t index = 0;
};

}  // namespace Zorv
