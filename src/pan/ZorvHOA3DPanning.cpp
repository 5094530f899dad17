#include "ZorvHOA3DPanning.h"

#include <cmath>
#include <vector>

#include "ZorvAmbisonic.h"
#include "ZorvNullPanning.h"

namespace Zorv {

using nolardsp::SphericalHarmonic;

unsigned int const HOA3DPanning::MaxSinglePrecisionOrder = 20;

Pan* HOA3DPanning::Create(unsigned int numInputs, unsigned int numOutputs) {
  // The square root, exact for every 32-bit count (the products are taken in
  // 64 bits so that none wraps).
  unsigned long long const n = numOutputs;
  unsigned long long root = static_cast<unsigned long long>(std::sqrt(static_cast<double>(n)));
  while (root * root > n) --root;
  while ((root + 1) * (root + 1) <= n) ++root;
  if (root * root != n || root < 2) return new NullPanning();
  return new HOA3DPanning(numInputs, numOutputs, static_cast<unsigned int>(root - 1));
}

HOA3DPanning::HOA3DPanning(unsigned int numInputs, unsigned int numOutputs, unsigned int order_)
    : HOAPanning(numInputs, numOutputs, order_) {
  normalization = SphericalHarmonic::SchmidtSeminormalized3D;
  forceUpdate(false);
}

HOA3DPanning::~HOA3DPanning() = default;

void HOA3DPanning::SetEncodingNormalization(SphericalHarmonic::Normalization const& n) {
  normalization =
      (n == SphericalHarmonic::SchmidtSeminormalized3D || n == SphericalHarmonic::FullyNormalized3D)
          ? n
          : SphericalHarmonic::SchmidtSeminormalized3D;
  forceUpdate(false);
}

void HOA3DPanning::convert(nolardsp::CartesianVector const& position, float* gains, unsigned int) {
  if (zeroIfNotFinite(position, gains, numOutputs)) return;
  std::size_t count = 0;
  if (order <= MaxSinglePrecisionOrder) {
    Ambisonic<float>::AmbisonicEncodingVector(encodingVector, order, position, normalization,
                                              sorting);
    count = encodingVector.size() < numOutputs ? encodingVector.size() : numOutputs;
    for (std::size_t k = 0; k < count; ++k) gains[k] = encodingVector[k];
  } else {
    // The recurrences lose too much in single precision this high. The
    // temporary is allocated on every call.
    std::vector<double> precise;
    Ambisonic<double>::AmbisonicEncodingVector(precise, order, position, normalization, sorting);
    count = precise.size() < numOutputs ? precise.size() : numOutputs;
    for (std::size_t k = 0; k < count; ++k) gains[k] = static_cast<float>(precise[k]);
  }
  for (std::size_t k = count; k < numOutputs; ++k) gains[k] = 0.f;
}

}  // namespace Zorv
