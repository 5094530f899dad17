#pragma once

#include "ZorvDbapPanning.h"

namespace Zorv {

// Distance-based panning in space. The array is known only by its bounding
// sphere about the barycenter; with muting on, a source whose squared
// distance to the barycenter exceeds that sphere's radius (the radius itself,
// not its square) is silent.
class DbapPanning3D : public DbapPanning {
 public:
  // A NullPanning for 0 outputs.
  static Pan* Create(unsigned int numInputs, unsigned int numOutputs);

  DbapPanning3D(unsigned int numInputs, unsigned int numOutputs);
  ~DbapPanning3D() override;

  void SetLoudspeakerPositions(nolardsp::CartesianVector const* positions) override;

  void convert(nolardsp::CartesianVector const& position, float* gains,
               unsigned int source) override;

 private:
  float radius = 0.f;
};

}  // namespace Zorv
