#include "ZorvHrtfInfo.h"

namespace Zorv {

HrtfInfo::~HrtfInfo() = default;

uint32_t HrtfInfo::GetNumPoints() const {
  if (numElevations == 0 || numElevations > azimuthCounts.size()) return 0;
  uint32_t const last = numElevations - 1;
  return static_cast<uint32_t>(ringOffsets[last] + azimuthCounts[last]);
}

}  // namespace Zorv
