#pragma once

#include <vector>

#include "NolarMatrix.h"

namespace nolardsp {

// Householder QR of an m by n matrix, each column norm accumulated with
// pythag. The factored matrix holds R above its diagonal and the Householder
// vectors on and below it; the diagonal of R is kept apart, each entry with the
// sign opposite to the column's leading entry (minus its norm when that entry
// is 0), and exactly 0 for a column that is already zero where it is reduced.
//
// Set-up only: allocates.
template <typename T>
class QR {
 public:
  explicit QR(Matrix<T> const& a);

  // Least-squares solution of a * x = b (m >= n), or the solution with the
  // last n - m unknowns at 0 (m < n). An unknown whose diagonal entry of R is
  // 0 is set to 0. x is 0 by 0 if b does not have m rows.
  void Solve(Matrix<T>& x, Matrix<T> const& b) const;

  // True if no stored diagonal entry of R is exactly 0.
  bool IsFullRank() const;

  Matrix<T> const& GetFactoredMatrix() const { return factored; }
  // min(m, n) entries.
  std::vector<T> const& GetDiagonal() const { return diagonal; }
  // The explicit factors, for checks: Q is m by m orthogonal, R m by n upper
  // trapezoidal, with a = Q * R.
  void GetQ(Matrix<T>& q) const;
  void GetR(Matrix<T>& r) const;

 private:
  Matrix<T> factored;
  std::vector<T> diagonal;
  // 2 / (v^T v) for each Householder vector, 0 where no reflection was made.
  std::vector<T> beta;
};

extern template class QR<float>;

}  // namespace nolardsp
