#pragma once

#include <ostream>

#include "ZorvJackApp.h"

namespace zorvjack {

// Reads the command line into options. Returns -1 when the host should start,
// else the exit code (0 after --help; JackExitUsage after a mistake, with the
// message on err).
int ParseCommandLine(int argc, char const* const* argv, JackOptions& options, std::ostream& out,
                     std::ostream& err);

}  // namespace zorvjack
