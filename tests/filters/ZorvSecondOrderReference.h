#pragma once

// Second-order designs written out from the textbook equaliser formulas, in
// double, for the tests to hold the designs against; and the evaluation of a
// section or of a cascade array on the unit circle.

#include <cmath>
#include <complex>

namespace zorvtest {

struct Section {
  double b0, b1, b2, a0, a1, a2;
};

// type 1 low pass ... 9 high shelf; f in hertz, gain in decibels.
inline Section TextbookSection(int type, double f, double q, double gain, double rate) {
  double const w = 2.0 * M_PI * f / rate;
  double const s = std::sin(w), c = std::cos(w), alpha = s / (2.0 * q);
  double const G = std::pow(10.0, gain / 20.0), A = std::pow(10.0, gain / 40.0);
  double const beta = 2.0 * std::sqrt(A) * alpha;
  switch (type) {
    case 1:
      return {G * (1 - c) / 2, G * (1 - c), G * (1 - c) / 2, 1 + alpha, -2 * c, 1 - alpha};
    case 2:
      return {G * (1 + c) / 2, -G * (1 + c), G * (1 + c) / 2, 1 + alpha, -2 * c, 1 - alpha};
    case 3:
      return {G * alpha, 0, -G * alpha, 1 + alpha, -2 * c, 1 - alpha};
    case 4:
      return {s / 2, 0, -s / 2, 1 + alpha, -2 * c, 1 - alpha};
    case 5:
      return {G, -2 * G * c, G, 1 + alpha, -2 * c, 1 - alpha};
    case 6:
      return {1 - alpha, -2 * c, 1 + alpha, 1 + alpha, -2 * c, 1 - alpha};
    case 7:
      return {1 + alpha * A, -2 * c, 1 - alpha * A, 1 + alpha / A, -2 * c, 1 - alpha / A};
    case 8:
      return {A * ((A + 1) - (A - 1) * c + beta), 2 * A * ((A - 1) - (A + 1) * c),
              A * ((A + 1) - (A - 1) * c - beta), (A + 1) + (A - 1) * c + beta,
              -2 * ((A - 1) + (A + 1) * c),       (A + 1) + (A - 1) * c - beta};
    default:
      return {A * ((A + 1) + (A - 1) * c + beta), -2 * A * ((A - 1) + (A + 1) * c),
              A * ((A + 1) + (A - 1) * c - beta), (A + 1) - (A - 1) * c + beta,
              2 * ((A - 1) - (A + 1) * c),        (A + 1) - (A - 1) * c - beta};
  }
}

// |H| at the normalised angular frequency w.
inline double Magnitude(Section const& s, double w) {
  std::complex<double> const z = std::polar(1.0, -w);
  return std::abs((s.b0 + s.b1 * z + s.b2 * z * z) / (s.a0 + s.a1 * z + s.a2 * z * z));
}

// |H| of a cascade array (gain, then b1 b2 a1 a2 per section) evaluated in
// double from its float values.
inline double CascadeMagnitude(float const* cascade, unsigned int numSections, double w) {
  std::complex<double> const z = std::polar(1.0, -w);
  std::complex<double> h = cascade[0];
  for (unsigned int k = 0; k < numSections; ++k) {
    float const* c = cascade + 1 + 4 * k;
    h *= (1.0 + double(c[0]) * z + double(c[1]) * z * z) /
         (1.0 + double(c[2]) * z + double(c[3]) * z * z);
  }
  return std::abs(h);
}

inline double Decibels(double magnitude) {
  return 20.0 * std::log10(magnitude);
}

}  // namespace zorvtest
