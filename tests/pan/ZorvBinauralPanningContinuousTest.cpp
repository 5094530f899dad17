// The "continuous" renderer: its ring of virtual speakers, level through a
// full turn, mixing, long blocks, loads, and the real-time rules.

#include <gtest/gtest.h>
#include <malloc.h>

#include <atomic>
#include <cmath>
#include <fstream>
#include <limits>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "NolarConstants.h"
#include "NolarException.h"
#include "ZorvBinauralPanningContinuous.h"
#include "ZorvHrtfHeaderInfos.h"
#include "ZorvNullPanning.h"
#include "ZorvTestAllocationCounter.h"

namespace {

using nolardsp::CartesianVector;
using Zorv::BinauralPanningContinuous;

double const pi = 3.14159265358979323846;

CartesianVector onCircle(double azimuthRadians, double radius = 1., double z = 0.) {
  return CartesianVector(static_cast<float>(radius * std::sin(azimuthRadians)),
                         static_cast<float>(radius * std::cos(azimuthRadians)),
                         static_cast<float>(z));
}

// Tones of 500, 2000 and 6000 Hz: whole periods in every 10 ms at 48 kHz.
float tones(long long n) {
  double const t = static_cast<double>(n) / 48000.;
  return static_cast<float>(0.3 * std::sin(2. * pi * 500. * t) +
                            0.3 * std::sin(2. * pi * 2000. * t) +
                            0.3 * std::sin(2. * pi * 6000. * t));
}

// Renders numSamples of each source's own signal (source i is the tones
// delayed by 37 i samples), in blocks; NaN before each block shows one that
// is not written.
struct Render {
  std::vector<float> left, right;
};

Render render(BinauralPanningContinuous& pan, unsigned int numSources, unsigned int block,
              long long numSamples, bool adding = false) {
  Render out;
  std::vector<std::vector<float>> in(numSources, std::vector<float>(block));
  std::vector<float*> ins;
  for (auto& v : in) ins.push_back(v.data());
  std::vector<float> l(block), r(block);
  float* outs[] = {l.data(), r.data()};
  for (long long n = 0; n < numSamples; n += block) {
    for (unsigned int i = 0; i < numSources; ++i) {
      for (unsigned int k = 0; k < block; ++k) in[i][k] = tones(n + k - 37 * i);
    }
    float const fill = adding ? 0.f : std::numeric_limits<float>::quiet_NaN();
    std::fill(l.begin(), l.end(), fill);
    std::fill(r.begin(), r.end(), fill);
    if (adding) {
      pan.ProcessAdding(outs, ins.data(), block, nolardsp::allActiveInputs);
    } else {
      pan.Process(outs, ins.data(), block, nolardsp::allActiveInputs);
    }
    out.left.insert(out.left.end(), l.begin(), l.end());
    out.right.insert(out.right.end(), r.begin(), r.end());
  }
  return out;
}

// Every instance has its own ring, made of the set's horizontal directions
// once each, and a refused load leaves it as it was.
TEST(BinauralPanningContinuous, EachInstanceHasItsOwnRingOfDistinctAzimuths) {
  BinauralPanningContinuous first(1, 2);
  unsigned int const count = first.GetNumVirtualSpeakers();
  ASSERT_GE(count, 3u);
  double previous = -10.;
  for (unsigned int k = 0; k < count; ++k) {
    CartesianVector const& s = first.GetVirtualSpeaker(k);
    EXPECT_NEAR(s.z, 0.f, 1e-6f);
    double const a = std::atan2(s.x, s.y);
    EXPECT_GT(a - previous, 1e-3) << k;
    previous = a;
  }
  EXPECT_FALSE(first.LoadFromFile("set.wav"));
  EXPECT_THROW(first.LoadFromFile("/nonexistent/set.coll"), nolardsp::Exception);
  EXPECT_EQ(first.GetNumVirtualSpeakers(), count);
  BinauralPanningContinuous second(4, 2);
  EXPECT_EQ(second.GetNumVirtualSpeakers(), count);
  EXPECT_TRUE(second.LoadFromFile("kemar"));
  EXPECT_EQ(second.GetNumVirtualSpeakers(), count);
  EXPECT_EQ(first.GetNumVirtualSpeakers(), count);
  // The measured KEMAR set: an FIR set whose horizontal row has 72 directions.
  if (std::ifstream("/usr/share/libmysofa/MIT_KEMAR_normal_pinna.sofa").good()) {
    ASSERT_TRUE(second.LoadFromFile("/usr/share/libmysofa/MIT_KEMAR_normal_pinna.sofa"));
    EXPECT_EQ(second.GetFilterType(), Zorv::BinauralPanning::FirFiltering);
    EXPECT_EQ(second.GetNumVirtualSpeakers(), 72u);
    Render const r = render(second, 4, 512, 4096);
    float peak = 0.f;
    for (float v : r.left) peak = std::max(peak, std::fabs(v));
    EXPECT_TRUE(std::isfinite(peak));
    EXPECT_GT(peak, 0.01f);
  }
}

// A source that goes once round the head in 10 s: its level (both ears'
// power over 10 ms) moves by at most 0.5 dB from one 10 ms to the next, and
// nothing that is not a number comes out.
TEST(BinauralPanningContinuous, AFullTurnChangesLevelSmoothly) {
  float const rate = 48000.f;
  unsigned int const block = 64;
  BinauralPanningContinuous pan(1, 2);
  pan.Configure(rate, block, true);
  pan.SetSourcePosition(0, onCircle(0.), true);
  std::vector<float> in(block), l(block), r(block);
  float* ins[] = {in.data()};
  float* outs[] = {l.data(), r.data()};
  long long const total = static_cast<long long>(10.5 * rate);
  std::vector<double> levels;
  double power = 0.;
  int inWindow = 0;
  for (long long n = 0; n < total; n += block) {
    double const t = std::min(10., static_cast<double>(n) / rate);
    pan.SetSourcePosition(0, onCircle(2. * pi * t / 10.), false);
    for (unsigned int k = 0; k < block; ++k) in[k] = tones(n + k);
    pan.Process(outs, ins, block, nolardsp::allActiveInputs);
    for (unsigned int k = 0; k < block; ++k) {
      ASSERT_TRUE(std::isfinite(l[k]) && std::isfinite(r[k])) << n + k;
      power += static_cast<double>(l[k]) * l[k] + static_cast<double>(r[k]) * r[k];
      if (++inWindow == 480) {
        levels.push_back(10. * std::log10(power / 480. + 1e-30));
        power = 0.;
        inWindow = 0;
      }
    }
  }
  double worst = 0.;
  for (std::size_t k = 2; k < levels.size(); ++k) {
    worst = std::max(worst, std::fabs(levels[k] - levels[k - 1]));
  }
  EXPECT_LT(worst, 0.5);
  EXPECT_GT(levels.back(), -20.);
}

// Several sources are the sum of each alone: Process and ProcessAdding both
// hear every source.
TEST(BinauralPanningContinuous, SourcesMix) {
  for (unsigned int count : {2u, 8u}) {
    SCOPED_TRACE(::testing::Message() << count << " sources");
    BinauralPanningContinuous all(count, 2);
    all.Configure(48000.f, 128, true);
    std::vector<float> sumLeft(4800, 0.f), sumRight(4800, 0.f);
    for (unsigned int i = 0; i < count; ++i) {
      CartesianVector const p = onCircle(0.3 + 2. * pi * i / count, 1.5, 0.1 * i);
      all.SetSourcePosition(i, p, true);
      // Alone: the same source, the others at the same places but silent.
      BinauralPanningContinuous alone(count, 2);
      alone.Configure(48000.f, 128, true);
      alone.SetSourcePosition(i, p, true);
      std::vector<float> in(128), zero(128, 0.f), l(128), r(128);
      std::vector<float*> ins(count, zero.data());
      ins[i] = in.data();
      float* outs[] = {l.data(), r.data()};
      for (int n = 0; n < 4800; n += 128) {
        for (int k = 0; k < 128; ++k) in[k] = tones(n + k - 37 * static_cast<int>(i));
        alone.Process(outs, ins.data(), 128, nolardsp::allActiveInputs);
        for (int k = 0; k < 128 && n + k < 4800; ++k) {
          sumLeft[n + k] += l[k];
          sumRight[n + k] += r[k];
        }
      }
    }
    Render const mixed = render(all, count, 128, 4800);
    BinauralPanningContinuous adding(count, 2);
    adding.Configure(48000.f, 128, true);
    for (unsigned int i = 0; i < count; ++i) {
      adding.SetSourcePosition(i, onCircle(0.3 + 2. * pi * i / count, 1.5, 0.1 * i), true);
    }
    Render const added = render(adding, count, 128, 4800, true);
    float peak = 0.f;
    for (int k = 0; k < 4800; ++k) {
      ASSERT_NEAR(mixed.left[k], sumLeft[k], 1e-4f) << k;
      ASSERT_NEAR(mixed.right[k], sumRight[k], 1e-4f) << k;
      // ProcessAdding leaves out the stereo level of Process.
      ASSERT_NEAR(added.left[k] * 0.70710677f, mixed.left[k], 1e-4f) << k;
      peak = std::max(peak, std::fabs(mixed.left[k]));
    }
    EXPECT_GT(peak, 0.1f);
  }
}

// Blocks longer than the default work buffers: the same sound as short ones.
TEST(BinauralPanningContinuous, LongBlocksSoundLikeShortOnes) {
  BinauralPanningContinuous shortBlocks(2, 2);
  shortBlocks.Configure(48000.f, 64, true);
  Render reference;
  for (unsigned int block : {64u, 1024u, 2048u}) {
    BinauralPanningContinuous pan(2, 2);
    pan.Configure(48000.f, block, true);
    pan.SetSourcePosition(0, onCircle(1.), true);
    pan.SetSourcePosition(1, onCircle(-2.2, 2.), true);
    Render const r = render(pan, 2, block, 8192);
    if (block == 64) {
      reference = r;
      continue;
    }
    for (std::size_t k = 0; k < 8192; ++k) {
      ASSERT_NEAR(r.left[k], reference.left[k], 1e-4f) << block << " " << k;
      ASSERT_NEAR(r.right[k], reference.right[k], 1e-4f) << block << " " << k;
    }
  }
  // A block longer than the size given is rendered in parts.
  BinauralPanningContinuous pan(1, 2);
  pan.Configure(48000.f, 256, true);
  Render const r = render(pan, 1, 2048, 4096);
  for (float v : r.left) ASSERT_TRUE(std::isfinite(v));
}

// Blocks with sources moving and a new set fading in allocate nothing.
TEST(BinauralPanningContinuous, ProcessAllocatesNothing) {
  BinauralPanningContinuous pan(8, 2);
  pan.Configure(48000.f, 64, true);
  std::vector<float> in(64, 0.1f), l(64), r(64);
  std::vector<float*> ins(8, in.data());
  float* outs[] = {l.data(), r.data()};
  for (int round = 0; round < 2; ++round) {
    for (int b = 0; b < 200; ++b) {
      pan.SetSourcePosition(b % 8, onCircle(b * 0.37), false);
      zorvtest::AllocationCounter counter;
      pan.Process(outs, ins.data(), 64, nolardsp::allActiveInputs);
      pan.ProcessAdding(outs, ins.data(), 64, nolardsp::allActiveInputs);
      ASSERT_EQ(counter.Count(), 0u) << "block " << b;
    }
    ASSERT_TRUE(pan.LoadFromFile("kemar"));
  }
}

// Instances made and freed over and over leave the heap where it was.
TEST(BinauralPanningContinuous, InstancesLeaveTheHeapFlat) {
#if defined(__SANITIZE_ADDRESS__)
  GTEST_SKIP() << "the sanitizer keeps freed memory in quarantine";
#else
  auto cycle = [] {
    auto pan = std::make_unique<BinauralPanningContinuous>(4, 2);
    pan->Configure(48000.f, 512, true);
    pan->LoadFromFile("kemar");
    render(*pan, 4, 512, 2048);
  };
  cycle();
  std::size_t const before = mallinfo2().uordblks;
  for (int k = 0; k < 20; ++k) cycle();
  std::size_t const after = mallinfo2().uordblks;
  EXPECT_LT(after, before + 64 * 1024);
#endif
}

// One thread loads sets while another runs blocks: every block is finite.
TEST(BinauralPanningContinuous, LoadingWhileBlocksRunIsSafe) {
  BinauralPanningContinuous pan(4, 2);
  pan.Configure(48000.f, 64, true);
  std::atomic<bool> stop(false);
  std::atomic<bool> allFinite(true);
  std::atomic<long> blocks(0);
  std::thread audio([&] {
    std::vector<float> in(64), l(64), r(64);
    std::vector<float*> ins(4, in.data());
    float* outs[] = {l.data(), r.data()};
    long n = 0;
    while (!stop.load()) {
      for (int k = 0; k < 64; ++k) in[k] = std::sin(0.05f * static_cast<float>(n++));
      pan.Process(outs, ins.data(), 64, nolardsp::allActiveInputs);
      for (int k = 0; k < 64; ++k) {
        if (!std::isfinite(l[k]) || !std::isfinite(r[k])) allFinite = false;
      }
      ++blocks;
    }
  });
  for (int round = 0; round < 6; ++round) {
    EXPECT_TRUE(pan.LoadFromFile("kemar"));
    for (int k = 0; k < 40; ++k) pan.SetSourcePosition(k % 4, onCircle(k * 0.9 + round), false);
    pan.SetFilterCrossFadeTime(round % 2 == 0 ? 0.f : 5.f);
  }
  while (blocks.load() < 50) std::this_thread::yield();
  stop = true;
  audio.join();
  EXPECT_TRUE(allFinite.load());
}

TEST(BinauralPanningContinuous, TheFactoryMakesItOnTwoOutputsOnly) {
  std::unique_ptr<Zorv::Pan> made(Zorv::Pan::Factory(3, 2, "binaural", "continuous"));
  EXPECT_NE(dynamic_cast<BinauralPanningContinuous*>(made.get()), nullptr);
  std::unique_ptr<Zorv::Pan> wrong(Zorv::Pan::Factory(3, 4, "binaural", "continuous"));
  EXPECT_NE(dynamic_cast<Zorv::NullPanning*>(wrong.get()), nullptr);
}

}  // namespace
