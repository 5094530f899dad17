#pragma once

#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "ZorvRenderLoop.h"
#include "ZorvRenderObject.h"

namespace zorvrender {

// Everything the command line can say.
struct RenderOptions {
  std::string boxText;
  std::vector<std::string> inputs;
  std::string output;
  std::vector<std::string> messages;
  std::string score;
  double samplerate = 0.;  // 0: the inputs' rate, else 48000
  unsigned int blockSize = 64;
  double duration = -1.;  // negative: the longest input plus the tail
  double tail = 0.;
  int bits = 0;  // 0: 32-bit float
  bool demo = false;
  bool exact = false;
  bool strict = false;
  bool quiet = false;
  bool verbose = false;   // show what the panners write to the C++ error stream
  bool preroll = true;    // false: --no-preroll
  bool progress = false;  // draw the bar (standard error is a terminal and not quiet)
};

// Runs one render: checks every input before anything is written, makes the
// object, renders into a temporary file and puts it in place only when all went
// well. Every line goes to err. Returns the exit code (ZorvRenderError.h).
// interrupted is polled between blocks; report, when given, receives where
// the time went.
int RunRender(RenderOptions const& options, ObjectFactory const& factory, std::ostream& err,
              std::function<bool()> const& interrupted = {}, RenderReport* report = nullptr);

}  // namespace zorvrender
