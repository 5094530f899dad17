#include "NolarKdTree.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace nolardsp {

template <int DIM>
void KdTree<DIM>::SetPositions(CartesianVector const* positions, unsigned int count) {
  built = false;
  numPoints = positions == nullptr ? 0u : count;
  points.assign(numPoints, Point());
  for (unsigned int i = 0; i < numPoints; ++i) {
    float const xyz[3] = {positions[i].x, positions[i].y, positions[i].z};
    for (int d = 0; d < DIM && d < 3; ++d) points[i].x[d] = xyz[d];
  }
  build();
}

template <int DIM>
int32_t KdTree<DIM>::selecti(int32_t k, int32_t* indx, int32_t n, float const* arr) {
  int32_t l = 0;
  int32_t ir = n - 1;
  for (;;) {
    if (ir <= l + 1) {
      if (ir == l + 1 && arr[indx[ir]] < arr[indx[l]]) std::swap(indx[l], indx[ir]);
      return indx[k];
    }
    int32_t const mid = (l + ir) >> 1;
    std::swap(indx[mid], indx[l + 1]);
    if (arr[indx[l]] > arr[indx[ir]]) std::swap(indx[l], indx[ir]);
    if (arr[indx[l + 1]] > arr[indx[ir]]) std::swap(indx[l + 1], indx[ir]);
    if (arr[indx[l]] > arr[indx[l + 1]]) std::swap(indx[l], indx[l + 1]);
    int32_t i = l + 1;
    int32_t j = ir;
    int32_t const ia = indx[l + 1];
    float const a = arr[ia];
    for (;;) {
      // The median of three leaves sentinels at both ends; the bounds only
      // matter for values that do not compare (NaN), which must not run the
      // scans out of the run.
      do ++i;
      while (i < ir && arr[indx[i]] < a);
      do --j;
      while (j > l && arr[indx[j]] > a);
      if (j < i) break;
      std::swap(indx[i], indx[j]);
    }
    indx[l + 1] = indx[j];
    indx[j] = ia;
    if (j >= k) ir = j - 1;
    if (j <= k) l = i;
  }
}

template <int DIM>
void KdTree<DIM>::build() {
  int32_t const n = static_cast<int32_t>(numPoints);
  ptindx.resize(numPoints);
  rptindx.resize(numPoints);
  for (int32_t k = 0; k < n; ++k) ptindx[k] = k;

  // m: the smallest power of two greater than n.
  int64_t m = 1;
  for (int64_t t = n; t != 0; t >>= 1) m <<= 1;
  numBoxes = static_cast<int32_t>(std::min<int64_t>(2 * int64_t(n) - m / 2, m) - 1);
  // The first split always makes three boxes, so one or two points need them too.
  boxes.assign(static_cast<std::size_t>(std::max<int32_t>(numBoxes, 3)), BoxNode());

  Point lo;
  Point hi;
  for (int d = 0; d < DIM; ++d) {
    lo.x[d] = -std::numeric_limits<float>::infinity();
    hi.x[d] = std::numeric_limits<float>::infinity();
  }
  boxes[0] = BoxNode(lo, hi, 0, 0, 0, 0, n - 1);
  if (n == 0) {
    built = true;
    return;
  }

  std::vector<float> coords(static_cast<std::size_t>(DIM) * numPoints);
  for (int d = 0; d < DIM; ++d)
    for (int32_t k = 0; k < n; ++k) coords[static_cast<std::size_t>(d) * n + k] = points[k].x[d];

  int32_t taskmom[kStackSize + 1];
  int taskdim[kStackSize + 1];
  int nowtask = 1;
  taskmom[1] = 0;
  taskdim[1] = 0;
  int32_t jbox = 0;
  while (nowtask > 0) {
    int32_t const tmom = taskmom[nowtask];
    int const tdim = taskdim[nowtask--];
    int32_t const ptlo = boxes[tmom].ptlo;
    int32_t const pthi = boxes[tmom].pthi;
    int32_t* const hp = &ptindx[ptlo];
    float const* const cp = &coords[static_cast<std::size_t>(tdim) * n];
    int32_t const np = pthi - ptlo + 1;
    int32_t const kk = (np - 1) / 2;
    selecti(kk, hp, np, cp);
    Point dauHi = boxes[tmom].hi;
    Point dauLo = boxes[tmom].lo;
    dauHi.x[tdim] = dauLo.x[tdim] = cp[hp[kk]];
    if (static_cast<std::size_t>(jbox) + 2 >= boxes.size()) boxes.resize(jbox + 3);
    boxes[++jbox] = BoxNode(boxes[tmom].lo, dauHi, tmom, 0, 0, ptlo, ptlo + kk);
    boxes[++jbox] = BoxNode(dauLo, boxes[tmom].hi, tmom, 0, 0, ptlo + kk + 1, pthi);
    boxes[tmom].dau1 = jbox - 1;
    boxes[tmom].dau2 = jbox;
    int const next = (tdim + 1) % DIM;
    if (kk > 1 && nowtask < kStackSize) {
      taskmom[++nowtask] = jbox - 1;
      taskdim[nowtask] = next;
    }
    if (np - kk > 3 && nowtask < kStackSize) {
      taskmom[++nowtask] = jbox;
      taskdim[nowtask] = next;
    }
  }
  for (int32_t j = 0; j < n; ++j) rptindx[ptindx[j]] = j;
  computeBounds();
  built = true;
}

template <int DIM>
void KdTree<DIM>::computeBounds() {
  float const inf = std::numeric_limits<float>::infinity();
  bounds.assign(boxes.size(), Bounds());
  placed.resize(numPoints);
  for (unsigned int j = 0; j < numPoints; ++j) placed[j] = points[ptindx[j]];
  double sum = 0.0;
  for (Point const& p : points) {
    double dd = 0.0;
    for (int d = 0; d < DIM; ++d) dd += double(p.x[d]) * p.x[d];
    sum += std::sqrt(dd);
  }
  meanRadius = numPoints > 0 ? static_cast<float>(sum / numPoints) : 0.f;
  if (!std::isfinite(meanRadius)) meanRadius = 0.f;
  // A box at depth k splits in dimension k mod DIM; mothers come first.
  std::vector<int32_t> dims(boxes.size(), 0);
  for (std::size_t b = 1; b < boxes.size(); ++b) {
    if (boxes[b].ptlo <= boxes[b].pthi) dims[b] = (dims[boxes[b].mom] + 1) % DIM;
  }
  // Daughters stand behind their mother, so one pass from the back suffices.
  for (std::size_t b = boxes.size(); b-- > 0;) {
    Bounds& out = bounds[b];
    BoxNode const& box = boxes[b];
    for (int d = 0; d < DIM; ++d) {
      out.lo[d] = inf;
      out.hi[d] = -inf;
    }
    out.dau1 = box.dau1;
    out.ptlo = box.ptlo;
    out.pthi = box.pthi;
    out.mom = box.mom;
    out.dim = 0;
    out.split = 0.f;
    if (box.dau1 != 0) {
      out.dim = dims[b];
      out.split = boxes[box.dau1].hi.x[out.dim];
      for (int32_t dau : {box.dau1, box.dau2}) {
        for (int d = 0; d < DIM; ++d) {
          out.lo[d] = std::min(out.lo[d], bounds[dau].lo[d]);
          out.hi[d] = std::max(out.hi[d], bounds[dau].hi[d]);
        }
      }
    } else {
      for (int32_t i = box.ptlo; i <= box.pthi; ++i) {
        for (int d = 0; d < DIM; ++d) {
          out.lo[d] = std::min(out.lo[d], placed[i].x[d]);
          out.hi[d] = std::max(out.hi[d], placed[i].x[d]);
        }
      }
    }
  }
}

template <int DIM>
float KdTree<DIM>::boundsDistanceSquared(Bounds const& b, Point const& p) {
  float dd = 0.f;
  for (int d = 0; d < DIM; ++d) {
    // Float subtraction is monotonic, so each term is at most the one of any
    // point inside; an empty box (lo above hi) is infinitely far.
    float const below = b.lo[d] - p.x[d];
    float const above = p.x[d] - b.hi[d];
    float const t = std::max(std::max(below, above), 0.f);
    dd += t * t;
  }
  return dd;
}

template <int DIM>
float KdTree<DIM>::distanceSquared(Point const& a, Point const& b) const {
  float dd = 0.f;
  for (int d = 0; d < DIM; ++d) {
    float const t = a.x[d] - b.x[d];
    dd += t * t;
  }
  return dd;
}

template <int DIM>
int32_t KdTree<DIM>::locate(Point const& query, int& depth) const {
  // Through the compact records: the split of a box is its first daughter's
  // upper bound in the box's dimension (depth mod DIM).
  int32_t nb = 0;
  depth = 0;
  while (bounds[nb].dau1 != 0) {
    Bounds const& box = bounds[nb];
    nb = query.x[box.dim] <= box.split ? box.dau1 : box.dau1 + 1;
    ++depth;
  }
  return nb;
}

template <int DIM>
int32_t KdTree<DIM>::GetNearestPointIndex(Point const& query) const {
  if (!built || numPoints == 0) return -1;
  float const inf = std::numeric_limits<float>::infinity();

  int depth = 0;  // not needed below: each record knows its split
  int32_t const located = locate(query, depth);
  Bounds const& leaf = bounds[located];

  // The best point so far: its distance as the classic walk computes it (the
  // square root of the float sum), its place in ptindx and the first place of
  // its leaf (-1: the located leaf, which that walk scans first).
  //
  // The classic walk meets the located leaf first, then the leaves in falling
  // order of their places (second daughters first), each from its first place
  // on, and keeps the first point at the smallest distance. So a point at the
  // best distance so far is taken here only if that walk would meet it first,
  // and the leaves may be searched in any order: the nearest first, below.
  float best = inf;
  float bestSquared = inf;
  int32_t bestPlace = -1;
  int32_t bestLeafStart = -1;
  for (int32_t i = leaf.ptlo; i <= leaf.pthi; ++i) {
    float const dd = distanceSquared(placed[i], query);
    float const d = std::sqrt(dd);
    if (d < best) {
      best = d;
      bestSquared = dd;
      bestPlace = i;
    }
  }
  // Boxes further than this are pruned: a margin over the best squared
  // distance covers the rounding of the square root, so that ties are met.
  float limit = bestSquared * (1.f + 1.f / 1048576.f) + 1e-44f;
  auto scanLeaf = [&](Bounds const& box) {
    for (int32_t i = box.ptlo; i <= box.pthi; ++i) {
      float const dd = distanceSquared(placed[i], query);
      float const d = std::sqrt(dd);
      bool take = d < best;
      if (!take && d == best && best < inf && bestLeafStart >= 0) {
        take = box.ptlo > bestLeafStart || (box.ptlo == bestLeafStart && i < bestPlace);
      }
      if (take) {
        best = d;
        bestSquared = std::min(bestSquared, dd);
        bestPlace = i;
        bestLeafStart = box.ptlo;
        limit = bestSquared * (1.f + 1.f / 1048576.f) + 1e-44f;
      }
    }
  };

  // A source off the measurement sphere falls in a leaf far from its answer;
  // the leaf of the same direction on the sphere holds a close first candidate.
  int32_t guess = located;
  float const r = std::sqrt(distanceSquared(query, Point()));
  if (meanRadius > 0.f && r > 0.f && std::isfinite(r) &&
      !(r > 0.9f * meanRadius && r < 1.1f * meanRadius)) {
    Point onSphere;
    for (int d = 0; d < DIM; ++d) onSphere.x[d] = query.x[d] * (meanRadius / r);
    int guessDepth = 0;
    guess = locate(onSphere, guessDepth);
    if (guess != located) scanLeaf(bounds[guess]);
  }

  // Then the rest of the tree, from the located leaf up: at each box on the
  // way, its other daughter, depth first, the nearer granddaughter first.
  int32_t task[kStackSize + 1];
  for (int32_t node = located; node != 0;) {
    int32_t const mom = bounds[node].mom;
    int ntask = 1;
    task[1] = bounds[mom].dau1 == node ? node + 1 : node - 1;
    node = mom;
    while (ntask > 0) {
      int32_t const b = task[ntask--];
      Bounds const& box = bounds[b];
      if (!(boundsDistanceSquared(box, query) <= limit)) continue;
      if (box.dau1 != 0) {
        if (ntask + 2 > kStackSize) continue;  // unreachable for a balanced tree
        bool const first = query.x[box.dim] <= box.split;
        task[++ntask] = first ? box.dau1 + 1 : box.dau1;
        task[++ntask] = first ? box.dau1 : box.dau1 + 1;  // the nearer, next
      } else if (b != guess) {
        scanLeaf(box);
      }
    }
  }
  if (bestPlace >= 0) return ptindx[bestPlace];
  // Every distance infinite or NaN: the query is nowhere near any point, and
  // the located leaf's first point is as good an answer as any.
  return leaf.ptlo <= leaf.pthi ? ptindx[leaf.ptlo] : ptindx[0];
}

template class KdTree<3>;

}  // namespace nolardsp
