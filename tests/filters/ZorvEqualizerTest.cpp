// Equalizer channels end to end: the cascade they run has the response of its
// design, every type stays stable at every rate, and parameter changes
// cross-fade without a transient of their own.

#include "ZorvEqualizerChannel.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <memory>
#include <random>
#include <vector>

#include "NolarBiquadCascade.h"
#include "ZorvSecondOrderReference.h"

namespace {

using Zorv::EqualizerChannel;
using Zorv::SecondOrderFilters;
using zorvtest::Decibels;

// |H| at a frequency from an impulse response, in double.
double measuredMagnitude(std::vector<float> const& impulse, double f, double rate) {
  std::complex<double> sum = 0.0;
  for (std::size_t n = 0; n < impulse.size(); ++n) {
    sum += double(impulse[n]) * std::polar(1.0, -2.0 * M_PI * f * double(n) / rate);
  }
  return std::abs(sum);
}

std::vector<float> impulseResponse(EqualizerChannel& channel, unsigned int length,
                                   unsigned int block) {
  std::vector<float> in(length, 0.f), out(length, 0.f);
  in[0] = 1.f;
  for (unsigned int done = 0; done < length; done += block) {
    channel.Process(out.data() + done, in.data() + done, std::min(block, length - done));
  }
  return out;
}

EqualizerChannel* lowPass(float rate, unsigned int block, float f, float q) {
  auto* c = new EqualizerChannel(1);
  c->SetSamplerate(rate);
  c->SetMaxBlockSize(block);
  c->SetFilterType(0, SecondOrderFilters::LowPass, true);
  c->SetQ(0, q, true);
  c->SetFreq(0, f, true);
  return c;
}

TEST(EqualizerChannel, StartsAsAWireAndRunsItsDesign) {
  EqualizerChannel wire(2);
  std::vector<float> in = {1.f, -0.5f, 0.25f, 3.f}, out(4);
  wire.Process(out.data(), in.data(), 4);
  EXPECT_EQ(out, in);

  // Two sections, set at once: the impulse response has the product of the
  // designed magnitudes.
  EqualizerChannel eq(2);
  eq.SetSamplerate(48000.f);
  eq.SetMaxBlockSize(256);
  eq.SetFilterType(0, SecondOrderFilters::HighPass, true);
  eq.SetFreq(0, 60.f, true);
  eq.SetFilterType(1, SecondOrderFilters::PeakingEQ, true);
  eq.SetFreq(1, 1000.f, true);
  eq.SetQ(1, 2.f, true);
  eq.SetdBGain(1, -9.f, true);
  std::vector<float> const h = impulseResponse(eq, 48000, 256);
  for (double f : {100.0, 200.0, 700.0, 1000.0, 1500.0, 8000.0, 20000.0}) {
    double const w = 2.0 * M_PI * f / 48000.0;
    double const want =
        zorvtest::Magnitude(zorvtest::TextbookSection(2, 60.0, 1.0, 0.0, 48000.0), w) *
        zorvtest::Magnitude(zorvtest::TextbookSection(7, 1000.0, 2.0, -9.0, 48000.0), w);
    EXPECT_NEAR(Decibels(measuredMagnitude(h, f, 48000.0)), Decibels(want), 0.01) << f;
  }
}

// A 30 Hz sine through a low pass whose cut-off moves from 40 to 42 Hz: the
// output against the ideal cross-fade of the two settled filters (the old
// one heard through the warm-up block, then the linear fade of 5 ms). The
// incoming filter starts from the outgoing one's history; from silence the
// difference reached -8 dB at 16-sample blocks and -12 dB at 64.
TEST(EqualizerChannel, ACutOffChangeAddsNoTransientOfItsOwn) {
  float const rate = 48000.f;
  struct Case {
    unsigned int block;
    double limitdB;
  } const cases[] = {{16, -30.0}, {64, -32.0}, {512, -50.0}};
  for (Case const& c : cases) {
    unsigned int const block = c.block;
    std::unique_ptr<EqualizerChannel> x(lowPass(rate, block, 40.f, 0.7f));
    std::unique_ptr<EqualizerChannel> a(lowPass(rate, block, 40.f, 0.7f));
    std::unique_ptr<EqualizerChannel> b(lowPass(rate, block, 42.f, 0.7f));
    int const fadeLength = static_cast<int>(std::ceil(5.0 * rate * 0.001));
    int const settle = static_cast<int>(rate) / block;
    std::vector<float> in(block), ox(block), oa(block), ob(block);
    double worst = 0.0, peak = 0.0;
    long n = 0, fadeStart = -1;
    for (int k = 0; k < settle + 2 * fadeLength / int(block) + 8; ++k) {
      for (unsigned int i = 0; i < block; ++i, ++n) in[i] = std::sin(2.0 * M_PI * 30.0 * n / rate);
      if (k == settle) {
        x->SetFreq(0, 42.f);
        fadeStart = long(k + 1) * block;
      }
      x->Process(ox.data(), in.data(), block);
      a->Process(oa.data(), in.data(), block);
      b->Process(ob.data(), in.data(), block);
      if (k < settle) continue;
      for (unsigned int i = 0; i < block; ++i) {
        long const m = long(k) * block + i - fadeStart;
        double const w = m < 0 ? 0.0 : m >= fadeLength - 1 ? 1.0 : double(m) / (fadeLength - 1);
        double const ideal = (1.0 - w) * oa[i] + w * ob[i];
        worst = std::max(worst, std::fabs(ox[i] - ideal));
        peak = std::max(peak, double(std::fabs(ob[i])));
      }
    }
    double const dB = Decibels(worst / peak);
    RecordProperty("transientdB_block" + std::to_string(block), std::to_string(dB));
    EXPECT_LT(dB, c.limitdB) << "block " << block;
  }
}

// Starting a much slower filter from a quickly moving history would ring far
// above the signal (a cut-off dropping from 20 kHz to 10 Hz under white noise
// reached +59 dB); such a change starts from silence and stays bounded.
TEST(EqualizerChannel, LargeCutOffDropsStayBounded) {
  unsigned int const block = 64;
  std::unique_ptr<EqualizerChannel> eq(lowPass(48000.f, block, 20000.f, 0.7f));
  std::mt19937 rng(12);
  std::uniform_real_distribution<float> noise(-1.f, 1.f);
  std::vector<float> in(block), out(block);
  float const cutoffs[] = {10.f, 20000.f, 40.f, 8000.f, 10.f};
  float largest = 0.f;
  for (int k = 0; k < 500; ++k) {
    for (float& v : in) v = noise(rng);
    if (k % 100 == 50) eq->SetFreq(0, cutoffs[k / 100]);
    eq->Process(out.data(), in.data(), block);
    for (float v : out) largest = std::max(largest, std::fabs(v));
  }
  EXPECT_LT(largest, 2.f);
}

// Every type at every rate, with cut-offs across 10 Hz to 20 kHz (those past
// the Nyquist frequency included), Q from 0.1 to 10 and gains of +/-30 dB: the
// cascade accepts every section as stable. A 10 s run of white noise stays
// finite for the sections with poles nearest the unit circle (the lowest
// cut-off with both Q, and the highest).
TEST(EqualizerChannel, EveryTypeIsStableAtEveryRate) {
  float const rates[] = {8000.f, 22050.f, 32000.f, 44100.f, 48000.f, 96000.f, 192000.f};
  float const frequencies[] = {10.f,   20.f,   50.f,    125.f,   300.f,   1000.f,
                               3000.f, 8000.f, 11025.f, 16000.f, 19000.f, 20000.f};
  std::vector<float> noise(4096);
  std::mt19937 rng(11);
  std::uniform_real_distribution<float> uniform(-1.f, 1.f);
  for (float& v : noise) v = uniform(rng);
  std::vector<float> out(noise.size());

  for (unsigned int type = 0; type <= 11; ++type) {
    for (float rate : rates) {
      for (float f : frequencies) {
        for (float q : {0.1f, 0.7f, 10.f}) {
          for (float gain : {-30.f, 0.f, 30.f}) {
            EqualizerChannel eq(1);
            eq.SetSamplerate(rate);
            eq.SetFilterType(0, static_cast<SecondOrderFilters::Type>(type), true);
            eq.SetQ(0, q, true);
            eq.SetdBGain(0, gain, true);
            eq.SetFreq(0, f, true);
            if (type == 0) eq.SetDoubleShelving(0, gain, 0.f, -gain, f, 8.f * f, true);
            std::vector<float> c = eq.GetCascadeCoefficients();
            nolardsp::BiquadCascade cascade(1);
            cascade.SetCoefficients(c.data());
            SCOPED_TRACE(::testing::Message() << "type " << type << " rate " << rate << " f " << f
                                              << " q " << q << " gain " << gain);
            ASSERT_TRUE(cascade.IsStable());
            bool const runNoise =
                gain == 30.f && ((f == 10.f && q != 0.1f) || (f == 20000.f && q == 10.f));
            if (!runNoise) continue;
            unsigned long const total = static_cast<unsigned long>(10.f * rate);
            for (unsigned long done = 0; done < total; done += noise.size()) {
              cascade.Process(out.data(), noise.data(), noise.size());
            }
            for (float v : out) ASSERT_TRUE(std::isfinite(v));
            ASSERT_FALSE(cascade.IsSilenced());
          }
        }
      }
    }
  }
}

}  // namespace
