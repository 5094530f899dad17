#include "NolarGaussJordan.h"

#include <cmath>
#include <limits>
#include <vector>

namespace nolardsp {

template <typename T>
bool GaussJordan<T>::GaussJordanElimination(Matrix<T>& a, Matrix<T>& b) {
  unsigned int const n = a.GetNumRows();
  unsigned int const k = b.GetNumColumns();
  if (a.GetNumColumns() != n || b.GetNumRows() != n) return false;

  // Rows of [a | I | b]; only row operations, so the middle block
  // accumulates the inverse and the right one the solution.
  unsigned int const width = 2 * n + k;
  std::vector<std::vector<T>> w(n, std::vector<T>(width, T(0)));
  T largest = 0;
  for (unsigned int r = 0; r < n; ++r) {
    for (unsigned int c = 0; c < n; ++c) {
      w[r][c] = a[r][c];
      T const v = std::fabs(a[r][c]);
      largest = v > largest || std::isnan(v) ? v : largest;
    }
    w[r][n + r] = T(1);
    for (unsigned int c = 0; c < k; ++c) w[r][2 * n + c] = b[r][c];
  }
  // Below this a pivot is rounding noise: dividing by it would only amplify
  // the noise (to infinity when it is 0).
  T const threshold = T(n) * std::numeric_limits<T>::epsilon() * largest;

  std::vector<bool> rowUsed(n, false);
  std::vector<bool> columnUsed(n, false);
  std::vector<unsigned int> rowOfColumn(n, n);
  bool fullRank = true;
  for (unsigned int step = 0; step < n; ++step) {
    T best = -1;
    unsigned int pivotRow = 0;
    unsigned int pivotColumn = 0;
    for (unsigned int r = 0; r < n; ++r) {
      if (rowUsed[r]) continue;
      for (unsigned int c = 0; c < n; ++c) {
        if (columnUsed[c]) continue;
        T const v = std::fabs(w[r][c]);
        if (v > best) {
          best = v;
          pivotRow = r;
          pivotColumn = c;
        }
      }
    }
    if (!(best > threshold) || !std::isfinite(best)) {
      fullRank = false;
      break;
    }
    rowUsed[pivotRow] = true;
    columnUsed[pivotColumn] = true;
    rowOfColumn[pivotColumn] = pivotRow;
    std::vector<T>& p = w[pivotRow];
    T const inverse = T(1) / p[pivotColumn];
    for (unsigned int c = 0; c < width; ++c) p[c] *= inverse;
    p[pivotColumn] = T(1);
    for (unsigned int r = 0; r < n; ++r) {
      if (r == pivotRow) continue;
      T const factor = w[r][pivotColumn];
      if (factor == T(0)) continue;
      for (unsigned int c = 0; c < width; ++c) w[r][c] -= factor * p[c];
      w[r][pivotColumn] = T(0);
    }
  }

  // Unknown c takes the row where column c was pivoted; the others are 0.
  for (unsigned int c = 0; c < n; ++c) {
    unsigned int const r = rowOfColumn[c];
    for (unsigned int j = 0; j < n; ++j) a[c][j] = r < n ? w[r][n + j] : T(0);
    for (unsigned int j = 0; j < k; ++j) b[c][j] = r < n ? w[r][2 * n + j] : T(0);
  }
  return fullRank;
}

template class GaussJordan<float>;

}  // namespace nolardsp
