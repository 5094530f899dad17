#pragma once

#include "ZorvNFCHOAPanning.h"

namespace Zorv {

// "nfchoa3d": (order + 1)^2 outputs, SN3D or N3D. order = sqrt(numOutputs) - 1;
// a NullPanning unless that is a whole number of at least 1.
class NFCHOAPanning3D : public NFCHOAPanning {
 public:
  static Pan* Create(unsigned int numInputs, unsigned int numOutputs);

  NFCHOAPanning3D(unsigned int numInputs, unsigned int numOutputs, unsigned int order);
  ~NFCHOAPanning3D() override;
};

}  // namespace Zorv
