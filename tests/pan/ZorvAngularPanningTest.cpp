#include "ZorvAngularPanning.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <random>
#include <vector>

#include "ZorvPanTestLayouts.h"

namespace {

using nolardsp::CartesianVector;
using Zorv::AngularPanning;
using namespace zorvtest;

std::vector<float> gainsFor(AngularPanning& p, CartesianVector const& q) {
  p.SetSourcePosition(0, q, false);
  return std::vector<float>(p.GetNextGains(), p.GetNextGains() + p.GetNumOutputs());
}

// An irregular layout: speakers at user azimuths (clockwise from the front).
std::vector<CartesianVector> irregular() {
  std::vector<CartesianVector> s;
  for (float a : {-30.f, 0.f, 30.f, 110.f, -110.f, 170.f}) s.push_back(fromDegrees(90.f - a, 0.f));
  return s;
}

TEST(AngularPanning, PairHasConstantPowerAndNoThirdSpeakerSounds) {
  for (auto const& layout : {ring(8), irregular(), ring(2), ring(3, 17.f)}) {
    auto const m = static_cast<unsigned int>(layout.size());
    AngularPanning p(1, m);
    p.SetLoudspeakerPositions(layout.data());
    for (int k = 0; k < 720; ++k) {
      float const a = 0.5f * k - 180.f;
      for (float radius : {0.3f, 1.f, 4.f}) {
        auto const g = gainsFor(p, fromDegrees(a, 20.f, radius));
        EXPECT_NEAR(power(g), 1.f, 1e-5f) << m << " speakers at " << a;
        EXPECT_LE(countAbove(g, 0.f), 2u);
        for (float v : g) EXPECT_GE(v, 0.f);
      }
    }
  }
}

TEST(AngularPanning, SourceOnASpeakerDrivesItAlone) {
  for (auto const& layout : {ring(8), irregular(), ring(2)}) {
    auto const m = static_cast<unsigned int>(layout.size());
    AngularPanning p(1, m);
    p.SetLoudspeakerPositions(layout.data());
    for (unsigned int j = 0; j < m; ++j) {
      CartesianVector const& s = layout[j];
      auto const g = gainsFor(p, CartesianVector(2.f * s.x, 2.f * s.y, 0.5f));
      for (unsigned int k = 0; k < m; ++k) EXPECT_NEAR(g[k], k == j ? 1.f : 0.f, 1e-6f) << j;
    }
  }
}

TEST(AngularPanning, TwoSpeakersServeBothArcsWithTheSineLawOfThePlace) {
  // Speakers at atan2 angles 30 and 120 degrees: a short arc of 90 and a long
  // one of 270 degrees.
  std::vector<CartesianVector> const s = {fromDegrees(30.f, 0.f), fromDegrees(120.f, 0.f)};
  AngularPanning p(1, 2);
  p.SetLoudspeakerPositions(s.data());
  float const quarter = 1.5707964f;
  // Short arc: from speaker 0 towards speaker 1.
  auto g = gainsFor(p, fromDegrees(60.f, 0.f));
  EXPECT_NEAR(g[0], std::cos(quarter * 30.f / 90.f), 1e-5f);
  EXPECT_NEAR(g[1], std::sin(quarter * 30.f / 90.f), 1e-5f);
  // Long arc: from speaker 1 round the back towards speaker 0, on either
  // side of the +-180 degree seam.
  for (float a : {150.f, -170.f, -60.f}) {
    float const along = (a < 0.f ? a + 360.f : a) - 120.f;
    g = gainsFor(p, fromDegrees(a, 0.f));
    EXPECT_NEAR(g[1], std::cos(quarter * along / 270.f), 1e-5f) << a;
    EXPECT_NEAR(g[0], std::sin(quarter * along / 270.f), 1e-5f) << a;
  }
}

TEST(AngularPanning, SpeakersOnOneAzimuthAreRenderedByTheLaterOne) {
  auto layout = ring(4);
  layout[3] = CartesianVector(2.f * layout[1].x, 2.f * layout[1].y, 1.f);
  AngularPanning p(1, 4);
  p.SetLoudspeakerPositions(layout.data());
  auto const g = gainsFor(p, layout[1]);
  EXPECT_NEAR(g[3], 1.f, 1e-6f);
  EXPECT_EQ(g[1], 0.f);

  std::vector<CartesianVector> const same(3, CartesianVector(0.f, 1.f, 0.f));
  AngularPanning q(1, 3);
  q.SetLoudspeakerPositions(same.data());
  for (float a : {0.f, 90.f, -135.f}) {
    EXPECT_EQ(gainsFor(q, fromDegrees(a, 0.f)), (std::vector<float>{0.f, 0.f, 1.f})) << a;
  }
}

TEST(AngularPanning, DefaultRingPutsSpeakerZeroInFrontAndGoesClockwise) {
  AngularPanning p(1, 4);
  // Front, right, back, left.
  CartesianVector const where[] = {
      {0.f, 1.f, 0.f}, {1.f, 0.f, 0.f}, {0.f, -1.f, 0.f}, {-1.f, 0.f, 0.f}};
  for (unsigned int j = 0; j < 4; ++j) {
    auto const g = gainsFor(p, where[j]);
    EXPECT_NEAR(g[j], 1.f, 1e-5f) << j;
  }
  AngularPanning mono(1, 1);
  EXPECT_EQ(gainsFor(mono, CartesianVector(-3.f, -2.f, 1.f))[0], 1.f);
}

}  // namespace
