#pragma once

#include <cstdint>
#include <vector>

namespace Zorv {

// A grid of rings of constant elevation, each ring's points evenly spread in
// azimuth from the front towards the left: the shape of the built-in set and of
// .coll files. Row ringOffsets[ring] + j of a table is point j of that ring.
class HrtfInfo {
 public:
  virtual ~HrtfInfo();

  int32_t minElevation = 0;
  int32_t maxElevation = 0;
  int32_t elevationStep = 0;
  uint32_t numElevations = 0;
  int32_t minAzimuth = 0;
  int32_t maxAzimuth = 0;
  // Values of one table row: the ear's delay, then the coefficients.
  uint32_t rowLength = 0;
  uint32_t reserved1 = 0;
  uint32_t reserved2 = 0;
  std::vector<int32_t> azimuthCounts = std::vector<int32_t>(360, 0);
  std::vector<int32_t> ringOffsets = std::vector<int32_t>(360, 0);

  // Points of the whole grid: the last ring's offset plus its count.
  uint32_t GetNumPoints() const;
};

}  // namespace Zorv
