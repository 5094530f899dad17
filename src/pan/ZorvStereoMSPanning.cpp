#include "ZorvStereoMSPanning.h"

#include <cmath>

#include "ZorvNullPanning.h"
#include "ZorvStereoImage.h"

namespace Zorv {

Pan* StereoMSPanning::Create(unsigned int numInputs, unsigned int numOutputs) {
  if (numOutputs != 2) return new NullPanning();
  return new StereoMSPanning(numInputs, numOutputs);
}

StereoMSPanning::StereoMSPanning(unsigned int numInputs, unsigned int numOutputs)
    : AmplitudePanning(numInputs, numOutputs) {}

StereoMSPanning::~StereoMSPanning() = default;

void StereoMSPanning::convert(nolardsp::CartesianVector const& position, float* gains,
                              unsigned int) {
  // A position that is not a number is silent.
  if (!std::isfinite(position.x) || !std::isfinite(position.y) || !std::isfinite(position.z)) {
    for (unsigned int i = 0; i < numOutputs; ++i) gains[i] = 0.f;
    return;
  }
  float const w = StereoImageWidth(position);
  float const phi = StereoImageAzimuth(position);
  gains[0] = (std::sin(phi) * w + 1.f) * 0.5f;
  gains[1] = -0.5f * std::cos(phi) * w;
}

}  // namespace Zorv
