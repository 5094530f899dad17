#pragma once

#include "ZorvRenderObject.h"

namespace zorvrender {

// Makes the real zorv.pan~ object through the host facade.
std::unique_ptr<RenderObject> MakeFacadeObject(std::string const& boxText, ConsoleFunction console);

}  // namespace zorvrender
