#pragma once

#include "ZorvAmplitudePanning.h"

namespace Zorv {

// Three or four speakers driven through the square mapping: the front pair
// (with a centre between them when there are four outputs) at corners 0 and
// 1, and one rear channel that receives both rear corners. The square's
// weights sum to 1, and the gains are their square roots, so the power is 1
// wherever the source is. Outputs: left, right, rear with 3 speakers; left,
// centre, right, rear with 4.
//
// Threads: setters and convert run on a message thread and allocate nothing.
class SurroundPanning : public AmplitudePanning {
 public:
  // A NullPanning unless there are 3 or 4 outputs. Every source starts in
  // front, at (0, 1, 0).
  static Pan* Create(unsigned int numInputs, unsigned int numOutputs);

  SurroundPanning(unsigned int numInputs, unsigned int numOutputs);
  ~SurroundPanning() override;

  // The front corners take the azimuths of the left and right speakers
  // (outputs 0 and 1 with 3 speakers, 0 and 2 with 4); the rear corners stay
  // behind, at 180 degrees.
  void SetLoudspeakerPositions(nolardsp::CartesianVector const* positions) override;

  float const* GetCorners() const { return corners; }

 protected:
  void convert(nolardsp::CartesianVector const& position, float* gains,
               unsigned int source) override;

 private:
  // Azimuths in degrees, 0 in front and positive clockwise.
  float corners[4];
};

}  // namespace Zorv
