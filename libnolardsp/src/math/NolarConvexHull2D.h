#pragma once

#include <vector>

#include "NolarCartesianVector.h"

namespace nolardsp {

// The convex hull of a point set in the horizontal (x, y) plane, and the test
// of whether a point lies inside it. z is carried with the input but plays no
// part.
//
// SetPoints allocates (it runs on a message thread when a layout changes);
// Contains allocates nothing and may run wherever a position is rendered.
class ConvexHull2D {
 public:
  // A working element of the scan. Every element carries a copy of the pivot
  // so that the sort comparison, which sees only two elements, can reach it.
  struct Point2D {
    CartesianVector position;  // x, y of the input point; z is 0
    unsigned int index = 0;    // place in the input, counted from 1
    bool deleted = false;      // not an extreme point on its ray from the pivot
    CartesianVector pivot;
  };

  ConvexHull2D();

  void SetPoints(CartesianVector const* points, unsigned int count);
  void SetPoints(std::vector<CartesianVector> const& points);

  // The vertices in stored order: clockwise (x right, y up), ending with the
  // pivot. z is 0 when the set has two or more points.
  void GetHullVertex(std::vector<CartesianVector>& out) const;

  // Only x and y are read. Points on an edge are inside; an empty hull, or a
  // hull of one vertex, contains every point. No tolerance: a bare sign test.
  bool Contains(CartesianVector const& point) const;

  // Sort comparison for qsort. Marks the nearer of two points that are
  // collinear with the pivot as deleted, so the survivors depend on the
  // comparisons the sort makes.
  static int ComparePoint2D(void const* a, void const* b);

 private:
  void update();
  static void graham(Point2D const* sorted, std::vector<CartesianVector>& hull, unsigned int count);

  std::vector<CartesianVector> inputPoints;
  std::vector<CartesianVector> hullVertices;
  unsigned int numPoints = 0;
  std::vector<Point2D> workingPoints;  // kept so its capacity is reused
};

}  // namespace nolardsp
