#include "NolarTextFileReader.h"

#include "NolarCharFunctions.h"

namespace nolardsp {

bool TextFileReader::GetLine(std::istream& stream, std::string& line) {
  line.clear();
  std::istream::sentry guard(stream, true);
  if (!guard) return false;
  std::streambuf* buffer = stream.rdbuf();
  bool readAny = false;
  for (;;) {
    int const c = buffer->sbumpc();
    if (c == std::char_traits<char>::eof()) {
      if (!readAny)
        stream.setstate(std::ios::eofbit | std::ios::failbit);
      else
        stream.setstate(std::ios::eofbit);
      return readAny;
    }
    readAny = true;
    if (c == '\n') return true;
    if (c == '\r') {
      if (buffer->sgetc() == '\n') buffer->sbumpc();
      return true;
    }
    line.push_back(static_cast<char>(c));
  }
}

void TextFileReader::RemoveLeadingAndTrailingSpaces(std::string& text) {
  CharFunctions::RemoveLeadingAndTrailingSpaces(text);
}

}  // namespace nolardsp
