#pragma once

#include <functional>
#include <istream>
#include <string>
#include <vector>

namespace zorvrender {

// One timed message of a score. A glide ("1..3 source 1 aed 0 0 1 -> 90 0 1")
// sends message followed by numbers that move linearly from `from` to `to`
// between seconds and endSeconds; a plain line has endSeconds == seconds and
// no numbers.
struct ScoreEntry {
  double seconds = 0.;
  std::string message;
  unsigned int line = 0;  // 1-based line in the score's text
  double endSeconds = 0.;
  std::vector<double> from;
  std::vector<double> to;

  bool IsGlide() const { return !from.empty(); }
  // The message of a glide at this fraction of its way (0 to 1): the words
  // before the numbers, then the numbers; a plain line's message as it is.
  std::string MessageAt(double fraction) const;
};

// The grammar of one score line, shared by every tool that reads scores:
//   SECONDS MESSAGE...                 one message at a time
//   START..END MESSAGE... A B -> C D   a glide of the numbers A B to C D
// '#' starts a comment that runs to the end of the line; blank lines are
// skipped; start times never decrease; a byte-order mark before the first line
// is skipped. The parser keeps only what the next line needs (the line count
// and the last time), so a score of any length is read in constant memory.
class ScoreLineParser {
 public:
  explicit ScoreLineParser(std::string name) : name(std::move(name)) {}

  // Parses the next line (without its end of line). Returns true and fills
  // entry when the line holds a message, false for a comment or a blank line.
  // Throws RenderError (ExitBadScore) naming the score and the line.
  bool Parse(std::string const& line, ScoreEntry& entry);

  std::string const& Name() const { return name; }
  unsigned int LineNumber() const { return lineNumber; }

 private:
  std::string name;
  unsigned int lineNumber = 0;
  double previous = 0.;
};

// A score read line by line from a file, a pipe or a text: only the line at
// hand is in memory. Reading a pipe waits for its next line; `interrupted` is
// asked while it waits (a signal ends the wait) and after every line.
class ScoreReader {
 public:
  // Opens the file; throws RenderError (ExitBadScore) when it cannot be read.
  ScoreReader(std::string const& path, std::function<bool()> interrupted = {});
  // A score held in memory (the demonstration's, tests).
  ScoreReader(std::string text, std::string const& name);
  ~ScoreReader();
  ScoreReader(ScoreReader const&) = delete;
  ScoreReader& operator=(ScoreReader const&) = delete;

  // The next entry in the file's order; false at the end of the score or when
  // interrupted. Throws RenderError (ExitBadScore) for a bad line.
  bool Next(ScoreEntry& entry);

  bool Interrupted() const { return wasInterrupted; }
  // A score that ends and can be read through at no risk: a file (checked
  // whole before a render, then read again while it runs) or a text; a
  // pipe, a terminal or a device could make the reader wait for ever.
  bool IsRegularFile() const { return regular; }
  std::string const& Name() const { return parser.Name(); }

 private:
  bool readLine(std::string& line);
  bool fill();

  ScoreLineParser parser;
  std::function<bool()> interrupted;
  int fd = -1;
  bool regular = false;
  bool atEnd = false;
  bool wasInterrupted = false;
  std::string buffer;
  size_t position = 0;
};

// A whole score in memory, for short scores made by the program itself.
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
