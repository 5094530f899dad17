#include "NolarConvexHull2D.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

namespace {

using nolardsp::CartesianVector;
using nolardsp::ConvexHull2D;

std::vector<CartesianVector> hullOf(std::vector<CartesianVector> const& points) {
  ConvexHull2D hull;
  hull.SetPoints(points);
  std::vector<CartesianVector> out;
  hull.GetHullVertex(out);
  return out;
}

void expectSame(CartesianVector const& a, CartesianVector const& b) {
  EXPECT_EQ(a.x, b.x);
  EXPECT_EQ(a.y, b.y);
  EXPECT_EQ(a.z, b.z);
}

// Andrew's monotone chain in double: an independent reference for the
// vertex set of a point set in general position.
std::vector<std::pair<double, double>> referenceHull(std::vector<CartesianVector> const& points) {
  std::vector<std::pair<double, double>> p;
  for (auto const& v : points) p.emplace_back(v.x, v.y);
  std::sort(p.begin(), p.end());
  auto cross = [](auto const& o, auto const& a, auto const& b) {
    return (a.first - o.first) * (b.second - o.second) -
           (a.second - o.second) * (b.first - o.first);
  };
  std::vector<std::pair<double, double>> h(2 * p.size());
  std::size_t k = 0;
  for (std::size_t i = 0; i < p.size(); ++i) {
    while (k >= 2 && cross(h[k - 2], h[k - 1], p[i]) <= 0) --k;
    h[k++] = p[i];
  }
  for (std::size_t i = p.size() - 1, t = k + 1; i > 0; --i) {
    while (k >= t && cross(h[k - 2], h[k - 1], p[i - 1]) <= 0) --k;
    h[k++] = p[i - 1];
  }
  h.resize(k - 1);
  std::sort(h.begin(), h.end());
  return h;
}

TEST(ConvexHull2D, EmptyAndSingleVertexHullsContainEverything) {
  ConvexHull2D hull;
  EXPECT_TRUE(hull.Contains({1e6f, -3.f, 0.f}));
  std::vector<CartesianVector> one = {{0.5f, 0.25f, 2.f}};
  hull.SetPoints(one);
  std::vector<CartesianVector> out;
  hull.GetHullVertex(out);
  ASSERT_EQ(out.size(), 1u);
  expectSame(out[0], one[0]);  // fewer than two points keep their z
  EXPECT_TRUE(hull.Contains({-40.f, 17.f, 0.f}));
}

TEST(ConvexHull2D, TwoPointsContainOnlyTheirLine) {
  ConvexHull2D hull;
  std::vector<CartesianVector> two = {{0.f, 1.f, 3.f}, {2.f, 0.f, 1.f}};
  hull.SetPoints(two);
  std::vector<CartesianVector> out;
  hull.GetHullVertex(out);
  ASSERT_EQ(out.size(), 2u);
  expectSame(out[0], {0.f, 1.f, 0.f});
  expectSame(out[1], {2.f, 0.f, 0.f});  // the pivot is last
  EXPECT_TRUE(hull.Contains({1.f, 0.5f, 9.f}));
  EXPECT_TRUE(hull.Contains({4.f, -1.f, 0.f}));  // beyond the segment, on the line
  EXPECT_FALSE(hull.Contains({1.f, 0.6f, 0.f}));
  EXPECT_FALSE(hull.Contains({1.f, 0.4f, 0.f}));
}

TEST(ConvexHull2D, CollinearPointsKeepPivotAndFarthest) {
  auto out = hullOf({{1.f, 1.f, 0.f}, {3.f, 3.f, 0.f}, {0.f, 0.f, 0.f}, {2.f, 2.f, 0.f}});
  ASSERT_EQ(out.size(), 2u);
  expectSame(out[0], {3.f, 3.f, 0.f});
  expectSame(out[1], {0.f, 0.f, 0.f});
}

TEST(ConvexHull2D, UnitSquareIsStoredClockwiseFromThePivotsNeighbour) {
  auto out = hullOf({{0.f, 0.f, 0.f}, {1.f, 0.f, 0.f}, {1.f, 1.f, 0.f}, {0.f, 1.f, 0.f}});
  ASSERT_EQ(out.size(), 4u);
  expectSame(out[0], {0.f, 0.f, 0.f});
  expectSame(out[1], {0.f, 1.f, 0.f});
  expectSame(out[2], {1.f, 1.f, 0.f});
  expectSame(out[3], {1.f, 0.f, 0.f});
}

TEST(ConvexHull2D, DuplicatesAndEdgeMidpointsAreNotVertices) {
  ConvexHull2D hull;
  std::vector<CartesianVector> pts = {{0.f, 0.f, 0.f}, {1.f, 0.f, 0.f},   {1.f, 1.f, 0.f},
                                      {0.f, 1.f, 0.f}, {1.f, 1.f, 0.f},   {0.5f, 1.f, 0.f},
                                      {1.f, 0.f, 0.f}, {0.25f, 0.5f, 0.f}};
  hull.SetPoints(pts);
  std::vector<CartesianVector> out;
  hull.GetHullVertex(out);
  EXPECT_EQ(out.size(), 4u);
  EXPECT_TRUE(hull.Contains({0.5f, 1.f, 0.f}));  // on an edge counts as inside
  EXPECT_TRUE(hull.Contains({0.f, 0.f, 0.f}));
  EXPECT_FALSE(hull.Contains({0.5f, 1.0001f, 0.f}));
  EXPECT_FALSE(hull.Contains({-0.0001f, 0.5f, 0.f}));
}

TEST(ConvexHull2D, RandomSetsMatchAReferenceHullAndContainTheirPoints) {
  std::mt19937 rng(7);
  std::uniform_real_distribution<float> u(-3.f, 3.f);
  ConvexHull2D hull;
  for (int trial = 0; trial < 200; ++trial) {
    std::vector<CartesianVector> pts(3 + trial % 40);
    for (auto& p : pts) p = CartesianVector(u(rng), u(rng), u(rng));
    hull.SetPoints(pts);
    std::vector<CartesianVector> out;
    hull.GetHullVertex(out);

    std::vector<std::pair<double, double>> got;
    for (auto const& v : out) got.emplace_back(v.x, v.y);
    std::sort(got.begin(), got.end());
    ASSERT_EQ(got, referenceHull(pts)) << "trial " << trial;

    // Stored clockwise: every turn is strictly to the right.
    for (std::size_t i = 0; i < out.size(); ++i) {
      auto const& a = out[i];
      auto const& b = out[(i + 1) % out.size()];
      auto const& c = out[(i + 2) % out.size()];
      EXPECT_LT((b.x - a.x) * (c.y - b.y) - (b.y - a.y) * (c.x - b.x), 0.f);
    }
    for (auto const& p : pts) EXPECT_TRUE(hull.Contains(p));
    EXPECT_FALSE(hull.Contains({10.f, 0.f, 0.f}));
    EXPECT_FALSE(hull.Contains({0.f, -10.f, 0.f}));
  }
}

TEST(ConvexHull2D, NonFiniteCoordinatesEndWithoutCrash) {
  float const nan = std::numeric_limits<float>::quiet_NaN();
  float const inf = std::numeric_limits<float>::infinity();
  ConvexHull2D hull;
  hull.SetPoints(std::vector<CartesianVector>{
      {0.f, 0.f, 0.f}, {nan, 1.f, 0.f}, {1.f, nan, 0.f}, {inf, 2.f, 0.f}, {1.f, 1.f, 0.f}});
  std::vector<CartesianVector> out;
  hull.GetHullVertex(out);
  EXPECT_LE(out.size(), 5u);
  hull.Contains({0.5f, 0.5f, 0.f});
}

}  // namespace
