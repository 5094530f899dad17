#include "ZorvHLShelf.h"

#include <gtest/gtest.h>

#include <cmath>

#include "ZorvBiquadCascadeFrequencyResponse.h"
#include "ZorvSecondOrderReference.h"

namespace {

using Zorv::HLShelf;
using zorvtest::Decibels;

struct Gains {
  double low, mid, high;
};

double sectionDecibels(double const* c, double w) {
  return Decibels(zorvtest::Magnitude({c[0], c[1], c[2], 1.0, c[3], c[4]}, w));
}

// The gains at 0 Hz and at the Nyquist frequency are the low and high gains:
// within 1e-3 dB for the section as designed over the whole range of the
// shelving parameters, and within 0.05 dB once it is rounded as the cascade
// runs it: within 0.1 dB at 0 Hz, where a low corner at 20 Hz with 60 dB
// between the shelves puts a pole within 1e-4 of z = 1 and float
// coefficients can do no better, and 1e-3 dB at the Nyquist frequency.
TEST(HLShelf, GainsAtBothEndsAreTheShelfGains) {
  double const gains[] = {-30.0, -12.0, 0.0, 12.0, 30.0};
  double worstRounded = 0.0;
  for (double rate : {44100.0, 48000.0, 96000.0}) {
    for (double f1 : {20.0, 100.0, 250.0, 1000.0}) {
      for (double f2 : {2000.0, 4000.0, 20000.0}) {
        for (double low : gains) {
          for (double mid : gains) {
            for (double high : gains) {
              double c[5];
              HLShelf::ComputeTaps(low, mid, high, f1 / rate, f2 / rate, c[0], c[1], c[2], c[3],
                                   c[4]);
              SCOPED_TRACE(::testing::Message() << rate << " " << f1 << " " << f2 << " " << low
                                                << " " << mid << " " << high);
              ASSERT_NEAR(sectionDecibels(c, 0.0), low, 1e-3);
              ASSERT_NEAR(sectionDecibels(c, M_PI), high, 1e-3);
              double const six[6] = {c[0], c[1], c[2], 1.0, c[3], c[4]};
              float cascade[5];
              Zorv::BiquadCascadeFrequencyResponse::RearrangeForCascade(six, 1, cascade);
              double const dc = Decibels(zorvtest::CascadeMagnitude(cascade, 1, 0.0));
              double const nyquist = Decibels(zorvtest::CascadeMagnitude(cascade, 1, M_PI));
              worstRounded =
                  std::max({worstRounded, std::fabs(dc - low), std::fabs(nyquist - high)});
              ASSERT_NEAR(dc, low, 0.1);
              ASSERT_NEAR(nyquist, high, 1e-3);
            }
          }
        }
      }
    }
  }
  RecordProperty("worstRoundedDecibels", std::to_string(worstRounded));
}

// Equal gains make a pure gain (each zero on its pole); the order of the
// corners does not matter.
TEST(HLShelf, EqualGainsGiveAPureGainAndCornersComeInAnyOrder) {
  float x[5], y[5];
  HLShelf::ComputeTaps(6.f, 6.f, 6.f, 0.01f, 0.1f, x[0], x[1], x[2], x[3], x[4]);
  EXPECT_FLOAT_EQ(x[0], std::pow(10.f, 0.3f));
  EXPECT_NEAR(x[1] / x[0], x[3], 1e-6);
  EXPECT_NEAR(x[2] / x[0], x[4], 1e-6);
  HLShelf::ComputeTaps(-6.f, 3.f, 9.f, 0.01f, 0.2f, x[0], x[1], x[2], x[3], x[4]);
  HLShelf::ComputeTaps(-6.f, 3.f, 9.f, 0.2f, 0.01f, y[0], y[1], y[2], y[3], y[4]);
  for (int i = 0; i < 5; ++i) EXPECT_EQ(x[i], y[i]) << i;
}

// The upper corner is held below the Nyquist frequency and the lower above
// 0; NaN frequencies are held too. What reaches the cascade is stable.
TEST(HLShelf, CornersOutsideTheBandAreHeldInside) {
  float in[5], out[5];
  HLShelf::ComputeTaps(3.f, 0.f, -20.f, 0.01f, HLShelf::MaxNormalisedFrequency, in[0], in[1], in[2],
                       in[3], in[4]);
  for (float f2 : {0.5f, 0.7f, 3.f}) {
    HLShelf::ComputeTaps(3.f, 0.f, -20.f, 0.01f, f2, out[0], out[1], out[2], out[3], out[4]);
    for (int i = 0; i < 5; ++i) EXPECT_EQ(in[i], out[i]) << f2;
  }
  for (float f1 : {0.f, -1.f, NAN}) {
    double c[5];
    HLShelf::ComputeTaps(20.0, 0.0, 0.0, f1, 0.1, c[0], c[1], c[2], c[3], c[4]);
    double const six[6] = {c[0], c[1], c[2], 1.0, c[3], c[4]};
    float cascade[5];
    Zorv::BiquadCascadeFrequencyResponse::RearrangeForCascade(six, 1, cascade);
    for (float v : cascade) EXPECT_TRUE(std::isfinite(v)) << f1;
    EXPECT_LT(std::fabs(cascade[4]), 1.f);
    EXPECT_LT(std::fabs(double(cascade[3])), 1.0 + cascade[4]);
  }
}

}  // namespace
