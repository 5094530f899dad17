#pragma once

#include <map>
#include <ostream>
#include <string>
#include <vector>

#include "ZorvRenderObject.h"

namespace zorvrender {

class ProgressBar;

// One console line of the object as the renderer prints it:
// "[ORIGIN: ]zorv.pan~: [warning: |error: |bug: ]TEXT". The origin names the
// score line whose message caused it, as "moves.txt:12".
std::string FormatObjectLine(std::string const& origin, ConsoleSeverity severity,
                             std::string const& text);

// A line made safe for a terminal: control characters, and bytes that are not
// UTF-8, become "\xHH", so that text from a score or a message cannot move the
// cursor, change colours or retitle the window.
std::string EscapeControlCharacters(std::string const& text);

// The renderer's standard error: the object's console, the renderer's own
// lines, and the progress bar kept out of their way. A warning or error of the
// object that comes again and again (one bad message repeated over a score) is
// shown the first few times and then counted; FlushRepeats prints the counts.
class Console {
 public:
  explicit Console(std::ostream& out);

  // Where the lines the object posts from now on come from ("" for nowhere in
  // particular).
  void SetOrigin(std::string const& origin) { this->origin = origin; }

  // A line of the object's console; one line per line of its text.
  void Object(ConsoleSeverity severity, std::string const& text);
  // A line of the renderer itself: "zorv-render: [warning: |error: ]TEXT".
  void Renderer(ConsoleSeverity severity, std::string const& text);

  // Errors and bugs the object has posted so far.
  unsigned int ObjectErrors() const { return objectErrors; }

  // "... repeated N more times" for each line held back; once.
  void FlushRepeats();

  // How many times the same object line is shown before it is only counted.
  static constexpr unsigned int ShownRepeats = 3;

  // The bar is cleared before a line is printed and drawn again after it.
  void AttachProgress(ProgressBar* bar) { progress = bar; }

 private:
  void print(std::string const& line);

  std::ostream& out;
  std::string origin;
  unsigned int objectErrors = 0;
  // Per line text: how often it came; in the order first seen.
  std::map<std::string, unsigned long long> seen;
  std::vector<std::string> seenOrder;
  ProgressBar* progress = nullptr;
};

}  // namespace zorvrender
