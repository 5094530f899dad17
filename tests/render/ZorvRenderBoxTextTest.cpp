#include "ZorvRenderBoxText.h"

#include <gtest/gtest.h>

#include "ZorvRenderError.h"

namespace zorvrender {
namespace {

TEST(BoxTextTest, DropsTheClassNameAndCollapsesBlanks) {
  EXPECT_EQ(NormaliseBoxText("zorv.pan~ @numinputs 2  @type\tvbap2d "),
            "@numinputs 2 @type vbap2d");
  EXPECT_EQ(NormaliseBoxText("@numoutputs 8"), "@numoutputs 8");
  EXPECT_EQ(NormaliseBoxText("zorv.pan~"), "");
  EXPECT_EQ(NormaliseBoxText("   "), "");
}

TEST(BoxTextTest, WordsBeforeTheFirstAttributeMakeNoBox) {
  for (char const* text : {"vbap2d @numinputs 2", "zorv.pan~ 2 8", "zorv.pan @type dbap"}) {
    try {
      NormaliseBoxText(text);
      FAIL() << text;
    } catch (RenderError const& error) {
      EXPECT_EQ(error.Code(), ExitBadBox);
      EXPECT_NE(std::string(error.what()).find("is not an attribute"), std::string::npos);
    }
  }
}

}  // namespace
}  // namespace zorvrender
