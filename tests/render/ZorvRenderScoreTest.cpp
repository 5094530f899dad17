#include "ZorvRenderScore.h"

#include <gtest/gtest.h>

#include <sstream>

#include "ZorvRenderError.h"
#include "ZorvRenderTestSupport.h"

namespace zorvrender {
namespace {

Score parse(std::string const& text) {
  std::istringstream in(text);
  return Score::Parse(in, "moves.txt");
}

// The error text a score gives, or "" when it parses.
std::string errorOf(std::string const& text) {
  try {
    parse(text);
  } catch (RenderError const& error) {
    EXPECT_EQ(error.Code(), ExitBadScore);
    return error.what();
  }
  return "";
}

TEST(ScoreTest, ReadsTimesMessagesAndLineNumbersSkippingCommentsAndBlanks) {
  Score const score = parse(
      "# a comment\n"
      "\n"
      "0 source 1 aed 0 0 1\n"
      "  0.5\tsource 1 aed 90 0 1   # to the right\r\n"
      "0.5 interpolationtime 50\n"
      "1e0 source 1 aed   180 0 1\n"
      "   # indented comment\n");
  ASSERT_EQ(score.Entries().size(), 4u);
  EXPECT_EQ(score.Name(), "moves.txt");
  EXPECT_EQ(score.Entries()[0].seconds, 0.);
  EXPECT_EQ(score.Entries()[0].message, "source 1 aed 0 0 1");
  EXPECT_EQ(score.Entries()[0].line, 3u);
  EXPECT_EQ(score.Entries()[1].seconds, 0.5);
  EXPECT_EQ(score.Entries()[1].message, "source 1 aed 90 0 1");
  EXPECT_EQ(score.Entries()[1].line, 4u);
  // Equal times are allowed and keep the file's order.
  EXPECT_EQ(score.Entries()[2].message, "interpolationtime 50");
  EXPECT_EQ(score.Entries()[3].seconds, 1.);
  // Blanks inside the message are the object's business.
  EXPECT_EQ(score.Entries()[3].message, "source 1 aed   180 0 1");
  EXPECT_TRUE(parse("").Entries().empty());
}

TEST(ScoreTest, BadLinesAreNamedByFileAndLine) {
  EXPECT_EQ(errorOf("0 a\nabc source 1\n"),
            "moves.txt:2: bad time \"abc\": a score line is \"SECONDS MESSAGE...\" or "
            "\"START..END MESSAGE... FROM -> TO\"");
  EXPECT_EQ(errorOf("1.5s source 1\n"),
            "moves.txt:1: bad time \"1.5s\": a score line is \"SECONDS MESSAGE...\" or "
            "\"START..END MESSAGE... FROM -> TO\"");
  EXPECT_EQ(errorOf("0 a\n2 b\n# c\n1.5 c\n"), "moves.txt:4: time goes backwards: 1.5 after 2");
  EXPECT_EQ(errorOf("-1 a\n"), "moves.txt:1: negative time -1");
  EXPECT_EQ(errorOf("3.0   # nothing to send\n"), "moves.txt:1: no message after the time 3.0");
  EXPECT_NE(errorOf("nan a\n").find("moves.txt:1: bad time \"nan\""), std::string::npos);
  EXPECT_NE(errorOf("inf a\n").find("moves.txt:1: bad time \"inf\""), std::string::npos);
  EXPECT_NE(errorOf("1e999 a\n").find("moves.txt:1: bad time"), std::string::npos);
}

TEST(ScoreTest, NumbersAreDecimalAndAByteOrderMarkIsSkipped) {
  Score const score = parse(
      "\xEF\xBB\xBF"
      "0.5 a\n");
  ASSERT_EQ(score.Entries().size(), 1u);
  EXPECT_EQ(score.Entries()[0].seconds, 0.5);
  EXPECT_NE(errorOf("0x10 a\n").find("moves.txt:1: bad time \"0x10\""), std::string::npos);
  EXPECT_NE(errorOf("0 a\n\xEF\xBB\xBF"
                    "1 b\n")
                .find("moves.txt:2: bad time"),
            std::string::npos);
}

TEST(ScoreTest, AGlideMovesTheTrailingNumbersBetweenItsTimes) {
  Score const score = parse("1..3 source 1 aed 0 0 1 -> 90 0.5 1  # a quarter turn\n");
  ASSERT_EQ(score.Entries().size(), 1u);
  ScoreEntry const& glide = score.Entries()[0];
  EXPECT_TRUE(glide.IsGlide());
  EXPECT_EQ(glide.seconds, 1.);
  EXPECT_EQ(glide.endSeconds, 3.);
  EXPECT_EQ(glide.MessageAt(0.), "source 1 aed 0 0 1");
  EXPECT_EQ(glide.MessageAt(0.5), "source 1 aed 45 0.25 1");
  EXPECT_EQ(glide.MessageAt(1.), "source 1 aed 90 0.5 1");
  EXPECT_EQ(glide.MessageAt(2.), "source 1 aed 90 0.5 1");  // never past the end
  EXPECT_FALSE(parse("1 source 1 aed 0 0 1\n").Entries()[0].IsGlide());

  std::string const usage = "a glide is \"START..END MESSAGE... FROM -> TO\"";
  for (char const* bad :
       {"1..2 source 1 aed 0 0 1\n", "1..2 source 1 aed 0 0 1 ->\n",
        "1..2 source 1 aed 0 0 1 -> 9 x 1\n", "1..2 0 0 -> 1 1\n", "1..2 source 1 -> 1 2 3\n"}) {
    EXPECT_NE(errorOf(bad).find(usage), std::string::npos) << bad << errorOf(bad);
  }
  EXPECT_EQ(errorOf("2..1 a 0 -> 1\n"), "moves.txt:1: the glide 2..1 ends before it starts");
  EXPECT_NE(errorOf("1..x a 0 -> 1\n").find("bad time \"1..x\""), std::string::npos);
  // Start times never go backwards, whatever the glides before them span.
  EXPECT_EQ(errorOf("1..5 a 0 -> 1\n0.5 b\n"), "moves.txt:2: time goes backwards: 0.5 after 1");
}

TEST(ScoreTest, MissingFileIsNamed) {
  zorvrendertest::TempDir dir;
  try {
    Score::Read(dir / "none.txt");
    FAIL() << "no error";
  } catch (RenderError const& error) {
    EXPECT_EQ(error.Code(), ExitBadScore);
    EXPECT_EQ(std::string(error.what()).rfind(dir / "none.txt" + ": cannot open the score", 0), 0u);
  }
}

}  // namespace
}  // namespace zorvrender
