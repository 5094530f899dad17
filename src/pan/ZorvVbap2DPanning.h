#pragma once

#include <vector>

#include "ZorvAmplitudePanning.h"
#include "ZorvVbap2DPairs.h"

namespace Zorv {

// Vector-based panning on a ring: the speakers sorted by azimuth, each source
// split between the two neighbours whose arc holds its azimuth, with constant
// power. Height is ignored.
//
// Threads: setters and convert run on a message thread and allocate nothing.
class Vbap2DPanning : public AmplitudePanning {
 public:
  using Point2D = Vbap2DPairs::Point2D;
  using AscendingAzimuthSort = Vbap2DPairs::AscendingAzimuthSort;

  // A NullPanning below 2 outputs.
  static Pan* Create(unsigned int numInputs, unsigned int numOutputs);

  Vbap2DPanning(unsigned int numInputs, unsigned int numOutputs);
  ~Vbap2DPanning() override;

  // Sorts the speakers by azimuth; until the first call the placeholder
  // layout renders nothing of use.
  void SetLoudspeakerPositions(nolardsp::CartesianVector const* positions) override;
  // Spread angle in degrees, not clamped; echoed on the standard error stream.
  void SetOmniSpreadFactor(unsigned int source, float degrees) override;
  using AmplitudePanning::SetOmniSpreadFactor;

  // The output channels of the pair that renders the position, first speaker
  // of the pair first.
  void GetActiveSpeakers(nolardsp::CartesianVector const& position, unsigned int* channels) const;

  void convert(nolardsp::CartesianVector const& position, float* gains,
               unsigned int source) override;

 private:
  Vbap2DPairs pairs;
  std::vector<float> spread;  // degrees, per source
};

}  // namespace Zorv
