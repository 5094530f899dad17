#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <limits>
#include <memory>
#include <random>
#include <thread>
#include <vector>

#include "NolarFir.h"
#include "NolarFirFilterOverlapAdd.h"
#include "NolarFirTimeDomain.h"
#include "ZorvTestAllocationCounter.h"

namespace {

using nolardsp::Filter;
using nolardsp::Fir;
using nolardsp::FirFilterOverlapAdd;
using nolardsp::FirTimeDomain;

std::vector<float> noise(size_t n, unsigned seed) {
  std::mt19937 gen(seed);
  std::uniform_real_distribution<float> dist(-1.f, 1.f);
  std::vector<float> x(n);
  for (float& v : x) v = dist(gen);
  return x;
}

// y[n] = sum_k h[k] x[n - k] in double, with the taps in force for the block
// that x[n - k] belonged to (taps[m] is the set of input sample m).
std::vector<double> convolve(std::vector<float> const& x,
                             std::vector<std::vector<float> const*> const& tapsOfSample) {
  std::vector<double> y(x.size(), 0.0);
  for (size_t m = 0; m < x.size(); ++m) {
    auto const& h = *tapsOfSample[m];
    for (size_t k = 0; k < h.size() && m + k < x.size(); ++k) y[m + k] += double(h[k]) * x[m];
  }
  return y;
}

std::vector<double> convolve(std::vector<float> const& x, std::vector<float> const& h) {
  return convolve(x, std::vector<std::vector<float> const*>(x.size(), &h));
}

double tolerance(std::vector<float> const& h, std::vector<float> const& x) {
  double sum = 0.0, peak = 0.0;
  for (float v : h) sum += std::fabs(v);
  for (float v : x) peak = std::max(peak, double(std::fabs(v)));
  return 1e-5 * sum * peak;
}

std::unique_ptr<Filter> makeFir(int implementation, unsigned int order) {
  if (implementation == 0) return std::make_unique<FirTimeDomain>(order);
  return std::make_unique<FirFilterOverlapAdd>(order);
}

// Runs x through f in blocks whose lengths cycle through `blocks`.
std::vector<float> run(Filter& f, std::vector<float> x, std::vector<unsigned long> const& blocks) {
  std::vector<float> y(x.size(), 0.f);
  size_t pos = 0;
  for (size_t b = 0; pos < x.size(); ++b) {
    unsigned long const n = std::min<unsigned long>(blocks[b % blocks.size()], x.size() - pos);
    f.Process(y.data() + pos, x.data() + pos, n);
    pos += n;
  }
  return y;
}

class FirAgainstDirectSum : public ::testing::TestWithParam<std::tuple<int, unsigned int>> {};

// Block lengths change from block to block: 1, 7, the announced maximum (64),
// one above it, and a long one that the transform filter runs in pieces.
TEST_P(FirAgainstDirectSum, EqualsDoubleConvolutionForChangingBlockLengths) {
  int const implementation = std::get<0>(GetParam());
  unsigned int const numTaps = std::get<1>(GetParam());
  auto f = makeFir(implementation, numTaps - 1);
  f->Configure(48000.f, 64, true);
  std::vector<float> h = noise(numTaps, 11 + numTaps);
  for (unsigned int k = 0; k < numTaps; ++k) h[k] *= std::exp(-3.f * k / numTaps);
  f->SetCoefficients(h.data());

  std::vector<float> const x = noise(numTaps + 1500, 3);
  std::vector<float> const y = run(*f, x, {1, 7, 64, 65, 13, 200, 64, 2});
  std::vector<double> const reference = convolve(x, h);
  double const tol = tolerance(h, x);
  double worst = 0.0;
  for (size_t i = 0; i < x.size(); ++i) worst = std::max(worst, std::fabs(y[i] - reference[i]));
  EXPECT_LE(worst, tol) << "taps " << numTaps;
}

INSTANTIATE_TEST_SUITE_P(BothImplementations, FirAgainstDirectSum,
                         ::testing::Combine(::testing::Values(0, 1),
                                            ::testing::Values(1u, 2u, 3u, 31u, 64u, 65u, 255u, 512u,
                                                              1024u)));

TEST(Fir, OrderZeroWithUnitTapIsIdentityInBothImplementations) {
  for (int implementation : {0, 1}) {
    auto f = makeFir(implementation, 0);
    f->Configure(44100.f, 32, true);
    float one = 1.f;
    f->SetCoefficients(&one);
    std::vector<float> const x = noise(100, 5);
    std::vector<float> const y = run(*f, x, {32, 5, 33});
    for (size_t i = 0; i < x.size(); ++i) EXPECT_NEAR(y[i], x[i], 1e-6f) << implementation;
  }
}

// New taps apply from the first sample of the next block: the direct form
// applies them to the whole history at once, the transform form to the input
// from that block on (the tail of earlier blocks keeps the taps it was
// computed with).
TEST(Fir, NewTapsTakeEffectAtTheNextBlock) {
  unsigned int const numTaps = 40;
  std::vector<float> const hA = noise(numTaps, 21), hB = noise(numTaps, 22);
  std::vector<float> const x = noise(400, 23);
  unsigned long const block = 50, change = 200;
  for (int implementation : {0, 1}) {
    auto f = makeFir(implementation, numTaps - 1);
    f->Configure(48000.f, block, true);
    f->SetCoefficients(const_cast<float*>(hA.data()));
    std::vector<float> y(x.size());
    for (unsigned long pos = 0; pos < x.size(); pos += block) {
      if (pos == change) f->SetCoefficients(const_cast<float*>(hB.data()));
      f->Process(y.data() + pos, const_cast<float*>(x.data()) + pos, block);
    }
    std::vector<double> expected(x.size());
    if (implementation == 0) {
      auto const a = convolve(x, hA), b = convolve(x, hB);
      for (size_t i = 0; i < x.size(); ++i) expected[i] = i < change ? a[i] : b[i];
    } else {
      std::vector<std::vector<float> const*> taps(x.size());
      for (size_t m = 0; m < x.size(); ++m) taps[m] = m < change ? &hA : &hB;
      expected = convolve(x, taps);
    }
    for (size_t i = 0; i < x.size(); ++i)
      ASSERT_NEAR(y[i], expected[i], tolerance(hA, x) * 2) << implementation << " at " << i;
  }
}

// SetState on the transform filter: the first block after it is exactly the
// other filter's continuation; once the 20 ms glide and the response length
// have passed, it is exactly a filter that always had its own taps.
TEST(FirFilterOverlapAdd, SetStateGlidesFromTheOtherSpectrum) {
  unsigned int const order = 31;
  unsigned long const block = 8;
  float const rate = 1000.f;  // 20 ms = 20 samples
  std::vector<float> hA = noise(order + 1, 31), hB = noise(order + 1, 32);
  FirFilterOverlapAdd a1(order), a2(order), b(order), reference(order);
  for (FirFilterOverlapAdd* f : {&a1, &a2, &b, &reference}) f->Configure(rate, block, true);
  a1.SetCoefficients(hA.data());
  a2.SetCoefficients(hA.data());
  b.SetCoefficients(hB.data());
  reference.SetCoefficients(hB.data());
  std::vector<float> x = noise(600, 33);
  std::vector<float> ya(block), yb(block), yr(block), scratch(block);
  unsigned long pos = 0;
  for (; pos < 200; pos += block) {
    a1.Process(ya.data(), x.data() + pos, block);
    a2.Process(ya.data(), x.data() + pos, block);
    reference.Process(yr.data(), x.data() + pos, block);
  }
  b.SetState(a1);
  a2.Process(ya.data(), x.data() + pos, block);
  b.Process(yb.data(), x.data() + pos, block);
  reference.Process(yr.data(), x.data() + pos, block);
  for (unsigned long i = 0; i < block; ++i) EXPECT_NEAR(yb[i], ya[i], 1e-5f);
  pos += block;
  // 20 samples of glide, then order + block for the glide's tail to leave.
  for (; pos < 200 + 20 + order + 2 * block; pos += block) {
    b.Process(yb.data(), x.data() + pos, block);
    reference.Process(yr.data(), x.data() + pos, block);
  }
  for (; pos < 400; pos += block) {
    b.Process(yb.data(), x.data() + pos, block);
    reference.Process(yr.data(), x.data() + pos, block);
    for (unsigned long i = 0; i < block; ++i) ASSERT_NEAR(yb[i], yr[i], 1e-4f) << pos + i;
  }
}

TEST(FirTimeDomain, SetStateContinuesTheOtherHistoryWithItsOwnTaps) {
  unsigned int const order = 20;
  std::vector<float> hA = noise(order + 1, 41), hB = noise(order + 1, 42);
  FirTimeDomain a(order), b(order), reference(order);
  a.SetCoefficients(hA.data());
  b.SetCoefficients(hB.data());
  reference.SetCoefficients(hB.data());
  std::vector<float> x = noise(128, 43), y(64), yr(64), scratch(64);
  a.Process(scratch.data(), x.data(), 64);
  reference.Process(scratch.data(), x.data(), 64);
  b.SetState(a);
  b.Process(y.data(), x.data() + 64, 64);
  reference.Process(yr.data(), x.data() + 64, 64);
  for (int i = 0; i < 64; ++i) EXPECT_EQ(y[i], yr[i]);
}

TEST(FirTimeDomain, SetOrderKeepsTapsAndNewestHistory) {
  FirTimeDomain f(3);
  std::vector<float> h = {1.f, 2.f, 3.f, 4.f};
  f.SetCoefficients(h.data());
  std::vector<float> x = {1.f, 0.f, 0.f}, y(3);
  f.Process(y.data(), x.data(), 3);
  f.SetOrder(5);
  std::vector<float> taps(f.GetNumCoefficients());
  f.GetCoefficients(taps);
  EXPECT_EQ(taps, (std::vector<float>{1.f, 2.f, 3.f, 4.f, 0.f, 0.f}));
  // The impulse two samples back is still there: tap 3 and then tap 4 see it.
  std::vector<float> z = {0.f, 0.f}, out(2);
  f.Process(out.data(), z.data(), 2);
  EXPECT_EQ(out[0], 4.f);
  EXPECT_EQ(out[1], 0.f);
}

TEST(Fir, InactiveInputLeavesOutputAndStateUntouched) {
  for (int implementation : {0, 1}) {
    auto f = makeFir(implementation, 7);
    f->Configure(48000.f, 16, true);
    std::vector<float> h = noise(8, 51);
    f->SetCoefficients(h.data());
    auto g = makeFir(implementation, 7);
    g->Configure(48000.f, 16, true);
    g->SetCoefficients(h.data());
    std::vector<float> x = noise(32, 52), y(16, 9.f), yr(16);
    float* in[] = {x.data()};
    float* out[] = {y.data()};
    short const inactive[] = {0};
    f->Process(out, in, 16, nolardsp::allActiveInputs);
    g->Process(yr.data(), x.data(), 16);
    std::fill(y.begin(), y.end(), 9.f);
    f->Process(out, in, 16, inactive);
    for (float v : y) EXPECT_EQ(v, 9.f);
    // The tail of the first block is still there when the input returns.
    in[0] = x.data() + 16;
    f->Process(out, in, 16, nolardsp::allActiveInputs);
    g->Process(yr.data(), x.data() + 16, 16);
    for (int i = 0; i < 16; ++i) EXPECT_NEAR(y[i], yr[i], 1e-5f) << implementation;
  }
}

TEST(Fir, ImplementationWordsAndUnknownFallBackToDirect) {
  EXPECT_EQ(Filter::GetFIRImplementation("fft"), Filter::FFTConvolution);
  EXPECT_EQ(Filter::GetFIRImplementation("fftconvolution"), Filter::FFTConvolution);
  EXPECT_EQ(Filter::GetFIRImplementation("timedomain"), Filter::TimeDomain);
  EXPECT_EQ(Filter::GetFIRImplementation("direct"), Filter::TimeDomain);
  EXPECT_EQ(Filter::GetFIRImplementation("no such word"), Filter::TimeDomain);
  EXPECT_EQ(Filter::GetFIRImplementation(nullptr), Filter::TimeDomain);
}

// A swap of implementation keeps order and taps and the rate and block size,
// and the new filter is taken up at the next block.
TEST(Fir, SetImplementationMethodKeepsTapsAndConfiguration) {
  Fir f(15, Filter::TimeDomain);
  f.Configure(48000.f, 32, true);
  std::vector<float> h = noise(16, 61);
  f.SetCoefficients(h.data());
  f.SetImplementationMethod(Filter::FFTConvolution);
  std::vector<float> x = noise(200, 62), y(200);
  for (int pos = 0; pos < 200; pos += 40) f.Process(y.data() + pos, x.data() + pos, 40);
  ASSERT_NE(dynamic_cast<FirFilterOverlapAdd*>(f.GetFilter()), nullptr);
  EXPECT_EQ(f.GetFilter()->GetMaxBlockSize(), 32u);
  EXPECT_EQ(f.GetFilter()->GetSamplerate(), 48000.f);
  std::vector<double> const reference = convolve(x, h);
  for (int i = 0; i < 200; ++i) EXPECT_NEAR(y[i], reference[i], tolerance(h, x));
  std::vector<float> taps(16);
  f.GetCoefficients(taps);
  EXPECT_EQ(taps, h);
  f.SetImplementationMethod(Filter::TimeDomain);
  f.SetImplementationMethod(Filter::FFTConvolution);  // twice before any block
  f.SetImplementationMethod(Filter::TimeDomain);
  f.Process(y.data(), x.data(), 10);
  EXPECT_NE(dynamic_cast<FirTimeDomain*>(f.GetFilter()), nullptr);
}

// The implementation changes on another thread while blocks run; with a
// single tap of 1 every block must pass its input whichever filter runs it, and
// a set given between the change and the next block is not lost.
TEST(Fir, ImplementationChangesWhileBlocksRun) {
  Fir f(31, Filter::TimeDomain);
  f.Configure(48000.f, 64, true);
  std::vector<float> h(32, 0.f);
  h[0] = 1.f;
  f.SetCoefficients(h.data());
  std::atomic<int> changes(0);
  std::atomic<bool> stop(false);
  std::thread control([&] {
    while (!stop.load()) {
      f.SetImplementationMethod(changes % 2 == 0 ? Filter::FFTConvolution : Filter::TimeDomain);
      ++changes;
    }
  });
  std::vector<float> x = noise(64, 91), y(64);
  int wrong = 0;
  for (int block = 0; block < 3000 || changes.load() < 20; ++block) {
    f.Process(y.data(), x.data(), 64);
    for (int i = 0; i < 64; ++i)
      if (std::fabs(y[i] - x[i]) > 1e-5f) ++wrong;
  }
  stop = true;
  control.join();
  EXPECT_EQ(wrong, 0);

  h[0] = 0.5f;
  f.SetImplementationMethod(Filter::FFTConvolution);
  f.SetImplementationMethod(Filter::TimeDomain);
  f.SetImplementationMethod(Filter::FFTConvolution);
  f.SetCoefficients(h.data());
  f.Process(y.data(), x.data(), 64);
  for (int i = 32; i < 64; ++i) EXPECT_NEAR(y[i], 0.5f * x[i], 1e-6f);
}

// Taps with a NaN or an infinity give silence, not NaN, and the next good set
// brings the filter back.
TEST(Fir, NonFiniteTapsGiveSilenceUntilTheNextGoodSet) {
  for (int implementation : {0, 1}) {
    auto f = makeFir(implementation, 9);
    f->Configure(48000.f, 16, true);
    std::vector<float> good = noise(10, 71), bad = good;
    bad[3] = std::numeric_limits<float>::quiet_NaN();
    bad[7] = std::numeric_limits<float>::infinity();
    std::vector<float> x = noise(64, 72), y(16);
    f->SetCoefficients(good.data());
    f->Process(y.data(), x.data(), 16);
    f->SetCoefficients(bad.data());
    f->Process(y.data(), x.data() + 16, 16);
    for (float v : y) EXPECT_EQ(v, 0.f) << implementation;
    EXPECT_TRUE(f->IsSilenced());
    f->SetCoefficients(good.data());
    f->Process(y.data(), x.data() + 32, 16);
    f->Process(y.data(), x.data() + 48, 16);
    EXPECT_FALSE(f->IsSilenced());
    float energy = 0.f;
    for (float v : y) {
      EXPECT_TRUE(std::isfinite(v));
      energy += v * v;
    }
    EXPECT_GT(energy, 0.f) << implementation;
  }
}

TEST(Fir, BlocksAllocateNothingIncludingLongerThanAnnounced) {
  for (int implementation : {0, 1}) {
    Fir f(255, implementation == 0 ? Filter::TimeDomain : Filter::FFTConvolution);
    f.Configure(48000.f, 64, true);
    std::vector<float> h = noise(256, 81);
    std::vector<float> x = noise(1000, 82), y(1000);
    zorvtest::AllocationCounter counter;
    f.SetCoefficients(h.data());
    f.Process(y.data(), x.data(), 64);
    f.Process(y.data(), x.data(), 1);
    f.Process(y.data(), x.data(), 1000);  // far above the announced 64
    EXPECT_EQ(counter.Count(), 0u) << implementation;
  }
}

TEST(FirFilterOverlapAdd, TransformSizeHoldsOrderPlusBlockAndIsAtLeastTwo) {
  FirFilterOverlapAdd f(0);
  f.Configure(48000.f, 1, true);
  EXPECT_EQ(f.GetFFTSize(), 2u);
  f.SetOrder(511);
  f.SetMaxBlockSize(64);
  EXPECT_EQ(f.GetFFTSize(), 1024u);
  f.SetMaxBlockSize(513);
  EXPECT_EQ(f.GetFFTSize(), 1024u);
  f.SetMaxBlockSize(514);
  EXPECT_EQ(f.GetFFTSize(), 2048u);
  EXPECT_EQ(f.GetAccumulatorSize(), 2048u + 514u);
}

}  // namespace
