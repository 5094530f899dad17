#include "ZorvSpeakers.h"

#include <array>
#include <cmath>

#include "ZorvUserAngles.h"

namespace Zorv {

using nolardsp::CartesianVector;
using nolardsp::SphericalVector;

namespace {
template <std::size_t N>
std::array<CartesianVector, N> ring(std::array<float, N> const& userAzimuths) {
  std::array<CartesianVector, N> points;
  for (std::size_t i = 0; i < N; ++i) {
    points[i] = SphericalVector(UserAzimuthToInternal(userAzimuths[i]), 1.f, 0.f);
  }
  return points;
}
}  // namespace

CartesianVector const* Speakers::mono() {
  static auto const points = ring<1>({0.f});
  return points.data();
}

CartesianVector const* Speakers::stereo() {
  static auto const points = ring<2>({-30.f, 30.f});
  return points.data();
}

CartesianVector const* Speakers::lrs() {
  static auto const points = ring<3>({-30.f, 30.f, 180.f});
  return points.data();
}

CartesianVector const* Speakers::lcrs() {
  static auto const points = ring<4>({-30.f, 0.f, 30.f, 180.f});
  return points.data();
}

CartesianVector const* Speakers::quadri() {
  static auto const points = ring<4>({-45.f, 45.f, 135.f, -135.f});
  return points.data();
}

CartesianVector const* Speakers::fiveDotOne() {
  static auto const points = ring<5>({-30.f, 0.f, 30.f, 110.f, -110.f});
  return points.data();
}

CartesianVector const* Speakers::hexa() {
  static auto const points = ring<6>({-45.f, 45.f, 90.f, 135.f, -135.f, -90.f});
  return points.data();
}

CartesianVector const* Speakers::sevenDotOne() {
  static auto const points = ring<7>({-30.f, 0.f, 30.f, 90.f, 150.f, -150.f, -90.f});
  return points.data();
}

CartesianVector const* Speakers::octo() {
  static auto const points = ring<8>({-45.f, 0.f, 45.f, 90.f, 135.f, 180.f, -135.f, -90.f});
  return points.data();
}

CartesianVector const* Speakers::cube() {
  static std::array<CartesianVector, 8> const points{{{-1.f, 1.f, 1.f},
                                                      {1.f, 1.f, 1.f},
                                                      {1.f, -1.f, 1.f},
                                                      {-1.f, -1.f, 1.f},
                                                      {-1.f, 1.f, -1.f},
                                                      {1.f, 1.f, -1.f},
                                                      {1.f, -1.f, -1.f},
                                                      {-1.f, -1.f, -1.f}}};
  return points.data();
}

CartesianVector const* Speakers::GetDefaultForChannels(unsigned int numChannels) {
  switch (numChannels) {
    case 1:
      return mono();
    case 2:
      return stereo();
    case 3:
      return lrs();
    case 4:
      return quadri();
    case 5:
      return fiveDotOne();
    case 6:
      return hexa();
    case 7:
      return sevenDotOne();
    case 8:
      return octo();
    default:
      return nullptr;
  }
}

void Speakers::GetRegularlySpaced(float* positions, unsigned int n) {
  for (unsigned int i = 0; i < n; ++i) {
    float const userAzimuth = static_cast<float>(i) * 360.f / static_cast<float>(n);
    float const x = WrapDegrees360(270.f - userAzimuth);
    float const a = WrapRadians((x - 180.f) * 0.017453292f);
    positions[3 * i + 0] = std::cos(a);
    positions[3 * i + 1] = std::sin(a);
    positions[3 * i + 2] = 0.f;
  }
}

}  // namespace Zorv
