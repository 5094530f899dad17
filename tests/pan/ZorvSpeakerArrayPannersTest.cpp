#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "NolarConstants.h"
#include "ZorvAmplitudePanning.h"
#include "ZorvNullPanning.h"
#include "ZorvPanTestLayouts.h"
#include "ZorvTestAllocationCounter.h"

// What every speaker-array panner owes, whatever its law: made by the factory
// for the counts it serves, finite gains of the right size for any position,
// and blocks that allocate nothing while sources move.
namespace {

using nolardsp::CartesianVector;
using Zorv::AmplitudePanning;
using Zorv::Pan;
using namespace zorvtest;

enum class Law {
  ConstantPower,  // the squares of a source's gains sum to 1 (or all are 0)
  Other,          // told in the method's own tests
};

struct Method {
  char const* type;
  unsigned int fewestOutputs;
  bool planar;  // rendered from x and y only
  Law law;
  // The triplet choice lets raw gains between -0.01 and 0 through; its
  // thresholds are absolute, so near the centre such a gain can weigh much
  // after normalisation.
  bool negativeNearCentre;
};

class SpeakerArrayPanner : public ::testing::TestWithParam<Method> {
 protected:
  std::unique_ptr<Pan> make(unsigned int n, unsigned int m) {
    return std::unique_ptr<Pan>(Pan::Factory(n, m, GetParam().type, "direct"));
  }
  // A ring of 8 for the plane methods, the dome of 16 for the others.
  std::vector<CartesianVector> speakers() const { return GetParam().planar ? ring(8) : dome(); }
  unsigned int count() const { return static_cast<unsigned int>(speakers().size()); }
};

TEST_P(SpeakerArrayPanner, FactoryServesOnlyTheCountsTheMethodCan) {
  unsigned int const fewest = GetParam().fewestOutputs;
  if (fewest > 0) {
    std::unique_ptr<Pan> tooFew = make(2, fewest - 1);
    EXPECT_NE(dynamic_cast<Zorv::NullPanning*>(tooFew.get()), nullptr);
  }
  for (unsigned int m : {fewest == 0 ? 1u : fewest, 8u, 16u}) {
    std::unique_ptr<Pan> p = make(2, m);
    ASSERT_NE(dynamic_cast<AmplitudePanning*>(p.get()), nullptr) << m;
    EXPECT_EQ(p->GetNumOutputs(), m);
    EXPECT_EQ(p->GetNumInputs(), 2u);
  }
}

TEST_P(SpeakerArrayPanner, GainsAreFiniteForAnyPositionAndLayout) {
  std::vector<CartesianVector> s = speakers();
  auto withCentre = s;
  withCentre[3] = CartesianVector(0.f, 0.f, 0.f);
  auto duplicated = s;
  duplicated[4] = duplicated[5];
  unsigned int const m = count();
  std::vector<CartesianVector> line(m);
  for (unsigned int k = 0; k < m; ++k) line[k] = CartesianVector(0.5f * k - 2.f, 1.f, 0.f);
  std::vector<CartesianVector> onePoint(m, CartesianVector(0.f, 1.f, 0.f));

  std::mt19937 rng(31);
  std::uniform_real_distribution<float> u(-3.f, 3.f);
  for (std::vector<CartesianVector> const* layout :
       {&s, &withCentre, &duplicated, &line, &onePoint}) {
    std::unique_ptr<Pan> p = make(1, m);
    auto* pan = dynamic_cast<AmplitudePanning*>(p.get());
    ASSERT_NE(pan, nullptr);
    pan->SetLoudspeakerPositions(layout->data());
    std::vector<CartesianVector> sources = {
        {0.f, 0.f, 0.f}, (*layout)[0], (*layout)[5], {1e4f, -3e4f, 2e3f}, {0.f, 0.f, -5.f}};
    for (int n = 0; n < 300; ++n) sources.emplace_back(u(rng), u(rng), 0.3f * u(rng));
    for (auto const& q : sources) {
      pan->SetSourcePosition(0, q, false);
      std::vector<float> g(pan->GetNextGains(), pan->GetNextGains() + m);
      ASSERT_TRUE(allFinite(g)) << GetParam().type;
      if (!GetParam().negativeNearCentre) {
        for (float v : g) EXPECT_GE(v, 0.f);
      } else if (layout == &s && q.radius() >= 1.f) {
        // Only on the whole layout and away from the centre: a duplicated
        // speaker leaves a hole in the triangulation, where such a gain may
        // stand alone and become -1.
        for (float v : g) EXPECT_GE(v, -0.02f);
      }
      if (GetParam().law == Law::ConstantPower) {
        float const pw = power(g);
        EXPECT_TRUE(pw == 0.f || std::fabs(pw - 1.f) < 1e-4f) << pw;
      }
    }
  }
}

TEST_P(SpeakerArrayPanner, NotANumberPositionIsSilent) {
  std::unique_ptr<Pan> p = make(1, count());
  auto* pan = dynamic_cast<AmplitudePanning*>(p.get());
  auto const s = speakers();
  pan->SetLoudspeakerPositions(s.data());
  float const nan = std::nanf("");
  for (auto const& q : {CartesianVector(nan, 0.f, 0.f), CartesianVector(0.f, INFINITY, 0.f)}) {
    pan->SetSourcePosition(0, q, false);
    for (unsigned int k = 0; k < count(); ++k) EXPECT_EQ(pan->GetNextGains()[k], 0.f);
  }
}

TEST_P(SpeakerArrayPanner, BlocksAllocateNothingWhileSourcesMove) {
  unsigned int const n = 3, m = count(), block = 64;
  std::unique_ptr<Pan> p = make(n, m);
  auto const s = speakers();
  p->SetLoudspeakerPositions(s.data());
  p->Configure(48000.f, block, true);
  p->SetOmniSpreadFactor(1, 20.f);
  std::vector<std::vector<float>> in(n, std::vector<float>(block, 0.5f));
  std::vector<std::vector<float>> out(m, std::vector<float>(block));
  std::vector<float*> ins, outs;
  for (auto& c : in) ins.push_back(c.data());
  for (auto& c : out) outs.push_back(c.data());

  zorvtest::AllocationCounter counter;
  for (int b = 0; b < 200; ++b) {
    for (unsigned int i = 0; i < n; ++i) {
      p->SetSourcePosition(i, fromDegrees(7.f * b + 100.f * i, 10.f, 1.f + 0.01f * b), false);
    }
    p->Process(outs.data(), ins.data(), block, nolardsp::allActiveInputs);
  }
  EXPECT_EQ(counter.Count(), 0u);
  for (auto const& c : out) EXPECT_TRUE(allFinite(c));
}

INSTANTIATE_TEST_SUITE_P(Methods, SpeakerArrayPanner,
                         ::testing::Values(Method{"angular", 0, true, Law::ConstantPower, false},
                                           Method{"vbap2d", 2, true, Law::ConstantPower, false},
                                           Method{"vbap", 3, false, Law::ConstantPower, true},
                                           Method{"vbip", 3, false, Law::Other, false},
                                           Method{"dbap", 1, true, Law::Other, false},
                                           Method{"dbap3d", 1, false, Law::ConstantPower, false},
                                           Method{"vdbap", 3, false, Law::Other, true}),
                         [](auto const& info) { return std::string(info.param.type); });

}  // namespace
