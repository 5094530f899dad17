#include "ZorvDbapPanning2D.h"

#include "NolarGeometry.h"
#include "ZorvDbapGainLaw.h"
#include "ZorvNullPanning.h"

namespace Zorv {

Pan* DbapPanning2D::Create(unsigned int numInputs, unsigned int numOutputs) {
  if (numOutputs == 0) return new NullPanning();
  return new DbapPanning2D(numInputs, numOutputs);
}

DbapPanning2D::DbapPanning2D(unsigned int numInputs, unsigned int numOutputs)
    : DbapPanning(numInputs, numOutputs) {
  std::vector<nolardsp::CartesianVector> const ring = speakerPositions;
  SetLoudspeakerPositions(ring.data());
}

DbapPanning2D::~DbapPanning2D() = default;

void DbapPanning2D::SetLoudspeakerPositions(nolardsp::CartesianVector const* positions) {
  if (positions == nullptr) return;
  hullDirty = true;
  for (std::size_t k = 0; k < speakerPositions.size(); ++k) speakerPositions[k] = positions[k];
  nolardsp::ComputeBarycenter(speakerPositions, barycenter);
  hull.SetPoints(speakerPositions);
  hull.GetHullVertex(hullVertices);
  hullDirty = false;
  forceUpdate(false);
}

void DbapPanning2D::convert(nolardsp::CartesianVector const& position, float* gains,
                            unsigned int source) {
  if (!nolardsp::IsFinite(position)) {
    for (unsigned int k = 0; k < numOutputs; ++k) gains[k] = 0.f;
    return;
  }
  computeGains(position, source, true, gains);
  if (hullDirty) {
    hull.SetPoints(speakerPositions);
    hull.GetHullVertex(hullVertices);
    hullDirty = false;
  }
  if (hull.Contains(position)) return;
  if (muteOutside) {
    for (unsigned int k = 0; k < numOutputs; ++k) gains[k] = 0.f;
    return;
  }
  nolardsp::CartesianVector const& nearest =
      hullVertices[nolardsp::GetClosestPointIndex(position, hullVertices)];
  float const factor = DbapGainLaw::OutsideHullFactor(position, barycenter, nearest);
  for (unsigned int k = 0; k < numOutputs; ++k) gains[k] *= factor;
}

}  // namespace Zorv
