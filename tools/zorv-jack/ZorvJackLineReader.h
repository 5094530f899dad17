#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace zorvjack {

// Cuts a byte stream (standard input) into lines: '\n' ends a line, a '\r'
// before it is dropped, and what is left at the end of the stream is the last
// line. A line longer than the limit is cut at the limit and the rest of it
// is dropped, so that a stream with no newline cannot grow memory without end.
class LineReader {
 public:
  struct Line {
    std::string text;
    bool truncated = false;
  };

  static constexpr std::size_t DefaultMaxLength = 65536;
  explicit LineReader(std::size_t maxLength = DefaultMaxLength);

  // The lines that these bytes complete, in order.
  std::vector<Line> Feed(char const* bytes, std::size_t count);
  // At the end of the stream: the unfinished line, if there is one.
  std::vector<Line> Finish();

 private:
  std::size_t maxLength;
  Line pending;
  bool skipping = false;  // past the limit: drop until the newline
};

}  // namespace zorvjack
