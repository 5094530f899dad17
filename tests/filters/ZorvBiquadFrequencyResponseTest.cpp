// The second-order designs held against the textbook formulas computed here in
// double, as the cascade will run them: normalised, rounded to float.

#include "ZorvBiquadFrequencyResponse.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "ZorvBiquadCascadeFrequencyResponse.h"
#include "ZorvSecondOrderReference.h"

namespace {

using Zorv::BiquadCascadeFrequencyResponse;
using Zorv::BiquadFrequencyResponse;
using Zorv::SecondOrderFilters;
using zorvtest::CascadeMagnitude;
using zorvtest::Decibels;

// The section as the cascade runs it: gain, b1, b2, a1, a2.
std::vector<float> cascadeOf(BiquadFrequencyResponse const& r) {
  double six[6];
  r.GetCoefficients(six);
  std::vector<float> cascade(5);
  BiquadCascadeFrequencyResponse::RearrangeForCascade(six, 1, cascade.data());
  return cascade;
}

BiquadFrequencyResponse design(int type, float f, float q, float gain, float rate) {
  BiquadFrequencyResponse r(static_cast<SecondOrderFilters::Type>(type));
  r.SetSamplerate(rate);
  r.SetQ(q);
  r.SetdBGain(gain);
  r.SetFreq(f);
  return r;
}

std::vector<double> logSpaced(double from, double to, int n) {
  std::vector<double> v(n);
  for (int i = 0; i < n; ++i) v[i] = from * std::pow(to / from, i / double(n - 1));
  return v;
}

TEST(BiquadFrequencyResponse, WordsNameTheTypes) {
  char const* const words[] = {"ZorvDoubleShelving", "lowpass",   "HighPass",   "bandpass",
                               "BandPassPeak",       "notch",     "AllPass",    "peakingeq",
                               "LowShelf",           "highshelf", "SimpleGain", "Null"};
  for (unsigned int k = 0; k < 12; ++k) {
    EXPECT_EQ(BiquadFrequencyResponse::GetFilterType(words[k]), k) << words[k];
  }
  EXPECT_EQ(BiquadFrequencyResponse::GetFilterType("gain"), SecondOrderFilters::SimpleGain);
  for (char const* unknown : {"LOWPASS", "", static_cast<char const*>(nullptr)}) {
    EXPECT_EQ(BiquadFrequencyResponse::GetFilterType(unknown), SecondOrderFilters::DoubleShelving);
  }
}

// Magnitudes at 64 frequencies from 20 Hz to 0.45 of the rate, for designs
// across the whole band: within 0.01 dB where f/rate >= 0.01 and 0.05 dB down
// to f/rate = 0.002. Below that, float coefficients of a section whose poles
// sit within 1e-3 of z = 1 cannot hold such tolerances. Points more than 60 dB
// down are skipped. The double design must agree everywhere.
TEST(BiquadFrequencyResponse, DesignsMatchTheTextbookFormulas) {
  double const qs[] = {0.5, 0.7071, 2.0};
  double const gains[] = {-24.0, -6.0, 0.0, 6.0, 24.0};
  for (double rate : {44100.0, 48000.0, 96000.0}) {
    std::vector<double> const points = logSpaced(20.0, 0.45 * rate, 64);
    for (int type = 1; type <= 9; ++type) {
      for (double f : logSpaced(20.0, 0.45 * rate, 24)) {
        for (double q : qs) {
          for (double gain : gains) {
            float const ff = static_cast<float>(f), qf = static_cast<float>(q);
            float const gf = static_cast<float>(gain);
            BiquadFrequencyResponse const r = design(type, ff, qf, gf, float(rate));
            std::vector<float> const cascade = cascadeOf(r);
            zorvtest::Section const ref = zorvtest::TextbookSection(type, ff, qf, gf, rate);
            double worstHigh = 0.0, worstLow = 0.0, worstDouble = 0.0;
            for (double pd : points) {
              double const p = static_cast<float>(pd);
              double const w = 2.0 * M_PI * p / rate;
              double const want = Decibels(zorvtest::Magnitude(ref, w));
              if (want < -60.0) continue;
              double const got = Decibels(CascadeMagnitude(cascade.data(), 1, w));
              double const err = std::fabs(got - want);
              if (p / rate >= 0.01) worstHigh = std::max(worstHigh, err);
              if (p / rate >= 0.002 && p / rate < 0.01) worstLow = std::max(worstLow, err);
              worstDouble =
                  std::max(worstDouble, std::fabs(Decibels(r.GetMagnitude(float(p))) - want));
            }
            SCOPED_TRACE(::testing::Message() << "type " << type << " f " << f << " q " << q
                                              << " gain " << gain << " rate " << rate);
            ASSERT_LE(worstHigh, 0.01);
            ASSERT_LE(worstLow, 0.05);
            ASSERT_LE(worstDouble, 1e-6);
          }
        }
      }
    }
  }
}

// Type 11 and above are wires; a peaking section of 0 dB is unity everywhere.
TEST(BiquadFrequencyResponse, WireTypesAndFlatPeaksAreExact) {
  BiquadFrequencyResponse r = design(SecondOrderFilters::PeakingEQ, 1000.f, 3.f, 0.f, 48000.f);
  float six[6];
  r.GetCoefficients(six);
  EXPECT_EQ(six[0], six[3]);
  EXPECT_EQ(six[2], six[5]);
  std::vector<float> c = cascadeOf(r);
  for (double w : {0.0, 0.1, 1.0, 3.0}) EXPECT_NEAR(CascadeMagnitude(c.data(), 1, w), 1.0, 1e-6);
  for (unsigned int type : {11u, 1000u}) {
    r.SetFilterType(static_cast<SecondOrderFilters::Type>(type));
    EXPECT_EQ(cascadeOf(r), (std::vector<float>{1.f, 0.f, 0.f, 0.f, 0.f})) << type;
  }
}

// Where float cos(w) is 1 (a 10 Hz low pass at 384 kHz) the design divides
// by nothing and keeps its double zero at the Nyquist frequency; zero,
// negative and huge frequencies, Q and gains give finite, stable sections.
// (Rates and cut-offs of the attribute's range are in the equalizer's tests.)
TEST(BiquadFrequencyResponse, ExtremeParametersGiveStableFiniteSections) {
  std::vector<float> c = cascadeOf(design(1, 10.f, 0.7071f, 0.f, 384000.f));
  EXPECT_EQ(c[1], 2.f);
  EXPECT_EQ(c[2], 1.f);
  EXPECT_GT(c[0], 0.f);
  struct Case {
    int type;
    float f, q, gain;
  } const cases[] = {{2, 10.f, 0.7f, 0.f},  {5, 0.f, 0.7f, 0.f},    {1, -5.f, 0.7f, 0.f},
                     {7, 1e3f, 0.f, 12.f},  {7, 1e3f, -1.f, 12.f},  {7, 1e3f, 1e30f, 12.f},
                     {8, 1e3f, 1.f, 1e30f}, {3, 1e3f, 1.f, -1e30f}, {1, 1e30f, 0.7f, 0.f}};
  for (Case const& k : cases) {
    c = cascadeOf(design(k.type, k.f, k.q, k.gain, 384000.f));
    for (float v : c) ASSERT_TRUE(std::isfinite(v)) << k.type << " " << k.f;
    EXPECT_LT(std::fabs(c[4]), 1.f);
    EXPECT_LT(std::fabs(double(c[3])), 1.0 + double(c[4]));
  }
  // Above the Nyquist frequency a cut-off is designed at 0.49 of the rate.
  EXPECT_EQ(cascadeOf(design(1, 20000.f, 0.7f, 0.f, 32000.f)),
            cascadeOf(design(1, 0.49f * 32000.f, 0.7f, 0.f, 32000.f)));
}

TEST(BiquadFrequencyResponse, NaNChangesNothingAndTypeZeroStartsFromUnitA0) {
  BiquadFrequencyResponse r = design(SecondOrderFilters::LowPass, 300.f, 2.f, 3.f, 48000.f);
  std::vector<float> const before = cascadeOf(r);
  r.SetFreq(NAN);
  r.SetQ(NAN);
  r.SetdBGain(NAN);
  r.SetSamplerate(NAN);
  r.SetSamplerate(0.f);
  EXPECT_EQ(cascadeOf(r), before);

  float six[6];
  r.GetCoefficients(six);
  ASSERT_NE(six[3], 1.f);
  r.SetFilterType(SecondOrderFilters::DoubleShelving);
  r.GetCoefficients(six);
  EXPECT_EQ(six[3], 1.f);
}

TEST(BiquadCascadeFrequencyResponse, RearrangementMutesOnAZeroLeadingCoefficient) {
  double const sections[] = {0.0, 1.0, 1.0, 1.0, 0.5, 0.25, 2.0, 1.0, 0.5, 1.0, 0.0, 0.0};
  float cascade[9];
  BiquadCascadeFrequencyResponse::RearrangeForCascade(sections, 2, cascade);
  for (float v : cascade) EXPECT_TRUE(std::isfinite(v));
  EXPECT_EQ(cascade[0], 0.f);
  EXPECT_EQ(cascade[5], 0.5f);
  EXPECT_EQ(cascade[6], 0.25f);
}

}  // namespace
