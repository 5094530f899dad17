#include "ZorvVbap2DPairs.h"

#include <algorithm>
#include <cmath>

#include "ZorvUserAngles.h"

namespace Zorv {

using nolardsp::CartesianVector;

namespace {

// The smallest sine of the angle between a pair's two directions that is
// still solved: about 6e-5 degrees, far below any real layout.
double const minimumSine = 1e-6;

// A pair whose directions are parallel (coincident or opposite speakers, or
// one of them at the centre) has no system to solve. Rather than let an
// infinite gain through: a speaker at the centre leaves the pair to the other,
// coincident speakers share the source equally, and opposite speakers
// cross-fade along their common axis.
void degeneratePairGains(float a, float b, float c, float d, CartesianVector const& p, float& g1,
                         float& g2) {
  float const lengthFirst = std::hypot(a, b);
  float const lengthSecond = std::hypot(c, d);
  if (!(lengthFirst > 0.f) || !(lengthSecond > 0.f)) {
    g1 = lengthFirst > 0.f ? 1.f : 0.f;
    g2 = lengthSecond > 0.f ? 1.f : 0.f;
    if (g1 == 0.f && g2 == 0.f) g1 = g2 = 1.f;
    return;
  }
  if (a * c + b * d >= 0.f) {
    g1 = g2 = 1.f;
    return;
  }
  double const lengthSource = std::hypot(static_cast<double>(p.x), static_cast<double>(p.y));
  float const s =
      lengthSource > 0.0 && std::isfinite(lengthFirst)
          ? static_cast<float>((static_cast<double>(p.x) * a + static_cast<double>(p.y) * b) /
                               (static_cast<double>(lengthFirst) * lengthSource))
          : 0.f;
  g1 = 1.f + s;
  g2 = 1.f - s;
}

}  // namespace

bool Vbap2DPairs::AscendingAzimuthSort::operator()(Point2D const& a, Point2D const& b) const {
  return InternalToUserAzimuth(a.x, a.y) < InternalToUserAzimuth(b.x, b.y);
}

Vbap2DPairs::Vbap2DPairs(unsigned int numSpeakers)
    : speakers(numSpeakers), pairMatrices(4 * static_cast<std::size_t>(numSpeakers)) {
  for (unsigned int i = 0; i < numSpeakers; ++i) {
    float const a = static_cast<float>(i) / static_cast<float>(numSpeakers);
    speakers[i].x = std::cos(a);
    speakers[i].y = std::sin(a);
    speakers[i].index = i;
  }
  storePairs();
}

void Vbap2DPairs::SetLoudspeakerPositions(CartesianVector const* positions) {
  for (unsigned int i = 0; i < speakers.size(); ++i) {
    speakers[i].x = positions[i].x;
    speakers[i].y = positions[i].y;
    speakers[i].index = i;
  }
  std::sort(speakers.begin(), speakers.end(), AscendingAzimuthSort());
  storePairs();
}

void Vbap2DPairs::storePairs() {
  std::size_t const n = speakers.size();
  for (std::size_t p = 0; p < n; ++p) {
    speakers[p].azimuth = InternalToUserAzimuth(speakers[p].x, speakers[p].y);
  }
  for (std::size_t p = 0; p < n; ++p) {
    Point2D const& first = speakers[p];
    Point2D const& second = speakers[(p + 1) % n];
    pairMatrices[4 * p + 0] = first.x;
    pairMatrices[4 * p + 1] = first.y;
    pairMatrices[4 * p + 2] = second.x;
    pairMatrices[4 * p + 3] = second.y;
  }
}

unsigned int Vbap2DPairs::find_pair(float x, float y) const {
  unsigned int const n = static_cast<unsigned int>(speakers.size());
  if (n <= 1) return 0;
  float const a = InternalToUserAzimuth(x, y);
  for (unsigned int p = 0; p + 1 < n; ++p) {
    if (a >= speakers[p].azimuth && !(a > speakers[p + 1].azimuth)) return p;
  }
  return n - 1;
}

void Vbap2DPairs::addGains(CartesianVector const& position, float* gains) const {
  std::size_t const n = speakers.size();
  if (n == 0) return;
  unsigned int const p = find_pair(position.x, position.y);
  float const a = pairMatrices[4 * p + 0];
  float const b = pairMatrices[4 * p + 1];
  float const c = pairMatrices[4 * p + 2];
  float const d = pairMatrices[4 * p + 3];
  // A pair is solved only when its determinant is clear of 0 relative to the
  // lengths of its two directions (the sine of the angle between them);
  // nearly parallel directions would give gains of any size. Double precision
  // so that speakers near the float range cannot overflow the products.
  double const determinant = static_cast<double>(d) * a - static_cast<double>(c) * b;
  double const lengths = std::hypot(static_cast<double>(a), static_cast<double>(b)) *
                         std::hypot(static_cast<double>(c), static_cast<double>(d));
  float g1 = 0.f;
  float g2 = 0.f;
  if (std::fabs(determinant) > minimumSine * lengths) {
    double const x = position.x;
    double const y = position.y;
    g1 = static_cast<float>((d * x - c * y) / determinant);
    g2 = static_cast<float>((a * y - x * b) / determinant);
  }
  if (!(std::fabs(determinant) > minimumSine * lengths) || !std::isfinite(g1) ||
      !std::isfinite(g2)) {
    degeneratePairGains(a, b, c, d, position, g1, g2);
  }
  if (!(g1 > 0.f)) g1 = 0.f;
  if (!(g2 > 0.f)) g2 = 0.f;
  gains[speakers[p].index] += g1;
  gains[speakers[(p + 1) % n].index] += g2;
}

void Vbap2DPairs::ComputeGains(CartesianVector const& position, float spreadDegrees,
                               float* gains) const {
  std::size_t const n = speakers.size();
  for (std::size_t k = 0; k < n; ++k) gains[k] = 0.f;
  if (spreadDegrees == 0.f) {
    addGains(position, gains);
  } else {
    float const a = 0.017453292f * spreadDegrees;
    float const angles[6] = {a, -a, 0.5f * a, -0.5f * a, 0.25f * a, -0.25f * a};
    addGains(position, gains);
    for (float r : angles) {
      float const c = std::cos(r), t = std::sin(r);
      addGains(CartesianVector(c * position.x - t * position.y, c * position.y + t * position.x,
                               position.z),
               gains);
    }
  }
  // Constant power, with the sum in double precision: raw gains of a source
  // a hair from the centre are near 1e-20, whose squares vanish in float and
  // left the gains scaled up far past 1.
  double sum = 0.0;
  for (std::size_t k = 0; k < n; ++k) sum += static_cast<double>(gains[k]) * gains[k];
  if (!(sum > 0.0) || !std::isfinite(sum)) {
    // No direction (a source exactly at the centre) or gains past any range:
    // the source falls silent rather than put noise on the outputs.
    for (std::size_t k = 0; k < n; ++k) gains[k] = 0.f;
    return;
  }
  double const scale = 1.0 / std::sqrt(sum);
  for (std::size_t k = 0; k < n; ++k) gains[k] = static_cast<float>(gains[k] * scale);
}

void Vbap2DPairs::GetActiveSpeakers(CartesianVector const& position, unsigned int* channels) const {
  std::size_t const n = speakers.size();
  if (n == 0) return;
  unsigned int const p = find_pair(position.x, position.y);
  channels[0] = speakers[p].index;
  channels[1] = speakers[(p + 1) % n].index;
}

}  // namespace Zorv
