#pragma once

#include <cmath>
#include <cstring>

#include "NolarComplex.h"

// Vector operations on unit-stride float runs: destination first, length last.
// Plain loops that the compiler vectorises at -O3. Two-operand forms take
// non-overlapping runs; three-operand forms may write in place over an operand.
// All are safe on the audio thread: no allocation, no branches per sample.
namespace nolardsp {

inline void Zero(float* d, unsigned long n) {
  if (n > 0) std::memset(d, 0, n * sizeof(float));
}

inline void Fill(float* __restrict d, float v, unsigned long n) {
  for (unsigned long i = 0; i < n; ++i) d[i] = v;
}

inline void Copy(float* __restrict d, float v, unsigned long n) {
  Fill(d, v, n);
}

inline void Copy(float* __restrict d, float const* __restrict s, unsigned long n) {
  if (n > 0) std::memcpy(d, s, n * sizeof(float));
}

inline void Add(float* __restrict d, float const* __restrict s, unsigned long n) {
  for (unsigned long i = 0; i < n; ++i) d[i] += s[i];
}

inline void Add(float* d, float const* a, float const* b, unsigned long n) {
  for (unsigned long i = 0; i < n; ++i) d[i] = a[i] + b[i];
}

inline void Sub(float* __restrict d, float const* __restrict s, unsigned long n) {
  for (unsigned long i = 0; i < n; ++i) d[i] -= s[i];
}

inline void Sub(float* d, float const* a, float const* b, unsigned long n) {
  for (unsigned long i = 0; i < n; ++i) d[i] = a[i] - b[i];
}

inline void Mul(float* __restrict d, float g, unsigned long n) {
  for (unsigned long i = 0; i < n; ++i) d[i] *= g;
}

inline void Mul(float* d, float const* s, float g, unsigned long n) {
  for (unsigned long i = 0; i < n; ++i) d[i] = g * s[i];
}

inline void Mul(float* __restrict d, float const* __restrict s, unsigned long n) {
  for (unsigned long i = 0; i < n; ++i) d[i] *= s[i];
}

inline void MulAdd(float* __restrict d, float const* __restrict s, float g, unsigned long n) {
  for (unsigned long i = 0; i < n; ++i) d[i] += g * s[i];
}

inline void MulAdd(float* __restrict d, float const* __restrict a, float const* __restrict b,
                   unsigned long n) {
  for (unsigned long i = 0; i < n; ++i) d[i] += a[i] * b[i];
}

inline void SumMul(float* d, float const* a, float const* b, float g, unsigned long n) {
  for (unsigned long i = 0; i < n; ++i) d[i] = (a[i] + b[i]) * g;
}

inline void DiffMul(float* d, float const* a, float const* b, float g, unsigned long n) {
  for (unsigned long i = 0; i < n; ++i) d[i] = (a[i] - b[i]) * g;
}

// Reads n + 1 source samples.
inline void LinearInterpolation(float* __restrict d, float const* __restrict s, float t,
                                unsigned long n) {
  for (unsigned long i = 0; i < n; ++i) d[i] = s[i] + t * (s[i + 1] - s[i]);
}

inline void Sqrt(float* __restrict d, unsigned long n) {
  for (unsigned long i = 0; i < n; ++i) d[i] = std::sqrt(d[i]);
}

inline float SquareNorm(float const* __restrict s, unsigned long n) {
  float sum = 0.f;
  for (unsigned long i = 0; i < n; ++i) sum += s[i] * s[i];
  return sum;
}

inline void DoubleToSingle(float* __restrict d, double const* __restrict s, unsigned long n) {
  for (unsigned long i = 0; i < n; ++i) d[i] = static_cast<float>(s[i]);
}

// Sort helpers used by filter design: qsort with comparators answering -1, 0, 1.
void SortByIncreasingRealPart(Complex<float>* values, unsigned int n);
void SortByDecreasingImagPart(Complex<float>* values, unsigned int n);

// Integer comparators for qsort: the plain difference of the two values.
int compareIncreasing(void const* a, void const* b);
int compareDecreasing(void const* a, void const* b);

namespace Math {
// Element-wise complex product d = a * b.
inline void Mul(Complex<float>* d, Complex<float> const* a, Complex<float> const* b,
                unsigned int n) {
  for (unsigned int i = 0; i < n; ++i) {
    float const re = a[i].re * b[i].re - a[i].im * b[i].im;
    float const im = a[i].re * b[i].im + a[i].im * b[i].re;
    d[i].re = re;
    d[i].im = im;
  }
}
}  // namespace Math

}  // namespace nolardsp
