#include "ZorvRenderConsole.h"

#include <gtest/gtest.h>

#include <sstream>

namespace zorvrender {
namespace {

TEST(ConsoleTest, LinesCarryTheOriginAndTheSeverity) {
  EXPECT_EQ(FormatObjectLine("", ConsoleSeverity::Post, "dsp processing is enabled"),
            "zorv.pan~: dsp processing is enabled");
  EXPECT_EQ(FormatObjectLine("moves.txt:12", ConsoleSeverity::Error, "bad source index"),
            "moves.txt:12: zorv.pan~: error: bad source index");
  EXPECT_EQ(FormatObjectLine("", ConsoleSeverity::Warning, "w"), "zorv.pan~: warning: w");
  EXPECT_EQ(FormatObjectLine("", ConsoleSeverity::Bug, "b"), "zorv.pan~: bug: b");
  EXPECT_EQ(FormatObjectLine("m.txt:1", ConsoleSeverity::Error, "zorv.pan~: doesn't understand"),
            "m.txt:1: zorv.pan~: error: doesn't understand");

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
