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
  built = true;
}

template <int DIM>
float KdTree<DIM>::distance(Point const& a, Point const& b) const {
  float dd = 0.f;
  for (int d = 0; d < DIM; ++d) {
    float const t = a.x[d] - b.x[d];
    dd += t * t;
  }
  return std::sqrt(dd);
}

template <int DIM>
float KdTree<DIM>::boxDistance(BoxNode const& box, Point const& p) {
  float dd = 0.f;
  for (int d = 0; d < DIM; ++d) {
    if (p.x[d] < box.lo.x[d]) dd += (p.x[d] - box.lo.x[d]) * (p.x[d] - box.lo.x[d]);
    if (p.x[d] > box.hi.x[d]) dd += (p.x[d] - box.hi.x[d]) * (p.x[d] - box.hi.x[d]);
  }
  return std::sqrt(dd);
}

template <int DIM>
int32_t KdTree<DIM>::locate(Point const& query) const {
  int32_t nb = 0;
  int d = 0;
  while (boxes[nb].dau1 != 0) {
    int32_t const d1 = boxes[nb].dau1;
    nb = query.x[d] <= boxes[d1].hi.x[d] ? d1 : boxes[nb].dau2;
    d = (d + 1) % DIM;
  }
  return nb;
}

template <int DIM>
int32_t KdTree<DIM>::GetNearestPointIndex(Point const& query) const {
  if (!built || numPoints == 0) return -1;
  float best = std::numeric_limits<float>::infinity();
  int32_t nearest = -1;
  BoxNode const& leaf = boxes[locate(query)];
  for (int32_t i = leaf.ptlo; i <= leaf.pthi; ++i) {
    float const d = distance(points[ptindx[i]], query);
    if (d < best) {
      nearest = ptindx[i];
      best = d;
    }
  }
  // Every distance infinite or NaN: the query is nowhere near any point, and
  // the leaf's first point is as good an answer as any. best stays infinite, so
  // the walk below can only replace it by a point at a finite distance.
  if (nearest < 0) nearest = leaf.ptlo <= leaf.pthi ? ptindx[leaf.ptlo] : ptindx[0];

  int32_t task[kStackSize + 1];
  int ntask = 1;
  task[1] = 0;
  while (ntask > 0) {
    BoxNode const& box = boxes[task[ntask--]];
    if (!(boxDistance(box, query) < best)) continue;
    if (box.dau1 != 0) {
      if (ntask + 2 > kStackSize) continue;  // unreachable for a balanced tree
      task[++ntask] = box.dau1;
      task[++ntask] = box.dau2;
    } else {
      for (int32_t i = box.ptlo; i <= box.pthi; ++i) {
        float const d = distance(points[ptindx[i]], query);
        if (d < best) {
          nearest = ptindx[i];
          best = d;
        }
      }
    }
  }
  return nearest;
}

template class KdTree<3>;

}  // namespace nolardsp
