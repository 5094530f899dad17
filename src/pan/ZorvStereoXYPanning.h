#pragma once

#include "ZorvAmplitudePanning.h"

namespace Zorv {

// A coincident pair of cardioids crossed at 90 degrees, by gains alone: the
// pair's pick-up of a source at its azimuth, scaled by how far the source lies
// from the middle of the image. Output 0 is the left microphone, output 1 the
// right; a source in the middle reaches both with 0.41421.
//
// Threads: convert runs on a message thread and allocates nothing.
class StereoXYPanning : public AmplitudePanning {
 public:
  // A NullPanning unless there are 2 outputs.
  static Pan* Create(unsigned int numInputs, unsigned int numOutputs);

  StereoXYPanning(unsigned int numInputs, unsigned int numOutputs);
  ~StereoXYPanning() override;

 protected:
  void convert(nolardsp::CartesianVector const& position, float* gains,
               unsigned int source) override;
};

}  // namespace Zorv
