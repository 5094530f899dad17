#include <unistd.h>

#include <csignal>
#include <iostream>

#include "ZorvRenderApp.h"
#include "ZorvRenderCommandLine.h"
#include "ZorvRenderFacadeObject.h"

namespace {

volatile std::sig_atomic_t interruptedBySignal = 0;

extern "C" void onSignal(int) {
  interruptedBySignal = 1;
}

}  // namespace

int main(int argc, char** argv) {
  zorvrender::RenderOptions options;
  int const code = zorvrender::ParseCommandLine(argc, argv, options, std::cout, std::cerr);
  if (code >= 0) {
    return code;
  }
  options.progress = !options.quiet && isatty(STDERR_FILENO) != 0;

  // A render stopped by the user leaves no partial file behind: the loop sees
  // the flag between blocks and the output is discarded.
  std::signal(SIGINT, onSignal);
  std::signal(SIGTERM, onSignal);
  return zorvrender::RunRender(options, zorvrender::MakeFacadeObject, std::cerr,
                               []() { return interruptedBySignal != 0; });
}
