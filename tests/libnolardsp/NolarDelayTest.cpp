#include "NolarDelay.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include "ZorvTestAllocationCounter.h"

namespace {

using nolardsp::Delay;

// At 1000 Hz one millisecond is one sample, so delays in the tests read as
// sample counts.
float const rate = 1000.f;

std::vector<float> noise(int n, unsigned seed = 7) {
  std::mt19937 gen(seed);
  std::uniform_real_distribution<float> dist(-1.f, 1.f);
  std::vector<float> x(n);
  for (float& v : x) v = dist(gen);
  return x;
}

// A band-limited test signal: a few partials well below the Nyquist
// frequency, evaluated in double at any (fractional) time in samples.
struct Partial {
  double amplitude, cyclesPerSample, phase;
};
Partial const partials[] = {{0.4, 0.011, 0.3}, {0.3, 0.023, 1.1}, {0.2, 0.041, 2.0}};
double const pi = 3.14159265358979323846;

double bandLimited(double t) {
  double sum = 0.;
  for (auto const& p : partials)
    sum += p.amplitude * std::sin(2 * pi * p.cyclesPerSample * t + p.phase);
  return sum;
}

// Sum over the partials of amplitude * omega^order: the size of an error
// term of that order in radians per sample.
double errorScale(int order) {
  double sum = 0.;
  for (auto const& p : partials) sum += p.amplitude * std::pow(2 * pi * p.cyclesPerSample, order);
  return sum;
}

std::vector<float> bandLimitedBlock(int n) {
  std::vector<float> x(n);
  for (int i = 0; i < n; ++i) x[i] = static_cast<float>(bandLimited(i));
  return x;
}

std::vector<float> run(Delay& d, std::vector<float> const& input, int block) {
  std::vector<float> out(input.size());
  int const total = static_cast<int>(input.size());
  for (int done = 0; done < total; done += block) {
    d.Process(out.data() + done, input.data() + done, std::min(block, total - done));
  }
  return out;
}

std::unique_ptr<Delay> makeDelay(Delay::InterpolationMode mode, int block = 64) {
  auto d = std::make_unique<Delay>(300.f, mode);
  d->Configure(rate, static_cast<unsigned int>(block), true);
  return d;
}

std::vector<Delay::InterpolationMode> const allModes = {
    Delay::InterpolationNearest, Delay::InterpolationLinear,     Delay::InterpolationLagrange,
    Delay::InterpolationAllpass, Delay::InterpolationTwoTapFade, Delay::InterpolationHermite,
    Delay::InterpolationWatte,   Delay::InterpolationBSpline,    Delay::InterpolationParabolic};

TEST(Delay, DefaultLineAt44100HoldsThreeHundredAndFiveMilliseconds) {
  Delay d(300.f, Delay::InterpolationLinear);
  EXPECT_EQ(d.GetBufferLength(), 16384);  // 512 + 1 + trunc(305 * 44.1) = 13963
  EXPECT_FLOAT_EQ(d.GetMaxDelay(), 305.f);
  EXPECT_EQ(d.GetDelayRamp().GetCurrentValue(), 0.f);
  // Each reconfiguration re-sizes the ring from the stored maximum, margin
  // included, so the maximum creeps; it only bounds memory.
  d.Configure(44100.f, 512, true);
  EXPECT_GT(d.GetMaxDelay(), 305.f);
  EXPECT_LE(d.GetBufferLength(), 32768);
}

TEST(Delay, IntegerDelayReproducesTheInputShiftedExactlyAcrossRingWraps) {
  auto const x = noise(3000);
  for (int mode : {0, 1, 2, 3, 4, 5, 6, 9}) {
    auto d = makeDelay(static_cast<Delay::InterpolationMode>(mode));
    d->SetDelay(37.f, true);
    auto const y = run(*d, x, 64);
    ASSERT_LT(d->GetBufferLength(), 3000);  // the reads crossed the end of the ring
    for (int i = 0; i < 3000; ++i) {
      ASSERT_EQ(y[i], i >= 37 ? x[i - 37] : 0.f) << "mode " << mode << " sample " << i;
    }
  }
}

TEST(Delay, ZeroDelayGivesThisBlocksInputInLinearAndAllpassModes) {
  auto const x = noise(256);
  for (auto mode :
       {Delay::InterpolationLinear, Delay::InterpolationAllpass, Delay::InterpolationNearest}) {
    auto d = makeDelay(mode);
    auto const y = run(*d, x, 64);
    EXPECT_EQ(y, x) << "mode " << mode;
  }
}

// Largest error of each read-out against the ideal fractional delay of the
// band-limited signal. Each bound is the leading error term of the method,
// summed over the partials, with 10 % to spare: rounding to the nearest
// sample is off by up to half a sample (omega / 2); linear and Watte read-outs
// err by f (1 - f) omega^2 / 2, at most omega^2 / 8; the B-spline smooths by
// omega^2 / 6 and the 2x parabolic by omega^2 / 4 even at integer delays;
// third-order Lagrange errs by f (1 - f) (1 + f) (2 - f) omega^4 / 24; the
// Hermite and the all-pass read-outs have third-order phase errors.
struct ModeBound {
  Delay::InterpolationMode mode;
  int order;
  double factor;
};

class DelayReadOut : public ::testing::TestWithParam<ModeBound> {};

TEST_P(DelayReadOut, FractionalDelayMatchesTheIdealDelayWithinTheModesBound) {
  auto const x = bandLimitedBlock(2000);
  double const bound = 1.1 * GetParam().factor * errorScale(GetParam().order) + 1e-6;
  for (float delayMs : {20.25f, 20.5f, 20.7f, 3.1f}) {
    auto d = makeDelay(GetParam().mode);
    d->SetDelay(delayMs, true);
    double const exact = d->GetDelayRamp().GetCurrentValue();
    auto const y = run(*d, x, 64);
    double worst = 0.;
    // From sample 200 on: the all-pass read-out has settled.
    for (int i = 200; i < 2000; ++i) {
      worst = std::max(worst, std::abs(y[i] - bandLimited(i - exact)));
    }
    EXPECT_LT(worst, bound) << "mode " << GetParam().mode << " delay " << delayMs;
  }
}

INSTANTIATE_TEST_SUITE_P(AllModes, DelayReadOut,
                         ::testing::Values(ModeBound{Delay::InterpolationNearest, 1, 0.5},
                                           ModeBound{Delay::InterpolationTwoTapFade, 1, 0.5},
                                           ModeBound{Delay::InterpolationLinear, 2, 0.125},
                                           ModeBound{Delay::InterpolationWatte, 2, 0.125},
                                           ModeBound{Delay::InterpolationBSpline, 2, 1. / 6.},
                                           ModeBound{Delay::InterpolationParabolic, 2, 0.25},
                                           ModeBound{Delay::InterpolationLagrange, 4, 0.5625 / 24.},
                                           ModeBound{Delay::InterpolationHermite, 3, 0.025},
                                           ModeBound{Delay::InterpolationAllpass, 3, 0.05}));

TEST(Delay, GlideBendsWithoutStepsLargerThanTheSignalsOwn) {
  auto const x = bandLimitedBlock(3000);
  float inputStep = 0.f;
  for (int i = 1; i < 3000; ++i) inputStep = std::max(inputStep, std::abs(x[i] - x[i - 1]));
  for (auto mode : allModes) {
    // The nearest sample drops or repeats samples as it glides; the two-tap
    // fade holds two samples per block. Neither is a smooth read-out.
    if (mode == Delay::InterpolationTwoTapFade || mode == Delay::InterpolationNearest) continue;
    for (float target : {60.f, 4.f}) {
      auto d = makeDelay(mode);
      d->SetDelay(20.f, true);
      d->SetInterpolationTime(300.f);
      std::vector<float> out(3000);
      d->Process(out.data(), x.data(), 64);
      d->SetDelay(target, false);
      float const slope = std::abs(d->GetDelayRamp().GetIncrement());
      d->Process(out.data() + 64, x.data() + 64, 3000 - 64);
      EXPECT_FALSE(d->GetDelayRamp().IsRunning());
      float worst = 0.f;
      for (int i = 100; i < 3000; ++i) worst = std::max(worst, std::abs(out[i] - out[i - 1]));
      // Reading faster or slower than the writer scales the signal's steps by
      // 1 + slope; the read-outs add little of their own.
      EXPECT_LE(worst, inputStep * (1.f + slope) + 2e-3f) << "mode " << mode << " to " << target;
    }
  }
}

TEST(Delay, TwoTapFadeHoldsBothEndsOfAGlideForTheBlock) {
  auto const x = noise(512);
  auto d = makeDelay(Delay::InterpolationTwoTapFade);
  d->SetDelay(10.f, true);
  d->SetInterpolationTime(200.f);
  std::vector<float> out(512);
  d->Process(out.data(), x.data(), 64);
  d->SetDelay(30.f, false);
  d->Process(out.data() + 64, x.data() + 64, 64);
  // Taps at 10 and 30 samples behind the block's first sample; the weight
  // of the far tap rises by 1/200 per sample from 0.
  for (int k = 0; k < 64; ++k) {
    float const w = static_cast<float>(k) / 200.f;
    EXPECT_NEAR(out[64 + k], (1.f - w) * x[64 - 10] + w * x[64 - 30], 1e-6f) << k;
  }
}

TEST(Delay, AnyBlockSizeGivesTheSameOutput) {
  auto const x = noise(6000, 3);
  for (auto mode : allModes) {
    if (mode == Delay::InterpolationTwoTapFade) continue;  // glides per block by design
    auto script = [&](int block) {
      auto d = makeDelay(mode, block);
      // From at least one sample on, so that the four-point read-outs never
      // look past the newest sample written.
      d->SetDelay(1.f, true);
      d->SetInterpolationTime(150.f);
      d->SetDelay(12.3f, false);
      std::vector<float> out(6000);
      for (int done = 0; done < 6000;) {
        int n = std::min(block, 6000 - done);
        // The retargets land at the same samples whatever the block size.
        if (done < 1000 && done + n > 1000) n = 1000 - done;
        if (done < 2500 && done + n > 2500) n = 2500 - done;
        if (done == 1000) d->SetDelay(250.4f, false);
        if (done == 2500) d->SetDelay(1.6f, false);
        d->Process(out.data() + done, x.data() + done, n);
        done += n;
      }
      return out;
    };
    auto const reference = script(1);
    for (int block : {2, 3, 64, 100, 512, 1000, 4096}) {
      auto const out = script(block);
      for (int i = 0; i < 6000; ++i) {
        ASSERT_EQ(out[i], reference[i]) << "mode " << mode << " block " << block << " i " << i;
      }
    }
  }
}

TEST(Delay, LengthsAtAndBeyondTheMaximumNegativeAndNotANumber) {
  auto const x = noise(2000);
  {
    // The maximum asked for is served without growing or clearing.
    auto d = makeDelay(Delay::InterpolationLinear);
    int const length = d->GetBufferLength();
    d->SetDelay(300.f, true);
    EXPECT_EQ(d->GetBufferLength(), length);
    auto const y = run(*d, x, 64);
    for (int i = 300; i < 2000; ++i) ASSERT_EQ(y[i], x[i - 300]);
  }
  {
    // Beyond it the line grows (with the margin) and is cleared.
    auto d = makeDelay(Delay::InterpolationNearest);
    std::vector<float> y(2000);
    d->Process(y.data(), x.data(), 64);
    d->SetDelay(700.f, true);
    EXPECT_FLOAT_EQ(d->GetMaxDelay(), 705.f);
    d->Process(y.data() + 64, x.data() + 64, 64);
    for (int i = 64; i < 128; ++i) EXPECT_EQ(y[i], 0.f);  // what was in the line is gone
    std::vector<float> rest(x.begin() + 128, x.end());
    auto const later = run(*d, rest, 64);
    for (int i = 700; i < 1872; ++i) ASSERT_EQ(later[i], rest[i - 700]);
  }
  for (float bad : {-5.f, std::nanf("")}) {
    // Negative and NaN lengths read as no delay.
    auto d = makeDelay(Delay::InterpolationLagrange);
    d->SetDelay(bad, true);
    EXPECT_EQ(d->GetDelayRamp().GetCurrentValue(), 0.f);
    d->SetInterpolationMode(Delay::InterpolationLinear);
    EXPECT_EQ(run(*d, x, 64), x);
  }
  {
    // A length no ring can hold is cut to the largest ring; reads stay finite.
    auto d = makeDelay(Delay::InterpolationHermite);
    d->SetDelay(INFINITY, false);
    EXPECT_LE(d->GetBufferLength(), Delay::MaxBufferLength);
    EXPECT_LT(d->GetDelayRamp().GetTargetValue(), static_cast<float>(d->GetBufferLength()));
    for (float v : run(*d, x, 64)) ASSERT_TRUE(std::isfinite(v));
  }
}

TEST(Delay, UnknownModeReadsTheFlooredSampleAtRestAndTheRoundedOneInAGlide) {
  auto const x = noise(400);
  auto d = makeDelay(static_cast<Delay::InterpolationMode>(9));
  d->SetDelay(10.4f, true);
  auto const y = run(*d, x, 64);
  for (int i = 20; i < 400; ++i) ASSERT_EQ(y[i], x[i - 11]);

  auto g = makeDelay(static_cast<Delay::InterpolationMode>(9));
  g->SetDelay(10.4f, true);
  std::vector<float> out(128);
  g->Process(out.data(), x.data(), 64);
  g->SetInterpolationTime(1000.f);
  g->SetDelay(10.4f + 1e-3f, false);  // a glide that barely moves
  g->Process(out.data() + 64, x.data() + 64, 64);
  for (int i = 64; i < 128; ++i) ASSERT_EQ(out[i], x[i - 10]);
}

TEST(Delay, InactiveInputLeavesOutputLineAndLengthUntouched) {
  auto d = makeDelay(Delay::InterpolationLinear);
  d->SetDelay(20.f, false);
  std::vector<float> out(64, 3.f);
  std::vector<float> in(64, 1.f);
  float* outs[] = {out.data()};
  float* ins[] = {in.data()};
  short const inactive[] = {0};
  int const steps = d->GetDelayRamp().GetStepsRemaining();
  d->Process(outs, ins, 64, inactive);
  EXPECT_EQ(out, std::vector<float>(64, 3.f));
  EXPECT_EQ(d->GetWriteIndex(), 0);
  EXPECT_EQ(d->GetDelayRamp().GetStepsRemaining(), steps);
  short const active[] = {1};
  d->Process(outs, ins, 64, active);
  EXPECT_EQ(d->GetWriteIndex(), 64);
}

TEST(Delay, SampleRateChangeGlidesToTheSameDelayInTime) {
  auto d = makeDelay(Delay::InterpolationLinear);
  d->SetDelay(12.f, true);
  d->Configure(2000.f, 64, true);
  EXPECT_FLOAT_EQ(d->GetDelayRamp().GetTargetValue(), 24.f);
  EXPECT_TRUE(d->GetDelayRamp().IsRunning());
}

TEST(Delay, NoAllocationPerBlockWhileGliding) {
  auto const x = noise(4096);
  std::vector<float> out(4096);
  for (auto mode : allModes) {
    auto d = makeDelay(mode, 256);
    d->SetDelay(100.f, false);
    zorvtest::AllocationCounter counter;
    for (int done = 0; done < 4096; done += 256) {
      d->Process(out.data() + done, x.data() + done, 256);
    }
    EXPECT_EQ(counter.Count(), 0u) << "mode " << mode;
  }
}

}  // namespace
