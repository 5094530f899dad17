#include "ZorvRecursivePanning.h"

#include <cmath>

#include "ZorvNullPanning.h"
#include "ZorvSquareMapping.h"

namespace Zorv {

namespace {

float const degreesPerRadian = 57.29578f;

// Degrees, 0 in front and positive clockwise, in [-180, 180), from the
// anticlockwise angle in radians of the x axis.
float azimuthFromAngle(float radians) {
  float w = 270.f - radians * degreesPerRadian;
  if (!std::isfinite(w)) w = 180.f;
  w -= 360.f * std::floor(w / 360.f);
  if (w >= 360.f) w -= 360.f;
  return w - 180.f;
}

float azimuthOf(nolardsp::CartesianVector const& p) {
  return azimuthFromAngle(std::atan2(p.y, p.x));
}

// The direction half way along the shorter arc from a to b: the second angle
// is unwrapped around the first before the two are averaged, so a pair on
// either side of the jump of atan2 (straight behind) keeps its corner between
// them.
float azimuthBetween(nolardsp::CartesianVector const& a, nolardsp::CartesianVector const& b) {
  float const pi = 3.14159265f;
  float const first = std::atan2(a.y, a.x);
  float difference = std::atan2(b.y, b.x) - first;
  if (difference >= pi) difference -= 2.f * pi;
  if (difference < -pi) difference += 2.f * pi;
  return azimuthFromAngle(first + 0.5f * difference);
}

float clamp01(float v) {
  if (v > 1.f) return 1.f;
  return v >= 0.f ? v : 0.f;  // NaN gives 0
}

bool supported(unsigned int numOutputs) {
  switch (numOutputs) {
    case 4:
    case 5:
    case 6:
    case 7:
    case 8:
    case 12:
      return true;
    default:
      return false;
  }
}

}  // namespace

Pan* RecursivePanning::Create(unsigned int numInputs, unsigned int numOutputs) {
  if (!supported(numOutputs)) return new NullPanning();
  auto* panner = new RecursivePanning(numInputs, numOutputs);
  nolardsp::CartesianVector const front(0.f, 1.f, 0.f);
  for (unsigned int i = 0; i < numInputs; ++i) {
    panner->AmplitudePanning::SetSourcePosition(i, front, false);
  }
  return panner;
}

RecursivePanning::RecursivePanning(unsigned int numInputs, unsigned int numOutputs)
    : AmplitudePanning(numInputs, numOutputs), corners{-45.f, 45.f, 135.f, -135.f} {}

RecursivePanning::~RecursivePanning() = default;

void RecursivePanning::SetCorners(float const* four) {
  if (four == nullptr) return;
  for (int k = 0; k < 4; ++k) corners[k] = four[k];
}

void RecursivePanning::SetLoudspeakerPositions(nolardsp::CartesianVector const* positions) {
  if (positions == nullptr) return;
  // The speakers at the corners of the array, by count.
  static unsigned int const cornerSpeakers[][4] = {
      {0, 1, 2, 3},  // 4
      {0, 2, 3, 4},  // 5
      {0, 1, 3, 4},  // 6
      {0, 2, 4, 5},  // 7
      {0, 2, 4, 6},  // 8
  };
  if (numOutputs == 12) {
    corners[0] = azimuthBetween(positions[0], positions[11]);
    corners[1] = azimuthBetween(positions[2], positions[3]);
    corners[2] = azimuthBetween(positions[5], positions[6]);
    corners[3] = azimuthBetween(positions[8], positions[9]);
  } else if (numOutputs >= 4 && numOutputs <= 8) {
    unsigned int const* speakers = cornerSpeakers[numOutputs - 4];
    for (int k = 0; k < 4; ++k) corners[k] = azimuthOf(positions[speakers[k]]);
  }
  forceUpdate(false);
}

void RecursivePanning::panr8(float x, float y, float* out) {
  float corner[4];
  SquareMapping::panr4(x, y, corner);
  float const fl = corner[0], fr = corner[1], br = corner[2], bl = corner[3];
  float const l1 = clamp01(bl - fl);
  float const l2 = clamp01(fl - bl);
  float const r1 = clamp01(fr - br);
  float const r2 = clamp01(br - fr);
  out[6] = clamp01(l1 - r2);
  out[4] = clamp01(r2 - l1);
  out[5] = l1 + r2 - out[6] - out[4];
  out[0] = clamp01(l2 - r1);
  out[2] = clamp01(r1 - l2);
  out[1] = l2 + r1 - out[0] - out[2];
  out[3] = fr + br - r1 - r2;
  out[7] = bl + fl - l1 - l2;
}

void RecursivePanning::panr12(float x, float y, float* out) {
  float t[8];
  panr8(x, y, t);
  float const c = clamp01(t[5] - t[4]);
  out[6] = clamp01(t[4] - t[5]);
  out[7] = t[5] + t[4] - out[6] - c;
  out[10] = clamp01(t[6] - c);
  out[8] = clamp01(c - t[6]);
  out[9] = c + t[6] - out[10] - out[8];
  float const d = clamp01(t[1] - t[0]);
  out[0] = clamp01(t[0] - t[1]);
  out[1] = t[0] + t[1] - d - out[0];
  out[2] = clamp01(d - t[2]);
  out[4] = clamp01(t[2] - d);
  out[3] = d + t[2] - out[4] - out[2];
  out[5] = t[3];
  out[11] = t[7];
}

void RecursivePanning::convert(nolardsp::CartesianVector const& position, float* gains,
                               unsigned int) {
  // A position that is not a number is silent.
  if (!std::isfinite(position.x) || !std::isfinite(position.y) || !std::isfinite(position.z) ||
      !supported(numOutputs)) {
    for (unsigned int k = 0; k < numOutputs; ++k) gains[k] = 0.f;
    return;
  }
  // In double: the squares of a far source's coordinates overflow a float.
  double const x = position.x, y = position.y, z = position.z;
  float const r = static_cast<float>(std::sqrt(x * x + y * y + z * z));
  float const a = azimuthOf(position);
  float e = 0.f;
  if (r > 0.f) {
    float s = static_cast<float>(z / static_cast<double>(r));
    s = s > 1.f ? 1.f : (s < -1.f ? -1.f : s);
    e = std::asin(s) * degreesPerRadian;
  }
  float px = 0.f;
  float py = 0.f;
  SquareMapping::panc(a, e, r, corners, px, py);

  switch (numOutputs) {
    case 4:
      SquareMapping::panr4(px, py, gains);
      break;
    case 5:
      SquareMapping::panr5(px, py, gains);
      break;
    case 6: {
      float corner[4];
      SquareMapping::panr4(px, py, corner);
      float const fl = corner[0], fr = corner[1], br = corner[2], bl = corner[3];
      gains[0] = clamp01(fl - bl);
      gains[4] = clamp01(bl - fl);
      gains[5] = bl + fl - gains[4] - gains[0];
      gains[1] = clamp01(fr - br);
      gains[3] = clamp01(br - fr);
      gains[2] = br + fr - gains[1] - gains[3];
      break;
    }
    case 7: {
      float corner[4];
      SquareMapping::panr4(px, py, corner);
      float const fl = corner[0], fr = corner[1], br = corner[2], bl = corner[3];
      float const left = clamp01(fl - fr);
      float const right = clamp01(fr - fl);
      gains[0] = clamp01(left - bl);
      gains[5] = clamp01(bl - left);
      gains[6] = bl + left - gains[5] - gains[0];
      gains[2] = clamp01(right - br);
      gains[4] = clamp01(br - right);
      gains[3] = br + right - gains[2] - gains[4];
      gains[1] = fr + fl - left - right;
      break;
    }
    case 8:
      panr8(px, py, gains);
      break;
    default:
      panr12(px, py, gains);
      break;
  }
  // Weights that add to 1 become gains of constant power. A weight is never
  // negative but for rounding, which must not reach the square root.
  for (unsigned int k = 0; k < numOutputs; ++k) gains[k] = std::sqrt(clamp01(gains[k]));
}

}  // namespace Zorv
