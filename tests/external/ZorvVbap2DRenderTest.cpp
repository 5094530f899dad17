#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "ZorvHost.h"
#include "ZorvSpeakers.h"
#include "ZorvVbap2DPanning.h"

// End to end through the object: box text in, signal vectors out, for a
// gain-matrix panner whose gains the test can work out with a panner of its own.
namespace {

using nolardsp::CartesianVector;
using zorvhost::PanObject;

TEST(Vbap2DRender, UnitDcSettlesOnThePannersGainsAndGlidesWithoutStep) {
  unsigned int const numInputs = 4, numOutputs = 8, block = 64;
  auto pan = PanObject::Create("zorv.pan~ @numinputs 4 @numoutputs 8 @type vbap2d");
  ASSERT_NE(pan, nullptr);
  ASSERT_EQ(pan->NumOutlets(), numOutputs);
  pan->StartDsp(48000., block);
  std::vector<std::string> const time = pan->GetAttribute("interpolationtime");
  ASSERT_EQ(time.size(), 1u);
  int const period = static_cast<int>(0.001f * 48000.f * std::strtof(time[0].c_str(), nullptr));
  ASSERT_GT(period, 0);

  // The same method, driven directly, with the layout and source positions
  // the object starts from: its gains are what the outputs must hold.
  Zorv::Vbap2DPanning reference(numInputs, numOutputs);
  reference.SetLoudspeakerPositions(Zorv::Speakers::GetDefaultForChannels(numOutputs));
  float start[3 * numInputs];
  Zorv::Speakers::GetRegularlySpaced(start, numInputs);
  auto gainsAt = [&](CartesianVector const& p) {
    reference.SetSourcePosition(0, p, false);
    return std::vector<float>(reference.GetNextGains(), reference.GetNextGains() + numOutputs);
  };

  std::vector<std::vector<float>> in(numInputs, std::vector<float>(block, 0.f));
  std::fill(in[0].begin(), in[0].end(), 1.f);  // unit DC on input 1 only
  std::vector<std::vector<float>> out(numOutputs, std::vector<float>(block));
  std::vector<float const*> ip;
  std::vector<float*> op;
  for (auto& v : in) ip.push_back(v.data());
  for (auto& v : out) op.push_back(v.data());
  std::vector<std::vector<float>> trace(numOutputs);
  auto run = [&](int samples) {
    for (auto& t : trace) t.clear();
    for (int done = 0; done < samples; done += block) {
      pan->ProcessBlock(ip.data(), op.data());
      for (unsigned int k = 0; k < numOutputs; ++k) {
        trace[k].insert(trace[k].end(), out[k].begin(), out[k].end());
      }
    }
  };

  std::vector<float> const before = gainsAt(CartesianVector(start[0], start[1], start[2]));
  run(3 * period);
  for (unsigned int k = 0; k < numOutputs; ++k) EXPECT_EQ(trace[k].back(), before[k]) << k;

  // Move source 1 (the list's leading values) to the front right.
  pan->SendMessage("sourcespositions 0.75 0.5 0");
  std::vector<float> const after = gainsAt(CartesianVector(0.75f, 0.5f, 0.f));
  run(3 * period);
  bool moved = false;
  for (unsigned int k = 0; k < numOutputs; ++k) {
    moved = moved || after[k] != before[k];
    EXPECT_EQ(trace[k].front(), before[k]) << k;
    EXPECT_EQ(trace[k].back(), after[k]) << k;
    // One straight ramp over one period: no sample moves by more than its share.
    float const bound =
        std::fabs(after[k] - before[k]) / static_cast<float>(period) * 1.01f + 1e-7f;
    for (std::size_t n = 1; n < trace[k].size(); ++n) {
      ASSERT_LE(std::fabs(trace[k][n] - trace[k][n - 1]), bound) << k << " " << n;
    }
  }
  EXPECT_TRUE(moved);
}

}  // namespace

namespace {

// Every speaker-array type makes an object from its box and renders finite
// signals with the default layout. The vector-based 3-D types are silent on
// it: the default layout of 8 is a ring, in which no triplet of speakers
// encloses any volume.
TEST(SpeakerArrayRender, EveryTypeMakesAnObjectAndRendersTheDefaultLayout) {
  struct Case {
    char const* type;
    bool audible;
  };
  for (Case const c : {Case{"vbap2d", true}, Case{"vbap", false}, Case{"vbip", false},
                       Case{"dbap", true}, Case{"dbap3d", true}, Case{"vdbap", true}}) {
    auto pan = zorvhost::PanObject::Create(
        std::string("zorv.pan~ @numinputs 4 @numoutputs 8 @type ") + c.type);
    ASSERT_NE(pan, nullptr) << c.type;
    pan->StartDsp(44100., 128);
    std::vector<std::vector<float>> in(4, std::vector<float>(128, 0.5f));
    std::vector<std::vector<float>> out(8, std::vector<float>(128));
    std::vector<float const*> ip;
    std::vector<float*> op;
    for (auto& v : in) ip.push_back(v.data());
    for (auto& v : out) op.push_back(v.data());
    double energy = 0.;
    for (int b = 0; b < 40; ++b) {
      pan->ProcessBlock(ip.data(), op.data());
      for (auto const& v : out) {
        for (float s : v) {
          ASSERT_TRUE(std::isfinite(s)) << c.type;
          energy += s * s;
        }
      }
    }
    EXPECT_EQ(energy > 0., c.audible) << c.type;
  }
}

}  // namespace
