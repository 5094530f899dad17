#include "ZorvRenderScore.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sstream>

#include "ZorvRenderError.h"

namespace zorvrender {
namespace {

// A line longer than this is not a score line; it would otherwise be held
// whole in memory.
constexpr size_t longestLine = 1 << 20;

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

std::vector<std::string> words(std::string const& text) {
  std::vector<std::string> result;
  size_t at = 0;
  while (at < text.size()) {
    while (at < text.size() && isBlank(text[at])) {
      ++at;
    }
    size_t const start = at;
    while (at < text.size() && !isBlank(text[at])) {
      ++at;
    }
    if (at > start) {
      result.push_back(text.substr(start, at - start));
    }
  }
  return result;
}

std::string formatSeconds(double seconds) {
  std::ostringstream out;
  out << seconds;
  return out.str();
}

// A decimal number as people write it: digits, a point, an exponent. Not the
// hexadecimal, "inf" or "nan" that strtod would take as well.
bool parseDecimal(std::string const& text, double& value) {
  if (text.empty() || text.find_first_not_of("0123456789.eE+-") != std::string::npos) {
    return false;
  }
  char* end = nullptr;
  errno = 0;
  value = std::strtod(text.c_str(), &end);
  return end != text.c_str() && *end == '\0' && errno != ERANGE && std::isfinite(value);
}

}  // namespace

std::string ScoreEntry::MessageAt(double fraction) const {
  if (!IsGlide()) {
    return message;
  }
  std::string text = message;
  for (size_t i = 0; i < from.size(); ++i) {
    double value = from[i] + (to[i] - from[i]) * fraction;
    if (fraction <= 0.) {
      value = from[i];
    } else if (fraction >= 1.) {
      value = to[i];
    }
    char number[32];
    std::snprintf(number, sizeof(number), " %.9g", value);
    text += number;
  }
  return text;
}

bool ScoreLineParser::Parse(std::string const& raw, ScoreEntry& entry) {
  ++lineNumber;
  std::string const where = name + ":" + std::to_string(lineNumber) + ": ";
  std::string text = raw;
  if (lineNumber == 1 && text.compare(0, 3, "\xEF\xBB\xBF") == 0) {
    text.erase(0, 3);
  }
  std::string const line = trim(text.substr(0, text.find('#')));
  if (line.empty()) {
    return false;
  }
  size_t timeEnd = 0;
  while (timeEnd < line.size() && !isBlank(line[timeEnd])) {
    ++timeEnd;
  }
  std::string const timeText = line.substr(0, timeEnd);
  std::string const message = trim(line.substr(timeEnd));

  size_t const range = timeText.find("..");
  std::string const startText = range == std::string::npos ? timeText : timeText.substr(0, range);
  double seconds = 0.;
  double endSeconds = 0.;
  bool const startOk = parseDecimal(startText, seconds);
  bool const endOk =
      range == std::string::npos || parseDecimal(timeText.substr(range + 2), endSeconds);
  if (!startOk || !endOk) {
    throw RenderError(ExitBadScore, where + "bad time \"" + timeText +
                                        "\": a score line is \"SECONDS MESSAGE...\" or "
                                        "\"START..END MESSAGE... FROM -> TO\"");
  }
  if (seconds < 0.) {
    throw RenderError(ExitBadScore, where + "negative time " + startText);
  }
  if (lineNumber > 1 && seconds < previous) {
    throw RenderError(ExitBadScore, where + "time goes backwards: " + startText + " after " +
                                        formatSeconds(previous));
  }
  if (message.empty()) {
    throw RenderError(ExitBadScore, where + "no message after the time " + timeText);
  }
  entry = ScoreEntry();
  entry.seconds = seconds;
  entry.endSeconds = seconds;
  entry.line = lineNumber;
  entry.message = message;
  if (range != std::string::npos) {
    if (endSeconds < seconds) {
      throw RenderError(ExitBadScore, where + "the glide " + timeText + " ends before it starts");
    }
    std::vector<std::string> const all = words(message);
    size_t arrow = 0;
    while (arrow < all.size() && all[arrow] != "->") {
      ++arrow;
    }
    size_t const count = arrow < all.size() ? all.size() - arrow - 1 : 0;
    std::string const usage =
        "a glide is \"START..END MESSAGE... FROM -> TO\", as \"1..3 source 1 aed 0 0 1 -> 90 0 "
        "1\", with as many numbers after \"->\" as before it";
    if (arrow == all.size() || count == 0 || count > arrow) {
      throw RenderError(ExitBadScore, where + usage);
    }
    entry.from.resize(count);
    entry.to.resize(count);
    for (size_t i = 0; i < count; ++i) {
      if (!parseDecimal(all[arrow - count + i], entry.from[i]) ||
          !parseDecimal(all[arrow + 1 + i], entry.to[i])) {
        throw RenderError(ExitBadScore, where + usage);
      }
    }
    entry.message.clear();
    for (size_t i = 0; i < arrow - count; ++i) {
      entry.message += (i > 0 ? " " : "") + all[i];
    }
    if (entry.message.empty()) {
      throw RenderError(ExitBadScore, where + usage);
    }
    entry.endSeconds = endSeconds;
  }
  previous = seconds;
  return true;
}

ScoreReader::ScoreReader(std::string const& path, std::function<bool()> interrupted)
    : parser(path), interrupted(std::move(interrupted)) {
  fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) {
    throw RenderError(ExitBadScore, path + ": cannot open the score: " + std::strerror(errno));
  }
  struct stat status {};
  if (fstat(fd, &status) == 0) {
    regular = S_ISREG(status.st_mode);
    if (S_ISDIR(status.st_mode)) {
      close(fd);
      throw RenderError(ExitBadScore, path + ": cannot open the score: it is a folder");
    }
  }
}

ScoreReader::ScoreReader(std::string text, std::string const& name)
    : parser(name), buffer(std::move(text)) {
  atEnd = true;
  regular = true;
}

ScoreReader::~ScoreReader() {
  if (fd >= 0) {
    close(fd);
  }
}

bool ScoreReader::fill() {
  if (atEnd) {
    return false;
  }
  buffer.erase(0, position);
  position = 0;
  char chunk[65536];
  for (;;) {
    ssize_t const got = read(fd, chunk, sizeof(chunk));
    if (got > 0) {
      buffer.append(chunk, static_cast<size_t>(got));
      return true;
    }
    if (got == 0) {
      atEnd = true;
      return false;
    }
    if (errno != EINTR) {
      throw RenderError(ExitBadScore, Name() + ": read error: " + std::strerror(errno));
    }
    if (interrupted && interrupted()) {
      wasInterrupted = true;
      return false;
    }
  }
}

bool ScoreReader::readLine(std::string& line) {
  for (;;) {
    size_t const newline = buffer.find('\n', position);
    if (newline != std::string::npos) {
      line.assign(buffer, position, newline - position);
      position = newline + 1;
      return true;
    }
    if (buffer.size() - position > longestLine) {
      throw RenderError(ExitBadScore, Name() + ":" + std::to_string(parser.LineNumber() + 1) +
                                          ": line longer than " + std::to_string(longestLine) +
                                          " bytes");
    }
    if (!fill()) {
      if (wasInterrupted || position >= buffer.size()) {
        return false;
      }
      // The last line may lack its end of line.
      line.assign(buffer, position, std::string::npos);
      position = buffer.size();
      return true;
    }
  }
}

bool ScoreReader::Next(ScoreEntry& entry) {
  std::string line;
  while (!wasInterrupted) {
    if (interrupted && interrupted()) {
      wasInterrupted = true;
      break;
    }
    if (!readLine(line)) {
      return false;
    }
    if (parser.Parse(line, entry)) {
      return true;
    }
  }
  return false;
}

Score Score::Parse(std::istream& text, std::string const& name) {
  Score score;
  score.name = name;
  ScoreLineParser parser(name);
  std::string raw;
  ScoreEntry entry;
  while (std::getline(text, raw)) {
    if (parser.Parse(raw, entry)) {
      score.entries.push_back(entry);
    }
  }
  if (text.bad()) {
    throw RenderError(ExitBadScore, name + ": read error");
  }
  return score;
}

Score Score::Read(std::string const& path) {
  Score score;
  score.name = path;
  ScoreReader reader(path);
  ScoreEntry entry;
  while (reader.Next(entry)) {
    score.entries.push_back(entry);
  }
  return score;
}

}  // namespace zorvrender
