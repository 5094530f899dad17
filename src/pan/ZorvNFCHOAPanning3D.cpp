#include "ZorvNFCHOAPanning3D.h"

#include <cmath>

#include "ZorvNullPanning.h"

namespace Zorv {

Pan* NFCHOAPanning3D::Create(unsigned int numInputs, unsigned int numOutputs) {
  unsigned long long const n = numOutputs;
  unsigned long long root = static_cast<unsigned long long>(std::sqrt(static_cast<double>(n)));
  while (root * root > n) --root;
  while ((root + 1) * (root + 1) <= n) ++root;
  if (root * root != n || root < 2) return new NullPanning();
  return new NFCHOAPanning3D(numInputs, numOutputs, static_cast<unsigned int>(root - 1));
}

NFCHOAPanning3D::NFCHOAPanning3D(unsigned int numInputs, unsigned int numOutputs,
                                 unsigned int order)
    : NFCHOAPanning(numInputs, numOutputs, order, 3) {}

NFCHOAPanning3D::~NFCHOAPanning3D() = default;

}  // namespace Zorv
