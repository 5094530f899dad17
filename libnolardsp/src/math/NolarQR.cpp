#include "NolarQR.h"

#include <algorithm>
#include <cmath>

#include "NolarSVD.h"

namespace nolardsp {

template <typename T>
QR<T>::QR(Matrix<T> const& a) : factored(a) {
  unsigned int const m = a.GetNumRows();
  unsigned int const n = a.GetNumColumns();
  unsigned int const k = std::min(m, n);
  diagonal.assign(k, T(0));
  beta.assign(k, T(0));
  Matrix<T>& f = factored;
  for (unsigned int j = 0; j < k; ++j) {
    T norm = 0;
    for (unsigned int i = j; i < m; ++i) norm = pythag(norm, f[i][j]);
    if (!(norm > T(0))) {
      // Nothing to reduce (or not a number): no reflection, R's entry is 0.
      diagonal[j] = T(0);
      continue;
    }
    // v = x + sign(x0) |x| e0 avoids cancellation in its first entry; the
    // reflection I - beta v v^T maps x to -sign(x0) |x| e0.
    T const sigma = f[j][j] < T(0) ? -norm : norm;
    f[j][j] += sigma;
    T const b = T(1) / (norm * std::fabs(f[j][j]));
    beta[j] = b;
    diagonal[j] = -sigma;
    for (unsigned int c = j + 1; c < n; ++c) {
      T dot = 0;
      for (unsigned int i = j; i < m; ++i) dot += f[i][j] * f[i][c];
      T const scale = b * dot;
      for (unsigned int i = j; i < m; ++i) f[i][c] -= scale * f[i][j];
    }
  }
}

template <typename T>
bool QR<T>::IsFullRank() const {
  for (T d : diagonal)
    if (d == T(0)) return false;
  return true;
}

template <typename T>
void QR<T>::Solve(Matrix<T>& x, Matrix<T> const& b) const {
  unsigned int const m = factored.GetNumRows();
  unsigned int const n = factored.GetNumColumns();
  unsigned int const k = static_cast<unsigned int>(diagonal.size());
  unsigned int const columns = b.GetNumColumns();
  if (b.GetNumRows() != m) {
    x.Resize(0, 0);
    return;
  }
  // y = Q^T b, one reflection at a time.
  Matrix<T> y(b);
  for (unsigned int j = 0; j < k; ++j) {
    if (beta[j] == T(0)) continue;
    for (unsigned int c = 0; c < columns; ++c) {
      T dot = 0;
      for (unsigned int i = j; i < m; ++i) dot += factored[i][j] * y[i][c];
      T const scale = beta[j] * dot;
      for (unsigned int i = j; i < m; ++i) y[i][c] -= scale * factored[i][j];
    }
  }
  // Back substitution on the leading k by k triangle; unknowns past it stay 0.
  Matrix<T> solution(n, columns, T(0));
  for (unsigned int c = 0; c < columns; ++c)
    for (unsigned int jj = k; jj-- > 0;) {
      if (diagonal[jj] == T(0)) continue;
      T sum = y[jj][c];
      for (unsigned int i = jj + 1; i < k; ++i) sum -= factored[jj][i] * solution[i][c];
      solution[jj][c] = sum / diagonal[jj];
    }
  x = std::move(solution);
}

template <typename T>
void QR<T>::GetQ(Matrix<T>& q) const {
  unsigned int const m = factored.GetNumRows();
  unsigned int const k = static_cast<unsigned int>(diagonal.size());
  Matrix<T> result(m, m);
  result.Eye(T(1));
  // Q = H0 H1 ... applied to the identity from the last reflection back.
  for (unsigned int j = k; j-- > 0;) {
    if (beta[j] == T(0)) continue;
    for (unsigned int c = 0; c < m; ++c) {
      T dot = 0;
      for (unsigned int i = j; i < m; ++i) dot += factored[i][j] * result[i][c];
      T const scale = beta[j] * dot;
      for (unsigned int i = j; i < m; ++i) result[i][c] -= scale * factored[i][j];
    }
  }
  q = std::move(result);
}

template <typename T>
void QR<T>::GetR(Matrix<T>& r) const {
  unsigned int const m = factored.GetNumRows();
  unsigned int const n = factored.GetNumColumns();
  Matrix<T> result(m, n, T(0));
  for (unsigned int i = 0; i < diagonal.size(); ++i) {
    result[i][i] = diagonal[i];
    for (unsigned int c = i + 1; c < n; ++c) result[i][c] = factored[i][c];
  }
  r = std::move(result);
}

template class QR<float>;

}  // namespace nolardsp
