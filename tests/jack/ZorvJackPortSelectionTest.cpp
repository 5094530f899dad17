#include "ZorvJackPortSelection.h"

#include <gtest/gtest.h>

namespace {

using zorvjack::SelectPorts;
using Names = std::vector<std::string>;

Names const server = {"system:playback_1", "system:playback_2", "system:playback_10",
                      "Built-in (HDMI):playback_FL", "other:in"};

TEST(JackPortSelection, AnExpressionTakesEveryMatchInTheServersOrder) {
  std::string error;
  EXPECT_EQ(SelectPorts("system:playback_", server, error),
            (Names{"system:playback_1", "system:playback_2", "system:playback_10"}));
  EXPECT_EQ(SelectPorts("playback_[12]$", server, error),
            (Names{"system:playback_1", "system:playback_2"}));
  EXPECT_TRUE(error.empty());
}

TEST(JackPortSelection, AListKeepsItsOwnOrderAndTakesEachPortOnce) {
  std::string error;
  EXPECT_EQ(SelectPorts("system:playback_2, system:playback_1,system:playback_2", server, error),
            (Names{"system:playback_2", "system:playback_1"}));
  // A full name is taken as it is, even when it is no valid expression.
  EXPECT_EQ(SelectPorts("Built-in (HDMI):playback_FL,other:in", server, error),
            (Names{"Built-in (HDMI):playback_FL", "other:in"}));
  EXPECT_TRUE(SelectPorts("nothing", server, error).empty());
  EXPECT_TRUE(error.empty());
}

TEST(JackPortSelection, ABadExpressionSelectsNothingAndSaysWhy) {
  std::string error;
  EXPECT_TRUE(SelectPorts("system:playback_1,(unclosed", server, error).empty());
  EXPECT_NE(error.find("(unclosed"), std::string::npos);
}

}  // namespace
