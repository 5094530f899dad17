// Legendre values, complex and real harmonics and the gamma function, checked
// against direct formulas (tests/support/ZorvTestSphericalHarmonicReference.h)
// and by integration over the sphere.

#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include "NolarGamma.h"
#include "NolarLegendre.h"
#include "NolarRealSphericalHarmonic.h"
#include "NolarSphericalHarmonic.h"
#include "ZorvTestSphericalHarmonicReference.h"

namespace {

using nolardsp::Complex;
using nolardsp::Gamma;
using nolardsp::Legendre;
using nolardsp::RealSphericalHarmonic;
using nolardsp::SphericalHarmonic;
using SH = nolardsp::SphericalHarmonic;

double const pi = 3.14159265358979323846;

unsigned int place(unsigned int l, int m) {
  return static_cast<unsigned int>(static_cast<int>(l * l + l) + m);
}

// Colatitudes and azimuths: random ones, both poles and the horizon.
std::vector<std::pair<double, double>> directions() {
  std::vector<std::pair<double, double>> d = {{0., 0.3}, {pi, -1.2}, {pi / 2, 0.}, {pi / 2, 2.}};
  std::mt19937 random(7);
  std::uniform_real_distribution<double> u(-1., 1.);
  std::uniform_real_distribution<double> a(-pi, pi);
  for (int i = 0; i < 24; ++i) d.emplace_back(std::acos(u(random)), a(random));
  return d;
}

// The Legendre table's own conventions, from the unphased P_l^|m|.
double legendreReference(unsigned int l, int m, double x, SH::Normalization n) {
  unsigned int const mu = static_cast<unsigned int>(m < 0 ? -m : m);
  double const sign = (m < 0 && mu % 2 == 1) ? -1. : 1.;
  double const semi = zorvtest::SemiNormalizedLegendre(l, mu, x);
  switch (n) {
    case SH::SchmidtSeminormalized3D:
      return sign * semi;
    case SH::FullyNormalized3D:
      return sign * std::sqrt(2. * l + 1.) * semi;
    case SH::GaussNormalization:
      return std::sqrt(2. * l + 1.) * semi;
    default: {
      double const p = static_cast<double>(zorvtest::LegendreReference(l, mu, x));
      return (m != 0 && mu % 2 == 1) ? -p : p;
    }
  }
}

template <typename T>
class LegendreTest : public ::testing::Test {};
using Precisions = ::testing::Types<float, double>;
TYPED_TEST_SUITE(LegendreTest, Precisions);

TYPED_TEST(LegendreTest, TableMatchesDirectFormulaAndSingleValuesForEveryNormalization) {
  using T = TypeParam;
  unsigned int const order = 10;
  double const tolerance = sizeof(T) == 4 ? 3e-5 : 1e-11;
  std::vector<T> table;
  for (unsigned int n = 0; n <= 5; ++n) {
    auto const normalization = static_cast<SH::Normalization>(n);
    for (auto const& d : directions()) {
      T const x = static_cast<T>(std::cos(d.first));
      Legendre<T>::AssociatedLegendreFunctions(table, order, x, normalization);
      ASSERT_EQ(table.size(), 121u);
      for (unsigned int l = 0; l <= order; ++l) {
        for (int m = -static_cast<int>(l); m <= static_cast<int>(l); ++m) {
          double const ref = legendreReference(l, m, static_cast<double>(x), normalization);
          // Unnormalised values grow like sqrt((l + |m|)! / (l - |m|)!): the
          // error is relative to that size.
          unsigned int const mu = static_cast<unsigned int>(std::abs(m));
          bool const unnormalised = n == 0 || n == 2 || n == 4;
          double const scale = unnormalised
                                   ? std::sqrt(static_cast<double>(zorvtest::FactorialLD(l + mu) /
                                                                   zorvtest::FactorialLD(l - mu)))
                                   : 1.;
          EXPECT_NEAR(table[place(l, m)], ref, tolerance * scale)
              << "n " << n << " l " << l << " m " << m << " x " << x;
          // The single form runs the same steps: bit-identical.
          EXPECT_EQ(Legendre<T>::AssociatedLegendreFunctions(l, m, x, normalization),
                    table[place(l, m)]);
        }
      }
    }
  }
  EXPECT_EQ(Legendre<T>::AssociatedLegendreFunctions(2, 3, T(0.5), SH::SchmidtSeminormalized3D),
            T(0));
}

TYPED_TEST(LegendreTest, PolesAreExactAndOutOfRangeArgumentsAreClamped) {
  using T = TypeParam;
  std::vector<T> up;
  std::vector<T> down;
  std::vector<T> beyond;
  Legendre<T>::AssociatedLegendreFunctions(up, 12, T(1), SH::SchmidtSeminormalized3D);
  Legendre<T>::AssociatedLegendreFunctions(down, 12, T(-1), SH::SchmidtSeminormalized3D);
  Legendre<T>::AssociatedLegendreFunctions(beyond, 12, T(1.5), SH::SchmidtSeminormalized3D);
  for (unsigned int l = 0; l <= 12; ++l) {
    for (int m = -static_cast<int>(l); m <= static_cast<int>(l); ++m) {
      if (m == 0) {
        // sqrt(2l + 1) and its inverse, each rounded: one unit in the last place.
        EXPECT_NEAR(up[place(l, m)], T(1), 4 * std::numeric_limits<T>::epsilon());
        EXPECT_NEAR(down[place(l, m)], l % 2 == 0 ? T(1) : T(-1),
                    4 * std::numeric_limits<T>::epsilon());
      } else {
        EXPECT_EQ(up[place(l, m)], T(0));
        EXPECT_EQ(down[place(l, m)], T(0));
      }
      EXPECT_EQ(beyond[place(l, m)], up[place(l, m)]);
    }
  }
}

TEST(LegendreTest, DoublePrecisionStaysAccurateAtHighDegree) {
  // Fully normalised values stay bounded by sqrt(2l + 1) (semi-normalised
  // ones by 1) whatever the degree:
  // the recurrences do not blow up where factorials would.
  std::vector<double> table;
  Legendre<double>::AssociatedLegendreFunctions(table, 60, 0.3, SH::GaussNormalization);
  for (double v : table) {
    EXPECT_TRUE(std::isfinite(v));
    EXPECT_LE(std::fabs(v), std::sqrt(121.));
  }
  EXPECT_NEAR(table[place(60, -60)],
              std::sqrt(121.) * zorvtest::SemiNormalizedLegendre(60, 60, 0.3), 1e-12);
}

// The largest magnitude a normalisation reaches up to order 10, for
// tolerances.
double ScaleOf(unsigned int n) {
  return n == 3 ? std::sqrt(21.) : 2.;
}

template <typename T>
class SphericalHarmonicTest : public ::testing::Test {};
TYPED_TEST_SUITE(SphericalHarmonicTest, Precisions);

TYPED_TEST(SphericalHarmonicTest, RealTableMatchesPositiveFormForEveryNormalization) {
  using T = TypeParam;
  unsigned int const order = 10;
  std::vector<T> table;
  for (unsigned int n = 1; n <= 4; ++n) {
    // SN2D carries 1 / sqrt(2) as a single-precision constant.
    double const tolerance = sizeof(T) == 4 ? 4e-5 : (n == 2 ? 5e-8 : 1e-11);
    auto const normalization = static_cast<SH::Normalization>(n);
    for (auto const& d : directions()) {
      T const theta = static_cast<T>(d.first);
      T const phi = static_cast<T>(d.second);
      RealSphericalHarmonic<T>::RealSphericalHarmonics(table, order, theta, phi, normalization);
      ASSERT_EQ(table.size(), 121u);
      for (unsigned int l = 0; l <= order; ++l) {
        for (int m = -static_cast<int>(l); m <= static_cast<int>(l); ++m) {
          double const ref = zorvtest::RealReference(l, m, theta, phi, n);
          EXPECT_NEAR(table[place(l, m)], ref, tolerance * ScaleOf(n))
              << "n " << n << " l " << l << " m " << m;
        }
      }
    }
  }
}

TYPED_TEST(SphericalHarmonicTest, SingleComponentsEqualTheirTableEntries) {
  using T = TypeParam;
  std::vector<Complex<T>> complexTable;
  std::vector<T> realTable;
  for (unsigned int n = 1; n <= 4; ++n) {
    auto const normalization = static_cast<SH::Normalization>(n);
    for (auto const& d : directions()) {
      T const theta = static_cast<T>(d.first);
      T const phi = static_cast<T>(d.second);
      SH::SphericalHarmonics<T>(complexTable, 8, theta, phi, normalization);
      RealSphericalHarmonic<T>::RealSphericalHarmonics(realTable, 8, theta, phi, normalization);
      for (unsigned int l = 0; l <= 8; ++l) {
        for (int m = -static_cast<int>(l); m <= static_cast<int>(l); ++m) {
          Complex<T> const one = SH::SphericalHarmonics<T>(l, m, theta, phi, normalization);
          EXPECT_EQ(one.re, complexTable[place(l, m)].re);
          EXPECT_EQ(one.im, complexTable[place(l, m)].im);
          EXPECT_EQ(RealSphericalHarmonic<T>::RealPart(one, m), realTable[place(l, m)]);
        }
      }
      Complex<T> const outside = SH::SphericalHarmonics<T>(2, -3, theta, phi, normalization);
      EXPECT_EQ(outside.re, T(0));
      EXPECT_EQ(outside.im, T(0));
    }
  }
}

// The unnormalised complex harmonics are the orthonormal ones. The table
// pairs (l, -m) with the conjugate of (l, m); the single form with (-1)^m
// times it, as the textbook does. Both are orthonormal bases.
TEST(SphericalHarmonicTest, UnnormalizedComplexFormsMatchTheOrthonormalHarmonics) {
  std::vector<Complex<double>> table;
  for (auto const& d : directions()) {
    SH::SphericalHarmonics<double>(table, 8, d.first, d.second, SH::Unnormalized);
    for (unsigned int l = 0; l <= 8; ++l) {
      for (int m = -static_cast<int>(l); m <= static_cast<int>(l); ++m) {
        auto const ref = zorvtest::ComplexReference(l, m, d.first, d.second);
        // 0.07957747 is 1 / (4 pi) to single precision only.
        double const tol = 3e-8 * (1. + std::hypot(ref.first, ref.second));
        double const sign = (m < 0 && (-m) % 2 == 1) ? -1. : 1.;
        EXPECT_NEAR(table[place(l, m)].re, sign * ref.first, tol);
        EXPECT_NEAR(table[place(l, m)].im, sign * ref.second, tol);
        Complex<double> const one =
            SH::SphericalHarmonics<double>(l, m, d.first, d.second, SH::Unnormalized);
        EXPECT_NEAR(one.re, ref.first, tol);
        EXPECT_NEAR(one.im, ref.second, tol);
      }
    }
  }
}

// Integrates products of harmonics over the sphere with a Gauss-Legendre rule
// in cos(theta) and a uniform one in phi, exact for these degrees.
TEST(SphericalHarmonicTest, RealHarmonicsHaveTheirStatedNormsOnTheSphere) {
  unsigned int const order = 10;
  unsigned int const size = (order + 1) * (order + 1);
  std::vector<double> nodes;
  std::vector<double> weights;
  zorvtest::GaussLegendre(16, nodes, weights);
  unsigned int const azimuths = 32;
  for (SH::Normalization n : {SH::SchmidtSeminormalized3D, SH::FullyNormalized3D}) {
    std::vector<double> gram(size * size, 0.);
    std::vector<double> y;
    for (std::size_t i = 0; i < nodes.size(); ++i) {
      for (unsigned int k = 0; k < azimuths; ++k) {
        double const phi = 2. * pi * k / azimuths;
        double const w = weights[i] * 2. * pi / azimuths;
        RealSphericalHarmonic<double>::RealSphericalHarmonics(y, order, std::acos(nodes[i]), phi,
                                                              n);
        for (unsigned int a = 0; a < size; ++a) {
          for (unsigned int b = 0; b < size; ++b) gram[a * size + b] += w * y[a] * y[b];
        }
      }
    }
    for (unsigned int l = 0; l <= order; ++l) {
      for (int m = -static_cast<int>(l); m <= static_cast<int>(l); ++m) {
        unsigned int const a = place(l, m);
        double const mu = std::fabs(static_cast<double>(m));
        // SN3D: 4 pi / (2l + 1). N3D scales by sqrt(2|m| + 1), which makes the
        // components with |m| = l of norm 4 pi.
        double const expected =
            4. * pi / (2. * l + 1.) * (n == SH::FullyNormalized3D ? 2. * mu + 1. : 1.);
        EXPECT_NEAR(gram[a * size + a], expected, 1e-10) << "l " << l << " m " << m;
        for (unsigned int b = 0; b < size; ++b) {
          if (b != a) {
            EXPECT_NEAR(gram[a * size + b], 0., 1e-10);
          }
        }
      }
    }
  }
}

TEST(SphericalHarmonicTest, UnnormalizedComplexHarmonicsAreOrthonormal) {
  unsigned int const order = 8;
  unsigned int const size = (order + 1) * (order + 1);
  std::vector<double> nodes;
  std::vector<double> weights;
  zorvtest::GaussLegendre(12, nodes, weights);
  unsigned int const azimuths = 24;
  std::vector<double> gramRe(size * size, 0.);
  std::vector<double> gramIm(size * size, 0.);
  std::vector<Complex<double>> y;
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    for (unsigned int k = 0; k < azimuths; ++k) {
      double const w = weights[i] * 2. * pi / azimuths;
      SH::SphericalHarmonics<double>(y, order, std::acos(nodes[i]), 2. * pi * k / azimuths,
                                     SH::Unnormalized);
      for (unsigned int a = 0; a < size; ++a) {
        for (unsigned int b = 0; b < size; ++b) {
          // y_a times the conjugate of y_b.
          gramRe[a * size + b] += w * (y[a].re * y[b].re + y[a].im * y[b].im);
          gramIm[a * size + b] += w * (y[a].im * y[b].re - y[a].re * y[b].im);
        }
      }
    }
  }
  for (unsigned int a = 0; a < size; ++a) {
    for (unsigned int b = 0; b < size; ++b) {
      // 0.07957747 is 1 / (4 pi) to single precision only.
      EXPECT_NEAR(gramRe[a * size + b], a == b ? 1. : 0., 1e-7);
      EXPECT_NEAR(gramIm[a * size + b], 0., 1e-7);
    }
  }
}

TEST(SphericalHarmonicTest, BasisInAlternateDegreesIsAPermutationOfTheTable) {
  std::vector<Complex<float>> table;
  std::vector<Complex<float>> alternate;
  for (auto const& d : directions()) {
    float const theta = static_cast<float>(d.first);
    float const phi = static_cast<float>(d.second);
    SH::SphericalHarmonicsBasis<float>(table, 6, theta, phi, SH::SchmidtSeminormalized3D,
                                       SH::IncreasingDegrees);
    SH::SphericalHarmonicsBasis<float>(alternate, 6, theta, phi, SH::SchmidtSeminormalized3D,
                                       SH::AlternateDegrees);
    ASSERT_EQ(alternate.size(), table.size());
    for (unsigned int l = 0; l <= 6; ++l) {
      std::vector<int> const ms = zorvtest::AlternateOrder(l);
      for (unsigned int k = 0; k < ms.size(); ++k) {
        EXPECT_EQ(alternate[l * l + k].re, table[place(l, ms[k])].re);
        EXPECT_EQ(alternate[l * l + k].im, table[place(l, ms[k])].im);
      }
    }
  }
}

TEST(SphericalHarmonicTest, GaussNormalizationHasNoTableButSingleValues) {
  std::vector<float> real;
  RealSphericalHarmonic<float>::RealSphericalHarmonics(real, 3, 0.4f, 0.2f, SH::GaussNormalization);
  ASSERT_EQ(real.size(), 16u);
  for (float v : real) EXPECT_EQ(v, 0.f);
  Complex<float> const one =
      SH::SphericalHarmonics<float>(3, 2, 0.4f, 0.2f, SH::GaussNormalization);
  EXPECT_FLOAT_EQ(one.re, std::cos(0.4f));
  EXPECT_FLOAT_EQ(one.im, std::sin(0.4f));
}

TEST(SphericalHarmonicNames, NamesMapBothWaysAndUnknownNamesReadAsZero) {
  struct Row {
    char const* name;
    SH::Normalization value;
  };
  Row const rows[] = {{"Unnormalized", SH::Unnormalized},
                      {"SchmidtSeminormalized3D", SH::SchmidtSeminormalized3D},
                      {"SN3D", SH::SchmidtSeminormalized3D},
                      {"sn3d", SH::SchmidtSeminormalized3D},
                      {"SchmidtSeminormalized2D", SH::SchmidtSeminormalized2D},
                      {"SN2D", SH::SchmidtSeminormalized2D},
                      {"sn2d", SH::SchmidtSeminormalized2D},
                      {"FullyNormalized3D", SH::FullyNormalized3D},
                      {"N3D", SH::FullyNormalized3D},
                      {"n3d", SH::FullyNormalized3D},
                      {"FullyNormalized2D", SH::FullyNormalized2D},
                      {"N2D", SH::FullyNormalized2D},
                      {"n2d", SH::FullyNormalized2D},
                      {"GaussNormalization", SH::GaussNormalization}};
  for (Row const& row : rows) EXPECT_EQ(SH::GetNormalization(row.name), row.value) << row.name;
  char const* const canonical[] = {"Unnormalized", "SN3D", "SN2D",
                                   "N3D",          "N2D",  "GaussNormalization"};
  for (unsigned int v = 0; v <= 5; ++v) {
    auto const n = static_cast<SH::Normalization>(v);
    EXPECT_STREQ(SH::GetNormalizationName(n), canonical[v]);
    EXPECT_EQ(SH::GetNormalization(SH::GetNormalizationName(n)), n);
  }
  EXPECT_STREQ(SH::GetNormalizationName(static_cast<SH::Normalization>(6)), "");
  EXPECT_EQ(SH::GetNormalization("maxN"), SH::Unnormalized);
  EXPECT_EQ(SH::GetNormalization("maxN"), SH::Unnormalized);

  EXPECT_EQ(SH::GetSorting("AlternateDegrees"), SH::AlternateDegrees);
  EXPECT_EQ(SH::GetSorting("alternatedegrees"), SH::AlternateDegrees);
  EXPECT_EQ(SH::GetSorting("increasingdegrees"), SH::IncreasingDegrees);
  EXPECT_EQ(SH::GetSorting("ACN"), SH::IncreasingDegrees);
  EXPECT_STREQ(SH::GetSortingName(SH::AlternateDegrees), "AlternateDegrees");
  EXPECT_STREQ(SH::GetSortingName(SH::IncreasingDegrees), "IncreasingDegrees");
  EXPECT_STREQ(SH::GetSortingName(static_cast<SH::Sorting>(7)), "IncreasingDegrees");
  EXPECT_EQ(SH::DefaultSorting, SH::IncreasingDegrees);
}

TEST(SphericalHarmonicTest, TwoDimensionalScalesSurviveFactorialOverflow) {
  // Past 170! the factorials overflow a double; the scale must stay finite
  // and keep growing like (pi m)^(1/4).
  double previous = 0.;
  for (unsigned int mu : {1u, 2u, 17u, 34u, 60u, 85u, 86u, 100u, 200u}) {
    double const v = SH::ScaleFactor(mu, static_cast<int>(mu), SH::FullyNormalized2D);
    ASSERT_TRUE(std::isfinite(v)) << mu;
    EXPECT_NEAR(v, zorvtest::ScaleReference(mu, 4), 1e-12 * v) << mu;
    EXPECT_GT(v, previous);
    previous = v;
  }
  EXPECT_NEAR(SH::ScaleFactor(2, 2, SH::SchmidtSeminormalized2D), 2. / std::sqrt(3.), 1e-7);
  EXPECT_NEAR(SH::ScaleFactor(5, 1, SH::SchmidtSeminormalized2D), 1., 1e-7);
}

TEST(GammaTest, MatchesTheLibraryGammaAwayFromPoles) {
  double const sqrtPi = std::sqrt(pi);
  EXPECT_EQ(Gamma::GammaFunction(1.), 1.);
  EXPECT_EQ(Gamma::GammaFunction(2.), 1.);
  EXPECT_EQ(Gamma::GammaFunction(5.), 24.);
  EXPECT_EQ(Gamma::GammaFunction(21.), 2432902008176640000.);
  EXPECT_NEAR(Gamma::GammaFunction(0.5), sqrtPi, 1e-14);
  EXPECT_NEAR(Gamma::GammaFunction(-0.5), -2. * sqrtPi, 1e-14);
  EXPECT_NEAR(Gamma::GammaFunction(-1.5), 4. * sqrtPi / 3., 1e-13);
  for (double x = -9.75; x < 170.; x += 0.37) {
    if (x == std::floor(x)) continue;
    double const expected = std::tgamma(x);
    EXPECT_NEAR(Gamma::GammaFunction(x), expected, 1e-13 * std::fabs(expected)) << x;
  }
}

TEST(GammaTest, PolesAndOverflowAnswerTheLargestDouble) {
  EXPECT_EQ(Gamma::GammaFunction(0.), DBL_MAX);
  EXPECT_EQ(Gamma::GammaFunction(-3.), DBL_MAX);
  EXPECT_EQ(Gamma::GammaFunction(171.5), DBL_MAX);
  EXPECT_EQ(Gamma::GammaFunction(1e300), DBL_MAX);
  EXPECT_EQ(Gamma::GammaFunction(-HUGE_VAL), DBL_MAX);
  EXPECT_TRUE(std::isnan(Gamma::GammaFunction(NAN)));
  EXPECT_EQ(Gamma::NumericLimitDouble, DBL_MAX);
}

}  // namespace
