// The "diffuse" renderer: two independent noises in, two ears out whose
// coherence, band by band, is the one its two fixed filters define.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <memory>
#include <random>
#include <vector>

#include "NolarConstants.h"
#include "ZorvBinauralPanningIACC.h"
#include "ZorvNullPanning.h"
#include "ZorvTestAllocationCounter.h"

namespace {

using Zorv::BinauralPanningIACC;

double const pi = 3.14159265358979323846;

// Squared magnitude of a table (gain, then b1 b2 a1 a2 per section) at
// normalised angular frequency w, in double.
double powerOf(float const* table, double w) {
  std::complex<double> const z = std::exp(std::complex<double>(0., -w));
  std::complex<double> h = table[0];
  for (int s = 0; s < 2; ++s) {
    float const* c = table + 1 + 4 * s;
    h *= (1. + double(c[0]) * z + double(c[1]) * z * z) /
         (1. + double(c[2]) * z + double(c[3]) * z * z);
  }
  return std::norm(h);
}

// A band-pass of one third of an octave around fc: two second-order
// band-pass sections in cascade, in double.
struct BandPass {
  BandPass(double fc, double rate) {
    double const q = 4.318;  // one third of an octave
    double const w = 2. * pi * fc / rate;
    double const alpha = std::sin(w) / (2. * q);
    double const a0 = 1. + alpha;
    b0 = alpha / a0;
    a1 = -2. * std::cos(w) / a0;
    a2 = (1. - alpha) / a0;
  }
  double power(double w) const {
    std::complex<double> const z = std::exp(std::complex<double>(0., -w));
    std::complex<double> const h = b0 * (1. - z * z) / (1. + a1 * z + a2 * z * z);
    return std::norm(h) * std::norm(h);
  }
  std::vector<double> run(std::vector<float> const& x) const {
    std::vector<double> y(x.size());
    double s[2][4] = {};
    for (std::size_t n = 0; n < x.size(); ++n) {
      double v = x[n];
      for (auto& m : s) {
        double const out = b0 * (v - m[1]) - a1 * m[2] - a2 * m[3];
        m[1] = m[0];
        m[0] = v;
        m[3] = m[2];
        m[2] = out;
        v = out;
      }
      y[n] = v;
    }
    return y;
  }
  double b0, a1, a2;
};

// Ten seconds of two independent white noises at 44.1 kHz, the rate of the
// tables, for bands from 200 Hz up: a third of an octave at 200 Hz is 46 Hz
// wide, some 460 independent values of power in ten seconds, so that the
// chance correlation of the two noises moves the level by less than 0.1 dB.
TEST(BinauralPanningIACC, CoherenceAndLevelPerThirdOctaveAreThoseOfItsFilters) {
  double const rate = 44100.;
  std::size_t const length = 10 * 44100;
  BinauralPanningIACC pan(2, 2);
  pan.Configure(static_cast<float>(rate), 256, true);
  std::mt19937 random(7);
  std::normal_distribution<float> noise(0.f, 0.25f);
  std::vector<float> in[2], out[2];
  for (auto& v : in) {
    v.resize(length);
    for (float& s : v) s = noise(random);
  }
  for (auto& v : out) v.resize(length);
  for (std::size_t done = 0; done < length; done += 256) {
    float* ins[] = {in[0].data() + done, in[1].data() + done};
    float* outs[] = {out[0].data() + done, out[1].data() + done};
    pan.Process(outs, ins, std::min<std::size_t>(256, length - done), nolardsp::allActiveInputs);
  }
  std::size_t const skip = 4410;  // the filters' start
  for (double fc = 200.; fc < 16000.; fc *= std::pow(2., 1. / 3.)) {
    BandPass const band(fc, rate);
    // What the filters define, for a flat input spectrum through this band.
    double num = 0., den = 0., flat = 0.;
    for (int k = 1; k < 20000; ++k) {
      double const w = pi * k / 20000.;
      double const b = band.power(w);
      double const s = powerOf(BinauralPanningIACC::ISCC_4_4_KEMAR_diffuse_44, w);
      double const d = powerOf(BinauralPanningIACC::IDCC_4_4_KEMAR_diffuse_44, w);
      num += b * (s - d);
      den += b * (s + d);
      flat += b;
    }
    double const expectedCoherence = num / den;
    double const expectedGainDb = 10. * std::log10(4. * den / flat);

    std::vector<double> const l = band.run(out[0]), r = band.run(out[1]);
    std::vector<double> const a = band.run(in[0]), b = band.run(in[1]);
    double lr = 0., ll = 0., rr = 0., aa = 0., bb = 0.;
    for (std::size_t n = skip; n < length; ++n) {
      lr += l[n] * r[n];
      ll += l[n] * l[n];
      rr += r[n] * r[n];
      aa += a[n] * a[n];
      bb += b[n] * b[n];
    }
    double const coherence = lr / std::sqrt(ll * rr);
    double const bandwidth = fc * 0.2316;
    double const spread = 3. / std::sqrt(bandwidth * (length - skip) / rate);
    SCOPED_TRACE(::testing::Message() << fc << " Hz");
    EXPECT_NEAR(coherence, expectedCoherence, spread);
    double const gainDb = 10. * std::log10(0.5 * (ll + rr) / (0.5 * (aa + bb)));
    EXPECT_NEAR(gainDb, expectedGainDb, 0.3);
    EXPECT_NEAR(gainDb, 3., 0.3);
  }
}

// A signal on the right input alone gives the image of the same signal on
// the left input alone: the two ears exchanged.
TEST(BinauralPanningIACC, OneSideAloneIsTheMirrorOfTheOther) {
  std::vector<float> x(512), silence(512, 0.f);
  for (std::size_t n = 0; n < x.size(); ++n) x[n] = std::sin(0.05f * n) + (n == 3 ? 1.f : 0.f);
  std::vector<float> out[2][2];
  for (int side = 0; side < 2; ++side) {
    BinauralPanningIACC pan(2, 2);
    pan.Configure(44100.f, 512, true);
    out[side][0].resize(512);
    out[side][1].resize(512);
    float* ins[] = {side == 0 ? x.data() : silence.data(), side == 1 ? x.data() : silence.data()};
    float* outs[] = {out[side][0].data(), out[side][1].data()};
    short const active[] = {static_cast<short>(side == 0), static_cast<short>(side == 1)};
    pan.Process(outs, ins, 512, active);
  }
  for (std::size_t n = 0; n < 512; ++n) {
    ASSERT_NEAR(out[0][0][n], out[1][1][n], 1e-6) << n;
    ASSERT_NEAR(out[0][1][n], out[1][0][n], 1e-6) << n;
  }
}

TEST(BinauralPanningIACC, NoInputGivesSilenceAndNoAllocation) {
  BinauralPanningIACC pan(4, 2);
  pan.Configure(48000.f, 64, true);
  std::vector<float> in(64, 1.f), l(64, 3.f), r(64, 3.f);
  float* ins[] = {in.data(), in.data(), in.data(), in.data()};
  float* outs[] = {l.data(), r.data()};
  short const none[] = {0, 0, 1, 1};  // only the first two inputs count
  std::size_t allocations = 0;
  {
    zorvtest::AllocationCounter counter;
    pan.Process(outs, ins, 64, none);
    allocations += counter.Count();
  }
  for (int k = 0; k < 64; ++k) ASSERT_TRUE(l[k] == 0.f && r[k] == 0.f) << k;
  {
    zorvtest::AllocationCounter counter;
    pan.Process(outs, ins, 64, nolardsp::allActiveInputs);
    allocations += counter.Count();
  }
  EXPECT_EQ(allocations, 0u);
}

TEST(BinauralPanningIACC, NeedsTwoInputsAndTwoOutputs) {
  std::unique_ptr<Zorv::Pan> p(BinauralPanningIACC::Create(1, 2));
  EXPECT_NE(dynamic_cast<Zorv::NullPanning*>(p.get()), nullptr);
  p.reset(BinauralPanningIACC::Create(2, 4));
  EXPECT_NE(dynamic_cast<Zorv::NullPanning*>(p.get()), nullptr);
  p.reset(BinauralPanningIACC::Create(2, 2));
  EXPECT_NE(dynamic_cast<BinauralPanningIACC*>(p.get()), nullptr);
}

}  // namespace
