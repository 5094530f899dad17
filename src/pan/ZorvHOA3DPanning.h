#pragma once

#include "ZorvHOAPanning.h"

namespace Zorv {

// Higher-order ambisonics in 3-D ("hoa3d"): (order + 1)^2 outputs, in SN3D
// or N3D (SN3D unless told otherwise).
class HOA3DPanning : public HOAPanning {
 public:
  // Above this order the encoding vector is computed in double precision,
  // and convert allocates on every call.
  static unsigned int const MaxSinglePrecisionOrder;  // 20

  // order = sqrt(numOutputs) - 1; a NullPanning unless that is a whole
  // number of at least 1 (one output is no 3-D set, unlike in 2-D).
  static Pan* Create(unsigned int numInputs, unsigned int numOutputs);

  HOA3DPanning(unsigned int numInputs, unsigned int numOutputs, unsigned int order);
  ~HOA3DPanning() override;

  using HOAPanning::SetEncodingNormalization;
  // Keeps SN3D or N3D; anything else becomes SN3D.
  void SetEncodingNormalization(nolardsp::SphericalHarmonic::Normalization const& n) override;

 protected:
  // The encoding vector of the position's direction; the distance plays no
  // part. Message thread.
  void convert(nolardsp::CartesianVector const& position, float* gains,
               unsigned int source) override;
};

}  // namespace Zorv
