#pragma once

#include <stdexcept>
#include <string>

namespace zorvrender {

// The renderer's exit codes, one per kind of failure, so that scripts can tell
// a bad score from a full disk without reading the text.
enum ExitCode : int {
  ExitSuccess = 0,
  ExitUsage = 2,          // the command line itself
  ExitBadBox = 3,         // the box text makes no object
  ExitBadInput = 4,       // an input file: unreadable, malformed, wrong rate, too many channels
  ExitBadScore = 5,       // a score line that does not parse, or time going backwards
  ExitBadOutput = 6,      // the output cannot be written
  ExitObjectError = 7,    // --strict: the object reported an error during the run
  ExitInterrupted = 130,  // SIGINT or SIGTERM: the partial output is removed
};

// A failure that ends the render. The text is complete and names the file
// (and line) it is about; the code is what the process exits with.
class RenderError : public std::runtime_error {
 public:
  RenderError(ExitCode code, std::string const& text) : std::runtime_error(text), code(code) {}
  ExitCode Code() const { return code; }

 private:
  ExitCode code;
};

}  // namespace zorvrender
