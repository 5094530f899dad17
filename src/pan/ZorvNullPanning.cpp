#include "ZorvNullPanning.h"

namespace Zorv {

NullPanning::NullPanning() {
  numInputs = 0;
  numOutputs = 0;
}

NullPanning::~NullPanning() = default;

void NullPanning::Process(float**, float**, unsigned long, short const*) {}
void NullPanning::ProcessAdding(float**, float**, unsigned long, short const*) {}
void NullPanning::SetSamplerate(float samplerate_) {
  samplerate = samplerate_;
}
void NullPanning::SetMaxBlockSize(unsigned int maxBlockSize_) {
  maxBlockSize = maxBlockSize_;
}
void NullPanning::Clear() {}
void NullPanning::SetSourcePosition(unsigned int, nolardsp::CartesianVector const&, bool) {}
void NullPanning::SetSourcePositions(nolardsp::CartesianVector const*) {}
void NullPanning::SetLoudspeakerPositions(nolardsp::CartesianVector const*) {}
void NullPanning::SetNumInputs(unsigned int) {
  numInputs = 0;
}
void NullPanning::SetNumOutputs(unsigned int) {
  numOutputs = 0;
}
void NullPanning::SetInterpolationTime(float) {}

}  // namespace Zorv
