#pragma once

#include <vector>

#include "NolarConvexHull2D.h"
#include "ZorvDbapPanning.h"

namespace Zorv {

// Distance-based panning in the horizontal plane. A source outside the plane
// hull of the speakers is attenuated by how far it lies beyond the nearest
// hull vertex, or muted when asked.
class DbapPanning2D : public DbapPanning {
 public:
  // A NullPanning for 0 outputs.
  static Pan* Create(unsigned int numInputs, unsigned int numOutputs);

  DbapPanning2D(unsigned int numInputs, unsigned int numOutputs);
  ~DbapPanning2D() override;

  // Rebuilds the hull (allocates; message thread).
  void SetLoudspeakerPositions(nolardsp::CartesianVector const* positions) override;

  void convert(nolardsp::CartesianVector const& position, float* gains,
               unsigned int source) override;

 private:
  nolardsp::ConvexHull2D hull;
  std::vector<nolardsp::CartesianVector> hullVertices;
  bool hullDirty = true;
};

}  // namespace Zorv
