#pragma once

#include <ostream>

#include "ZorvHrtf.h"

namespace zorvhrtf {

// A readable summary of a loaded set: header fields, points, filter type and
// length, rate, the range of the ITDs and of the points' distances; with
// listPoints, one line per point.
void PrintSummary(std::ostream& out, char const* path, Zorv::HrtfData const& set, bool listPoints);

}  // namespace zorvhrtf
