#pragma once

#include "ZorvNFCHOAPanning.h"

namespace Zorv {

// "nfchoa2d": 2 order + 1 outputs, SN2D or N2D, each degree with the 2-D
// high-pass law. order = (numOutputs - 1) / 2; a NullPanning unless that is a
// whole number of at least 1 (unlike the plain 2-D encoder, one output is no
// set).
class NFCHOAPanning2D : public NFCHOAPanning {
 public:
  static Pan* Create(unsigned int numInputs, unsigned int numOutputs);

  NFCHOAPanning2D(unsigned int numInputs, unsigned int numOutputs, unsigned int order);
  ~NFCHOAPanning2D() override;
};

}  // namespace Zorv
