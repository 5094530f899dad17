#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "ZorvAngularPanning.h"
#include "ZorvDbapPanning2D.h"
#include "ZorvHOA2DPanning.h"
#include "ZorvHOA3DPanning.h"
#include "ZorvNullPanning.h"
#include "ZorvPan.h"
#include "ZorvVbapPanning.h"

namespace {

using Zorv::NullPanning;
using Zorv::Pan;

bool isNull(Pan* p) {
  return dynamic_cast<NullPanning*>(p) != nullptr;
}

TEST(PanFactory, NeverReturnsNullForAnyNamePair) {
  char const* types[] = {"binaural", "xy", "vbap", "hoa", "foo", "null", "", "lfe"};
  char const* subtypes[] = {"direct", "early", "diffuse", "nearfield", "sh", "bar", ""};
  for (char const* t : types) {
    for (char const* s : subtypes) {
      std::unique_ptr<Pan> p(Pan::Factory(2, 2, t, s));
      EXPECT_NE(p, nullptr) << t << " " << s;
    }
  }
  std::unique_ptr<Pan> p(Pan::Factory(1, 1, static_cast<Pan::Type>(25), Pan::Direct));
  EXPECT_TRUE(isNull(p.get()));
}

TEST(PanFactory, UnknownTypeIsNullPanning) {
  std::unique_ptr<Pan> p(Pan::Factory(1, 4, "foo", "direct"));
  EXPECT_TRUE(isNull(p.get()));
  std::unique_ptr<Pan> q(Pan::Factory(1, 4, "null", "direct"));
  EXPECT_TRUE(isNull(q.get()));
}

template <typename T>
bool builds(char const* type, char const* subtype, unsigned int numOutputs) {
  std::unique_ptr<Pan> p(Pan::Factory(2, numOutputs, type, subtype));
  return dynamic_cast<T*>(p.get()) != nullptr;
}

TEST(PanFactory, SubtypeIsIgnoredOutsideTheBinauralFamily) {
  EXPECT_TRUE(builds<Zorv::VbapPanning>("vbap", "nearfield", 8));
  EXPECT_TRUE(builds<Zorv::VbapPanning>("vbap3d", "unknown", 8));
  EXPECT_TRUE(builds<Zorv::AngularPanning>("angular", "early", 4));
  EXPECT_TRUE(builds<Zorv::DbapPanning2D>("dbap", "direct", 4));
}

TEST(PanFactory, AmbisonicOrderFollowsTheChannelCount) {
  struct Case {
    char const* type;
    unsigned int outputs;
    int order;  // -1: no panner
  } const cases[] = {{"hoa3d", 4, 1}, {"hoa", 9, 2},   {"hoa3d", 8, -1}, {"hoa3d", 1, -1},
                     {"hoa2d", 1, 0}, {"hoa2D", 5, 2}, {"hoa2d", 4, -1}};
  for (Case const& c : cases) {
    std::unique_ptr<Pan> p(Pan::Factory(1, c.outputs, c.type, "direct"));
    auto const* hoa = dynamic_cast<Zorv::HOAPanning*>(p.get());
    if (c.order < 0) {
      EXPECT_TRUE(isNull(p.get())) << c.type << " " << c.outputs;
    } else {
      ASSERT_NE(hoa, nullptr) << c.type << " " << c.outputs;
      EXPECT_EQ(static_cast<int>(hoa->GetOrder()), c.order) << c.type << " " << c.outputs;
    }
  }
}

TEST(PanFactory, NamesMapToTheirMethods) {
  Pan::Type t = Pan::Null;
  EXPECT_TRUE(Pan::LookUpType("hoa", t));
  EXPECT_EQ(t, Pan::HOA3D);
  EXPECT_TRUE(Pan::LookUpType("nfchoa", t));
  EXPECT_EQ(t, Pan::NFCHOA3D);
  EXPECT_TRUE(Pan::LookUpType("dbap", t));
  EXPECT_EQ(t, Pan::Dbap);
  EXPECT_TRUE(Pan::LookUpType("vbap3d", t));
  EXPECT_EQ(t, Pan::Vbap);
  EXPECT_FALSE(Pan::LookUpType("null", t));
  Pan::SubType s = Pan::Direct;
  EXPECT_TRUE(Pan::LookUpSubType("sh", s));
  EXPECT_EQ(s, Pan::SphericalHarmonics);
  EXPECT_TRUE(Pan::LookUpSubType("snowman", s));
  EXPECT_EQ(s, Pan::SnowmanModel);
}

TEST(PanFactory, TypeNamesAndSpreadModes) {
  EXPECT_STREQ(Pan::GetTypeName(Pan::Null), "null");
  EXPECT_STREQ(Pan::GetTypeName(static_cast<Pan::Type>(25)), "null");
  EXPECT_STREQ(Pan::GetTypeName(Pan::HOA3D), "hoa3d");
  EXPECT_EQ(Pan::GetSpreadMode("xyz"), Pan::Directional);
  EXPECT_STREQ(Pan::GetSpreadModeName(Pan::GetSpreadMode("xyz")), "directional");
  EXPECT_EQ(Pan::GetSpreadMode("nonsense"), Pan::Omnidirectional);
  EXPECT_STREQ(Pan::GetSpreadModeName(static_cast<Pan::SpreadingMode>(7)), "omni");

  std::vector<std::string> names;
  Pan::GetListOfAvailablePanType(names);
  ASSERT_EQ(names.size(), 20u);
  EXPECT_EQ(names.front(), "binaural");
  EXPECT_EQ(names.back(), "null");
  EXPECT_STREQ(Pan::GetListOfAvailablePanType(" "),
               "binaural xy ms ab surround panr angular vbap2d vbap vbip dbap dbap3d bformat "
               "hoa2d hoa3d vdbap nfchoa2d nfchoa3d subwoofers null");
}

TEST(NullPanning, HasNoChannelsAndLeavesOutputsAlone) {
  NullPanning p;
  EXPECT_EQ(p.GetNumInputs(), 0u);
  p.SetNumOutputs(8);
  EXPECT_EQ(p.GetNumOutputs(), 0u);
  float out[4] = {1, 2, 3, 4};
  float in[4] = {5, 6, 7, 8};
  float* o[] = {out};
  float* i[] = {in};
  p.Process(o, i, 4, nolardsp::allActiveInputs);
  EXPECT_EQ(out[0], 1.f);
  EXPECT_EQ(out[3], 4.f);
}

}  // namespace
