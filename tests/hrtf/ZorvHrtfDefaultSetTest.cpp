#include <gtest/gtest.h>
#include <mysofa.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <random>
#include <vector>

#include "ZorvHrtf.h"
#include "ZorvHrtf2bKemar44100.h"
#include "ZorvHrtfInfoBinauralBiquadFullSphere.h"

namespace {

using Zorv::Hrtf;
using Zorv::HrtfPoint;

constexpr char const* kKemarSofa = "/usr/share/libmysofa/MIT_KEMAR_normal_pinna.sofa";

// Mirror of point k on its ring: (n - j) mod n.
std::size_t mirrorOf(std::size_t k) {
  Zorv::HrtfInfoBinauralBiquadFullSphere const info;
  for (uint32_t ring = 0; ring < info.numElevations; ++ring) {
    std::size_t const off = std::size_t(info.ringOffsets[ring]);
    std::size_t const n = std::size_t(info.azimuthCounts[ring]);
    if (k < off + n) return off + (n - (k - off)) % n;
  }
  return k;
}

TEST(HrtfDefaultSet, HeaderAndTellingPoints) {
  Hrtf const hrtf("");
  auto const* h = hrtf.GetHrtfHeaderInfos();
  EXPECT_EQ(hrtf.GetNumPoints(), 710u);
  EXPECT_EQ(h->owner, "MIT");
  EXPECT_EQ(h->subject, "KEMAR");
  EXPECT_EQ(h->numCoefficients, 25u);
  EXPECT_EQ(h->numChannels, 2u);
  EXPECT_EQ(h->sampleRate, 44100u);
  EXPECT_EQ(h->filterType, Zorv::BiquadCells);

  auto const& pts = hrtf.GetPoints();
  EXPECT_NEAR(pts[709].position.z, 1.f, 1e-6f);
  EXPECT_NEAR(pts[709].position.x, 0.f, 1e-6f);
  // The front: its own mirror, so no ITD and equal ears.
  HrtfPoint const& front = pts[260];
  EXPECT_NEAR(front.position.y, 1.f, 1e-6f);
  EXPECT_EQ(front.itd, 0.f);
  EXPECT_TRUE(std::equal(front.coefficients.begin(), front.coefficients.begin() + 25,
                         front.coefficients.begin() + 25));
  // Ring 4, j = 18: 90 degrees to the left, the left ear the near one.
  HrtfPoint const& left = pts[278];
  EXPECT_NEAR(left.position.x, -1.f, 1e-6f);
  EXPECT_NEAR(left.position.y, 0.f, 1e-6f);
  EXPECT_EQ(left.itd, Zorv::hrtf_2b_KEMAR_44100[278][0] - Zorv::hrtf_2b_KEMAR_44100[314][0]);
  EXPECT_LT(left.itd, -0.6f);
  EXPECT_EQ(left.coefficients[0], Zorv::hrtf_2b_KEMAR_44100[278][1]);
  EXPECT_EQ(left.coefficients[25], Zorv::hrtf_2b_KEMAR_44100[314][1]);
  for (std::size_t k = 0; k < pts.size(); ++k) EXPECT_EQ(pts[k].index, k);
}

TEST(HrtfDefaultSet, KemarAndAnyOtherNameMeanTheBuiltInSet) {
  Hrtf const reference("");
  for (char const* path : {"kemar", "KEMAR", "whatever.txt"}) {
    Hrtf const other(path);
    ASSERT_EQ(other.GetNumPoints(), reference.GetNumPoints()) << path;
    EXPECT_EQ(other.GetPoints()[400].coefficients, reference.GetPoints()[400].coefficients);
  }
}

// At 48000 Hz the set comes from its own table, on the same grid; every other
// rate gets the 44100 one. The header says which.
TEST(HrtfDefaultSet, FortyEightKilohertzHasItsOwnTable) {
  Hrtf const at44("", 44100);
  Hrtf const at48("", 48000);
  Hrtf const at96("kemar", 96000);
  EXPECT_EQ(at48.GetHrtfHeaderInfos()->sampleRate, 48000u);
  EXPECT_EQ(at96.GetHrtfHeaderInfos()->sampleRate, 44100u);
  EXPECT_EQ(at96.GetPoints()[100].coefficients, at44.GetPoints()[100].coefficients);
  ASSERT_EQ(at48.GetNumPoints(), 710u);
  EXPECT_NE(at48.GetPoints()[100].coefficients, at44.GetPoints()[100].coefficients);
  for (std::size_t k = 0; k < 710; ++k) {
    EXPECT_EQ(at48.GetPoints()[k].position.x, at44.GetPoints()[k].position.x);
    // The delays are estimated from the same measurements at either rate.
    EXPECT_NEAR(at48.GetPoints()[k].itd, at44.GetPoints()[k].itd, 0.02f) << k;
  }
}

// The right ear of point j is the left ear of its mirror, bit for bit, and
// the ITD of a point is minus its mirror's; a source on the left leads at the
// left ear.
TEST(HrtfDefaultSet, MirrorRuleAndItdSign) {
  Hrtf const hrtf("");
  auto const& pts = hrtf.GetPoints();
  for (std::size_t k = 0; k < pts.size(); ++k) {
    HrtfPoint const& p = pts[k];
    HrtfPoint const& m = pts[mirrorOf(k)];
    ASSERT_EQ(p.coefficients.size(), 50u);
    EXPECT_EQ(std::memcmp(p.coefficients.data() + 25, m.coefficients.data(), 25 * sizeof(float)), 0)
        << "point " << k;
    EXPECT_EQ(p.itd, -m.itd) << "point " << k;
    EXPECT_NEAR(p.position.x, -m.position.x, 1e-6f);
    if (p.position.x < -0.2f) {
      EXPECT_LT(p.itd, 0.f) << "point " << k;
    } else if (p.position.x > 0.2f) {
      EXPECT_GT(p.itd, 0.f) << "point " << k;
    }
  }
}

// 10^5 sources anywhere from the origin to 10 m: the set's answer lies at the
// smallest distance a double-precision scan finds. The origin, equally far
// from every point, gets the same point each time.
TEST(HrtfDefaultSet, NearestPointAgreesWithABruteForceScan) {
  Hrtf const hrtf("");
  auto const& pts = hrtf.GetPoints();
  std::mt19937 rng(2024);
  std::normal_distribution<float> n(0.f, 1.f);
  std::uniform_real_distribution<float> r(0.f, 10.f);
  auto dist = [](nolardsp::CartesianVector const& a, nolardsp::CartesianVector const& b) {
    double const dx = double(a.x) - b.x, dy = double(a.y) - b.y, dz = double(a.z) - b.z;
    return std::sqrt(dx * dx + dy * dy + dz * dz);
  };
  for (int k = 0; k < 100000; ++k) {
    nolardsp::CartesianVector q(n(rng), n(rng), n(rng));
    float const s = (k % 10 == 0 ? 1.f : r(rng)) / std::sqrt(q.x * q.x + q.y * q.y + q.z * q.z);
    q = nolardsp::CartesianVector(q.x * s, q.y * s, q.z * s);
    if (k % 1000 == 0) q = pts[std::size_t(k / 1000) * 7].position;
    double best = std::numeric_limits<double>::infinity();
    for (auto const& p : pts) best = std::min(best, dist(p.position, q));
    ASSERT_NEAR(dist(hrtf.GetNearestHrtfPoint(q).position, q), best, 1e-6 * (1.0 + best)) << k;
  }
  uint32_t const atOrigin = hrtf.GetNearestHrtfPoint({0.f, 0.f, 0.f}).index;
  EXPECT_LT(atOrigin, 710u);
  EXPECT_EQ(hrtf.GetNearestHrtfPoint({0.f, 0.f, 0.f}).index, atOrigin);
}

// Every point lies on the unit sphere in the direction of the measurement it
// was fitted to (SOFA: x front, y left, z up; ours: x right, y front, z up).
TEST(HrtfDefaultSet, PointsLieInTheDirectionsOfTheMeasurements) {
  int err = 0;
  std::unique_ptr<MYSOFA_HRTF, void (*)(MYSOFA_HRTF*)> sofa(mysofa_load(kKemarSofa, &err),
                                                            mysofa_free);
  if (!sofa) GTEST_SKIP() << kKemarSofa << " is missing (Debian package libmysofa1)";
  mysofa_tocartesian(sofa.get());
  ASSERT_EQ(sofa->M, 710u);
  Hrtf const hrtf("");
  auto const& pts = hrtf.GetPoints();
  double worst = 0.0;
  for (std::size_t k = 0; k < 710; ++k) {
    float const* s = sofa->SourcePosition.values + 3 * k;
    double const r = std::sqrt(double(s[0]) * s[0] + double(s[1]) * s[1] + double(s[2]) * s[2]);
    double const expect[3] = {-s[1] / r, s[0] / r, s[2] / r};
    double const got[3] = {pts[k].position.x, pts[k].position.y, pts[k].position.z};
    for (int c = 0; c < 3; ++c) worst = std::max(worst, std::fabs(got[c] - expect[c]));
  }
  EXPECT_LT(worst, 1e-6);
}

}  // namespace
