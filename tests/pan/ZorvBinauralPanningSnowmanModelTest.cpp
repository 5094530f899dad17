// The snowman: a head above a torso, the torso's reflection and its shadow.

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <limits>
#include <vector>

#include "NolarException.h"
#include "ZorvBinauralPanningSnowmanModel.h"
#include "ZorvTestAllocationCounter.h"

namespace {

using nolardsp::CartesianVector;
using Zorv::BinauralPanningSnowmanModel;
using Snowman = BinauralPanningSnowmanModel::SnowmanProcessing;

double const pi = 3.14159265358979323846;
float const rate = 48000.f;

struct Render {
  std::vector<float> left, right;
};

// Feeds an impulse at sample 0 and keeps `length` samples of both ears.
Render impulse(BinauralPanningSnowmanModel& pan, unsigned int length = 1024) {
  unsigned int const block = 64;
  std::vector<float> in(block, 0.f), l(block), r(block);
  float* outs[2] = {l.data(), r.data()};
  float* ins[1] = {in.data()};
  short const active[1] = {1};
  Render out;
  in[0] = 1.f;
  for (unsigned int done = 0; done < length; done += block) {
    pan.Process(outs, ins, block, active);
    in[0] = 0.f;
    out.left.insert(out.left.end(), l.begin(), l.end());
    out.right.insert(out.right.end(), r.begin(), r.end());
  }
  return out;
}

int peakIndex(std::vector<float> const& h, int from, int to) {
  int best = from;
  for (int k = from; k < to; ++k) {
    if (std::fabs(h[k]) > std::fabs(h[best])) best = k;
  }
  return best;
}

double bandEnergy(std::vector<float> const& h, double low, double high) {
  double e = 0.;
  for (double f = low; f <= high; f += 100.) {
    std::complex<double> s = 0.;
    for (std::size_t k = 0; k < h.size(); ++k) {
      s += static_cast<double>(h[k]) * std::polar(1., -2. * pi * f * k / rate);
    }
    e += std::norm(s);
  }
  return e;
}

Render impulseAt(CartesianVector const& p, float reflection) {
  BinauralPanningSnowmanModel pan(1, 2);
  pan.Configure(rate, 64, true);
  pan.SetTorsoReflectionCoefficient(reflection);
  pan.SetSourcePosition(0, p, true);
  return impulse(pan);
}

// The torso's part of an ear's response: the response with the default
// coefficient, less the direct path alone (coefficient 0) at the scale the
// mix gives it.
std::vector<float> reflectionOf(std::vector<float> const& withTorso,
                                std::vector<float> const& directOnly, float c) {
  std::vector<float> r(withTorso.size());
  for (std::size_t k = 0; k < r.size(); ++k) r[k] = withTorso[k] - directOnly[k] / (1.f + c);
  return r;
}

// Above the head both ears hear the shoulders' reflection about a millisecond
// after the sound itself; below, the torso hides the source and there is no
// reflection at all, and its shadow takes the highs.
TEST(BinauralPanningSnowmanModel, TheTorsoReflectsSoundFromAboveAndShadowsSoundFromBelow) {
  float const c = BinauralPanningSnowmanModel::DefaultTorsoReflectionCoefficient;
  CartesianVector const above(0.3f, 0.5f, 2.f), below(0.3f, 0.5f, -2.f);
  Render const up = impulseAt(above, c), upDirect = impulseAt(above, 0.f);
  Render const down = impulseAt(below, c), downDirect = impulseAt(below, 0.f);
  for (int ear = 0; ear < 2; ++ear) {
    SCOPED_TRACE(ear == 0 ? "left" : "right");
    std::vector<float> const& h = ear == 0 ? up.left : up.right;
    std::vector<float> const& direct = ear == 0 ? upDirect.left : upDirect.right;
    int const first = peakIndex(direct, 0, 400);
    std::vector<float> const torso = reflectionOf(h, direct, c);
    int const second = peakIndex(torso, 0, 400);
    double const lag = (second - first) * 1000. / rate;
    EXPECT_GE(lag, 0.6);
    EXPECT_LE(lag, 1.5);
    // A distinct arrival, not the tail of the direct sound.
    EXPECT_GT(std::fabs(torso[second]), 0.1 * std::fabs(direct[first]));

    std::vector<float> const& hidden = ear == 0 ? down.left : down.right;
    std::vector<float> const& hiddenDirect = ear == 0 ? downDirect.left : downDirect.right;
    for (std::size_t k = 0; k < hidden.size(); ++k) ASSERT_EQ(hidden[k], hiddenDirect[k]) << k;
    EXPECT_LT(bandEnergy(hidden, 4000., 8000.), 0.5 * bandEnergy(h, 4000., 8000.));
  }
}

// A source that goes down past the torso's shadow edge (for both ears) while
// a 250 Hz sine plays, its position sent every block. The bound is that of
// the renderer from measurements: a moving source's steps stay within 1.5
// times the sine's own largest step.
TEST(BinauralPanningSnowmanModel, CrossingTheShadowEdgeDoesNotClick) {
  double const f = 250.;
  double const slope = 2. * pi * f / rate;
  for (unsigned int block : {1u, 64u, 512u}) {
    for (double sideways : {0., 1.}) {
      BinauralPanningSnowmanModel pan(1, 2);
      pan.Configure(rate, block, true);
      auto at = [sideways](double t) {
        // Elevation from -30 to -90 degrees in 2 s, in front or to the right.
        double const e = (-30. - 60. * std::min(t, 2.) / 2.) * pi / 180.;
        double const h = std::cos(e);
        return CartesianVector(static_cast<float>(h * sideways),
                               static_cast<float>(h * (1. - sideways)),
                               static_cast<float>(std::sin(e)));
      };
      pan.SetSourcePosition(0, at(0.), true);
      std::vector<float> in(block), l(block), r(block), left, right;
      float* ins[1] = {in.data()};
      float* outs[2] = {l.data(), r.data()};
      short const active[1] = {1};
      bool shadowedLeft = false, shadowedRight = false;
      long long n = 0;
      while (n < static_cast<long long>(2.5 * rate)) {
        pan.SetSourcePosition(0, at(static_cast<double>(n) / rate), false);
        shadowedLeft |= pan.GetVoice(0).left.IsShadowed();
        shadowedRight |= pan.GetVoice(0).right.IsShadowed();
        for (float& v : in) v = static_cast<float>(std::sin(slope * static_cast<double>(n++)));
        pan.Process(outs, ins, block, active);
        left.insert(left.end(), l.begin(), l.end());
        right.insert(right.end(), r.begin(), r.end());
      }
      SCOPED_TRACE(::testing::Message() << "block " << block << " sideways " << sideways);
      EXPECT_TRUE(shadowedLeft && shadowedRight);
      int const window = static_cast<int>(rate / f) + 1;
      for (std::vector<float> const* y : {&left, &right}) {
        std::vector<float> const& v = *y;
        int const size = static_cast<int>(v.size());
        float worst = 0.f;
        for (int k = 0; k < size; ++k) ASSERT_TRUE(std::isfinite(v[k])) << k;
        for (int k = 4800; k < size; ++k) {
          float peak = 0.f;
          for (int j = std::max(0, k - window); j < std::min(size, k + window); ++j) {
            peak = std::max(peak, std::fabs(v[j]));
          }
          float const step = std::fabs(v[k] - v[k - 1]);
          worst = std::max(worst, step / (static_cast<float>(slope) * peak + 1e-4f));
        }
        EXPECT_LT(worst, 1.5f);
      }
    }
  }
}

// The reflection's gain and the direct part's scale glide over the
// interpolation time when the shadow flag flips, instead of jumping.
TEST(BinauralPanningSnowmanModel, TheReflectionFadesOutOverTheInterpolationTime) {
  BinauralPanningSnowmanModel pan(1, 2);
  pan.Configure(rate, 64, true);
  pan.SetSourcePosition(0, CartesianVector(0.f, 1.f, 0.f), true);
  Snowman const& right = pan.GetVoice(0).right;
  EXPECT_FALSE(right.IsShadowed());
  EXPECT_NEAR(right.GetReflectedGain().GetCurrentValue(), 0.3f / 1.3f, 1e-6f);
  pan.SetSourcePosition(0, CartesianVector(0.f, 0.f, -1.f), false);
  EXPECT_TRUE(right.IsShadowed());
  // The block after the change starts the ramps.
  std::vector<float> in(64, 0.f), l(64), r(64);
  float* ins[1] = {in.data()};
  float* outs[2] = {l.data(), r.data()};
  short const active[1] = {1};
  pan.Process(outs, ins, 64, active);
  EXPECT_TRUE(right.GetReflectedGain().IsRunning());
  EXPECT_EQ(right.GetReflectedGain().GetTotalSteps(), 1440);  // 30 ms
  EXPECT_FLOAT_EQ(right.GetReflectedGain().GetTargetValue(), 0.f);
  EXPECT_FLOAT_EQ(right.GetDirectGain().GetTargetValue(), 1.f);
}

TEST(BinauralPanningSnowmanModel, SettingsAndTheirLimits) {
  BinauralPanningSnowmanModel pan(2, 2);
  pan.Configure(rate, 64, true);
  EXPECT_THROW(pan.LoadFromFile("any.sofa"), nolardsp::Exception);
  EXPECT_EQ(pan.GetHrtfHeaderInfos(), nullptr);
  pan.SetTorsoReflectionCoefficient(2.f);
  EXPECT_FLOAT_EQ(pan.GetTorsoReflectionCoefficient(), 1.f);
  EXPECT_FLOAT_EQ(pan.GetVoice(1).left.GetReflectionCoefficient(), 1.f);
  pan.SetTorsoReflectionCoefficient(-1.f);
  EXPECT_FLOAT_EQ(pan.GetTorsoReflectionCoefficient(), 0.f);
  EXPECT_FLOAT_EQ(pan.GetVoice(0).right.GetReflectionCoefficient(), 0.f);

  // The torso stays where the panner put it; its radius is kept where the
  // geometry holds.
  CartesianVector const centre = pan.GetTorsoCenter();
  EXPECT_FLOAT_EQ(centre.z, -(0.0875f + 0.169f + 0.053f));
  pan.SetListenerHeadRadius(0.f);
  EXPECT_FLOAT_EQ(pan.GetListenerHeadRadius(), 0.01f);
  pan.SetListenerNeckHeight(0.3f);
  pan.SetListenerTorsoRadius(0.f);
  EXPECT_FLOAT_EQ(pan.GetTorsoCenter().z, centre.z);
  EXPECT_FLOAT_EQ(pan.GetEffectiveTorsoRadius(), BinauralPanningSnowmanModel::MinTorsoRadius);
  pan.SetListenerTorsoRadius(5.f);
  float const L = std::hypot(0.01f, centre.z);
  EXPECT_FLOAT_EQ(pan.GetEffectiveTorsoRadius(), 0.9f * L);

  EXPECT_FLOAT_EQ(Snowman::Tau(3.1415927f, 1.f), 0.f);
  EXPECT_NEAR(Snowman::Tau(0.f, 1.f), 0.f, 1e-7f);
  EXPECT_NEAR(Snowman::Tau(2.f, 0.1f), (2.f - 0.5707964f) * 0.29411764f, 1e-6f);
}

// At the limits of every setting, with sources at the centre of the head, at
// an ear, inside the torso and beyond a float's square: every sample finite
// and bounded (two shelves of at most 6 dB each on the direct path).
TEST(BinauralPanningSnowmanModel, NoSettingOrPositionGivesNaN) {
  float const inf = std::numeric_limits<float>::infinity();
  BinauralPanningSnowmanModel pan(1, 2);
  pan.Configure(rate, 64, true);
  for (float head : {0.f, 0.0875f, 1e30f}) {
    for (float torso : {0.f, 0.169f, 0.3f, 1e30f}) {
      for (float c : {0.f, 1.f}) {
        pan.SetListenerHeadRadius(head);
        pan.SetListenerTorsoRadius(torso);
        pan.SetTorsoReflectionCoefficient(c);
        float const ear = pan.GetListenerHeadRadius();
        for (CartesianVector p :
             {CartesianVector(0.f, 0.f, 0.f), CartesianVector(ear, 0.f, 0.f),
              CartesianVector(-ear, 0.f, 0.f), pan.GetTorsoCenter(),
              CartesianVector(0.f, 0.f, -1.f), CartesianVector(1.5e38f, -1.5e38f, 1e30f),
              CartesianVector(inf, std::nanf(""), -inf)}) {
          pan.SetSourcePosition(0, p, false);
          Render const r = impulse(pan, 128);
          for (std::vector<float> const* v : {&r.left, &r.right}) {
            for (float s : *v) {
              ASSERT_TRUE(std::isfinite(s)) << head << " " << torso << " " << p.x;
              ASSERT_LE(std::fabs(s), 4.01f);
            }
          }
        }
      }
    }
  }
}

// The centre of the head is heard as the front is.
TEST(BinauralPanningSnowmanModel, TheCentreOfTheHeadSoundsLikeTheFront) {
  Render const centre = impulseAt(CartesianVector(0.f, 0.f, 0.f),
                                  BinauralPanningSnowmanModel::DefaultTorsoReflectionCoefficient);
  Render const front = impulseAt(CartesianVector(0.f, 3.f, 0.f),
                                 BinauralPanningSnowmanModel::DefaultTorsoReflectionCoefficient);
  for (std::size_t k = 0; k < centre.left.size(); ++k) {
    ASSERT_FLOAT_EQ(centre.left[k], front.left[k]);
    ASSERT_FLOAT_EQ(centre.right[k], front.right[k]);
  }
}

TEST(BinauralPanningSnowmanModel, ProcessAllocatesNothing) {
  unsigned int const sources = 8, block = 64;
  BinauralPanningSnowmanModel pan(sources, 2);
  pan.Configure(rate, block, true);
  std::vector<std::vector<float>> in(sources, std::vector<float>(block, 0.25f));
  std::vector<float> l(block), r(block);
  std::vector<float*> ins;
  for (auto& v : in) ins.push_back(v.data());
  float* outs[2] = {l.data(), r.data()};
  std::vector<short> active(sources, 1);
  for (int b = 0; b < 50; ++b) {
    for (unsigned int i = 0; i < sources; ++i) {
      float const e = static_cast<float>(std::sin(0.1 * b + i));
      pan.SetSourcePosition(i, CartesianVector(std::cos(e), 0.2f * i, 2.f * e), false);
    }
    zorvtest::AllocationCounter counter;
    pan.Process(outs, ins.data(), block, active.data());
    ASSERT_EQ(counter.Count(), 0u);
  }
}

}  // namespace
