#pragma once

namespace nolardsp {

// The gamma function, for the factorials of the spherical-harmonic scale
// factors that no longer fit a running product. Stateless; any thread.
class Gamma {
 public:
  // Gamma(x). Above 171, and at the poles (0 and the negative integers), it
  // answers the largest double instead of overflowing or dividing by zero; a
  // positive integer is the exact product of the integers below it. NaN gives
  // NaN.
  static double GammaFunction(double x);

  // What GammaFunction answers where the true value does not exist or does
  // not fit a double.
  static double const NumericLimitDouble;
};

}  // namespace nolardsp
