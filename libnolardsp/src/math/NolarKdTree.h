#pragma once

#include <cstdint>
#include <vector>

#include "NolarCartesianVector.h"
#include "NolarKdTreeHelper.h"

namespace nolardsp {

// A balanced box tree over a fixed set of points, for nearest-point queries by
// plain Euclidean distance. Built once (SetPositions, allocates), then read only:
// several threads may search one tree at the same time.
//
// The answer is that of the classic walk: scan the leaf the query falls in,
// then every box from the root, the second daughter first, a point replacing
// the best only if strictly nearer (32-bit float distances). Of several points
// at the same smallest distance the walk keeps the first it meets, so ties
// resolve the same way on every run. The search here reaches that same answer
// faster: it walks the nearer daughter first and prunes by the bounding box of
// each box's points, keeping points at the best distance so far and taking the
// one that the classic walk would have met first.
template <int DIM>
class KdTree {
 public:
  using Point = KdTreeHelper::NPoint<DIM>;
  using BoxNode = KdTreeHelper::NBoxNode<DIM>;

  KdTree() = default;

  // Copies the positions (their first DIM coordinates) and builds the tree.
  // Called off the audio thread; allocates.
  void SetPositions(CartesianVector const* positions, unsigned int count);

  // Number of the nearest point, or -1 for a tree with no point. Every query
  // gets a point, also one at a non-finite or astronomically large position
  // where every distance is infinite or not a number: then the first point of
  // the leaf that the query falls in (or point ptindx[0] if that leaf is empty).
  // May run on the audio thread: allocates nothing, takes no lock.
  int32_t GetNearestPointIndex(Point const& query) const;

  bool IsBuilt() const { return built; }
  unsigned int GetNumPoints() const { return numPoints; }
  int32_t GetNumBoxes() const { return numBoxes; }
  std::vector<BoxNode> const& GetBoxes() const { return boxes; }
  std::vector<int32_t> const& GetPermutation() const { return ptindx; }

  // Depth of both fixed stacks. A balanced tree over fewer than 2^32 points
  // never needs more than about 34 entries.
  static constexpr int kStackSize = 50;

 private:
  // What the search needs of a box, in one small record: the bounding box of
  // its points (empty: lo above hi; never larger than the box itself), the
  // split of its daughters (dau1 0 for a leaf; dau2 is always dau1 + 1), its
  // run of places and its mother.
  struct Bounds {
    float lo[DIM];
    float hi[DIM];
    float split;
    int32_t dim;
    int32_t dau1;
    int32_t ptlo;
    int32_t pthi;
    int32_t mom;
  };

  void build();
  // The leaf the query falls in, walking from the root (first daughter if the
  // query is not above its split), and the leaf's depth.
  int32_t locate(Point const& query, int& depth) const;
  static int32_t selecti(int32_t k, int32_t* indices, int32_t count, float const* values);
  // Squared distance to the bounds, computed so that it never exceeds the
  // squared distance to any point inside them.
  static float boundsDistanceSquared(Bounds const& b, Point const& p);
  float distanceSquared(Point const& a, Point const& b) const;
  void computeBounds();

  int32_t numBoxes = 0;
  unsigned int numPoints = 0;
  std::vector<Point> points;
  std::vector<BoxNode> boxes;
  std::vector<int32_t> ptindx;
  std::vector<int32_t> rptindx;
  bool built = false;
  std::vector<Bounds> bounds;  // one per box
  // The points in the order of ptindx, so that a leaf's points lie together.
  std::vector<Point> placed;
  // Mean distance of the points from the origin: a query brought to it finds
  // a first candidate close to the answer when the set lies on a sphere.
  float meanRadius = 0.f;
};

extern template class KdTree<3>;

}  // namespace nolardsp
