#include "ZorvNFCHOAPanning2D.h"

#include "ZorvNullPanning.h"

namespace Zorv {

Pan* NFCHOAPanning2D::Create(unsigned int numInputs, unsigned int numOutputs) {
  if (numOutputs < 3 || numOutputs % 2 == 0) return new NullPanning();
  return new NFCHOAPanning2D(numInputs, numOutputs, (numOutputs - 1) / 2);
}

NFCHOAPanning2D::NFCHOAPanning2D(unsigned int numInputs, unsigned int numOutputs,
                                 unsigned int order)
    : NFCHOAPanning(numInputs, numOutputs, order, 2) {}

NFCHOAPanning2D::~NFCHOAPanning2D() = default;

}  // namespace Zorv
