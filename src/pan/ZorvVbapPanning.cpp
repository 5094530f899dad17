#include "ZorvVbapPanning.h"

#include "ZorvNullPanning.h"

namespace Zorv {

Pan* VbapPanning::Create(unsigned int numInputs, unsigned int numOutputs) {
  if (numOutputs < 3) return new NullPanning();
  return new VbapPanning(numInputs, numOutputs);
}

VbapPanning::VbapPanning(unsigned int numInputs, unsigned int numOutputs)
    : VectorBasedPanning(numInputs, numOutputs) {}

VbapPanning::~VbapPanning() = default;

void VbapPanning::normalizeGains(float* gains) {
  VectorBasedTriangulation::NormalizePower(gains, numOutputs);
}

}  // namespace Zorv
