#include "NolarBesselPolynomial.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace nolardsp {
namespace {

// Upper half-plane roots (and the real one) of degrees 5, 13 and 26, from an
// independent root finder (twice the poles of the delay-normalised Bessel
// prototype of scipy.signal.besselap), by descending imaginary part.
std::vector<std::vector<double>> const reference5 = {{-4.6493486063632901, 7.1420458406759524},
                                                     {-6.7039127983070665, 3.4853228323663958},
                                                     {-7.293477190659285, 0}};
std::vector<std::vector<double>> const reference13 = {{-6.8997344412574364, 22.147857104432376},
                                                      {-11.061361966688057, 17.944495550311562},
                                                      {-13.800745652293319, 14.141288624305897},
                                                      {-15.688760554125192, 10.509806813223921},
                                                      {-16.941183542954374, 6.967736901321989},
                                                      {-17.660504168289808, 3.4733328006152608},
                                                      {-17.89541934878358, 0}};
std::vector<std::vector<double>> const reference26 = {
    {-8.981980802924479, 47.120838007339188},  {-14.913018779125029, 42.264179882254417},
    {-19.256268844880044, 37.997591725460694}, {-22.702001918853316, 34.009732548347827},
    {-25.520528365711932, 30.186678580987873}, {-27.853027109544353, 26.471900447178061},
    {-29.784360870902152, 22.832567805744997}, {-31.369824904714786, 19.247587834278896},
    {-32.647193430701044, 15.70236664441012},  {-33.642882669098469, 12.186176408246368},
    {-34.375378515568691, 8.6906898555129715}, {-34.857240954125402, 5.2090916335741264},
    {-35.096292833850299, 1.7354927841021066}};

TEST(RootsOfBesselPolynomial, FirstDegreesAreTheClosedForms) {
  std::vector<Complex<double>> r;
  RootsOfBesselPolynomial(1, r);
  ASSERT_EQ(r.size(), 1u);
  EXPECT_NEAR(r[0].re, -2.0, 1e-14);
  EXPECT_EQ(r[0].im, 0.0);
  RootsOfBesselPolynomial(2, r);
  ASSERT_EQ(r.size(), 2u);
  EXPECT_NEAR(r[0].re, -3.0, 1e-14);
  EXPECT_NEAR(r[0].im, std::sqrt(3.0), 1e-14);
  EXPECT_EQ(r[1].re, r[0].re);
  EXPECT_EQ(r[1].im, -r[0].im);
  RootsOfBesselPolynomial(3, r);
  ASSERT_EQ(r.size(), 3u);
  EXPECT_NEAR(r[0].re, -3.677815, 1e-6);
  EXPECT_NEAR(r[0].im, 3.508762, 1e-6);
  EXPECT_NEAR(r[1].re, -4.644371, 1e-6);
  EXPECT_EQ(r[1].im, 0.0);
}

TEST(RootsOfBesselPolynomial, SumAndProductOfEveryDegree) {
  // Vieta on x^N y_N(2/x) = x^N + N(N+1) x^(N-1) + ... + (2N)!/N!.
  for (unsigned int n = 1; n <= MaxBesselPolynomialOrder; ++n) {
    std::vector<Complex<double>> r;
    RootsOfBesselPolynomial(n, r);
    ASSERT_EQ(r.size(), n);
    double sumRe = 0.0, sumIm = 0.0, logModulus = 0.0, expected = 0.0;
    for (auto const& c : r) {
      sumRe += c.re;
      sumIm += c.im;
      logModulus += 0.5 * std::log(c.re * c.re + c.im * c.im);
      EXPECT_LT(c.re, 0.0) << "degree " << n;
    }
    for (unsigned int k = n + 1; k <= 2 * n; ++k) expected += std::log(static_cast<double>(k));
    EXPECT_NEAR(sumRe, -static_cast<double>(n * (n + 1)), 1e-10 * n * (n + 1)) << "degree " << n;
    EXPECT_NEAR(sumIm, 0.0, 1e-12) << "degree " << n;
    EXPECT_NEAR(logModulus, expected, 1e-12 * expected) << "degree " << n;
  }
}

TEST(RootsOfBesselPolynomial, MatchAnIndependentRootFinder) {
  struct Case {
    unsigned int n;
    std::vector<std::vector<double>> const* roots;
  };
  for (Case const& c : {Case{5, &reference5}, Case{13, &reference13}, Case{26, &reference26}}) {
    std::vector<Complex<double>> r;
    RootsOfBesselPolynomial(c.n, r);
    ASSERT_EQ(r.size(), c.n);
    for (size_t k = 0; k < c.roots->size(); ++k) {
      EXPECT_NEAR(r[k].re, (*c.roots)[k][0], 1e-10) << "degree " << c.n << " root " << k;
      EXPECT_NEAR(r[k].im, (*c.roots)[k][1], 1e-10) << "degree " << c.n << " root " << k;
    }
  }
}

TEST(RootsOfBesselPolynomial, DegreesWithoutATableGiveNoRoots) {
  std::vector<Complex<double>> r(4, Complex<double>{1.0, 1.0});
  RootsOfBesselPolynomial(0, r);
  EXPECT_TRUE(r.empty());
  r.resize(3);
  RootsOfBesselPolynomial(MaxBesselPolynomialOrder + 1, r);
  EXPECT_TRUE(r.empty());
}

}  // namespace
}  // namespace nolardsp
