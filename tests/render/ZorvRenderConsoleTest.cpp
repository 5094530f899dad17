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

TEST(ConsoleTest, ControlCharactersAndBrokenUtf8AreShownNotObeyed) {
  EXPECT_EQ(EscapeControlCharacters("plain text ~"), "plain text ~");
  // Letters of any script pass; CSI, BEL, DEL and the C1 controls do not.
  EXPECT_EQ(EscapeControlCharacters("caf\xC3\xA9 \xE2\x86\x92 \xF0\x9F\x8E\xB5"),
            "caf\xC3\xA9 \xE2\x86\x92 \xF0\x9F\x8E\xB5");
  EXPECT_EQ(EscapeControlCharacters("\x1B[31mred\x07\x7F\t"), "\\x1B[31mred\\x07\\x7F\\x09");
  EXPECT_EQ(EscapeControlCharacters("\xC2\x9B"
                                    "2J"),
            "\\xC2\\x9B2J");
  // A lone byte of a sequence, or a sequence cut at the end.
  EXPECT_EQ(EscapeControlCharacters("\x9B\xE2\x86"), "\\x9B\\xE2\\x86");
}

TEST(ConsoleTest, ALineThatComesAgainIsCountedAfterThreeAndPostsAreNot) {
  std::ostringstream out;
  Console console(out);
  for (int k = 0; k < 6; ++k) {
    console.SetOrigin("s.txt:" + std::to_string(k + 1));
    console.Object(ConsoleSeverity::Error, "bad");
    console.Object(ConsoleSeverity::Post, "info");
  }
  console.SetOrigin("");
  console.FlushRepeats();
  console.FlushRepeats();  // counted once
  std::string expected;
  for (int k = 0; k < 6; ++k) {
    std::string const origin = "s.txt:" + std::to_string(k + 1) + ": ";
    if (k < 3) expected += origin + "zorv.pan~: error: bad\n";
    expected += origin + "zorv.pan~: info\n";
  }
  expected += "zorv.pan~: error: bad ... repeated 3 more times\n";
  EXPECT_EQ(out.str(), expected);
  EXPECT_EQ(console.ObjectErrors(), 6u);
}

}  // namespace
}  // namespace zorvrender
