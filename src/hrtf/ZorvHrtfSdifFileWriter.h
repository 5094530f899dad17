#pragma once

#include <string>

#include "ZorvHrtfData.h"

namespace Zorv {

// Writes a set as a .hrtf (SDIF) file that Hrtf loads back to the same points:
// the HrtfInfos table from the header, then one "HRTF" frame per point (stream
// ID = index + 1) with its position as XCAR, and its filters as XFIR (FIR
// sets) or XITD and XIIR (every other kind), all 32-bit floats. Throws
// nolardsp::Exception if the file cannot be written. Not for the audio thread.
class HrtfSdifFileWriter {
 public:
  static void Write(HrtfData const& set, std::string const& path, std::string const& author);
};

}  // namespace Zorv
