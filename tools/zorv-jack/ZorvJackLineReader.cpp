#include "ZorvJackLineReader.h"

#include <utility>

namespace zorvjack {

LineReader::LineReader(std::size_t maxLength) : maxLength(maxLength > 0 ? maxLength : 1) {}

std::vector<LineReader::Line> LineReader::Feed(char const* bytes, std::size_t count) {
  std::vector<Line> lines;
  for (std::size_t k = 0; k < count; ++k) {
    char const c = bytes[k];
    if (c == '\n') {
      if (!pending.text.empty() && pending.text.back() == '\r') pending.text.pop_back();
      lines.push_back(std::move(pending));
      pending = Line();
      skipping = false;
    } else if (skipping) {
      continue;
    } else if (pending.text.size() >= maxLength) {
      pending.truncated = true;
      skipping = true;
    } else {
      pending.text += c;
    }
  }
  return lines;
}

std::vector<LineReader::Line> LineReader::Finish() {
  std::vector<Line> lines;
  if (!pending.text.empty() || pending.truncated) {
    if (!pending.text.empty() && pending.text.back() == '\r') pending.text.pop_back();
    lines.push_back(std::move(pending));
  }
  pending = Line();
  skipping = false;
  return lines;
}

}  // namespace zorvjack
