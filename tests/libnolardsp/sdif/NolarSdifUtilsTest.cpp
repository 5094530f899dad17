#include "NolarSdifUtils.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

using nolardsp::CartesianVector;
using nolardsp::SdifUtils;

void expectNear(CartesianVector const& got, float x, float y, float z) {
  EXPECT_NEAR(got.x, x, 1e-6f);
  EXPECT_NEAR(got.y, y, 1e-6f);
  EXPECT_NEAR(got.z, z, 1e-6f);
}

// The user's azimuth: 0 in front, clockwise seen from above.
TEST(SdifUtilsAed, AxesOfTheSystem) {
  expectNear(SdifUtils::AedToCartesian(0.f, 0.f, 1.f, true), 0.f, 1.f, 0.f);
  expectNear(SdifUtils::AedToCartesian(90.f, 0.f, 1.f, true), 1.f, 0.f, 0.f);
  expectNear(SdifUtils::AedToCartesian(-90.f, 0.f, 2.f, true), -2.f, 0.f, 0.f);
  expectNear(SdifUtils::AedToCartesian(180.f, 0.f, 1.f, false), 0.f, -1.f, 0.f);
  expectNear(SdifUtils::AedToCartesian(0.f, 90.f, 1.f, true), 0.f, 0.f, 1.f);
  EXPECT_LT(SdifUtils::AedToCartesian(-30.f, 0.f, 1.f, true).x, 0.f);
  // A negative distance turns the point round.
  expectNear(SdifUtils::AedToCartesian(0.f, 0.f, -1.f, true), 0.f, -1.f, 0.f);
}

TEST(SdifUtilsAed, ElevationsBeyondThePolesFollowTheFormatsReflection) {
  // e = 100: a + 180 and e = 90 - 100 = -10 (not 80).
  CartesianVector const p = SdifUtils::AedToCartesian(0.f, 100.f, 1.f, true);
  CartesianVector const q = SdifUtils::AedToCartesian(180.f, -10.f, 1.f, true);
  expectNear(p, q.x, q.y, q.z);
}

// Every wrap is one fmod: whole turns do not matter, huge angles cost nothing
// more, and non-finite ones give a non-finite point rather than a hang.
TEST(SdifUtilsAed, HugeAndNonFiniteAnglesReturnAtOnce) {
  CartesianVector const a = SdifUtils::AedToCartesian(30.f, 20.f, 1.f, true);
  CartesianVector const b = SdifUtils::AedToCartesian(30.f + 3600.f, 20.f - 720.f, 1.f, true);
  expectNear(b, a.x, a.y, a.z);
  CartesianVector const huge = SdifUtils::AedToCartesian(1e30f, -3e38f, 1.f, true);
  EXPECT_NEAR(std::sqrt(huge.x * huge.x + huge.y * huge.y + huge.z * huge.z), 1.f, 1e-5f);
  float const inf = std::numeric_limits<float>::infinity();
  CartesianVector const p = SdifUtils::AedToCartesian(inf, 0.f, 1.f, true);
  EXPECT_FALSE(std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z));
  CartesianVector const n = SdifUtils::AedToCartesian(0.f, std::nanf(""), 1.f, false);
  EXPECT_FALSE(std::isfinite(n.x) && std::isfinite(n.y) && std::isfinite(n.z));
}

}  // namespace
