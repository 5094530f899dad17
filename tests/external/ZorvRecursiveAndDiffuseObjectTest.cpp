// "panr" and the diffuse mix seen from the host: boxes made from text through
// the facade, with the real factory, and the console texts of the messages
// that reach them.

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "ZorvHost.h"

namespace {

using zorvhost::PanObject;
using Texts = std::vector<std::string>;

class RecursiveAndDiffuseObject : public ::testing::Test {
 protected:
  std::unique_ptr<PanObject> make(std::string const& box) {
    auto o =
        PanObject::Create("zorv.pan~ " + box,
                          [this](zorvhost::Severity, std::string const& t) { lines.push_back(t); });
    if (o != nullptr) {
      o->SendMessage("interpolationtime 0");
      o->StartDsp(48000., block);
    }
    return o;
  }

  Texts take() {
    Texts t;
    t.swap(lines);
    return t;
  }

  // The last sample of each outlet after a few blocks of the given constant
  // inputs: the settled gains times the inputs.
  std::vector<float> settle(PanObject& o, std::vector<float> const& dc) {
    std::vector<std::vector<float>> in(o.NumInlets(), std::vector<float>(block));
    for (unsigned int i = 0; i < o.NumInlets(); ++i) in[i].assign(block, dc[i]);
    std::vector<std::vector<float>> out(o.NumOutlets(), std::vector<float>(block));
    std::vector<float const*> ip;
    std::vector<float*> op;
    for (auto& c : in) ip.push_back(c.data());
    for (auto& c : out) op.push_back(c.data());
    for (int b = 0; b < 4; ++b) o.ProcessBlock(ip.data(), op.data());
    std::vector<float> last;
    for (auto const& c : out) last.push_back(c.back());
    return last;
  }

  static unsigned int const block = 128;
  Texts lines;
};

TEST_F(RecursiveAndDiffuseObject, PanrServesItsCountsOnly) {
  for (int m : {4, 5, 6, 7, 8, 12}) {
    auto o = make("@type panr @numoutputs " + std::to_string(m));
    ASSERT_NE(o, nullptr) << m;
    EXPECT_EQ(o->NumOutlets(), static_cast<unsigned int>(m));
  }
  for (int m : {1, 3, 9, 10, 11, 16}) {
    take();
    EXPECT_EQ(make("@type panr @numoutputs " + std::to_string(m)), nullptr) << m;
    EXPECT_EQ(take(), Texts{"Unsupported panning configuration"}) << m;
  }
}

TEST_F(RecursiveAndDiffuseObject, CornersAreHeardAtTheNextPositionMessage) {
  auto o = make("@type panr @numoutputs 4");
  ASSERT_NE(o, nullptr);
  o->SendMessage("source 1 aed 0 0 1");
  auto const before = settle(*o, {1.f});
  // Straight ahead, between the default front corners: equal on both.
  EXPECT_NEAR(before[0], before[1], 1e-6f);
  take();
  o->SendMessage("corners 0 90 180 270");
  EXPECT_EQ(take(), Texts{});
  EXPECT_EQ(settle(*o, {1.f}), before);
  o->SendMessage("source 1 aed 0 0 1");
  // Now the front left corner stands straight ahead.
  auto const after = settle(*o, {1.f});
  EXPECT_NEAR(after[0], 1.f, 1e-5f);
  EXPECT_NEAR(after[1], 0.f, 1e-3f);
}

TEST_F(RecursiveAndDiffuseObject, CornersMessageTexts) {
  auto o = make("@type panr @numoutputs 8");
  ASSERT_NE(o, nullptr);
  take();
  o->SendMessage("corners 1 2 3");
  EXPECT_EQ(take(), Texts{"invalid corners parameters : 1 2 3 "});
  o->SendMessage("corners 1 2 foo 4");
  EXPECT_EQ(take(), Texts{"invalid corners parameters : 1 2 foo 4 "});
  o->SendMessage("corners -45 45 135 -135 7");
  EXPECT_EQ(take(), Texts{"Too many corners arguments. only 4 corners values will be read"});

  // Another type, and the diffuse mix named "panr", which is no recursive
  // panner.
  o = make("@type vbap2d @numoutputs 8");
  take();
  o->SendMessage("corners 1 2 3 4");
  EXPECT_EQ(take(), Texts{"message only supported by panr : 1 2 3 4 "});
  o = make("@type panr @subtype diffuse @numoutputs 8");
  ASSERT_NE(o, nullptr);
  take();
  o->SendMessage("corners 1 2 3 4");
  EXPECT_EQ(take(), Texts{"couldnt get object : zorv_pan_corners"});
}

// A reverberation tail is not cut by a muted or unconnected input, and the
// position of a source plays no part.
TEST_F(RecursiveAndDiffuseObject, DiffuseMixKeepsMutedAndUnconnectedInputsAndIgnoresPositions) {
  auto all = make("@numinputs 3 @numoutputs 6 @type vbap @subtype diffuse");
  ASSERT_NE(all, nullptr);
  auto const reference = settle(*all, {1.f, -0.5f, 0.25f});
  bool sounds = false;
  for (float v : reference) sounds = sounds || std::fabs(v) > 1e-3f;
  EXPECT_TRUE(sounds);

  auto some = make("@numinputs 3 @numoutputs 6 @type vbap @subtype diffuse");
  some->SendMessage("source 2 mute 1");
  some->SendMessage("source 1 xyz 4 -2 1");
  some->SendMessage("speakers xyz 0 0 0 1 0 0 0 1 0 0 0 1 1 1 1 2 2 2");
  some->SetInletConnected(2, false);
  some->StartDsp(48000., block);
  auto const got = settle(*some, {1.f, -0.5f, 0.25f});
  for (std::size_t j = 0; j < got.size(); ++j) EXPECT_NEAR(got[j], reference[j], 1e-6f) << j;
}

// A type's own messages and attributes on the diffuse mix, which is not of
// that type's class, answer with the object's texts.
TEST_F(RecursiveAndDiffuseObject, TypeMessagesOnTheDiffuseMixAnswerWithoutActing) {
  auto o = make("@numoutputs 9 @type hoa3d @subtype diffuse");
  ASSERT_NE(o, nullptr);
  take();
  o->SendMessage("info");
  EXPECT_EQ(take(), (Texts{"message only supported by hoa", "dsp processing is enabled"}));
  o->SendMessage("encoding N3D");
  EXPECT_EQ(take(), Texts{"couldnt get object : zorv_pan_update_hoaencoding"});

  o = make("@numoutputs 5 @type nfchoa3d @subtype diffuse");
  ASSERT_NE(o, nullptr);
  take();
  o->SendMessage("info");
  EXPECT_EQ(take(), (Texts{"message only supported by hoa", "dsp processing is enabled"}));

  for (char const* box : {"@type dbap @subtype diffuse", "@type vbap @subtype diffuse",
                          "@type vbap2d @subtype diffuse"}) {
    o = make(box);
    ASSERT_NE(o, nullptr) << box;
    take();
    o->SendMessage("source 1 spread 30");
    EXPECT_EQ(take(), Texts{"couldnt get object"}) << box;
  }
  o = make("@type dbap @subtype diffuse");
  take();
  o->SendMessage("spreadmode directional");
  EXPECT_EQ(take(), Texts{"couldnt get object : zorv_pan_update_spreadmode"});
  o->SendMessage("muteoutside 1");
  EXPECT_EQ(take(), Texts{"couldnt get object"});
}

}  // namespace
