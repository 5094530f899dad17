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
// Ties are resolved the same way on every run: of several points at the same
// smallest distance, the first in the tree's permutation wins.
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
  void build();
  int32_t locate(Point const& query) const;
  static int32_t selecti(int32_t k, int32_t* indices, int32_t count, float const* values);
  float distance(Point const& a, Point const& b) const;
  static float boxDistance(BoxNode const& box, Point const& p);

  int32_t numBoxes = 0;
  unsigned int numPoints = 0;
  std::vector<Point> points;
  std::vector<BoxNode> boxes;
  std::vector<int32_t> ptindx;
  std::vector<int32_t> rptindx;
  bool built = false;
};

extern template class KdTree<3>;

}  // namespace nolardsp
