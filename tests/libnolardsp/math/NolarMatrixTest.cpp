#include "NolarMatrix.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>

#include "NolarMatrixTestSupport.h"

namespace nolardsp {
namespace {

using matrixtest::FromRows;
using matrixtest::Random;

TEST(MatrixShape, ConstructorsResizeAndEye) {
  Matrix<float> empty;
  EXPECT_EQ(empty.GetNumRows(), 0u);
  EXPECT_EQ(empty.GetNumColumns(), 0u);
  EXPECT_TRUE(empty.IsEmpty());

  Matrix<float> m(2, 3, 7.f);
  for (unsigned int r = 0; r < 2; ++r)
    for (unsigned int c = 0; c < 3; ++c) EXPECT_EQ(m[r][c], 7.f);

  // Same size: content kept. New size: content dropped, zeros.
  m.Resize(2, 3);
  EXPECT_EQ(m(1, 2), 7.f);
  m.Resize(3, 2);
  EXPECT_EQ(m.GetNumRows(), 3u);
  EXPECT_EQ(m.GetNumColumns(), 2u);
  for (unsigned int r = 0; r < 3; ++r)
    for (unsigned int c = 0; c < 2; ++c) EXPECT_EQ(m[r][c], 0.f);

  m.Fill(1.f);
  m.Eye(5.f);
  EXPECT_EQ(m[0][0], 5.f);
  EXPECT_EQ(m[1][1], 5.f);
  EXPECT_EQ(m[2][0], 0.f);
  EXPECT_EQ(m[0][1], 0.f);
  EXPECT_EQ(m[2][1], 0.f);
}

TEST(MatrixShape, TransposeInPlaceAndFromAnother) {
  Matrix<float> const a = FromRows({{1, 2, 3}, {4, 5, 6}});
  Matrix<float> t;
  t.Transpose(a);
  ASSERT_EQ(t.GetNumRows(), 3u);
  ASSERT_EQ(t.GetNumColumns(), 2u);
  EXPECT_EQ(t[2][1], 6.f);
  EXPECT_EQ(t[0][1], 4.f);

  Matrix<float> self = a;
  self.Transpose(self);
  EXPECT_EQ(matrixtest::DistanceFro(self, t), 0.0);
  self.Transpose();
  EXPECT_EQ(matrixtest::DistanceFro(self, a), 0.0);
}

TEST(MatrixArithmetic, ProductsSumsAndMismatches) {
  Matrix<float> const a = FromRows({{1, 2, 3}, {4, 5, 6}});
  Matrix<float> const b = FromRows({{1, 0}, {0, 1}, {2, -1}});
  Matrix<float> const ab = a * b;
  EXPECT_EQ(matrixtest::DistanceFro(ab, FromRows({{7, -1}, {16, -1}})), 0.0);
  EXPECT_EQ(matrixtest::DistanceFro(a * 2.f, FromRows({{2, 4, 6}, {8, 10, 12}})), 0.0);
  EXPECT_EQ(matrixtest::DistanceFro(a - a, Matrix<float>(2, 3, 0.f)), 0.0);
  EXPECT_EQ(matrixtest::DistanceFro(a + a, a * 2.f), 0.0);

  // Mismatched operands give an empty matrix rather than reading past a row.
  EXPECT_TRUE((a * a).IsEmpty());
  EXPECT_TRUE((a - b).IsEmpty());
  // An inner size of 0 is a valid product: all zeros.
  Matrix<float> const zeros = Matrix<float>(2, 0) * Matrix<float>(0, 4);
  EXPECT_EQ(zeros.GetNumRows(), 2u);
  EXPECT_EQ(zeros.GetNumColumns(), 4u);
  EXPECT_EQ(normfro(zeros), 0.f);

  EXPECT_FLOAT_EQ(normfro(FromRows({{3, 0}, {0, -4}})), 5.f);
  // Squares of these overflow and underflow in float; the norm does not.
  EXPECT_FLOAT_EQ(normfro(FromRows({{3e30f, 0}, {0, -4e30f}})), 5e30f);
  EXPECT_FLOAT_EQ(normfro(FromRows({{3e-30f, 0}, {0, -4e-30f}})), 5e-30f);
  EXPECT_EQ(normfro(Matrix<float>()), 0.f);
}

TEST(MatrixArithmetic, ElementWiseAndVectorMultiply) {
  Matrix<float> a = FromRows({{1, 2}, {3, 4}});
  a.ElementWiseMultiply(FromRows({{2, 0}, {-1, 0.5f}}));
  EXPECT_EQ(matrixtest::DistanceFro(a, FromRows({{2, 0}, {-3, 2}})), 0.0);
  a.ElementWiseMultiply(Matrix<float>(3, 3, 0.f));  // mismatch: unchanged
  EXPECT_EQ(a[1][1], 2.f);

  Matrix<float> const m = FromRows({{1, 2, 3}, {0, -1, 1}});
  std::vector<float> y;
  m.Multiply(y, {1.f, 1.f, 2.f});
  EXPECT_EQ(y, (std::vector<float>{9.f, 1.f}));
  m.Multiply(y, {1.f});
  EXPECT_TRUE(y.empty());

  Matrix<float> column;
  m.Multiply(column, {1.f, 1.f, 2.f});
  ASSERT_EQ(column.GetNumRows(), 2u);
  ASSERT_EQ(column.GetNumColumns(), 1u);
  EXPECT_EQ(column[0][0], 9.f);
  EXPECT_EQ(column[1][0], 1.f);

  std::vector<Complex<float>> z;
  m.Multiply(z, {{1.f, 0.f}, {0.f, 1.f}, {1.f, -1.f}});
  ASSERT_EQ(z.size(), 2u);
  EXPECT_EQ(z[0].re, 4.f);
  EXPECT_EQ(z[0].im, -1.f);
  EXPECT_EQ(z[1].re, 1.f);
  EXPECT_EQ(z[1].im, -2.f);
}

TEST(MatrixShape, SubMatricesAreClippedToTheMatrix) {
  Matrix<float> const a = FromRows({{1, 2, 3}, {4, 5, 6}, {7, 8, 9}});
  Matrix<float> s;
  a.SubMatrixByIndex(s, 1, 2, 0, 1);
  EXPECT_EQ(matrixtest::DistanceFro(s, FromRows({{4, 5}, {7, 8}})), 0.0);
  a.SubMatrixBySize(s, 0, 1, 2, 2);
  EXPECT_EQ(matrixtest::DistanceFro(s, FromRows({{2, 3}, {5, 6}})), 0.0);

  a.SubMatrixByIndex(s, 1, 100, 2, 100);
  EXPECT_EQ(matrixtest::DistanceFro(s, FromRows({{6}, {9}})), 0.0);
  a.SubMatrixBySize(s, 2, 0, 5, 5);
  EXPECT_EQ(matrixtest::DistanceFro(s, FromRows({{7, 8, 9}})), 0.0);
  a.SubMatrixByIndex(s, 2, 1, 0, 0);
  EXPECT_TRUE(s.IsEmpty());
  a.SubMatrixBySize(s, 3, 0, 1, 1);
  EXPECT_TRUE(s.IsEmpty());
  // UINT_MAX as the last index must not wrap the row count around.
  a.SubMatrixByIndex(s, 0, ~0u, 0, ~0u);
  EXPECT_EQ(matrixtest::DistanceFro(s, a), 0.0);

  Matrix<float> self = a;
  self.SubMatrixBySize(self, 1, 1, 2, 2);
  EXPECT_EQ(matrixtest::DistanceFro(self, FromRows({{5, 6}, {8, 9}})), 0.0);
}

TEST(MatrixPredicates, SymmetryWithinToleranceAndPositiveDiagonal) {
  Matrix<float> a = FromRows({{2, 1}, {1.000001f, 3}});
  EXPECT_TRUE(a.IsSymmetric(1e-5f));
  EXPECT_FALSE(a.IsSymmetric(1e-7f));
  EXPECT_FALSE(FromRows({{1, 2, 3}, {2, 1, 3}}).IsSymmetric(1.f));
  EXPECT_TRUE(Matrix<float>().IsSymmetric(0.f));
  a[0][1] = NAN;
  EXPECT_FALSE(a.IsSymmetric(1e9f));

  Matrix<float> const zeroOnDiagonal = FromRows({{1, 5}, {5, 0}});
  EXPECT_TRUE(zeroOnDiagonal.HasPositiveDiagonalElements(false));
  EXPECT_FALSE(zeroOnDiagonal.HasPositiveDiagonalElements(true));
  EXPECT_FALSE(FromRows({{1, 0}, {0, -1}}).HasPositiveDiagonalElements(false));
  // Only the leading square counts on a non-square matrix.
  EXPECT_TRUE(FromRows({{1, -1, -1}, {-1, 2, -1}}).HasPositiveDiagonalElements(true));
}

class MatrixText : public ::testing::Test {
 protected:
  Matrix<float> const a = FromRows({{1, -2.5f}, {1.f / 3.f, 4}});
};

TEST_F(MatrixText, PrintWritesHeadingNameAndRows) {
  std::ostringstream s;
  a.Print(s, 3, "A");
  EXPECT_EQ(s.str(), "matrix 2 x 2\nA = \n1 -2.5\n0.333 4\n");
  std::ostringstream unnamed;
  a.Print(unnamed, 5, nullptr);
  EXPECT_EQ(unnamed.str(), "matrix 2 x 2\n1 -2.5\n0.33333 4\n");
}

TEST_F(MatrixText, MatlabLikeIsAStatement) {
  std::ostringstream s;
  a.PrintMatlabLike(s, 3, "A");
  EXPECT_EQ(s.str(), "% matrix 2 x 2\nA = [ ...\n1 -2.5; ...\n0.333 4 ...\n]; \n");
  std::ostringstream unnamed;
  a.PrintMatlabLike(unnamed, 3, "");
  EXPECT_EQ(unnamed.str(), "% matrix 2 x 2\n[ ...\n1 -2.5; ...\n0.333 4 ...\n]; \n");
}

TEST_F(MatrixText, LatexLikeIsAnEquation) {
  std::ostringstream s;
  a.PrintLatexLike(s, 3, "A");
  EXPECT_EQ(s.str(),
            "\\begin{equation}\nA = \n\\begin{pmatrix}\n\\begin{array}{rr}\n"
            "1 & -2.5 \\\\ \\noalign{\\smallskip} \n0.333 & 4 \\\\ \n"
            "\\end{array}\n\\end{pmatrix}\n\\end{equation}\n");
}

TEST_F(MatrixText, PrintersLeaveTheStreamFormatAlone) {
  std::ostringstream s;
  s.precision(2);
  s.setf(std::ios_base::fixed, std::ios_base::floatfield);
  a.Print(s, 6, "A");
  s.str("");
  s << 1.f / 3.f;
  EXPECT_EQ(s.str(), "0.33");
}

TEST_F(MatrixText, SaveAsWritesWhatPrintWrites) {
  std::string const path = ::testing::TempDir() + "matrix_save_as.txt";
  ASSERT_TRUE(a.SaveAs(path.c_str(), 4, "G"));
  std::ifstream file(path);
  std::string const written((std::istreambuf_iterator<char>(file)),
                            std::istreambuf_iterator<char>());
  std::ostringstream expected;
  a.Print(expected, 4, "G");
  EXPECT_EQ(written, expected.str());
  std::remove(path.c_str());

  EXPECT_FALSE(a.SaveAs("/nonexistent-folder/matrix.txt", 4, "G"));
  EXPECT_FALSE(a.SaveAs(nullptr, 4, "G"));
}

TEST(MatrixInstantiations, DoubleAndComplexShareTheOperations) {
  Matrix<double> d(2, 2, 0.0);
  d.Eye(2.0);
  Matrix<double> const d2 = d * d;
  EXPECT_EQ(d2[0][0], 4.0);
  EXPECT_DOUBLE_EQ(normfro(d2), std::sqrt(32.0));

  Matrix<Complex<float>> c(1, 2, Complex<float>{0.f, 1.f});
  Matrix<Complex<float>> t;
  t.Transpose(c);
  Matrix<Complex<float>> const product = c * t;  // i*i + i*i
  ASSERT_EQ(product.GetNumRows(), 1u);
  EXPECT_EQ(product[0][0].re, -2.f);
  EXPECT_EQ(product[0][0].im, 0.f);
  EXPECT_FLOAT_EQ(normfro(c), std::sqrt(2.f));
  EXPECT_FALSE(c.HasPositiveDiagonalElements(false));

  c[0][1] = Complex<float>{1.5f, -2.f};
  std::ostringstream s;
  c.Print(s, 3, nullptr);
  EXPECT_EQ(s.str(), "matrix 1 x 2\n0+1i 1.5-2i\n");
}

}  // namespace
}  // namespace nolardsp
