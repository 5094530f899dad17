// The simple panners seen from the host: boxes made from text through the
// facade, with the real factory.

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "ZorvHost.h"

namespace {

using zorvhost::PanObject;

// Runs constant inputs through the object for long enough that every gain
// ramp has ended, and returns the last sample of each outlet.
std::vector<float> settledOutputs(PanObject& pan, std::vector<float> const& dc) {
  unsigned int const block = 64;
  pan.StartDsp(48000., block);
  std::vector<std::vector<float>> in(pan.NumInlets(), std::vector<float>(block));
  for (unsigned int i = 0; i < pan.NumInlets(); ++i) in[i].assign(block, dc[i]);
  std::vector<std::vector<float>> out(pan.NumOutlets(), std::vector<float>(block));
  std::vector<float const*> ip;
  std::vector<float*> op;
  for (auto& c : in) ip.push_back(c.data());
  for (auto& c : out) op.push_back(c.data());
  for (int b = 0; b < 100; ++b) pan.ProcessBlock(ip.data(), op.data(), block);
  std::vector<float> last;
  for (auto const& c : out) last.push_back(c.back());
  return last;
}

TEST(SimplePannersObject, EmptyBoxIsAnAngularPannerOfOneSourceOverFourSpeakers) {
  auto pan = PanObject::Create("zorv.pan~");
  ASSERT_NE(pan, nullptr);
  EXPECT_EQ(pan->NumInlets(), 1u);
  EXPECT_EQ(pan->NumOutlets(), 4u);
  EXPECT_EQ(pan->GetAttribute("type"), std::vector<std::string>{"angular"});
  // The default source is straight ahead, half way between the front pair of
  // the default square layout: equal power on both, nothing behind.
  auto const g = settledOutputs(*pan, {1.f});
  float const half = std::sqrt(0.5f);
  EXPECT_NEAR(g[0], half, 1e-5f);
  EXPECT_NEAR(g[1], half, 1e-5f);
  EXPECT_EQ(g[2], 0.f);
  EXPECT_EQ(g[3], 0.f);
}

TEST(SimplePannersObject, EachMethodMakesAnObjectForTheCountsItServes) {
  struct Box {
    char const* text;
    unsigned int outlets;
  } const boxes[] = {{"@type xy @numoutputs 2", 2},       {"@type ms @numoutputs 2", 2},
                     {"@type ab @numoutputs 2", 2},       {"@type surround @numoutputs 3", 3},
                     {"@type surround @numoutputs 4", 4}, {"@type angular @numoutputs 6", 6}};
  for (auto const& box : boxes) {
    auto pan = PanObject::Create(std::string("zorv.pan~ @numinputs 2 ") + box.text);
    ASSERT_NE(pan, nullptr) << box.text;
    EXPECT_EQ(pan->NumOutlets(), box.outlets) << box.text;
    for (float v : settledOutputs(*pan, {0.5f, -0.25f})) EXPECT_TRUE(std::isfinite(v));
  }
  for (char const* refused :
       {"@type xy @numoutputs 3", "@type ab @numoutputs 4", "@type surround @numoutputs 2"}) {
    EXPECT_EQ(PanObject::Create(std::string("zorv.pan~ ") + refused), nullptr) << refused;
  }
  zorvhost::TakeConsole();
}

TEST(SimplePannersObject, MidSideOfAFrontSourceIsAllMid) {
  auto pan = PanObject::Create("zorv.pan~ @type ms @numoutputs 2");
  ASSERT_NE(pan, nullptr);
  auto const g = settledOutputs(*pan, {1.f});
  EXPECT_NEAR(g[0], 1.f, 1e-5f);
  EXPECT_NEAR(g[1], 0.f, 1e-5f);
}

}  // namespace
