#include "NolarSignalProcessing.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#if defined(__SSE__)
#include <xmmintrin.h>
#endif

namespace {

using nolardsp::SignalProcessing;

// Records the virtual calls Configure makes.
class Recorder : public SignalProcessing {
 public:
  Recorder(unsigned int n, unsigned int m) : SignalProcessing(n, m, DefaultSampleRate, 512) {}
  void Process(float**, float**, unsigned long, short const*) override {}
  void SetSamplerate(float rate) override {
    calls += "rate ";
    samplerate = rate;
  }
  void SetMaxBlockSize(unsigned int size) override {
    calls += "block ";
    maxBlockSize = size;
  }
  void Clear() override { calls += "clear "; }
  std::string calls;
};

// Channels of a block, each filled with its index + 1 (outputs with junk).
struct Block {
  std::vector<std::vector<float>> data;
  std::vector<float*> pointers;
  Block(unsigned int channels, unsigned long n, float base) : data(channels) {
    for (unsigned int c = 0; c < channels; ++c) {
      data[c].assign(n, base + static_cast<float>(c));
      pointers.push_back(data[c].data());
    }
  }
};

#if defined(__SSE__)
// Leaves the thread's floating-point mode as it found it.
class DenormalMode : public ::testing::Test {
 protected:
  void SetUp() override {
    saved = _mm_getcsr();
    _mm_setcsr(saved & ~0x8040u);
  }
  void TearDown() override { _mm_setcsr(saved); }
  unsigned int saved = 0;
};

TEST_F(DenormalMode, ConfigureFlushesDenormalsEvenWhenNothingChanges) {
  volatile float tiny = 1e-20f;
  volatile float product = tiny * tiny;
  ASSERT_NE(product, 0.f);  // a denormal while the mode is off
  ASSERT_FALSE(SignalProcessing::DenormalsAreFlushed());

  Recorder r(1, 1);
  r.Configure(SignalProcessing::DefaultSampleRate, 512, false);
  EXPECT_EQ(r.calls, "");
  EXPECT_TRUE(SignalProcessing::DenormalsAreFlushed());
  product = tiny * tiny;
  EXPECT_EQ(product, 0.f);  // flush to zero
  volatile float denormal = 1e-40f;
  volatile float one = 1.f;
  volatile float scaled = denormal * one;
  EXPECT_EQ(scaled, 0.f);  // denormal operand taken as zero
}
#endif

TEST(SignalProcessing, ConfigureCallsRateThenBlockThenClear) {
  Recorder r(1, 1);
  r.Configure(SignalProcessing::DefaultSampleRate, 512, true);
  EXPECT_EQ(r.calls, "rate block clear ");
  r.calls.clear();
  r.Configure(48000.f, 512, false);
  EXPECT_EQ(r.calls, "rate block clear ");
  r.calls.clear();
  r.Configure(48000.f, 64, false);
  EXPECT_EQ(r.calls, "rate block clear ");
  r.calls.clear();
  r.Configure(48000.f, 64, false);
  EXPECT_EQ(r.calls, "");
  EXPECT_EQ(r.GetSamplerate(), 48000.f);
  EXPECT_EQ(r.GetMaxBlockSize(), 64u);
}

TEST(SignalProcessing, BypassDropsExtraInputsAndZerosExtraOutputs) {
  short const active[] = {1, 0, 1, 1};
  {
    Recorder more(4, 2);  // more inputs than outputs
    Block in(4, 9, 1.f), out(2, 9, 100.f);
    more.Bypass(out.pointers.data(), in.pointers.data(), 9, active);
    for (int k = 0; k < 9; ++k) {
      EXPECT_EQ(out.data[0][k], 1.f);
      EXPECT_EQ(out.data[1][k], 0.f);  // inactive input: zeros, whatever it holds
    }
  }
  {
    Recorder fewer(2, 4);  // more outputs than inputs
    Block in(2, 9, 1.f), out(4, 9, 100.f);
    short const both[] = {1, 1};
    fewer.Bypass(out.pointers.data(), in.pointers.data(), 9, both);
    for (int k = 0; k < 9; ++k) {
      EXPECT_EQ(out.data[0][k], 1.f);
      EXPECT_EQ(out.data[1][k], 2.f);
      EXPECT_EQ(out.data[2][k], 0.f);
      EXPECT_EQ(out.data[3][k], 0.f);
    }
  }
}

TEST(SignalProcessing, MuteZerosEveryOutput) {
  Recorder r(1, 3);
  Block out(3, 5, 100.f);
  r.Mute(out.pointers.data(), 5);
  for (auto const& c : out.data) {
    for (float v : c) EXPECT_EQ(v, 0.f);
  }
}

}  // namespace
