#include "ZorvSurroundPanning.h"

#include <cmath>

#include "ZorvNullPanning.h"
#include "ZorvSquareMapping.h"

namespace Zorv {

namespace {

// Degrees, 0 in front and positive clockwise, in [-180, 180).
float azimuthDegrees(nolardsp::CartesianVector const& p) {
  float w = 270.f - std::atan2(p.y, p.x) * 57.29578f;
  if (!(w == w)) w = 180.f;
  w -= 360.f * std::floor(w / 360.f);
  if (w >= 360.f) w -= 360.f;
  return w - 180.f;
}

float clamp01(float v) {
  if (v > 1.f) return 1.f;
  return v >= 0.f ? v : 0.f;
}

}  // namespace

Pan* SurroundPanning::Create(unsigned int numInputs, unsigned int numOutputs) {
  if (numOutputs != 3 && numOutputs != 4) return new NullPanning();
  auto* panner = new SurroundPanning(numInputs, numOutputs);
  nolardsp::CartesianVector const front(0.f, 1.f, 0.f);
  for (unsigned int i = 0; i < numInputs; ++i) {
    panner->AmplitudePanning::SetSourcePosition(i, front, false);
  }
  return panner;
}

SurroundPanning::SurroundPanning(unsigned int numInputs, unsigned int numOutputs)
    : AmplitudePanning(numInputs, numOutputs), corners{-30.f, 30.f, 180.f, 180.f} {}

SurroundPanning::~SurroundPanning() = default;

void SurroundPanning::SetLoudspeakerPositions(nolardsp::CartesianVector const* positions) {
  if (positions == nullptr) return;
  if (numOutputs == 3) {
    corners[0] = azimuthDegrees(positions[0]);
    corners[1] = azimuthDegrees(positions[1]);
  } else if (numOutputs == 4) {
    corners[0] = azimuthDegrees(positions[0]);
    corners[1] = azimuthDegrees(positions[2]);
  }
  forceUpdate(false);
}

void SurroundPanning::convert(nolardsp::CartesianVector const& position, float* gains,
                              unsigned int) {
  // A position that is not a number is silent.
  if (!std::isfinite(position.x) || !std::isfinite(position.y) || !std::isfinite(position.z)) {
    for (unsigned int i = 0; i < numOutputs; ++i) gains[i] = 0.f;
    return;
  }
  if (numOutputs != 3 && numOutputs != 4) {
    for (unsigned int i = 0; i < numOutputs; ++i) gains[i] = 0.f;
    return;
  }
  float const r =
      std::sqrt(position.x * position.x + position.y * position.y + position.z * position.z);
  float const a = azimuthDegrees(position);
  float e = 0.f;
  if (r > 0.f) {
    float const s = position.z / r;
    e = std::asin(s > 1.f ? 1.f : (s < -1.f ? -1.f : s)) * 57.29578f;
  }
  float x = 0.f;
  float y = 0.f;
  SquareMapping::panc(a, e, r, corners, x, y);
  float t[5];
  if (numOutputs == 3) {
    SquareMapping::panr4(x, y, t);
    gains[0] = t[0];
    gains[1] = t[1];
    gains[2] = clamp01(t[2] + t[3]);
  } else {
    SquareMapping::panr5(x, y, t);
    gains[0] = t[0];
    gains[1] = t[1];
    gains[2] = t[2];
    gains[3] = clamp01(t[3] + t[4]);
  }
  // The weights are never negative but for rounding, which must not reach
  // the square root.
  for (unsigned int i = 0; i < numOutputs; ++i) gains[i] = std::sqrt(clamp01(gains[i]));
}

}  // namespace Zorv
