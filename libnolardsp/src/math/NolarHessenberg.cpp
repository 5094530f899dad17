#include "NolarHessenberg.h"

#include <Eigen/Eigenvalues>
#include <algorithm>
#include <cmath>
#include <numeric>
#include <utility>

namespace nolardsp {

template <typename T>
Hessenberg<T>::Hessenberg(Matrix<T> const& a, bool wantEigenValues, bool /*wantEigenVectors*/)
    : reduced(a), success(false) {
  if (!a.IsSquare()) return;
  for (auto const& row : a.GetData())
    for (T v : row)
      if (!std::isfinite(v)) return;
  unsigned int const n = a.GetNumRows();
  scale.assign(n, T(1));
  permutation.resize(n);
  std::iota(permutation.begin(), permutation.end(), 0u);
  balance();
  hessenbergReduction();
  eltran();
  if (wantEigenValues) computeEigenValues();
}

template <typename T>
void Hessenberg<T>::balance() {
  // Scales by powers of 2 leave every entry exact: only the norms move.
  T const radix = 2;
  T const squaredRadix = radix * radix;
  unsigned int const n = reduced.GetNumRows();
  Matrix<T>& a = reduced;
  bool done = false;
  // Each accepted scaling lowers a row-plus-column norm by 5 %, so this ends;
  // the cap only keeps a pathological input from running long.
  for (unsigned int sweep = 0; !done && sweep < 1000; ++sweep) {
    done = true;
    for (unsigned int i = 0; i < n; ++i) {
      T r = 0;
      T c = 0;
      for (unsigned int j = 0; j < n; ++j)
        if (j != i) {
          c += std::fabs(a[j][i]);
          r += std::fabs(a[i][j]);
        }
      if (c == T(0) || r == T(0)) continue;
      T g = r / radix;
      T f = 1;
      T const s = c + r;
      while (c < g) {
        f *= radix;
        c *= squaredRadix;
      }
      g = r * radix;
      while (c > g) {
        f /= radix;
        c /= squaredRadix;
      }
      if ((c + r) / f < T(0.95) * s) {
        done = false;
        g = T(1) / f;
        scale[i] *= f;
        for (unsigned int j = 0; j < n; ++j) a[i][j] *= g;
        for (unsigned int j = 0; j < n; ++j) a[j][i] *= f;
      }
    }
  }
}

template <typename T>
void Hessenberg<T>::hessenbergReduction() {
  // Gaussian elimination with partial pivoting, column by column; the
  // multipliers are kept below the subdiagonal for eltran.
  unsigned int const n = reduced.GetNumRows();
  Matrix<T>& a = reduced;
  for (unsigned int m = 1; m + 1 < n; ++m) {
    T x = 0;
    unsigned int pivot = m;
    for (unsigned int j = m; j < n; ++j)
      if (std::fabs(a[j][m - 1]) > std::fabs(x)) {
        x = a[j][m - 1];
        pivot = j;
      }
    permutation[m] = pivot;
    if (pivot != m) {
      for (unsigned int j = m - 1; j < n; ++j) std::swap(a[pivot][j], a[m][j]);
      for (unsigned int j = 0; j < n; ++j) std::swap(a[j][pivot], a[j][m]);
    }
    if (x == T(0)) continue;
    for (unsigned int i = m + 1; i < n; ++i) {
      T y = a[i][m - 1];
      if (y == T(0)) continue;
      y /= x;
      a[i][m - 1] = y;
      for (unsigned int j = m; j < n; ++j) a[i][j] -= y * a[m][j];
      for (unsigned int j = 0; j < n; ++j) a[j][m] += y * a[j][i];
    }
  }
}

template <typename T>
void Hessenberg<T>::eltran() {
  // Builds the transformation from the stored multipliers and row exchanges,
  // then clears the multipliers out of the reduced matrix.
  unsigned int const n = reduced.GetNumRows();
  Matrix<T>& z = transformation;
  z.Resize(n, n);
  z.Eye(T(1));
  for (unsigned int mp = n >= 2 ? n - 2 : 0; mp > 0; --mp) {
    for (unsigned int k = mp + 1; k < n; ++k) z[k][mp] = reduced[k][mp - 1];
    unsigned int const i = permutation[mp];
    if (i != mp) {
      for (unsigned int j = mp; j < n; ++j) {
        z[mp][j] = z[i][j];
        z[i][j] = T(0);
      }
      z[i][mp] = T(1);
    }
  }
  for (unsigned int r = 2; r < n; ++r)
    for (unsigned int c = 0; c + 1 < r; ++c) reduced[r][c] = T(0);
}

template <typename T>
void Hessenberg<T>::computeEigenValues() {
  unsigned int const n = reduced.GetNumRows();
  realParts.clear();
  imaginaryParts.clear();
  if (n == 0) {
    success = true;
    return;
  }
  using EigenMatrix = Eigen::Matrix<T, Eigen::Dynamic, Eigen::Dynamic>;
  EigenMatrix h(n, n);
  for (unsigned int r = 0; r < n; ++r)
    for (unsigned int c = 0; c < n; ++c) h(r, c) = reduced[r][c];
  Eigen::EigenSolver<EigenMatrix> solver;
  solver.setMaxIterations(static_cast<Eigen::Index>(30) * n);
  solver.compute(h, false);
  if (solver.info() != Eigen::Success) return;
  auto const& values = solver.eigenvalues();
  std::vector<std::pair<T, T>> sorted(n);
  for (unsigned int i = 0; i < n; ++i) sorted[i] = {values(i).real(), values(i).imag()};
  std::sort(sorted.begin(), sorted.end(), [](std::pair<T, T> const& x, std::pair<T, T> const& y) {
    return x.first != y.first ? x.first > y.first : x.second > y.second;
  });
  for (auto const& v : sorted) {
    realParts.push_back(v.first);
    imaginaryParts.push_back(v.second);
  }
  success = true;
}

template <typename T>
void Hessenberg<T>::GetEigenValues(std::vector<Complex<T>>& eigenvalues) const {
  eigenvalues.clear();
  if (!success) return;
  for (size_t i = 0; i < realParts.size(); ++i)
    eigenvalues.push_back(Complex<T>{realParts[i], imaginaryParts[i]});
}

template class Hessenberg<float>;

}  // namespace nolardsp
