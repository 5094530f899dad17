#pragma once

#include "NolarMatrix.h"

namespace nolardsp {

// Gauss-Jordan elimination with full pivoting (largest absolute value among
// the rows and columns not yet used).
template <typename T>
class GaussJordan {
 public:
  // In place: `a` (n by n) becomes its inverse and `b` (n by k) the solution
  // of a * x = b. Returns true if every pivot was usable. When the largest
  // remaining pivot is 0 or below n * epsilon times the largest entry of a,
  // elimination stops there: the unknowns not yet pivoted are 0, and `a` holds
  // a generalised inverse G with a * G * a = a (the rows and columns of the
  // unpivoted unknowns 0), so no entry is ever infinite or NaN. Returns false
  // and changes nothing if a is not square or b's row count differs.
  static bool GaussJordanElimination(Matrix<T>& a, Matrix<T>& b);
};

extern template class GaussJordan<float>;

}  // namespace nolardsp
