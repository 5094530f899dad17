// "subwoofers" end to end through the object: the box, the `cutoff`
// attribute and message, unconnected inlets.

#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <string>
#include <vector>

#include "ZorvEqualizerChannel.h"
#include "ZorvHost.h"

namespace {

using zorvhost::PanObject;
using Texts = std::vector<std::string>;

std::unique_ptr<Zorv::EqualizerChannel> lowPass(float cutoff, unsigned int block) {
  std::unique_ptr<Zorv::EqualizerChannel> c(new Zorv::EqualizerChannel(1));
  c->SetSamplerate(48000.f);
  c->SetMaxBlockSize(block);
  c->SetFilterType(0, Zorv::SecondOrderFilters::LowPass, true);
  c->SetQ(0, 0.7f, true);
  c->SetFreq(0, cutoff, true);
  return c;
}

// One subwoofer: the low pass of the sum of the connected inlets, the first
// inlet unconnected included, and a `cutoff` message cross-fades to the new
// filter exactly as the filter itself does.
TEST(SubwoofersObject, OneSubwooferFiltersTheSumOfConnectedInlets) {
  unsigned int const block = 64;
  for (bool firstConnected : {true, false}) {
    auto o = PanObject::Create("zorv.pan~ @numinputs 3 @numoutputs 1 @type subwoofers @cutoff 80");
    ASSERT_NE(o, nullptr);
    ASSERT_EQ(o->NumOutlets(), 1u);
    EXPECT_EQ(o->GetAttribute("cutoff"), Texts{"80."});
    o->SetInletConnected(0, firstConnected);
    o->StartDsp(48000., block);
    auto ref = lowPass(80.f, block);

    std::vector<std::vector<float>> in(3, std::vector<float>(block));
    std::vector<float> out(block), sum(block), want(block);
    float const* ip[3] = {in[0].data(), in[1].data(), in[2].data()};
    float* op[1] = {out.data()};
    std::mt19937 rng(6);
    std::uniform_real_distribution<float> u(-1.f, 1.f);
    for (int k = 0; k < 30; ++k) {
      for (auto& c : in) {
        for (float& v : c) v = u(rng);
      }
      if (k == 5) o->SendMessage("source 2 aed 90 0 1");  // positions change nothing
      if (k == 10) {
        o->SendMessage("cutoff 160");
        ref->SetFreq(0, 160.f);
      }
      for (unsigned int n = 0; n < block; ++n) {
        sum[n] = (firstConnected ? in[0][n] : 0.f) + in[1][n] + in[2][n];
      }
      o->ProcessBlock(ip, op);
      ref->Process(want.data(), sum.data(), block);
      ASSERT_EQ(out, want) << firstConnected << " " << k;
    }
    EXPECT_EQ(o->GetAttribute("cutoff"), Texts{"160."});
  }
}

TEST(SubwoofersObject, AliasesBuildTheSamePannerAndCutoffIsClipped) {
  for (char const* type : {"subwoofer", "lfe"}) {
    auto o = PanObject::Create(std::string("zorv.pan~ @numinputs 2 @numoutputs 2 @type ") + type);
    EXPECT_NE(o, nullptr) << type;
  }
  auto o = PanObject::Create("zorv.pan~ @numinputs 2 @numoutputs 4 @type subwoofers @cutoff 5");
  ASSERT_NE(o, nullptr);
  EXPECT_EQ(o->GetAttribute("cutoff"), Texts{"10."});
  o->SendMessage("cutoff 1e6");
  EXPECT_EQ(o->GetAttribute("cutoff"), Texts{"20000."});
}

}  // namespace
