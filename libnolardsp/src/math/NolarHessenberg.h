#pragma once

#include <vector>

#include "NolarComplex.h"
#include "NolarMatrix.h"

namespace nolardsp {

// Eigenvalues of a real square matrix: balancing (radix 2, repeated while a
// row and column scaling lowers their norm sum below 0.95 of it), reduction to
// upper Hessenberg form by elimination with pivoting, accumulation of the
// transformation, then the shifted QR iteration with a budget of 30 iterations
// per eigenvalue.
//
// The reduced matrix H and the transformation Z satisfy B * Z = Z * H, where
// B is the balanced input (D^-1 * a * D with D diagonal, powers of 2).
// Eigenvalues are sorted by decreasing real part, then decreasing imaginary
// part, so a conjugate pair comes with its positive imaginary part first.
// Eigenvectors are not computed: the flag is accepted and ignored.
//
// Set-up only: allocates.
template <typename T>
class Hessenberg {
 public:
  Hessenberg(Matrix<T> const& a, bool computeEigenValues, bool computeEigenVectors);

  // False if the iteration did not converge, the input is not square, or
  // eigenvalues were not asked for. An empty input succeeds with no values.
  bool Succeeded() const { return success; }
  // The eigenvalues, or an empty vector when not Succeeded().
  void GetEigenValues(std::vector<Complex<T>>& eigenvalues) const;

  Matrix<T> const& GetReducedMatrix() const { return reduced; }
  Matrix<T> const& GetTransformation() const { return transformation; }
  // The powers of 2 of the balancing, D's diagonal.
  std::vector<T> const& GetScale() const { return scale; }

 private:
  void balance();
  void hessenbergReduction();
  void eltran();
  void computeEigenValues();

  Matrix<T> reduced;
  Matrix<T> transformation;
  std::vector<T> scale;
  // Row exchanges of the reduction, needed by eltran.
  std::vector<unsigned int> permutation;
  std::vector<T> realParts;
  std::vector<T> imaginaryParts;
  bool success;
};

extern template class Hessenberg<float>;

}  // namespace nolardsp
