#include "NolarMatrixComplex.h"

#include <gtest/gtest.h>

#include "NolarMatrixTestSupport.h"

namespace nolardsp {
namespace {

using matrixtest::DistanceFro;
using matrixtest::FromRows;

MatrixComplex<float> Example() {
  // [1+i  2 ; 0  -i]
  return MatrixComplex<float>(FromRows({{1, 2}, {0, 0}}), FromRows({{1, 0}, {0, -1}}));
}

TEST(MatrixComplex, MultipliesComplexVectors) {
  MatrixComplex<float> const m = Example();
  std::vector<Complex<float>> y;
  m.Multiply(y, {{1.f, 0.f}, {0.f, 1.f}});
  ASSERT_EQ(y.size(), 2u);
  EXPECT_EQ(y[0].re, 1.f);
  EXPECT_EQ(y[0].im, 3.f);
  EXPECT_EQ(y[1].re, 1.f);
  EXPECT_EQ(y[1].im, 0.f);

  // The same through the base class.
  Matrix<Complex<float>> const& base = m;
  std::vector<Complex<float>> z;
  base.Multiply(z, {{1.f, 0.f}, {0.f, 1.f}});
  ASSERT_EQ(z.size(), 2u);
  EXPECT_EQ(z[0].im, 3.f);

  m.Multiply(y, {{1.f, 0.f}});
  EXPECT_TRUE(y.empty());
}

TEST(MatrixComplex, ElementWiseByARealMatrix) {
  MatrixComplex<float> m = Example();
  m.ElementWiseMultiply(FromRows({{2, 3}, {4, -1}}));
  Matrix<float> re;
  Matrix<float> im;
  m.GetReal(re);
  m.GetImaginary(im);
  EXPECT_EQ(DistanceFro(re, FromRows({{2, 6}, {0, 0}})), 0.0);
  EXPECT_EQ(DistanceFro(im, FromRows({{2, 0}, {0, 1}})), 0.0);

  m.ElementWiseMultiply(Matrix<float>(1, 1, 0.f));  // mismatch: unchanged
  m.GetReal(re);
  EXPECT_EQ(re[0][1], 6.f);

  // The complex form stays reachable.
  m.ElementWiseMultiply(Matrix<Complex<float>>(2, 2, Complex<float>{0.f, 1.f}));
  m.GetReal(re);
  EXPECT_EQ(re[0][0], -2.f);
}

TEST(MatrixComplex, BuiltFromPartsOfTheSameSizeOnly) {
  MatrixComplex<float> const mismatched(Matrix<float>(2, 2, 1.f), Matrix<float>(2, 3, 1.f));
  EXPECT_TRUE(mismatched.IsEmpty());
  MatrixComplex<float> const real(FromRows({{1, 2}}));
  EXPECT_EQ(real.GetNumColumns(), 2u);
  EXPECT_EQ(real[0][1].re, 2.f);
  EXPECT_EQ(real[0][1].im, 0.f);
  MatrixComplex<float> const filled(2, 3, Complex<float>{1.f, -1.f});
  EXPECT_EQ(filled[1][2].im, -1.f);
}

}  // namespace
}  // namespace nolardsp
