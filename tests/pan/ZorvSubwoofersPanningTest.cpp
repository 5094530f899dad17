// The subwoofer feed against the parts it is made of, driven side by side:
// an equalizer channel with the same low pass, and vbap2d with the same
// layout and positions.

#include "ZorvSubwoofersPanning.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <memory>
#include <random>
#include <vector>

#include "ZorvEqualizerChannel.h"
#include "ZorvNullPanning.h"
#include "ZorvSpeakers.h"
#include "ZorvTestAllocationCounter.h"
#include "ZorvVbap2DPanning.h"

namespace {

using nolardsp::CartesianVector;
using Zorv::EqualizerChannel;
using Zorv::SecondOrderFilters;
using Zorv::SubwoofersPanning;

float const rate = 48000.f;
unsigned int const block = 64;

std::unique_ptr<SubwoofersPanning> make(unsigned int in, unsigned int out) {
  std::unique_ptr<SubwoofersPanning> p(new SubwoofersPanning(in, out));
  p->Configure(rate, block, true);
  if (out > 1) p->SetLoudspeakerPositions(Zorv::Speakers::GetDefaultForChannels(out));
  return p;
}

// The low pass the object starts with.
std::unique_ptr<EqualizerChannel> referenceLowPass(float cutoff = 125.f) {
  std::unique_ptr<EqualizerChannel> c(new EqualizerChannel(1));
  c->SetSamplerate(rate);
  c->SetMaxBlockSize(block);
  c->SetFilterType(0, SecondOrderFilters::LowPass, true);
  c->SetQ(0, 0.7f, true);
  c->SetdBGain(0, 0.f, true);
  c->SetFreq(0, cutoff, true);
  return c;
}

struct Signals {
  std::vector<std::vector<float>> data;
  std::vector<float*> pointers;
  Signals(unsigned int channels, unsigned long length)
      : data(channels, std::vector<float>(length, 0.f)) {
    for (auto& d : data) pointers.push_back(d.data());
  }
  float** get() { return pointers.data(); }
};

void fillNoise(Signals& s, std::mt19937& rng) {
  std::uniform_real_distribution<float> u(-1.f, 1.f);
  for (auto& d : s.data) {
    for (float& v : d) v = u(rng);
  }
}

TEST(SubwoofersPanning, OneOutputIsTheLowPassOfTheSumOfActiveInputs) {
  auto sub = make(3, 1);
  auto ref = referenceLowPass();
  Signals in(3, block), out(1, block);
  std::vector<float> sum(block), want(block);
  std::mt19937 rng(5);
  struct Step {
    short active[3];
    bool firstUnconnected;
    bool move;
  } const steps[] = {{{1, 1, 1}, false, false}, {{1, 1, 1}, false, true},
                     {{0, 1, 1}, false, false}, {{1, 1, 1}, true, false},
                     {{0, 0, 1}, false, true},  {{0, 0, 0}, false, false}};
  for (Step const& s : steps) {
    for (int k = 0; k < 8; ++k) {
      fillNoise(in, rng);
      if (s.move) {
        sub->SetSourcePosition(k % 3, CartesianVector(std::cos(k * 1.f), std::sin(k * 1.f), 0.f),
                               false);
      }
      float* inputs[3] = {in.get()[0], in.get()[1], in.get()[2]};
      if (s.firstUnconnected) inputs[0] = nullptr;
      std::fill(sum.begin(), sum.end(), 0.f);
      for (unsigned int i = 0; i < 3; ++i) {
        if (s.active[i] == 0 || inputs[i] == nullptr) continue;
        for (unsigned int n = 0; n < block; ++n) sum[n] += inputs[i][n];
      }
      sub->Process(out.get(), inputs, block, s.active);
      ref->Process(want.data(), sum.data(), block);
      ASSERT_EQ(out.data[0], want) << s.active[0] << s.active[1] << s.active[2] << " " << k;
    }
  }
  // The last blocks had no input: the tail of the filter, not silence.
  EXPECT_EQ(out.data[0], want);
}

TEST(SubwoofersPanning, SeveralOutputsPanEachLowPassedSourceAsVbap2D) {
  unsigned int const numIn = 3, numOut = 4;
  auto sub = make(numIn, numOut);
  Zorv::Vbap2DPanning vbap(numIn, numOut);
  vbap.Configure(rate, block, true);
  vbap.SetLoudspeakerPositions(Zorv::Speakers::GetDefaultForChannels(numOut));
  std::vector<std::unique_ptr<EqualizerChannel>> lowPass;
  for (unsigned int i = 0; i < numIn; ++i) lowPass.push_back(referenceLowPass());

  Signals in(numIn, block), out(numOut, block), filtered(numIn, block), want(numOut, block);
  std::mt19937 rng(8);
  short active[numIn] = {1, 1, 1};
  for (int k = 0; k < 40; ++k) {
    fillNoise(in, rng);
    if (k % 10 == 0) {
      CartesianVector const p(std::cos(0.7f * k), std::sin(0.7f * k), 0.f);
      sub->SetSourcePosition(k % numIn, p, false);
      vbap.SetSourcePosition(k % numIn, p, false);
    }
    active[1] = k >= 20 ? 0 : 1;
    for (unsigned int i = 0; i < numIn; ++i) {
      if (active[i] != 0) lowPass[i]->Process(filtered.get()[i], in.get()[i], block);
    }
    sub->Process(out.get(), in.get(), block, active);
    vbap.Process(want.get(), filtered.get(), block, active);
    for (unsigned int j = 0; j < numOut; ++j) ASSERT_EQ(out.data[j], want.data[j]) << k << " " << j;
  }
}

// After a change of cut-off and its fade, the impulse response through the
// object is the new design: measured within 0.01 dB below 2 kHz against the
// textbook low pass, for one output and for several.
TEST(SubwoofersPanning, ResponseAfterACutOffChangeIsTheNewDesign) {
  for (unsigned int numOut : {1u, 2u}) {
    auto sub = make(1, numOut);
    if (numOut == 2) {
      // The source on the first speaker: the whole signal goes to output 1.
      CartesianVector const speakers[2] = {CartesianVector(0.f, 1.f, 0.f),
                                           CartesianVector(1.f, 0.f, 0.f)};
      sub->SetLoudspeakerPositions(speakers);
    }
    sub->SetSourcePosition(0, CartesianVector(0.f, 2.f, 0.f), true);
    Signals in(1, block), out(numOut, block);
    short const active[1] = {1};
    std::mt19937 rng(2);
    for (int k = 0; k < 10; ++k) {
      fillNoise(in, rng);
      if (k == 2) sub->SetCutOffFrequency(200.f);
      sub->Process(out.get(), in.get(), block, active);
    }
    // Silence until the filter has come to rest (Clear would also restart
    // the panner's gain ramps).
    std::fill(in.data[0].begin(), in.data[0].end(), 0.f);
    for (int k = 0; k < 750; ++k) sub->Process(out.get(), in.get(), block, active);
    unsigned int const length = 16384;
    std::vector<double> response;
    for (unsigned int done = 0; done < length; done += block) {
      std::fill(in.data[0].begin(), in.data[0].end(), 0.f);
      if (done == 0) in.data[0][0] = 1.f;
      sub->Process(out.get(), in.get(), block, active);
      for (float v : out.data[0]) response.push_back(v);
    }
    double const w0 = 2.0 * M_PI * 200.0 / rate, s = std::sin(w0), c = std::cos(w0);
    double const alpha = s / (2.0 * 0.7f);
    for (int p = 0; p < 32; ++p) {
      double const f = 20.0 * std::pow(100.0, p / 31.0);  // 20 Hz to 2 kHz
      double const w = 2.0 * M_PI * f / rate;
      std::complex<double> sum = 0.0;
      for (std::size_t n = 0; n < response.size(); ++n) {
        sum += response[n] * std::polar(1.0, -w * double(n));
      }
      std::complex<double> const z = std::polar(1.0, -w);
      std::complex<double> const h = ((1 - c) / 2 * (1.0 + 2.0 * z + z * z)) /
                                     ((1 + alpha) + (-2 * c) * z + (1 - alpha) * z * z);
      double const want = 20.0 * std::log10(std::abs(h));
      if (want < -60.0) continue;
      EXPECT_NEAR(20.0 * std::log10(std::abs(sum)), want, 0.01) << numOut << " outputs, " << f;
    }
  }
}

TEST(SubwoofersPanning, CreateAndDefaults) {
  std::unique_ptr<Zorv::Pan> none(SubwoofersPanning::Create(2, 0));
  EXPECT_NE(dynamic_cast<Zorv::NullPanning*>(none.get()), nullptr);
  std::unique_ptr<Zorv::Pan> one(Zorv::Pan::Factory(3, 1, "lfe", "direct"));
  auto* sub = dynamic_cast<SubwoofersPanning*>(one.get());
  ASSERT_NE(sub, nullptr);
  EXPECT_EQ(sub->GetEqualizer().GetNumChannels(), 1u);
  Zorv::BiquadFrequencyResponse const& section =
      sub->GetEqualizer().GetChannel(0).GetFrequencyResponses().GetSection(0);
  EXPECT_EQ(section.GetFilterType(), SecondOrderFilters::LowPass);
  EXPECT_FLOAT_EQ(section.GetQ(), 0.7f);
  EXPECT_FLOAT_EQ(section.GetFreq(), 125.f);
  std::unique_ptr<Zorv::Pan> many(Zorv::Pan::Factory(3, 5, "subwoofer", "direct"));
  EXPECT_EQ(dynamic_cast<SubwoofersPanning*>(many.get())->GetEqualizer().GetNumChannels(), 3u);
}

TEST(SubwoofersPanning, AddingAddsAndLongBlocksRunInPieces) {
  for (unsigned int numOut : {1u, 3u}) {
    auto a = make(2, numOut);
    auto b = make(2, numOut);
    unsigned int const length = 3 * block + 17;  // past the largest block given
    Signals in(2, length), out(numOut, length), want(numOut, length);
    std::mt19937 rng(4);
    fillNoise(in, rng);
    short const active[2] = {1, 1};
    a->SetCutOffFrequency(300.f);
    b->SetCutOffFrequency(300.f);
    for (auto& d : out.data) std::fill(d.begin(), d.end(), 0.25f);
    a->ProcessAdding(out.get(), in.get(), length, active);
    for (unsigned int done = 0; done < length; done += block) {
      unsigned int const n = std::min(block, length - done);
      float* ip[2] = {in.get()[0] + done, in.get()[1] + done};
      std::vector<float*> op;
      for (auto& d : want.data) op.push_back(d.data() + done);
      b->Process(op.data(), ip, n, active);
    }
    for (unsigned int j = 0; j < numOut; ++j) {
      for (unsigned int n = 0; n < length; ++n) {
        ASSERT_NEAR(out.data[j][n], want.data[j][n] + 0.25f, 1e-6f)
            << numOut << " " << j << " " << n;
      }
    }
  }
}

TEST(SubwoofersPanning, BlocksAllocateNothingWhileTheCutOffMoves) {
  for (unsigned int numOut : {1u, 4u}) {
    auto sub = make(3, numOut);
    Signals in(3, block), out(numOut, block);
    std::mt19937 rng(9);
    short const active[3] = {1, 0, 1};
    for (int k = 0; k < 60; ++k) {
      fillNoise(in, rng);
      sub->SetCutOffFrequency(60.f + 5.f * k);  // message side
      sub->SetSourcePosition(k % 3, CartesianVector(1.f, 0.1f * k, 0.f), false);
      zorvtest::AllocationCounter counter;
      if (k % 2 == 0) {
        sub->Process(out.get(), in.get(), block, active);
      } else {
        sub->ProcessAdding(out.get(), in.get(), block, active);
      }
      ASSERT_EQ(counter.Count(), 0u) << numOut << " " << k;
    }
  }
}

}  // namespace
