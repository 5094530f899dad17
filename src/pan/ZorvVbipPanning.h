#pragma once

#include "ZorvVectorBasedPanning.h"

namespace Zorv {

// Vector-based panning in which each gain is the square root of its share of
// the sum of squares, so the squares sum to (sum of gains) / (sum of squares).
// The raw triplet gains grow with the source's distance, and so this power
// falls with distance: it is 1 / distance times its value at 1 m. To keep a
// source that passes through the listener from growing without limit, the
// distance is held at no less than ZorvDefaultParameters::MinRadius: a source
// closer than that is rendered as if it stood at that radius in its own
// direction, and a source at the centre in the direction (1, 0, 0), as the
// rest of the system takes the origin.
class VbipPanning : public VectorBasedPanning {
 public:
  // A NullPanning below 3 outputs. A failure to build passes to the caller.
  static Pan* Create(unsigned int numInputs, unsigned int numOutputs);

  VbipPanning(unsigned int numInputs, unsigned int numOutputs);
  ~VbipPanning() override;

  // Message thread; allocates nothing once the layout is triangulated.
  void convert(nolardsp::CartesianVector const& position, float* gains,
               unsigned int source) override;

 protected:
  void normalizeGains(float* gains) override;
};

}  // namespace Zorv
