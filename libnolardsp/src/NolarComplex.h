#pragma once

namespace nolardsp {

// A plain pair, real part first, stored back to back in arrays so that a run of
// Complex<T> is also a run of interleaved T (the layout the FFT layer takes).
template <typename T>
struct Complex {
  T re;
  T im;
};

static_assert(sizeof(Complex<float>) == 2 * sizeof(float), "Complex must be two packed values");
static_assert(sizeof(Complex<double>) == 2 * sizeof(double), "Complex must be two packed values");

}  // namespace nolardsp
