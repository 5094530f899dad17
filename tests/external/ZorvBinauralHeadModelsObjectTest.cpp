// The two renderers of a head model through the object, as a box makes them.

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "ZorvHost.h"
#include "ZorvPanObject.h"

namespace {

using zorvhost::PanObject;
using zorvhost::Severity;

struct Lines {
  std::vector<std::string> errors;
};

std::unique_ptr<PanObject> make(std::string const& box, Lines& lines) {
  return PanObject::Create("zorv.pan~ " + box, [&lines](Severity s, std::string const& text) {
    if (s == Severity::Error) lines.errors.push_back(text);
  });
}

// Both ears' responses to an impulse once the box's settings have settled.
void impulse(PanObject& pan, std::vector<float>& left, std::vector<float>& right) {
  unsigned int const block = 64;
  std::vector<float> in(block, 0.f), l(block), r(block);
  float const* ins[] = {in.data()};
  float* outs[] = {l.data(), r.data()};
  for (int b = 0; b < 100; ++b) pan.ProcessBlock(ins, outs);
  in[0] = 1.f;
  for (int b = 0; b < 8; ++b) {
    pan.ProcessBlock(ins, outs);
    left.insert(left.end(), l.begin(), l.end());
    right.insert(right.end(), r.begin(), r.end());
    in[0] = 0.f;
  }
}

std::size_t firstAbove(std::vector<float> const& h, float fraction) {
  float peak = 0.f;
  for (float v : h) peak = std::max(peak, std::fabs(v));
  for (std::size_t k = 0; k < h.size(); ++k) {
    if (std::fabs(h[k]) >= fraction * peak) return k;
  }
  return h.size();
}

// With nothing but the box's defaults (its ITD type reads "measurement"), a
// source 60 degrees to the right reaches the left ear some 0.45 ms later.
TEST(BinauralHeadModelsObject, TheBoxDefaultsKeepTheTimeDifference) {
  for (char const* subtype : {"sphericalheadmodel", "snowman", "snowmanmodel"}) {
    Lines lines;
    auto pan =
        make(std::string("@numinputs 1 @numoutputs 2 @type binaural @subtype ") + subtype, lines);
    ASSERT_NE(pan, nullptr) << subtype;
    EXPECT_EQ(pan->GetAttribute("itdtype"), std::vector<std::string>{"measurement"});
    pan->StartDsp(48000., 64);
    pan->SendMessage("source 1 aed 60 0 2");
    std::vector<float> left, right;
    impulse(*pan, left, right);
    double const lag =
        static_cast<double>(firstAbove(left, 0.5f)) - static_cast<double>(firstAbove(right, 0.5f));
    EXPECT_GT(lag, 15.) << subtype;  // Woodworth: 0.0875 / 340 (pi/3 + sin(pi/3)) = 23 samples
    EXPECT_LT(lag, 30.) << subtype;
    EXPECT_TRUE(lines.errors.empty()) << subtype << ": " << lines.errors.front();
  }
}

// The snowman's listener settings reach it; the torso radius of 0 that the
// attribute allows, and one larger than the listener, still sound.
TEST(BinauralHeadModelsObject, TheSnowmansSettingsReachIt) {
  Lines lines;
  auto pan = make("@numinputs 1 @numoutputs 2 @type binaural @subtype snowman", lines);
  ASSERT_NE(pan, nullptr);
  pan->StartDsp(48000., 64);
  pan->SendMessage("source 1 aed 0 70 2");
  std::vector<float> withTorso, r0, without, r1;
  impulse(*pan, withTorso, r0);
  pan->SendMessage("torsoreflection 0");
  impulse(*pan, without, r1);
  float difference = 0.f;
  for (std::size_t k = 0; k < without.size(); ++k) {
    difference = std::max(difference, std::fabs(without[k] - withTorso[k]));
  }
  EXPECT_GT(difference, 0.01f);
  for (char const* message : {"torsoradius 0", "torsoradius 100", "neckheight 0"}) {
    pan->SendMessage(message);
    std::vector<float> l, r;
    impulse(*pan, l, r);
    float peak = 0.f;
    for (std::size_t k = 0; k < l.size(); ++k) {
      ASSERT_TRUE(std::isfinite(l[k]) && std::isfinite(r[k])) << message;
      peak = std::max(peak, std::fabs(l[k]));
    }
    EXPECT_GT(peak, 0.1f) << message;
  }
  EXPECT_TRUE(lines.errors.empty());
}

}  // namespace
