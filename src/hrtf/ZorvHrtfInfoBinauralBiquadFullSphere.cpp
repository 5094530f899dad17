#include "ZorvHrtfInfoBinauralBiquadFullSphere.h"

#include <algorithm>

namespace Zorv {

int32_t const HrtfInfoBinauralBiquadFullSphere::az[14] = {56, 60, 72, 72, 72, 72, 72,
                                                          60, 56, 45, 36, 24, 12, 1};
int32_t const HrtfInfoBinauralBiquadFullSphere::offsets[14] = {0,   56,  116, 188, 260, 332, 404,
                                                               476, 536, 592, 637, 673, 697, 709};

HrtfInfoBinauralBiquadFullSphere::HrtfInfoBinauralBiquadFullSphere() {
  minElevation = -40;
  maxElevation = 90;
  elevationStep = 10;
  numElevations = 14;
  minAzimuth = -180;
  maxAzimuth = 180;
  rowLength = 26;
  std::copy(az, az + 14, azimuthCounts.begin());
  std::copy(offsets, offsets + 14, ringOffsets.begin());
}

}  // namespace Zorv
