#pragma once

#include <cstdint>

// The value types of the balanced box tree (KdTree): a point, a box and a box
// node. Plain data; the tree keeps arrays of them.
namespace nolardsp {
namespace KdTreeHelper {

template <int DIM>
struct NPoint {
  float x[DIM] = {};
};

template <int DIM>
struct NBox {
  NPoint<DIM> lo;
  NPoint<DIM> hi;

  NBox() = default;
  NBox(NPoint<DIM> const& lo_, NPoint<DIM> const& hi_) : lo(lo_), hi(hi_) {}
  virtual ~NBox() = default;
  NBox(NBox const&) = default;
  NBox& operator=(NBox const&) = default;
};

// A box of the tree. dau1 == 0 marks a leaf; ptlo .. pthi (inclusive) is the
// box's run of the tree's permutation, empty when ptlo > pthi.
template <int DIM>
struct NBoxNode : public NBox<DIM> {
  int32_t mom = 0;
  int32_t dau1 = 0;
  int32_t dau2 = 0;
  int32_t ptlo = 0;
  int32_t pthi = -1;

  NBoxNode() = default;
  NBoxNode(NPoint<DIM> const& lo_, NPoint<DIM> const& hi_, int32_t mom_, int32_t dau1_,
           int32_t dau2_, int32_t ptlo_, int32_t pthi_)
      : NBox<DIM>(lo_, hi_), mom(mom_), dau1(dau1_), dau2(dau2_), ptlo(ptlo_), pthi(pthi_) {}
};

}  // namespace KdTreeHelper
}  // namespace nolardsp
