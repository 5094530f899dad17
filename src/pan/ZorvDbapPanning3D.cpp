#include "ZorvDbapPanning3D.h"

#include <vector>

#include "NolarGeometry.h"
#include "ZorvNullPanning.h"

namespace Zorv {

Pan* DbapPanning3D::Create(unsigned int numInputs, unsigned int numOutputs) {
  if (numOutputs == 0) return new NullPanning();
  return new DbapPanning3D(numInputs, numOutputs);
}

DbapPanning3D::DbapPanning3D(unsigned int numInputs, unsigned int numOutputs)
    : DbapPanning(numInputs, numOutputs) {
  std::vector<nolardsp::CartesianVector> const ring = speakerPositions;
  SetLoudspeakerPositions(ring.data());
}

DbapPanning3D::~DbapPanning3D() = default;

void DbapPanning3D::SetLoudspeakerPositions(nolardsp::CartesianVector const* positions) {
  if (positions == nullptr) return;
  for (std::size_t k = 0; k < speakerPositions.size(); ++k) speakerPositions[k] = positions[k];
  nolardsp::ComputeBarycenter(speakerPositions, barycenter);
  radius = nolardsp::GetRadiusOfTheLargestSphereEncompassing(speakerPositions, barycenter);
  forceUpdate(false);
}

void DbapPanning3D::convert(nolardsp::CartesianVector const& position, float* gains,
                            unsigned int source) {
  if (!nolardsp::IsFinite(position)) {
    for (unsigned int k = 0; k < numOutputs; ++k) gains[k] = 0.f;
    return;
  }
  computeGains(position, source, false, gains);
  if (!muteOutside) return;
  float const dx = position.x - barycenter.x;
  float const dy = position.y - barycenter.y;
  float const dz = position.z - barycenter.z;
  if (dx * dx + dy * dy + dz * dz > radius) {
    for (unsigned int k = 0; k < numOutputs; ++k) gains[k] = 0.f;
  }
}

}  // namespace Zorv
