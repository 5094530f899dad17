#pragma once

#include <vector>

#include "NolarMatrix.h"

namespace nolardsp {

// sqrt(a^2 + b^2) computed as the larger absolute value times
// sqrt(1 + ratio^2), so that neither square overflows nor underflows;
// 0 if both are 0.
float pythag(float a, float b);

// Thin singular value decomposition a = U * diag(S) * V^T of an m by n matrix:
// with k = min(m, n), U is m by k, V is n by k and S holds k values.
//
// The choices this library settles:
//  - S is non-negative and sorted into decreasing order, the columns of U and
//    V following their values;
//  - each pair of columns u_i, v_i is given the sign that leaves no more
//    negative than positive entries among their m + n; on a tie, the entry of
//    u_i largest in absolute value (the first such) is positive;
//  - tolerance = sqrt(m + n + 1) * machineEpsilon * 0.5 * S[0], 0 when empty.
// An empty input gives U m by 0, V n by 0, S empty.
//
// Set-up only: allocates.
template <typename T>
class SVD {
 public:
  explicit SVD(Matrix<T> const& a);

  // V * diag(1 / S) * U^T, n by m; singular values at or below `tolerance`
  // (the object's own when negative) get 0 instead of their inverse.
  void GetPseudoInverse(Matrix<T>& result, T tolerance) const;

  Matrix<T> const& GetU() const { return U; }
  Matrix<T> const& GetV() const { return V; }
  std::vector<T> const& GetS() const { return S; }
  T GetTolerance() const { return tolerance; }
  T GetMachineEpsilon() const { return machineEpsilon; }

 private:
  // Sorts S into decreasing order (swapping the columns of U and V to match)
  // and settles the signs of the column pairs.
  void reorder();

  Matrix<T> U;
  Matrix<T> V;
  std::vector<T> S;
  T machineEpsilon;
  T tolerance;
};

extern template class SVD<float>;

}  // namespace nolardsp
