#pragma once

#include <cstdint>
#include <istream>
#include <map>
#include <string>
#include <vector>

namespace Zorv {

// Reads the rows of a .coll text file: "index, numbers ... ;" one a line,
// indices 1, 2, 3 ... A line whose index is not the previous accepted one plus
// one is dropped, as are empty lines and lines without comma or semicolon.
// Row 1 fixes the number of columns; later rows stop there and may hold fewer.
// Numbers are read in the classic "C" locale whatever the process's locale is.
class MaxMSPCollFileParser {
 public:
  explicit MaxMSPCollFileParser(std::istream& in);

  std::map<int32_t, std::vector<float>> rows;
  uint32_t numRows = 0;
  uint32_t numColumns = 0;

  // The subject between the first two '-' of a file name (display only), or
  // fallback if the name has no '-'.
  static std::string GetSubjectFromCollFilename(std::string const& path,
                                                std::string const& fallback);
  // The rate behind the last '-' of a name like prefix-subject-44100.coll, or
  // fallback.
  static unsigned int GetSamplingRateFromCollFileName(std::string const& path,
                                                      unsigned int fallback);
};

}  // namespace Zorv
