#include "ZorvVbipPanning.h"

#include "ZorvNullPanning.h"

namespace Zorv {

Pan* VbipPanning::Create(unsigned int numInputs, unsigned int numOutputs) {
  if (numOutputs < 3) return new NullPanning();
  return new VbipPanning(numInputs, numOutputs);
}

VbipPanning::VbipPanning(unsigned int numInputs, unsigned int numOutputs)
    : VectorBasedPanning(numInputs, numOutputs) {}

VbipPanning::~VbipPanning() = default;

void VbipPanning::normalizeGains(float* gains) {
  VectorBasedTriangulation::NormalizeIntensity(gains, numOutputs);
}

}  // namespace Zorv
