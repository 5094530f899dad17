#include "NolarRamp.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "NolarMultiComplexRamp.h"

namespace {

using nolardsp::Complex;
using nolardsp::MultiComplexRamp;
using nolardsp::Ramp;

std::vector<float> run(Ramp& r, int total, int block) {
  std::vector<float> out(total);
  for (int done = 0; done < total; done += block) {
    r.Process(out.data() + done, std::min(block, total - done));
  }
  return out;
}

TEST(Ramp, ThirtyMillisecondsAt44100IsExactly1323StepsAndSnapsToTarget) {
  for (int block : {2000, 64, 7, 1}) {
    Ramp r;
    r.Start(1.f, 30.f);
    EXPECT_EQ(r.GetTotalSteps(), 1323);
    EXPECT_EQ(r.GetIncrement(), 1.f / 1323.f);
    auto const out = run(r, 2000, block);
    EXPECT_EQ(out[0], 0.f) << block;
    // One run computes every sample from its start; many short runs carry
    // the end of each into the next, so rounding adds up across them.
    EXPECT_NEAR(out[1322], 1322.f / 1323.f, block == 2000 ? 1e-6f : 1e-4f) << block;
    for (int k = 1; k < 1323; ++k) ASSERT_GT(out[k], out[k - 1]) << block << " " << k;
    for (int k = 1323; k < 2000; ++k) ASSERT_EQ(out[k], 1.f) << block << " " << k;
    EXPECT_FALSE(r.IsRunning());
  }
}

TEST(Ramp, ANewTargetRedirectsFromWhereTheRampStands) {
  Ramp r;
  r.Start(1.f, 30.f);
  auto const first = run(r, 500, 500);
  float const here = r.GetCurrentValue();
  EXPECT_NEAR(here, 500.f / 1323.f, 1e-6f);
  r.Start(-1.f, 30.f);
  EXPECT_EQ(r.GetStartValue(), here);
  EXPECT_EQ(r.GetStepsRemaining(), 1323);  // a full ramp from here
  auto const second = run(r, 10, 10);
  EXPECT_EQ(second[0], here);  // no jump
  EXPECT_LT(second[1], second[0]);
  EXPECT_LT(std::fabs(second[0] - first[499]), 2.f / 1323.f);
}

TEST(Ramp, JumpingKeepsOrSetsTheTimeConstantAsAsked) {
  Ramp r;
  EXPECT_EQ(r.GetTimeConstant(), Ramp::DefaultRampDuration);
  r.SetValue(0.5f, true);
  EXPECT_EQ(r.GetTimeConstant(), 30.f);
  EXPECT_EQ(r.GetCurrentValue(), 0.5f);
  EXPECT_FALSE(r.IsRunning());
  r.Start(0.25f, 0.f);
  EXPECT_EQ(r.GetTimeConstant(), 0.f);
  EXPECT_EQ(r.GetCurrentValue(), 0.25f);
  r.SetTimeConstant(10.f);
  r.SetValue(1.f, false);
  EXPECT_EQ(r.GetTotalSteps(), 441);
}

TEST(Ramp, ARateChangeKeepsTheRemainingTime) {
  Ramp r;
  r.Start(1.f, 30.f);
  run(r, 323, 323);
  r.SetSamplerate(88200.f);
  EXPECT_EQ(r.GetTotalSteps(), 2646);
  EXPECT_EQ(r.GetStepsRemaining(), 2000);
  float const before = r.GetCurrentValue();
  auto const out = run(r, 2100, 64);
  EXPECT_EQ(out[0], before);
  EXPECT_EQ(out[2000], 1.f);
  // Idle and on target: re-armed for the full length, standing still.
  r.SetSamplerate(44100.f);
  EXPECT_EQ(r.GetStepsRemaining(), 1323);
  EXPECT_EQ(r.GetIncrement(), 0.f);
  for (float v : run(r, 1400, 100)) ASSERT_EQ(v, 1.f);
  r.SetSamplerate(0.f);  // ignored
  r.SetSamplerate(NAN);  // ignored
  EXPECT_EQ(r.GetSamplerate(), 44100.f);
}

TEST(Ramp, DegenerateTimesJumpWithoutNaNOrHang) {
  Ramp r;
  r.Start(2.f, 0.001f);  // truncates to 0 samples
  EXPECT_EQ(r.GetStepsRemaining(), 0);
  auto out = run(r, 4, 4);
  for (float v : out) EXPECT_EQ(v, 2.f);
  r.Start(3.f, NAN);
  out = run(r, 4, 4);
  for (float v : out) EXPECT_EQ(v, 3.f);
  r.Start(4.f, -5.f);
  out = run(r, 4, 4);
  for (float v : out) EXPECT_EQ(v, 4.f);
  r.Start(5.f, 1e30f);  // saturates, runs
  EXPECT_GT(r.GetStepsRemaining(), 1000000);
  out = run(r, 4, 4);
  EXPECT_EQ(out[0], 4.f);
  EXPECT_TRUE(std::isfinite(out[3]));
  r.Process(out.data(), 0);
  r.Process(out.data(), -3);
}

TEST(Ramp, StepIsProcessOfOneSample) {
  Ramp r;
  r.Start(1.f, 1.f);  // 44 samples
  float previous = -1.f;
  for (int k = 0; k < 44; ++k) {
    float const v = r.Step();
    EXPECT_GT(v, previous);
    previous = v;
  }
  EXPECT_EQ(r.Step(), 1.f);
}

TEST(MultiComplexRamp, GlidesTogetherAndStaysWhereTheStepsLeaveIt) {
  MultiComplexRamp r(3);
  EXPECT_EQ(r.GetTimeConstant(), 30.f);
  Complex<float> const targets[] = {{1.f, -1.f}, {0.1f, 0.3f}, {-7.f, 0.f}};
  r.Start(targets, 30.f);
  EXPECT_EQ(r.GetTotalSteps(), 1323);
  Complex<float> const* v = r.GetValues(1000);
  EXPECT_NEAR(v[0].re, 1000.f / 1323.f, 1e-5f);
  EXPECT_NEAR(v[2].re, -7.f * 1000.f / 1323.f, 1e-4f);
  v = r.GetValues(1000);  // only 323 steps were left
  EXPECT_EQ(r.GetStepsRemaining(), 0);
  for (int i = 0; i < 3; ++i) {
    EXPECT_NEAR(v[i].re, targets[i].re, 1e-5f);
    EXPECT_NEAR(v[i].im, targets[i].im, 1e-5f);
  }
  Complex<float> const landed = v[1];
  v = r.GetValues(500);  // no snap: nothing moves any more
  EXPECT_EQ(v[1].re, landed.re);
  EXPECT_EQ(v[1].im, landed.im);
}

TEST(MultiComplexRamp, RedirectsJumpsAndResizes) {
  MultiComplexRamp r(2);
  Complex<float> const a[] = {{2.f, 0.f}, {0.f, 2.f}};
  r.Start(a, 30.f);
  r.Advance(600);
  Complex<float> const mid = r.GetCurrentValues()[0];
  Complex<float> const b[] = {{-2.f, 0.f}, {0.f, -2.f}};
  r.SetValues(b, false);
  EXPECT_EQ(r.GetCurrentValues()[0].re, mid.re);  // no jump
  EXPECT_EQ(r.GetStepsRemaining(), 1323);
  r.SetValues(a, true);
  EXPECT_EQ(r.GetCurrentValues()[1].im, 2.f);
  EXPECT_EQ(r.GetTimeConstant(), 30.f);
  r.SetNumRamps(4);
  EXPECT_EQ(r.GetCurrentValues()[1].im, 2.f);
  EXPECT_EQ(r.GetCurrentValues()[3].re, 0.f);
  // A length that truncates to 0 leaves the values where they are.
  Complex<float> const c[] = {{9.f, 9.f}, {9.f, 9.f}, {9.f, 9.f}, {9.f, 9.f}};
  r.Start(c, 0.001f);
  r.Advance(10);
  EXPECT_EQ(r.GetCurrentValues()[0].re, 2.f);
}

TEST(MultiComplexRamp, ARateChangeKeepsTheRemainingTime) {
  MultiComplexRamp r(1);
  Complex<float> const t[] = {{1.f, 1.f}};
  r.Start(t, 30.f);
  r.Advance(323);
  r.SetSamplerate(88200.f);
  EXPECT_EQ(r.GetStepsRemaining(), 2000);
  EXPECT_EQ(r.GetTotalSteps(), 2646);
  r.Advance(2000);
  EXPECT_NEAR(r.GetCurrentValues()[0].re, 1.f, 1e-5f);
}

}  // namespace
