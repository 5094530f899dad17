#include "ZorvRenderScore.h"

#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>

#include "ZorvRenderError.h"

namespace zorvrender {
namespace {

bool isBlank(char c) {
  return c == ' ' || c == '\t' || c == '\r' || c == '\v' || c == '\f';
}

std::string trim(std::string const& text) {
  size_t first = 0;
  size_t last = text.size();
  while (first < last && isBlank(text[first])) {
    ++first;
  }
  while (last > first && isBlank(text[last - 1])) {
    --last;
  }
  return text.substr(first, last - first);
}

std::string formatSeconds(double seconds) {
  std::ostringstream out;
  out << seconds;
  return out.str();
}

}  // namespace

Score Score::Parse(std::istream& text, std::string const& name) {
  Score score;
  score.name = name;
  std::string raw;
  unsigned int lineNumber = 0;
  double previous = 0.;
  while (std::getline(text, raw)) {
    ++lineNumber;
    std::string const where = name + ":" + std::to_string(lineNumber) + ": ";
    std::string const line = trim(raw.substr(0, raw.find('#')));
    if (line.empty()) {
      continue;
    }
    size_t timeEnd = 0;
    while (timeEnd < line.size() && !isBlank(line[timeEnd])) {
      ++timeEnd;
    }
    std::string const timeText = line.substr(0, timeEnd);
    std::string const message = trim(line.substr(timeEnd));

    char* end = nullptr;
    errno = 0;
    double const seconds = std::strtod(timeText.c_str(), &end);
    if (end == timeText.c_str() || *end != '\0' || errno == ERANGE || !std::isfinite(seconds)) {
      throw RenderError(ExitBadScore, where + "bad time \"" + timeText +
                                          "\": a score line is \"SECONDS MESSAGE...\"");
    }
    if (seconds < 0.) {
      throw RenderError(ExitBadScore, where + "negative time " + timeText);
    }
    if (!score.entries.empty() && seconds < previous) {
      throw RenderError(ExitBadScore, where + "time goes backwards: " + timeText + " after " +
                                          formatSeconds(previous));
    }
    if (message.empty()) {
      throw RenderError(ExitBadScore, where + "no message after the time " + timeText);
    }
    previous = seconds;
    score.entries.push_back({seconds, message, lineNumber});
  }
  if (text.bad()) {
    throw RenderError(ExitBadScore, name + ": read error");
  }
  return score;
}

Score Score::Read(std::string const& path) {
  std::ifstream file(path);
  if (!file) {
    throw RenderError(ExitBadScore, path + ": cannot open the score: " + std::strerror(errno));
  }
  return Parse(file, path);
}

}  // namespace zorvrender
