#pragma once

#include "ZorvHOAPanning.h"

namespace Zorv {

// Higher-order ambisonics in 2-D ("hoa2d"): 2 order + 1 outputs, the
// components with |m| = l, in SN2D or N2D (SN2D unless told otherwise).
class HOA2DPanning : public HOAPanning {
 public:
  // Above this order the encoding vector is computed in double precision,
  // and convert allocates on every call.
  static unsigned int const MaxSinglePrecisionOrder;  // 25

  // order = (numOutputs - 1) / 2; a NullPanning unless that is whole. One
  // output is order 0, the omnidirectional channel alone.
  static Pan* Create(unsigned int numInputs, unsigned int numOutputs);

  HOA2DPanning(unsigned int numInputs, unsigned int numOutputs, unsigned int order);
  ~HOA2DPanning() override;

  using HOAPanning::SetEncodingNormalization;
  // Keeps SN2D or N2D; anything else becomes SN2D.
  void SetEncodingNormalization(nolardsp::SphericalHarmonic::Normalization const& n) override;

 protected:
  // The 2-D encoding vector of the position's true direction: an elevated
  // source is not projected and carries sin(theta)^l. Message thread.
  void convert(nolardsp::CartesianVector const& position, float* gains,
               unsigned int source) override;
};

}  // namespace Zorv
