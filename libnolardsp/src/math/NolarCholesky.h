#pragma once

#include "NolarMatrix.h"

namespace nolardsp {

// Row-by-row Cholesky factorisation a = L * L^T of a square matrix, reading
// its upper triangle. A pivot value that is not positive clears isSpd; the
// factor is still built, from the pivot clamped to 0 (a zero diagonal entry of
// L and zeros below it), so it never holds NaN. A non-square input gives an
// empty L and isSpd false; an empty input gives an empty L and isSpd true.
//
// Set-up only: allocates.
template <typename T>
class Cholesky {
 public:
  explicit Cholesky(Matrix<T> const& a);

  // Solves L * L^T * x = b by two triangular substitutions. If b's row count
  // differs from L's, x becomes 0 by 0. A zero diagonal entry of L (only when
  // not positive definite) contributes 0 instead of a division.
  void Solve(Matrix<T>& x, Matrix<T> const& b) const;

  bool IsSpd() const { return isSpd; }
  Matrix<T> const& GetL() const { return L; }

 private:
  Matrix<T> L;
  bool isSpd;
};

extern template class Cholesky<float>;

}  // namespace nolardsp
