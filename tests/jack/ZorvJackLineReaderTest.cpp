#include "ZorvJackLineReader.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using zorvjack::LineReader;

std::vector<std::string> texts(std::vector<LineReader::Line> const& lines) {
  std::vector<std::string> out;
  for (auto const& line : lines) out.push_back(line.text);
  return out;
}

TEST(JackLineReader, LinesSplitAcrossReadsComeOutWhole) {
  LineReader reader;
  std::string const a = "source 1 aed 3";
  std::string const b = "0 0 2\r\nlistener yaw 90\nsource 2 mu";
  EXPECT_TRUE(reader.Feed(a.data(), a.size()).empty());
  EXPECT_EQ(texts(reader.Feed(b.data(), b.size())),
            (std::vector<std::string>{"source 1 aed 30 0 2", "listener yaw 90"}));
  // The end of the stream ends the last line.
  EXPECT_EQ(texts(reader.Finish()), (std::vector<std::string>{"source 2 mu"}));
  EXPECT_TRUE(reader.Finish().empty());
}

TEST(JackLineReader, AnOverlongLineIsCutAndTheNextOneIsIntact) {
  LineReader reader(8);
  std::string const text = std::string(100, 'x') + "\nshort\n";
  auto const lines = reader.Feed(text.data(), text.size());
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_TRUE(lines[0].truncated);
  EXPECT_EQ(lines[0].text.size(), 8u);
  EXPECT_FALSE(lines[1].truncated);
  EXPECT_EQ(lines[1].text, "short");
}

}  // namespace
