#include "NolarMatrix.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <ostream>
#include <sstream>
#include <utility>

#include "NolarCholesky.h"
#include "NolarGaussJordan.h"
#include "NolarHessenberg.h"
#include "NolarQR.h"
#include "NolarSVD.h"

namespace nolardsp {

namespace {

// Scalar arithmetic shared by the real and complex instantiations.
template <typename T>
T add(T a, T b) {
  return a + b;
}
template <typename T>
Complex<T> add(Complex<T> a, Complex<T> b) {
  return {a.re + b.re, a.im + b.im};
}
template <typename T>
T sub(T a, T b) {
  return a - b;
}
template <typename T>
Complex<T> sub(Complex<T> a, Complex<T> b) {
  return {a.re - b.re, a.im - b.im};
}
template <typename T>
T mul(T a, T b) {
  return a * b;
}
template <typename T>
Complex<T> mul(Complex<T> a, Complex<T> b) {
  return {a.re * b.re - a.im * b.im, a.re * b.im + a.im * b.re};
}
// Modulus in the entry's own precision, without overflow of the squares.
template <typename T>
T modulus(T a) {
  return std::fabs(a);
}
template <typename T>
T modulus(Complex<T> a) {
  return std::hypot(a.re, a.im);
}
template <typename T>
bool isPositive(T a, bool strict) {
  return strict ? a > T{0} : a >= T{0};
}
template <typename T>
bool isPositive(Complex<T> a, bool strict) {
  return a.im == T{0} && isPositive(a.re, strict);
}

template <typename T>
void writeValue(std::ostream& stream, T value) {
  stream << value;
}
template <typename T>
void writeValue(std::ostream& stream, Complex<T> value) {
  stream << value.re << (std::signbit(value.im) ? '-' : '+') << std::fabs(value.im) << 'i';
}

// Writes the entries of one row with `separator` between them.
template <typename T>
void writeRow(std::ostream& stream, std::vector<T> const& row, char const* separator) {
  for (size_t c = 0; c < row.size(); ++c) {
    if (c > 0) stream << separator;
    writeValue(stream, row[c]);
  }
}

bool hasName(char const* name) {
  return name != nullptr && name[0] != '\0';
}

// Keeps the caller's stream formatting untouched.
class PrecisionScope {
 public:
  PrecisionScope(std::ostream& s, unsigned int precision)
      : stream(s), flags(s.flags()), oldPrecision(s.precision()) {
    stream.unsetf(std::ios_base::floatfield);
    stream.precision(static_cast<std::streamsize>(precision));
  }
  ~PrecisionScope() {
    stream.flags(flags);
    stream.precision(oldPrecision);
  }

 private:
  std::ostream& stream;
  std::ios_base::fmtflags flags;
  std::streamsize oldPrecision;
};

}  // namespace

template <typename T>
Matrix<T>::Matrix() : numRows(0), numColumns(0) {}

template <typename T>
Matrix<T>::Matrix(unsigned int rows, unsigned int columns, T value)
    : numRows(rows), numColumns(columns), data(rows, std::vector<T>(columns, value)) {}

template <typename T>
Matrix<T>::Matrix(Matrix const&) = default;

template <typename T>
Matrix<T>::Matrix(Matrix&& other) noexcept
    : numRows(other.numRows), numColumns(other.numColumns), data(std::move(other.data)) {
  other.numRows = 0;
  other.numColumns = 0;
  other.data.clear();
}

template <typename T>
Matrix<T>& Matrix<T>::operator=(Matrix const&) = default;

template <typename T>
Matrix<T>& Matrix<T>::operator=(Matrix&& other) noexcept {
  if (this != &other) {
    numRows = other.numRows;
    numColumns = other.numColumns;
    data = std::move(other.data);
    other.numRows = 0;
    other.numColumns = 0;
    other.data.clear();
  }
  return *this;
}

template <typename T>
Matrix<T>::~Matrix() = default;

template <typename T>
void Matrix<T>::Resize(unsigned int rows, unsigned int columns) {
  if (rows == numRows && columns == numColumns) return;
  numRows = rows;
  numColumns = columns;
  data.assign(rows, std::vector<T>(columns, T{}));
}

template <typename T>
void Matrix<T>::Fill(T value) {
  for (auto& row : data) std::fill(row.begin(), row.end(), value);
}

template <typename T>
void Matrix<T>::Eye(T value) {
  Fill(T{});
  unsigned int const n = std::min(numRows, numColumns);
  for (unsigned int i = 0; i < n; ++i) data[i][i] = value;
}

template <typename T>
void Matrix<T>::Transpose() {
  Matrix transposed;
  transposed.Transpose(*this);
  *this = std::move(transposed);
}

template <typename T>
void Matrix<T>::Transpose(Matrix const& source) {
  if (&source == this) {
    Transpose();
    return;
  }
  Resize(source.numColumns, source.numRows);
  for (unsigned int r = 0; r < source.numRows; ++r)
    for (unsigned int c = 0; c < source.numColumns; ++c) data[c][r] = source.data[r][c];
}

template <typename T>
Matrix<T> Matrix<T>::operator*(Matrix const& other) const {
  if (numColumns != other.numRows) return Matrix();
  Matrix result(numRows, other.numColumns);
  // Row times matrix as a sum of scaled rows: unit stride in the inner loop.
  for (unsigned int r = 0; r < numRows; ++r) {
    T* out = result.data[r].data();
    for (unsigned int k = 0; k < numColumns; ++k) {
      T const a = data[r][k];
      T const* in = other.data[k].data();
      for (unsigned int c = 0; c < other.numColumns; ++c) out[c] = add(out[c], mul(a, in[c]));
    }
  }
  return result;
}

template <typename T>
Matrix<T> Matrix<T>::operator*(T const& scalar) const {
  Matrix result(*this);
  for (auto& row : result.data)
    for (auto& v : row) v = mul(v, scalar);
  return result;
}

template <typename T>
Matrix<T> Matrix<T>::operator+(Matrix const& other) const {
  if (numRows != other.numRows || numColumns != other.numColumns) return Matrix();
  Matrix result(*this);
  for (unsigned int r = 0; r < numRows; ++r)
    for (unsigned int c = 0; c < numColumns; ++c)
      result.data[r][c] = add(data[r][c], other.data[r][c]);
  return result;
}

template <typename T>
Matrix<T> Matrix<T>::operator-(Matrix const& other) const {
  if (numRows != other.numRows || numColumns != other.numColumns) return Matrix();
  Matrix result(*this);
  for (unsigned int r = 0; r < numRows; ++r)
    for (unsigned int c = 0; c < numColumns; ++c)
      result.data[r][c] = sub(data[r][c], other.data[r][c]);
  return result;
}

template <typename T>
void Matrix<T>::SubMatrixByIndex(Matrix& result, unsigned int firstRow, unsigned int lastRow,
                                 unsigned int firstColumn, unsigned int lastColumn) const {
  if (firstRow > lastRow || firstColumn > lastColumn || firstRow >= numRows ||
      firstColumn >= numColumns) {
    result.Resize(0, 0);
    return;
  }
  // Clipped first, so that last - first + 1 cannot overflow.
  unsigned int const rows = std::min(lastRow, numRows - 1) - firstRow + 1;
  unsigned int const columns = std::min(lastColumn, numColumns - 1) - firstColumn + 1;
  SubMatrixBySize(result, firstRow, firstColumn, rows, columns);
}

template <typename T>
void Matrix<T>::SubMatrixBySize(Matrix& result, unsigned int firstRow, unsigned int firstColumn,
                                unsigned int rows, unsigned int columns) const {
  if (firstRow >= numRows || firstColumn >= numColumns) {
    result.Resize(0, 0);
    return;
  }
  rows = std::min(rows, numRows - firstRow);
  columns = std::min(columns, numColumns - firstColumn);
  if (&result == this) {
    Matrix copy;
    SubMatrixBySize(copy, firstRow, firstColumn, rows, columns);
    result = std::move(copy);
    return;
  }
  result.Resize(rows, columns);
  for (unsigned int r = 0; r < rows; ++r)
    std::copy_n(data[firstRow + r].begin() + firstColumn, columns, result.data[r].begin());
}

template <typename T>
bool Matrix<T>::IsSymmetric(float tolerance) const {
  if (numRows != numColumns) return false;
  for (unsigned int r = 0; r < numRows; ++r)
    for (unsigned int c = r + 1; c < numColumns; ++c) {
      // Written so that a NaN entry is never symmetric.
      if (!(modulus(sub(data[r][c], data[c][r])) <= tolerance)) return false;
    }
  return true;
}

template <typename T>
bool Matrix<T>::HasPositiveDiagonalElements(bool strict) const {
  unsigned int const n = std::min(numRows, numColumns);
  for (unsigned int i = 0; i < n; ++i)
    if (!isPositive(data[i][i], strict)) return false;
  return true;
}

template <typename T>
void Matrix<T>::ElementWiseMultiply(Matrix const& other) {
  if (numRows != other.numRows || numColumns != other.numColumns) return;
  for (unsigned int r = 0; r < numRows; ++r)
    for (unsigned int c = 0; c < numColumns; ++c) data[r][c] = mul(data[r][c], other.data[r][c]);
}

template <typename T>
void Matrix<T>::Multiply(std::vector<T>& result, std::vector<T> const& vector) const {
  if (vector.size() != numColumns) {
    result.clear();
    return;
  }
  std::vector<T> product(numRows, T{});
  for (unsigned int r = 0; r < numRows; ++r) {
    T sum{};
    for (unsigned int c = 0; c < numColumns; ++c) sum = add(sum, mul(data[r][c], vector[c]));
    product[r] = sum;
  }
  // Through a temporary so that `result` may be `vector`.
  result = std::move(product);
}

template <typename T>
void Matrix<T>::Multiply(Matrix& result, std::vector<T> const& vector) const {
  std::vector<T> product;
  Multiply(product, vector);
  if (vector.size() != numColumns) {
    result.Resize(0, 0);
    return;
  }
  result.Resize(numRows, 1);
  for (unsigned int r = 0; r < numRows; ++r) result.data[r][0] = product[r];
}

template <typename T>
void Matrix<T>::Multiply(std::vector<Complex<T>>& result,
                         std::vector<Complex<T>> const& vector) const {
  if (vector.size() != numColumns) {
    result.clear();
    return;
  }
  std::vector<Complex<T>> product(numRows, Complex<T>{T{}, T{}});
  for (unsigned int r = 0; r < numRows; ++r) {
    T re{};
    T im{};
    for (unsigned int c = 0; c < numColumns; ++c) {
      re = add(re, mul(data[r][c], vector[c].re));
      im = add(im, mul(data[r][c], vector[c].im));
    }
    product[r] = Complex<T>{re, im};
  }
  result = std::move(product);
}

template <typename T>
void Matrix<T>::Print(std::ostream& stream, unsigned int precision, char const* name) const {
  PrecisionScope scope(stream, precision);
  stream << "matrix " << numRows << " x " << numColumns << "\n";
  if (hasName(name)) stream << name << " = \n";
  for (auto const& row : data) {
    writeRow(stream, row, " ");
    stream << "\n";
  }
}

template <typename T>
void Matrix<T>::PrintMatlabLike(std::ostream& stream, unsigned int precision,
                                char const* name) const {
  PrecisionScope scope(stream, precision);
  stream << "% matrix " << numRows << " x " << numColumns << "\n";
  if (hasName(name)) stream << name << " = ";
  stream << "[ ...\n";
  for (unsigned int r = 0; r < numRows; ++r) {
    writeRow(stream, data[r], " ");
    stream << (r + 1 < numRows ? "; ...\n" : " ...\n");
  }
  stream << "]; \n";
}

template <typename T>
void Matrix<T>::PrintLatexLike(std::ostream& stream, unsigned int precision,
                               char const* name) const {
  PrecisionScope scope(stream, precision);
  stream << "\\begin{equation}\n";
  if (hasName(name)) stream << name << " = \n";
  stream << "\\begin{pmatrix}\n\\begin{array}{" << std::string(numColumns, 'r') << "}\n";
  for (unsigned int r = 0; r < numRows; ++r) {
    writeRow(stream, data[r], " & ");
    stream << " \\\\ ";
    if (r + 1 < numRows) stream << "\\noalign{\\smallskip} ";
    stream << "\n";
  }
  stream << "\\end{array}\n\\end{pmatrix}\n\\end{equation}\n";
}

template <typename T>
bool Matrix<T>::SaveAs(char const* path, unsigned int precision, char const* name) const {
  if (path == nullptr) return false;
  std::ofstream file(path);
  if (!file) return false;
  Print(file, precision, name);
  file.flush();
  return static_cast<bool>(file);
}

namespace {

// Scaled by the largest modulus so that the squares neither overflow nor
// underflow in the entry's precision.
template <typename T, typename Real>
Real frobenius(Matrix<T> const& m) {
  Real largest = 0;
  for (auto const& row : m.GetData())
    for (auto const& v : row) largest = std::max(largest, static_cast<Real>(modulus(v)));
  if (largest == Real(0) || !std::isfinite(largest)) return largest;
  Real sum = 0;
  for (auto const& row : m.GetData())
    for (auto const& v : row) {
      Real const ratio = static_cast<Real>(modulus(v)) / largest;
      sum += ratio * ratio;
    }
  return largest * std::sqrt(sum);
}

}  // namespace

float normfro(Matrix<float> const& m) {
  return frobenius<float, float>(m);
}
double normfro(Matrix<double> const& m) {
  return frobenius<double, double>(m);
}
float normfro(Matrix<Complex<float>> const& m) {
  return frobenius<Complex<float>, float>(m);
}

namespace {

// Ten times the float epsilon.
constexpr float divisionTolerance = 1.1920929e-6f;

bool isDiagonal(Matrix<float> const& a) {
  for (unsigned int r = 0; r < a.GetNumRows(); ++r)
    for (unsigned int c = 0; c < a.GetNumColumns(); ++c) {
      float const v = std::fabs(a[r][c]);
      if (r == c ? !(v >= divisionTolerance) : !(v <= divisionTolerance)) return false;
    }
  return true;
}

}  // namespace

int MatrixLeftDivision(Matrix<float>& x, Matrix<float> const& a, Matrix<float> const& b) {
  unsigned int const m = a.GetNumRows();
  unsigned int const n = a.GetNumColumns();
  unsigned int const k = b.GetNumColumns();
  if (b.GetNumRows() != m) {
    x.Resize(0, 0);
    return 0;
  }

  if (isDiagonal(a)) {
    // Rows of b scaled by the reciprocal diagonal; a tall a ignores the rows of
    // b below its diagonal (their least-squares residual), a wide a leaves the
    // unknowns past its diagonal at 0.
    unsigned int const d = std::min(m, n);
    Matrix<float> reciprocals(n, k, 0.f);
    Matrix<float> scaled(n, k, 0.f);
    for (unsigned int i = 0; i < d; ++i) {
      std::fill_n(reciprocals[i], k, 1.f / a[i][i]);
      std::copy_n(b[i], k, scaled[i]);
    }
    scaled.ElementWiseMultiply(reciprocals);
    x = std::move(scaled);
    return 1;
  }

  if (a.IsSymmetric(divisionTolerance) && a.HasPositiveDiagonalElements(false)) {
    Cholesky<float> cholesky(a);
    if (cholesky.IsSpd()) {
      cholesky.Solve(x, b);
      return 1;
    }
  }

  if (m != n) {
    QR<float> qr(a);
    if (!qr.IsFullRank()) {
      x = Matrix<float>(n, k, 0.f);
      return 0;
    }
    qr.Solve(x, b);
    return 1;
  }

  Matrix<float> copy(a);
  Matrix<float> solution(b);
  GaussJordan<float>::GaussJordanElimination(copy, solution);
  x = std::move(solution);
  return 1;
}

int MatrixRightDivision(Matrix<float>& x, Matrix<float> const& a, Matrix<float> const& b) {
  Matrix<float> at;
  Matrix<float> bt;
  at.Transpose(a);
  bt.Transpose(b);
  Matrix<float> xt;
  int const result = MatrixLeftDivision(xt, bt, at);
  x.Transpose(xt);
  return result;
}

bool Eig(std::vector<Complex<float>>& eigenvalues, Matrix<float> const& a, Matrix<float> const& b) {
  eigenvalues.clear();
  if (!a.IsSquare() || !b.IsSquare() || a.GetNumRows() != b.GetNumRows()) return false;
  Matrix<float> inverse;
  SVD<float>(b).GetPseudoInverse(inverse, -1.f);
  Hessenberg<float> hessenberg(inverse * a, true, false);
  if (!hessenberg.Succeeded()) return false;
  hessenberg.GetEigenValues(eigenvalues);
  return true;
}

template class Matrix<float>;
template class Matrix<double>;
template class Matrix<Complex<float>>;

}  // namespace nolardsp
