#pragma once

#include <vector>

#include "NolarSphericalHarmonic.h"

namespace nolardsp {

// Associated Legendre values P(l, m) at x, for every m from -l to l, in the
// conventions of SphericalHarmonic::Normalization. With
// S = sqrt((2 - d(m)) (l - |m|)! / (l + |m|)!) P_l^|m|, the semi-normalised
// value:
//
//   SN3D   S, times (-1)^m for m below 0
//   N3D    sqrt(2l + 1) times the SN3D value
//   Gauss  sqrt(2l + 1) S, with no sign at all
//   Unnormalized (and SN2D, N2D, which have no Legendre form of their own)
//          (-1)^m P_l^|m| for m other than 0, P_l for m = 0
//
// where P_l^|m| carries no Condon-Shortley phase. The values are built in the
// fully normalised form (stable for the orders of the system: 20 in float,
// far beyond in double) and converted in one pass.
//
// x is clamped to [-1, 1]. Stateless; any thread. The table form allocates
// only when out must grow; the single form allocates nothing.
template <typename T>
class Legendre {
 public:
  // (order + 1)^2 entries, (l, m) at place l^2 + l + m.
  static void AssociatedLegendreFunctions(std::vector<T>& out, unsigned int order, T x,
                                          SphericalHarmonic::Normalization const& normalization);
  // The entry (l, m) of the table above, computed alone (in O(l)); 0 when |m|
  // exceeds l.
  static T AssociatedLegendreFunctions(unsigned int l, int m, T x,
                                       SphericalHarmonic::Normalization const& normalization);
};

extern template class Legendre<float>;
extern template class Legendre<double>;

}  // namespace nolardsp
