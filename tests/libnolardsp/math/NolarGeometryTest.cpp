#include "NolarGeometry.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace {

using nolardsp::CartesianVector;

TEST(Geometry, ClosestPointUsesThreeDimensionsAndPrefersTheFirst) {
  std::vector<CartesianVector> pts = {{1.f, 0.f, 5.f}, {2.f, 0.f, 0.f}, {2.f, 0.f, 0.f}};
  // Nearest in the plane is point 0, but its height puts it farther away.
  EXPECT_EQ(nolardsp::GetClosestPointIndex({1.f, 0.f, 0.f}, pts), 1u);
  EXPECT_EQ(nolardsp::GetClosestPointIndex({1.f, 0.f, 4.f}, pts), 0u);
}

TEST(Geometry, BarycenterAndEncompassingRadius) {
  CartesianVector b(9.f, 9.f, 9.f);
  nolardsp::ComputeBarycenter({}, b);
  EXPECT_EQ(b.x, 0.f);
  EXPECT_EQ(b.z, 0.f);
  EXPECT_EQ(nolardsp::GetRadiusOfTheLargestSphereEncompassing({}, b), 0.f);

  std::vector<CartesianVector> pts = {{1.f, 1.f, 0.f}, {3.f, 1.f, 0.f}, {2.f, 4.f, 3.f}};
  nolardsp::ComputeBarycenter(pts, b);
  EXPECT_FLOAT_EQ(b.x, 2.f);
  EXPECT_FLOAT_EQ(b.y, 2.f);
  EXPECT_FLOAT_EQ(b.z, 1.f);
  // Distances from (2, 2, 1): sqrt(3), sqrt(3), sqrt(8).
  EXPECT_FLOAT_EQ(nolardsp::GetRadiusOfTheLargestSphereEncompassing(pts, b), std::sqrt(8.f));
}

TEST(Geometry, AngleBetweenDirections) {
  EXPECT_NEAR(nolardsp::angle({1.f, 0.f, 0.f}, {0.f, 2.f, 0.f}), 1.5707964f, 1e-6f);
  EXPECT_NEAR(nolardsp::angle({1.f, 0.f, 0.f}, {-3.f, 0.f, 0.f}), 3.1415927f, 1e-6f);
  EXPECT_EQ(nolardsp::angle({1.f, 1.f, 1.f}, {1.f, 1.f, 1.f}), 0.f);  // clamped, not NaN
  EXPECT_NEAR(nolardsp::angle({0.f, 0.f, 0.f}, {0.f, -1.f, 0.f}), 1.5707964f, 1e-6f);
  EXPECT_NEAR(nolardsp::angle({-1.f, 0.f, 0.f}, {0.f, 0.f, 0.f}), 3.1415927f, 1e-6f);
  EXPECT_EQ(nolardsp::angle({0.f, 0.f, 0.f}, {0.f, 0.f, 0.f}), 0.f);
}

TEST(Geometry, IndexedDistSortsAscending) {
  nolardsp::IndexedDist a{1.f, 0}, b{2.f, 1};
  EXPECT_TRUE(nolardsp::IndexedDist::sortIndexedDist(a, b));
  EXPECT_FALSE(nolardsp::IndexedDist::sortIndexedDist(b, a));
  EXPECT_FALSE(nolardsp::IndexedDist::sortIndexedDist(a, a));
}

}  // namespace
