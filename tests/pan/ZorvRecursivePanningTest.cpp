#include "ZorvRecursivePanning.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "NolarConstants.h"
#include "ZorvNullPanning.h"
#include "ZorvPanTestLayouts.h"
#include "ZorvSpeakers.h"
#include "ZorvTestAllocationCounter.h"

namespace {

using nolardsp::CartesianVector;
using Zorv::Pan;
using Zorv::RecursivePanning;
using namespace zorvtest;

// A point at a user azimuth (degrees, clockwise from the front).
CartesianVector at(float azimuth, float radius = 1.f, float elevation = 0.f) {
  return fromDegrees(90.f - azimuth, elevation, radius);
}

std::vector<float> gainsFor(RecursivePanning& p, CartesianVector const& q) {
  p.SetSourcePosition(0, q, false);
  return std::vector<float>(p.GetNextGains(), p.GetNextGains() + p.GetNumOutputs());
}

std::unique_ptr<RecursivePanning> make(unsigned int numOutputs, unsigned int numInputs = 1) {
  Pan* p = Pan::Factory(numInputs, numOutputs, "panr", "direct");
  auto* recursive = dynamic_cast<RecursivePanning*>(p);
  if (recursive == nullptr) delete p;
  return std::unique_ptr<RecursivePanning>(recursive);
}

// The layout the object gives each count: its default for up to 8, a ring
// from the front, clockwise, for 12.
std::vector<CartesianVector> defaultLayout(unsigned int m) {
  if (CartesianVector const* d = Zorv::Speakers::GetDefaultForChannels(m)) {
    return std::vector<CartesianVector>(d, d + m);
  }
  std::vector<float> xyz(3 * m);
  Zorv::Speakers::GetRegularlySpaced(xyz.data(), m);
  std::vector<CartesianVector> points;
  for (unsigned int j = 0; j < m; ++j)
    points.emplace_back(xyz[3 * j], xyz[3 * j + 1], xyz[3 * j + 2]);
  return points;
}

// A user's irregular ring, clockwise from a front left speaker, with a
// speaker straight behind (where atan2 jumps) and uneven radii.
std::vector<CartesianVector> userLayout(unsigned int m) {
  std::vector<CartesianVector> points;
  for (unsigned int j = 0; j < m; ++j) {
    float const step = 360.f / static_cast<float>(m);
    float const azimuth = -0.5f * step + step * static_cast<float>(j) + (j % 2 == 0 ? 3.f : -4.f);
    points.push_back(at(azimuth, 1.f + 0.3f * static_cast<float>(j % 3)));
  }
  if (m == 12) points[6] = at(180.f, 2.f);
  return points;
}

unsigned int const counts[] = {4, 5, 6, 7, 8, 12};

// The output that sounds alone when the source stands on each corner.
std::vector<unsigned int> cornerOutputs(unsigned int m) {
  switch (m) {
    case 4:
      return {0, 1, 2, 3};
    case 5:
      return {0, 2, 3, 4};
    case 6:
      return {0, 1, 3, 4};
    case 7:
      return {0, 2, 4, 5};
    case 8:
      return {0, 2, 4, 6};
    default:
      return {0, 4, 6, 10};
  }
}

TEST(RecursivePanning, BuiltOnlyForItsCounts) {
  for (unsigned int m : counts) EXPECT_NE(make(m), nullptr) << m;
  for (unsigned int m : {0u, 1u, 2u, 3u, 9u, 10u, 11u, 13u, 16u}) {
    std::unique_ptr<Pan> p(Pan::Factory(2, m, "panr", "direct"));
    EXPECT_NE(dynamic_cast<Zorv::NullPanning*>(p.get()), nullptr) << m;
  }
}

TEST(RecursivePanning, PowerIsOneAnywhereOnEveryLayout) {
  std::mt19937 rng(23);
  std::uniform_real_distribution<float> u(-4.f, 4.f);
  for (unsigned int m : counts) {
    for (bool user : {false, true}) {
      auto p = make(m);
      auto const layout = user ? userLayout(m) : defaultLayout(m);
      p->SetLoudspeakerPositions(layout.data());
      std::vector<CartesianVector> sources = {{0.f, 0.f, 0.f},    {0.f, 0.f, 3.f},
                                              {0.f, 0.f, -1e-7f}, {1e30f, -2e30f, 1e29f},
                                              {1e-30f, 0.f, 0.f}, at(180.f, 0.5f)};
      for (int n = 0; n < 500; ++n) sources.emplace_back(u(rng), u(rng), 0.5f * u(rng));
      for (auto const& q : sources) {
        auto const g = gainsFor(*p, q);
        EXPECT_NEAR(power(g), 1.f, 1e-5f)
            << m << (user ? " user" : "") << " at " << q.x << " " << q.y << " " << q.z;
        for (float v : g) EXPECT_GE(v, 0.f);
      }
    }
  }
}

TEST(RecursivePanning, SourceOnACornerSoundsOnlyOnThatCornersOutput) {
  for (unsigned int m : counts) {
    for (bool user : {false, true}) {
      auto p = make(m);
      if (user) {
        auto const layout = userLayout(m);
        p->SetLoudspeakerPositions(layout.data());
      }
      std::vector<unsigned int> const outputs = cornerOutputs(m);
      for (unsigned int k = 0; k < 4; ++k) {
        for (float radius : {1.f, 7.f}) {
          auto const g = gainsFor(*p, at(p->GetCorners()[k], radius));
          for (unsigned int j = 0; j < m; ++j) {
            EXPECT_NEAR(g[j], j == outputs[k] ? 1.f : 0.f, 2e-3f)
                << m << (user ? " user" : "") << " corner " << k << " output " << j;
          }
        }
      }
    }
  }
}

TEST(RecursivePanning, CentreOfFourSpeakersIsEqualOnAll) {
  auto p = make(4);
  for (float v : gainsFor(*p, CartesianVector(0.f, 0.f, 0.f))) EXPECT_NEAR(v, 0.5f, 1e-6f);
}

// Twelve speakers: each corner lies half way between its two speakers, also
// for the pair on either side of the rear, where the two arctangents jump.
TEST(RecursivePanning, TwelveCornersLieBetweenTheirPairs) {
  auto p = make(12);
  auto const ring12 = defaultLayout(12);
  p->SetLoudspeakerPositions(ring12.data());
  float const expected[4] = {-15.f, 75.f, 165.f, -105.f};
  for (int k = 0; k < 4; ++k) EXPECT_NEAR(p->GetCorners()[k], expected[k], 1e-3f) << k;
  // A pair across the rear: -170 and 170 have their corner at -180.
  auto across = ring12;
  across[8] = at(170.f);
  across[9] = at(-170.f);
  p->SetLoudspeakerPositions(across.data());
  EXPECT_NEAR(std::fabs(p->GetCorners()[3]), 180.f, 1e-3f);
}

// Around the listener at 1 m, clockwise: the loudest output steps through
// every output in order, each one sounding on its turn.
TEST(RecursivePanning, LoudestOutputMovesAroundTheRing) {
  for (unsigned int m : counts) {
    for (bool user : {false, true}) {
      auto p = make(m);
      auto const layout = user ? userLayout(m) : defaultLayout(m);
      p->SetLoudspeakerPositions(layout.data());
      std::vector<unsigned int> visits;
      float const start = p->GetCorners()[0];
      for (int step = 0; step < 720; ++step) {
        auto const g = gainsFor(*p, at(start + 0.5f * static_cast<float>(step)));
        unsigned int loudest = 0;
        for (unsigned int j = 1; j < m; ++j) {
          if (g[j] > g[loudest]) loudest = j;
        }
        if (visits.empty() || visits.back() != loudest) visits.push_back(loudest);
      }
      // The turn ends where it began.
      if (visits.size() > 1 && visits.back() == visits.front()) visits.pop_back();
      std::string const what = std::to_string(m) + (user ? " user" : "");
      ASSERT_EQ(visits.size(), m) << what;
      for (unsigned int j = 0; j < m; ++j) EXPECT_EQ(visits[j], j) << what;
    }
  }
}

TEST(RecursivePanning, NewCornersAreHeardAtTheNextPositionOnly) {
  auto p = make(8, 2);
  p->SetSourcePosition(0, at(10.f), false);
  p->SetSourcePosition(1, at(100.f), false);
  std::vector<float> const before(p->GetNextGains(), p->GetNextGains() + 16);
  float const turned[4] = {-10.f, 80.f, 170.f, -100.f};
  p->SetCorners(turned);
  for (unsigned int k = 0; k < 16; ++k) EXPECT_EQ(p->GetNextGains()[k], before[k]) << k;
  p->SetSourcePosition(0, at(10.f), false);
  bool changed = false;
  for (unsigned int k = 0; k < 8; ++k) changed = changed || p->GetNextGains()[k] != before[k];
  EXPECT_TRUE(changed);
  for (unsigned int k = 8; k < 16; ++k) EXPECT_EQ(p->GetNextGains()[k], before[k]) << k;
}

// Corners are whatever the user types: huge, equal or out of order, they
// must neither hang the mapping nor break the power.
TEST(RecursivePanning, AnyCornersKeepThePower) {
  float const sets[][4] = {{1e30f, -1e30f, 3e38f, 7e20f},
                           {8.6e9f, 8.6e9f, -8.6e9f, 1e12f},
                           {10.f, 10.f, 10.f, 10.f},
                           {135.f, 45.f, -45.f, -135.f}};
  for (unsigned int m : counts) {
    auto p = make(m);
    for (auto const& corners : sets) {
      p->SetCorners(corners);
      for (float azimuth : {0.f, 33.f, 170.f, -91.f}) {
        EXPECT_NEAR(power(gainsFor(*p, at(azimuth, 1.5f))), 1.f, 1e-5f) << m << " " << corners[0];
      }
    }
  }
}

TEST(RecursivePanning, BlocksAllocateNothingWhileSourcesMove) {
  unsigned int const n = 3, m = 12, block = 64;
  auto p = make(m, n);
  p->Configure(48000.f, block, true);
  std::vector<std::vector<float>> in(n, std::vector<float>(block, 0.5f));
  std::vector<std::vector<float>> out(m, std::vector<float>(block));
  std::vector<float*> ins, outs;
  for (auto& c : in) ins.push_back(c.data());
  for (auto& c : out) outs.push_back(c.data());
  AllocationCounter counter;
  for (int b = 0; b < 200; ++b) {
    for (unsigned int i = 0; i < n; ++i) {
      p->SetSourcePosition(i, at(7.f * b + 100.f * i, 0.5f + 0.01f * b), false);
    }
    p->Process(outs.data(), ins.data(), block, nolardsp::allActiveInputs);
  }
  EXPECT_EQ(counter.Count(), 0u);
  for (auto const& c : out) EXPECT_TRUE(allFinite(c));
}

}  // namespace
