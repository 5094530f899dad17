#include "ZorvVectorBasedPanning.h"

#include "NolarGeometry.h"

namespace Zorv {

VectorBasedPanning::VectorBasedPanning(unsigned int numInputs, unsigned int numOutputs)
    : AmplitudePanning(numInputs, numOutputs), triangulation(numOutputs), spread(numInputs, 0.f) {}

VectorBasedPanning::~VectorBasedPanning() = default;

void VectorBasedPanning::SetLoudspeakerPositions(nolardsp::CartesianVector const* positions) {
  if (positions == nullptr) return;
  triangulation.SetLoudspeakerPositions(positions);
  forceUpdate(false);
}

void VectorBasedPanning::SetOmniSpreadFactor(unsigned int source, float degrees) {
  if (source >= spread.size() || spread[source] == degrees) return;
  spread[source] = degrees;
  forceUpdate(false);
}

void VectorBasedPanning::convert(nolardsp::CartesianVector const& position, float* gains,
                                 unsigned int source) {
  if (!nolardsp::IsFinite(position)) {
    // A position that is not a number renders as silence.
    for (unsigned int k = 0; k < numOutputs; ++k) gains[k] = 0.f;
    return;
  }
  float const s = source < spread.size() ? spread[source] : 0.f;
  triangulation.AddGains(position, s, gains);
  normalizeGains(gains);
}

}  // namespace Zorv
