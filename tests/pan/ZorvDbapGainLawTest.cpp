#include "ZorvDbapGainLaw.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

#include "NolarGeometry.h"
#include "ZorvPanTestLayouts.h"

namespace {

using nolardsp::CartesianVector;
using Zorv::DbapGainLaw;
using namespace zorvtest;

struct Layout {
  std::vector<CartesianVector> speakers;
  CartesianVector barycenter;
  explicit Layout(std::vector<CartesianVector> s) : speakers(std::move(s)) {
    nolardsp::ComputeBarycenter(speakers, barycenter);
  }
  std::vector<float> omni(CartesianVector const& p, float spread, bool planar) const {
    std::vector<float> g(speakers.size());
    DbapGainLaw::Omni(p, speakers.data(), static_cast<unsigned int>(speakers.size()), barycenter,
                      spread, planar, g.data());
    return g;
  }
  std::vector<float> directional(CartesianVector const& p, CartesianVector const& spread) const {
    std::vector<float> g(speakers.size());
    DbapGainLaw::Directional(p, speakers.data(), static_cast<unsigned int>(speakers.size()), spread,
                             g.data());
    return g;
  }
};

std::vector<Layout> layouts() {
  auto offCentre = ring(5);
  for (auto& s : offCentre) s.x += 3.f;
  return {Layout(ring(8)),
          Layout(cube()),
          Layout(dome()),
          Layout(offCentre),
          Layout({{0.f, 0.f, 0.f}}),
          Layout({{1.f, 0.f, 0.f}, {1.f, 0.f, 0.f}, {0.f, 0.f, 0.f}, {-1.f, 0.f, 0.f}})};
}

TEST(DbapGainLaw, ConstantPowerAndFiniteEverywhere) {
  std::mt19937 rng(21);
  std::uniform_real_distribution<float> u(-1.f, 1.f);
  for (auto const& l : layouts()) {
    std::vector<CartesianVector> sources = {
        {0.f, 0.f, 0.f}, l.speakers[0], {1e4f, -2e4f, 5.f}, {1e25f, 1e25f, 1e25f}};
    for (int n = 0; n < 200; ++n) sources.emplace_back(3.f * u(rng), 3.f * u(rng), u(rng));
    for (auto const& p : sources) {
      for (float spread : {0.f, 0.3f, 1.f}) {
        for (bool planar : {false, true}) {
          auto const g = l.omni(p, spread, planar);
          ASSERT_TRUE(allFinite(g));
          EXPECT_NEAR(power(g), 1.f, 1e-5f);
          for (float v : g) EXPECT_GE(v, 0.f);
        }
        auto const d = l.directional(p, CartesianVector(spread, 0.5f * spread, 1.f - spread));
        ASSERT_TRUE(allFinite(d));
        EXPECT_NEAR(power(d), 1.f, 1e-5f);
      }
    }
  }
}

TEST(DbapGainLaw, ASpeakerUnderTheSourceTakesItAll) {
  Layout const l(dome());
  for (std::size_t k = 0; k < l.speakers.size(); ++k) {
    auto const g = l.omni(l.speakers[k], 0.f, false);
    EXPECT_NEAR(g[k], 1.f, 1e-6f);
    auto const d = l.directional(l.speakers[k], CartesianVector(0.f, 0.f, 0.f));
    EXPECT_NEAR(d[k], 1.f, 1e-6f);
  }
}

TEST(DbapGainLaw, GainFallsAsTheSourceMovesAway) {
  for (auto const& l : {Layout(ring(8)), Layout(cube())}) {
    for (std::size_t k = 0; k < l.speakers.size(); ++k) {
      CartesianVector const from = l.speakers[k];
      CartesianVector const to(-from.x, -from.y, -from.z);  // through the centre
      float previous = 2.f;
      for (int s = 1; s <= 200; ++s) {
        float const t = s / 200.f;
        CartesianVector const p(from.x + t * (to.x - from.x), from.y + t * (to.y - from.y),
                                from.z + t * (to.z - from.z));
        float const g = l.omni(p, 0.f, false)[k];
        EXPECT_LE(g, previous);
        previous = g;
      }
    }
  }
}

TEST(DbapGainLaw, FullSpreadMakesGainsEqualOrRemovesAnAxis) {
  Layout const l(dome());
  float const equal = 1.f / std::sqrt(static_cast<float>(l.speakers.size()));
  for (auto const& p : {CartesianVector(0.3f, 2.f, 0.1f), l.speakers[4]}) {
    for (float g : l.omni(p, 1.f, false)) EXPECT_NEAR(g, equal, 1e-6f);
    for (float g : l.directional(p, CartesianVector(1.f, 1.f, 1.f))) EXPECT_NEAR(g, equal, 1e-6f);
  }
  // With x spread to 100 %, moving along x changes nothing.
  auto const a = l.directional({-2.f, 0.4f, 0.2f}, {1.f, 0.f, 0.f});
  auto const b = l.directional({5.f, 0.4f, 0.2f}, {1.f, 0.f, 0.f});
  for (std::size_t k = 0; k < a.size(); ++k) EXPECT_FLOAT_EQ(a[k], b[k]);
  // The plane law ignores height; the directional law never does.
  auto const low = l.omni({0.2f, 0.1f, -3.f}, 0.f, true);
  auto const high = l.omni({0.2f, 0.1f, 3.f}, 0.f, true);
  for (std::size_t k = 0; k < low.size(); ++k) EXPECT_FLOAT_EQ(low[k], high[k]);
}

TEST(DbapGainLaw, GainsGlideAsTheSourceMoves) {
  Layout const l(dome());
  CartesianVector p(-2.f, -1.5f, 0.f);
  auto previous = l.omni(p, 0.f, false);
  for (int s = 0; s < 4000; ++s) {
    p.x += 0.001f;
    p.y += 0.00075f;
    p.z += 0.0002f;
    auto const g = l.omni(p, 0.1f, false);
    auto const g0 = l.omni(p, 0.f, false);
    for (std::size_t k = 0; k < g.size(); ++k) ASSERT_LT(std::fabs(g0[k] - previous[k]), 0.05f);
    ASSERT_TRUE(allFinite(g));
    previous = g0;
  }
}

TEST(DbapGainLaw, OutsideFactorAndBlendWeights) {
  CartesianVector const b(0.f, 0.f, 0.f), vertex(1.f, 0.f, 0.f);
  EXPECT_FLOAT_EQ(DbapGainLaw::OutsideHullFactor({3.f, 0.f, 0.f}, b, vertex), 0.5f);
  EXPECT_GT(DbapGainLaw::OutsideHullFactor({0.5f, 0.f, 0.f}, b, vertex), 1.f);  // no clamp

  float v = -1.f, d = -1.f;
  EXPECT_EQ(DbapGainLaw::BlendWeights(0.7f * 2.f, 2.f, v, d), 2);
  EXPECT_EQ(v, 0.f);
  EXPECT_EQ(d, 1.f);
  EXPECT_EQ(DbapGainLaw::BlendWeights(1.3f * 2.f, 2.f, v, d), 2);
  EXPECT_FLOAT_EQ(v, 1.f);
  EXPECT_EQ(DbapGainLaw::BlendWeights(2.f, 2.f, v, d), 2);
  EXPECT_FLOAT_EQ(v, 0.5f);
  EXPECT_FLOAT_EQ(d, 0.5f);
  EXPECT_EQ(DbapGainLaw::BlendWeights(0.1f, 2.f, v, d), 3);
  EXPECT_EQ(DbapGainLaw::BlendWeights(9.f, 2.f, v, d), 1);
  // Every speaker at one point: the source beside it is outside, and on it
  // the blend stays finite instead of dividing 0 by 0.
  EXPECT_EQ(DbapGainLaw::BlendWeights(0.5f, 0.f, v, d), 1);
  DbapGainLaw::BlendWeights(0.f, 0.f, v, d);
  EXPECT_TRUE(std::isfinite(v) && std::isfinite(d));
  EXPECT_EQ(v + d, 1.f);
}

// A speaker sent near 1e34 m squares past the float range: the law still gives
// finite constant-power gains, the near speakers keep the source, and the
// nearest hull vertex is still found among points that far out.
TEST(DbapGainLaw, ASpeakerNear1e34MetresKeepsGainsFiniteAtConstantPower) {
  auto speakers = ring(4);
  speakers[2] = CartesianVector(-1.5e34f, 0.f, 0.f);
  Layout const l(speakers);
  for (CartesianVector const& p :
       {CartesianVector(0.2f, 0.1f, 0.f), CartesianVector(-220.f, -1.5e32f, 7.f)}) {
    for (float spread : {0.f, 0.04f, 1.f}) {
      auto const g = l.omni(p, spread, true);
      ASSERT_TRUE(allFinite(g)) << spread;
      EXPECT_NEAR(power(g), 1.f, 1e-5f) << spread;
    }
    auto const d = l.directional(p, CartesianVector(0.3f, 0.f, 0.f));
    ASSERT_TRUE(allFinite(d));
    EXPECT_NEAR(power(d), 1.f, 1e-5f);
  }
  auto const near = l.omni(CartesianVector(0.2f, 0.1f, 0.f), 0.f, true);
  EXPECT_LT(near[2], 1e-20f);
  std::vector<CartesianVector> const vertices = {
      {-1.5e34f, 0.f, 0.f}, {0.f, -1.f, 0.f}, {2.f, 1.f, 0.f}};
  EXPECT_EQ(nolardsp::GetClosestPointIndex(CartesianVector(-220.f, -1.5e32f, 0.f), vertices), 1u);
  float const factor = DbapGainLaw::OutsideHullFactor(CartesianVector(-220.f, -1.5e32f, 7.f),
                                                      l.barycenter, vertices[1]);
  EXPECT_TRUE(std::isfinite(factor));
  EXPECT_LE(factor, 1.f);
}

}  // namespace
