#pragma once

#include "ZorvAmplitudePanning.h"

namespace Zorv {

// A coincident mid-side pair by gains alone: output 0 is the mid signal (a
// forward cardioid), output 1 the side signal (a figure of eight facing left,
// so a source on the right arrives with negative gain).
//
// Threads: convert runs on a message thread and allocates nothing.
class StereoMSPanning : public AmplitudePanning {
 public:
  // A NullPanning unless there are 2 outputs.
  static Pan* Create(unsigned int numInputs, unsigned int numOutputs);

  StereoMSPanning(unsigned int numInputs, unsigned int numOutputs);
  ~StereoMSPanning() override;

 protected:
  void convert(nolardsp::CartesianVector const& position, float* gains,
               unsigned int source) override;
};

}  // namespace Zorv
