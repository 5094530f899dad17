#include "NolarGainMatrixMixer.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

// The reference must round exactly as the mixer does.
#if defined(__clang__)
#pragma clang fp contract(off)
#elif defined(__GNUC__)
#pragma GCC optimize("fp-contract=off")
#endif

namespace {

using nolardsp::GainMatrixMixer;

// One chunk done the plain way: element by element, inputs ascending, each a
// full pass over the samples, the first sounding element of an output writing
// it. accumulate selects the gain of sample k: g0 + k * step when false,
// repeated addition of step when true.
void reference(std::vector<std::vector<float>>& out, std::vector<std::vector<float>> const& in,
               std::vector<float> const& s, std::vector<float> const& t, unsigned long offset,
               unsigned long c, int position, float inv, std::vector<short> const& active,
               bool overwrite, bool jump, bool accumulate) {
  unsigned int const n = static_cast<unsigned int>(in.size());
  unsigned int const m = static_cast<unsigned int>(out.size());
  for (unsigned int j = 0; j < m; ++j) {
    bool written = !overwrite;
    for (unsigned int i = 0; i < n; ++i) {
      float const tt = t[i * m + j];
      float const ss = jump ? tt : s[i * m + j];
      if (active[i] == 0 || (s[i * m + j] == 0.f && tt == 0.f)) continue;
      float g0 = tt, step = 0.f;
      if (ss != tt) {
        g0 = static_cast<float>(position) * inv * (tt - ss) + ss;
        float const g1 =
            (static_cast<float>(position) + static_cast<float>(c)) * inv * (tt - ss) + ss;
        step = (g1 - g0) / static_cast<float>(c);
      }
      float g = g0;
      for (unsigned long k = 0; k < c; ++k) {
        float const gain = accumulate ? g : g0 + static_cast<float>(k) * step;
        float const v = gain * in[i][offset + k];
        out[j][offset + k] = written ? out[j][offset + k] + v : v;
        g += step;
      }
      written = true;
    }
    if (!written) {
      for (unsigned long k = 0; k < c; ++k) out[j][offset + k] = 0.f;
    }
  }
}

std::vector<float*> pointers(std::vector<std::vector<float>>& channels) {
  std::vector<float*> p;
  for (auto& c : channels) p.push_back(c.data());
  return p;
}

// Random shapes, sparse and dense gains, standing and moving elements,
// random active inputs, both modes: the mixer must give the plain element-
// by-element result to the bit, however it groups, pairs or cuts the work.
TEST(GainMatrixMixer, MatchesThePlainElementByElementMixExactly) {
  std::mt19937 random(7);
  std::uniform_real_distribution<float> value(-1.f, 1.f);
  for (int trial = 0; trial < 330; ++trial) {
    // The last trials are wide enough for a chunk to take several runs.
    bool const wide = trial >= 300;
    unsigned int const n = wide ? 30 + random() % 40 : 1 + random() % 11;
    unsigned int const m = wide ? 4 + random() % 9 : 1 + random() % 11;
    int const kind = trial % 4;  // 0 dense, 1 sparse, 2 standing, 3 columns alike
    std::vector<float> s(n * m), t(n * m);
    for (unsigned int e = 0; e < n * m; ++e) {
      s[e] = kind == 1 && random() % 3 != 0 ? 0.f : value(random);
      t[e] =
          kind == 2 || random() % 4 == 0 ? s[e] : (kind == 1 && random() % 2 ? 0.f : value(random));
    }
    if (kind == 3) {
      for (unsigned int i = 0; i < n; ++i) {
        for (unsigned int j = 1; j < m; ++j) {
          if (s[i * m] == 0.f && t[i * m] == 0.f) s[i * m + j] = t[i * m + j] = 0.f;
        }
      }
    }
    std::vector<short> active(n, 1);
    if (trial % 3 == 1) {
      for (auto& a : active) a = static_cast<short>(random() % 2);
    }
    unsigned long const length = 1 + random() % (wide ? 1500 : 700), offset = random() % 5;
    int const period = 1 + static_cast<int>(random() % (wide ? 4000 : 2000));
    int const position = static_cast<int>(random() % static_cast<unsigned int>(period));
    unsigned long const c =
        std::min<unsigned long>(length, static_cast<unsigned long>(period - position));
    bool const overwrite = trial % 2 == 0, jump = trial % 7 == 3;
    float const inv = 1.f / static_cast<float>(period);

    std::vector<std::vector<float>> in(n, std::vector<float>(offset + length));
    for (auto& ch : in) {
      for (auto& v : ch) v = value(random);
    }
    std::vector<std::vector<float>> out(m, std::vector<float>(offset + length));
    for (auto& ch : out) {
      for (auto& v : ch) v = value(random);
    }
    auto const original = out;
    auto expected = out;
    reference(expected, in, s, t, offset, c, position, inv, active, overwrite, jump, false);

    GainMatrixMixer mixer;
    mixer.Resize(n, m);
    mixer.SetPeriod(s.data(), t.data());
    auto ins = pointers(in);
    auto outs = pointers(out);
    mixer.Mix(outs.data(), ins.data(), offset, c, position, inv, active.data(), overwrite, jump);
    for (unsigned int j = 0; j < m; ++j) {
      for (unsigned long k = 0; k < offset + length; ++k) {
        ASSERT_EQ(out[j][k], expected[j][k])
            << "trial " << trial << " output " << j << " sample " << k;
      }
    }

    // The gain of a sample taken from the chunk's start rather than summed
    // step by step: the same line, within rounding of the summation.
    auto summed = original;
    reference(summed, in, s, t, offset, c, position, inv, active, overwrite, jump, true);
    for (unsigned int j = 0; j < m; ++j) {
      for (unsigned long k = offset; k < offset + c; ++k) {
        ASSERT_NEAR(out[j][k], summed[j][k], 2e-5f * n) << "trial " << trial;
      }
    }
  }
}

TEST(GainMatrixMixer, AnOutputWithNothingToSayIsZeroedOrLeftAlone) {
  GainMatrixMixer mixer;
  mixer.Resize(2, 2);
  float const s[] = {1.f, 0.f, 0.f, 0.f};
  mixer.SetPeriod(s, s);
  std::vector<std::vector<float>> in(2, std::vector<float>(8, 1.f));
  std::vector<std::vector<float>> out(2, std::vector<float>(8, 5.f));
  auto ins = pointers(in);
  auto outs = pointers(out);
  short const active[] = {1, 1};
  mixer.Mix(outs.data(), ins.data(), 0, 8, 0, 0.01f, active, false, false);
  EXPECT_EQ(out[0][3], 6.f);
  EXPECT_EQ(out[1][3], 5.f);
  mixer.Mix(outs.data(), ins.data(), 0, 8, 0, 0.01f, active, true, false);
  EXPECT_EQ(out[0][3], 1.f);
  EXPECT_EQ(out[1][3], 0.f);
  // Inactive inputs are not read: NaN behind an inactive input stays out.
  in[0].assign(8, NAN);
  short const none[] = {0, 1};
  mixer.Mix(outs.data(), ins.data(), 0, 8, 0, 0.01f, none, true, false);
  EXPECT_EQ(out[0][3], 0.f);
}

}  // namespace
