#include "NolarGaussJordan.h"

#include <gtest/gtest.h>

#include "NolarMatrixTestSupport.h"

namespace nolardsp {
namespace {

using matrixtest::DistanceFro;
using matrixtest::FromRows;
using matrixtest::Identity;

TEST(GaussJordanElimination, InverseAndSolutionOfRandomSystems) {
  for (unsigned int n = 1; n <= 8; ++n)
    for (unsigned int seed = 1; seed <= 3; ++seed) {
      Matrix<float> const a = matrixtest::Random(n, n, seed * 10 + n);
      Matrix<float> const b = matrixtest::Random(n, 2, seed * 10 + n + 500);
      Matrix<float> inverse = a;
      Matrix<float> x = b;
      ASSERT_TRUE(GaussJordan<float>::GaussJordanElimination(inverse, x));
      // Relative to the condition estimate |a| |a^-1|, which random matrices
      // keep in the tens to hundreds.
      double const scale = double(normfro(a)) * normfro(inverse);
      EXPECT_LE(DistanceFro(a * inverse, Identity(n)), 2e-6 * n * scale);
      EXPECT_LE(DistanceFro(a * x, b), 2e-6 * n * normfro(a) * normfro(x));
    }
}

TEST(GaussJordanElimination, IllConditionedHilbert) {
  Matrix<float> const a = matrixtest::Hilbert(4);
  Matrix<float> inverse = a;
  Matrix<float> x = FromRows({{1}, {1}, {1}, {1}});
  ASSERT_TRUE(GaussJordan<float>::GaussJordanElimination(inverse, x));
  // The exact inverse has integer entries; its (0, 0) entry is 16 and the
  // largest, (2, 2), is 6480. Forward error about cond * epsilon.
  EXPECT_NEAR(inverse[0][0], 16.f, 16.f * 5e-3f);
  EXPECT_NEAR(inverse[2][2], 6480.f, 6480.f * 5e-3f);
  EXPECT_LE(DistanceFro(a * x, FromRows({{1}, {1}, {1}, {1}})), 1e-4);
}

TEST(GaussJordanElimination, PivotsAwayFromAZeroLeadingEntry) {
  Matrix<float> a = FromRows({{0, 2}, {1, 0}});
  Matrix<float> b = FromRows({{4}, {3}});
  ASSERT_TRUE(GaussJordan<float>::GaussJordanElimination(a, b));
  EXPECT_EQ(DistanceFro(a, FromRows({{0, 1}, {0.5f, 0}})), 0.0);
  EXPECT_EQ(DistanceFro(b, FromRows({{3}, {2}})), 0.0);
}

TEST(GaussJordanElimination, SingularGivesAFiniteGeneralisedInverse) {
  // Rank two: the third row is the sum of the first two.
  Matrix<float> const a = FromRows({{1, 2, 0}, {0, 1, 1}, {1, 3, 1}});
  Matrix<float> const b = FromRows({{3}, {2}, {5}});  // consistent: in the range of a
  Matrix<float> g = a;
  Matrix<float> x = b;
  EXPECT_FALSE(GaussJordan<float>::GaussJordanElimination(g, x));
  EXPECT_TRUE(matrixtest::AllFinite(g));
  EXPECT_TRUE(matrixtest::AllFinite(x));
  EXPECT_LE(DistanceFro(a * g * a, a), 1e-5);
  EXPECT_LE(DistanceFro(a * x, b), 1e-5);

  Matrix<float> zero(2, 2, 0.f);
  Matrix<float> rhs = FromRows({{1}, {1}});
  EXPECT_FALSE(GaussJordan<float>::GaussJordanElimination(zero, rhs));
  EXPECT_EQ(normfro(zero), 0.f);
  EXPECT_EQ(normfro(rhs), 0.f);

  Matrix<float> nan = FromRows({{1, NAN}, {0, 1}});
  rhs = FromRows({{1}, {1}});
  EXPECT_FALSE(GaussJordan<float>::GaussJordanElimination(nan, rhs));
  EXPECT_TRUE(matrixtest::AllFinite(nan));
  EXPECT_TRUE(matrixtest::AllFinite(rhs));
}

TEST(GaussJordanElimination, MismatchedSizesChangeNothing) {
  Matrix<float> a = matrixtest::Random(2, 3, 1);
  Matrix<float> b(2, 1, 1.f);
  EXPECT_FALSE(GaussJordan<float>::GaussJordanElimination(a, b));
  EXPECT_EQ(DistanceFro(a, matrixtest::Random(2, 3, 1)), 0.0);
  Matrix<float> square = Identity(2);
  Matrix<float> tall(3, 1, 1.f);
  EXPECT_FALSE(GaussJordan<float>::GaussJordanElimination(square, tall));
  EXPECT_EQ(DistanceFro(square, Identity(2)), 0.0);
  EXPECT_EQ(tall[2][0], 1.f);
}

}  // namespace
}  // namespace nolardsp
