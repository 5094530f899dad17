#include <unistd.h>

#include <csignal>
#include <iostream>

#include "ZorvHost.h"
#include "ZorvRenderApp.h"
#include "ZorvRenderCommandLine.h"
#include "ZorvRenderFacadeObject.h"

namespace {

volatile std::sig_atomic_t interruptedBySignal = 0;

extern "C" void onSignal(int) {
  interruptedBySignal = 1;
}

// Ctrl-C, kill, a closed terminal or ssh session (HUP), Ctrl-\ (QUIT) and a
// reader that went away (PIPE) all end the render the same way: between two
// blocks, with the output discarded. Without SA_RESTART, a wait for the next
// line of a score from a pipe ends at once.
void catchStopSignals() {
  struct sigaction action {};
  action.sa_handler = onSignal;
  sigemptyset(&action.sa_mask);
  action.sa_flags = 0;
  for (int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGPIPE}) {
    sigaction(signal, &action, nullptr);
  }
}

}  // namespace

int main(int argc, char** argv) {
  zorvrender::RenderOptions options;
  int const code = zorvrender::ParseCommandLine(argc, argv, options, std::cout, std::cerr);
  if (code >= 0) {
    return code;
  }
  options.progress = !options.quiet && isatty(STDERR_FILENO) != 0;

  // The renderer's own console goes to standard error; what the panners trace
  // to std::cerr only with --verbose.
  std::streambuf* const standardError =
      options.verbose ? std::cerr.rdbuf() : zorvhost::HideCppErrorStream();
  std::ostream console(standardError);

  catchStopSignals();
  return zorvrender::RunRender(options, zorvrender::MakeFacadeObject, console,
                               []() { return interruptedBySignal != 0; });
}
