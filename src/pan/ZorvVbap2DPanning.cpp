#include "ZorvVbap2DPanning.h"

#include <iostream>

#include "NolarGeometry.h"
#include "ZorvNullPanning.h"

namespace Zorv {

Pan* Vbap2DPanning::Create(unsigned int numInputs, unsigned int numOutputs) {
  if (numOutputs < 2) return new NullPanning();
  return new Vbap2DPanning(numInputs, numOutputs);
}

Vbap2DPanning::Vbap2DPanning(unsigned int numInputs, unsigned int numOutputs)
    : AmplitudePanning(numInputs, numOutputs), pairs(numOutputs), spread(numInputs, 0.f) {}

Vbap2DPanning::~Vbap2DPanning() = default;

void Vbap2DPanning::SetLoudspeakerPositions(nolardsp::CartesianVector const* positions) {
  if (positions == nullptr) return;
  pairs.SetLoudspeakerPositions(positions);
  forceUpdate(false);
}

void Vbap2DPanning::SetOmniSpreadFactor(unsigned int source, float degrees) {
  // Every call is echoed on the error stream, the value unchanged or not: a
  // trace of the spread this panner is given, kept on purpose.
  std::cerr << "SetOmniSpreadFactor = " << degrees << std::endl;
  if (source >= spread.size() || spread[source] == degrees) return;
  spread[source] = degrees;
  forceUpdate(false);
}

void Vbap2DPanning::GetActiveSpeakers(nolardsp::CartesianVector const& position,
                                      unsigned int* channels) const {
  pairs.GetActiveSpeakers(position, channels);
}

void Vbap2DPanning::convert(nolardsp::CartesianVector const& position, float* gains,
                            unsigned int source) {
  if (!nolardsp::IsFinite(position)) {
    for (unsigned int k = 0; k < numOutputs; ++k) gains[k] = 0.f;
    return;
  }
  pairs.ComputeGains(position, source < spread.size() ? spread[source] : 0.f, gains);
}

}  // namespace Zorv
