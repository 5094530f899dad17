#include "NolarCholesky.h"

#include <cmath>

namespace nolardsp {

template <typename T>
Cholesky<T>::Cholesky(Matrix<T> const& a) : isSpd(true) {
  if (!a.IsSquare()) {
    isSpd = false;
    return;
  }
  unsigned int const n = a.GetNumRows();
  L.Resize(n, n);
  for (unsigned int i = 0; i < n; ++i) {
    for (unsigned int j = i; j < n; ++j) {
      T sum = a[i][j];
      for (unsigned int k = 0; k < i; ++k) sum -= L[i][k] * L[j][k];
      if (i == j) {
        // Written so that a NaN pivot also counts as not positive.
        if (!(sum > T(0))) {
          isSpd = false;
          sum = T(0);
        }
        L[i][i] = std::sqrt(sum);
      } else {
        L[j][i] = L[i][i] == T(0) ? T(0) : sum / L[i][i];
      }
    }
  }
}

template <typename T>
void Cholesky<T>::Solve(Matrix<T>& x, Matrix<T> const& b) const {
  unsigned int const n = L.GetNumRows();
  if (b.GetNumRows() != n) {
    x.Resize(0, 0);
    return;
  }
  unsigned int const columns = b.GetNumColumns();
  Matrix<T> solution(b);
  for (unsigned int c = 0; c < columns; ++c) {
    // L y = b, then L^T x = y, in place.
    for (unsigned int i = 0; i < n; ++i) {
      T sum = solution[i][c];
      for (unsigned int k = 0; k < i; ++k) sum -= L[i][k] * solution[k][c];
      solution[i][c] = L[i][i] == T(0) ? T(0) : sum / L[i][i];
    }
    for (unsigned int i = n; i-- > 0;) {
      T sum = solution[i][c];
      for (unsigned int k = i + 1; k < n; ++k) sum -= L[k][i] * solution[k][c];
      solution[i][c] = L[i][i] == T(0) ? T(0) : sum / L[i][i];
    }
  }
  x = std::move(solution);
}

template class Cholesky<float>;

}  // namespace nolardsp
