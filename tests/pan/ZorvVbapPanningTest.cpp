#include "ZorvVbapPanning.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <vector>

#include "NolarConstants.h"
#include "ZorvAmplitudePanning.h"
#include "ZorvPanTestLayouts.h"
#include "ZorvVbap2DPanning.h"
#include "ZorvVbipPanning.h"

namespace {

using nolardsp::CartesianVector;
using namespace zorvtest;

template <class T>
std::vector<float> gainsAt(T& pan, CartesianVector const& p, unsigned int source = 0) {
  pan.SetSourcePosition(source, p, false);
  unsigned int const m = pan.GetNumOutputs();
  float const* row = pan.GetNextGains() + m * source;
  return std::vector<float>(row, row + m);
}

TEST(VbapPanning, NewLayoutRerendersEverySource) {
  Zorv::VbapPanning pan(2, 8);
  auto const s = cube();
  CartesianVector const p = unit(CartesianVector(0.2f, 0.9f, -0.4f));
  pan.SetSourcePosition(0, p, false);
  pan.SetSourcePosition(1, s[6], false);
  pan.SetLoudspeakerPositions(s.data());
  EXPECT_LT(angleBetween(image(gainsAt(pan, p), s), p), 1e-3f);
  float const* row1 = pan.GetNextGains() + 8;
  EXPECT_NEAR(row1[6], 1.f, 1e-6f);
}

TEST(VbapPanning, SpreadPerSourceOnlyAndNotForAllAtOnce) {
  Zorv::VbapPanning pan(2, 16);
  auto const s = dome();
  pan.SetLoudspeakerPositions(s.data());
  CartesianVector const p = fromDegrees(40.f, 30.f);
  auto const point = gainsAt(pan, p);
  // The all-sources setter is not one of this method's.
  pan.SetOmniSpreadFactor(50.f);
  auto const same = gainsAt(pan, p);
  for (std::size_t k = 0; k < point.size(); ++k) EXPECT_EQ(same[k], point[k]);
  pan.SetOmniSpreadFactor(0u, 50.f);
  auto const wide = gainsAt(pan, p);
  EXPECT_GT(countAbove(wide, 1e-3f), countAbove(point, 1e-3f));
  EXPECT_NEAR(power(wide), 1.f, 1e-5f);
  auto const other = gainsAt(pan, p, 1);
  for (std::size_t k = 0; k < point.size(); ++k) EXPECT_EQ(other[k], point[k]);
}

TEST(VbipPanning, GainsFollowTheIntensityRule) {
  Zorv::VbipPanning vbip(1, 8);
  Zorv::VbapPanning vbap(1, 8);
  auto const s = cube();
  vbip.SetLoudspeakerPositions(s.data());
  vbap.SetLoudspeakerPositions(s.data());
  CartesianVector const p = unit(CartesianVector(0.5f, 0.7f, 0.1f));
  // With r the raw triplet gains and S the sum of their squares, the
  // constant-power gains are r / sqrt(S) and the intensity gains sqrt(r / S):
  // the ratio of the second squared to the first is the same 1 / sqrt(S) on
  // every driven speaker.
  auto const gi = gainsAt(vbip, p);
  auto const ga = gainsAt(vbap, p);
  float ratio = -1.f;
  for (std::size_t k = 0; k < 8; ++k) {
    EXPECT_EQ(gi[k] > 0.f, ga[k] > 0.f) << k;
    if (!(ga[k] > 0.f)) continue;
    if (ratio < 0.f) ratio = gi[k] * gi[k] / ga[k];
    EXPECT_NEAR(gi[k] * gi[k] / ga[k], ratio, 1e-4f);
  }
  // On a speaker the rule gives 1 there, as constant power does.
  auto const on = gainsAt(vbip, s[2]);
  for (std::size_t k = 0; k < 8; ++k) EXPECT_NEAR(on[k], k == 2 ? 1.f : 0.f, 1e-5f);
}

TEST(VbipPanning, PowerFallsWithDistanceDownToMinRadiusAndHoldsInside) {
  Zorv::VbipPanning vbip(1, 8);
  auto const s = cube();
  vbip.SetLoudspeakerPositions(s.data());
  CartesianVector const d = unit(CartesianVector(-0.4f, 0.7f, 0.3f));
  auto at = [&](float r) { return gainsAt(vbip, CartesianVector(r * d.x, r * d.y, r * d.z)); };
  // Beyond MinRadius the rule is untouched: power times distance is constant.
  float const atOne = power(at(1.f));
  for (float r : {0.2f, 0.5f, 3.f, 1e4f}) EXPECT_NEAR(power(at(r)) * r, atOne, 1e-4f * atOne) << r;
  // Inside it, a source sounds exactly as at MinRadius in its own direction.
  auto const held = at(0.2f);
  for (float r : {0.19f, 1e-3f, 1e-9f, 1e-30f}) {
    auto const g = at(r);
    for (std::size_t k = 0; k < g.size(); ++k) EXPECT_NEAR(g[k], held[k], 1e-5f) << r;
  }
  // The centre takes the direction of the x axis.
  auto const centre = gainsAt(vbip, CartesianVector(0.f, 0.f, 0.f));
  auto const onX = gainsAt(vbip, CartesianVector(0.2f, 0.f, 0.f));
  for (std::size_t k = 0; k < centre.size(); ++k) EXPECT_NEAR(centre[k], onX[k], 1e-6f);
  EXPECT_GT(power(centre), 0.f);
}

TEST(Vbap2DPanning, RendersTheRingAndTellsItsActivePair) {
  Zorv::Vbap2DPanning pan(1, 4);
  auto const s = ring(4, 45.f);  // internal azimuths 45, 135, 225, 315
  pan.SetLoudspeakerPositions(s.data());
  CartesianVector const p = fromDegrees(100.f, 0.f);
  auto const g = gainsAt(pan, p);
  EXPECT_EQ(countAbove(g, 0.f), 2u);
  EXPECT_GT(g[0], 0.f);
  EXPECT_GT(g[1], 0.f);
  EXPECT_LT(angleBetween(image(g, s), p), 1e-4f);
  unsigned int channels[2];
  pan.GetActiveSpeakers(p, channels);
  // Sorted clockwise from the front: speaker 1 (user -45) before speaker 0 (45).
  EXPECT_EQ(channels[0], 1u);
  EXPECT_EQ(channels[1], 0u);
}

}  // namespace

namespace {

TEST(Vbap2DPanning, UnitDcSettlesOnTheGainsAndGlidesWithoutStep) {
  unsigned int const m = 8, block = 64;
  std::unique_ptr<Zorv::Pan> pan(Zorv::Pan::Factory(1, m, "vbap2d", "direct"));
  auto* amp = dynamic_cast<Zorv::AmplitudePanning*>(pan.get());
  ASSERT_NE(amp, nullptr);
  auto const s = ring(m);
  pan->SetLoudspeakerPositions(s.data());
  pan->Configure(48000.f, block, true);
  int const period = amp->GetRampLength();

  std::vector<float> in(block, 1.f);
  std::vector<std::vector<float>> out(m, std::vector<float>(block));
  float* ins[1] = {in.data()};
  std::vector<float*> outs;
  for (auto& c : out) outs.push_back(c.data());
  std::vector<std::vector<float>> trace(m);
  auto run = [&](int samples) {
    for (int done = 0; done < samples; done += block) {
      pan->Process(outs.data(), ins, block, nolardsp::allActiveInputs);
      for (unsigned int k = 0; k < m; ++k)
        trace[k].insert(trace[k].end(), out[k].begin(), out[k].end());
    }
  };

  CartesianVector const a = fromDegrees(10.f, 0.f), b = fromDegrees(130.f, 0.f);
  pan->SetSourcePosition(0, a, false);
  std::vector<float> const ga(amp->GetNextGains(), amp->GetNextGains() + m);
  run(3 * period);
  for (unsigned int k = 0; k < m; ++k) EXPECT_EQ(trace[k].back(), ga[k]);

  for (auto& t : trace) t.clear();
  pan->SetSourcePosition(0, b, false);
  std::vector<float> const gb(amp->GetNextGains(), amp->GetNextGains() + m);
  run(3 * period);
  for (unsigned int k = 0; k < m; ++k) {
    EXPECT_EQ(trace[k].back(), gb[k]);
    // One straight ramp over one period: no sample moves by more than its share.
    float const bound = std::fabs(gb[k] - ga[k]) / static_cast<float>(period) * 1.01f + 1e-7f;
    for (std::size_t n = 1; n < trace[k].size(); ++n) {
      ASSERT_LE(std::fabs(trace[k][n] - trace[k][n - 1]), bound) << k << " " << n;
    }
    EXPECT_EQ(trace[k].front(), ga[k]);
  }
}

}  // namespace
