#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <vector>

#include "ZorvNFCHOAPanning2D.h"
#include "ZorvNFCHOAPanning3D.h"
#include "ZorvNullPanning.h"
#include "ZorvTestAllocationCounter.h"

namespace Zorv {
namespace {

using nolardsp::CartesianVector;

TEST(NFCHOAPanning, OutputCountsGiveTheOrderOrANullPanning) {
  struct Case {
    Pan::Type type;
    unsigned int outputs;
    unsigned int order;  // 0: NullPanning
  };
  for (Case const& c :
       {Case{Pan::NFCHOA2D, 1, 0}, Case{Pan::NFCHOA2D, 3, 1}, Case{Pan::NFCHOA2D, 4, 0},
        Case{Pan::NFCHOA2D, 127, 63}, Case{Pan::NFCHOA3D, 4, 1}, Case{Pan::NFCHOA3D, 5, 0},
        Case{Pan::NFCHOA3D, 1, 0}, Case{Pan::NFCHOA3D, 16, 3}}) {
    std::unique_ptr<Pan> pan(Pan::Factory(2, c.outputs, c.type, Pan::Direct));
    auto* nfc = dynamic_cast<NFCHOAPanning*>(pan.get());
    if (c.order == 0) {
      EXPECT_NE(dynamic_cast<NullPanning*>(pan.get()), nullptr) << c.outputs;
    } else {
      ASSERT_NE(nfc, nullptr) << c.outputs;
      EXPECT_EQ(nfc->GetOrder(), c.order);
      EXPECT_EQ(nfc->GetSource(1).GetFilterBank().GetModel(1)->GetSpeakerRadius(), 1.f);
    }
  }
}

TEST(NFCHOAPanning, FiltersFollowTheThreeDimensionalDistanceAndOnlyItsChanges) {
  NFCHOAPanning2D pan(1, 7, 3);
  NFCHOAPanningOneSource& source = pan.GetSource(0);
  // The elevation enters the distance, in 2-D too.
  pan.SetSourcePosition(0, CartesianVector(1.f, 0.f, 1.f), false);
  EXPECT_FLOAT_EQ(source.GetFilterBank().GetModel(2)->GetSourceRadius(), std::sqrt(2.f));
  EXPECT_FLOAT_EQ(source.GetHighPassBank().GetFilter(2)->GetSourceRadius(), std::sqrt(2.f));
  // Take the pending sets up (the high-pass runs, and so takes its own, only
  // when in use).
  pan.UseHighPassFilters(true);
  std::vector<float> in(512, 0.f);
  std::vector<std::vector<float>> out(7, std::vector<float>(512));
  std::vector<float*> outputs;
  for (auto& o : out) outputs.push_back(o.data());
  float* inputs[] = {in.data()};
  short const active = 1;
  pan.Process(outputs.data(), inputs, 512, &active);
  // A move around the source's circle changes gains and no filter.
  pan.SetSourcePosition(0, CartesianVector(-1.f, 0.f, 1.f), false);
  for (unsigned int m = 1; m <= 3; ++m) {
    EXPECT_FALSE(source.GetFilterBank().GetCascade(m)->HasPendingCoefficients()) << m;
    EXPECT_FALSE(source.GetHighPassBank().GetFilter(m)->GetCascade().HasPendingCoefficients());
  }
  // The origin is filtered as 0.2 m, and stays finite.
  pan.SetSourcePosition(0, CartesianVector(0.f, 0.f, 0.f), false);
  EXPECT_EQ(source.GetFilterBank().GetModel(3)->GetSourceRadius(), 0.2f);
  EXPECT_TRUE(source.GetFilterBank().GetCascade(3)->HasPendingCoefficients());
}

// Eight sources with a move every block, the high-pass on, 48 kHz and blocks
// of 32 (a 10 ms fade is 480 samples, 15 blocks): no allocation on the audio
// path, every fade reaches its end once the moves stop, and the output is
// finite throughout.
TEST(NFCHOAPanning, MovingSourcesAllocateNothingAndEveryFadeEnds) {
  unsigned int const block = 32;
  NFCHOAPanning3D pan(8, 16, 3);
  pan.Configure(48000.f, block, true);
  pan.UseHighPassFilters(true);
  std::vector<std::vector<float>> in(8, std::vector<float>(block));
  std::vector<std::vector<float>> out(16, std::vector<float>(block));
  std::vector<float*> inputs, outputs;
  for (auto& v : in) inputs.push_back(v.data());
  for (auto& v : out) outputs.push_back(v.data());
  std::vector<short> active(8, 1);
  active[5] = 0;
  unsigned int phase = 0;
  for (int b = 0; b < 200; ++b) {
    for (unsigned int i = 0; i < 8; ++i) {
      float const r = 0.3f + 0.05f * static_cast<float>((b + i) % 20);
      pan.SetSourcePosition(
          i, CartesianVector(r * std::cos(0.1f * b), r * std::sin(0.1f * b), 0.1f), false);
      for (unsigned int k = 0; k < block; ++k) in[i][k] = std::sin(0.05f * (phase + k) * (i + 1));
    }
    phase += block;
    zorvtest::AllocationCounter counter;
    pan.Process(outputs.data(), inputs.data(), block, active.data());
    ASSERT_EQ(counter.Count(), 0u) << "block " << b;
    for (auto& o : out) {
      for (float v : o) ASSERT_TRUE(std::isfinite(v)) << b;
    }
  }
  for (int b = 0; b < 40; ++b) pan.Process(outputs.data(), inputs.data(), block, active.data());
  for (unsigned int i = 0; i < 8; ++i) {
    if (i == 5) continue;
    NFCHOAPanningOneSource& source = pan.GetSource(i);
    for (unsigned int m = 1; m <= 3; ++m) {
      auto& nf = *source.GetFilterBank().GetCascade(m);
      auto& hp = source.GetHighPassBank().GetFilter(m)->GetCascade();
      for (auto* cascade : {&nf, &hp}) {
        EXPECT_EQ(cascade->GetSamplesRemaining(), 0) << i << " " << m;
        EXPECT_FALSE(cascade->HasPendingCoefficients()) << i << " " << m;
        int const state = cascade->GetState();
        EXPECT_TRUE(state == 0 || state == 1) << i << " " << m << " state " << state;
      }
    }
  }
  // The inactive source ran nothing: its filters still hold their first
  // set, with the latest one waiting.
  EXPECT_TRUE(pan.GetSource(5).GetFilterBank().GetCascade(1)->HasPendingCoefficients());
}

TEST(NFCHOAPanning, ConventionsReachEverySourceAndAreReportedAsTheEncoders) {
  NFCHOAPanning3D pan(2, 9, 2);
  pan.SetSourcePosition(1, CartesianVector(0.f, 2.f, 0.f), false);
  pan.SetEncodingNormalization("N3D");
  pan.SetSorting("AlternateDegrees");
  HOAPanning::HOAPannerInfos infos;
  pan.GetPannerInfos(infos);
  EXPECT_EQ(infos.order, 2u);
  EXPECT_EQ(infos.normalization, nolardsp::SphericalHarmonic::FullyNormalized3D);
  EXPECT_EQ(infos.sorting, nolardsp::SphericalHarmonic::AlternateDegrees);
  // The matrix of source 1 carries the N3D gain of its first-degree
  // component facing the front: sqrt(3).
  float const* next = pan.GetSource(1).GetEncoder().GetNextGains();
  float largest = 0.f;
  for (unsigned int k = 1; k < 4; ++k) largest = std::max(largest, std::fabs(next[k]));
  EXPECT_NEAR(largest, std::sqrt(3.f), 1e-5);
  pan.SetEncodingNormalization("SN2D");  // not a 3-D convention
  EXPECT_EQ(pan.GetEncodingNormalization(), nolardsp::SphericalHarmonic::SchmidtSeminormalized3D);
}

}  // namespace
}  // namespace Zorv
