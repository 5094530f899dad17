#pragma once

#include <vector>

#include "ZorvAmplitudePanning.h"
#include "ZorvVectorBasedTriangulation.h"

namespace Zorv {

// Vector-based panning on a sphere of speakers: a source is split between the
// two or three speakers of the triplet that surrounds its direction, and
// spread sums the panning of rotated copies of the direction. The concrete
// classes differ only in how a source's gains are normalised.
//
// Threads: all setters and convert run on a message thread. convert allocates
// nothing once the layout is triangulated (the first convert after
// construction triangulates the default layout; SetLoudspeakerPositions
// triangulates at once).
class VectorBasedPanning : public AmplitudePanning {
 public:
  using LoudSpeaker = VectorBasedTriangulation::LoudSpeaker;
  using Triplet = VectorBasedTriangulation::Triplet;

  VectorBasedPanning(unsigned int numInputs, unsigned int numOutputs);
  ~VectorBasedPanning() override;

  void SetLoudspeakerPositions(nolardsp::CartesianVector const* positions) override;
  // Spread angle in degrees, not clamped. Setting the stored value again
  // changes nothing.
  void SetOmniSpreadFactor(unsigned int source, float degrees) override;
  using AmplitudePanning::SetOmniSpreadFactor;

  // Public so that composite panners can render through this one.
  void convert(nolardsp::CartesianVector const& position, float* gains,
               unsigned int source) override;

  std::vector<Triplet> const& GetTriplets() { return triangulation.GetTriplets(); }

 protected:
  virtual void normalizeGains(float* gains) = 0;

 private:
  VectorBasedTriangulation triangulation;
  std::vector<float> spread;  // degrees, per source
};

}  // namespace Zorv
