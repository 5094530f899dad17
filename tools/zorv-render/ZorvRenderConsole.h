#pragma once

#include <ostream>
#include <string>

#include "ZorvRenderObject.h"

namespace zorvrender {

class ProgressBar;

// One console line of the object as the renderer prints it:
// "[ORIGIN: ]zorv.pan~: [warning: |error: |bug: ]TEXT". The origin names the
// score line whose message caused it, as "moves.txt:12".
std::string FormatObjectLine(std::string const& origin, ConsoleSeverity severity,
                             std::string const& text);

// The renderer's standard error: the object's console, the renderer's own
// lines, and the progress bar kept out of their way.
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

  // The bar is cleared before a line is printed and drawn again after it.
  void AttachProgress(ProgressBar* bar) { progress = bar; }

 private:
  void print(std::string const& line);

  std::ostream& out;
  std::string origin;
  unsigned int objectErrors = 0;
  ProgressBar* progress = nullptr;
};

}  // namespace zorvrender
