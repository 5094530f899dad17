#pragma once

#include <vector>

#include "NolarComplex.h"

namespace nolardsp {

// The highest degree with a table of roots.
unsigned int const MaxBesselPolynomialOrder = 26;

// The order roots of x^order y_order(2 / x), where y_n is the Bessel
// polynomial of degree n (y_1(t) = 1 + t, y_2(t) = 1 + 3t + 3t^2): twice the
// roots of the reverse Bessel polynomial. Degree 1 gives -2, degree 2 gives
// -3 +- 1.7320508 i. Upper half-plane first, by descending imaginary part,
// then the real root of an odd degree, then the conjugates; a conjugate pair
// is exactly conjugate, and the real root has an imaginary part of 0.
//
// For an order from 1 to MaxBesselPolynomialOrder roots is resized to order;
// any other order empties it. The tables are computed once, on first use, in
// extended precision, and held to the full precision of a double.
//
// Threads: any; the first call allocates (and so may any call, through the
// resize). Not for the audio thread.
void RootsOfBesselPolynomial(unsigned int order, std::vector<Complex<double>>& roots);

}  // namespace nolardsp
