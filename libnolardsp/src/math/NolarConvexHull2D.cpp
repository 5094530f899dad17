#include "NolarConvexHull2D.h"

#include <cmath>
#include <cstdlib>
#include <utility>

namespace nolardsp {

ConvexHull2D::ConvexHull2D() = default;

void ConvexHull2D::SetPoints(CartesianVector const* points, unsigned int count) {
  if (points == nullptr) count = 0;
  inputPoints.resize(count);
  for (unsigned int i = 0; i < count; ++i) inputPoints[i] = points[i];
  numPoints = count;
  update();
}

void ConvexHull2D::SetPoints(std::vector<CartesianVector> const& points) {
  SetPoints(points.data(), static_cast<unsigned int>(points.size()));
}

void ConvexHull2D::GetHullVertex(std::vector<CartesianVector>& out) const {
  out.resize(hullVertices.size());
  for (std::size_t i = 0; i < hullVertices.size(); ++i) out[i] = hullVertices[i];
}

bool ConvexHull2D::Contains(CartesianVector const& p) const {
  std::size_t const v = hullVertices.size();
  if (v == 0) return true;
  for (std::size_t i = 0; i < v; ++i) {
    CartesianVector const& hi = hullVertices[i];
    CartesianVector const& hj = hullVertices[(i + 1) % v];
    float const cross = (hi.y - hj.y) * (p.x - hi.x) + (p.y - hi.y) * (hj.x - hi.x);
    // Left of a clockwise edge is outside.
    if (cross > 0.f) return false;
  }
  return true;
}

int ConvexHull2D::ComparePoint2D(void const* pa, void const* pb) {
  // qsort hands out const pointers, but the comparison marks the losers of a
  // collinear pair: the elements live in the working vector, which is mutable.
  Point2D* a = const_cast<Point2D*>(static_cast<Point2D const*>(pa));
  Point2D* b = const_cast<Point2D*>(static_cast<Point2D const*>(pb));
  CartesianVector const& p = a->pivot;
  float const cross =
      (p.y - a->position.y) * (b->position.x - p.x) + (b->position.y - p.y) * (a->position.x - p.x);
  if (cross > 0.f) return -1;
  if (!(cross >= 0.f)) return 1;  // negative, or NaN
  float const da = std::fabs(a->position.x - p.x) - std::fabs(b->position.x - p.x);
  float const db = std::fabs(a->position.y - p.y) - std::fabs(b->position.y - p.y);
  if (da < 0.f || db < 0.f) {
    a->deleted = true;
    return -1;
  }
  if (da == 0.f && db == 0.f) {
    // Of two coincident points the later one in the input stays.
    if (a->index <= b->index) {
      a->deleted = true;
    } else {
      b->deleted = true;
    }
    return 0;
  }
  b->deleted = true;
  return 1;
}

void ConvexHull2D::update() {
  unsigned int const n = numPoints;
  workingPoints.resize(n);
  hullVertices.clear();
  if (n < 2) {
    hullVertices.assign(inputPoints.begin(), inputPoints.begin() + n);
    return;
  }
  for (unsigned int i = 0; i < n; ++i) {
    Point2D& w = workingPoints[i];
    w.position = CartesianVector(inputPoints[i].x, inputPoints[i].y, 0.f);
    w.index = i + 1;
    w.deleted = false;
  }
  // Lowest y, then largest x, then the earliest of exact duplicates. A NaN y
  // replaces the running best, as the negated test lets it.
  unsigned int best = 0;
  for (unsigned int i = 1; i < n; ++i) {
    CartesianVector const& c = workingPoints[i].position;
    CartesianVector const& b = workingPoints[best].position;
    if (!(c.y >= b.y) || (c.y == b.y && c.x > b.x)) best = i;
  }
  std::swap(workingPoints[0], workingPoints[best]);
  CartesianVector const pivot = workingPoints[0].position;
  for (Point2D& w : workingPoints) w.pivot = pivot;

  std::qsort(workingPoints.data() + 1, n - 1, sizeof(Point2D), &ComparePoint2D);

  bool anyDeleted = false;
  for (unsigned int i = 1; i < n; ++i) anyDeleted = anyDeleted || workingPoints[i].deleted;
  if (anyDeleted) {
    unsigned int kept = 0;
    for (unsigned int i = 0; i < n; ++i) {
      if (!workingPoints[i].deleted) workingPoints[kept++] = workingPoints[i];
    }
    workingPoints.resize(kept);
  }
  graham(workingPoints.data(), hullVertices, static_cast<unsigned int>(workingPoints.size()));
}

void ConvexHull2D::graham(Point2D const* sorted, std::vector<CartesianVector>& hull,
                          unsigned int m) {
  // The hull is a stack whose top is its front.
  hull.clear();
  if (m == 0) return;
  hull.insert(hull.begin(), sorted[0].position);
  if (m < 2) return;
  hull.insert(hull.begin(), sorted[1].position);
  if (m < 3) return;
  unsigned int i = 2;
  while (i < m) {
    CartesianVector const& q = sorted[i].position;
    if (hull.size() < 2) {
      // Degenerate input (NaN coordinates, or collinear points that the sort
      // left standing) can empty the stack down to the pivot: keep q.
      hull.insert(hull.begin(), q);
      ++i;
      continue;
    }
    CartesianVector const h0 = hull[0];
    CartesianVector const h1 = hull[1];
    float const turn = (h1.y - h0.y) * (q.x - h1.x) + (q.y - h1.y) * (h0.x - h1.x);
    if (turn > 0.f) {
      hull.insert(hull.begin(), q);
      ++i;
    } else {
      hull.erase(hull.begin());
    }
  }
}

}  // namespace nolardsp
