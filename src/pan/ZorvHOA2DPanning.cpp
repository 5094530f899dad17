#include "ZorvHOA2DPanning.h"

#include <cmath>
#include <vector>

#include "ZorvAmbisonic.h"
#include "ZorvNullPanning.h"

namespace Zorv {

using nolardsp::SphericalHarmonic;

unsigned int const HOA2DPanning::MaxSinglePrecisionOrder = 25;

Pan* HOA2DPanning::Create(unsigned int numInputs, unsigned int numOutputs) {
  if (numOutputs % 2 == 0) return new NullPanning();
  return new HOA2DPanning(numInputs, numOutputs, (numOutputs - 1) / 2);
}

HOA2DPanning::HOA2DPanning(unsigned int numInputs, unsigned int numOutputs, unsigned int order_)
    : HOAPanning(numInputs, numOutputs, order_) {
  normalization = SphericalHarmonic::SchmidtSeminormalized2D;
  forceUpdate(false);
}

HOA2DPanning::~HOA2DPanning() = default;

void HOA2DPanning::SetEncodingNormalization(SphericalHarmonic::Normalization const& n) {
  normalization =
      (n == SphericalHarmonic::SchmidtSeminormalized2D || n == SphericalHarmonic::FullyNormalized2D)
          ? n
          : SphericalHarmonic::SchmidtSeminormalized2D;
  forceUpdate(false);
}

void HOA2DPanning::convert(nolardsp::CartesianVector const& position, float* gains, unsigned int) {
  if (zeroIfNotFinite(position, gains, numOutputs)) return;
  std::size_t count = 0;
  if (order <= MaxSinglePrecisionOrder) {
    Ambisonic<float>::AmbisonicEncodingVector2D(encodingVector, order, position, normalization,
                                                sorting);
    count = encodingVector.size() < numOutputs ? encodingVector.size() : numOutputs;
    for (std::size_t k = 0; k < count; ++k) gains[k] = encodingVector[k];
  } else {
    // The recurrences lose too much in single precision this high. The
    // temporary is allocated on every call.
    std::vector<double> precise;
    Ambisonic<double>::AmbisonicEncodingVector2D(precise, order, position, normalization, sorting);
    count = precise.size() < numOutputs ? precise.size() : numOutputs;
    for (std::size_t k = 0; k < count; ++k) gains[k] = static_cast<float>(precise[k]);
  }
  for (std::size_t k = count; k < numOutputs; ++k) gains[k] = 0.f;
}

}  // namespace Zorv
