#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "NolarCartesianVector.h"
#include "ZorvDefaultParameters.h"
#include "ZorvSpeakers.h"
#include "ZorvUserAngles.h"

namespace {

using nolardsp::CartesianVector;
using nolardsp::SphericalVector;
using Zorv::InternalToUserAzimuth;
using Zorv::Speakers;
using Zorv::UserAzimuthToInternal;

// The user's azimuth of a point in the internal frame, for the layouts below.
float userAzimuthOf(CartesianVector const& p) {
  return InternalToUserAzimuth(p.x, p.y);
}

TEST(UserAngles, FrontRightBackLeftLandWhereTheUserExpects) {
  // Clockwise from the front: 0 is +y, 90 is +x (right), -90 is -x (left), 180 is -y.
  struct Case {
    float user;
    float x;
    float y;
  } const cases[] = {{0.f, 0.f, 1.f}, {90.f, 1.f, 0.f}, {-90.f, -1.f, 0.f}, {180.f, 0.f, -1.f}};
  for (Case const& c : cases) {
    CartesianVector const p = SphericalVector(UserAzimuthToInternal(c.user), 1.f, 0.f);
    EXPECT_NEAR(p.x, c.x, 1e-6f) << c.user;
    EXPECT_NEAR(p.y, c.y, 1e-6f) << c.user;
  }
}

TEST(UserAngles, RoundTripsAndWrapsIntoHalfOpenRange) {
  for (float user = -180.f; user < 180.f; user += 0.5f) {
    CartesianVector const p = SphericalVector(UserAzimuthToInternal(user), 2.f, 0.f);
    float const back = userAzimuthOf(p);
    EXPECT_GE(back, -180.f);
    EXPECT_LT(back, 180.f);
    float diff = std::fabs(back - user);
    diff = std::fmin(diff, 360.f - diff);
    EXPECT_LT(diff, 1e-3f) << user;
  }
  // 180 and -180 are one point, and it reads back as -180.
  EXPECT_EQ(UserAzimuthToInternal(180.f), UserAzimuthToInternal(-180.f));
  EXPECT_EQ(UserAzimuthToInternal(540.f), UserAzimuthToInternal(180.f));
  EXPECT_EQ(InternalToUserAzimuth(0.f, -1.f), -180.f);
  // Internal azimuths stay in [-pi, pi).
  EXPECT_GE(UserAzimuthToInternal(180.f), -3.1415927f);
  EXPECT_LT(UserAzimuthToInternal(180.f), 3.1415927f);
}

TEST(UserAngles, NonFiniteAndHugeAnglesNeitherHangNorProduceNaN) {
  float const huge[] = {1e30f, -1e30f, INFINITY, -INFINITY, NAN, 3.6e6f};
  for (float a : huge) {
    float const internal = UserAzimuthToInternal(a);
    EXPECT_TRUE(std::isfinite(internal)) << a;
    EXPECT_GE(internal, -3.1415927f);
    EXPECT_LT(internal, 3.1415927f);
  }
  EXPECT_TRUE(std::isfinite(Zorv::WrapRadians(NAN)));
}

TEST(CartesianVector, OriginHasZeroAnglesAndRadius) {
  CartesianVector const origin;
  EXPECT_EQ(origin.elevation(), 0.f);
  EXPECT_EQ(origin.radius(), 0.f);
  SphericalVector s;
  s = origin;
  EXPECT_EQ(s.radius, 0.f);
  EXPECT_EQ(s.elevation, 0.f);
  EXPECT_EQ(s.azimuth, 0.f);
}

TEST(CartesianVector, SphericalRoundTripKeepsThePoint) {
  CartesianVector const points[] = {{1.f, 2.f, 3.f}, {-0.5f, 0.25f, -2.f}, {0.f, 0.f, 4.f}};
  for (CartesianVector const& p : points) {
    SphericalVector s;
    s = p;
    CartesianVector const q(s);
    EXPECT_NEAR(q.x, p.x, 1e-5f);
    EXPECT_NEAR(q.y, p.y, 1e-5f);
    EXPECT_NEAR(q.z, p.z, 1e-5f);
    EXPECT_FLOAT_EQ(s.radius, p.radius());
    EXPECT_FLOAT_EQ(s.elevation, p.elevation());
  }
}

TEST(Speakers, RegularlySpacedStartsInFrontAndTurnsClockwise) {
  std::vector<float> positions(12, -7.f);
  Speakers::GetRegularlySpaced(positions.data(), 4);
  float const expectedUser[] = {0.f, 90.f, -180.f, -90.f};
  for (int i = 0; i < 4; ++i) {
    CartesianVector const p(positions[3 * i], positions[3 * i + 1], positions[3 * i + 2]);
    EXPECT_NEAR(p.radius(), 1.f, 1e-6f);
    EXPECT_EQ(p.z, 0.f);
    EXPECT_NEAR(userAzimuthOf(p), expectedUser[i], 1e-4f) << i;
  }
  std::vector<float> untouched(3, -7.f);
  Speakers::GetRegularlySpaced(untouched.data(), 0);
  EXPECT_EQ(untouched[0], -7.f);
}

TEST(Speakers, DefaultLayoutsByChannelCount) {
  EXPECT_EQ(Speakers::GetDefaultForChannels(0), nullptr);
  EXPECT_EQ(Speakers::GetDefaultForChannels(9), nullptr);
  struct Layout {
    unsigned int n;
    std::vector<float> userAzimuths;
  } const layouts[] = {
      {1, {0}},
      {2, {-30, 30}},
      {3, {-30, 30, -180}},
      {4, {-45, 45, 135, -135}},
      {5, {-30, 0, 30, 110, -110}},
      {6, {-45, 45, 90, 135, -135, -90}},
      {7, {-30, 0, 30, 90, 150, -150, -90}},
      {8, {-45, 0, 45, 90, 135, -180, -135, -90}},
  };
  for (Layout const& layout : layouts) {
    CartesianVector const* points = Speakers::GetDefaultForChannels(layout.n);
    ASSERT_NE(points, nullptr);
    for (unsigned int i = 0; i < layout.n; ++i) {
      EXPECT_NEAR(points[i].radius(), 1.f, 1e-6f);
      EXPECT_NEAR(userAzimuthOf(points[i]), layout.userAzimuths[i], 1e-3f)
          << layout.n << " channels, speaker " << i;
    }
  }
  // The quad layout is not the regular one: it is rotated by 45 degrees.
  EXPECT_NEAR(userAzimuthOf(Speakers::quadri()[0]), -45.f, 1e-3f);
  EXPECT_EQ(Speakers::cube()[6].x, 1.f);
  EXPECT_EQ(Speakers::cube()[6].z, -1.f);
}

TEST(DefaultParameters, SourceStartsOneMetreInFront) {
  CartesianVector const p = Zorv::ZorvDefaultParameters::DefaultSourcePosition;
  EXPECT_EQ(p.x, 0.f);
  EXPECT_EQ(p.y, 1.f);
  EXPECT_EQ(p.z, 0.f);
}

}  // namespace
