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
  nolardsp::Zero(gains, numOutputs);
  // A position that is not a number is silent.
  if (!std::isfinite(position.x) || !std::isfinite(position.y) || !std::isfinite(position.z)) {
    return;
  }
  if (numOutputs == 1) {
    gains[0] = 1.f;
    return;
  }
  if (speakerAngles.empty()) return;
  if (speakerAngles.size() == 1) {
    // Every speaker on one azimuth: the one that renders it takes all.
    gains[speakerAngles.begin()->second] = 1.f;
    return;
  }
  float const twoPi = 6.2831855f;
  float a = std::atan2(position.y, position.x);
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
  // At a quarter turn the cosine of the float angle is -4e-8: the speaker
  // the source has left gets an exact 0, so it drops out of the mix.
  gains[previous->second] = q == 1.5707964f ? 0.f : std::cos(q);
  gains[next->second] = std::sin(q);
}

}  // namespace Zorv
