#include "ZorvAmplitudePanning.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "NolarConstants.h"
#include "ZorvTestAllocationCounter.h"

namespace {

using nolardsp::CartesianVector;
using Zorv::AmplitudePanning;

// The smallest useful panner, and the pattern every derived panner follows:
// speakers stand on the x axis at x = 0, 1, 2, ...; a source between two of
// them is cross-faded linearly between those two. All a derived class has to
// supply is convert(); the base does the matrices, the clock and the mix.
class LinePanning : public AmplitudePanning {
 public:
  LinePanning(unsigned int n, unsigned int m) : AmplitudePanning(n, m) {}

  int convertCalls = 0;

 protected:
  void convert(CartesianVector const& position, float* gains, unsigned int) override {
    ++convertCalls;
    for (unsigned int j = 0; j < numOutputs; ++j) {
      gains[j] = std::max(0.f, 1.f - std::fabs(position.x - static_cast<float>(j)));
    }
  }
};

// A per-sample model of the gain clock, in double: where the gain of every
// element stands at every sample, written from the rules and not from the
// code. Used as the reference for whole renders.
struct ClockModel {
  unsigned int n, m;
  int length;
  int position = 0;
  std::vector<double> start, target, next;

  ClockModel(unsigned int n_, unsigned int m_, int length_)
      : n(n_), m(m_), length(length_), start(n * m), target(n * m), next(n * m) {}

  void rotate() {
    start = target;
    target = next;
    position = 0;
  }
  // Adds one sample of the mix into out (m values).
  void step(std::vector<float const*> const& in, std::size_t k, std::vector<double>& out) {
    if (position >= length) rotate();
    for (unsigned int j = 0; j < m; ++j) {
      double sum = 0;
      for (unsigned int i = 0; i < n; ++i) {
        double const s = start[m * i + j], t = target[m * i + j];
        sum += (s + (t - s) * position / length) * in[i][k];
      }
      out[j] = sum;
    }
    if (++position >= length) rotate();
  }
};

// Renders numSamples of the given inputs through a panner in blocks of
// blockSize, calling change(sample) before each block. Returns the outputs,
// channel after channel.
template <typename Change>
std::vector<std::vector<float>> render(AmplitudePanning& pan,
                                       std::vector<std::vector<float>> const& in,
                                       std::size_t numSamples, std::size_t blockSize,
                                       Change change) {
  unsigned int const m = pan.GetNumOutputs();
  std::vector<std::vector<float>> out(m, std::vector<float>(numSamples, 0.f));
  std::vector<float*> ins(in.size()), outs(m);
  for (std::size_t done = 0; done < numSamples; done += blockSize) {
    change(done);
    std::size_t const n = std::min(blockSize, numSamples - done);
    for (std::size_t i = 0; i < in.size(); ++i) ins[i] = const_cast<float*>(in[i].data()) + done;
    for (unsigned int j = 0; j < m; ++j) outs[j] = out[j].data() + done;
    pan.Process(outs.data(), ins.data(), n, nolardsp::allActiveInputs);
  }
  return out;
}

std::vector<std::vector<float>> testSignals(unsigned int n, std::size_t length) {
  std::vector<std::vector<float>> in(n, std::vector<float>(length));
  for (unsigned int i = 0; i < n; ++i) {
    for (std::size_t k = 0; k < length; ++k) {
      in[i][k] = std::sin(0.01f * static_cast<float>(k) * static_cast<float>(i + 1) + 0.3f * i);
    }
  }
  return in;
}

TEST(AmplitudePanning, PeriodIs1323SamplesAt44100For30Milliseconds) {
  LinePanning pan(1, 2);
  EXPECT_EQ(AmplitudePanning::DefaultInterpolationTime, 30.f);
  EXPECT_EQ(pan.GetRampLength(), 1323);
  pan.SetInterpolationTime(30.f);
  EXPECT_EQ(pan.GetRampLength(), 1323);
  // A new rate keeps the time: 30 ms at 48 kHz.
  pan.Configure(48000.f, 64, true);
  EXPECT_EQ(pan.GetRampLength(), 1440);
}

TEST(AmplitudePanning, RateChangeRescalesThePositionInThePeriod) {
  LinePanning pan(1, 1);
  std::vector<float> in(441, 0.f), out(441);
  float* i = in.data();
  float* o = out.data();
  pan.Process(&o, &i, 441, nolardsp::allActiveInputs);  // 10 ms into the period
  EXPECT_EQ(pan.GetRampPosition(), 441);
  pan.SetSamplerate(88200.f);
  EXPECT_EQ(pan.GetRampLength(), 2646);
  EXPECT_EQ(pan.GetRampPosition(), 882);
  pan.SetSamplerate(0.f);  // ignored
  pan.SetSamplerate(NAN);  // ignored
  EXPECT_EQ(pan.GetRampLength(), 2646);
}

TEST(AmplitudePanning, ARenderFollowsTheClockModel) {
  // Several moves, some within one period (only the last one counts), with
  // blocks that do not divide the period.
  unsigned int const n = 3, m = 4;
  std::size_t const length = 6000;
  LinePanning pan(n, m);
  auto const in = testSignals(n, length);
  float const xs[] = {0.f, 1.5f, 3.f, 2.2f, 0.7f, 1.f};
  auto move = [&](std::size_t t) {
    if (t % 700 != 0) return;
    for (unsigned int i = 0; i < n; ++i) {
      float const x = xs[(t / 700 + i) % 6];
      pan.SetSourcePosition(i, CartesianVector(x, 0.f, 0.f), false);
    }
  };
  auto const out = render(pan, in, length, 100, move);

  std::vector<float const*> ins;
  for (auto const& c : in) ins.push_back(c.data());
  std::vector<double> expected(m);
  // Replay the model with the moves at the same sample times.
  ClockModel replay(n, m, pan.GetRampLength());
  for (std::size_t k = 0; k < length; ++k) {
    if (k % 700 == 0) {
      for (unsigned int i = 0; i < n; ++i) {
        float const x = xs[(k / 700 + i) % 6];
        for (unsigned int j = 0; j < m; ++j) {
          replay.next[m * i + j] = std::max(0.f, 1.f - std::fabs(x - static_cast<float>(j)));
        }
      }
    }
    replay.step(ins, k, expected);
    for (unsigned int j = 0; j < m; ++j) {
      ASSERT_NEAR(out[j][k], expected[j], 2e-5) << "output " << j << " sample " << k;
    }
  }
}

TEST(AmplitudePanning, ABlockAcrossAPeriodBoundaryIsTwoChunks) {
  LinePanning pan(1, 2);
  std::vector<float> ones(100, 1.f), a(100), b(100);
  float* in = ones.data();
  float* outs[] = {a.data(), b.data()};
  for (int k = 0; k < 1300; k += 100) {
    pan.Process(outs, &in, static_cast<unsigned long>(std::min(100, 1300 - k)),
                nolardsp::allActiveInputs);
  }
  EXPECT_EQ(pan.GetRampPosition(), 1300);
  pan.SetSourcePosition(0, CartesianVector(0.f, 0.f, 0.f), false);  // gains (1, 0)
  pan.Process(outs, &in, 64, nolardsp::allActiveInputs);
  // First chunk: 23 samples of the old period, gains still 0 -> 0.
  for (int k = 0; k < 23; ++k) EXPECT_EQ(a[k], 0.f) << k;
  // Second chunk: the new period ramps from 0 towards 1, starting exactly at 0.
  EXPECT_EQ(a[23], 0.f);
  for (int k = 24; k < 64; ++k) {
    EXPECT_NEAR(a[k], (k - 23) / 1323.f, 1e-6f) << k;
    EXPECT_EQ(b[k], 0.f);
  }
  EXPECT_EQ(pan.GetRampPosition(), 41);
  EXPECT_EQ(pan.GetTargetGains()[0], 1.f);
  EXPECT_EQ(pan.GetStartGains()[0], 0.f);
}

TEST(AmplitudePanning, ABlockLongerThanAPeriodRotatesAtEveryBoundary) {
  LinePanning pan(1, 1);
  pan.Configure(1000.f, 64, true);
  pan.SetInterpolationTime(10.f);
  ASSERT_EQ(pan.GetRampLength(), 10);
  pan.SetSourcePosition(0, CartesianVector(0.f, 0.f, 0.f), false);  // gain 1
  std::vector<float> ones(35, 1.f), out(35);
  float* in = ones.data();
  float* o = out.data();
  pan.Process(&o, &in, 35, nolardsp::allActiveInputs);
  for (int k = 0; k < 10; ++k) EXPECT_EQ(out[k], 0.f) << k;  // first period: 0 -> 0
  for (int k = 10; k < 20; ++k) EXPECT_NEAR(out[k], (k - 10) / 10.f, 1e-6f) << k;  // 0 -> 1
  for (int k = 20; k < 35; ++k) EXPECT_EQ(out[k], 1.f) << k;  // third and fourth: 1 -> 1
  EXPECT_EQ(pan.GetRampPosition(), 5);
}

TEST(AmplitudePanning, WithNoActiveInputProcessIsSilentAndTheClockWaits) {
  LinePanning pan(2, 2);
  pan.SetSourcePosition(0, CartesianVector(0.f, 0.f, 0.f), false);
  std::vector<float> x(64, 1.f), a(64, 7.f), b(64, 7.f);
  float* ins[] = {x.data(), x.data()};
  float* outs[] = {a.data(), b.data()};
  short const none[] = {0, 0};
  pan.Process(outs, ins, 64, none);
  for (int k = 0; k < 64; ++k) ASSERT_TRUE(a[k] == 0.f && b[k] == 0.f) << k;
  EXPECT_EQ(pan.GetRampPosition(), 0);
  // ProcessAdding adds nothing, but its clock runs.
  std::fill(a.begin(), a.end(), 7.f);
  std::fill(b.begin(), b.end(), 7.f);
  pan.ProcessAdding(outs, ins, 64, none);
  for (int k = 0; k < 64; ++k) ASSERT_TRUE(a[k] == 7.f && b[k] == 7.f) << k;
  EXPECT_EQ(pan.GetRampPosition(), 64);
}

TEST(AmplitudePanning, AnInactiveInputIsNotHeardButItsGainsStayCurrent) {
  LinePanning pan(2, 2);
  pan.SetSourcePosition(0, CartesianVector(0.f, 0.f, 0.f), false);
  pan.SetSourcePosition(1, CartesianVector(1.f, 0.f, 0.f), false);
  EXPECT_EQ(pan.GetNextGains()[2], 0.f);
  EXPECT_EQ(pan.GetNextGains()[3], 1.f);
  std::vector<float> x(2000, 1.f), y(2000, 100.f), a(2000), b(2000);
  float* ins[] = {x.data(), y.data()};
  float* outs[] = {a.data(), b.data()};
  short const firstOnly[] = {1, 0};
  for (int b = 0; b < 3; ++b) pan.Process(outs, ins, 2000, firstOnly);
  for (int k = 0; k < 2000; ++k) ASSERT_TRUE(a[k] == 1.f && b[k] == 0.f) << k;
  // Only the second input active: output 0 is written (zeros), not left alone.
  short const secondOnly[] = {0, 1};
  std::fill(a.begin(), a.end(), 5.f);
  pan.Process(outs, ins, 2000, secondOnly);
  for (int k = 0; k < 2000; ++k) ASSERT_TRUE(a[k] == 0.f && b[k] == 100.f) << k;
}

TEST(AmplitudePanning, ProcessAddingAddsWhatProcessWrites) {
  unsigned int const n = 3, m = 3;
  LinePanning written(n, m), added(n, m);
  auto const in = testSignals(n, 3000);
  for (unsigned int i = 0; i < n; ++i) {
    written.SetSourcePosition(i, CartesianVector(0.8f * i, 0.f, 0.f), false);
    added.SetSourcePosition(i, CartesianVector(0.8f * i, 0.f, 0.f), false);
  }
  std::vector<std::vector<float>> w(m, std::vector<float>(3000, 3.f)), s(m);
  for (unsigned int j = 0; j < m; ++j) {
    s[j].resize(3000);
    for (int k = 0; k < 3000; ++k) s[j][k] = 0.25f * static_cast<float>(j) - 0.001f * k;
  }
  auto const base = s;
  std::vector<float*> ins, wo(m), so(m);
  for (auto const& c : in) ins.push_back(const_cast<float*>(c.data()));
  for (int done = 0; done < 3000; done += 500) {
    for (unsigned int j = 0; j < m; ++j) {
      wo[j] = w[j].data() + done;
      so[j] = s[j].data() + done;
    }
    std::vector<float*> io(ins);
    for (auto& p : io) p += done;
    written.Process(wo.data(), io.data(), 500, nolardsp::allActiveInputs);
    added.ProcessAdding(so.data(), io.data(), 500, nolardsp::allActiveInputs);
  }
  for (unsigned int j = 0; j < m; ++j) {
    for (int k = 0; k < 3000; ++k) {
      ASSERT_NEAR(s[j][k], base[j][k] + w[j][k], 1e-5f) << j << " " << k;
    }
  }
}

// The ramp must not know about blocks: the same render in blocks of 1, 7, 64
// and 512 samples agrees to rounding while gains move, and exactly where they
// stand still. Moves fall on multiples of every block size, so each render
// sees them at the same sample.
TEST(AmplitudePanning, BlockSizeDoesNotBendTheRamp) {
  unsigned int const n = 4, m = 5;
  std::size_t const every = 7 * 512, length = 6 * every;
  auto const in = testSignals(n, length);
  auto renderWith = [&](std::size_t block) {
    LinePanning pan(n, m);
    return render(pan, in, length, block, [&](std::size_t t) {
      if (t % every != 0) return;
      for (unsigned int i = 0; i < n; ++i) {
        float const x = static_cast<float>((t / every + 2 * i) % 5) * 0.9f;
        pan.SetSourcePosition(i, CartesianVector(x, 0.f, 0.f), false);
      }
    });
  };
  auto const reference = renderWith(1);
  int const period = 1323;
  for (std::size_t block : {7u, 64u, 512u}) {
    auto const out = renderWith(block);
    for (unsigned int j = 0; j < m; ++j) {
      for (std::size_t k = 0; k < length; ++k) {
        // A move at t is ramped during the period after the boundary that
        // follows t; in every other period the gains stand still.
        std::size_t const moveAt = k / every * every;
        std::size_t const rampStart = (moveAt / period + 1) * period;
        bool const standing = k < rampStart || k >= rampStart + period;
        if (standing && k >= period) {
          ASSERT_EQ(out[j][k], reference[j][k]) << "block " << block << " sample " << k;
        } else {
          ASSERT_NEAR(out[j][k], reference[j][k], 1e-4f * (1.f + std::fabs(reference[j][k])))
              << "block " << block << " sample " << k;
        }
      }
    }
  }
}

TEST(AmplitudePanning, ARampFollowsOneLineAndLandsOnTheTarget) {
  LinePanning pan(1, 2);
  std::size_t const length = 3 * 1323;
  std::vector<std::vector<float>> ones(1, std::vector<float>(length, 1.f));
  auto const out = render(pan, ones, length, 7, [&](std::size_t t) {
    if (t == 0) pan.SetSourcePosition(0, CartesianVector(0.25f, 0.f, 0.f), false);
  });
  for (std::size_t k = 1323; k < 2646; ++k) {
    double const f = static_cast<double>(k - 1323) / 1323.0;
    ASSERT_NEAR(out[0][k], 0.75 * f, 1e-6) << k;
    ASSERT_NEAR(out[1][k], 0.25 * f, 1e-6) << k;
  }
  for (std::size_t k = 2646; k < length; ++k) {
    ASSERT_EQ(out[0][k], 0.75f);
    ASSERT_EQ(out[1][k], 0.25f);
  }
}

TEST(AmplitudePanning, APeriodOfNoLengthStillEndsEveryBlock) {
  LinePanning pan(1, 1);
  pan.SetInterpolationTime(0.f);
  EXPECT_EQ(pan.GetRampLength(), 0);
  pan.SetSourcePosition(0, CartesianVector(0.f, 0.f, 0.f), false);
  std::vector<float> ones(64, 1.f), out(64, -1.f);
  float* in = ones.data();
  float* o = out.data();
  // Returning at all is the proof that the chunk loop ends.
  pan.Process(&o, &in, 64, nolardsp::allActiveInputs);
  for (float v : out) ASSERT_EQ(v, 1.f);  // gains follow nextGains, without a ramp
  pan.ProcessAdding(&o, &in, 64, nolardsp::allActiveInputs);
  for (float v : out) ASSERT_EQ(v, 2.f);
  pan.SetInterpolationTime(NAN);
  EXPECT_EQ(pan.GetRampLength(), 0);
  pan.SetInterpolationTime(-5.f);
  EXPECT_EQ(pan.GetRampLength(), 0);
  pan.Process(&o, &in, 64, nolardsp::allActiveInputs);
  for (float v : out) ASSERT_EQ(v, 1.f);
}

TEST(AmplitudePanning, APeriodShortenedBelowThePositionEndsAtOnce) {
  LinePanning pan(1, 1);
  std::vector<float> ones(1000, 1.f), out(1000);
  float* in = ones.data();
  float* o = out.data();
  pan.Process(&o, &in, 1000, nolardsp::allActiveInputs);
  pan.SetSourcePosition(0, CartesianVector(0.f, 0.f, 0.f), false);
  pan.SetInterpolationTime(10.f);  // 441 samples, position 1000
  ASSERT_EQ(pan.GetRampLength(), 441);
  pan.Process(&o, &in, 1000, nolardsp::allActiveInputs);
  // The period ends before the first sample: the move ramps over 441
  // samples from there, then stands.
  EXPECT_EQ(out[0], 0.f);
  EXPECT_NEAR(out[220], 220.f / 441.f, 1e-6f);
  EXPECT_EQ(out[441], 1.f);
  EXPECT_EQ(out[999], 1.f);
  EXPECT_EQ(pan.GetRampPosition(), 1000 - 2 * 441);
}

TEST(AmplitudePanning, ClearAndANewSignalChainKeepTheGains) {
  LinePanning pan(1, 1);
  pan.SetSourcePosition(0, CartesianVector(0.f, 0.f, 0.f), false);
  std::vector<float> ones(3000, 1.f), out(3000);
  float* in = ones.data();
  float* o = out.data();
  pan.Process(&o, &in, 3000, nolardsp::allActiveInputs);
  pan.Configure(44100.f, 512, true);
  EXPECT_EQ(pan.GetStartGains()[0], 1.f);
  EXPECT_EQ(pan.GetTargetGains()[0], 1.f);
  // Same rate: the position goes through milliseconds and back.
  EXPECT_NEAR(pan.GetRampPosition(), 3000 - 2 * 1323, 1);
  pan.Process(&o, &in, 64, nolardsp::allActiveInputs);
  EXPECT_EQ(out[0], 1.f);
}

TEST(AmplitudePanning, SettersRunConvertForEverySourceThroughTheVirtualSlot) {
  LinePanning pan(3, 3);
  CartesianVector const positions[] = {{0.f, 0.f, 0.f}, {1.f, 0.f, 0.f}, {2.f, 0.f, 0.f}};
  pan.SetSourcePositions(positions);
  EXPECT_EQ(pan.convertCalls, 3);
  for (unsigned int i = 0; i < 3; ++i) {
    for (unsigned int j = 0; j < 3; ++j) EXPECT_EQ(pan.GetNextGains()[3 * i + j], i == j ? 1 : 0);
  }
  pan.SetSourcePosition(7, positions[0], false);  // out of range: ignored
  EXPECT_EQ(pan.convertCalls, 3);
  EXPECT_EQ(pan.GetSourcePositions()[2].x, 2.f);
}

TEST(AmplitudePanning, BlocksAllocateNothing) {
  unsigned int const n = 8, m = 8;
  LinePanning pan(n, m);
  auto const in = testSignals(n, 512);
  std::vector<std::vector<float>> out(m, std::vector<float>(512));
  std::vector<float*> ins, outs;
  for (auto const& c : in) ins.push_back(const_cast<float*>(c.data()));
  for (auto& c : out) outs.push_back(c.data());
  short const someActive[] = {1, 0, 1, 1, 0, 1, 1, 1};
  for (unsigned int i = 0; i < n; ++i) {
    pan.SetSourcePosition(i, CartesianVector(static_cast<float>(i) * 0.7f, 0.f, 0.f), false);
  }
  zorvtest::AllocationCounter counter;
  for (int b = 0; b < 12; ++b) {  // several boundaries, ramps and standing periods
    pan.Process(outs.data(), ins.data(), 512, b % 3 ? nolardsp::allActiveInputs : someActive);
    pan.ProcessAdding(outs.data(), ins.data(), 512, someActive);
  }
  EXPECT_EQ(counter.Count(), 0u);
}

}  // namespace
