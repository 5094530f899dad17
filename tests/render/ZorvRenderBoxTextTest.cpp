#include "ZorvRenderBoxText.h"

#include <gtest/gtest.h>

#include "ZorvRenderConsole.h"
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

TEST(ConsoleTest, LinesCarryTheOriginAndTheSeverity) {
  EXPECT_EQ(FormatObjectLine("", ConsoleSeverity::Post, "dsp processing is enabled"),
            "zorv.pan~: dsp processing is enabled");
  EXPECT_EQ(FormatObjectLine("moves.txt:12", ConsoleSeverity::Error, "bad source index"),
            "moves.txt:12: zorv.pan~: error: bad source index");
  EXPECT_EQ(FormatObjectLine("", ConsoleSeverity::Warning, "w"), "zorv.pan~: warning: w");
  EXPECT_EQ(FormatObjectLine("", ConsoleSeverity::Bug, "b"), "zorv.pan~: bug: b");

  std::ostringstream out;
  Console console(out);
  console.Object(ConsoleSeverity::Warning, "one");
  console.SetOrigin("s.txt:3");
  console.Object(ConsoleSeverity::Error, "first\nsecond");
  console.SetOrigin("");
  console.Object(ConsoleSeverity::Bug, "three");
  console.Renderer(ConsoleSeverity::Error, "four");
  EXPECT_EQ(out.str(),
            "zorv.pan~: warning: one\n"
            "s.txt:3: zorv.pan~: error: first\n"
            "s.txt:3: zorv.pan~: error: second\n"
            "zorv.pan~: bug: three\n"
            "zorv-render: error: four\n");
  // Errors and bugs count; a multi-line error is one.
  EXPECT_EQ(console.ObjectErrors(), 2u);
}

}  // namespace
}  // namespace zorvrender
