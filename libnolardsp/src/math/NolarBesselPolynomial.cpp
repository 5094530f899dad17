#include "NolarBesselPolynomial.h"

#include <algorithm>
#include <cmath>
#include <complex>

namespace nolardsp {

namespace {

using cl = std::complex<long double>;

// p_n(x) = x^n y_n(2 / x) by its three-term recurrence,
// p_n = 2 (2n - 1) p_{n-1} + x^2 p_{n-2}, with p_0 = 1 and p_1 = x + 2, and
// its derivative alongside. The recurrence stays accurate near the roots,
// where the expanded coefficients (up to 1e44 at degree 26) would not.
void evaluate(unsigned int n, cl const& x, cl& value, cl& derivative) {
  cl p0(1.0L), d0(0.0L);
  cl p1 = x + 2.0L, d1(1.0L);
  if (n == 0) {
    value = p0, derivative = d0;
    return;
  }
  for (unsigned int k = 2; k <= n; ++k) {
    long double const c = 2.0L * (2.0L * k - 1.0L);
    cl const p2 = c * p1 + x * x * p0;
    cl const d2 = c * d1 + 2.0L * x * p0 + x * x * d0;
    p0 = p1, d0 = d1;
    p1 = p2, d1 = d2;
  }
  value = p1, derivative = d1;
}

#if defined(__SIZEOF_FLOAT128__)
using wide = __float128;
#else
using wide = long double;
#endif

// A few Newton steps on the recurrence in quadruple precision: extended
// precision alone leaves the roots of the high degrees, which are poorly
// conditioned, wrong in the eighth digit; these steps bring them to the last
// bit of a double. Plain arithmetic only (no library call on the wide type).
void polish(unsigned int n, cl& root) {
  wide xr = root.real(), xi = root.imag();
  for (int step = 0; step < 8; ++step) {
    wide p0r = 1, p0i = 0, d0r = 0, d0i = 0;
    wide p1r = xr + 2, p1i = xi, d1r = 1, d1i = 0;
    wide const x2r = xr * xr - xi * xi, x2i = 2 * xr * xi;
    for (unsigned int k = 2; k <= n; ++k) {
      wide const c = 2 * (2 * static_cast<wide>(k) - 1);
      wide const p2r = c * p1r + x2r * p0r - x2i * p0i;
      wide const p2i = c * p1i + x2r * p0i + x2i * p0r;
      wide const d2r = c * d1r + 2 * (xr * p0r - xi * p0i) + x2r * d0r - x2i * d0i;
      wide const d2i = c * d1i + 2 * (xr * p0i + xi * p0r) + x2r * d0i + x2i * d0r;
      p0r = p1r, p0i = p1i, d0r = d1r, d0i = d1i;
      p1r = p2r, p1i = p2i, d1r = d2r, d1i = d2i;
    }
    wide const den = d1r * d1r + d1i * d1i;
    if (n == 1 || !(den > 0)) break;
    wide const dr = (p1r * d1r + p1i * d1i) / den;
    wide const di = (p1i * d1r - p1r * d1i) / den;
    xr -= dr;
    xi -= di;
    if (dr * dr + di * di < 1e-44 * (xr * xr + xi * xi)) break;
  }
  if (n == 1) xr = -2, xi = 0;
  root = cl(static_cast<long double>(xr), static_cast<long double>(xi));
}

// Aberth-Ehrlich iteration on all roots at once, then a few Newton steps per
// root. The start lies on a circle around the mean of the roots, -(n + 1),
// whose radius is the geometric mean of their distance to 0.
std::vector<cl> findRoots(unsigned int n) {
  std::vector<cl> z(n);
  long double logProduct = 0.0L;  // log of (2n)! / n!, the modulus of the product
  for (unsigned int k = n + 1; k <= 2 * n; ++k) logProduct += std::log(static_cast<long double>(k));
  long double const radius = std::exp(logProduct / n);
  long double const pi = 3.14159265358979323846264338327950288L;
  for (unsigned int k = 0; k < n; ++k) {
    long double const angle = pi * (2.0L * k + 1.5L) / n;
    z[k] = cl(-0.5L * (n + 1), 0.0L) + radius * cl(std::cos(angle), std::sin(angle));
  }
  for (int iteration = 0; iteration < 500; ++iteration) {
    long double largest = 0.0L;
    for (unsigned int k = 0; k < n; ++k) {
      cl value, derivative;
      evaluate(n, z[k], value, derivative);
      if (value == cl(0.0L)) continue;
      cl const ratio = value / derivative;
      cl sum(0.0L);
      for (unsigned int j = 0; j < n; ++j) {
        if (j != k) sum += 1.0L / (z[k] - z[j]);
      }
      cl const step = ratio / (1.0L - ratio * sum);
      z[k] -= step;
      largest = std::max(largest, std::abs(step) / std::max(1.0L, std::abs(z[k])));
    }
    if (largest < 1e-10L) break;
  }
  for (cl& root : z) {
    // The lower half is mirrored from the upper one afterwards.
    if (root.imag() > -1e-6L) polish(n, root);
  }
  return z;
}

struct Tables {
  std::vector<Complex<double>> roots[MaxBesselPolynomialOrder + 1];

  Tables() {
    for (unsigned int n = 1; n <= MaxBesselPolynomialOrder; ++n) {
      std::vector<cl> found = findRoots(n);
      // Upper half by descending imaginary part; a real root (odd degree) is
      // the one of smallest |im|; the conjugates follow, made exact.
      std::sort(found.begin(), found.end(),
                [](cl const& a, cl const& b) { return a.imag() > b.imag(); });
      std::vector<Complex<double>>& table = roots[n];
      unsigned int const pairs = n / 2;
      for (unsigned int k = 0; k < pairs; ++k) {
        table.push_back(
            {static_cast<double>(found[k].real()), static_cast<double>(found[k].imag())});
      }
      if (n % 2 == 1) table.push_back({static_cast<double>(found[pairs].real()), 0.0});
      for (unsigned int k = 0; k < pairs; ++k) table.push_back({table[k].re, -table[k].im});
    }
  }
};

Tables const& tables() {
  static Tables const instance;
  return instance;
}

}  // namespace

void RootsOfBesselPolynomial(unsigned int order, std::vector<Complex<double>>& roots) {
  if (order < 1 || order > MaxBesselPolynomialOrder) {
    roots.clear();
    return;
  }
  roots = tables().roots[order];
}

}  // namespace nolardsp
