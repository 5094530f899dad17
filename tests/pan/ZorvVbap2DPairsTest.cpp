#include "ZorvVbap2DPairs.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include "ZorvPanTestLayouts.h"
#include "ZorvSpeakers.h"
#include "ZorvTestAllocationCounter.h"
#include "ZorvUserAngles.h"

namespace {

using nolardsp::CartesianVector;
using Zorv::Vbap2DPairs;
using namespace zorvtest;

// A point at a user azimuth (degrees, 0 in front, clockwise).
CartesianVector user(float azimuth, float radius = 1.f) {
  float const a = Zorv::UserAzimuthToInternal(azimuth);
  return CartesianVector(radius * std::cos(a), radius * std::sin(a), 0.f);
}

std::vector<float> gainsOf(Vbap2DPairs const& pairs, CartesianVector const& p, float spread = 0.f) {
  std::vector<float> g(pairs.GetSpeakers().size());
  pairs.ComputeGains(p, spread, g.data());
  return g;
}

Vbap2DPairs layout(std::vector<CartesianVector> const& speakers) {
  Vbap2DPairs pairs(static_cast<unsigned int>(speakers.size()));
  pairs.SetLoudspeakerPositions(speakers.data());
  return pairs;
}

// The octagon, given out of order so that channels and sorted places differ.
std::vector<CartesianVector> shuffledOcto() {
  std::vector<CartesianVector> s(Zorv::Speakers::octo(), Zorv::Speakers::octo() + 8);
  std::swap(s[0], s[5]);
  std::swap(s[2], s[7]);
  return s;
}

TEST(Vbap2DPairs, ImageDirectionPointsAtTheSourceOnARing) {
  auto const speakers = shuffledOcto();
  auto const pairs = layout(speakers);
  std::mt19937 rng(11);
  std::uniform_real_distribution<float> az(-180.f, 180.f);
  for (int n = 0; n < 2000; ++n) {
    CartesianVector p = user(az(rng), n % 2 ? 1.f : 7.f);
    p.z = n % 3 ? 0.f : 2.f;  // height plays no part
    auto const g = gainsOf(pairs, p);
    ASSERT_TRUE(allFinite(g));
    EXPECT_NEAR(power(g), 1.f, 1e-5f);
    for (float v : g) EXPECT_GE(v, 0.f);
    EXPECT_LE(countAbove(g, 0.f), 2u);
    CartesianVector flat(p.x, p.y, 0.f);
    EXPECT_LT(angleBetween(image(g, speakers), flat), 1e-3f);
  }
}

TEST(Vbap2DPairs, SourceOnASpeakerOrBetweenNeighboursDrivesOnlyThose) {
  auto const speakers = shuffledOcto();
  auto const pairs = layout(speakers);
  for (unsigned int k = 0; k < 8; ++k) {
    auto const g = gainsOf(pairs, speakers[k]);
    for (unsigned int j = 0; j < 8; ++j) EXPECT_NEAR(g[j], j == k ? 1.f : 0.f, 1e-6f);
  }
  // octo: -45, 0, 45, 90, 135, 180, -135, -90 by user azimuth.
  float const azimuths[8] = {-45.f, 0.f, 45.f, 90.f, 135.f, 180.f, -135.f, -90.f};
  for (unsigned int a = 0; a < 8; ++a) {
    auto const g = gainsOf(pairs, user(azimuths[a] + 20.f));
    std::vector<unsigned int> driven;
    for (unsigned int j = 0; j < 8; ++j) {
      if (g[j] > 0.f) driven.push_back(j);
    }
    ASSERT_EQ(driven.size(), 2u);
    for (unsigned int j : driven) {
      float const d =
          std::fabs(Zorv::WrapDegrees360(Zorv::InternalToUserAzimuth(speakers[j].x, speakers[j].y) -
                                         azimuths[a] + 180.f) -
                    180.f);
      EXPECT_TRUE(std::fabs(d) < 1e-3f || std::fabs(d - 45.f) < 1e-3f) << d;
    }
  }
}

TEST(Vbap2DPairs, PairChoiceAtTheBoundaries) {
  // Two speakers: both arcs exist, (0, 1) and the wrap-round (1, 0).
  auto const two = layout({user(-30.f), user(30.f)});
  unsigned int ch[2];
  two.GetActiveSpeakers(user(0.f), ch);
  EXPECT_EQ(ch[0], 0u);
  EXPECT_EQ(ch[1], 1u);
  two.GetActiveSpeakers(user(180.f), ch);
  EXPECT_EQ(ch[0], 1u);
  EXPECT_EQ(ch[1], 0u);

  // A source on a speaker takes the first matching pair: the one ending there.
  auto const quad = layout({user(-45.f), user(45.f), user(135.f), user(-135.f)});
  quad.GetActiveSpeakers(user(45.f), ch);
  EXPECT_EQ(ch[0], 0u);
  EXPECT_EQ(ch[1], 1u);

  // -180 between -170 and 170 falls through to the wrap-round pair.
  auto const back = layout({user(170.f), user(0.f), user(-170.f)});
  back.GetActiveSpeakers(user(-180.f), ch);
  EXPECT_EQ(ch[0], 0u);
  EXPECT_EQ(ch[1], 2u);
}

TEST(Vbap2DPairs, GainsGlideAroundTheRingWithAndWithoutSpread) {
  auto const pairs = layout(shuffledOcto());
  for (float spread : {0.f, 30.f, 200.f}) {
    auto previous = gainsOf(pairs, user(-180.f), spread);
    for (float a = -179.9f; a < 180.f; a += 0.1f) {
      auto const g = gainsOf(pairs, user(a), spread);
      ASSERT_TRUE(allFinite(g));
      EXPECT_NEAR(power(g), 1.f, 1e-5f);
      for (std::size_t k = 0; k < g.size(); ++k) {
        ASSERT_LT(std::fabs(g[k] - previous[k]), 0.01f) << a << " " << spread;
      }
      previous = g;
    }
  }
}

TEST(Vbap2DPairs, SpreadWidensTheImage) {
  auto const speakers = shuffledOcto();
  auto const pairs = layout(speakers);
  CartesianVector const p = user(10.f);
  auto const point = gainsOf(pairs, p);
  auto const tiny = gainsOf(pairs, p, 0.0001f);
  for (std::size_t k = 0; k < point.size(); ++k) EXPECT_NEAR(point[k], tiny[k], 1e-5f);
  auto const wide = gainsOf(pairs, p, 90.f);
  EXPECT_GT(countAbove(wide, 1e-3f), 2u);
  EXPECT_LT(angleBetween(image(wide, speakers), p), 0.05f);
}

TEST(Vbap2DPairs, DegenerateLayoutsGiveFiniteGains) {
  std::vector<std::vector<CartesianVector>> layouts = {
      {user(-90.f), user(90.f)},                   // opposite: the pair spans 180 degrees
      {user(30.f), user(30.f)},                    // coincident
      {user(30.f), user(30.f, 2.f), user(-60.f)},  // same azimuth, different distance
      {CartesianVector(0.f, 0.f, 0.f), user(30.f), user(-90.f)},  // one at the centre
      {CartesianVector(0.f, 0.f, 0.f), CartesianVector(0.f, 0.f, 0.f)},
      {user(0.f), user(0.f), user(0.f), user(0.f)},
  };
  for (std::size_t l = 0; l < layouts.size(); ++l) {
    auto const pairs = layout(layouts[l]);
    for (float a = -180.f; a < 180.f; a += 0.5f) {
      for (float r : {0.f, 1.f, 1e6f}) {
        auto const g = gainsOf(pairs, user(a, r), a > 0.f ? 20.f : 0.f);
        ASSERT_TRUE(allFinite(g)) << l << " " << a;
        float const pw = power(g);
        EXPECT_TRUE(pw == 0.f || std::fabs(pw - 1.f) < 1e-5f) << l << " " << a << " " << pw;
      }
    }
  }
  // Opposite speakers cross-fade across the front: left of centre leans left.
  auto const stereo = layout({user(-90.f), user(90.f)});
  auto const g = gainsOf(stereo, user(-30.f));
  EXPECT_GT(g[0], g[1]);
  auto const c = gainsOf(stereo, user(0.f));
  EXPECT_NEAR(c[0], c[1], 1e-6f);
}

// Layouts and sources that messages can produce: a source a hair from the
// centre (raw gains whose squares vanish in float), nearly parallel pairs and
// speakers near the float range. Gains stay finite, at most 1, and at constant
// power or silent.
TEST(Vbap2DPairs, TinySourcesAndNearlyParallelPairsKeepGainsAtMostOne) {
  std::vector<std::vector<CartesianVector>> layouts = {
      {user(30.f), user(30.f), user(-90.f), user(150.f)},
      {user(30.f), user(30.0001f), user(-90.f), user(150.f)},
      {user(30.f, 1e-15f), user(30.f, 1e34f), user(-90.f), user(150.f, 1e-30f)},
      shuffledOcto(),
  };
  for (std::size_t l = 0; l < layouts.size(); ++l) {
    auto const pairs = layout(layouts[l]);
    for (float a = -180.f; a < 180.f; a += 0.25f) {
      for (float r : {1e-30f, 1.5e-21f, 1.f, 1e34f}) {
        for (float spread : {0.f, 30.f}) {
          auto const g = gainsOf(pairs, user(a, r), spread);
          ASSERT_TRUE(allFinite(g)) << l << " " << a << " " << r;
          for (float v : g) ASSERT_LE(v, 1.f + 1e-6f) << l << " " << a << " " << r;
          float const pw = power(g);
          EXPECT_TRUE(pw == 0.f || std::fabs(pw - 1.f) < 1e-5f) << l << " " << a << " " << r;
        }
      }
    }
  }
  // Distance does not matter, down to a hair from the centre.
  auto const octo = layout(shuffledOcto());
  auto const far = gainsOf(octo, user(20.f));
  auto const near = gainsOf(octo, user(20.f, 1e-30f));
  for (std::size_t k = 0; k < far.size(); ++k) EXPECT_NEAR(far[k], near[k], 1e-6f);
}

TEST(Vbap2DPairs, RenderingAndNewLayoutsAllocateNothing) {
  Vbap2DPairs pairs(8);
  auto const speakers = shuffledOcto();
  std::vector<float> g(8);
  zorvtest::AllocationCounter counter;
  pairs.SetLoudspeakerPositions(speakers.data());
  for (int n = 0; n < 100; ++n) pairs.ComputeGains(user(3.6f * n), n % 2 ? 40.f : 0.f, g.data());
  EXPECT_EQ(counter.Count(), 0u);
}

}  // namespace
