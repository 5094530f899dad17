#include "ZorvJackPortNames.h"

#include <gtest/gtest.h>

namespace {

using zorvjack::MakePortNames;
using Names = std::vector<std::string>;

TEST(JackPortNames, SpeakersAndSourcesAreNumberedFromOne) {
  auto const names = MakePortNames("vbap2d", 2, 3, "");
  EXPECT_EQ(names.inputs, (Names{"in_1", "in_2"}));
  EXPECT_EQ(names.outputs, (Names{"out_1", "out_2", "out_3"}));
}

TEST(JackPortNames, HeadphonesAndFirstOrderSetsNameTheirChannels) {
  EXPECT_EQ(MakePortNames("binaural", 1, 2, "").outputs, (Names{"left", "right"}));
  EXPECT_EQ(MakePortNames("bformat", 1, 4, "").outputs, (Names{"w", "x", "y", "z"}));
  EXPECT_EQ(MakePortNames("bformat", 1, 3, "").outputs, (Names{"w", "x", "y"}));
}

TEST(JackPortNames, AmbisonicOutletsCarryTheirChannelNumberInEitherSorting) {
  EXPECT_EQ(MakePortNames("hoa3d", 1, 4, "IncreasingDegrees").outputs,
            (Names{"acn_0", "acn_1", "acn_2", "acn_3"}));
  // (0,0) (1,1) (1,-1) (1,0) (2,2) (2,-2) (2,1) (2,-1) (2,0)
  EXPECT_EQ(
      MakePortNames("hoa3D", 1, 9, "AlternateDegrees").outputs,
      (Names{"acn_0", "acn_3", "acn_1", "acn_2", "acn_8", "acn_4", "acn_7", "acn_5", "acn_6"}));
  EXPECT_EQ(MakePortNames("ambisonic", 1, 4, "").outputs,
            (Names{"acn_0", "acn_1", "acn_2", "acn_3"}));
  // The 2-D set holds the sectoral components: (l,-l) = l^2, (l,l) = l^2 + 2l.
  EXPECT_EQ(MakePortNames("hoa2d", 1, 5, "IncreasingDegrees").outputs,
            (Names{"acn_0", "acn_1", "acn_3", "acn_4", "acn_8"}));
  EXPECT_EQ(MakePortNames("hoa2d", 1, 5, "AlternateDegrees").outputs,
            (Names{"acn_0", "acn_3", "acn_1", "acn_8", "acn_4"}));
}

TEST(JackPortNames, CountsThatFitNoLayoutAreNumbered) {
  EXPECT_EQ(MakePortNames("hoa3d", 1, 5, "").outputs.back(), "out_5");
  EXPECT_EQ(MakePortNames("hoa2d", 1, 4, "").outputs.front(), "out_1");
  EXPECT_EQ(MakePortNames("binaural", 1, 3, "").outputs.front(), "out_1");
}

}  // namespace
