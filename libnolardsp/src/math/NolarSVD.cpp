#include "NolarSVD.h"

#include <Eigen/SVD>
#include <algorithm>
#include <cmath>
#include <numeric>

namespace nolardsp {

float pythag(float a, float b) {
  float const absA = std::fabs(a);
  float const absB = std::fabs(b);
  if (absA > absB) {
    float const ratio = absB / absA;
    return absA * std::sqrt(1.f + ratio * ratio);
  }
  if (absB == 0.f) return 0.f;
  float const ratio = absA / absB;
  return absB * std::sqrt(1.f + ratio * ratio);
}

namespace {

template <typename T>
bool allFinite(Matrix<T> const& a) {
  for (auto const& row : a.GetData())
    for (T v : row)
      if (!std::isfinite(v)) return false;
  return true;
}

}  // namespace

template <typename T>
SVD<T>::SVD(Matrix<T> const& a) : machineEpsilon(T(1.1920929e-07)), tolerance(0) {
  unsigned int const m = a.GetNumRows();
  unsigned int const n = a.GetNumColumns();
  unsigned int const k = std::min(m, n);
  U.Resize(m, k);
  V.Resize(n, k);
  S.assign(k, T(0));
  if (k == 0) return;

  if (!allFinite(a)) {
    // Decomposed as the zero matrix: S all 0, so the pseudo-inverse is 0 and
    // nothing downstream sees a NaN.
    U.Eye(T(1));
    V.Eye(T(1));
    return;
  }

  using EigenMatrix = Eigen::Matrix<T, Eigen::Dynamic, Eigen::Dynamic>;
  EigenMatrix e(m, n);
  for (unsigned int r = 0; r < m; ++r)
    for (unsigned int c = 0; c < n; ++c) e(r, c) = a[r][c];
  Eigen::JacobiSVD<EigenMatrix> svd(e, Eigen::ComputeThinU | Eigen::ComputeThinV);
  auto const& u = svd.matrixU();
  auto const& v = svd.matrixV();
  auto const& s = svd.singularValues();
  for (unsigned int i = 0; i < k; ++i) {
    S[i] = s(i);
    for (unsigned int r = 0; r < m; ++r) U[r][i] = u(r, i);
    for (unsigned int r = 0; r < n; ++r) V[r][i] = v(r, i);
  }
  reorder();
  tolerance = std::sqrt(T(m + n + 1)) * machineEpsilon * T(0.5) * S[0];
}

template <typename T>
void SVD<T>::reorder() {
  unsigned int const m = U.GetNumRows();
  unsigned int const n = V.GetNumRows();
  unsigned int const k = static_cast<unsigned int>(S.size());

  // A value the decomposition returned negative is made non-negative by
  // turning its column of V around.
  for (unsigned int i = 0; i < k; ++i)
    if (S[i] < T(0)) {
      S[i] = -S[i];
      for (unsigned int r = 0; r < n; ++r) V[r][i] = -V[r][i];
    }

  std::vector<unsigned int> order(k);
  std::iota(order.begin(), order.end(), 0u);
  std::stable_sort(order.begin(), order.end(),
                   [this](unsigned int x, unsigned int y) { return S[x] > S[y]; });
  Matrix<T> const oldU(U);
  Matrix<T> const oldV(V);
  std::vector<T> const oldS(S);
  for (unsigned int i = 0; i < k; ++i) {
    unsigned int const from = order[i];
    S[i] = oldS[from];
    for (unsigned int r = 0; r < m; ++r) U[r][i] = oldU[r][from];
    for (unsigned int r = 0; r < n; ++r) V[r][i] = oldV[r][from];
  }

  // Signs: U * diag(S) * V^T is unchanged when u_i and v_i turn together, so
  // the pair is turned to have no more negative than positive entries, and on
  // a tie to make the largest entry of u_i (the first one) positive.
  for (unsigned int i = 0; i < k; ++i) {
    int balance = 0;
    unsigned int largest = 0;
    for (unsigned int r = 0; r < m; ++r) {
      balance += (U[r][i] > T(0)) - (U[r][i] < T(0));
      if (std::fabs(U[r][i]) > std::fabs(U[largest][i])) largest = r;
    }
    for (unsigned int r = 0; r < n; ++r) balance += (V[r][i] > T(0)) - (V[r][i] < T(0));
    if (balance < 0 || (balance == 0 && U[largest][i] < T(0))) {
      for (unsigned int r = 0; r < m; ++r) U[r][i] = -U[r][i];
      for (unsigned int r = 0; r < n; ++r) V[r][i] = -V[r][i];
    }
  }
}

template <typename T>
void SVD<T>::GetPseudoInverse(Matrix<T>& result, T cut) const {
  if (cut < T(0)) cut = tolerance;
  unsigned int const m = U.GetNumRows();
  unsigned int const n = V.GetNumRows();
  unsigned int const k = static_cast<unsigned int>(S.size());
  // V * Sinverse * U^T, with V's columns scaled first.
  Matrix<T> scaledV(V);
  for (unsigned int i = 0; i < k; ++i) {
    T const inverse = S[i] > cut ? T(1) / S[i] : T(0);
    for (unsigned int r = 0; r < n; ++r) scaledV[r][i] *= inverse;
  }
  Matrix<T> ut;
  ut.Transpose(U);
  if (k == 0) {
    result = Matrix<T>(n, m, T(0));
    return;
  }
  result = scaledV * ut;
}

template class SVD<float>;

}  // namespace nolardsp
