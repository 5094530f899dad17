#pragma once

#include "ZorvHrtfInfo.h"

namespace Zorv {

// The grid of the MIT KEMAR measurements: 14 rings from -40 to 90 degrees in
// steps of 10, 710 points, rows of 26 values (delay, gain, six biquads).
class HrtfInfoBinauralBiquadFullSphere : public HrtfInfo {
 public:
  HrtfInfoBinauralBiquadFullSphere();

  static int32_t const az[14];
  static int32_t const offsets[14];
};

}  // namespace Zorv
