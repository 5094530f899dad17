#include "ZorvIIRFilter.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include "ZorvFadedIIRFilter.h"
#include "ZorvTestAllocationCounter.h"

namespace {

using Zorv::FadedIIRFilter;
using Zorv::IIRFilter;

std::vector<float> noise(size_t n, unsigned seed) {
  std::mt19937 gen(seed);
  std::uniform_real_distribution<float> dist(-1.f, 1.f);
  std::vector<float> x(n);
  for (float& v : x) v = dist(gen);
  return x;
}

// The difference equation in double, a0 taken to be 1.
std::vector<double> reference(std::vector<float> const& c, std::vector<float> const& x) {
  size_t const count = c.size() / 2;
  std::vector<double> y(x.size(), 0.0);
  for (size_t n = 0; n < x.size(); ++n) {
    double acc = 0.0;
    for (size_t k = 0; k < count && k <= n; ++k) {
      acc += c[k] * double(x[n - k]);
      if (k > 0) acc -= c[count + k] * y[n - k];
    }
    y[n] = acc;
  }
  return y;
}

TEST(IIRFilter, MatchesTheDifferenceEquationAndIgnoresA0) {
  // Poles at 0.9 e^(+-0.3i) and 0.6: stable, third order.
  std::vector<float> c = {0.2f, 0.1f, -0.05f, 0.02f, 7.f, -2.319605f, 1.841763f, -0.486f};
  for (unsigned int order : {1u, 3u}) {
    std::vector<float> coefficients = c;
    if (order == 1) coefficients = {0.4f, 0.3f, 1.f, -0.8f};
    IIRFilter f(order);
    f.SetCoefficients(coefficients.data());
    ASSERT_FALSE(f.IsSilenced());
    std::vector<float> x = noise(3000, order), y(3000);
    for (size_t pos = 0; pos < x.size(); pos += 100) f.Process(y.data() + pos, x.data() + pos, 100);
    std::vector<double> const r = reference(coefficients, x);
    double peak = 0, worst = 0;
    for (size_t i = 0; i < x.size(); ++i) {
      peak = std::max(peak, std::fabs(r[i]));
      worst = std::max(worst, std::fabs(y[i] - r[i]));
    }
    EXPECT_LE(worst, 1e-4 * peak) << order;
  }
}

TEST(IIRFilter, UnstableOrNonFiniteSetsAreSilentUntilAGoodOne) {
  IIRFilter f(1);
  std::vector<float> good = {0.5f, 0.5f, 1.f, -0.5f};
  std::vector<float> unstable = {0.5f, 0.5f, 1.f, -1.f};
  std::vector<float> nan = {std::numeric_limits<float>::quiet_NaN(), 0.f, 1.f, 0.f};
  std::vector<float> x = noise(16, 2), y(16);
  for (auto* bad : {&unstable, &nan}) {
    f.SetCoefficients(bad->data());
    EXPECT_EQ(f.IsStable(), bad != &unstable);
    f.Process(y.data(), x.data(), 16);
    for (float v : y) EXPECT_EQ(v, 0.f);
  }
  f.SetCoefficients(good.data());
  f.Process(y.data(), x.data(), 16);
  std::vector<double> const r = reference(good, x);
  for (int i = 0; i < 16; ++i) EXPECT_NEAR(y[i], r[i], 1e-6);
}

TEST(IIRFilter, SizesAndClearedTaps) {
  IIRFilter f(2);
  EXPECT_EQ(f.GetNumCoefficients(), 6u);
  f.ClearTaps();
  EXPECT_EQ(f.GetDenominator()[0], 1.f);
  EXPECT_TRUE(f.IsStable());
}

// The faded form runs the incoming filter from silence for one block, then
// fades; after the fade the output is the new filter's, settled.
TEST(FadedIIRFilter, FadesToTheNewFilterAndAllocatesNothing) {
  FadedIIRFilter faded(1);
  faded.Configure(1000.f, 16, true);
  faded.SetCrossFadeTime(20.f);
  std::vector<float> a = {0.5f, 0.f, 1.f, -0.5f}, b = {0.25f, 0.25f, 1.f, 0.f};
  faded.SetCoefficients(a.data(), true);
  std::vector<float> x(16, 1.f), y(16);
  zorvtest::AllocationCounter counter;
  for (int block = 0; block < 4; ++block) faded.ProcessBlock(y.data(), x.data(), 16, false);
  EXPECT_NEAR(y[15], 1.f, 1e-6);  // DC gain of a: 0.5 / 0.5
  faded.SetCoefficients(b.data(), false);
  for (int block = 0; block < 4; ++block) faded.ProcessBlock(y.data(), x.data(), 16, false);
  EXPECT_EQ(counter.Count(), 0u);
  EXPECT_EQ(faded.GetState(), FadedIIRFilter::FilterOneActive);
  EXPECT_NEAR(y[15], 0.5f, 1e-6);  // DC gain of b
}

}  // namespace
