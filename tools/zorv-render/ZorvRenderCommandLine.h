#pragma once

#include <ostream>

#include "ZorvRenderApp.h"

namespace zorvrender {

// Reads the command line into options. Returns -1 when the render should go
// ahead, else the exit code (0 after --help; ExitUsage after a mistake, with
// the message on err).
int ParseCommandLine(int argc, char const* const* argv, RenderOptions& options, std::ostream& out,
                     std::ostream& err);

}  // namespace zorvrender
