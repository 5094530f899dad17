#pragma once

#include <memory>
#include <vector>

#include "ZorvAmplitudePanning.h"

namespace Zorv {

class DbapPanning3D;
class VbapPanning;

// Distance-based panning inside the array blended into vector-based panning
// outside it: pure distance-based within 0.7 of the array's radius, pure
// vector-based beyond 1.3 of it, mixed linearly in amplitude between. Spread
// settings have no effect here: both inner panners stay at spread 0, omni.
//
// Threads: setters and convert run on a message thread; convert allocates
// nothing once the inner vector-based panner is triangulated.
class VDbapPanning : public AmplitudePanning {
 public:
  // A NullPanning for 2 outputs or fewer.
  static Pan* Create(unsigned int numInputs, unsigned int numOutputs);

  // Builds both inner panners through the factory; throws if either cannot be
  // built for these counts. All speakers start at the origin.
  VDbapPanning(unsigned int numInputs, unsigned int numOutputs);
  ~VDbapPanning() override;

  void SetLoudspeakerPositions(nolardsp::CartesianVector const* positions) override;

  void convert(nolardsp::CartesianVector const& position, float* gains,
               unsigned int source) override;

  // True when the inner vector-based panner's speakers form no triplet, so
  // that sources outside the array are silent.
  bool InnerLayoutHasNoTriplet();

 private:
  float radius = 0.f;
  std::vector<nolardsp::CartesianVector> speakerPositions;
  nolardsp::CartesianVector barycenter;
  std::unique_ptr<DbapPanning3D> dbap;
  std::unique_ptr<VbapPanning> vbap;
  // Rows by source, numInputs x numOutputs each. A row that a position does
  // not need keeps its earlier content and is weighted by 0.
  std::vector<float> vbapGains;
  std::vector<float> dbapGains;
};

}  // namespace Zorv
