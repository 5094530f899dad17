#include "ZorvSurroundPanning.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <random>
#include <vector>

#include "NolarConstants.h"
#include "ZorvNullPanning.h"
#include "ZorvPanTestLayouts.h"
#include "ZorvSquareMapping.h"
#include "ZorvTestAllocationCounter.h"

namespace {

using nolardsp::CartesianVector;
using Zorv::Pan;
using Zorv::SquareMapping;
using Zorv::SurroundPanning;
using namespace zorvtest;

// A point at a user azimuth (degrees, clockwise from the front).
CartesianVector at(float azimuth, float radius = 1.f, float elevation = 0.f) {
  return fromDegrees(90.f - azimuth, elevation, radius);
}

std::vector<float> gainsFor(SurroundPanning& p, CartesianVector const& q) {
  p.SetSourcePosition(0, q, false);
  return std::vector<float>(p.GetNextGains(), p.GetNextGains() + p.GetNumOutputs());
}

// The gains are square roots of weights: a rounding residue of 1e-8 in a
// weight that should be 0 becomes 1e-4 (-80 dB) in the gain.
void expectGains(std::vector<float> const& g, std::vector<float> const& expected,
                 char const* what) {
  ASSERT_EQ(g.size(), expected.size());
  for (std::size_t k = 0; k < g.size(); ++k) EXPECT_NEAR(g[k], expected[k], 1e-3f) << what << k;
}

TEST(SurroundPanning, OnlyThreeOrFourOutputsAreServedAndSourcesStartInFront) {
  for (unsigned int m : {1u, 2u, 5u, 8u}) {
    std::unique_ptr<Pan> p(Pan::Factory(2, m, "surround", "direct"));
    EXPECT_NE(dynamic_cast<Zorv::NullPanning*>(p.get()), nullptr) << m;
  }
  for (unsigned int m : {3u, 4u}) {
    std::unique_ptr<Pan> p(Pan::Factory(2, m, "surround", "direct"));
    auto* s = dynamic_cast<SurroundPanning*>(p.get());
    ASSERT_NE(s, nullptr) << m;
    EXPECT_EQ(s->GetSourcePositions()[1].y, 1.f);
    // In front, between the front corners: both front speakers (3) or the
    // centre alone (4).
    std::vector<float> const g(s->GetNextGains() + m, s->GetNextGains() + 2 * m);
    if (m == 3) expectGains(g, {0.70711f, 0.70711f, 0.f}, "front of 3 ");
    if (m == 4) expectGains(g, {0.f, 1.f, 0.f, 0.f}, "front of 4 ");
  }
}

TEST(SurroundPanning, PowerIsConstantAroundTheCircleAndInside) {
  for (unsigned int m : {3u, 4u}) {
    SurroundPanning p(1, m);
    for (int k = 0; k < 720; ++k) {
      float const a = 0.5f * k - 180.f;
      for (float radius : {0.f, 0.3f, 1.f, 5.f}) {
        for (float elevation : {0.f, 40.f, -70.f}) {
          auto const g = gainsFor(p, at(a, radius, elevation));
          ASSERT_NEAR(power(g), 1.f, 1e-5f) << m << " at " << a << " r " << radius;
          for (float v : g) ASSERT_GE(v, 0.f);
        }
      }
    }
  }
}

TEST(SurroundPanning, CornersAreServedAloneAndTheRearTakesBothRearCorners) {
  SurroundPanning four(1, 4);
  expectGains(gainsFor(four, at(-30.f)), {1.f, 0.f, 0.f, 0.f}, "left ");
  expectGains(gainsFor(four, at(30.f)), {0.f, 0.f, 1.f, 0.f}, "right ");
  expectGains(gainsFor(four, at(180.f)), {0.f, 0.f, 0.f, 1.f}, "back ");
  SurroundPanning three(1, 3);
  expectGains(gainsFor(three, at(-30.f)), {1.f, 0.f, 0.f}, "left ");
  expectGains(gainsFor(three, at(30.f)), {0.f, 1.f, 0.f}, "right ");
  expectGains(gainsFor(three, at(180.f)), {0.f, 0.f, 1.f}, "back ");
  expectGains(gainsFor(three, at(105.f)), {0.f, 0.70711f, 0.70711f}, "half way to the back ");
}

TEST(SurroundPanning, CentreAndStraightUpAreTheMiddleOfTheSquare) {
  for (auto const& q : {CartesianVector(0.f, 0.f, 0.f), CartesianVector(0.f, 0.f, 2.f)}) {
    SurroundPanning three(1, 3);
    expectGains(gainsFor(three, q), {0.5f, 0.5f, 0.70711f}, "3 ");
    // With four, the equal front pair has gone over into the centre.
    SurroundPanning four(1, 4);
    expectGains(gainsFor(four, q), {0.f, 0.70711f, 0.f, 0.70711f}, "4 ");
  }
}

TEST(SurroundPanning, FrontCornersFollowTheLeftAndRightSpeakers) {
  SurroundPanning four(1, 4);
  std::vector<CartesianVector> const quad = {at(-45.f), at(0.f), at(45.f), at(180.f)};
  four.SetLoudspeakerPositions(quad.data());
  EXPECT_NEAR(four.GetCorners()[0], -45.f, 1e-4f);
  EXPECT_NEAR(four.GetCorners()[1], 45.f, 1e-4f);
  EXPECT_EQ(four.GetCorners()[2], 180.f);
  expectGains(gainsFor(four, at(45.f)), {0.f, 0.f, 1.f, 0.f}, "right ");

  SurroundPanning three(1, 3);
  std::vector<CartesianVector> const lrs = {at(-60.f), at(60.f), at(180.f)};
  three.SetLoudspeakerPositions(lrs.data());
  EXPECT_NEAR(three.GetCorners()[0], -60.f, 1e-4f);
  expectGains(gainsFor(three, at(-60.f)), {1.f, 0.f, 0.f}, "left ");
}

TEST(SquareMapping, CornersLandOnTheSquaresCornersAndWeightsSumToOne) {
  float const corners[] = {-45.f, 45.f, 135.f, -135.f};
  float const expected[4][2] = {{-1.f, 1.f}, {1.f, 1.f}, {1.f, -1.f}, {-1.f, -1.f}};
  for (int i = 0; i < 4; ++i) {
    float x = 0.f, y = 0.f;
    SquareMapping::panc(corners[i], 0.f, 1.f, corners, x, y);
    EXPECT_NEAR(x, expected[i][0], 1e-5f) << i;
    EXPECT_NEAR(y, expected[i][1], 1e-5f) << i;
  }
  std::mt19937 rng(5);
  std::uniform_real_distribution<float> u(-1.5f, 1.5f);
  for (int n = 0; n < 1000; ++n) {
    float four[4], five[5];
    float const x = u(rng), y = u(rng);
    SquareMapping::panr4(x, y, four);
    SquareMapping::panr5(x, y, five);
    float s4 = 0.f, s5 = 0.f;
    for (float v : four) {
      EXPECT_GE(v, 0.f);
      s4 += v;
    }
    for (float v : five) {
      EXPECT_GE(v, 0.f);
      s5 += v;
    }
    EXPECT_NEAR(s4, 1.f, 1e-6f);
    EXPECT_NEAR(s5, 1.f, 1e-6f);
    // The centre only takes what the front pair share.
    EXPECT_TRUE(five[0] == 0.f || five[2] == 0.f);
  }
  // Degenerate corners and inputs stay finite.
  float const same[] = {10.f, 10.f, 10.f, 10.f};
  float x = 0.f, y = 0.f;
  SquareMapping::panc(std::nanf(""), 0.f, 1.f, same, x, y);
  EXPECT_TRUE(std::isfinite(x) && std::isfinite(y));
}

TEST(SurroundPanning, BlocksAllocateNothingWhileSourcesMove) {
  for (unsigned int m : {3u, 4u}) {
    std::unique_ptr<Pan> p(Pan::Factory(2, m, "surround", "direct"));
    p->Configure(48000.f, 64, true);
    std::vector<std::vector<float>> in(2, std::vector<float>(64, 0.5f));
    std::vector<std::vector<float>> out(m, std::vector<float>(64));
    std::vector<float*> ins, outs;
    for (auto& c : in) ins.push_back(c.data());
    for (auto& c : out) outs.push_back(c.data());
    zorvtest::AllocationCounter counter;
    for (int b = 0; b < 100; ++b) {
      p->SetSourcePosition(0, at(9.f * b), false);
      p->SetSourcePosition(1, at(-5.f * b, 0.5f), false);
      p->Process(outs.data(), ins.data(), 64, nolardsp::allActiveInputs);
    }
    EXPECT_EQ(counter.Count(), 0u);
  }
}

}  // namespace
