#include "NolarHessenberg.h"

#include <gtest/gtest.h>

#include <cmath>

#include "NolarMatrixTestSupport.h"

namespace nolardsp {
namespace {

using matrixtest::DistanceFro;
using matrixtest::FromRows;

std::vector<Complex<float>> EigenValues(Matrix<float> const& a) {
  Hessenberg<float> const h(a, true, false);
  EXPECT_TRUE(h.Succeeded());
  std::vector<Complex<float>> values;
  h.GetEigenValues(values);
  return values;
}

void ExpectValues(std::vector<Complex<float>> const& values,
                  std::vector<Complex<float>> const& expected, float tolerance) {
  ASSERT_EQ(values.size(), expected.size());
  for (size_t i = 0; i < values.size(); ++i) {
    EXPECT_NEAR(values[i].re, expected[i].re, tolerance) << "value " << i;
    EXPECT_NEAR(values[i].im, expected[i].im, tolerance) << "value " << i;
  }
}

TEST(HessenbergReduction, BalancedInputTimesTransformationEqualsTransformationTimesReduced) {
  for (unsigned int n = 2; n <= 8; ++n) {
    Matrix<float> a = matrixtest::Random(n, n, n * 3);
    a[0][n - 1] *= 1000.f;  // something for the balancing to do
    Hessenberg<float> const h(a, true, false);
    ASSERT_TRUE(h.Succeeded());
    Matrix<float> const& reduced = h.GetReducedMatrix();
    Matrix<float> const& z = h.GetTransformation();
    for (unsigned int r = 2; r < n; ++r)
      for (unsigned int c = 0; c + 1 < r; ++c) EXPECT_EQ(reduced[r][c], 0.f);

    std::vector<float> const& scale = h.GetScale();
    Matrix<float> balanced = a;
    for (unsigned int r = 0; r < n; ++r) {
      int exponent = 0;
      EXPECT_EQ(std::frexp(scale[r], &exponent), 0.5f) << "a power of 2";
      for (unsigned int c = 0; c < n; ++c) balanced[r][c] = a[r][c] / scale[r] * scale[c];
    }
    EXPECT_LE(normfro(balanced), normfro(a));
    EXPECT_LE(DistanceFro(balanced * z, z * reduced), 1e-5 * normfro(balanced) * normfro(z));
  }
}

TEST(HessenbergEigenValues, RealValuesOfASimilarityTransformInDecreasingOrder) {
  Matrix<float> p = matrixtest::Random(4, 4, 7);
  for (unsigned int i = 0; i < 4; ++i) p[i][i] += 3.f;  // well conditioned
  Matrix<float> d(4, 4, 0.f);
  float const diagonal[4] = {2.f, -1.f, 4.f, 0.5f};
  for (unsigned int i = 0; i < 4; ++i) d[i][i] = diagonal[i];
  Matrix<float> x;
  ASSERT_EQ(MatrixLeftDivision(x, p, matrixtest::Identity(4)), 1);
  ExpectValues(EigenValues(p * d * x), {{4, 0}, {2, 0}, {0.5f, 0}, {-1, 0}}, 1e-4f);
}

TEST(HessenbergEigenValues, ConjugatePairsPositiveImaginaryPartFirst) {
  ExpectValues(EigenValues(FromRows({{0, -1}, {1, 0}})), {{0, 1}, {0, -1}}, 1e-6f);
  ExpectValues(EigenValues(FromRows({{1, -2, 0}, {2, 1, 0}, {0, 0, 3}})), {{3, 0}, {1, 2}, {1, -2}},
               1e-5f);
  // Companion matrix of (x - 1)(x^2 + 4) = x^3 - x^2 + 4x - 4.
  ExpectValues(EigenValues(FromRows({{1, -4, 4}, {1, 0, 0}, {0, 1, 0}})), {{1, 0}, {0, 2}, {0, -2}},
               1e-5f);
}

TEST(HessenbergEigenValues, RandomMatricesKeepTraceAndPairs) {
  for (unsigned int seed = 1; seed <= 5; ++seed) {
    Matrix<float> const a = matrixtest::Random(8, 8, seed);
    std::vector<Complex<float>> const values = EigenValues(a);
    ASSERT_EQ(values.size(), 8u);
    double trace = 0.0;
    double sum = 0.0;
    double imaginary = 0.0;
    for (unsigned int i = 0; i < 8; ++i) {
      trace += a[i][i];
      sum += values[i].re;
      imaginary += values[i].im;
      if (i > 0) {
        EXPECT_GE(values[i - 1].re, values[i].re);
      }
    }
    EXPECT_NEAR(sum, trace, 1e-4);
    EXPECT_NEAR(imaginary, 0.0, 1e-4);
  }
}

TEST(HessenbergEigenValues, BadlyScaledMatrix) {
  // Eigenvalues 1 +- 1; balancing brings the two off-diagonal entries together.
  Matrix<float> const a = FromRows({{1, 1e4f}, {1e-4f, 1}});
  Hessenberg<float> const h(a, true, false);
  ASSERT_TRUE(h.Succeeded());
  EXPECT_NEAR(h.GetScale()[1] / h.GetScale()[0], 1e-4f, 1e-4f);
  std::vector<Complex<float>> values;
  h.GetEigenValues(values);
  ExpectValues(values, {{2, 0}, {0, 0}}, 1e-5f);
}

TEST(HessenbergEdges, EmptyScalarNonSquareAndNonFinite) {
  Hessenberg<float> const empty(Matrix<float>(), true, false);
  EXPECT_TRUE(empty.Succeeded());
  std::vector<Complex<float>> values{{1.f, 1.f}};
  empty.GetEigenValues(values);
  EXPECT_TRUE(values.empty());

  ExpectValues(EigenValues(FromRows({{-3}})), {{-3, 0}}, 0.f);

  Hessenberg<float> const nonSquare(matrixtest::Random(2, 3, 1), true, false);
  EXPECT_FALSE(nonSquare.Succeeded());
  nonSquare.GetEigenValues(values);
  EXPECT_TRUE(values.empty());

  Matrix<float> nan = FromRows({{1, 2}, {3, 4}});
  nan[0][1] = NAN;
  EXPECT_FALSE(Hessenberg<float>(nan, true, false).Succeeded());

  Hessenberg<float> const notAsked(FromRows({{1, 2}, {3, 4}}), false, false);
  EXPECT_FALSE(notAsked.Succeeded());
  EXPECT_EQ(notAsked.GetReducedMatrix().GetNumRows(), 2u);
}

TEST(Eig, GeneralisedEigenValuesThroughThePseudoInverse) {
  std::vector<Complex<float>> values;
  ASSERT_TRUE(Eig(values, FromRows({{2, 0}, {0, 6}}), FromRows({{1, 0}, {0, 2}})));
  ExpectValues(values, {{3, 0}, {2, 0}}, 1e-6f);

  // b singular: its pseudo-inverse drops the zero direction.
  ASSERT_TRUE(Eig(values, FromRows({{2, 0}, {0, 5}}), FromRows({{1, 0}, {0, 0}})));
  ExpectValues(values, {{2, 0}, {0, 0}}, 1e-6f);

  // b = I gives the ordinary eigenvalues.
  Matrix<float> const a = matrixtest::Random(5, 5, 11);
  ASSERT_TRUE(Eig(values, a, matrixtest::Identity(5)));
  ExpectValues(values, EigenValues(a), 1e-5f);

  EXPECT_FALSE(Eig(values, matrixtest::Random(2, 2, 1), matrixtest::Random(3, 3, 1)));
  EXPECT_TRUE(values.empty());
}

}  // namespace
}  // namespace nolardsp
