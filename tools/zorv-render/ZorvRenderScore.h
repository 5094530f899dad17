#pragma once

#include <istream>
#include <string>
#include <vector>

namespace zorvrender {

// One timed message of a score.
struct ScoreEntry {
  double seconds;
  std::string message;
  unsigned int line;  // 1-based line in the score's text
};

// Timed messages, one per line: "SECONDS MESSAGE...". '#' starts a comment that
// runs to the end of the line; blank lines are skipped; times never decrease.
// The whole score is read before the render starts, so a bad line stops the
// run before anything is written.
class Score {
 public:
  // Throws RenderError (ExitBadScore) naming `name` and the line.
  static Score Parse(std::istream& text, std::string const& name);
  // Throws RenderError (ExitBadScore) when the file cannot be read.
  static Score Read(std::string const& path);

  std::string const& Name() const { return name; }
  std::vector<ScoreEntry> const& Entries() const { return entries; }

 private:
  std::string name;
  std::vector<ScoreEntry> entries;
};

}  // namespace zorvrender
