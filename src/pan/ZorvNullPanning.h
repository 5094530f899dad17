#pragma once

#include "ZorvPan.h"

namespace Zorv {

// The answer for a method or channel count that cannot be built. It has no
// channels and does nothing; in particular Process leaves the outputs alone.
class NullPanning : public Pan {
 public:
  NullPanning();
  ~NullPanning() override;

  void Process(float** outputs, float** inputs, unsigned long numSamples,
               short const* activeInputs) override;
  void ProcessAdding(float** outputs, float** inputs, unsigned long numSamples,
                     short const* activeInputs) override;
  void SetSamplerate(float samplerate) override;
  void SetMaxBlockSize(unsigned int maxBlockSize) override;
  void Clear() override;
  void SetSourcePosition(unsigned int index, nolardsp::CartesianVector const& position,
                         bool immediately) override;
  void SetSourcePositions(nolardsp::CartesianVector const* positions) override;
  void SetLoudspeakerPositions(nolardsp::CartesianVector const* positions) override;
  // Both set the count to 0 whatever the argument.
  void SetNumInputs(unsigned int numInputs) override;
  void SetNumOutputs(unsigned int numOutputs) override;
  void SetInterpolationTime(float milliseconds) override;
};

}  // namespace Zorv
