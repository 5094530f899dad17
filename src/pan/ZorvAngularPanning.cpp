#include "ZorvAngularPanning.h"

#include <cmath>
#include <iterator>

#include "NolarVectorOperations.h"
#include "ZorvSpeakers.h"

namespace Zorv {

Pan* AngularPanning::Create(unsigned int numInputs, unsigned int numOutputs) {
  return new AngularPanning(numInputs, numOutputs);
}

AngularPanning::AngularPanning(unsigned int numInputs, unsigned int numOutputs)
    : AmplitudePanning(numInputs, numOutputs), speakerPositions(numOutputs) {
  std::vector<nolardsp::CartesianVector> ring(numOutputs);
  if (numOutputs > 0) Speakers::GetRegularlySpaced(&ring[0].x, numOutputs);
  SetLoudspeakerPositions(ring.data());
}

AngularPanning::~AngularPanning() = default;

void AngularPanning::SetLoudspeakerPositions(nolardsp::CartesianVector const* positions) {
  if (positions == nullptr) return;
  speakerAngles.clear();
  for (unsigned int i = 0; i < numOutputs; ++i) {
    speakerPositions[i] = positions[i];
    float const angle = std::atan2(positions[i].y, positions[i].x);
    if (angle == angle) speakerAngles[angle] = i;
  }
  forceUpdate(false);
}

void AngularPanning::convert(nolardsp::CartesianVector const& position, float* gains,
                             unsigned int) {
  if (numOutputs == 1) {
    gains[0] = 1.f;
    return;
  }
  nolardsp::Zero(gains, numOutputs);
  if (speakerAngles.empty()) return;
  float const twoPi = 6.2831855f;
  float a = std::atan2(position.y, position.x);
  if (a != a) a = 0.f;
  auto next = speakerAngles.upper_bound(a);
  auto previous = next;
  if (next == speakerAngles.end() || next == speakerAngles.begin()) {
    // The arc that holds a passes through +-pi: from the last speaker
    // around to the first.
    next = speakerAngles.begin();
    previous = std::prev(speakerAngles.end());
  } else {
    previous = std::prev(next);
  }
  float const from = previous->first;
  float to = next->first;
  while (from >= to) to += twoPi;
  while (a < from) a += twoPi;
  float const q = a > to ? 1.5707964f : (a - from) * 1.5707964f / (to - from);
  gains[previous->second] = std::cos(q);
  gains[next->second] = std::sin(q);
}

}  // namespace Zorv
