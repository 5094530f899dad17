#pragma once

#include <mutex>
#include <ostream>
#include <string>

#include "ZorvRenderObject.h"

namespace zorvjack {

using zorvrender::ConsoleSeverity;

// The host's standard error: the object's console, as the offline renderer
// prints it ("stdin:3: zorv.pan~: error: ..."), and the host's own lines
// ("zorv-jack: warning: ...").
//
// Threads: any thread but the audio thread; every line is written whole.
class Console {
 public:
  Console(std::ostream& out, bool quiet);

  // Where the object's next lines come from: "stdin:12", "osc", "moves.txt:3",
  // "-m"; "" for nowhere in particular. Set by the message thread around each
  // message it sends.
  void SetOrigin(std::string const& origin);

  // A line of the object's console; one line per line of its text.
  void Object(ConsoleSeverity severity, std::string const& text);
  // A line of the host itself. With quiet, its posts are left out; warnings
  // and errors never are.
  void Host(ConsoleSeverity severity, std::string const& text);
  // A post that is shown even with quiet (what the user asked for).
  void Report(std::string const& text);

 private:
  void print(std::string const& line);

  std::mutex mutex;
  std::ostream& out;
  bool quiet;
  std::string origin;
};

}  // namespace zorvjack
