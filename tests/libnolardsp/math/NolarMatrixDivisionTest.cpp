#include <gtest/gtest.h>

#include "NolarCholesky.h"
#include "NolarMatrix.h"
#include "NolarMatrixTestSupport.h"

namespace nolardsp {
namespace {

using matrixtest::DistanceFro;
using matrixtest::FromRows;
using matrixtest::Transposed;

TEST(MatrixLeftDivisionDiagonal, RowsScaledByReciprocalsWithoutFactorising) {
  Matrix<float> const a = FromRows({{3, 0, 0}, {0, 7, 0}, {0, 0, 11}});
  Matrix<float> const b = FromRows({{1, 5, 0.1f}, {2, 9, 0.3f}, {13, 0.7f, 6}});
  // Dividing by sqrt(d) twice, as a Cholesky solve does, rounds differently
  // from multiplying by 1/d for some of these entries: that tells the routes
  // apart.
  Matrix<float> viaCholesky;
  Cholesky<float>(a).Solve(viaCholesky, b);
  Matrix<float> expected(3, 3);
  for (unsigned int i = 0; i < 3; ++i)
    for (unsigned int j = 0; j < 3; ++j) expected[i][j] = b[i][j] * (1.f / a[i][i]);
  ASSERT_GT(DistanceFro(viaCholesky, expected), 0.0);

  Matrix<float> x;
  EXPECT_EQ(MatrixLeftDivision(x, a, b), 1);
  EXPECT_EQ(DistanceFro(x, expected), 0.0);

  // A negative diagonal is still diagonal.
  EXPECT_EQ(MatrixLeftDivision(x, FromRows({{-2, 0}, {0, 4}}), FromRows({{1}, {1}})), 1);
  EXPECT_EQ(DistanceFro(x, FromRows({{-0.5f}, {0.25f}})), 0.0);
}

TEST(MatrixLeftDivisionDiagonal, OffDiagonalToleranceIsTenEpsilons) {
  Matrix<float> const b = FromRows({{1}, {1000}});
  Matrix<float> x;
  // 1e-6 is within 1.1920929e-6: ignored, x0 = 1/2 exactly.
  EXPECT_EQ(MatrixLeftDivision(x, FromRows({{2, 1e-6f}, {0, 4}}), b), 1);
  EXPECT_EQ(x[0][0], 0.5f);
  // 2e-6 is not: the coupling to x1 = 250 moves x0 by 2.5e-4.
  EXPECT_EQ(MatrixLeftDivision(x, FromRows({{2, 2e-6f}, {0, 4}}), b), 1);
  EXPECT_NEAR(x[0][0], 0.5f - 2.5e-4f, 1e-7f);
}

TEST(MatrixLeftDivisionDiagonal, NonSquareDiagonal) {
  Matrix<float> x;
  // Tall: the row below the diagonal is the least-squares residual.
  EXPECT_EQ(MatrixLeftDivision(x, FromRows({{2, 0}, {0, 4}, {0, 0}}), FromRows({{1}, {1}, {5}})),
            1);
  EXPECT_EQ(DistanceFro(x, FromRows({{0.5f}, {0.25f}})), 0.0);
  // Wide: the unknown past the diagonal is 0.
  EXPECT_EQ(MatrixLeftDivision(x, FromRows({{2, 0, 0}, {0, 4, 0}}), FromRows({{1}, {1}})), 1);
  EXPECT_EQ(DistanceFro(x, FromRows({{0.5f}, {0.25f}, {0}})), 0.0);
}

TEST(MatrixLeftDivisionRoutes, ZeroOnTheDiagonalFallsThroughToGaussJordan) {
  Matrix<float> x;
  EXPECT_EQ(MatrixLeftDivision(x, FromRows({{2, 0}, {0, 0}}), FromRows({{1}, {1}})), 1);
  EXPECT_EQ(DistanceFro(x, FromRows({{0.5f}, {0}})), 0.0);
}

TEST(MatrixLeftDivisionRoutes, SymmetricIndefiniteFallsThroughCholesky) {
  Matrix<float> const a = FromRows({{1, 2}, {2, 1}});
  ASSERT_TRUE(a.IsSymmetric(0.f));
  ASSERT_TRUE(a.HasPositiveDiagonalElements(false));
  ASSERT_FALSE(Cholesky<float>(a).IsSpd());
  Matrix<float> x;
  EXPECT_EQ(MatrixLeftDivision(x, a, FromRows({{3, 1}, {3, -1}})), 1);
  EXPECT_LE(DistanceFro(x, FromRows({{1, -1}, {1, 1}})), 1e-6);
}

TEST(MatrixLeftDivisionRoutes, SymmetricPositiveDefinite) {
  for (unsigned int n = 1; n <= 8; ++n) {
    Matrix<float> const r = matrixtest::Random(n, n, n);
    Matrix<float> shift(n, n);
    shift.Eye(1.f);
    Matrix<float> const a = Transposed(r) * r + shift;
    Matrix<float> const b = matrixtest::Random(n, 2, n + 20);
    Matrix<float> x;
    EXPECT_EQ(MatrixLeftDivision(x, a, b), 1);
    EXPECT_LE(DistanceFro(a * x, b), 1e-5 * normfro(a) * normfro(x));
  }
  // Hilbert 4 (condition number about 1.5e4), solution all ones.
  Matrix<float> const h = matrixtest::Hilbert(4);
  Matrix<float> const ones(4, 1, 1.f);
  Matrix<float> x;
  EXPECT_EQ(MatrixLeftDivision(x, h, h * ones), 1);
  EXPECT_LE(DistanceFro(x, ones), 1e-2 * 2.0);
}

TEST(MatrixLeftDivisionRoutes, SquareGeneralSystems) {
  for (unsigned int n = 1; n <= 8; ++n)
    for (unsigned int seed = 1; seed <= 3; ++seed) {
      Matrix<float> const a = matrixtest::Random(n, n, seed * 31 + n);
      Matrix<float> const b = matrixtest::Random(n, 3, seed * 31 + n + 7);
      Matrix<float> x;
      EXPECT_EQ(MatrixLeftDivision(x, a, b), 1);
      EXPECT_LE(DistanceFro(a * x, b), 1e-5 * normfro(a) * normfro(x));
    }
  // Non-symmetric and ill-conditioned: Hilbert 4 with its first row negated.
  Matrix<float> h = matrixtest::Hilbert(4);
  for (unsigned int j = 0; j < 4; ++j) h[0][j] = -h[0][j];
  Matrix<float> const ones(4, 1, 1.f);
  Matrix<float> x;
  EXPECT_EQ(MatrixLeftDivision(x, h, h * ones), 1);
  EXPECT_LE(DistanceFro(x, ones), 1e-2 * 2.0);
}

TEST(MatrixLeftDivisionRoutes, SingularSquareStillSucceedsWithFiniteValues) {
  Matrix<float> const a = FromRows({{1, 2, 0}, {0, 1, 1}, {1, 3, 1}});
  Matrix<float> const b = FromRows({{3}, {2}, {5}});
  Matrix<float> x;
  EXPECT_EQ(MatrixLeftDivision(x, a, b), 1);
  EXPECT_TRUE(matrixtest::AllFinite(x));
  EXPECT_LE(DistanceFro(a * x, b), 1e-5);
}

TEST(MatrixLeftDivisionNonSquare, IndependentColumnsGiveLeastSquares) {
  for (unsigned int seed = 1; seed <= 5; ++seed) {
    Matrix<float> const a = matrixtest::Random(3, 2, seed);
    Matrix<float> const b = matrixtest::Random(3, 2, seed + 9);
    Matrix<float> x;
    EXPECT_EQ(MatrixLeftDivision(x, a, b), 1);
    Matrix<float> const reference = matrixtest::LeastSquaresReference(a, b);
    EXPECT_LE(DistanceFro(x, reference), 1e-5 * normfro(reference));
  }
}

TEST(MatrixLeftDivisionNonSquare, ZeroColumnFailsWithZeros) {
  Matrix<float> x(5, 5, 9.f);
  EXPECT_EQ(MatrixLeftDivision(x, FromRows({{1, 0}, {2, 0}, {3, 0}}), FromRows({{1}, {2}, {4}})),
            0);
  EXPECT_EQ(DistanceFro(x, Matrix<float>(2, 1, 0.f)), 0.0);
}

TEST(MatrixLeftDivisionNonSquare, WideSystemIsSolvedExactly) {
  Matrix<float> const a = FromRows({{1, 2, 3}, {4, 5, 7}});
  Matrix<float> const b = FromRows({{1}, {2}});
  Matrix<float> x;
  EXPECT_EQ(MatrixLeftDivision(x, a, b), 1);
  ASSERT_EQ(x.GetNumRows(), 3u);
  EXPECT_EQ(x[2][0], 0.f);
  EXPECT_LE(DistanceFro(a * x, b), 1e-5);
}

TEST(MatrixLeftDivisionEdges, ScalarEmptyAndMismatched) {
  Matrix<float> x;
  EXPECT_EQ(MatrixLeftDivision(x, FromRows({{4}}), FromRows({{2}})), 1);
  EXPECT_EQ(x[0][0], 0.5f);
  EXPECT_EQ(MatrixLeftDivision(x, FromRows({{0}}), FromRows({{2}})), 1);
  EXPECT_EQ(x[0][0], 0.f);

  EXPECT_EQ(MatrixLeftDivision(x, Matrix<float>(), Matrix<float>(0, 3)), 1);
  EXPECT_EQ(x.GetNumRows(), 0u);

  EXPECT_EQ(MatrixLeftDivision(x, matrixtest::Random(3, 3, 1), Matrix<float>(2, 1, 1.f)), 0);
  EXPECT_TRUE(x.IsEmpty());

  Matrix<float> nan = FromRows({{1, NAN}, {2, 1}});
  MatrixLeftDivision(x, nan, FromRows({{1}, {1}}));
  EXPECT_TRUE(matrixtest::AllFinite(x));
}

TEST(MatrixRightDivision, TimesTheDivisorGivesTheDividend) {
  for (unsigned int seed = 1; seed <= 5; ++seed) {
    Matrix<float> const b = matrixtest::Random(3, 3, seed);
    Matrix<float> const a = matrixtest::Random(2, 3, seed + 40);
    Matrix<float> x;
    EXPECT_EQ(MatrixRightDivision(x, a, b), 1);
    ASSERT_EQ(x.GetNumRows(), 2u);
    ASSERT_EQ(x.GetNumColumns(), 3u);
    EXPECT_LE(DistanceFro(x * b, a), 1e-5 * normfro(x) * normfro(b));
  }
  Matrix<float> x;
  EXPECT_EQ(MatrixRightDivision(x, FromRows({{6, 8}}), FromRows({{2, 0}, {0, 4}})), 1);
  EXPECT_EQ(DistanceFro(x, FromRows({{3, 2}})), 0.0);
}

}  // namespace
}  // namespace nolardsp
