#include "NolarQR.h"

#include <gtest/gtest.h>

#include <tuple>

#include "NolarMatrixTestSupport.h"

namespace nolardsp {
namespace {

using matrixtest::DistanceFro;
using matrixtest::FromRows;
using matrixtest::Identity;
using matrixtest::Transposed;

// Columns 1, t, t^2, ... at points spread over [0, 1]: condition number
// about 1e4 at 7 by 5.
Matrix<float> Vandermonde(unsigned int rows, unsigned int columns) {
  Matrix<float> m(rows, columns);
  for (unsigned int r = 0; r < rows; ++r) {
    float const t = static_cast<float>(r) / static_cast<float>(rows - 1);
    float p = 1.f;
    for (unsigned int c = 0; c < columns; ++c, p *= t) m[r][c] = p;
  }
  return m;
}

void ExpectFactors(Matrix<float> const& a, double relative) {
  QR<float> const qr(a);
  Matrix<float> q;
  Matrix<float> r;
  qr.GetQ(q);
  qr.GetR(r);
  unsigned int const m = a.GetNumRows();
  EXPECT_LE(DistanceFro(q * r, a), relative * normfro(a));
  EXPECT_LE(DistanceFro(Transposed(q) * q, Identity(m)), relative * m);
  for (unsigned int i = 0; i < r.GetNumRows(); ++i)
    for (unsigned int j = 0; j < std::min(i, r.GetNumColumns()); ++j) EXPECT_EQ(r[i][j], 0.f);
  for (unsigned int i = 0; i < qr.GetDiagonal().size(); ++i)
    EXPECT_EQ(r[i][i], qr.GetDiagonal()[i]);
}

class QRShapes : public ::testing::TestWithParam<std::tuple<unsigned int, unsigned int>> {};

TEST_P(QRShapes, RandomMatricesFactorIntoOrthogonalTimesTriangular) {
  auto const [m, n] = GetParam();
  for (unsigned int seed = 1; seed <= 5; ++seed)
    ExpectFactors(matrixtest::Random(m, n, seed * 1000 + m * 10 + n), 2e-6);
}

INSTANTIATE_TEST_SUITE_P(Shapes, QRShapes,
                         ::testing::Values(std::make_tuple(1u, 1u), std::make_tuple(3u, 3u),
                                           std::make_tuple(5u, 3u), std::make_tuple(3u, 5u),
                                           std::make_tuple(8u, 8u), std::make_tuple(12u, 2u)));

TEST(QRFactors, IllConditionedVandermonde) {
  ExpectFactors(Vandermonde(7, 5), 2e-6);
}

TEST(QRFactors, DiagonalSignOpposesTheLeadingEntry) {
  EXPECT_EQ(QR<float>(FromRows({{3}, {4}})).GetDiagonal()[0], -5.f);
  EXPECT_EQ(QR<float>(FromRows({{-3}, {4}})).GetDiagonal()[0], 5.f);
  EXPECT_EQ(QR<float>(FromRows({{0}, {4}})).GetDiagonal()[0], -4.f);
  EXPECT_EQ(QR<float>(FromRows({{2}})).GetDiagonal()[0], -2.f);
}

TEST(QRRank, ZeroColumnGivesAnExactZeroOnTheDiagonal) {
  QR<float> const first(FromRows({{0, 1}, {0, 2}, {0, 3}}));
  EXPECT_EQ(first.GetDiagonal()[0], 0.f);
  EXPECT_FALSE(first.IsFullRank());
  QR<float> const second(FromRows({{1, 0}, {2, 0}, {3, 0}}));
  EXPECT_EQ(second.GetDiagonal()[1], 0.f);
  EXPECT_FALSE(second.IsFullRank());
  EXPECT_TRUE(QR<float>(FromRows({{1, 0}, {2, 1}, {3, 0}})).IsFullRank());

  // The factors still multiply back, and solving leaves the free unknown at 0.
  ExpectFactors(FromRows({{1, 0}, {2, 0}, {3, 0}}), 1e-6);
  Matrix<float> x;
  second.Solve(x, FromRows({{1}, {2}, {3}}));
  EXPECT_NEAR(x[0][0], 1.f, 1e-6f);
  EXPECT_EQ(x[1][0], 0.f);
}

TEST(QRSolve, TallSystemGivesTheLeastSquaresSolution) {
  for (unsigned int seed = 1; seed <= 5; ++seed) {
    Matrix<float> const a = matrixtest::Random(6, 3, seed);
    Matrix<float> const b = matrixtest::Random(6, 2, seed + 50);
    Matrix<float> x;
    QR<float>(a).Solve(x, b);
    Matrix<float> const reference = matrixtest::LeastSquaresReference(a, b);
    EXPECT_LE(DistanceFro(x, reference), 1e-5 * normfro(reference));
  }
  Matrix<float> const v = Vandermonde(7, 5);
  Matrix<float> const b = matrixtest::Random(7, 1, 3);
  Matrix<float> x;
  QR<float>(v).Solve(x, b);
  Matrix<float> const reference = matrixtest::LeastSquaresReference(v, b);
  // Forward error grows with the condition number (about 1e4 here).
  EXPECT_LE(DistanceFro(x, reference), 1e-2 * normfro(reference));
}

TEST(QRSolve, WideSystemLeavesTrailingUnknownsAtZero) {
  Matrix<float> const a = FromRows({{2, 1, 5}, {0, 3, -1}});
  Matrix<float> const b = FromRows({{3}, {6}});
  Matrix<float> x;
  QR<float>(a).Solve(x, b);
  ASSERT_EQ(x.GetNumRows(), 3u);
  EXPECT_EQ(x[2][0], 0.f);
  EXPECT_LE(DistanceFro(a * x, b), 1e-6);
}

TEST(QRSolve, MismatchedRightHandSideGivesEmpty) {
  Matrix<float> x(2, 2, 1.f);
  QR<float>(matrixtest::Random(3, 2, 1)).Solve(x, Matrix<float>(2, 1, 1.f));
  EXPECT_TRUE(x.IsEmpty());
  QR<float> const empty{Matrix<float>()};
  EXPECT_TRUE(empty.IsFullRank());
  empty.Solve(x, Matrix<float>(0, 2));
  EXPECT_EQ(x.GetNumRows(), 0u);
}

}  // namespace
}  // namespace nolardsp
