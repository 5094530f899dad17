#include "NolarButterworthDesign.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <vector>

namespace nolardsp {
namespace {

using cd = std::complex<double>;
double const pi = 3.14159265358979323846;

unsigned int const lowPass = LowPass;
unsigned int const highPass = HighPass;
unsigned int const bandPass = BandPass;
unsigned int const bandStop = BandStop;

cd Response(std::vector<float> const& taps, double f, double rate) {
  cd const zi = std::exp(cd(0.0, -2.0 * pi * f / rate));
  cd h = taps[0];
  for (size_t k = 1; k + 3 < taps.size(); k += 4) {
    h *= (1.0 + zi * (double(taps[k]) + zi * double(taps[k + 1]))) /
         (1.0 + zi * (double(taps[k + 2]) + zi * double(taps[k + 3])));
  }
  return h;
}

double Db(cd h) {
  return 20.0 * std::log10(std::abs(h));
}

// Poles of the cascade, from each section's denominator in double.
template <typename T>
std::vector<cd> PolesOf(std::vector<T> const& taps) {
  std::vector<cd> poles;
  for (size_t k = 1; k + 3 < taps.size(); k += 4) {
    double const a1 = taps[k + 2], a2 = taps[k + 3];
    if (a2 == 0.0) {
      poles.push_back(-a1);
      continue;
    }
    cd const root = std::sqrt(cd(a1 * a1 - 4.0 * a2, 0.0));
    poles.push_back((-a1 + root) / 2.0);
    poles.push_back((-a1 - root) / 2.0);
  }
  return poles;
}

// The textbook route in the test's own terms: the low-pass prototype poles
// scaled to the prewarped cut-off at the true sample rate (or inverted for a
// high pass), then z = (1 + s T / 2) / (1 - s T / 2).
std::vector<cd> ReferencePoles(unsigned int order, double fc, double rate, bool high) {
  double const wc = 2.0 * rate * std::tan(pi * fc / rate);
  std::vector<cd> poles;
  for (unsigned int k = 0; k < order; ++k) {
    cd const p = std::polar(1.0, pi / 2.0 + pi * (2.0 * k + 1.0) / (2.0 * order));
    cd const s = high ? wc / p : wc * p;
    poles.push_back((1.0 + s / (2.0 * rate)) / (1.0 - s / (2.0 * rate)));
  }
  return poles;
}

// The design itself, before its rounding to float taps (which moves the poles
// of a high order near z = 1 by more than 1e-5).
TEST(ButterworthDesign, PolesMatchTheAnaloguePrototypeThroughTheBilinearTransform) {
  double const rate = 48000.0;
  for (unsigned int type : {lowPass, highPass}) {
    for (unsigned int order = 1; order <= 26; ++order) {
      for (double fc : {80.0, 200.0, 1000.0, 8000.0}) {
        std::vector<double> taps;
        ButterworthDesign<double>::DigitalDesign(taps, order, fc, 0.0, rate, &type);
        ASSERT_EQ(taps.size(), 4u * ((order + 1) / 2) + 1u);
        std::vector<cd> got = PolesOf(taps);
        std::vector<cd> want = ReferencePoles(order, fc, rate, type == highPass);
        ASSERT_EQ(got.size(), want.size());
        for (cd const& w : want) {
          auto nearest = std::min_element(got.begin(), got.end(), [&](cd const& a, cd const& b) {
            return std::abs(a - w) < std::abs(b - w);
          });
          EXPECT_LT(std::abs(*nearest - w), 1e-5)
              << "type " << type << " order " << order << " fc " << fc;
          got.erase(nearest);
        }
      }
    }
  }
}

TEST(ButterworthDesign, MagnitudeIsTheButterworthLawOfTheWarpedFrequency) {
  for (double rate : {44100.0, 48000.0, 96000.0}) {
    for (unsigned int type : {lowPass, highPass}) {
      for (unsigned int order = 1; order <= 10; ++order) {
        for (double fc : {200.0, 1000.0, 5000.0}) {
          std::vector<float> taps;
          ButterworthDesign<float>::DigitalDesign(taps, order, float(fc), 0.f, float(rate), &type);
          double const wc = std::tan(pi * fc / rate);
          for (double f : {20.0, 100.0, fc * 0.7, fc, fc * 1.5, 4000.0, 15000.0}) {
            double ratio = std::tan(pi * f / rate) / wc;
            if (type == highPass) ratio = 1.0 / ratio;
            double const want = -10.0 * std::log10(1.0 + std::pow(ratio, 2.0 * order));
            if (want < -120.0) continue;  // below float resolution of the taps
            EXPECT_NEAR(Db(Response(taps, f, rate)), want, 0.01)
                << "rate " << rate << " type " << type << " order " << order << " fc " << fc
                << " f " << f;
          }
        }
      }
    }
  }
}

TEST(ButterworthDesign, LowAndHighPassNumeratorsAreExactPowersOfOnePlusOrMinusZ) {
  for (unsigned int type : {lowPass, highPass}) {
    float const sign = type == lowPass ? 1.f : -1.f;
    for (unsigned int order : {1u, 2u, 3u, 8u, 25u}) {
      std::vector<float> taps;
      ButterworthDesign<float>::DigitalDesign(taps, order, 500.f, 0.f, 48000.f, &type);
      unsigned int const sections = (order + 1) / 2;
      for (unsigned int k = 0; k < sections; ++k) {
        bool const first = order % 2 == 1 && k == sections - 1;
        EXPECT_EQ(taps[4 * k + 1], first ? sign : 2.f * sign);
        EXPECT_EQ(taps[4 * k + 2], first ? 0.f : 1.f);
        if (first) {
          EXPECT_EQ(taps[4 * k + 4], 0.f);
        }
      }
    }
  }
}

TEST(ButterworthDesign, FrequenciesAreHeldInsideTheBandOfTheRunningRate) {
  unsigned int const type = HighPass;
  std::vector<float> low, ten;
  ButterworthDesign<float>::DigitalDesign(low, 3, 2.f, 0.f, 48000.f, &type);
  ButterworthDesign<float>::DigitalDesign(ten, 3, 10.f, 0.f, 48000.f, &type);
  EXPECT_EQ(low, ten);
  // A cut-off at or above Nyquist would put poles on or outside the circle.
  for (float rate : {44100.f, 48000.f, 96000.f}) {
    for (float fc : {22050.f, 30000.f, 1e9f}) {
      for (unsigned int order : {1u, 4u, 9u}) {
        std::vector<float> taps;
        ButterworthDesign<float>::DigitalDesign(taps, order, fc, 0.f, rate, &type);
        for (cd const& p : PolesOf(taps)) EXPECT_LT(std::abs(p), 1.0) << rate << " " << fc;
        for (float v : taps) EXPECT_TRUE(std::isfinite(v));
      }
    }
  }
}

TEST(ButterworthDesign, BandPassAndBandStopHaveTheirShape) {
  double const rate = 48000.0;
  std::vector<float> bp, bs, same, near;
  ButterworthDesign<float>::DigitalDesign(bp, 3, 500.f, 2000.f, float(rate), &bandPass);
  ButterworthDesign<float>::DigitalDesign(bs, 3, 2000.f, 500.f, float(rate), &bandStop);
  ASSERT_EQ(bp.size(), 13u);
  ASSERT_EQ(bs.size(), 13u);
  // Geometric centre of the warped edges: 1 in the band, 0 outside.
  double const centre =
      rate / pi * std::atan(std::sqrt(std::tan(pi * 500.0 / rate) * std::tan(pi * 2000.0 / rate)));
  EXPECT_NEAR(std::abs(Response(bp, centre, rate)), 1.0, 1e-4);
  EXPECT_NEAR(Db(Response(bp, 500.0, rate)), -3.0103, 0.01);
  EXPECT_NEAR(Db(Response(bp, 2000.0, rate)), -3.0103, 0.01);
  EXPECT_LT(std::abs(Response(bp, 10.0, rate)), 1e-5);
  EXPECT_LT(std::abs(Response(bs, centre, rate)), 1e-4);
  EXPECT_NEAR(std::abs(Response(bs, 10.0, rate)), 1.0, 1e-4);
  EXPECT_NEAR(Db(Response(bs, 500.0, rate)), -3.0103, 0.01);
  // Equal edges: the upper one is taken 1 % higher in warped terms.
  ButterworthDesign<float>::DigitalDesign(same, 2, 1000.f, 1000.f, float(rate), &bandPass);
  float const upper = float(rate / pi * std::atan(1.01 * std::tan(pi * 1000.0 / rate)));
  ButterworthDesign<float>::DigitalDesign(near, 2, 1000.f, upper, float(rate), &bandPass);
  ASSERT_EQ(same.size(), near.size());
  for (size_t k = 0; k < same.size(); ++k) EXPECT_NEAR(same[k], near[k], 1e-5) << k;
}

TEST(ButterworthDesign, OrderZeroIsTheIdentity) {
  std::vector<float> taps(7, 3.f);
  ButterworthDesign<float>::DigitalDesign(taps, 0, 100.f, 0.f, 48000.f, nullptr);
  EXPECT_EQ(taps, std::vector<float>{1.f});
}

}  // namespace
}  // namespace nolardsp
