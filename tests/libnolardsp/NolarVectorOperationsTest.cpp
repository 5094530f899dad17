#include "NolarVectorOperations.h"

#include "NolarConstants.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <functional>
#include <vector>

namespace {

using namespace nolardsp;

// Every operation is checked on lengths that leave a vector remainder and on
// offsets that break alignment, against a plain loop in the same float order,
// and must not write outside its run.
unsigned long const lengths[] = {0, 1, 3, 7, 17, 63, 1023};
unsigned long const offsets[] = {0, 1, 2, 3};
float const guardValue = -12345.f;

struct Runs {
  std::vector<float> d, a, b;
  explicit Runs(unsigned long size) : d(size + 8, guardValue), a(size + 8), b(size + 8) {
    for (unsigned long i = 0; i < a.size(); ++i) {
      a[i] = std::sin(0.37f * i) * 3.f + 0.1f;
      b[i] = std::cos(1.13f * i) * 2.f - 0.4f;
    }
  }
};

// fast(d, a, b, n) against slow(i, d, a, b) for every length and offset.
void check(char const* name,
           std::function<void(float*, float const*, float const*, unsigned long)> fast,
           std::function<float(float, float, float, float)> slow, bool initialiseD = true) {
  for (unsigned long n : lengths) {
    for (unsigned long off : offsets) {
      Runs r(n + off);
      if (initialiseD) {
        for (unsigned long i = off; i < off + n; ++i) r.d[i] = 0.5f * r.a[i + 1] - 0.25f;
      }
      std::vector<float> expected = r.d;
      for (unsigned long i = off; i < off + n; ++i) {
        expected[i] = slow(r.d[i], r.a[i], r.b[i], r.a[i + 1]);
      }
      fast(r.d.data() + off, r.a.data() + off, r.b.data() + off, n);
      for (unsigned long i = 0; i < r.d.size(); ++i) {
        ASSERT_EQ(r.d[i], expected[i]) << name << " n " << n << " offset " << off << " i " << i;
      }
    }
  }
}

TEST(VectorOperations, AgreeWithPlainLoopsOnOddLengthsAndOffsets) {
  float const g = 0.731f;
  check(
      "Zero", [](float* d, float const*, float const*, unsigned long n) { Zero(d, n); },
      [](float, float, float, float) { return 0.f; });
  check(
      "Fill", [&](float* d, float const*, float const*, unsigned long n) { Fill(d, g, n); },
      [&](float, float, float, float) { return g; });
  check(
      "Copy value", [&](float* d, float const*, float const*, unsigned long n) { Copy(d, g, n); },
      [&](float, float, float, float) { return g; });
  check(
      "Copy", [](float* d, float const* a, float const*, unsigned long n) { Copy(d, a, n); },
      [](float, float a, float, float) { return a; });
  check(
      "Add", [](float* d, float const* a, float const*, unsigned long n) { Add(d, a, n); },
      [](float d, float a, float, float) { return d + a; });
  check(
      "Add3", [](float* d, float const* a, float const* b, unsigned long n) { Add(d, a, b, n); },
      [](float, float a, float b, float) { return a + b; });
  check(
      "Sub", [](float* d, float const* a, float const*, unsigned long n) { Sub(d, a, n); },
      [](float d, float a, float, float) { return d - a; });
  check(
      "Sub3", [](float* d, float const* a, float const* b, unsigned long n) { Sub(d, a, b, n); },
      [](float, float a, float b, float) { return a - b; });
  check(
      "Mul scalar", [&](float* d, float const*, float const*, unsigned long n) { Mul(d, g, n); },
      [&](float d, float, float, float) { return d * g; });
  check(
      "Mul scaled copy",
      [&](float* d, float const* a, float const*, unsigned long n) { Mul(d, a, g, n); },
      [&](float, float a, float, float) { return g * a; });
  check(
      "Mul vector", [](float* d, float const* a, float const*, unsigned long n) { Mul(d, a, n); },
      [](float d, float a, float, float) { return d * a; });
  check(
      "MulAdd scalar",
      [&](float* d, float const* a, float const*, unsigned long n) { MulAdd(d, a, g, n); },
      [&](float d, float a, float, float) { return d + g * a; });
  check(
      "MulAdd vector",
      [](float* d, float const* a, float const* b, unsigned long n) { MulAdd(d, a, b, n); },
      [](float d, float a, float b, float) { return d + a * b; });
  check(
      "SumMul",
      [&](float* d, float const* a, float const* b, unsigned long n) { SumMul(d, a, b, g, n); },
      [&](float, float a, float b, float) { return (a + b) * g; });
  check(
      "DiffMul",
      [&](float* d, float const* a, float const* b, unsigned long n) { DiffMul(d, a, b, g, n); },
      [&](float, float a, float b, float) { return (a - b) * g; });
  // Reads one sample past the run.
  check(
      "LinearInterpolation",
      [&](float* d, float const* a, float const*, unsigned long n) {
        LinearInterpolation(d, a, g, n);
      },
      [&](float, float a, float, float a1) { return a + g * (a1 - a); });
  check(
      "Sqrt",
      [](float* d, float const*, float const*, unsigned long n) {
        for (unsigned long i = 0; i < n; ++i) d[i] = std::fabs(d[i]);
        Sqrt(d, n);
      },
      [](float d, float, float, float) { return std::sqrt(std::fabs(d)); });
}

TEST(VectorOperations, ThreeOperandFormsMayWriteOverAnOperand) {
  std::vector<float> a(37), b(37);
  for (int i = 0; i < 37; ++i) {
    a[i] = 0.1f * i;
    b[i] = 2.f - 0.3f * i;
  }
  std::vector<float> expected(37);
  for (int i = 0; i < 37; ++i) expected[i] = (a[i] - b[i]) * 0.5f;
  DiffMul(a.data(), a.data(), b.data(), 0.5f, 37);
  EXPECT_EQ(a, expected);
}

TEST(VectorOperations, ReductionsAndConversions) {
  for (unsigned long n : lengths) {
    for (unsigned long off : offsets) {
      Runs r(n + off);
      float sum = 0.f;
      for (unsigned long i = 0; i < n; ++i) sum += r.a[off + i] * r.a[off + i];
      ASSERT_EQ(SquareNorm(r.a.data() + off, n), sum) << n << " " << off;
      std::vector<double> wide(n + off + 1, 1.0 / 3.0);
      for (unsigned long i = 0; i < wide.size(); ++i) wide[i] += 1e-9 * i;
      DoubleToSingle(r.d.data() + off, wide.data() + off, n);
      for (unsigned long i = 0; i < n; ++i) {
        ASSERT_EQ(r.d[off + i], static_cast<float>(wide[off + i]));
      }
      ASSERT_EQ(r.d[off + n], guardValue);
    }
  }
}

TEST(VectorOperations, ComplexProductIsPlainArithmetic) {
  Complex<float> a[5], b[5], d[5];
  for (int i = 0; i < 5; ++i) {
    a[i] = {0.5f * i - 1.f, 1.5f - i};
    b[i] = {2.f - 0.25f * i, 0.75f * i};
  }
  Math::Mul(d, a, b, 5);
  for (int i = 0; i < 5; ++i) {
    EXPECT_EQ(d[i].re, a[i].re * b[i].re - a[i].im * b[i].im);
    EXPECT_EQ(d[i].im, a[i].re * b[i].im + a[i].im * b[i].re);
  }
  // In place over the first operand.
  Complex<float> c[5];
  for (int i = 0; i < 5; ++i) c[i] = a[i];
  Math::Mul(c, c, b, 5);
  for (int i = 0; i < 5; ++i) EXPECT_TRUE(c[i].re == d[i].re && c[i].im == d[i].im) << i;
}

TEST(VectorOperations, SortHelpers) {
  Complex<float> v[] = {{3.f, 0.f}, {-1.f, 5.f}, {2.f, -2.f}, {-1.f, 7.f}, {0.f, 1.f}};
  SortByIncreasingRealPart(v, 5);
  for (int i = 1; i < 5; ++i) EXPECT_LE(v[i - 1].re, v[i].re);
  SortByDecreasingImagPart(v, 5);
  for (int i = 1; i < 5; ++i) EXPECT_GE(v[i - 1].im, v[i].im);
  int ints[] = {4, -2, 9, 0};
  std::qsort(ints, 4, sizeof(int), compareIncreasing);
  EXPECT_EQ(ints[0], -2);
  EXPECT_EQ(ints[3], 9);
  std::qsort(ints, 4, sizeof(int), compareDecreasing);
  EXPECT_EQ(ints[0], 9);
  EXPECT_EQ(ints[3], -2);
}

TEST(VectorOperations, EveryEntryOfAllActiveInputsIsOne) {
  for (unsigned int i = 0; i < MaxChannels; ++i) ASSERT_EQ(allActiveInputs[i], 1) << i;
  EXPECT_EQ(MaxChannels, 1024u);
  EXPECT_FLOAT_EQ(Log2, std::log10(2.f));  // base 10, on purpose
}

}  // namespace
