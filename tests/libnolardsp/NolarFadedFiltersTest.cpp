#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <limits>
#include <random>
#include <thread>
#include <vector>

#include "NolarFadedBiquadCascade.h"
#include "NolarFadedFirFilter.h"
#include "NolarFadedFirTimeDomain.h"
#include "ZorvTestAllocationCounter.h"

namespace {

using nolardsp::CrossFadeType;
using nolardsp::FadedBiquadCascade;
using nolardsp::FadedFirFilter;
using nolardsp::FadedFirTimeDomain;
using nolardsp::FirTimeDomain;
using State = nolardsp::FadedFilters<FirTimeDomain>;

std::vector<float> noise(size_t n, unsigned seed) {
  std::mt19937 gen(seed);
  std::uniform_real_distribution<float> dist(-1.f, 1.f);
  std::vector<float> x(n);
  for (float& v : x) v = dist(gen);
  return x;
}

// Gains of the outgoing and incoming filter at weight w in [0, 1], in double.
void lawGains(int law, double w, double& outgoing, double& incoming) {
  double const halfPi = 1.5707963267948966;
  if (law == nolardsp::CrossFadeLinear) {
    outgoing = 1.0 - w;
    incoming = w;
  } else {
    outgoing = std::cos(w * halfPi);
    incoming = std::sin(w * halfPi);
    if (law == nolardsp::CrossFadeSquareCosine) {
      outgoing *= outgoing;
      incoming *= incoming;
    }
  }
}

// The direct-form FIR hands over exactly (the incoming filter copies the
// history), so during a fade the output is the law's mix of two plain filters
// run on the same input from the start. Both directions of the cycle are
// checked: A -> B (states 2, 3, 1) and B -> C (states 4, 5, 0).
class FadeLaws : public ::testing::TestWithParam<std::tuple<int, unsigned long>> {};

TEST_P(FadeLaws, OutputIsTheLawsMixAndEndsOnTheNewFilterAlone) {
  int const law = std::get<0>(GetParam());
  unsigned long const block = std::get<1>(GetParam());
  unsigned int const order = 12;
  float const rate = 1000.f;  // milliseconds are samples
  float const fadeMs = 48.f;  // a multiple of 16, not of 5 or 7
  int const N = 48;

  FadedFirTimeDomain faded(order);
  faded.Configure(rate, static_cast<unsigned int>(block), true);
  faded.SetCrossFadeTime(fadeMs);
  faded.SetCrossFadeType(law == 0 ? "linear" : law == 1 ? "cosine" : "squareCosine");
  ASSERT_EQ(faded.GetFadeLength(), N);

  std::vector<float> hA = noise(order + 1, 1), hB = noise(order + 1, 2), hC = noise(order + 1, 3);
  faded.SetCoefficients(hA.data(), true);
  std::vector<std::vector<float>*> sets = {&hA, &hB, &hC};
  std::vector<FirTimeDomain> plain(3, FirTimeDomain(order));
  for (int s = 0; s < 3; ++s) {
    plain[s].Configure(rate, static_cast<unsigned int>(block), true);
    plain[s].SetCoefficients(sets[s]->data());
  }

  std::vector<float> const x = noise(block * 40 + 3 * N, 9);
  std::vector<float> y(block), ref(block);
  std::vector<std::vector<float>> refs(3, std::vector<float>(block));
  int current = 0;      // set heard alone
  int next = -1;        // set faded to
  int fadeSample = -1;  // position in the running fade
  int fadesDone = 0;
  for (size_t pos = 0; pos + block <= x.size(); pos += block) {
    float* in = const_cast<float*>(x.data()) + pos;
    if (fadesDone < 2 && next < 0 && faded.GetState() <= 1 && pos >= 3 * block) {
      next = current + 1;
      faded.SetCoefficients(sets[next]->data(), false);
    }
    int const stateBefore = faded.GetState();
    faded.ProcessBlock(y.data(), in, block, false);
    for (int s = 0; s < 3; ++s) plain[s].Process(refs[s].data(), in, block);
    bool const warmUpBlock = (stateBefore <= 1 && (faded.GetState() == 2 || faded.GetState() == 4));
    for (unsigned long i = 0; i < block; ++i) {
      if (next >= 0 && !warmUpBlock && fadeSample < 0) fadeSample = 0;  // the fade starts here
      if (next >= 0 && fadeSample >= 0) {
        double const w = static_cast<double>(fadeSample) / (N - 1);
        double gOut, gIn;
        lawGains(law, w, gOut, gIn);
        double const expected = gOut * refs[current][i] + gIn * refs[next][i];
        ASSERT_NEAR(y[i], expected, 1e-5) << "fade sample " << fadeSample;
        if (fadeSample == N - 1) {
          EXPECT_EQ(y[i], refs[next][i]) << "the last fade sample is the new filter alone";
          current = next;
          next = -1;
          fadeSample = -1;
          ++fadesDone;
          continue;
        }
        ++fadeSample;
      } else {
        ASSERT_EQ(y[i], refs[current][i]) << "outside a fade one filter is heard alone";
      }
    }
  }
  EXPECT_EQ(fadesDone, 2);
  // The immediate first set went to filterTwo: 1 -> 4 -> 5 -> 0 -> 2 -> 3 -> 1.
  EXPECT_EQ(faded.GetState(), State::FilterTwoActive);
}

INSTANTIATE_TEST_SUITE_P(AllLaws, FadeLaws,
                         ::testing::Combine(::testing::Values(0, 1, 2),
                                            ::testing::Values(16ul, 7ul, 5ul)));

// A fade ends whatever the ratio of its length to the block: every block is
// written, every fade ends within N + one block, and the filter heard at the
// end is the last set sent.
struct StallCase {
  float rate;
  unsigned long block;
  float fadeMs;
};

class FadesAlwaysEnd : public ::testing::TestWithParam<StallCase> {};

TEST_P(FadesAlwaysEnd, EveryBlockWrittenAndTheLastSetWins) {
  StallCase const c = GetParam();
  unsigned int const order = 3;
  FadedFirTimeDomain faded(order);
  faded.Configure(c.rate, static_cast<unsigned int>(c.block), true);
  faded.SetCrossFadeTime(c.fadeMs);
  int const N = faded.GetFadeLength();
  long const limit = N + static_cast<long>(c.block);

  std::vector<float> x(c.block, 1.f), y(c.block);
  std::vector<float> set(order + 1);
  int sent = 0;
  long fadeSamples = 0;
  // Sets every 3 blocks for a while, then nothing until everything settles.
  long const sendingBlocks = 12;
  long const totalBlocks = sendingBlocks + 2 * (limit / static_cast<long>(c.block) + 3);
  for (long b = 0; b < totalBlocks; ++b) {
    if (b < sendingBlocks && b % 3 == 0) {
      ++sent;
      for (unsigned int k = 0; k <= order; ++k) set[k] = static_cast<float>(sent) + 0.125f * k;
      faded.SetCoefficients(set.data(), false);
    }
    std::fill(y.begin(), y.end(), std::numeric_limits<float>::quiet_NaN());
    faded.ProcessBlock(y.data(), x.data(), c.block, false);
    for (float v : y) ASSERT_FALSE(std::isnan(v)) << "block " << b << " left unwritten";
    int const s = faded.GetState();
    if (s == State::FadingToFilterTwo || s == State::FadingToFilterOne) {
      fadeSamples += static_cast<long>(c.block);
      ASSERT_LE(fadeSamples, limit) << "fade of " << N << " samples stalls";
    } else {
      fadeSamples = 0;
    }
  }
  EXPECT_FALSE(faded.HasPendingCoefficients());
  EXPECT_EQ(faded.GetSamplesRemaining(), 0);
  ASSERT_TRUE(faded.GetState() == State::FilterOneActive ||
              faded.GetState() == State::FilterTwoActive);
  std::vector<float> heard(order + 1);
  faded.GetActiveFilter().GetCoefficients(heard);
  EXPECT_EQ(heard, set);
  // And that filter alone is heard: a DC of 1 through it.
  float sum = 0.f;
  for (float v : set) sum += v;
  EXPECT_FLOAT_EQ(y.back(), sum);
}

std::vector<StallCase> stallCases() {
  std::vector<StallCase> cases;
  for (float rate : {32000.f, 44100.f, 48000.f, 96000.f, 192000.f})
    for (unsigned long block : {1ul, 2ul, 16ul, 32ul, 64ul, 512ul})
      for (float ms : {0.f, 0.01f, 5.f, 10.f, 50.f}) cases.push_back({rate, block, ms});
  return cases;
}

INSTANTIATE_TEST_SUITE_P(RatesBlocksTimes, FadesAlwaysEnd, ::testing::ValuesIn(stallCases()));

TEST(FadedFilters, FadeLengthIsComputedInDoubleAndBounded) {
  FadedFirTimeDomain faded(1);
  faded.Configure(48000.f, 64, true);
  EXPECT_EQ(faded.GetFadeLength(), 240);  // 5 ms
  faded.SetCrossFadeTime(0.001f);
  EXPECT_EQ(faded.GetFadeLength(), 2);
  faded.SetCrossFadeTime(1e30f);
  EXPECT_EQ(faded.GetFadeLength(), 480000);  // 10 s
  faded.SetCrossFadeTime(std::numeric_limits<float>::infinity());
  EXPECT_EQ(faded.GetFadeLength(), 480000);
  faded.SetCrossFadeTime(std::numeric_limits<float>::quiet_NaN());  // ignored
  EXPECT_EQ(faded.GetCrossFadeTime(), std::numeric_limits<float>::infinity());
}

// A zero fade time (or an immediate set) during a warm-up ends the warm-up at
// once with the newest set, instead of leaving the object waiting; both
// directions of the cycle, with blocks shorter than announced so that the
// warm-up's count is not used up when it ends.
TEST(FadedFilters, ZeroFadeTimeDuringWarmUpSwapsAtOnce) {
  std::vector<float> x(8, 1.f), y(8);
  for (int variant = 0; variant < 3; ++variant) {
    FadedFirTimeDomain faded(1);
    faded.Configure(1000.f, 16, true);
    float set[] = {1.f, 0.f};
    faded.SetCoefficients(set, true);  // to filterTwo: state 1
    for (int round = 0; round < 2; ++round) {
      bool const towardsOne = round == 0;
      faded.SetCrossFadeTime(20.f);
      set[0] = 10.f * (round + 1);
      faded.SetCoefficients(set, false);
      faded.ProcessBlock(y.data(), x.data(), 8, false);
      ASSERT_EQ(faded.GetState(), towardsOne ? State::WarmingFilterOne : State::WarmingFilterTwo);
      float expected = set[0];
      if (variant == 0) {
        faded.SetCrossFadeTime(0.f);
      } else if (variant == 1) {
        faded.SetCrossFadeTime(0.f);
        set[0] += 1.f;
        faded.SetCoefficients(set, false);
        expected = set[0];
      } else {
        set[0] += 2.f;
        faded.SetCoefficients(set, true);
        expected = set[0];
      }
      State::State const active = towardsOne ? State::FilterOneActive : State::FilterTwoActive;
      for (int block = 0; block < 3; ++block) {
        faded.ProcessBlock(y.data(), x.data(), 8, false);
        EXPECT_EQ(faded.GetState(), active) << variant << " " << round;
        EXPECT_EQ(faded.GetSamplesRemaining(), 0);
        for (float v : y) EXPECT_EQ(v, expected) << variant << " " << round;
      }
    }
  }
}

TEST(FadedFilters, ZeroFadeTimeSwapsAtTheNextBlockInTheIdleFilter) {
  FadedFirTimeDomain faded(0);
  faded.Configure(1000.f, 4, true);
  faded.SetCrossFadeTime(0.f);
  std::vector<float> x(4, 1.f), y(4);
  float taps[] = {0.f};
  for (int k = 1; k <= 3; ++k) {
    taps[0] = static_cast<float>(k);
    faded.SetCoefficients(taps, false);
    faded.ProcessBlock(y.data(), x.data(), 4, false);
    EXPECT_EQ(faded.GetState(), k % 2 == 1 ? State::FilterTwoActive : State::FilterOneActive);
    for (float v : y) EXPECT_EQ(v, static_cast<float>(k));
  }
}

TEST(FadedFilters, SetsDuringAFadeWaitAndOnlyTheLatestIsUsed) {
  FadedFirTimeDomain faded(0);
  faded.Configure(1000.f, 4, true);
  faded.SetCrossFadeTime(10.f);
  std::vector<float> x(4, 1.f), y(4);
  float taps[] = {1.f};
  faded.SetCoefficients(taps, true);
  taps[0] = 2.f;
  faded.SetCoefficients(taps, false);
  faded.ProcessBlock(y.data(), x.data(), 4, false);  // warm-up
  faded.ProcessBlock(y.data(), x.data(), 4, false);  // fade starts
  ASSERT_EQ(faded.GetState(), State::FadingToFilterOne);
  for (float k : {5.f, 6.f, 7.f}) {
    taps[0] = k;
    faded.SetCoefficients(taps, false);
  }
  faded.ProcessBlock(y.data(), x.data(), 4, false);
  faded.ProcessBlock(y.data(), x.data(), 4, false);  // the 10-sample fade ends here
  EXPECT_EQ(faded.GetState(), State::FilterOneActive);
  EXPECT_EQ(y[3], 2.f);
  EXPECT_TRUE(faded.HasPendingCoefficients());
  for (int b = 0; b < 6; ++b) faded.ProcessBlock(y.data(), x.data(), 4, false);
  EXPECT_EQ(faded.GetState(), State::FilterTwoActive);
  EXPECT_EQ(y[3], 7.f);
  EXPECT_FALSE(faded.HasPendingCoefficients());
}

TEST(FadedFilters, FadeShorterThanTwoSamplesIsTwoSamplesAtItsEndGains) {
  for (char const* law : {"linear", "cosine", "squareCosine"}) {
    FadedFirTimeDomain faded(0);
    faded.Configure(1000.f, 4, true);
    faded.SetCrossFadeTime(0.3f);
    faded.SetCrossFadeType(law);
    std::vector<float> x(4, 1.f), y(4);
    float taps[] = {1.f};
    faded.SetCoefficients(taps, true);
    taps[0] = 3.f;
    faded.SetCoefficients(taps, false);
    faded.ProcessBlock(y.data(), x.data(), 4, false);
    faded.ProcessBlock(y.data(), x.data(), 4, false);
    EXPECT_EQ(y[0], 1.f) << law;
    EXPECT_EQ(y[1], 3.f) << law;
    EXPECT_EQ(y[3], 3.f) << law;
  }
}

TEST(FadedFilters, UnknownFadeWordIsLinear) {
  FadedFirTimeDomain faded(0);
  faded.SetCrossFadeType("cosine");
  EXPECT_EQ(faded.GetCrossFadeType(), nolardsp::CrossFadeCosine);
  faded.SetCrossFadeType("sigmoid");
  EXPECT_EQ(faded.GetCrossFadeType(), nolardsp::CrossFadeLinear);
}

TEST(FadedFilters, InactiveInputLeavesOutputAndFadeWhereTheyAre) {
  FadedFirTimeDomain faded(0);
  faded.Configure(1000.f, 4, true);
  std::vector<float> x(4, 1.f), y(4, 5.f);
  float taps[] = {2.f};
  faded.SetCoefficients(taps, false);
  float* in[] = {x.data()};
  float* out[] = {y.data()};
  short const inactive[] = {0};
  faded.Process(out, in, 4, inactive);
  EXPECT_EQ(faded.GetState(), State::FilterOneActive);
  EXPECT_TRUE(faded.HasPendingCoefficients());
  for (float v : y) EXPECT_EQ(v, 5.f);
  faded.Process(out, in, 4, nolardsp::allActiveInputs);
  EXPECT_EQ(faded.GetState(), State::WarmingFilterTwo);
}

TEST(FadedFilters, AddingModeAddsTheSameResult) {
  std::vector<float> h = noise(8, 5), x = noise(64, 6);
  FadedFirTimeDomain a(7), b(7);
  for (auto* f : {&a, &b}) {
    f->Configure(1000.f, 16, true);
    f->SetCrossFadeTime(9.f);
    f->SetCoefficients(h.data(), false);
  }
  std::vector<float> ya(16), yb(16);
  for (int pos = 0; pos < 64; pos += 16) {
    std::fill(yb.begin(), yb.end(), 0.5f);
    a.ProcessBlock(ya.data(), x.data() + pos, 16, false);
    b.ProcessBlock(yb.data(), x.data() + pos, 16, true);
    for (int i = 0; i < 16; ++i) EXPECT_FLOAT_EQ(yb[i], ya[i] + 0.5f);
  }
}

TEST(FadedFilters, BlocksAndFadesAllocateNothing) {
  FadedFirFilter fir(127);
  fir.SetImplementationMethod(nolardsp::Filter::FFTConvolution);
  FadedBiquadCascade biquads(3);
  fir.Configure(48000.f, 64, true);
  biquads.Configure(48000.f, 64, true);
  fir.SetCrossFadeType("cosine");
  std::vector<float> h = noise(128, 7), x = noise(2048, 8), y(2048);
  std::vector<float> sections = {0.5f, 0.1f, 0.2f, -0.5f, 0.3f, 0.f, 0.f,
                                 0.1f, 0.f,  -1.f, 0.5f,  0.2f, 0.1f};
  zorvtest::AllocationCounter counter;
  for (int round = 0; round < 20; ++round) {
    if (round % 4 == 0) {
      h[round] += 0.5f;
      fir.SetCoefficients(h.data(), false);
      sections[0] += 0.1f;
      biquads.SetCoefficients(sections.data(), false);
    }
    unsigned long const n = round == 10 ? 1000 : 64;  // one block above the announced size
    fir.ProcessBlock(y.data(), x.data(), n, false);
    biquads.ProcessBlock(y.data(), x.data(), n, true);
  }
  EXPECT_EQ(counter.Count(), 0u);
}

// One thread sends sets as fast as it can while another runs blocks. With a
// fade time of 0 every block is run by exactly one set; each set is a ramp of
// taps k + i / 16, so a torn set (taps of two sets) shows at once in the
// impulse response that each block measures.
TEST(FadedFilters, SetsSentDuringBlocksArriveWhole) {
  unsigned int const order = 15;
  FadedFirTimeDomain faded(order);
  faded.Configure(48000.f, 32, true);
  faded.SetCrossFadeTime(0.f);
  std::atomic<bool> stop(false);
  std::thread sender([&] {
    std::vector<float> set(order + 1);
    for (int k = 1; !stop.load(); ++k) {
      for (unsigned int i = 0; i <= order; ++i) set[i] = static_cast<float>(k) + i / 16.f;
      faded.SetCoefficients(set.data(), false);
    }
  });
  std::vector<float> impulse(32, 0.f), y(32);
  impulse[0] = 1.f;
  int torn = 0, checked = 0;
  for (int blocks = 0; checked < 20000 && blocks < 10000000; ++blocks) {
    faded.ProcessBlock(y.data(), impulse.data(), 32, false);
    float const k = y[0];
    if (k == 0.f) continue;  // the sender has not started yet
    ++checked;
    for (unsigned int i = 1; i <= order; ++i)
      if (y[i] != k + i / 16.f) ++torn;
  }
  stop = true;
  sender.join();
  EXPECT_EQ(checked, 20000);
  EXPECT_EQ(torn, 0);
}

}  // namespace
