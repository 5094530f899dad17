// The "direct" renderer: moving sources, fades, loads while blocks run, and
// the real-time rules of its block routine.

#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <limits>
#include <string>
#include <thread>
#include <vector>

#include "NolarConstants.h"
#include "NolarException.h"
#include "ZorvBinauralPanningDirect.h"
#include "ZorvHrtf.h"
#include "ZorvHrtf2bKemar44100.h"
#include "ZorvHrtfSdifFileWriter.h"
#include "ZorvTestAllocationCounter.h"

namespace {

using nolardsp::CartesianVector;
using Zorv::BinauralPanningDirect;

double const pi = 3.14159265358979323846;
char const* const kemarSofa = "/usr/share/libmysofa/MIT_KEMAR_normal_pinna.sofa";

bool exists(char const* path) {
  std::ifstream f(path);
  return f.good();
}

CartesianVector onCircle(double azimuthRadians, double radius = 1.) {
  return CartesianVector(static_cast<float>(radius * std::sin(azimuthRadians)),
                         static_cast<float>(radius * std::cos(azimuthRadians)), 0.f);
}

// A file of this process in the temporary folder: builds of several kinds
// may run their tests at the same time.
std::string tempPath(std::string const& name) {
  return ::testing::TempDir() + std::to_string(getpid()) + "-" + name;
}

// The built-in table as a .coll file, its rate in the name.
std::string writeColl(std::string const& name) {
  std::string const path = tempPath(name);
  std::FILE* f = std::fopen(path.c_str(), "w");
  for (int row = 0; row < 710; ++row) {
    std::fprintf(f, "%d,", row + 1);
    for (int c = 0; c < 26; ++c) std::fprintf(f, " %.9g", Zorv::hrtf_2b_KEMAR_44100[row][c]);
    std::fprintf(f, ";\n");
  }
  std::fclose(f);
  return path;
}

// Blocks of a sine through a renderer: the outputs are filled with NaN before
// each block, so a block that is not written shows.
class Runner {
 public:
  Runner(BinauralPanningDirect& pan, unsigned int block, double frequency, float rate)
      : pan(pan),
        block(block),
        in(block),
        left(block),
        right(block),
        frequency(frequency),
        rate(rate) {}

  void run() {
    for (unsigned int k = 0; k < block; ++k) {
      in[k] = static_cast<float>(std::sin(2. * pi * frequency * static_cast<double>(n + k) / rate));
    }
    float const nan = std::numeric_limits<float>::quiet_NaN();
    std::fill(left.begin(), left.end(), nan);
    std::fill(right.begin(), right.end(), nan);
    float* ins[] = {in.data()};
    float* outs[] = {left.data(), right.data()};
    pan.Process(outs, ins, block, nolardsp::allActiveInputs);
    n += block;
  }

  BinauralPanningDirect& pan;
  unsigned int block;
  std::vector<float> in, left, right;
  double frequency;
  float rate;
  long long n = 0;
};

// A source that goes once around the head in 2 s, its position sent every
// block, on a 250 Hz sine. A sine's steps are at most its slope times its
// level, and a source at rest stays within 1.0 of that; a moving one, whose
// filters are faded from one direction to the next, within 1.5 (the fades
// add a little of higher frequencies, some 40 dB down). A click, a filter or
// delay that jumps, is a step of the order of the level itself: thirty
// times the bound.
TEST(BinauralPanningDirect, ASweepingSourceNeverClicksAndEveryBlockIsWritten) {
  float const rate = 48000.f;
  double const f = 250.;
  double const slope = 2. * pi * f / rate;
  for (unsigned int block : {1u, 16u, 64u, 512u}) {
    BinauralPanningDirect pan(1, 2);
    pan.Configure(rate, block, true);
    pan.SetSourcePosition(0, onCircle(0.), true);
    Runner r(pan, block, f, rate);
    std::vector<float> left, right;
    long long const total = static_cast<long long>(2.5 * rate);
    while (r.n < total) {
      double const t = static_cast<double>(r.n) / rate;
      pan.SetSourcePosition(0, onCircle(2. * pi * std::min(t, 2.) / 2.), false);
      r.run();
      left.insert(left.end(), r.left.begin(), r.left.end());
      right.insert(right.end(), r.right.begin(), r.right.end());
    }
    SCOPED_TRACE(::testing::Message() << "block " << block);
    int const window = static_cast<int>(rate / f) + 1;  // one period
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
    // At rest at the end the source is still heard: no fade was left hanging.
    float last = 0.f;
    for (std::size_t k = left.size() - 2400; k < left.size(); ++k) {
      last = std::max(last, std::fabs(left[k]));
    }
    EXPECT_GT(last, 0.05f);
  }
}

// A source that moves within one cell of the grid changes nothing: its
// output is, bit for bit, that of a source that stayed.
TEST(BinauralPanningDirect, AMoveWithinOneCellTouchesNeitherFilterNorDelay) {
  BinauralPanningDirect still(1, 2), moved(1, 2);
  for (BinauralPanningDirect* p : {&still, &moved}) {
    p->Configure(48000.f, 64, true);
    p->SetITDType(Zorv::BinauralPanning::SphericalHeadWoodworthModel);
    p->SetSourcePosition(0, onCircle(30. * pi / 180.), true);
  }
  Runner a(still, 64, 440., 48000.f), b(moved, 64, 440., 48000.f);
  for (int k = 0; k < 20; ++k) {
    moved.SetSourcePosition(0, onCircle((30. + 0.1 * (k % 3)) * pi / 180., 1. + 0.01 * k), false);
    a.run();
    b.run();
    ASSERT_EQ(a.left, b.left);
    ASSERT_EQ(a.right, b.right);
  }
}

TEST(BinauralPanningDirect, FilesItCannotUseAreRefusedAndTheSetStays) {
  BinauralPanningDirect pan(1, 2);
  Zorv::HrtfHeaderInfos const before = *pan.GetHrtfHeaderInfos();
  for (char const* path : {"foo.shb", "foo.wav", "basis.SHB", "none"}) {
    EXPECT_FALSE(pan.LoadFromFile(path)) << path;
  }
  EXPECT_THROW(pan.LoadFromFile("/nonexistent/set.sofa"), nolardsp::Exception);
  EXPECT_THROW(pan.LoadFromFile("/nonexistent/set.coll"), nolardsp::Exception);
  EXPECT_EQ(pan.GetHrtfHeaderInfos()->numPoints, before.numPoints);
  EXPECT_EQ(pan.GetHrtfHeaderInfos()->sampleRate, before.sampleRate);
  EXPECT_TRUE(pan.IsDefaultSet());
  EXPECT_TRUE(pan.LoadFromFile("kemar"));
  EXPECT_EQ(pan.GetFilterType(), Zorv::BinauralPanning::BiquadFiltering);
}

// The built-in set follows the running rate where it has a table for it.
TEST(BinauralPanningDirect, TheBuiltInSetFollowsTheRate) {
  BinauralPanningDirect pan(1, 2);
  pan.Configure(48000.f, 64, true);
  unsigned int const expected = Zorv::Hrtf::HasBuiltInSetAt(48000) ? 48000u : 44100u;
  EXPECT_EQ(pan.GetHrtfHeaderInfos()->sampleRate, expected);
  pan.Configure(44100.f, 64, true);
  EXPECT_EQ(pan.GetHrtfHeaderInfos()->sampleRate, 44100u);
  unsigned int setRate = 0, runningRate = 0;
  EXPECT_FALSE(pan.TakeSampleRateNotice(setRate, runningRate));
}

TEST(BinauralPanningDirect, ASetMadeForAnotherRateIsNoticedOnce) {
  std::string const coll = writeColl("binaural-rate-44100.coll");
  BinauralPanningDirect pan(1, 2);
  pan.Configure(48000.f, 64, true);
  ASSERT_TRUE(pan.LoadFromFile(coll.c_str()));
  unsigned int setRate = 0, runningRate = 0;
  EXPECT_TRUE(pan.TakeSampleRateNotice(setRate, runningRate));
  EXPECT_EQ(setRate, 44100u);
  EXPECT_EQ(runningRate, 48000u);
  EXPECT_FALSE(pan.TakeSampleRateNotice(setRate, runningRate));
  pan.Configure(44100.f, 64, true);
  EXPECT_FALSE(pan.TakeSampleRateNotice(setRate, runningRate));
  std::remove(coll.c_str());
}

// Blocks with sources moving, fades running and a new set fading in: no
// allocation in any of them.
TEST(BinauralPanningDirect, ProcessAllocatesNothing) {
  BinauralPanningDirect pan(8, 2);
  pan.Configure(48000.f, 64, true);
  std::vector<float> in(64, 0.1f), l(64), r(64);
  std::vector<float*> ins(8, in.data());
  float* outs[] = {l.data(), r.data()};
  for (int round = 0; round < 2; ++round) {
    for (int b = 0; b < 200; ++b) {
      pan.SetSourcePosition(b % 8, onCircle(b * 0.37), false);
      zorvtest::AllocationCounter counter;
      pan.Process(outs, ins.data(), 64, nolardsp::allActiveInputs);
      ASSERT_EQ(counter.Count(), 0u) << "block " << b;
    }
    // The set is loaded again: the next blocks take the new bank and fade.
    ASSERT_TRUE(pan.LoadFromFile("kemar"));
  }
}

// One thread loads sets over and over while another runs blocks: every block
// is finite, and the sets in turn are those loaded.
TEST(BinauralPanningDirect, LoadingWhileBlocksRunIsSafe) {
  std::string const coll = writeColl("binaural-load-44100.coll");
  std::string const biquads = tempPath("binaural-load-biquads.hrtf");
  std::string const fir = tempPath("binaural-load-fir.hrtf");
  Zorv::HrtfSdifFileWriter::Write(Zorv::Hrtf("", 44100), biquads, "test");
  std::vector<std::string> paths = {"kemar", coll, biquads};
  if (exists(kemarSofa)) {
    Zorv::HrtfSdifFileWriter::Write(Zorv::Hrtf(kemarSofa, 44100), fir, "test");
    paths.push_back(fir);
    paths.push_back(kemarSofa);
  }
  BinauralPanningDirect pan(4, 2);
  pan.Configure(44100.f, 64, true);
  std::atomic<bool> stop(false);
  std::atomic<long> blocks(0);
  std::atomic<bool> allFinite(true);
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
  // A SOFA load takes a second (the file is large): it comes once, the
  // others three times.
  for (int round = 0; round < 3; ++round) {
    for (std::string const& p : paths) {
      if (round > 0 && p == kemarSofa) continue;
      bool loaded = false;
      try {
        loaded = pan.LoadFromFile(p.c_str());
      } catch (nolardsp::Exception const&) {
      }
      EXPECT_TRUE(loaded) << p;
      for (int k = 0; k < 20; ++k) {
        pan.SetSourcePosition(k % 4, onCircle(k * 0.9 + round, 1.5), false);
      }
      pan.SetFIRFiltersImplementationMethod(round % 2 == 0 ? "fft" : "timedomain");
      pan.SetFilterCrossFadeTime(round % 3 == 0 ? 0.f : 5.f);
    }
  }
  stop = true;
  audio.join();
  EXPECT_TRUE(allFinite.load());
  EXPECT_GT(blocks.load(), 0);
  for (std::string const& f : {coll, biquads, fir}) std::remove(f.c_str());
}

}  // namespace
