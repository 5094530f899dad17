#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <limits>
#include <random>
#include <vector>

#include "NolarBiquadCascade.h"
#include "ZorvTestAllocationCounter.h"

namespace {

using nolardsp::BiquadCascade;
using nolardsp::Filter;

std::vector<float> noise(size_t n, unsigned seed) {
  std::mt19937 gen(seed);
  std::uniform_real_distribution<float> dist(-1.f, 1.f);
  std::vector<float> x(n);
  for (float& v : x) v = dist(gen);
  return x;
}

// gain, then b1 b2 a1 a2 per section, from pole and zero pairs.
std::vector<float> cascadeFromRoots(std::vector<std::complex<double>> const& poles,
                                    std::vector<std::complex<double>> const& zeros, float gain) {
  std::vector<float> c = {gain};
  for (size_t s = 0; s < poles.size(); ++s) {
    c.push_back(static_cast<float>(-2.0 * zeros[s].real()));
    c.push_back(static_cast<float>(std::norm(zeros[s])));
    c.push_back(static_cast<float>(-2.0 * poles[s].real()));
    c.push_back(static_cast<float>(std::norm(poles[s])));
  }
  return c;
}

// Direct form I in double on the same (float) coefficients.
std::vector<double> reference(std::vector<float> const& c, std::vector<float> const& x) {
  size_t const sections = (c.size() - 1) / 4;
  std::vector<double> y(x.begin(), x.end());
  for (double& v : y) v *= c[0];
  for (size_t s = 0; s < sections; ++s) {
    double const b1 = c[1 + 4 * s], b2 = c[2 + 4 * s], a1 = c[3 + 4 * s], a2 = c[4 + 4 * s];
    double x1 = 0, x2 = 0, y1 = 0, y2 = 0;
    for (double& v : y) {
      double const out = v + b1 * x1 + b2 * x2 - a1 * y1 - a2 * y2;
      x2 = x1;
      x1 = v;
      y2 = y1;
      y1 = out;
      v = out;
    }
  }
  return y;
}

TEST(BiquadCascade, MatchesDoubleDirectFormForPoleRadiiUpTo0995) {
  std::mt19937 gen(5);
  std::uniform_real_distribution<double> angle(0.02, 3.1);
  for (double radius : {0.5, 0.9, 0.98, 0.995}) {
    for (unsigned int sections : {1u, 2u, 6u}) {
      std::vector<std::complex<double>> poles, zeros;
      for (unsigned int s = 0; s < sections; ++s) {
        poles.push_back(std::polar(radius, angle(gen)));
        zeros.push_back(std::polar(0.9, angle(gen)));
      }
      std::vector<float> c = cascadeFromRoots(poles, zeros, 0.25f);
      BiquadCascade f(sections);
      f.Configure(48000.f, 64, true);
      f.SetCoefficients(c.data());
      ASSERT_TRUE(f.IsStable());
      std::vector<float> x = noise(6000, sections), y(x.size());
      size_t pos = 0;
      unsigned long const blocks[] = {1, 7, 64, 100, 3};
      for (int b = 0; pos < x.size(); ++b) {
        unsigned long const n = std::min<unsigned long>(blocks[b % 5], x.size() - pos);
        f.Process(y.data() + pos, x.data() + pos, n);
        pos += n;
      }
      std::vector<double> const r = reference(c, x);
      double peak = 0, worst = 0;
      for (size_t i = 0; i < x.size(); ++i) {
        peak = std::max(peak, std::fabs(r[i]));
        worst = std::max(worst, std::fabs(y[i] - r[i]));
      }
      EXPECT_LE(worst, 1e-4 * peak) << "radius " << radius << ", " << sections << " sections";
    }
  }
}

TEST(BiquadCascade, FlatSectionsAreAPureGainAndNoSectionsToo) {
  for (unsigned int sections : {0u, 1u, 3u}) {
    BiquadCascade f(sections);
    std::vector<float> c(4 * sections + 1, 0.f);
    c[0] = -0.75f;
    f.SetCoefficients(c.data());
    std::vector<float> x = noise(50, 3), y(50);
    f.Process(y.data(), x.data(), 50);
    for (int i = 0; i < 50; ++i) EXPECT_EQ(y[i], -0.75f * x[i]);
  }
}

TEST(BiquadCascade, GetCoefficientsReturnsDenominatorsNegated) {
  BiquadCascade f(2);
  std::vector<float> c = {0.5f, 0.1f, 0.2f, -0.3f, 0.4f, 0.5f, 0.6f, 0.7f, -0.1f};
  f.SetCoefficients(c.data());
  std::vector<float> out(f.GetNumCoefficients());
  f.GetCoefficients(out);
  EXPECT_EQ(out, (std::vector<float>{0.5f, 0.1f, 0.2f, 0.3f, -0.4f, 0.5f, 0.6f, -0.7f, 0.1f}));
}

TEST(BiquadCascade, ClearTapsLeavesGainTimesOnePlusDelayInTheFirstSection) {
  BiquadCascade f(2);
  std::vector<float> c = {2.f, 0.f, 0.f, 0.f, 0.f, 0.f, 0.f, 0.f, 0.f};
  f.SetCoefficients(c.data());
  f.ClearTaps();
  std::vector<float> x = {1.f, 0.f, 0.f, 0.f}, y(4);
  f.Process(y.data(), x.data(), 4);
  EXPECT_EQ(y, (std::vector<float>{2.f, 2.f, 0.f, 0.f}));
}

TEST(BiquadCascade, SetStateClearsWhateverFilterIsGiven) {
  BiquadCascade f(1), other(1);
  std::vector<float> c = {1.f, 0.f, 0.f, -0.9f, 0.f};
  f.SetCoefficients(c.data());
  std::vector<float> x = {1.f, 0.f}, y(2);
  f.Process(y.data(), x.data(), 1);
  f.SetState(other);
  std::vector<float> memory;
  f.GetMemory(memory);
  for (float m : memory) EXPECT_EQ(m, 0.f);
  f.Process(y.data(), x.data() + 1, 1);
  EXPECT_EQ(y[0], 0.f);
}

// Stability and minimum phase against the roots themselves: sections built
// from known pole and zero pairs, radii on both sides of 1.
TEST(BiquadCascade, StabilityAndMinimumPhaseFollowTheRoots) {
  std::mt19937 gen(9);
  std::uniform_real_distribution<double> radius(0.05, 1.6), angle(0.0, 3.14159);
  for (int trial = 0; trial < 500; ++trial) {
    std::vector<std::complex<double>> poles, zeros;
    bool stable = true, minimum = true;
    for (int s = 0; s < 3; ++s) {
      double const rp = radius(gen), rz = radius(gen);
      if (std::fabs(rp - 1.0) < 1e-3 || std::fabs(rz - 1.0) < 1e-3) continue;
      poles.push_back(std::polar(rp, angle(gen)));
      zeros.push_back(std::polar(rz, angle(gen)));
      stable = stable && rp < 1.0;
      minimum = minimum && rz < 1.0;
    }
    std::vector<float> c = cascadeFromRoots(poles, zeros, 1.f);
    BiquadCascade f(static_cast<unsigned int>(poles.size()));
    f.SetCoefficients(c.data());
    EXPECT_EQ(f.IsStable(), stable) << trial;
    EXPECT_EQ(f.IsMinimumPhase(), minimum) << trial;
  }
  // A pole pair on the unit circle (a2 = 1) is not stable.
  BiquadCascade f(1);
  std::vector<float> c = {1.f, 0.f, 0.f, 0.5f, 1.f};
  f.SetCoefficients(c.data());
  EXPECT_FALSE(f.IsStable());
}

// An unstable or non-finite set is silent, a NaN at the input does not stay in
// the memory, and a good set brings the sound back.
TEST(BiquadCascade, BadSetsAndNaNInputGiveSilenceAndRecover) {
  BiquadCascade f(1);
  std::vector<float> good = {1.f, 0.2f, 0.f, -0.5f, 0.1f};
  std::vector<float> unstable = {1.f, 0.2f, 0.f, -2.5f, 1.2f};
  std::vector<float> infinite = {std::numeric_limits<float>::infinity(), 0.f, 0.f, 0.f, 0.f};
  std::vector<float> x = noise(32, 4), y(32);
  for (auto* bad : {&unstable, &infinite}) {
    f.SetCoefficients(good.data());
    f.SetCoefficients(bad->data());
    EXPECT_TRUE(f.IsSilenced());
    f.Process(y.data(), x.data(), 32);
    for (float v : y) EXPECT_EQ(v, 0.f);
  }
  f.SetCoefficients(good.data());
  f.Process(y.data(), x.data(), 32);
  std::vector<double> const r = reference(good, x);
  for (int i = 0; i < 32; ++i) EXPECT_NEAR(y[i], r[i], 1e-5);

  std::vector<float> poisoned = x;
  poisoned[5] = std::numeric_limits<float>::quiet_NaN();
  f.Process(y.data(), poisoned.data(), 32);
  for (float v : y) EXPECT_TRUE(std::isfinite(v));
  f.Process(y.data(), x.data(), 32);
  for (int i = 0; i < 32; ++i) EXPECT_NEAR(y[i], r[i], 1e-5);
}

TEST(BiquadCascade, BlocksAllocateNothing) {
  BiquadCascade f(6);
  std::vector<float> c(25, 0.1f);
  std::vector<float> x = noise(4096, 1), y(4096);
  zorvtest::AllocationCounter counter;
  f.SetCoefficients(c.data());
  f.Process(y.data(), x.data(), 4096);
  EXPECT_EQ(counter.Count(), 0u);
}

// The step-down test on longer polynomials (as the general IIR filter uses it)
// against polynomials built from their roots.
TEST(Filter, DurbinStepDownAgreesWithTheRoots) {
  std::mt19937 gen(17);
  std::uniform_real_distribution<double> radius(0.1, 1.3), angle(0.0, 3.14159);
  for (int trial = 0; trial < 300; ++trial) {
    std::vector<std::complex<double>> p = {1.0};
    bool inside = true;
    int const pairs = 1 + trial % 5;
    for (int k = 0; k < pairs; ++k) {
      double r = radius(gen);
      if (std::fabs(r - 1.0) < 0.01) r = 0.5;
      inside = inside && r < 1.0;
      std::complex<double> const root = std::polar(r, angle(gen));
      for (std::complex<double> z : {root, std::conj(root)}) {
        p.push_back(0.0);
        for (size_t i = p.size() - 1; i > 0; --i) p[i] -= z * p[i - 1];
      }
    }
    std::vector<float> poly;
    for (auto const& v : p) poly.push_back(static_cast<float>(v.real()));
    EXPECT_EQ(Filter::DurbinStepDownRecursion(poly), inside) << trial;
  }
  EXPECT_TRUE(Filter::DurbinStepDownRecursion(std::vector<float>{3.f}));
}

}  // namespace
