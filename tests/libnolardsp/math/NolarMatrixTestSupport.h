#pragma once

#include <cmath>
#include <random>
#include <vector>

#include "NolarMatrix.h"

// Builders and measures shared by the linear-algebra tests. Reference values
// are computed in double so that they do not share the float rounding of the
// code under test.
namespace nolardsp::matrixtest {

inline Matrix<float> FromRows(std::vector<std::vector<float>> const& rows) {
  unsigned int const r = static_cast<unsigned int>(rows.size());
  unsigned int const c = r == 0 ? 0u : static_cast<unsigned int>(rows[0].size());
  Matrix<float> m(r, c);
  for (unsigned int i = 0; i < r; ++i)
    for (unsigned int j = 0; j < c; ++j) m[i][j] = rows[i][j];
  return m;
}

// Entries uniform in [-1, 1], reproducible from the seed.
inline Matrix<float> Random(unsigned int rows, unsigned int columns, unsigned int seed) {
  std::mt19937 engine(seed);
  std::uniform_real_distribution<float> uniform(-1.f, 1.f);
  Matrix<float> m(rows, columns);
  for (unsigned int i = 0; i < rows; ++i)
    for (unsigned int j = 0; j < columns; ++j) m[i][j] = uniform(engine);
  return m;
}

// Condition number about 1.5e4 at n = 4 and 4.8e5 at n = 5.
inline Matrix<float> Hilbert(unsigned int n) {
  Matrix<float> m(n, n);
  for (unsigned int i = 0; i < n; ++i)
    for (unsigned int j = 0; j < n; ++j) m[i][j] = 1.f / static_cast<float>(i + j + 1);
  return m;
}

inline Matrix<float> Transposed(Matrix<float> const& m) {
  Matrix<float> t;
  t.Transpose(m);
  return t;
}

inline Matrix<float> Identity(unsigned int n) {
  Matrix<float> m(n, n);
  m.Eye(1.f);
  return m;
}

// Frobenius norm of a - b, computed in double; infinite on a size mismatch.
inline double DistanceFro(Matrix<float> const& a, Matrix<float> const& b) {
  if (a.GetNumRows() != b.GetNumRows() || a.GetNumColumns() != b.GetNumColumns()) return INFINITY;
  double sum = 0.0;
  for (unsigned int i = 0; i < a.GetNumRows(); ++i)
    for (unsigned int j = 0; j < a.GetNumColumns(); ++j) {
      double const d = static_cast<double>(a[i][j]) - static_cast<double>(b[i][j]);
      sum += d * d;
    }
  return std::sqrt(sum);
}

inline bool AllFinite(Matrix<float> const& m) {
  for (auto const& row : m.GetData())
    for (float v : row)
      if (!std::isfinite(v)) return false;
  return true;
}

// Least-squares solution of a x = b through the normal equations in double
// (fine for the small, well-conditioned cases it serves).
inline Matrix<float> LeastSquaresReference(Matrix<float> const& a, Matrix<float> const& b) {
  unsigned int const m = a.GetNumRows();
  unsigned int const n = a.GetNumColumns();
  unsigned int const k = b.GetNumColumns();
  std::vector<std::vector<double>> g(n, std::vector<double>(n + k, 0.0));
  for (unsigned int i = 0; i < n; ++i) {
    for (unsigned int j = 0; j < n; ++j)
      for (unsigned int r = 0; r < m; ++r) g[i][j] += double(a[r][i]) * double(a[r][j]);
    for (unsigned int j = 0; j < k; ++j)
      for (unsigned int r = 0; r < m; ++r) g[i][n + j] += double(a[r][i]) * double(b[r][j]);
  }
  for (unsigned int p = 0; p < n; ++p) {
    unsigned int best = p;
    for (unsigned int r = p + 1; r < n; ++r)
      if (std::fabs(g[r][p]) > std::fabs(g[best][p])) best = r;
    std::swap(g[p], g[best]);
    for (unsigned int r = 0; r < n; ++r) {
      if (r == p) continue;
      double const f = g[r][p] / g[p][p];
      for (unsigned int c = p; c < n + k; ++c) g[r][c] -= f * g[p][c];
    }
  }
  Matrix<float> x(n, k);
  for (unsigned int i = 0; i < n; ++i)
    for (unsigned int j = 0; j < k; ++j) x[i][j] = static_cast<float>(g[i][n + j] / g[i][i]);
  return x;
}

}  // namespace nolardsp::matrixtest
