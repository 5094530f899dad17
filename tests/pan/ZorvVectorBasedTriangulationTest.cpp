#include "ZorvVectorBasedTriangulation.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include "ZorvPanTestLayouts.h"
#include "ZorvSpeakers.h"
#include "ZorvTestAllocationCounter.h"

namespace {

using nolardsp::CartesianVector;
using Zorv::VectorBasedTriangulation;
using namespace zorvtest;

// Gains of one direction with constant power, as the "vbap" type renders them.
std::vector<float> vbap(VectorBasedTriangulation& t, CartesianVector const& p, float spread = 0.f) {
  std::vector<float> g(t.GetNumSpeakers());
  t.AddGains(p, spread, g.data());
  VectorBasedTriangulation::NormalizePower(g.data(), t.GetNumSpeakers());
  return g;
}

VectorBasedTriangulation layout(std::vector<CartesianVector> const& speakers) {
  VectorBasedTriangulation t(static_cast<unsigned int>(speakers.size()));
  t.SetLoudspeakerPositions(speakers.data());
  return t;
}

// Raw gains of p on every triplet.
std::vector<std::array<float, 3>> tripletGains(VectorBasedTriangulation& t,
                                               CartesianVector const& p) {
  std::vector<std::array<float, 3>> out;
  for (auto const& tr : t.GetTriplets()) {
    std::array<float, 3> g;
    for (int r = 0; r < 3; ++r) {
      g[r] = tr.inverse[3 * r] * p.x + tr.inverse[3 * r + 1] * p.y + tr.inverse[3 * r + 2] * p.z;
    }
    out.push_back(g);
  }
  return out;
}

TEST(VectorBasedTriangulation, CubeTripletsCoverTheSphereWithoutOverlap) {
  auto t = layout(cube());
  EXPECT_EQ(t.GetTriplets().size(), 12u);  // two per face
  std::mt19937 rng(1);
  for (int n = 0; n < 2000; ++n) {
    CartesianVector const p = randomDirection(rng);
    unsigned int holding = 0, strictlyInside = 0;
    for (auto const& g : tripletGains(t, p)) {
      holding += g[0] >= -1e-5f && g[1] >= -1e-5f && g[2] >= -1e-5f;
      strictlyInside += g[0] > 1e-3f && g[1] > 1e-3f && g[2] > 1e-3f;
    }
    EXPECT_GE(holding, 1u);
    EXPECT_LE(strictlyInside, 1u);
  }
  // No speaker lies inside a triplet it does not belong to.
  auto const speakers = cube();
  for (auto const& tr : t.GetTriplets()) {
    for (unsigned int s = 0; s < speakers.size(); ++s) {
      if (s == tr.speakers[0] || s == tr.speakers[1] || s == tr.speakers[2]) continue;
      float m = 1e9f;
      for (int r = 0; r < 3; ++r) {
        m = std::fmin(m, tr.inverse[3 * r] * speakers[s].x + tr.inverse[3 * r + 1] * speakers[s].y +
                             tr.inverse[3 * r + 2] * speakers[s].z);
      }
      EXPECT_LT(m, -0.001f);
    }
  }
}

TEST(VectorBasedTriangulation, OfTwoEqualDiagonalsTheLaterPairSurvives) {
  // The built-in cube: top face 0 1 2 3, bottom face 4 5 6 7. Both diagonals
  // of a face are equally long; the later pair in enumeration goes first in
  // the table of sides and removes the one it crosses.
  std::vector<CartesianVector> s(Zorv::Speakers::cube(), Zorv::Speakers::cube() + 8);
  for (auto& v : s) v = unit(v);
  auto t = layout(s);
  auto has = [&](unsigned int a, unsigned int b) {
    for (auto const& tr : t.GetTriplets()) {
      bool fa = false, fb = false;
      for (unsigned short k : tr.speakers) {
        fa = fa || k == a;
        fb = fb || k == b;
      }
      if (fa && fb) return true;
    }
    return false;
  };
  EXPECT_TRUE(has(1, 3));
  EXPECT_FALSE(has(0, 2));
  EXPECT_TRUE(has(5, 7));
  EXPECT_FALSE(has(4, 6));
}

TEST(VectorBasedTriangulation, ImageDirectionPointsAtTheSourceOnCubeAndDome) {
  struct Case {
    std::vector<CartesianVector> speakers;
    float minElevation;
  };
  std::mt19937 rng(2);
  for (Case const& c : {Case{cube(), -90.f}, Case{dome(), 0.f}}) {
    auto t = layout(c.speakers);
    for (int n = 0; n < 1000; ++n) {
      CartesianVector const p = randomDirection(rng, c.minElevation);
      auto const g = vbap(t, p);
      ASSERT_TRUE(allFinite(g));
      EXPECT_NEAR(power(g), 1.f, 1e-5f);
      for (float v : g) EXPECT_GE(v, -1e-5f);
      EXPECT_LE(countAbove(g, 1e-6f), 3u);
      EXPECT_LT(angleBetween(image(g, c.speakers), p), 1e-3f);
    }
  }
}

TEST(VectorBasedTriangulation, SourceOnASpeakerOrAnArcDrivesOnlyThose) {
  auto const speakers = dome();
  auto t = layout(speakers);
  for (unsigned int k = 0; k < speakers.size(); ++k) {
    auto const g = vbap(t, speakers[k]);
    for (unsigned int j = 0; j < g.size(); ++j) EXPECT_NEAR(g[j], j == k ? 1.f : 0.f, 1e-5f);
  }
  // Neighbours on the horizon: only the two of them, equally.
  for (unsigned int k = 0; k < 8; ++k) {
    unsigned int const next = (k + 1) % 8;
    auto const g = vbap(t, fromDegrees(45.f * k + 22.5f, 0.f));
    for (unsigned int j = 0; j < g.size(); ++j) {
      if (j == k || j == next) {
        EXPECT_NEAR(g[j], std::sqrt(0.5f), 1e-4f);
      } else {
        EXPECT_NEAR(g[j], 0.f, 1e-5f);
      }
    }
  }
}

TEST(VectorBasedTriangulation, GainsGlideAcrossTripletBorders) {
  auto t = layout(cube());
  for (float elevation : {-50.f, -20.f, 0.f, 10.f, 35.26f, 70.f}) {
    auto previous = vbap(t, fromDegrees(0.f, elevation));
    for (float a = 0.25f; a <= 360.f; a += 0.25f) {
      auto const g = vbap(t, fromDegrees(a, elevation));
      for (std::size_t k = 0; k < g.size(); ++k) {
        ASSERT_LT(std::fabs(g[k] - previous[k]), 0.02f) << a << " " << elevation;
      }
      previous = g;
    }
  }
}

TEST(VectorBasedTriangulation, BelowADomeTheSoundStaysAtTheEdge) {
  auto const speakers = dome();
  auto t = layout(speakers);
  std::mt19937 rng(3);
  for (int n = 0; n < 500; ++n) {
    CartesianVector p = randomDirection(rng);
    if (p.z > -0.2f) continue;
    auto const g = vbap(t, p);
    ASSERT_TRUE(allFinite(g));
    EXPECT_NEAR(power(g), 1.f, 1e-5f);
    // Slightly negative raw gains are let through, never a strongly negative one.
    for (float v : g) EXPECT_GE(v, -0.011f);
    // The image stays at the rim: only the negative gains the triplet choice
    // lets through can pull it below.
    CartesianVector const im = image(g, speakers);
    EXPECT_GE(im.z, -0.03f);
  }
}

TEST(VectorBasedTriangulation, PlanarOrDegenerateLayoutsAreSilentOrFinite) {
  std::mt19937 rng(4);
  auto duplicated = cube();
  duplicated.push_back(duplicated[3]);
  auto withCentre = cube();
  withCentre.push_back(CartesianVector(0.f, 0.f, 0.f));
  std::vector<std::vector<CartesianVector>> layouts = {
      ring(8),  // one plane through the origin: no triplet at all
      {{0.f, 1.f, 0.f}, {0.f, 2.f, 0.f}, {0.f, -1.f, 0.f}, {0.f, 3.f, 0.f}},  // one line
      {{1.f, 0.f, 0.f}, {0.f, 1.f, 0.f}, {0.f, 0.f, 1.f}},                    // fewest there can be
      duplicated,
      withCentre,
      {{0.f, 0.f, 0.f}, {0.f, 0.f, 0.f}, {0.f, 0.f, 0.f}, {0.f, 0.f, 0.f}},
  };
  for (std::size_t l = 0; l < layouts.size(); ++l) {
    auto t = layout(layouts[l]);
    if (l < 2) {
      EXPECT_TRUE(t.GetTriplets().empty()) << l;
    }
    for (int n = 0; n < 200; ++n) {
      CartesianVector p = randomDirection(rng);
      float const r = n % 3 == 0 ? 0.f : (n % 3 == 1 ? 1.f : 1000.f);
      p = CartesianVector(r * p.x, r * p.y, r * p.z);
      auto const g = vbap(t, p);
      ASSERT_TRUE(allFinite(g)) << l;
      float const pw = power(g);
      EXPECT_TRUE(pw == 0.f || std::fabs(pw - 1.f) < 1e-5f) << l << " " << pw;
      if (l < 2) {
        EXPECT_EQ(pw, 0.f);
      }
    }
  }
}

TEST(VectorBasedTriangulation, OriginIsSilentAndDistanceDoesNotMatter) {
  auto t = layout(cube());
  EXPECT_EQ(power(vbap(t, CartesianVector(0.f, 0.f, 0.f))), 0.f);
  std::mt19937 rng(5);
  for (int n = 0; n < 200; ++n) {
    CartesianVector const p = randomDirection(rng);
    auto const near = vbap(t, p);
    auto const far = vbap(t, CartesianVector(50.f * p.x, 50.f * p.y, 50.f * p.z));
    for (std::size_t k = 0; k < near.size(); ++k) EXPECT_NEAR(near[k], far[k], 1e-5f);
  }
}

// Layouts and sources that messages can produce: speakers a hair from the
// centre or near 1e34 m, nearly coplanar triplets, sources a hair from the
// centre. Gains at constant power stay finite and at most 1, or fall silent.
TEST(VectorBasedTriangulation, ExtremeLayoutsAndTinySourcesKeepGainsAtMostOne) {
  auto far = cube();
  far[2] = CartesianVector(1e34f * far[2].x, 1e34f * far[2].y, 1e34f * far[2].z);
  far[5] = CartesianVector(1e-15f * far[5].x, 1e-15f * far[5].y, 1e-15f * far[5].z);
  std::vector<std::vector<CartesianVector>> layouts = {
      cube(),
      far,
      {{-1.f, 0.f, 0.f},
       {9.f, 0.f, 0.f},
       {0.f, 0.f, 1.5e-15f},
       {0.f, 8.f, 1.5e-9f},
       {0.f, 10.f, 0.f},
       {0.f, -1.f, 0.f},
       {6.2e-7f, -8.2f, -83.4f},
       {-1.f, 8.7e-8f, 0.f}},
  };
  std::mt19937 rng(9);
  for (std::size_t l = 0; l < layouts.size(); ++l) {
    auto t = layout(layouts[l]);
    for (int n = 0; n < 300; ++n) {
      CartesianVector const d = randomDirection(rng);
      for (float r : {1e-30f, 1.5e-21f, 1.f, 1e34f}) {
        CartesianVector const p(r * d.x, r * d.y, r * d.z);
        auto const g = vbap(t, p, n % 2 ? 55.f : 0.f);
        ASSERT_TRUE(allFinite(g)) << l << " " << r;
        for (float v : g) ASSERT_LE(std::fabs(v), 1.f + 1e-6f) << l << " " << r;
        float const pw = power(g);
        EXPECT_TRUE(pw == 0.f || std::fabs(pw - 1.f) < 1e-5f) << l << " " << r << " " << pw;
      }
    }
  }
  // On a sensible layout, distance does not matter down to a hair from the centre.
  auto t = layout(cube());
  CartesianVector const p = fromDegrees(10.f, 20.f);
  auto const unit = vbap(t, p);
  auto const tiny = vbap(t, CartesianVector(1e-30f * p.x, 1e-30f * p.y, 1e-30f * p.z));
  for (std::size_t k = 0; k < unit.size(); ++k) EXPECT_NEAR(unit[k], tiny[k], 1e-5f);
}

// The intensity rule has no bound of 1: a raw gain g alone becomes
// sqrt(g / (g * g + 1e-20)), largest at g = 1e-10 where it is 1 / sqrt(2e-10).
// Whatever the raw gains, tiny, huge or not numbers, the result is finite and
// never above that.
TEST(VectorBasedTriangulation, IntensityRuleIsFiniteAndAtMostItsOwnLargestGain) {
  float const largest = 1.f / std::sqrt(2e-10f);
  std::vector<float> peak = {1e-10f, 0.f, 0.f};
  VectorBasedTriangulation::NormalizeIntensity(peak.data(), 3);
  EXPECT_NEAR(peak[0], largest, 1e-3f * largest);
  float const inf = std::numeric_limits<float>::infinity();
  float const nan = std::numeric_limits<float>::quiet_NaN();
  std::vector<std::vector<float>> rows = {{1e-30f, 1e-25f, 1e-21f}, {1e-10f, 2e-10f, 0.f},
                                          {3e38f, 3e38f, 1.f},      {inf, 1.f, 0.5f},
                                          {nan, 1.f, -0.005f},      {1e-19f, -0.005f, 1e-12f}};
  for (auto row : rows) {
    VectorBasedTriangulation::NormalizeIntensity(row.data(), 3);
    ASSERT_TRUE(allFinite(row));
    for (float v : row) EXPECT_LE(v, largest * 1.0001f);
  }
}

TEST(VectorBasedTriangulation, SpreadWidensTheImageAndKeepsPower) {
  auto const speakers = dome();
  auto t = layout(speakers);
  CartesianVector const p = fromDegrees(10.f, 20.f);
  auto const point = vbap(t, p, 0.f);
  auto const tiny = vbap(t, p, 0.0001f);
  for (std::size_t k = 0; k < point.size(); ++k) EXPECT_NEAR(point[k], tiny[k], 1e-5f);
  auto const wide = vbap(t, p, 60.f);
  EXPECT_NEAR(power(wide), 1.f, 1e-5f);
  EXPECT_GT(countAbove(wide, 1e-3f), countAbove(point, 1e-3f));
  EXPECT_LT(angleBetween(image(wide, speakers), p), 0.35f);
}

TEST(VectorBasedTriangulation, IntensityRuleAndTheSmallNegativeGain) {
  // The rule: each gain becomes sqrt(g / sum of squares).
  std::vector<float> g = {0.5f, 0.25f, 0.f, -0.005f};
  float const s = 0.5f * 0.5f + 0.25f * 0.25f + 0.005f * 0.005f + 1e-20f;
  VectorBasedTriangulation::NormalizeIntensity(g.data(), 4);
  EXPECT_FLOAT_EQ(g[0], std::sqrt(0.5f / s));
  EXPECT_FLOAT_EQ(g[1], std::sqrt(0.25f / s));
  EXPECT_EQ(g[2], 0.f);
  EXPECT_EQ(g[3], 0.f);  // would be the square root of a negative number

  // Through the layout: below a dome raw gains between -0.01 and 0 survive the
  // triplet choice; none of them may come out as NaN.
  auto t = layout(dome());
  std::mt19937 rng(6);
  for (int n = 0; n < 2000; ++n) {
    CartesianVector const p = randomDirection(rng);
    std::vector<float> raw(t.GetNumSpeakers());
    t.AddGains(p, n % 2 ? 0.f : 25.f, raw.data());
    std::vector<float> out = raw;
    VectorBasedTriangulation::NormalizeIntensity(out.data(), t.GetNumSpeakers());
    ASSERT_TRUE(allFinite(out));
    float sum = 0.f, squares = 1e-20f;
    for (float v : raw) {
      squares += v * v;
      if (v > 0.f) sum += v;
    }
    EXPECT_NEAR(power(out), sum / squares, 1e-4f * sum / squares);
  }
}

TEST(VectorBasedTriangulation, RenderingAllocatesNothingOnceTriangulated) {
  auto t = layout(dome());
  std::vector<float> g(t.GetNumSpeakers());
  zorvtest::AllocationCounter counter;
  for (int n = 0; n < 100; ++n) {
    t.AddGains(fromDegrees(3.f * n, 20.f), n % 2 ? 30.f : 0.f, g.data());
    VectorBasedTriangulation::NormalizePower(g.data(), t.GetNumSpeakers());
  }
  EXPECT_EQ(counter.Count(), 0u);
}

TEST(VectorBasedTriangulation, DefaultLayoutTriangulatesOnFirstUse) {
  VectorBasedTriangulation t(8);
  auto const g = vbap(t, fromDegrees(90.f, 0.f));
  EXPECT_TRUE(allFinite(g));
  EXPECT_NEAR(power(g), 1.f, 1e-5f);
  EXPECT_FALSE(t.GetTriplets().empty());
}

}  // namespace
