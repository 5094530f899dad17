#pragma once

#include "ZorvVectorBasedPanning.h"

namespace Zorv {

// Vector-based panning with constant power: the squares of a source's gains sum to 1.
class VbapPanning : public VectorBasedPanning {
 public:
  // A NullPanning below 3 outputs. A failure to build passes to the caller.
  static Pan* Create(unsigned int numInputs, unsigned int numOutputs);

  VbapPanning(unsigned int numInputs, unsigned int numOutputs);
  ~VbapPanning() override;

 protected:
  void normalizeGains(float* gains) override;
};

}  // namespace Zorv
