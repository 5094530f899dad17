#include "ZorvDbapPanning.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <vector>

#include "NolarGeometry.h"
#include "ZorvDbapPanning2D.h"
#include "ZorvDbapPanning3D.h"
#include "ZorvNullPanning.h"
#include "ZorvPanTestLayouts.h"
#include "ZorvVDbapPanning.h"
#include "ZorvVbapPanning.h"

namespace {

using nolardsp::CartesianVector;
using Zorv::DbapPanning;
using Zorv::DbapPanning2D;
using Zorv::DbapPanning3D;
using Zorv::Pan;
using namespace zorvtest;

template <class T>
std::unique_ptr<T> make(unsigned int n, unsigned int m, std::vector<CartesianVector> const& s) {
  auto p = std::unique_ptr<T>(new T(n, m));
  p->SetLoudspeakerPositions(s.data());
  return p;
}

template <class T>
std::vector<float> gainsAt(T& pan, CartesianVector const& p, unsigned int source = 0) {
  pan.SetSourcePosition(source, p, false);
  unsigned int const m = pan.GetNumOutputs();
  float const* row = pan.GetNextGains() + m * source;
  return std::vector<float>(row, row + m);
}

std::vector<CartesianVector> square() {
  return {{-1.f, -1.f, 0.f}, {1.f, -1.f, 0.f}, {1.f, 1.f, 0.f}, {-1.f, 1.f, 0.f}};
}

TEST(DbapPanning, DefaultRingStartsInFrontAndGoesClockwise) {
  DbapPanning3D pan(1, 4);
  auto const front = gainsAt(pan, {0.f, 1.f, 0.f});
  EXPECT_NEAR(front[0], 1.f, 1e-6f);
  auto const right = gainsAt(pan, {1.f, 0.f, 0.f});
  EXPECT_NEAR(right[1], 1.f, 1e-6f);
}

TEST(DbapPanning, SpreadIsClampedAndAppliesPerSourceOrToAll) {
  auto pan = make<DbapPanning3D>(2, 4, square());
  CartesianVector const p(0.5f, 0.2f, 0.f);
  auto const plain = gainsAt(*pan, p);
  pan->SetOmniSpreadFactor(0, -5.f);
  auto const negative = gainsAt(*pan, p);
  for (std::size_t k = 0; k < 4; ++k) EXPECT_EQ(negative[k], plain[k]);
  pan->SetOmniSpreadFactor(0, 250.f);
  for (float g : gainsAt(*pan, p)) EXPECT_NEAR(g, 0.5f, 1e-6f);
  for (float g : gainsAt(*pan, p, 1)) EXPECT_NE(g, 0.5f);  // source 1 untouched
  pan->SetOmniSpreadFactor(100.f);                         // every source
  for (float g : gainsAt(*pan, p, 1)) EXPECT_NEAR(g, 0.5f, 1e-6f);
  pan->SetOmniSpreadFactor(std::nanf(""));
  for (std::size_t k = 0; k < 4; ++k) EXPECT_EQ(gainsAt(*pan, p, 1)[k], plain[k]);
}

TEST(DbapPanning, DirectionalModeSpreadsPerAxis) {
  auto pan = make<DbapPanning3D>(1, 4, square());
  pan->SetSpreadMode("xyz");
  EXPECT_EQ(pan->GetCurrentSpreadMode(), Pan::Directional);
  float xOnly[3] = {100.f, 0.f, 0.f};
  pan->SetDirectionalSpreadFactor(xOnly);
  auto const a = gainsAt(*pan, {-0.8f, 0.3f, 0.f});
  auto const b = gainsAt(*pan, {0.9f, 0.3f, 0.f});
  for (std::size_t k = 0; k < 4; ++k) EXPECT_FLOAT_EQ(a[k], b[k]);
  // Directional distances include height even in the plane version.
  auto flat = make<DbapPanning2D>(1, 4, square());
  flat->SetSpreadMode(Pan::Directional);
  auto const low = gainsAt(*flat, {0.3f, 0.2f, 0.f});
  auto const high = gainsAt(*flat, {0.3f, 0.2f, 5.f});
  EXPECT_GT(std::fabs(low[2] - high[2]), 0.01f);
  flat->SetSpreadMode("omni");
  auto const lowOmni = gainsAt(*flat, {0.3f, 0.2f, 0.f});
  auto const highOmni = gainsAt(*flat, {0.3f, 0.2f, 5.f});
  for (std::size_t k = 0; k < 4; ++k) EXPECT_FLOAT_EQ(lowOmni[k], highOmni[k]);
}

TEST(DbapPanning2D, OutsideTheHullAttenuatesOrMutes) {
  auto pan = make<DbapPanning2D>(1, 4, square());
  CartesianVector const inside(0.3f, -0.4f, 0.f), onEdge(1.f, 0.2f, 0.f);
  EXPECT_NEAR(power(gainsAt(*pan, inside)), 1.f, 1e-5f);
  EXPECT_NEAR(power(gainsAt(*pan, onEdge)), 1.f, 1e-5f);
  // Ten metres out along x: nearest vertex at distance sqrt(2) from the
  // barycenter, so the gains shrink by (sqrt(2) + 1) / 11.
  float const factor = (std::sqrt(2.f) + 1.f) / 11.f;
  EXPECT_NEAR(power(gainsAt(*pan, {10.f, 0.f, 0.f})), factor * factor, 1e-5f);
  // Farther out, quieter.
  float previous = 2.f;
  for (float x = 1.1f; x < 40.f; x += 0.5f) {
    float const pw = power(gainsAt(*pan, {x, 0.3f, 0.f}));
    EXPECT_LT(pw, previous);
    previous = pw;
  }
  pan->MuteSourceOutsideSpeakersHull(true);
  EXPECT_NEAR(power(gainsAt(*pan, inside)), 1.f, 1e-5f);
  EXPECT_NEAR(power(gainsAt(*pan, onEdge)), 1.f, 1e-5f);
  EXPECT_EQ(power(gainsAt(*pan, {1.001f, 0.2f, 0.f})), 0.f);
}

TEST(DbapPanning2D, OneOrTwoSpeakers) {
  // One speaker: the hull holds everything, the source is never outside.
  auto one = make<DbapPanning2D>(1, 1, {{0.f, 1.f, 0.f}});
  one->MuteSourceOutsideSpeakersHull(true);
  EXPECT_NEAR(gainsAt(*one, {30.f, -4.f, 1.f})[0], 1.f, 1e-6f);
  // Two speakers: only their line is inside.
  auto two = make<DbapPanning2D>(1, 2, {{-1.f, 0.f, 0.f}, {1.f, 0.f, 0.f}});
  two->MuteSourceOutsideSpeakersHull(true);
  EXPECT_NEAR(power(gainsAt(*two, {0.4f, 0.f, 0.f})), 1.f, 1e-5f);
  EXPECT_EQ(power(gainsAt(*two, {0.4f, 0.01f, 0.f})), 0.f);
}

TEST(DbapPanning3D, MutingComparesTheSquaredDistanceWithTheRadius) {
  // A ring of radius 2.25 about the origin: muted beyond 1.5 from it.
  std::vector<CartesianVector> s = ring(6);
  for (auto& v : s) v = CartesianVector(2.25f * v.x, 2.25f * v.y, 0.f);
  auto pan = make<DbapPanning3D>(1, 6, s);
  EXPECT_NEAR(power(gainsAt(*pan, {1.6f, 0.f, 0.f})), 1.f, 1e-5f);
  pan->MuteSourceOutsideSpeakersHull(true);
  EXPECT_EQ(power(gainsAt(*pan, {1.6f, 0.f, 0.f})), 0.f);
  EXPECT_NEAR(power(gainsAt(*pan, {1.4f, 0.f, 0.f})), 1.f, 1e-5f);
  // One speaker: gain 1 anywhere.
  auto one = make<DbapPanning3D>(1, 1, {{2.f, 0.f, 1.f}});
  EXPECT_NEAR(gainsAt(*one, {-7.f, 3.f, 0.f})[0], 1.f, 1e-6f);
}

class VDbapPanningTest : public ::testing::Test {
 protected:
  std::vector<CartesianVector> speakers = dome();
  unsigned int m = static_cast<unsigned int>(speakers.size());
  CartesianVector barycenter;
  float radius = 0.f;
  std::unique_ptr<Zorv::VDbapPanning> vdbap = make<Zorv::VDbapPanning>(1, m, speakers);
  std::unique_ptr<DbapPanning3D> dbap = make<DbapPanning3D>(1, m, speakers);
  std::unique_ptr<Zorv::VbapPanning> vbap = make<Zorv::VbapPanning>(1, m, speakers);

  void SetUp() override {
    nolardsp::ComputeBarycenter(speakers, barycenter);
    radius = nolardsp::GetRadiusOfTheLargestSphereEncompassing(speakers, barycenter);
  }
  CartesianVector at(float distance, CartesianVector const& direction) const {
    return CartesianVector(barycenter.x + distance * direction.x,
                           barycenter.y + distance * direction.y,
                           barycenter.z + distance * direction.z);
  }
};

TEST_F(VDbapPanningTest, BlendsFromDistanceBasedInsideToVectorBasedOutside) {
  CartesianVector const dir = unit(CartesianVector(0.3f, 0.8f, 0.2f));
  for (float f : {0.f, 0.3f, 0.69f, 0.7f, 1.f, 1.3f, 1.31f, 3.f}) {
    CartesianVector const p = at(f * radius, dir);
    auto const mixed = gainsAt(*vdbap, p);
    auto const d = gainsAt(*dbap, p);
    auto const v = gainsAt(*vbap, p);
    float const w = f <= 0.7f ? 0.f : (f >= 1.3f ? 1.f : (f - 0.7f) / 0.6f);
    for (unsigned int k = 0; k < m; ++k) {
      EXPECT_NEAR(mixed[k], w * v[k] + (1.f - w) * d[k], 1e-5f) << f << " " << k;
    }
  }
}

TEST_F(VDbapPanningTest, GlidesAcrossTheBlendAndIgnoresSpread) {
  CartesianVector const dir = unit(CartesianVector(-0.5f, 0.4f, 0.3f));
  auto previous = gainsAt(*vdbap, at(0.f, dir));
  for (float f = 0.005f; f < 2.f; f += 0.005f) {
    auto const g = gainsAt(*vdbap, at(f * radius, dir));
    for (unsigned int k = 0; k < m; ++k) ASSERT_LT(std::fabs(g[k] - previous[k]), 0.05f) << f;
    previous = g;
  }
  CartesianVector const p = at(0.2f, dir);
  auto const before = gainsAt(*vdbap, p);
  vdbap->SetOmniSpreadFactor(100.f);
  vdbap->SetOmniSpreadFactor(0, 100.f);
  auto const after = gainsAt(*vdbap, p);
  for (unsigned int k = 0; k < m; ++k) EXPECT_EQ(before[k], after[k]);
}

TEST(VDbapPanning, AllSpeakersAtOnePointStayFinite) {
  std::vector<CartesianVector> s(4, CartesianVector(0.f, 1.f, 0.f));
  auto pan = make<Zorv::VDbapPanning>(1, 4, s);
  for (auto const& p : {CartesianVector(0.f, 1.f, 0.f), CartesianVector(0.f, 2.f, 0.f),
                        CartesianVector(0.f, 0.f, 0.f)}) {
    EXPECT_TRUE(allFinite(gainsAt(*pan, p)));
  }
  std::unique_ptr<Pan> two(Zorv::VDbapPanning::Create(1, 2));
  EXPECT_NE(dynamic_cast<Zorv::NullPanning*>(two.get()), nullptr);
}

}  // namespace
