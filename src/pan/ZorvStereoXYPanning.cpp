#include "ZorvStereoXYPanning.h"

#include <cmath>

#include "ZorvNullPanning.h"
#include "ZorvStereoImage.h"

namespace Zorv {

Pan* StereoXYPanning::Create(unsigned int numInputs, unsigned int numOutputs) {
  if (numOutputs != 2) return new NullPanning();
  return new StereoXYPanning(numInputs, numOutputs);
}

StereoXYPanning::StereoXYPanning(unsigned int numInputs, unsigned int numOutputs)
    : AmplitudePanning(numInputs, numOutputs) {}

StereoXYPanning::~StereoXYPanning() = default;

void StereoXYPanning::convert(nolardsp::CartesianVector const& position, float* gains,
                              unsigned int) {
  // A position that is not a number is silent.
  if (!std::isfinite(position.x) || !std::isfinite(position.y) || !std::isfinite(position.z)) {
    for (unsigned int i = 0; i < numOutputs; ++i) gains[i] = 0.f;
    return;
  }
  float const w = StereoImageWidth(position);
  // Azimuth from the front, clockwise.
  float const t = 1.5707964f - StereoImageAzimuth(position);
  gains[0] = (std::sin(0.7853982f - t) * w + 1.f) * 0.41421f;
  gains[1] = (1.f + w * std::sin(0.7853982f + t)) * 0.41421f;
}

}  // namespace Zorv
