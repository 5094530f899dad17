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
  struct Case {
    char const* word;
    SecondOrderFilters::Type type;
  } const cases[] = {{"ZorvDoubleShelving", SecondOrderFilters::DoubleShelving},
                     {"lowpass", SecondOrderFilters::LowPass},
                     {"HighPass", SecondOrderFilters::HighPass},
                     {"bandpass", SecondOrderFilters::BandPass},
                     {"BandPassPeak", SecondOrderFilters::BandPassPeak},
                     {"notch", SecondOrderFilters::Notch},
                     {"AllPass", SecondOrderFilters::AllPass},
                     {"peakingeq", SecondOrderFilters::PeakingEQ},
                     {"LowShelf", SecondOrderFilters::LowShelf},
                     {"highshelf", SecondOrderFilters::HighShelf},
                     {"SimpleGain", SecondOrderFilters::SimpleGain},
                     {"Gain", SecondOrderFilters::SimpleGain},
                     {"gain", SecondOrderFilters::SimpleGain},
                     {"Null", SecondOrderFilters::Null},
                     {"LOWPASS", SecondOrderFilters::DoubleShelving},
                     {"", SecondOrderFilters::DoubleShelving}};
  for (Case const& c : cases) {
    EXPECT_EQ(BiquadFrequencyResponse::GetFilterType(c.word), c.type) << c.word;
  }
  EXPECT_EQ(BiquadFrequencyResponse::GetFilterType(nullptr), SecondOrderFilters::DoubleShelving);
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

TEST(BiquadFrequencyResponse, GainAndWireTypesAreExact) {
  BiquadFrequencyResponse r = design(SecondOrderFilters::SimpleGain, 1000.f, 1.f, -6.f, 48000.f);
  std::vector<float> c = cascadeOf(r);
  EXPECT_FLOAT_EQ(c[0], std::pow(10.f, -6.f / 20.f));
  EXPECT_EQ(c[1], 0.f);
  EXPECT_EQ(c[4], 0.f);

  for (unsigned int type : {11u, 12u, 1000u}) {
    r.SetFilterType(static_cast<SecondOrderFilters::Type>(type));
    c = cascadeOf(r);
    EXPECT_EQ(c, (std::vector<float>{1.f, 0.f, 0.f, 0.f, 0.f})) << type;
  }

  // A peaking section of 0 dB is unity everywhere: b0 = a0 and b2 = a2.
  r = design(SecondOrderFilters::PeakingEQ, 1000.f, 3.f, 0.f, 48000.f);
  float six[6];
  r.GetCoefficients(six);
  EXPECT_EQ(six[0], six[3]);
  EXPECT_EQ(six[2], six[5]);
  c = cascadeOf(r);
  for (double w : {0.0, 0.1, 1.0, 3.0}) EXPECT_NEAR(CascadeMagnitude(c.data(), 1, w), 1.0, 1e-6);
}

// The rounded section stays stable and finite where float cos(w) is 1 (a
// 10 Hz low pass at 384 kHz), where the cut-off lies above the Nyquist
// frequency (20 kHz at 32 kHz and 22.05 kHz), and for Q and gains far out.
TEST(BiquadFrequencyResponse, ExtremeParametersGiveStableFiniteSections) {
  struct Case {
    int type;
    float f, q, gain, rate;
  } const cases[] = {{1, 10.f, 0.7f, 0.f, 384000.f},   {2, 10.f, 0.7f, 0.f, 384000.f},
                     {1, 20000.f, 0.7f, 0.f, 32000.f}, {1, 20000.f, 0.7f, 0.f, 22050.f},
                     {9, 20000.f, 0.7f, 12.f, 8000.f}, {5, 0.f, 0.7f, 0.f, 48000.f},
                     {1, -5.f, 0.7f, 0.f, 48000.f},    {7, 1000.f, 0.f, 12.f, 48000.f},
                     {7, 1000.f, -1.f, 12.f, 48000.f}, {7, 1000.f, 1e30f, 12.f, 48000.f},
                     {8, 1000.f, 1.f, 1e30f, 48000.f}, {3, 1000.f, 1.f, -1e30f, 48000.f},
                     {1, 1e30f, 0.7f, 0.f, 48000.f},   {6, 5.f, 1e4f, 0.f, 192000.f}};
  for (Case const& k : cases) {
    SCOPED_TRACE(::testing::Message() << "type " << k.type << " f " << k.f << " q " << k.q
                                      << " gain " << k.gain << " rate " << k.rate);
    std::vector<float> const c = cascadeOf(design(k.type, k.f, k.q, k.gain, k.rate));
    for (float v : c) ASSERT_TRUE(std::isfinite(v));
    EXPECT_LT(std::fabs(c[4]), 1.f);
    EXPECT_LT(std::fabs(double(c[3])), 1.0 + double(c[4]));
  }
  // The 10 Hz low pass at 384 kHz keeps its double zero at the Nyquist
  // frequency and unity gain at 0 Hz within what its float poles allow.
  std::vector<float> const c = cascadeOf(design(1, 10.f, 0.7071f, 0.f, 384000.f));
  EXPECT_EQ(c[1], 2.f);
  EXPECT_EQ(c[2], 1.f);
  EXPECT_GT(c[0], 0.f);
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

TEST(BiquadCascadeFrequencyResponse, SectionsMultiplyAndStartAsWires) {
  BiquadCascadeFrequencyResponse cascade(3);
  EXPECT_DOUBLE_EQ(cascade.GetMagnitude(1000.f), 1.0);
  std::vector<float> six;
  cascade.GetCoefficients(six);
  EXPECT_EQ(six, (std::vector<float>{1, 0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 0}));

  cascade.SetSamplerate(48000.f);
  cascade.SetFilterType(0, SecondOrderFilters::LowPass);
  cascade.SetQ(0, 0.7071f);
  cascade.SetFreq(0, 500.f);
  cascade.SetFilterType(2, SecondOrderFilters::PeakingEQ);
  cascade.SetFreq(2, 2000.f);
  cascade.SetdBGain(2, 6.f);
  cascade.SetFreq(7, 2000.f);  // past the last section: nothing
  std::vector<double> exact;
  cascade.GetCoefficients(exact);
  std::vector<float> array(13);
  BiquadCascadeFrequencyResponse::RearrangeForCascade(exact.data(), 3, array.data());
  EXPECT_EQ(array[5], 0.f);  // the wire in the middle
  EXPECT_EQ(array[7], 0.f);
  for (double f : {50.0, 500.0, 2000.0, 10000.0}) {
    double const w = 2.0 * M_PI * f / 48000.0;
    double const want =
        zorvtest::Magnitude(zorvtest::TextbookSection(1, 500, 0.7071f, 0, 48000), w) *
        zorvtest::Magnitude(zorvtest::TextbookSection(7, 2000, 1, 6, 48000), w);
    EXPECT_NEAR(Decibels(cascade.GetMagnitude(float(f))), Decibels(want), 1e-6) << f;
    EXPECT_NEAR(Decibels(CascadeMagnitude(array.data(), 3, w)), Decibels(want), 1e-3) << f;
  }
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
