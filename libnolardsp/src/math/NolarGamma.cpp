#include "NolarGamma.h"

#include <cmath>
#include <limits>

namespace nolardsp {

double const Gamma::NumericLimitDouble = std::numeric_limits<double>::max();

namespace {

// The power series of 1 / Gamma(z) about 0 (Abramowitz and Stegun, 6.1.34):
// 1 / Gamma(z) = sum c[k] z^(k + 1). Accurate to double precision for |z| up
// to 1, which is all it is asked for below.
double const reciprocalGammaSeries[26] = {
    1.0,
    0.5772156649015329,
    -0.6558780715202538,
    -0.420026350340952e-1,
    0.1665386113822915,
    -0.421977345555443e-1,
    -0.96219715278770e-2,
    0.72189432466630e-2,
    -0.11651675918591e-2,
    -0.2152416741149e-3,
    0.1280502823882e-3,
    -0.201348547807e-4,
    -0.12504934821e-5,
    0.11330272320e-5,
    -0.2056338417e-6,
    0.61160950e-8,
    0.50020075e-8,
    -0.11812746e-8,
    0.1043427e-9,
    0.77823e-11,
    -0.36968e-11,
    0.51e-12,
    -0.206e-13,
    -0.54e-14,
    0.14e-14,
    0.1e-15,
};

}  // namespace

double Gamma::GammaFunction(double x) {
  if (std::isnan(x)) return x;
  if (x > 171.) return NumericLimitDouble;
  if (x == std::floor(x)) {
    if (x <= 0.) return NumericLimitDouble;
    double product = 1.;
    for (double k = 2.; k < x; k += 1.) product *= k;
    return product;
  }
  double const a = std::fabs(x);
  double z = x;
  double r = 1.;
  if (a > 1.) {
    double const n = std::floor(a);
    for (double k = 1.; k <= n; k += 1.) r *= a - k;
    z = a - n;
  }
  double g = reciprocalGammaSeries[25];
  for (int k = 24; k >= 0; --k) g = g * z + reciprocalGammaSeries[k];
  g *= z;
  if (a <= 1.) return 1. / g;
  double const gammaOfA = r / g;
  if (x > 0.) return gammaOfA;
  double const pi = 3.14159265358979323846;
  return -pi / (x * std::sin(pi * x) * gammaOfA);
}

}  // namespace nolardsp
