#pragma once

#include <istream>
#include <string>

namespace nolardsp {

// Line reading that accepts the three line ends: LF, CR, and CR LF.
class TextFileReader {
 public:
  // The next line without its end. False at the end of the stream with nothing read.
  static bool GetLine(std::istream& stream, std::string& line);
  static void RemoveLeadingAndTrailingSpaces(std::string& text);
};

}  // namespace nolardsp
