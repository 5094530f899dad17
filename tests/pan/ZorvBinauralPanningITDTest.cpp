// The "early" renderer: a delay and a gain per ear.

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <vector>

#include "NolarConstants.h"
#include "ZorvBinauralPanningITD.h"
#include "ZorvNullPanning.h"
#include "ZorvTestAllocationCounter.h"

namespace {

using nolardsp::CartesianVector;
using Zorv::BinauralPanningITD;

// Where a delayed impulse stands, in samples: the centre of its weight, which
// for a linearly interpolated delay is the delay itself.
double centreOf(std::vector<float> const& x) {
  double sum = 0., moment = 0.;
  for (std::size_t k = 0; k < x.size(); ++k) {
    sum += x[k];
    moment += static_cast<double>(k) * x[k];
  }
  return moment / sum;
}

struct Render {
  std::vector<float> left, right;
};

// An impulse at sample 0 through a one-source renderer at rest on position p.
Render impulseResponse(CartesianVector const& p, float rate = 48000.f) {
  BinauralPanningITD pan(1, 2);
  unsigned int const block = 64;
  pan.Configure(rate, block, true);
  pan.SetSourcePosition(0, p, true);
  Render r;
  std::vector<float> in(block, 0.f), l(block), rr(block);
  in[0] = 1.f;
  float* ins[] = {in.data()};
  float* outs[] = {l.data(), rr.data()};
  for (int b = 0; b < 4; ++b) {
    pan.Process(outs, ins, block, nolardsp::allActiveInputs);
    r.left.insert(r.left.end(), l.begin(), l.end());
    r.right.insert(r.right.end(), rr.begin(), rr.end());
    in[0] = 0.f;
  }
  return r;
}

TEST(BinauralPanningITD, DelaysAndGainsOfTheSidesTheFrontAndTheCentre) {
  BinauralPanningITD pan(3, 2);
  pan.SetSourcePosition(0, CartesianVector(1.f, 0.f, 0.f), true);
  pan.SetSourcePosition(1, CartesianVector(0.f, 1.f, 0.f), true);
  pan.SetSourcePosition(2, CartesianVector(0.f, 0.f, 0.f), true);
  float const rate = pan.GetSamplerate();
  auto ms = [rate](nolardsp::Delay const& d) {
    return d.GetDelayRamp().GetTargetValue() * 1000.f / rate;
  };
  BinauralPanningITD::Voice const& right = pan.GetVoice(0);
  EXPECT_NEAR(ms(right.leftDelay), 1.35f, 1e-4f);
  EXPECT_NEAR(ms(right.rightDelay), 0.65f, 1e-4f);
  EXPECT_NEAR(right.leftGain.GetTargetValue(), 0.35710677f, 1e-6f);
  EXPECT_NEAR(right.rightGain.GetTargetValue(), 1.05710677f, 1e-6f);
  for (unsigned int i : {1u, 2u}) {
    BinauralPanningITD::Voice const& v = pan.GetVoice(i);
    EXPECT_NEAR(ms(v.leftDelay), 1.f, 1e-4f);
    EXPECT_NEAR(ms(v.rightDelay), 1.f, 1e-4f);
    EXPECT_NEAR(v.leftGain.GetTargetValue(), 0.70710677f, 1e-6f);
    EXPECT_NEAR(v.rightGain.GetTargetValue(), 0.70710677f, 1e-6f);
  }
  EXPECT_FALSE(pan.LoadFromFile("kemar"));
  EXPECT_EQ(pan.GetHrtfHeaderInfos(), nullptr);
}

// The interaural delay heard at the outputs is that of the formula:
// 0.7 ms cos(e) sin(azimuth) min(D, 1), the right ear leading on the right.
TEST(BinauralPanningITD, RenderedItdFollowsTheFormula) {
  double const pi = 3.14159265358979323846;
  struct Case {
    double azimuthDeg, elevationDeg, distance;
  } const cases[] = {{90, 0, 2}, {-90, 0, 1}, {30, 0, 1}, {-135, 20, 3}, {60, -40, 0.5}, {0, 0, 1}};
  for (Case const& c : cases) {
    double const a = c.azimuthDeg * pi / 180., e = c.elevationDeg * pi / 180.;
    CartesianVector const p(static_cast<float>(c.distance * std::cos(e) * std::sin(a)),
                            static_cast<float>(c.distance * std::cos(e) * std::cos(a)),
                            static_cast<float>(c.distance * std::sin(e)));
    Render const r = impulseResponse(p);
    double const itdMs = (centreOf(r.left) - centreOf(r.right)) / 48.;
    double const expected = 0.7 * std::cos(e) * std::sin(a) * std::min(c.distance, 1.);
    EXPECT_NEAR(itdMs, expected, 1e-4) << c.azimuthDeg << " " << c.elevationDeg;
  }
}

// An input that is muted or not connected leaves silence, with one source as
// with several, whatever was there before.
TEST(BinauralPanningITD, InactiveInputsLeaveSilence) {
  for (unsigned int n : {1u, 3u}) {
    BinauralPanningITD pan(n, 2);
    pan.Configure(48000.f, 32, true);
    std::vector<std::vector<float>> in(n, std::vector<float>(32, 0.5f));
    std::vector<float*> ins;
    for (auto& v : in) ins.push_back(v.data());
    std::vector<float> l(32, 7.f), r(32, 7.f);
    float* outs[] = {l.data(), r.data()};
    std::vector<short> active(n, 0);
    pan.Process(outs, ins.data(), 32, active.data());
    for (int k = 0; k < 32; ++k) ASSERT_TRUE(l[k] == 0.f && r[k] == 0.f) << n;
  }
}

TEST(BinauralPanningITD, ProcessAllocatesNothingWhileSourcesMove) {
  BinauralPanningITD pan(4, 2);
  pan.Configure(48000.f, 64, true);
  std::vector<float> in(64, 0.25f), l(64), r(64);
  float* ins[] = {in.data(), in.data(), in.data(), in.data()};
  float* outs[] = {l.data(), r.data()};
  zorvtest::AllocationCounter counter;
  for (int b = 0; b < 50; ++b) {
    pan.SetSourcePosition(b % 4, CartesianVector(std::sin(b * 0.1f), std::cos(b * 0.1f), 0.f),
                          false);
    pan.Process(outs, ins, 64, nolardsp::allActiveInputs);
  }
  EXPECT_EQ(counter.Count(), 0u);
}

TEST(BinauralPanningITD, TwoOutputsOrNothing) {
  std::unique_ptr<Zorv::Pan> p(BinauralPanningITD::Create(2, 3));
  EXPECT_NE(dynamic_cast<Zorv::NullPanning*>(p.get()), nullptr);
  p.reset(BinauralPanningITD::Create(1, 2));
  EXPECT_EQ(dynamic_cast<Zorv::NullPanning*>(p.get()), nullptr);
}

}  // namespace
