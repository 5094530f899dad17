// The ambisonic encoders through the object, driven by the facade as every
// front end drives it: channel counts, and a DC input rendered into the
// encoding vector of the source's direction.

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "ZorvHost.h"
#include "ZorvPanObject.h"
#include "ZorvTestSphericalHarmonicReference.h"

namespace {

using zorvhost::PanObject;
using zorvhost::Severity;

class HoaObjectTest : public ::testing::Test {
 protected:
  void SetUp() override {
    zorv_pan_set_factory_for_tests(nullptr);
    zorvhost::TakeConsole();
  }

  std::unique_ptr<PanObject> make(std::string const& box) {
    errors.clear();
    console.clear();
    return PanObject::Create(box, [this](Severity s, std::string const& text) {
      if (s == Severity::Error) errors.push_back(text);
      console.push_back(text);
    });
  }

  // A DC of 1 on the first inlet, silence on the others, for a second: the
  // outputs' last samples.
  static std::vector<float> settle(PanObject& pan) {
    unsigned int const block = 64;
    pan.StartDsp(48000., block);
    std::vector<std::vector<float>> in(pan.NumInlets(), std::vector<float>(block, 0.f));
    std::fill(in[0].begin(), in[0].end(), 1.f);
    std::vector<std::vector<float>> out(pan.NumOutlets(), std::vector<float>(block));
    std::vector<float const*> ip;
    std::vector<float*> op;
    for (auto& v : in) ip.push_back(v.data());
    for (auto& v : out) op.push_back(v.data());
    for (int b = 0; b < 750; ++b) pan.ProcessBlock(ip.data(), op.data());
    std::vector<float> last;
    for (auto& v : out) last.push_back(v[block - 1]);
    return last;
  }

  std::vector<std::string> errors;
  std::vector<std::string> console;
};

TEST_F(HoaObjectTest, ChannelCountsDecideTheOrderOrRefuseTheBox) {
  struct Case {
    char const* box;
    unsigned int outlets;  // 0: no object
  };
  Case const cases[] = {{"@type hoa3d @numoutputs 4", 4},      {"@type hoa3d @numoutputs 9", 9},
                        {"@type hoa3d @numoutputs 16", 16},    {"@type hoa @numoutputs 25", 25},
                        {"@type hoa3d @numoutputs 8", 0},      {"@type hoa3d @numoutputs 1", 0},
                        {"@type hoa2d @numoutputs 1", 1},      {"@type hoa2D @numoutputs 5", 5},
                        {"@type hoa2d @numoutputs 4", 0},      {"@type bformat @numoutputs 3", 3},
                        {"@type bformat @numoutputs 4", 4},    {"@type bformat @numoutputs 5", 0},
                        {"@type ambisonic @numoutputs 49", 49}};
  for (Case const& c : cases) {
    auto const pan = make(std::string("zorv.pan~ @numinputs 2 ") + c.box);
    if (c.outlets == 0) {
      EXPECT_EQ(pan, nullptr) << c.box;
      EXPECT_EQ(errors, std::vector<std::string>{"Unsupported panning configuration"}) << c.box;
    } else {
      ASSERT_NE(pan, nullptr) << c.box;
      EXPECT_EQ(pan->NumOutlets(), c.outlets) << c.box;
      EXPECT_TRUE(errors.empty()) << c.box;
    }
  }
}

// Sixteen outputs: third order, SN3D in increasing degrees. The source is
// placed by the sourcespositions attribute (x right, y front, z up).
TEST_F(HoaObjectTest, DcOnSixteenOutputsIsTheEncodingVectorOfTheSource) {
  auto const pan = make("zorv.pan~ @numinputs 2 @numoutputs 16 @type hoa3d");
  ASSERT_NE(pan, nullptr);
  float const x = -0.5f, y = 1.5f, z = 0.8f;
  pan->SendMessage("sourcespositions -0.5 1.5 0.8 3 0 0");
  std::vector<float> const out = settle(*pan);
  ASSERT_EQ(out.size(), 16u);
  double const r = std::sqrt(double(x) * x + double(y) * y + double(z) * z);
  double const theta = std::acos(z / r);
  double const phi = std::atan2(double(y), double(x));
  unsigned int k = 0;
  for (unsigned int l = 0; l <= 3; ++l) {
    for (int m = -static_cast<int>(l); m <= static_cast<int>(l); ++m, ++k) {
      EXPECT_NEAR(out[k], zorvtest::RealReference(l, m, theta, phi, 1), 2e-5)
          << "l " << l << " m " << m;
    }
  }
}

TEST_F(HoaObjectTest, OmnidirectionalTwoDimensionalBoxPassesTheSignal) {
  auto const pan = make("zorv.pan~ @numinputs 1 @numoutputs 1 @type hoa2d");
  ASSERT_NE(pan, nullptr);
  pan->SendMessage("sourcespositions 0 -4 1");
  std::vector<float> const out = settle(*pan);
  ASSERT_EQ(out.size(), 1u);
  EXPECT_FLOAT_EQ(out[0], 1.f);
}

// The user's angles (azimuth clockwise from the front), the encoding and
// sorting attributes, and what the object reports.
TEST_F(HoaObjectTest, UserDirectionInTheSelectedConventionAndItsReport) {
  auto const pan = make(
      "zorv.pan~ @numinputs 1 @numoutputs 16 @type hoa3d @encoding N3D @hoasorting "
      "AlternateDegrees");
  ASSERT_NE(pan, nullptr);
  pan->SendMessage("source 1 aed 30 20 2.5");
  std::vector<float> const out = settle(*pan);
  double const pi = 3.14159265358979323846;
  double const phi = (90. - 30.) * pi / 180.;
  double const theta = (90. - 20.) * pi / 180.;
  unsigned int k = 0;
  for (unsigned int l = 0; l <= 3; ++l) {
    for (int m : zorvtest::AlternateOrder(l)) {
      EXPECT_NEAR(out[k++], zorvtest::RealReference(l, m, theta, phi, 3), 2e-5)
          << "l " << l << " m " << m;
    }
  }
  console.clear();
  pan->SendMessage("info");
  // The panner's lines come first; the object adds its own after them.
  ASSERT_GE(console.size(), 3u);
  EXPECT_EQ(std::vector<std::string>(console.begin(), console.begin() + 3),
            (std::vector<std::string>{"HOA : order : 3 ", "HOA : encoding convention : N3D",
                                      "HOA : sorting convention : AlternateDegrees"}));
  // A 2-D convention does not fit a 3-D encoder: it keeps SN3D and says so.
  console.clear();
  pan->SendMessage("encoding SN2D");
  EXPECT_EQ(pan->GetAttribute("encoding"), std::vector<std::string>{"SN3D"});
  EXPECT_EQ(console, std::vector<std::string>{"invalid hoa encoding SN2D"});
}

}  // namespace
