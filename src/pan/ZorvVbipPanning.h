#pragma once

#include "ZorvVectorBasedPanning.h"

namespace Zorv {

// Vector-based panning with each gain is the square root of its share of the sum of squares, so the
// squares sum to (sum of gains) / (sum of squares).
class VbipPanning : public VectorBasedPanning {
 public:
  // A NullPanning below 3 outputs. A failure to build passes to the caller.
  static Pan* Create(unsigned int numInputs, unsigned int numOutputs);

  VbipPanning(unsigned int numInputs, unsigned int numOutputs);
  ~VbipPanning() override;

 protected:
  void normalizeGains(float* gains) override;
};

}  // namespace Zorv
