#include "NolarTextFileReader.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "NolarCharFunctions.h"

namespace {

using nolardsp::CharFunctions;
using nolardsp::TextFileReader;

std::vector<std::string> lines(std::string const& text) {
  std::istringstream stream(text);
  std::vector<std::string> out;
  std::string line;
  while (TextFileReader::GetLine(stream, line)) out.push_back(line);
  return out;
}

TEST(TextFileReader, AcceptsEachLineEnd) {
  EXPECT_EQ(lines("a\nb\rc\r\nd"), (std::vector<std::string>{"a", "b", "c", "d"}));
  // CR LF is one end; LF CR is two.
  EXPECT_EQ(lines("a\r\n\nb\n\r"), (std::vector<std::string>{"a", "", "b", ""}));
  EXPECT_TRUE(lines("").empty());
}

TEST(CharFunctions, TextHelpers) {
  std::string s = " \t x y \r\n";
  TextFileReader::RemoveLeadingAndTrailingSpaces(s);
  EXPECT_EQ(s, "x y");
  EXPECT_TRUE(CharFunctions::AreEqualIgnoreCase(".WAV", ".wav"));
  EXPECT_FALSE(CharFunctions::AreEqualIgnoreCase(".wa", ".wav"));
  EXPECT_EQ(CharFunctions::Float2String(44100.0, "%.2f"), "44100.00");
  EXPECT_EQ(CharFunctions::RemoveFirstOccurence("a.b.c", "."), "ab.c");
  EXPECT_EQ(CharFunctions::PadWith("7", '0', 3, true), "007");
  EXPECT_TRUE(CharFunctions::StartsWith("HrtfInfos", "Hrtf"));
}

}  // namespace
