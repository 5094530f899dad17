#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <vector>

#include "NolarConstants.h"
#include "ZorvNullPanning.h"
#include "ZorvPanTestLayouts.h"
#include "ZorvStereoABPanning.h"
#include "ZorvStereoMSPanning.h"
#include "ZorvStereoXYPanning.h"
#include "ZorvTestAllocationCounter.h"

// The coincident (XY, MS) and spaced (AB) microphone pairs.
namespace {

using nolardsp::CartesianVector;
using Zorv::AmplitudePanning;
using Zorv::Pan;
using Zorv::StereoABPanning;
using namespace zorvtest;

// A point at a user azimuth (degrees, clockwise from the front).
CartesianVector at(float azimuth, float radius = 1.f, float elevation = 0.f) {
  return fromDegrees(90.f - azimuth, elevation, radius);
}

std::vector<float> gainsFor(AmplitudePanning& p, CartesianVector const& q) {
  p.SetSourcePosition(0, q, false);
  return std::vector<float>(p.GetNextGains(), p.GetNextGains() + 2);
}

TEST(StereoPairPanning, OnlyTwoOutputsAreServed) {
  for (char const* type : {"xy", "ms", "ab"}) {
    for (unsigned int m : {1u, 3u, 8u}) {
      std::unique_ptr<Pan> p(Pan::Factory(1, m, type, "direct"));
      EXPECT_NE(dynamic_cast<Zorv::NullPanning*>(p.get()), nullptr) << type << " " << m;
    }
    std::unique_ptr<Pan> p(Pan::Factory(3, 2, type, "direct"));
    EXPECT_EQ(dynamic_cast<Zorv::NullPanning*>(p.get()), nullptr) << type;
    EXPECT_EQ(p->GetNumOutputs(), 2u);
    EXPECT_EQ(p->GetNumInputs(), 3u);
  }
}

TEST(StereoXYPanning, CardioidPairGainsAtTheMarkedAngles) {
  Zorv::StereoXYPanning p(1, 2);
  struct Case {
    float azimuth, left, right;
  } const cases[] = {{0.f, 0.70710f, 0.70710f},   {45.f, 0.41421f, 0.82842f},
                     {-45.f, 0.82842f, 0.41421f}, {90.f, 0.12132f, 0.70710f},
                     {180.f, 0.12132f, 0.12132f}, {-135.f, 0.41421f, 0.f}};
  for (auto const& c : cases) {
    auto const g = gainsFor(p, at(c.azimuth));
    EXPECT_NEAR(g[0], c.left, 2e-5f) << c.azimuth;
    EXPECT_NEAR(g[1], c.right, 2e-5f) << c.azimuth;
  }
  // The middle of the image, and sources that lie towards it.
  for (auto const& q : {CartesianVector(0.f, 0.f, 0.f), CartesianVector(0.f, 0.f, 3.f)}) {
    auto const g = gainsFor(p, q);
    EXPECT_NEAR(g[0], 0.41421f, 1e-6f);
    EXPECT_NEAR(g[1], 0.41421f, 1e-6f);
  }
  auto const half = gainsFor(p, at(45.f, 0.5f));
  EXPECT_NEAR(half[1], (0.82842f + 0.41421f) / 2.f, 2e-5f);
}

TEST(StereoMSPanning, MidAndSideGainsAtTheMarkedAngles) {
  Zorv::StereoMSPanning p(1, 2);
  struct Case {
    float azimuth, mid, side;
  } const cases[] = {{0.f, 1.f, 0.f}, {90.f, 0.5f, -0.5f}, {-90.f, 0.5f, 0.5f}, {180.f, 0.f, 0.f}};
  for (auto const& c : cases) {
    auto const g = gainsFor(p, at(c.azimuth));
    EXPECT_NEAR(g[0], c.mid, 1e-6f) << c.azimuth;
    EXPECT_NEAR(g[1], c.side, 1e-6f) << c.azimuth;
  }
  auto const g = gainsFor(p, CartesianVector(0.f, 0.f, 0.f));
  EXPECT_NEAR(g[0], 0.5f, 1e-6f);
  EXPECT_NEAR(g[1], 0.f, 1e-6f);
}

TEST(StereoPairPanning, MirroredSourceMirrorsTheImage) {
  Zorv::StereoXYPanning xy(1, 2);
  Zorv::StereoMSPanning ms(1, 2);
  for (float a = 0.f; a <= 180.f; a += 7.5f) {
    for (float radius : {0.4f, 1.f, 2.f}) {
      auto const gl = gainsFor(xy, at(-a, radius, 10.f));
      auto const gr = gainsFor(xy, at(a, radius, 10.f));
      EXPECT_NEAR(gl[0], gr[1], 1e-5f) << a;
      EXPECT_NEAR(gl[1], gr[0], 1e-5f) << a;
      auto const ml = gainsFor(ms, at(-a, radius, 10.f));
      auto const mr = gainsFor(ms, at(a, radius, 10.f));
      EXPECT_NEAR(ml[0], mr[0], 1e-5f) << a;   // mid is symmetric
      EXPECT_NEAR(ml[1], -mr[1], 1e-5f) << a;  // side changes sign
    }
  }
}

// Renders an impulse through a one-source AB pair at 48 kHz and returns each
// channel's impulse response.
struct Responses {
  std::vector<float> left, right;
};

Responses impulseResponses(CartesianVector const& source) {
  StereoABPanning p(1);
  p.Configure(48000.f, 64, true);
  p.SetSourcePosition(0, source, true);
  std::vector<float> in(256, 0.f), left(256), right(256);
  in[0] = 1.f;
  float* ins[] = {in.data()};
  float* outs[] = {left.data(), right.data()};
  for (int b = 0; b < 4; ++b) {
    float* i[] = {ins[0] + 64 * b};
    float* o[] = {outs[0] + 64 * b, outs[1] + 64 * b};
    p.Process(o, i, 64, nolardsp::allActiveInputs);
  }
  return {left, right};
}

// Arrival time in samples (the centroid of a linearly interpolated impulse is
// its fractional delay) and the gain it arrives with.
void arrival(std::vector<float> const& h, double& time, double& gain) {
  double sum = 0., moment = 0.;
  for (std::size_t k = 0; k < h.size(); ++k) {
    sum += h[k];
    moment += h[k] * static_cast<double>(k);
  }
  time = moment / sum;
  gain = sum;
}

TEST(StereoABPanning, ChannelDelayFollowsThePathDifferenceToEachMicrophone) {
  // The pair: 17 cm apart on the left-right axis. Far sources, 340 m/s.
  CartesianVector const leftMic(-0.085f, 0.f, 0.f), rightMic(0.085f, 0.f, 0.f);
  auto distance = [](CartesianVector a, CartesianVector b) {
    return std::sqrt(double(a.x - b.x) * (a.x - b.x) + double(a.y - b.y) * (a.y - b.y) +
                     double(a.z - b.z) * (a.z - b.z));
  };
  for (float a : {-90.f, -60.f, -20.f, 0.f, 35.f, 90.f, 150.f, 180.f}) {
    CartesianVector const s = at(a, 200.f);
    double const expected = (distance(s, leftMic) - distance(s, rightMic)) / 340. * 48000.;
    auto const h = impulseResponses(s);
    double tl, gl, tr, gr;
    arrival(h.left, tl, gl);
    arrival(h.right, tr, gr);
    EXPECT_NEAR(tl - tr, expected, 0.02) << a;
    // And both around 1 ms.
    EXPECT_NEAR((tl + tr) / 2., 48., 0.01) << a;
  }
}

TEST(StereoABPanning, MiddleOfTheImageHasEqualDelaysAndGains) {
  auto const h = impulseResponses(CartesianVector(0.f, 0.f, 0.f));
  double tl, gl, tr, gr;
  arrival(h.left, tl, gl);
  arrival(h.right, tr, gr);
  EXPECT_NEAR(tl, 48., 1e-3);
  EXPECT_NEAR(tr, 48., 1e-3);
  EXPECT_NEAR(gl, 0.44936, 1e-5);
  EXPECT_NEAR(gr, 0.44936, 1e-5);
  // A source on the right: louder and earlier on the right.
  auto const r = impulseResponses(at(90.f, 3.f));
  arrival(r.left, tl, gl);
  arrival(r.right, tr, gr);
  EXPECT_LT(tr, tl);
  EXPECT_GT(gr, gl);
}

TEST(StereoABPanning, SeveralSourcesAreTheSumOfEachAlone) {
  unsigned int const n = 3;
  int const block = 32, blocks = 20;
  std::vector<CartesianVector> const where = {at(-70.f, 2.f), at(10.f, 0.5f), at(120.f, 1.f)};
  std::vector<std::vector<float>> in(n, std::vector<float>(block * blocks));
  for (unsigned int i = 0; i < n; ++i) {
    for (int k = 0; k < block * blocks; ++k) in[i][k] = std::sin(0.05f * k * (i + 1) + i);
  }
  auto render = [&](std::vector<unsigned int> const& sources) {
    StereoABPanning p(n);
    p.Configure(48000.f, block, true);
    for (unsigned int i = 0; i < n; ++i) p.SetSourcePosition(i, where[i], true);
    short active[n] = {0, 0, 0};
    for (unsigned int i : sources) active[i] = 1;
    std::vector<float> l(block * blocks), r(block * blocks);
    for (int b = 0; b < blocks; ++b) {
      float* ins[n];
      for (unsigned int i = 0; i < n; ++i) ins[i] = in[i].data() + b * block;
      float* outs[] = {l.data() + b * block, r.data() + b * block};
      p.Process(outs, ins, block, active);
    }
    return std::make_pair(l, r);
  };
  auto const all = render({0, 1, 2});
  std::vector<float> l(block * blocks, 0.f), r(block * blocks, 0.f);
  for (unsigned int i = 0; i < n; ++i) {
    auto const one = render({i});
    for (int k = 0; k < block * blocks; ++k) {
      l[k] += one.first[k];
      r[k] += one.second[k];
    }
  }
  for (int k = 0; k < block * blocks; ++k) {
    ASSERT_NEAR(all.first[k], l[k], 1e-5f) << k;
    ASSERT_NEAR(all.second[k], r[k], 1e-5f) << k;
  }
}

TEST(StereoABPanning, BlocksAllocateNothingWhileDelaysGlide) {
  for (unsigned int n : {1u, 3u}) {
    StereoABPanning p(n);
    p.Configure(44100.f, 64, true);
    p.SetInterpolationTime(50.f);
    std::vector<std::vector<float>> in(n, std::vector<float>(64, 0.5f));
    std::vector<std::vector<float>> out(2, std::vector<float>(64));
    std::vector<float*> ins, outs;
    for (auto& c : in) ins.push_back(c.data());
    for (auto& c : out) outs.push_back(c.data());
    zorvtest::AllocationCounter counter;
    for (int b = 0; b < 100; ++b) {
      for (unsigned int i = 0; i < n; ++i) p.SetSourcePosition(i, at(11.f * b + 90.f * i), false);
      p.Process(outs.data(), ins.data(), 64, nolardsp::allActiveInputs);
      EXPECT_TRUE(p.GetVoice(0).left.GetDelayRamp().IsRunning());
    }
    EXPECT_EQ(counter.Count(), 0u);
    for (auto const& c : out) EXPECT_TRUE(allFinite(c));
  }
}

TEST(StereoABPanning, InterpolationTimeReachesEveryDelayAndGain) {
  StereoABPanning p(2);
  p.SetInterpolationTime(80.f);
  for (unsigned int i = 0; i < 2; ++i) {
    auto const& v = p.GetVoice(i);
    EXPECT_EQ(v.left.GetInterpolationTime(), 80.f);
    EXPECT_EQ(v.right.GetInterpolationTime(), 80.f);
    EXPECT_EQ(v.leftGain.GetTimeConstant(), 80.f);
    EXPECT_EQ(v.rightGain.GetTimeConstant(), 80.f);
  }
  p.SetNumInputs(4);
  EXPECT_EQ(p.GetVoice(3).left.GetInterpolationTime(), 80.f);
  EXPECT_EQ(p.GetSourcePositions().size(), 4u);
}

}  // namespace
