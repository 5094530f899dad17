#pragma once

#include <string>

namespace zorvrender {

// The text of a box as typed on the command line, made ready for the object:
// blanks collapsed, and a leading "zorv.pan~" dropped (the object takes no
// positional arguments, so anything else before the first attribute is a
// mistake worth stopping for). Throws RenderError (ExitBadBox).
std::string NormaliseBoxText(std::string const& text);

}  // namespace zorvrender
