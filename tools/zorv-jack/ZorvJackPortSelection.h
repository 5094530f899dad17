#pragma once

#include <string>
#include <vector>

namespace zorvjack {

// The ports a --connect-in or --connect-out text names, in order, among the
// candidates (the server's ports of the right direction, in the server's
// order). The text is a comma-separated list; each item is a port's full
// name, or else an extended regular expression that selects every candidate
// it matches anywhere in the name ("system:playback_" takes them all). A port
// is taken once. error receives a description of a bad expression, and
// nothing is selected then.
std::vector<std::string> SelectPorts(std::string const& text,
                                     std::vector<std::string> const& candidates,
                                     std::string& error);

}  // namespace zorvjack
