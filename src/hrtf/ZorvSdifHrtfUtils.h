#pragma once

#include <string>

#include "NolarSdifFile.h"
#include "ZorvHrtfHeaderInfos.h"

namespace Zorv {

// What is particular to HRTF files in SDIF: the "HrtfInfos" name-value table
// that every .hrtf file carries. Not for the audio thread.
class SdifHrtfUtils {
 public:
  // The path ends with extension, case ignored.
  static bool CheckFileExtension(char const* path, char const* extension);

  // FiltersLength, NumPoints, NumChannels, SamplingRate of the table: an
  // optional sign and decimal digits, reading stops at the first other
  // character, and a text without digits counts as 0. A negative number (or
  // one beyond 32 bits) gives false and leaves the output alone.
  static bool GetNumCoefficients(nolardsp::SdifFileS* file, unsigned int& out);
  static bool GetNumPoints(nolardsp::SdifFileS* file, unsigned int& out);
  static bool GetNumChannels(nolardsp::SdifFileS* file, unsigned int& out);
  static bool GetSampleRate(nolardsp::SdifFileS* file, unsigned int& out);
  static bool GetHrtfFilterType(nolardsp::SdifFileS* file, HrtfFilterType& out);
  static bool GetHrtfType(nolardsp::SdifFileS* file, HrtfType& out);

  // Reads every key, reporting each missing one, and fills the whole header;
  // true only if all fifteen keys are there and every number is valid.
  static bool GetHrtfHeaderInfos(nolardsp::SdifFileS* file, HrtfHeaderInfos& header);
  // The same from a path: opens the file, reads its header and text chunks,
  // closes it. False, with a line on the error stream, if it cannot be opened.
  static bool GetHrtfHeaderInfos(char const* path, HrtfHeaderInfos& header);

  // The number as the table holds it; false for a negative or too large one.
  static bool ParseNumber(std::string const& text, unsigned int& out);

  static constexpr char const* kTableName = "HrtfInfos";
};

}  // namespace Zorv
