#pragma once

#include <vector>

#include "NolarCartesianVector.h"

namespace Zorv {

// The geometry of vector-based panning on a ring: the speakers sorted by
// azimuth, each neighbouring pair a 2 by 2 system, and the source rendered by
// the pair whose arc holds its azimuth. z plays no part.
//
// Threads: all on the thread that sets positions. SetLoudspeakerPositions
// sorts in place and ComputeGains works in the caller's buffer: neither
// allocates.
class Vbap2DPairs {
 public:
  struct Point2D {
    float x = 0.f;
    float y = 0.f;
    float azimuth = 0.f;     // degrees in [-180, 180), clockwise from the front
    unsigned int index = 0;  // place in the layout, and so the output channel
  };

  // Orders speakers by the azimuth of their x and y, computed at each
  // comparison. Equal azimuths have no defined order.
  struct AscendingAzimuthSort {
    bool operator()(Point2D const& a, Point2D const& b) const;
  };

  // Placeholder speakers at (cos(i / n), sin(i / n)), unsorted: of no use
  // until the first layout arrives.
  explicit Vbap2DPairs(unsigned int numSpeakers);

  // numSpeakers positions; z is ignored.
  void SetLoudspeakerPositions(nolardsp::CartesianVector const* positions);

  // Writes numSpeakers gains of constant power: one pair, or the sum of seven
  // rotated copies when spread (degrees) is not 0.
  void ComputeGains(nolardsp::CartesianVector const& position, float spreadDegrees,
                    float* gains) const;

  // The output channels of the pair that holds the position: its first
  // speaker, then its second.
  void GetActiveSpeakers(nolardsp::CartesianVector const& position, unsigned int* channels) const;

  // The pair whose arc holds the azimuth of (x, y); the last pair wraps round.
  unsigned int find_pair(float x, float y) const;
  // Adds the pair's two gains (negative ones as 0) into gains, by channel.
  void addGains(nolardsp::CartesianVector const& position, float* gains) const;

  std::vector<Point2D> const& GetSpeakers() const { return speakers; }

 private:
  void storePairs();

  std::vector<Point2D> speakers;
  std::vector<float> pairMatrices;  // 4 per pair: x, y of speaker p, then of p + 1
};

}  // namespace Zorv
