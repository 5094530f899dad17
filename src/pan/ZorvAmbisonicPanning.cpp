#include "ZorvAmbisonicPanning.h"

#include <cmath>

#include "ZorvNullPanning.h"

namespace Zorv {

Pan* AmbisonicPanning::Create(unsigned int numInputs, unsigned int numOutputs) {
  if (numOutputs != 3 && numOutputs != 4) return new NullPanning();
  return new AmbisonicPanning(numInputs, numOutputs);
}

AmbisonicPanning::AmbisonicPanning(unsigned int numInputs, unsigned int numOutputs)
    : AmplitudePanning(numInputs, numOutputs) {
  forceUpdate(false);
}

AmbisonicPanning::~AmbisonicPanning() = default;

void AmbisonicPanning::convert(nolardsp::CartesianVector const& p, float* gains, unsigned int) {
  if (!std::isfinite(p.x) || !std::isfinite(p.y) || !std::isfinite(p.z)) {
    for (unsigned int k = 0; k < numOutputs; ++k) gains[k] = 0.f;
    return;
  }
  float const phi = std::atan2(p.y, p.x);
  float const r = std::sqrt(p.x * p.x + p.y * p.y + p.z * p.z);
  float ratio = r > 0.f ? p.z / r : 0.f;
  // A rounding can take the ratio past 1 when r is tiny.
  ratio = ratio > 1.f ? 1.f : (ratio < -1.f ? -1.f : ratio);
  float const e = std::asin(ratio);
  float const cosE = std::cos(e);
  float const cosPhi = std::cos(phi);
  float const sinPhi = std::sin(phi);
  if (numOutputs == 3) {
    // The horizontal energy lost with elevation goes to W: the sum of squares
    // stays 1. The argument is clamped against a rounding below 0.
    float const w = 1.f - 0.6666667f * cosE * cosE;
    gains[0] = std::sqrt(w > 0.f ? w : 0.f);
    gains[1] = 0.8164966f * cosPhi * cosE;
    gains[2] = 0.8164966f * sinPhi * cosE;
  } else if (numOutputs == 4) {
    gains[0] = 0.57735026f;
    gains[1] = 1.4142135f * cosPhi * cosE;
    gains[2] = 1.4142135f * sinPhi * cosE;
    gains[3] = 1.4142135f * std::sin(e);
  }
}

}  // namespace Zorv
