#pragma once

#include "ZorvAmplitudePanning.h"

namespace Zorv {

// First-order B-format ("bformat") with fixed scale factors. Three outputs
// are the horizontal set (W, X, Y) whose W takes up the energy the horizontal
// components lose with elevation, so the sum of squares is 1 everywhere; four
// outputs are (W, X, Y, Z) with W = 1 / sqrt(3) and sqrt(2) on the others.
// X points along the x axis (to the right), Y along y (to the front). The
// distance plays no part.
class AmbisonicPanning : public AmplitudePanning {
 public:
  // A NullPanning unless numOutputs is 3 or 4.
  static Pan* Create(unsigned int numInputs, unsigned int numOutputs);

  AmbisonicPanning(unsigned int numInputs, unsigned int numOutputs);
  ~AmbisonicPanning() override;

 protected:
  // Message thread; allocates nothing.
  void convert(nolardsp::CartesianVector const& position, float* gains,
               unsigned int source) override;
};

}  // namespace Zorv
