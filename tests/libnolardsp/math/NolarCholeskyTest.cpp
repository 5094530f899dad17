#include "NolarCholesky.h"

#include <gtest/gtest.h>

#include "NolarMatrixTestSupport.h"

namespace nolardsp {
namespace {

using matrixtest::DistanceFro;
using matrixtest::FromRows;
using matrixtest::Transposed;

// a^T a + n I: symmetric positive definite, condition number a few tens.
Matrix<float> RandomSpd(unsigned int n, unsigned int seed) {
  Matrix<float> const a = matrixtest::Random(n, n, seed);
  Matrix<float> shift(n, n);
  shift.Eye(static_cast<float>(n));
  return Transposed(a) * a + shift;
}

void ExpectFactor(Matrix<float> const& a, double relative) {
  Cholesky<float> const c(a);
  ASSERT_TRUE(c.IsSpd());
  Matrix<float> const& l = c.GetL();
  for (unsigned int i = 0; i < l.GetNumRows(); ++i) {
    EXPECT_GT(l[i][i], 0.f);
    for (unsigned int j = i + 1; j < l.GetNumColumns(); ++j) EXPECT_EQ(l[i][j], 0.f);
  }
  EXPECT_LE(DistanceFro(l * Transposed(l), a), relative * normfro(a));
}

TEST(CholeskyFactor, RandomPositiveDefiniteMatrices) {
  for (unsigned int n = 1; n <= 8; ++n)
    for (unsigned int seed = 1; seed <= 3; ++seed) ExpectFactor(RandomSpd(n, seed * 10 + n), 1e-6);
}

TEST(CholeskyFactor, IllConditionedHilbert) {
  ExpectFactor(matrixtest::Hilbert(4), 1e-6);  // condition number about 1.5e4
}

TEST(CholeskySolve, ResidualOfRandomSystems) {
  for (unsigned int n = 1; n <= 8; ++n) {
    Matrix<float> const a = RandomSpd(n, n);
    Matrix<float> const b = matrixtest::Random(n, 3, n + 100);
    Matrix<float> x;
    Cholesky<float>(a).Solve(x, b);
    EXPECT_LE(DistanceFro(a * x, b), 1e-5 * normfro(a) * normfro(x));
  }
}

TEST(CholeskyNotPositiveDefinite, FactorStaysDefinedWithoutNaN) {
  // Pivot 1 - 2^2 = -3 is clamped to 0: the second column of L is zero.
  Cholesky<float> const c(FromRows({{1, 2}, {2, 1}}));
  EXPECT_FALSE(c.IsSpd());
  EXPECT_EQ(DistanceFro(c.GetL(), FromRows({{1, 0}, {2, 0}})), 0.0);
  Matrix<float> x;
  c.Solve(x, FromRows({{1}, {1}}));
  EXPECT_TRUE(matrixtest::AllFinite(x));

  // A zero first pivot zeroes its column below, not a division by zero.
  Cholesky<float> const zero(FromRows({{0, 1, 0}, {1, 2, 0}, {0, 0, 4}}));
  EXPECT_FALSE(zero.IsSpd());
  EXPECT_TRUE(matrixtest::AllFinite(zero.GetL()));
  EXPECT_EQ(zero.GetL()[2][2], 2.f);

  Matrix<float> withNaN = FromRows({{1, 0}, {0, 1}});
  withNaN[1][1] = NAN;
  EXPECT_FALSE(Cholesky<float>(withNaN).IsSpd());
}

TEST(CholeskyEdges, NonSquareEmptyAndMismatchedRightHandSide) {
  Cholesky<float> const nonSquare(matrixtest::Random(2, 3, 1));
  EXPECT_FALSE(nonSquare.IsSpd());
  EXPECT_TRUE(nonSquare.GetL().IsEmpty());

  Cholesky<float> const empty{Matrix<float>()};
  EXPECT_TRUE(empty.IsSpd());

  Cholesky<float> const c(RandomSpd(3, 7));
  Matrix<float> x(3, 1, 1.f);
  c.Solve(x, Matrix<float>(2, 1, 1.f));
  EXPECT_EQ(x.GetNumRows(), 0u);
  EXPECT_EQ(x.GetNumColumns(), 0u);

  Cholesky<float> const scalar(FromRows({{9}}));
  EXPECT_EQ(scalar.GetL()[0][0], 3.f);
  scalar.Solve(x, FromRows({{18}}));
  EXPECT_EQ(x[0][0], 2.f);
}

}  // namespace
}  // namespace nolardsp
