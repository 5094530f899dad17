#include "NolarSVD.h"

#include <gtest/gtest.h>

#include <cmath>
#include <tuple>

#include "NolarMatrixTestSupport.h"

namespace nolardsp {
namespace {

using matrixtest::DistanceFro;
using matrixtest::FromRows;
using matrixtest::Identity;
using matrixtest::Transposed;

Matrix<float> Reconstruct(SVD<float> const& svd) {
  Matrix<float> us = svd.GetU();
  for (unsigned int r = 0; r < us.GetNumRows(); ++r)
    for (unsigned int c = 0; c < us.GetNumColumns(); ++c) us[r][c] *= svd.GetS()[c];
  return us * Transposed(svd.GetV());
}

// The conventions every decomposition must meet, whatever the input.
void ExpectConventions(SVD<float> const& svd) {
  std::vector<float> const& s = svd.GetS();
  Matrix<float> const& u = svd.GetU();
  Matrix<float> const& v = svd.GetV();
  for (size_t i = 0; i < s.size(); ++i) {
    EXPECT_GE(s[i], 0.f);
    if (i > 0) {
      EXPECT_LE(s[i], s[i - 1]);
    }
    int balance = 0;
    unsigned int largest = 0;
    for (unsigned int r = 0; r < u.GetNumRows(); ++r) {
      balance += (u[r][i] > 0.f) - (u[r][i] < 0.f);
      if (std::fabs(u[r][i]) > std::fabs(u[largest][i])) largest = r;
    }
    for (unsigned int r = 0; r < v.GetNumRows(); ++r) balance += (v[r][i] > 0.f) - (v[r][i] < 0.f);
    EXPECT_GE(balance, 0) << "column pair " << i;
    if (balance == 0) {
      EXPECT_GT(u[largest][i], 0.f) << "column pair " << i;
    }
  }
}

class SVDReconstruction : public ::testing::TestWithParam<std::tuple<unsigned int, unsigned int>> {
};

TEST_P(SVDReconstruction, RandomMatricesFactorWithOrthonormalColumns) {
  auto const [m, n] = GetParam();
  unsigned int const k = std::min(m, n);
  for (unsigned int seed = 1; seed <= 5; ++seed) {
    Matrix<float> const a = matrixtest::Random(m, n, seed * 100 + m * 10 + n);
    SVD<float> const svd(a);
    ASSERT_EQ(svd.GetU().GetNumRows(), m);
    ASSERT_EQ(svd.GetU().GetNumColumns(), k);
    ASSERT_EQ(svd.GetV().GetNumRows(), n);
    ASSERT_EQ(svd.GetV().GetNumColumns(), k);
    ASSERT_EQ(svd.GetS().size(), k);
    // Backward error of a float decomposition: a few epsilons times the norm.
    EXPECT_LE(DistanceFro(Reconstruct(svd), a), 2e-6 * std::sqrt(double(m * n)) * normfro(a));
    EXPECT_LE(DistanceFro(Transposed(svd.GetU()) * svd.GetU(), Identity(k)), 2e-6 * k);
    EXPECT_LE(DistanceFro(Transposed(svd.GetV()) * svd.GetV(), Identity(k)), 2e-6 * k);
    ExpectConventions(svd);

    // Penrose conditions of the pseudo-inverse.
    Matrix<float> p;
    svd.GetPseudoInverse(p, -1.f);
    ASSERT_EQ(p.GetNumRows(), n);
    ASSERT_EQ(p.GetNumColumns(), m);
    EXPECT_LE(DistanceFro(a * p * a, a), 1e-4 * normfro(a));
    EXPECT_LE(DistanceFro(p * a * p, p), 1e-4 * normfro(p));
  }
}

INSTANTIATE_TEST_SUITE_P(Shapes, SVDReconstruction,
                         ::testing::Values(std::make_tuple(1u, 1u), std::make_tuple(3u, 3u),
                                           std::make_tuple(5u, 3u), std::make_tuple(3u, 5u),
                                           std::make_tuple(8u, 8u), std::make_tuple(16u, 4u),
                                           std::make_tuple(1u, 6u)));

TEST(SVDReconstruction, IllConditionedHilbertStillFactors) {
  Matrix<float> const a = matrixtest::Hilbert(6);  // condition number about 1.5e7
  SVD<float> const svd(a);
  EXPECT_LE(DistanceFro(Reconstruct(svd), a), 1e-5 * normfro(a));
  ExpectConventions(svd);
  // The largest singular value of the 6 by 6 Hilbert matrix is 1.6188998.
  EXPECT_NEAR(svd.GetS()[0], 1.6188998f, 2e-6f);
}

TEST(SVDConventions, SingularValuesSortedWithTheirColumns) {
  // diag(-1, 3, -2): values 3, 2, 1; a negative entry puts its sign into V.
  SVD<float> const svd(FromRows({{-1, 0, 0}, {0, 3, 0}, {0, 0, -2}}));
  EXPECT_EQ(svd.GetS(), (std::vector<float>{3.f, 2.f, 1.f}));
  // Each pair is tied (one +1, one -1) so u carries the positive sign.
  EXPECT_EQ(DistanceFro(svd.GetU(), FromRows({{0, 0, 1}, {1, 0, 0}, {0, 1, 0}})), 0.0);
  EXPECT_EQ(DistanceFro(svd.GetV(), FromRows({{0, 0, -1}, {1, 0, 0}, {0, -1, 0}})), 0.0);
}

TEST(SVDConventions, SignsFavourNonNegativeEntries) {
  SVD<float> const negative(FromRows({{-2, -2}, {-2, -2}, {-1, -1}}));
  // Rank one: u = -(2, 2, 1)/3 and v = (1, 1)/sqrt 2 or the reverse; the
  // reverse has no negative entry in the pair.
  EXPECT_NEAR(negative.GetS()[0], 3.f * std::sqrt(2.f), 1e-5f);
  EXPECT_NEAR(negative.GetU()[0][0], 2.f / 3.f, 1e-6f);
  EXPECT_NEAR(negative.GetU()[2][0], 1.f / 3.f, 1e-6f);
  EXPECT_NEAR(negative.GetV()[0][0], -std::sqrt(0.5f), 1e-6f);
  ExpectConventions(negative);

  SVD<float> const scalar(FromRows({{-5}}));
  EXPECT_EQ(scalar.GetS()[0], 5.f);
  EXPECT_EQ(scalar.GetU()[0][0], 1.f);
  EXPECT_EQ(scalar.GetV()[0][0], -1.f);
}

TEST(SVDPseudoInverse, ToleranceFollowsSizeAndLargestValue) {
  // 2 by 2 with S[0] = 1: tolerance = sqrt(5) * 1.1920929e-7 * 0.5 = 1.3328e-7.
  SVD<float> const below(FromRows({{1, 0}, {0, 1.2e-7f}}));
  EXPECT_NEAR(below.GetTolerance(), 1.3328e-7f, 1e-11f);
  EXPECT_EQ(below.GetMachineEpsilon(), 1.1920929e-07f);
  Matrix<float> p;
  below.GetPseudoInverse(p, -1.f);
  EXPECT_EQ(DistanceFro(p, FromRows({{1, 0}, {0, 0}})), 0.0);

  SVD<float> const above(FromRows({{1, 0}, {0, 1.5e-7f}}));
  above.GetPseudoInverse(p, -1.f);
  EXPECT_NEAR(p[1][1], 1.f / 1.5e-7f, 1.f);

  // An explicit tolerance replaces the object's own; the cut is "at or below".
  SVD<float> const explicitCut(FromRows({{4, 0}, {0, 0.5f}}));
  explicitCut.GetPseudoInverse(p, 0.5f);
  EXPECT_EQ(DistanceFro(p, FromRows({{0.25f, 0}, {0, 0}})), 0.0);
  explicitCut.GetPseudoInverse(p, 0.f);
  EXPECT_EQ(DistanceFro(p, FromRows({{0.25f, 0}, {0, 2}})), 0.0);
}

TEST(SVDPseudoInverse, RankDeficientLeavesSmallValuesUninverted) {
  // Rank one; its pseudo-inverse is a^T / |a|^2 (here 70).
  Matrix<float> const a = FromRows({{1, 2}, {2, 4}, {3, 6}});
  SVD<float> const svd(a);
  EXPECT_LE(svd.GetS()[1], svd.GetTolerance());
  Matrix<float> p;
  svd.GetPseudoInverse(p, -1.f);
  EXPECT_LE(DistanceFro(p, Transposed(a) * (1.f / 70.f)), 1e-6);

  // Rank two of three: the third row is the sum of the first two.
  Matrix<float> const b = FromRows({{1, 2, 0}, {0, 1, 1}, {1, 3, 1}});
  SVD<float> const svdB(b);
  svdB.GetPseudoInverse(p, -1.f);
  EXPECT_LE(svdB.GetS()[2], svdB.GetTolerance());
  EXPECT_LE(DistanceFro(b * p * b, b), 1e-5 * normfro(b));
  EXPECT_LE(DistanceFro(p * b * p, p), 1e-5 * normfro(p));
  EXPECT_LT(normfro(p), 10.f);  // nothing blew up through 1 / tiny
}

TEST(SVDEdges, EmptyZeroAndNonFiniteInputs) {
  for (auto const& shape :
       {std::make_pair(0u, 0u), std::make_pair(0u, 3u), std::make_pair(3u, 0u)}) {
    Matrix<float> const a(shape.first, shape.second);
    SVD<float> const svd(a);
    EXPECT_TRUE(svd.GetS().empty());
    EXPECT_EQ(svd.GetTolerance(), 0.f);
    EXPECT_EQ(svd.GetU().GetNumRows(), shape.first);
    EXPECT_EQ(svd.GetV().GetNumRows(), shape.second);
    Matrix<float> p;
    svd.GetPseudoInverse(p, -1.f);
    EXPECT_EQ(p.GetNumRows(), shape.second);
    EXPECT_EQ(p.GetNumColumns(), shape.first);
  }

  SVD<float> const zero(Matrix<float>(3, 2, 0.f));
  EXPECT_EQ(zero.GetS(), (std::vector<float>{0.f, 0.f}));
  EXPECT_EQ(zero.GetTolerance(), 0.f);
  Matrix<float> p;
  zero.GetPseudoInverse(p, -1.f);
  EXPECT_EQ(DistanceFro(p, Matrix<float>(2, 3, 0.f)), 0.0);

  Matrix<float> bad = FromRows({{1, 2}, {3, 4}});
  bad[1][0] = NAN;
  SVD<float> const nan(bad);
  nan.GetPseudoInverse(p, -1.f);
  EXPECT_TRUE(matrixtest::AllFinite(p));
  bad[1][0] = INFINITY;
  SVD<float> const inf(bad);
  inf.GetPseudoInverse(p, -1.f);
  EXPECT_TRUE(matrixtest::AllFinite(p));
}

TEST(Pythag, ScaledHypotenuse) {
  EXPECT_EQ(pythag(3.f, 4.f), 5.f);
  EXPECT_EQ(pythag(-3.f, 4.f), 5.f);
  EXPECT_EQ(pythag(4.f, -3.f), 5.f);
  EXPECT_EQ(pythag(0.f, 0.f), 0.f);
  EXPECT_EQ(pythag(0.f, -2.f), 2.f);
  // The squares would overflow or underflow in float.
  EXPECT_FLOAT_EQ(pythag(3e30f, 4e30f), 5e30f);
  EXPECT_FLOAT_EQ(pythag(3e-30f, 4e-30f), 5e-30f);
}

}  // namespace
}  // namespace nolardsp
