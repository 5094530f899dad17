#include "NolarMatrixComplex.h"

namespace nolardsp {

template <typename T>
MatrixComplex<T>::MatrixComplex(Matrix<T> const& real, Matrix<T> const& imaginary) {
  unsigned int const rows = real.GetNumRows();
  unsigned int const columns = real.GetNumColumns();
  if (imaginary.GetNumRows() != rows || imaginary.GetNumColumns() != columns) return;
  this->Resize(rows, columns);
  for (unsigned int r = 0; r < rows; ++r)
    for (unsigned int c = 0; c < columns; ++c)
      this->data[r][c] = Complex<T>{real[r][c], imaginary[r][c]};
}

template <typename T>
MatrixComplex<T>::MatrixComplex(Matrix<T> const& real)
    : MatrixComplex(real, Matrix<T>(real.GetNumRows(), real.GetNumColumns(), T(0))) {}

template <typename T>
void MatrixComplex<T>::ElementWiseMultiply(Matrix<T> const& other) {
  if (this->numRows != other.GetNumRows() || this->numColumns != other.GetNumColumns()) return;
  for (unsigned int r = 0; r < this->numRows; ++r)
    for (unsigned int c = 0; c < this->numColumns; ++c) {
      this->data[r][c].re *= other[r][c];
      this->data[r][c].im *= other[r][c];
    }
}

template <typename T>
void MatrixComplex<T>::Multiply(std::vector<Complex<T>>& result,
                                std::vector<Complex<T>> const& vector) const {
  if (vector.size() != this->numColumns) {
    result.clear();
    return;
  }
  std::vector<Complex<T>> product(this->numRows, Complex<T>{T(0), T(0)});
  for (unsigned int r = 0; r < this->numRows; ++r) {
    Complex<T> const* row = this->data[r].data();
    T re = 0;
    T im = 0;
    for (unsigned int c = 0; c < this->numColumns; ++c) {
      re += row[c].re * vector[c].re - row[c].im * vector[c].im;
      im += row[c].re * vector[c].im + row[c].im * vector[c].re;
    }
    product[r] = Complex<T>{re, im};
  }
  result = std::move(product);
}

template <typename T>
void MatrixComplex<T>::GetReal(Matrix<T>& real) const {
  real.Resize(this->numRows, this->numColumns);
  for (unsigned int r = 0; r < this->numRows; ++r)
    for (unsigned int c = 0; c < this->numColumns; ++c) real[r][c] = this->data[r][c].re;
}

template <typename T>
void MatrixComplex<T>::GetImaginary(Matrix<T>& imaginary) const {
  imaginary.Resize(this->numRows, this->numColumns);
  for (unsigned int r = 0; r < this->numRows; ++r)
    for (unsigned int c = 0; c < this->numColumns; ++c) imaginary[r][c] = this->data[r][c].im;
}

template class MatrixComplex<float>;

}  // namespace nolardsp
