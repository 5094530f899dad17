#pragma once

#include <vector>

#include "NolarComplex.h"
#include "NolarMatrix.h"

namespace nolardsp {

// A complex matrix that also takes real operands. Set-up only: allocates.
template <typename T>
class MatrixComplex : public Matrix<Complex<T>> {
 public:
  using Matrix<Complex<T>>::Matrix;
  using Matrix<Complex<T>>::ElementWiseMultiply;
  using Matrix<Complex<T>>::Multiply;

  MatrixComplex() = default;
  // From real and imaginary parts of the same size; empty on a mismatch.
  MatrixComplex(Matrix<T> const& real, Matrix<T> const& imaginary);
  explicit MatrixComplex(Matrix<T> const& real);

  // Entry by entry, this *= other (a real matrix). Unchanged on a size
  // mismatch.
  virtual void ElementWiseMultiply(Matrix<T> const& other);
  // result = this * vector, complex arithmetic, length GetNumRows().
  void Multiply(std::vector<Complex<T>>& result,
                std::vector<Complex<T>> const& vector) const override;

  void GetReal(Matrix<T>& real) const;
  void GetImaginary(Matrix<T>& imaginary) const;
};

extern template class MatrixComplex<float>;

}  // namespace nolardsp
