#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <vector>

#include "ZorvNFCHOAFilterBank.h"
#include "ZorvNFCHOAFilterModeling.h"
#include "ZorvNFCHOAHighPass.h"
#include "ZorvNFCHOAHighPassFilterBank.h"
#include "ZorvTestAllocationCounter.h"

namespace Zorv {
namespace {

using cd = std::complex<double>;
double const pi = 3.14159265358979323846;
double const c = 340.0;

template <typename T>
cd Response(T const* taps, unsigned int sections, cd z) {
  cd const zi = 1.0 / z;
  cd h = taps[0];
  for (unsigned int k = 0; k < sections; ++k) {
    T const* s = taps + 4 * k + 1;
    h *= (1.0 + zi * (double(s[0]) + zi * double(s[1]))) /
         (1.0 + zi * (double(s[2]) + zi * double(s[3])));
  }
  return h;
}

// Spherical Hankel function of degree m by the upward recurrence, which is
// stable for it (it follows the dominant second-kind solution).
cd Hankel(unsigned int m, double x) {
  cd const e = std::exp(cd(0.0, x));
  cd h0 = cd(0.0, -1.0) * e / x;
  cd h1 = -(x + cd(0.0, 1.0)) / (x * x) * e;
  if (m == 0) return h0;
  for (unsigned int n = 1; n < m; ++n) {
    cd const h2 = (2.0 * n + 1.0) / x * h1 - h0;
    h0 = h1;
    h1 = h2;
  }
  return h1;
}

double Db(double v) {
  return 20.0 * std::log10(v);
}

TEST(NFCHOAFilterModeling, MagnitudeIsTheRatioOfSphericalHankelFunctions) {
  double const speaker = 1.0;
  for (double rate : {44100.0, 48000.0}) {
    for (double source : {0.3, 0.5, 2.0, 5.0}) {
      for (unsigned int m = 1; m <= 8; ++m) {
        NFCHOAFilterModeling model(m);
        model.SetSamplerate(float(rate));
        model.SetSpeakerRadius(float(speaker));
        model.SetSourceRadius(float(source));
        // A far source puts the zeros so close to z = 1 that the rounding of
        // the taps to float moves its deep low-frequency attenuation (-110 dB
        // at 20 Hz in degree 8) by more than 0.01 dB: there the design is
        // checked before its rounding.
        unsigned int const count = 4 * model.GetNumCascades() + 1;
        double const* exact = model.GetCascadeCoefficientsInDouble();
        float const* rounded = model.GetCascadeCoefficients();
        std::vector<double> taps(count);
        for (unsigned int k = 0; k < count; ++k) taps[k] = source <= 2.0 ? rounded[k] : exact[k];
        for (double f : {20.0, 60.0, 200.0, 700.0, 2500.0, 10000.0}) {
          double const w = 2.0 * pi * f / rate;
          // The frequency the bilinear transform maps onto f.
          double const k = 2.0 * rate * std::tan(w / 2.0) / c;
          double const want = std::abs(Hankel(m, k * source) * Hankel(0, k * speaker) /
                                       (Hankel(0, k * source) * Hankel(m, k * speaker)));
          double const got =
              std::abs(Response(taps.data(), model.GetNumCascades(), std::polar(1.0, w)));
          EXPECT_NEAR(Db(got), Db(want), 0.01)
              << "rate " << rate << " rho " << source << " m " << m << " f " << f;
        }
        double const dc = std::abs(Response(taps.data(), model.GetNumCascades(), 1.0));
        EXPECT_NEAR(dc / std::pow(speaker / source, m), 1.0, 1e-3)
            << "rho " << source << " m " << m;
      }
    }
  }
}

TEST(NFCHOAFilterModeling, SectionsFollowTheDegree) {
  // Order 1: one first-order section; 2: one pair; 3: the pair, then the real root.
  NFCHOAFilterModeling one(1), two(2), three(3), top(26), beyond(27);
  EXPECT_EQ(one.GetNumCascades(), 1u);
  EXPECT_EQ(two.GetNumCascades(), 1u);
  EXPECT_EQ(three.GetNumCascades(), 2u);
  EXPECT_EQ(top.GetNumCascades(), 13u);
  EXPECT_EQ(beyond.GetNumCascades(), 0u);
  EXPECT_EQ(beyond.GetCascadeCoefficients()[0], 1.f);
  for (NFCHOAFilterModeling* model : {&one, &three}) {
    model->SetSourceRadius(0.5f);
    model->SetSpeakerRadius(1.f);
    float const* taps = model->GetCascadeCoefficients();
    unsigned int const last = model->GetNumCascades() - 1;
    EXPECT_EQ(taps[4 * last + 2], 0.f);
    EXPECT_EQ(taps[4 * last + 4], 0.f);
    if (model == &three) {
      EXPECT_NE(taps[2], 0.f);
    }
  }
}

TEST(NFCHOAFilterModeling, EqualRadiiGiveTheIdentityAtEveryRate) {
  for (float rate : {44100.f, 48000.f, 96000.f}) {
    NFCHOAFilterModeling model(7);
    model.SetSpeakerRadius(1.f);
    model.SetSourceRadius(0.5f);
    model.GetCascadeCoefficients();
    model.SetSamplerate(rate);
    model.SetSourceRadius(1.f);
    float const* taps = model.GetCascadeCoefficients();
    EXPECT_EQ(taps[0], 1.f);
    for (unsigned int k = 0; k < model.GetNumCascades(); ++k) {
      EXPECT_EQ(taps[4 * k + 1], taps[4 * k + 3]) << rate;
      EXPECT_EQ(taps[4 * k + 2], taps[4 * k + 4]) << rate;
    }
  }
}

TEST(NFCHOAFilterModeling, RadiiBelowTheMinimumActAsTheMinimum) {
  NFCHOAFilterModeling a(4), b(4);
  a.SetSourceRadius(0.1f);
  b.SetSourceRadius(0.2f);
  std::vector<float> ta(a.GetCascadeCoefficients(), a.GetCascadeCoefficients() + 9);
  std::vector<float> tb(b.GetCascadeCoefficients(), b.GetCascadeCoefficients() + 9);
  EXPECT_EQ(ta, tb);
  // Not a number changes nothing.
  a.SetSourceRadius(std::nanf(""));
  EXPECT_EQ(a.GetSourceRadius(), 0.2f);
}

TEST(NFCHOAFilterModeling, LowFrequencyGainIsBoundedAndFinite) {
  for (unsigned int m : {3u, 10u, 23u, 26u}) {
    NFCHOAFilterModeling model(m);
    model.SetSpeakerRadius(10.f);
    model.SetSourceRadius(0.f);
    float const* taps = model.GetCascadeCoefficients();
    for (unsigned int k = 0; k < 4 * model.GetNumCascades() + 1; ++k) {
      ASSERT_TRUE(std::isfinite(taps[k])) << m;
    }
    double const dc = std::abs(Response(taps, model.GetNumCascades(), 1.0));
    double const exact = std::pow(10.0 / 0.2, m);
    double const bound = NFCHOAFilterModeling::MaxLowFrequencyGain;
    // Poles this close to z = 1 (R = 10 m) keep the DC gain to 1 % in float taps.
    EXPECT_NEAR(dc / std::min(exact, bound), 1.0, 1e-2) << m;
  }
}

// Runs the bank on a block and returns outputs[degree].
std::vector<std::vector<float>> RunBank(NFCHOAFilterBank& bank, std::vector<float>& input) {
  unsigned int const n = static_cast<unsigned int>(input.size());
  std::vector<std::vector<float>> out(bank.GetOrder() + 1, std::vector<float>(n));
  std::vector<float*> outputs;
  for (auto& o : out) outputs.push_back(o.data());
  float* in = input.data();
  short const active = 1;
  bank.Process(outputs.data(), &in, n, &active);
  return out;
}

TEST(NFCHOAFilterBank, SourceAtTheSpeakerRadiusIsTheIdentityAfterARateChange) {
  for (float rate : {44100.f, 48000.f, 96000.f}) {
    NFCHOAFilterBank bank(5);
    bank.SetSpeakerRadius(1.f);
    bank.SetSourceRadius(0.4f);
    bank.SetSamplerate(rate);
    bank.SetMaxBlockSize(256);
    bank.SetSourceRadius(1.f);
    std::vector<float> input(256);
    for (unsigned int k = 0; k < 256; ++k)
      input[k] = std::sin(0.01f * k * k) + (k == 0 ? 1.f : 0.f);
    // Past the cross-fade to the new radius.
    for (int block = 0; block < 8; ++block) RunBank(bank, input);
    auto out = RunBank(bank, input);
    for (unsigned int m = 0; m <= 5; ++m) {
      for (unsigned int k = 0; k < 256; ++k) ASSERT_NEAR(out[m][k], input[k], 1e-5) << rate << m;
    }
  }
}

TEST(NFCHOAFilterBank, MovesCrossFadeWithoutAllocationAndDegreesBeyondTheTablesCopy) {
  NFCHOAFilterBank bank(28);
  bank.SetMaxBlockSize(64);
  EXPECT_EQ(bank.GetCascade(27), nullptr);
  std::vector<float> input(64, 0.5f);
  std::vector<std::vector<float>> out(29, std::vector<float>(64));
  std::vector<float*> outputs;
  for (auto& o : out) outputs.push_back(o.data());
  float* in = input.data();
  short const active = 1;
  bank.SetSourceRadius(0.7f);
  {
    zorvtest::AllocationCounter counter;
    for (int block = 0; block < 20; ++block) bank.Process(outputs.data(), &in, 64, &active);
    EXPECT_EQ(counter.Count(), 0u);
  }
  {
    // A redesign on the message thread allocates nothing either.
    zorvtest::AllocationCounter counter;
    bank.SetSourceRadius(0.9f);
    bank.SetSpeakerRadius(2.f);
    EXPECT_EQ(counter.Count(), 0u);
  }
  EXPECT_EQ(out[27], input);
  EXPECT_EQ(out[28], input);
  for (auto& o : out) {
    for (float v : o) ASSERT_TRUE(std::isfinite(v));
  }
}

TEST(NFCHOAHighPass, CutOffFollowsDegreeAndRadius) {
  EXPECT_NEAR(NFCHOAHighPass::CutOffFrequency(1, 2, 1.f), 76.4, 0.1);
  EXPECT_GT(NFCHOAHighPass::CutOffFrequency(3, 3, 1.f), NFCHOAHighPass::CutOffFrequency(2, 3, 1.f));
  EXPECT_NEAR(NFCHOAHighPass::CutOffFrequency(2, 3, 0.5f),
              2.f * NFCHOAHighPass::CutOffFrequency(2, 3, 1.f), 1e-3);
  EXPECT_EQ(NFCHOAHighPass::CutOffFrequency(2, 4, 1.f), 0.f);
}

TEST(NFCHOAHighPass, RedesignsOnlyForANewDistanceAndForANewRate) {
  NFCHOAHighPassFilterBank bank(3, 3);
  NFCHOAHighPass& filter = *bank.GetFilter(3);
  EXPECT_FALSE(filter.GetCascade().HasPendingCoefficients());
  bank.SetSourceRadius(1.f);  // the radius of construction
  EXPECT_FALSE(filter.GetCascade().HasPendingCoefficients());
  bank.SetSourceRadius(0.1f);
  EXPECT_TRUE(filter.GetCascade().HasPendingCoefficients());
  EXPECT_EQ(filter.GetSourceRadius(), 0.2f);

  // At a new rate the filter in use is the one designed for it: -3 dB at the
  // cut-off of the source's radius.
  bank.SetSamplerate(96000.f);
  auto& cascade = filter.GetCascade();
  std::vector<float> taps(cascade.GetNumCoefficients());
  cascade.GetActiveFilter().GetCoefficients(taps);
  for (size_t k = 3; k < taps.size(); k += 4) {
    taps[k] = -taps[k];
    taps[k + 1] = -taps[k + 1];
  }
  double const f = filter.GetCutOffFrequency();
  cd const h = Response(taps.data(), 2, std::polar(1.0, 2.0 * pi * f / 96000.0));
  EXPECT_NEAR(Db(std::abs(h)), -3.0103, 0.01);
}

TEST(NFCHOAHighPass, TenMillisecondFadeEndsWithSmallBlocks) {
  // 48 kHz and 32-sample blocks: 480 samples of fade, not a multiple of the block.
  NFCHOAHighPass filter(4, 3);
  filter.SetSamplerate(48000.f);
  filter.SetMaxBlockSize(32);
  std::vector<float> block(32, 0.25f);
  filter.SetSourceRadius(0.5f);
  int blocks = 0;
  filter.Process(block.data(), block.data(), 32);
  while (filter.GetCascade().GetState() != nolardsp::FadedBiquadCascade::FilterTwoActive &&
         blocks < 100) {
    filter.Process(block.data(), block.data(), 32);
    ++blocks;
  }
  EXPECT_LE(blocks, 1 + 480 / 32 + 1);
  EXPECT_EQ(filter.GetCascade().GetSamplesRemaining(), 0);
  // A second move fades back to the first filter and ends too.
  filter.SetSourceRadius(2.f);
  for (int k = 0; k < 1 + 480 / 32 + 2; ++k) filter.Process(block.data(), block.data(), 32);
  EXPECT_EQ(filter.GetCascade().GetState(), nolardsp::FadedBiquadCascade::FilterOneActive);
}

}  // namespace
}  // namespace Zorv
