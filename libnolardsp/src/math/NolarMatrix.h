#pragma once

#include <iosfwd>
#include <vector>

#include "NolarComplex.h"

// A small dense matrix for set-up work: decoder and inverse computations,
// filter design, test and debug printing. Each row is its own vector, so row
// swaps are cheap and a row can be handed straight to code that wants a run of
// values (`m[row]` is a pointer to `GetNumColumns()` contiguous values).
//
// Nothing here runs on the audio thread: every operation may allocate. Size
// mismatches are not raised: an operation that builds a new matrix or vector
// from mismatched operands returns it empty (0 by 0, or length 0), and an
// in-place operation on mismatched operands leaves its object unchanged.
//
// Instantiated for float, double and Complex<float>.
namespace nolardsp {

template <typename T>
class Matrix {
 public:
  // Empty, 0 by 0.
  Matrix();
  // rows by columns, every entry `value`.
  Matrix(unsigned int rows, unsigned int columns, T value = T{});
  Matrix(Matrix const&);
  Matrix(Matrix&&) noexcept;
  Matrix& operator=(Matrix const&);
  Matrix& operator=(Matrix&&) noexcept;
  virtual ~Matrix();

  unsigned int GetNumRows() const { return numRows; }
  unsigned int GetNumColumns() const { return numColumns; }
  bool IsEmpty() const { return numRows == 0 || numColumns == 0; }
  bool IsSquare() const { return numRows == numColumns; }

  // Row access: `m[row][column]`. The row pointer stays valid until the
  // matrix is resized. No bounds check.
  T* operator[](unsigned int row) { return data[row].data(); }
  T const* operator[](unsigned int row) const { return data[row].data(); }
  T& operator()(unsigned int row, unsigned int column) { return data[row][column]; }
  T const& operator()(unsigned int row, unsigned int column) const { return data[row][column]; }
  std::vector<std::vector<T>> const& GetData() const { return data; }

  // No change when the sizes are already these; otherwise the old content is
  // dropped and every entry is 0.
  void Resize(unsigned int rows, unsigned int columns);
  // Every entry `value`, size unchanged.
  void Fill(T value);
  // The diagonal (up to the smaller of rows and columns) gets `value`, the rest 0.
  void Eye(T value = T{1});

  // In place.
  void Transpose();
  // This becomes the transpose of `source` (which may be this matrix).
  void Transpose(Matrix const& source);

  Matrix operator*(Matrix const& other) const;
  Matrix operator*(T const& scalar) const;
  Matrix operator+(Matrix const& other) const;
  Matrix operator-(Matrix const& other) const;

  // Rows firstRow..lastRow and columns firstColumn..lastColumn, both ends
  // included, clipped to this matrix; an empty range gives an empty result.
  void SubMatrixByIndex(Matrix& result, unsigned int firstRow, unsigned int lastRow,
                        unsigned int firstColumn, unsigned int lastColumn) const;
  // numRows by numColumns starting at (firstRow, firstColumn), clipped to
  // this matrix.
  void SubMatrixBySize(Matrix& result, unsigned int firstRow, unsigned int firstColumn,
                       unsigned int numRows, unsigned int numColumns) const;

  // False if not square; otherwise every pair across the diagonal differs by
  // at most `tolerance` in absolute value (modulus for complex entries).
  bool IsSymmetric(float tolerance) const;
  // The diagonal entries (up to the smaller of rows and columns) are all above
  // 0 when `strict`, all at least 0 otherwise. Complex entries count as their
  // real part and must have no imaginary part. An empty matrix passes.
  bool HasPositiveDiagonalElements(bool strict) const;

  // Entry by entry, this *= other. Unchanged on a size mismatch.
  virtual void ElementWiseMultiply(Matrix const& other);
  // result = this * vector, length GetNumRows().
  virtual void Multiply(std::vector<T>& result, std::vector<T> const& vector) const;
  // result = this * vector as a GetNumRows() by 1 column.
  virtual void Multiply(Matrix& result, std::vector<T> const& vector) const;
  // result = this * vector, the real and imaginary parts of `vector` each
  // multiplied by this matrix.
  virtual void Multiply(std::vector<Complex<T>>& result,
                        std::vector<Complex<T>> const& vector) const;

  // Text forms, entries written with `precision` significant digits; `name`
  // may be null or empty. Complex entries are written as 1.5+2i.
  //   Print:            matrix R x C / name = / one row per line
  //   PrintMatlabLike:  a statement that Matlab and Octave read back
  //   PrintLatexLike:   an equation with a pmatrix
  virtual void Print(std::ostream& stream, unsigned int precision = 6,
                     char const* name = nullptr) const;
  virtual void PrintMatlabLike(std::ostream& stream, unsigned int precision = 6,
                               char const* name = nullptr) const;
  virtual void PrintLatexLike(std::ostream& stream, unsigned int precision = 6,
                              char const* name = nullptr) const;
  // Print into a new file at `path`; false if the file could not be written.
  virtual bool SaveAs(char const* path, unsigned int precision = 6,
                      char const* name = nullptr) const;

 protected:
  unsigned int numRows;
  unsigned int numColumns;
  std::vector<std::vector<T>> data;
};

// Frobenius norm: square root of the sum of squared moduli.
float normfro(Matrix<float> const& m);
double normfro(Matrix<double> const& m);
float normfro(Matrix<Complex<float>> const& m);

// Solves a * x = b (least squares when a has more rows than columns; the
// solution with the trailing unknowns at 0 when it has fewer). The route, with
// tolerance 1.1920929e-6:
//   1. a diagonal (off-diagonal entries at most the tolerance in absolute
//      value, diagonal entries at least the tolerance in absolute value):
//      each row of b divided by its diagonal entry;
//   2. symmetric with a non-negative diagonal and positive definite: Cholesky;
//   3. not square: Householder QR; returns 0 if a diagonal entry of R is 0;
//   4. square: Gauss-Jordan with full pivoting (returns 1 even if singular;
//      unknowns without a usable pivot are then 0).
// Returns 1 on success and 0 otherwise; on 0, x is a.GetNumColumns() by
// b.GetNumColumns() zeros (0 by 0 when the row counts of a and b differ).
int MatrixLeftDivision(Matrix<float>& x, Matrix<float> const& a, Matrix<float> const& b);
// Solves x * b = a, as the transpose of the left division of the transposes.
int MatrixRightDivision(Matrix<float>& x, Matrix<float> const& a, Matrix<float> const& b);
// Generalised eigenvalues of a relative to b: the eigenvalues of pinv(b) * a.
// Sorted by decreasing real part, then decreasing imaginary part (the member
// of a conjugate pair with positive imaginary part first). Returns false, with
// `eigenvalues` empty, if the iteration did not converge or a and b do not fit.
bool Eig(std::vector<Complex<float>>& eigenvalues, Matrix<float> const& a, Matrix<float> const& b);

extern template class Matrix<float>;
extern template class Matrix<double>;
extern template class Matrix<Complex<float>>;

}  // namespace nolardsp
