#include "ZorvVbipPanning.h"

#include <cmath>

#include "NolarGeometry.h"
#include "ZorvDefaultParameters.h"
#include "ZorvNullPanning.h"

namespace Zorv {

Pan* VbipPanning::Create(unsigned int numInputs, unsigned int numOutputs) {
  if (numOutputs < 3) return new NullPanning();
  return new VbipPanning(numInputs, numOutputs);
}

VbipPanning::VbipPanning(unsigned int numInputs, unsigned int numOutputs)
    : VectorBasedPanning(numInputs, numOutputs) {}

VbipPanning::~VbipPanning() = default;

void VbipPanning::convert(nolardsp::CartesianVector const& position, float* gains,
                          unsigned int source) {
  if (!nolardsp::IsFinite(position)) {
    VectorBasedPanning::convert(position, gains, source);
    return;
  }
  // In double: the squares of a far source's coordinates overflow a float.
  double const x = position.x, y = position.y, z = position.z;
  double const r = std::sqrt(x * x + y * y + z * z);
  double const minimum = ZorvDefaultParameters::MinRadius;
  if (r >= minimum) {
    VectorBasedPanning::convert(position, gains, source);
    return;
  }
  nolardsp::CartesianVector held(static_cast<float>(minimum), 0.f, 0.f);
  if (r > 0.0) {
    double const scale = minimum / r;
    held = nolardsp::CartesianVector(static_cast<float>(x * scale), static_cast<float>(y * scale),
                                     static_cast<float>(z * scale));
  }
  VectorBasedPanning::convert(held, gains, source);
}

void VbipPanning::normalizeGains(float* gains) {
  VectorBasedTriangulation::NormalizeIntensity(gains, numOutputs);
}

}  // namespace Zorv
