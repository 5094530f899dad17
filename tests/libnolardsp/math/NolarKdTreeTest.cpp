#include "NolarKdTree.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include "ZorvTestAllocationCounter.h"

namespace {

using nolardsp::CartesianVector;
using Tree = nolardsp::KdTree<3>;

Tree::Point query(float x, float y, float z) {
  Tree::Point q;
  q.x[0] = x;
  q.x[1] = y;
  q.x[2] = z;
  return q;
}

double distance(CartesianVector const& p, Tree::Point const& q) {
  double const dx = double(p.x) - q.x[0], dy = double(p.y) - q.x[1], dz = double(p.z) - q.x[2];
  return std::sqrt(dx * dx + dy * dy + dz * dz);
}

double bruteForceDistance(std::vector<CartesianVector> const& points, Tree::Point const& q) {
  double best = std::numeric_limits<double>::infinity();
  for (auto const& p : points) best = std::min(best, distance(p, q));
  return best;
}

// The classic walk, written out plainly: the leaf the query falls in, then the
// boxes from the root, second daughters first, pruned by the boxes' own
// bounds, a point replacing the best only if strictly nearer. The tree's
// faster search must give the same point, ties included.
int32_t classicWalk(Tree const& tree, std::vector<CartesianVector> const& points,
                    Tree::Point const& q) {
  auto const& boxes = tree.GetBoxes();
  auto const& perm = tree.GetPermutation();
  auto dist = [&](int32_t k) {
    float const dx = points[k].x - q.x[0], dy = points[k].y - q.x[1], dz = points[k].z - q.x[2];
    return std::sqrt(dx * dx + dy * dy + dz * dz);
  };
  auto boxDist = [&](Tree::BoxNode const& b) {
    float dd = 0.f;
    for (int d = 0; d < 3; ++d) {
      if (q.x[d] < b.lo.x[d]) dd += (q.x[d] - b.lo.x[d]) * (q.x[d] - b.lo.x[d]);
      if (q.x[d] > b.hi.x[d]) dd += (q.x[d] - b.hi.x[d]) * (q.x[d] - b.hi.x[d]);
    }
    return std::sqrt(dd);
  };
  int32_t nb = 0;
  for (int d = 0; boxes[nb].dau1 != 0; d = (d + 1) % 3) {
    nb = q.x[d] <= boxes[boxes[nb].dau1].hi.x[d] ? boxes[nb].dau1 : boxes[nb].dau2;
  }
  float best = std::numeric_limits<float>::infinity();
  int32_t found = -1;
  auto scan = [&](Tree::BoxNode const& b) {
    for (int32_t i = b.ptlo; i <= b.pthi; ++i) {
      if (dist(perm[i]) < best) best = dist(perm[i]), found = perm[i];
    }
  };
  scan(boxes[nb]);
  std::vector<int32_t> stack = {0};
  while (!stack.empty()) {
    Tree::BoxNode const& b = boxes[stack.back()];
    stack.pop_back();
    if (!(boxDist(b) < best)) continue;
    if (b.dau1 != 0) {
      stack.push_back(b.dau1);
      stack.push_back(b.dau2);
    } else {
      scan(b);
    }
  }
  return found >= 0 ? found : perm[boxes[nb].ptlo <= boxes[nb].pthi ? boxes[nb].ptlo : 0];
}

// On a grid with mirror pairs (ring after ring, symmetric about x = 0),
// queries in the mirror plane and on the grid's own points hit exact ties.
TEST(KdTree, GivesThePointOfTheClassicWalkTiesIncluded) {
  std::vector<CartesianVector> points;
  int const counts[] = {56, 60, 72, 72, 45, 36, 24, 12, 1};
  for (int ring = 0; ring < 9; ++ring) {
    float const e = (-40.f + 15.f * ring) * 0.017453292f;
    std::size_t const first = points.size();
    for (int j = 0; j < counts[ring]; ++j) {
      float const a = 6.2831855f * float(j) / float(counts[ring]);
      points.emplace_back(-std::cos(e) * std::sin(a), std::cos(e) * std::cos(a), std::sin(e));
      if (2 * j > counts[ring]) {  // the exact mirror of point n - j
        CartesianVector const& m = points[first + std::size_t(counts[ring] - j)];
        points.back() = CartesianVector(-m.x, m.y, m.z);
      }
    }
  }
  points.push_back(points[10]);  // and a duplicate
  Tree tree;
  tree.SetPositions(points.data(), static_cast<unsigned int>(points.size()));
  std::mt19937 rng(99);
  std::uniform_real_distribution<float> u(-1.5f, 1.5f);
  int ties = 0;
  for (int k = 0; k < 20000; ++k) {
    Tree::Point q = query(u(rng), u(rng), u(rng));
    if (k % 2 == 0) q.x[0] = 0.f;  // the mirror plane
    if (k % 5 == 0) {
      auto const& p = points[rng() % points.size()];
      q = query(p.x * 1.7f, p.y * 1.7f, p.z * 1.7f);
    }
    int32_t const expect = classicWalk(tree, points, q);
    ASSERT_EQ(tree.GetNearestPointIndex(q), expect) << "query " << k;
    int equal = 0;
    auto fdist = [&q](CartesianVector const& p) {
      float const dx = p.x - q.x[0], dy = p.y - q.x[1], dz = p.z - q.x[2];
      return std::sqrt(dx * dx + dy * dy + dz * dz);
    };
    for (auto const& p : points) equal += fdist(p) == fdist(points[expect]);
    ties += equal > 1;
  }
  EXPECT_GT(ties, 100);  // the ties were there to resolve
}

// Random sets of 1 to 2000 points, some on the unit sphere, with duplicates
// and the origin mixed in: the tree's answer is always at the brute-force
// minimal distance (up to the float rounding of its own distances), and it is
// the classic walk's point.
TEST(KdTree, FindsTheMinimalDistanceOnRandomSets) {
  std::mt19937 rng(12345);
  std::uniform_real_distribution<float> coord(-2.f, 2.f);
  int const sizes[] = {1, 2, 3, 4, 5, 7, 8, 9, 16, 17, 100, 513, 2000};
  for (int n : sizes) {
    std::vector<CartesianVector> points;
    for (int i = 0; i < n; ++i) {
      if (i > 0 && i % 7 == 0) {
        points.push_back(points[rng() % points.size()]);  // duplicate
      } else if (i % 11 == 5) {
        points.emplace_back(0.f, 0.f, 0.f);
      } else {
        CartesianVector p(coord(rng), coord(rng), coord(rng));
        if (i % 2 == 0) {
          float const r = std::sqrt(p.x * p.x + p.y * p.y + p.z * p.z);
          if (r > 0.f) p = CartesianVector(p.x / r, p.y / r, p.z / r);
        }
        points.push_back(p);
      }
    }
    Tree tree;
    tree.SetPositions(points.data(), static_cast<unsigned int>(points.size()));
    for (int k = 0; k < 2000; ++k) {
      Tree::Point const q = query(coord(rng), coord(rng), coord(rng));
      int32_t const i = tree.GetNearestPointIndex(q);
      ASSERT_GE(i, 0);
      ASSERT_LT(i, n);
      double const expect = bruteForceDistance(points, q);
      ASSERT_NEAR(distance(points[i], q), expect, 1e-6 * (1.0 + expect)) << "n " << n;
      ASSERT_EQ(i, classicWalk(tree, points, q)) << "n " << n;
    }
    // A query exactly on a stored point finds a point at distance 0.
    for (int k = 0; k < n; k += 1 + n / 50) {
      auto const& p = points[k];
      int32_t const i = tree.GetNearestPointIndex(query(p.x, p.y, p.z));
      EXPECT_EQ(distance(points[i], query(p.x, p.y, p.z)), 0.0);
    }
  }
}

// Equal points: a query on them gets the first of them in the tree's
// permutation; any query near them gets one of them, the same on every search
// and in every build of the same positions.
TEST(KdTree, DuplicatedPointsResolveToTheFirstInThePermutation) {
  std::vector<CartesianVector> points = {{0.f, 1.f, 0.f},  {1.f, 0.f, 0.f}, {0.f, 1.f, 0.f},
                                         {-1.f, 0.f, 0.f}, {0.f, 1.f, 0.f}, {0.f, 0.f, 1.f}};
  Tree tree;
  tree.SetPositions(points.data(), static_cast<unsigned int>(points.size()));
  auto const& perm = tree.GetPermutation();
  int32_t first = -1;
  for (int32_t j : perm) {
    if (points[j].x == 0.f && points[j].y == 1.f && points[j].z == 0.f) {
      first = j;
      break;
    }
  }
  ASSERT_GE(first, 0);
  EXPECT_EQ(tree.GetNearestPointIndex(query(0.f, 1.f, 0.f)), first);
  Tree again;
  again.SetPositions(points.data(), static_cast<unsigned int>(points.size()));
  for (Tree::Point const& q :
       {query(0.f, 1.f, 0.f), query(0.f, 2.f, 0.f), query(0.01f, 0.9f, -0.01f)}) {
    int32_t const i = tree.GetNearestPointIndex(q);
    EXPECT_TRUE(i == 0 || i == 2 || i == 4);
    EXPECT_EQ(tree.GetNearestPointIndex(q), i);
    EXPECT_EQ(again.GetNearestPointIndex(q), i);
  }
}

TEST(KdTree, ThreePointsMakeOneSplitIntoATwoPointAndAOnePointLeaf) {
  std::vector<CartesianVector> points = {{3.f, 0.f, 0.f}, {1.f, 0.f, 0.f}, {2.f, 0.f, 0.f}};
  Tree tree;
  tree.SetPositions(points.data(), 3);
  auto const& boxes = tree.GetBoxes();
  ASSERT_GE(boxes.size(), 3u);
  EXPECT_EQ(tree.GetNumBoxes(), 3);
  EXPECT_EQ(boxes[0].dau1, 1);
  EXPECT_EQ(boxes[0].dau2, 2);
  EXPECT_EQ(boxes[1].dau1, 0);
  EXPECT_EQ(boxes[2].dau1, 0);
  EXPECT_EQ(boxes[1].pthi - boxes[1].ptlo + 1, 2);
  EXPECT_EQ(boxes[2].pthi - boxes[2].ptlo + 1, 1);
  EXPECT_EQ(boxes[1].hi.x[0], 2.f);  // split at the median of x
  EXPECT_EQ(tree.GetNearestPointIndex(query(2.9f, 0.f, 0.f)), 0);
  EXPECT_EQ(tree.GetNearestPointIndex(query(0.f, 5.f, 0.f)), 1);
}

// Queries where every distance is infinite or not a number still get a point
// of the set, and the search allocates nothing.
TEST(KdTree, EveryQueryGetsAPointWithoutAllocating) {
  float const inf = std::numeric_limits<float>::infinity();
  float const nan = std::numeric_limits<float>::quiet_NaN();
  Tree::Point const odd[] = {query(nan, nan, nan),   query(inf, 0.f, 0.f),
                             query(-inf, inf, nan),  query(3e38f, -3e38f, 3e38f),
                             query(1e30f, 0.f, 0.f), query(0.f, 0.f, 0.f)};
  for (int n : {1, 2, 3, 710}) {
    std::vector<CartesianVector> points;
    for (int i = 0; i < n; ++i) {
      float const a = 0.1f * float(i);
      points.emplace_back(std::cos(a), std::sin(a), 0.f);
    }
    Tree tree;
    tree.SetPositions(points.data(), static_cast<unsigned int>(n));
    int32_t found[6];
    {
      zorvtest::AllocationCounter counter;
      for (int k = 0; k < 6; ++k) found[k] = tree.GetNearestPointIndex(odd[k]);
      EXPECT_EQ(counter.Count(), 0u);
    }
    for (int k = 0; k < 6; ++k) {
      EXPECT_GE(found[k], 0) << "n " << n << " query " << k;
      EXPECT_LT(found[k], n);
      EXPECT_EQ(tree.GetNearestPointIndex(odd[k]), found[k]);  // and always the same one
    }
  }
  Tree empty;
  empty.SetPositions(nullptr, 0);
  EXPECT_EQ(empty.GetNearestPointIndex(query(0.f, 1.f, 0.f)), -1);
}

}  // namespace
