#include "ZorvMaxMSPCollFileParser.h"

#include <cctype>
#include <limits>
#include <locale>
#include <sstream>

#include "NolarTextFileReader.h"

namespace Zorv {

MaxMSPCollFileParser::MaxMSPCollFileParser(std::istream& in) {
  std::string line;
  int32_t last = 0;
  while (nolardsp::TextFileReader::GetLine(in, line)) {
    nolardsp::TextFileReader::RemoveLeadingAndTrailingSpaces(line);
    if (line.empty()) continue;
    std::size_t const comma = line.find(',');
    std::size_t const semicolon = line.find(';');
    if (comma == std::string::npos || semicolon == std::string::npos) continue;

    std::istringstream head(line.substr(0, comma));
    head.imbue(std::locale::classic());
    int32_t index = 0;
    if (!(head >> index) || last == std::numeric_limits<int32_t>::max() || index != last + 1) {
      continue;
    }

    std::istringstream body(line.substr(comma + 1));
    body.imbue(std::locale::classic());
    std::vector<float> values;
    float v = 0.f;
    while ((index == 1 || values.size() < numColumns) && body >> v) values.push_back(v);
    if (index == 1) numColumns = static_cast<uint32_t>(values.size());
    rows[index] = std::move(values);
    last = index;
  }
  numRows = static_cast<uint32_t>(last);
}

std::string MaxMSPCollFileParser::GetSubjectFromCollFilename(std::string const& path,
                                                             std::string const& fallback) {
  std::size_t const first = path.find('-');
  if (first == std::string::npos) return fallback;
  // The second search starts on the first '-' and so finds it again; the
  // subject is then as long as the text before it. Kept for display only.
  std::size_t const p = path.find('-', first);
  return path.substr(p + 1, p);
}

unsigned int MaxMSPCollFileParser::GetSamplingRateFromCollFileName(std::string const& path,
                                                                   unsigned int fallback) {
  std::size_t const r = path.rfind('-');
  std::size_t const l = path.find_last_of(".col");
  if (r == std::string::npos || l == std::string::npos || r >= l) return fallback;
  unsigned long long value = 0;
  std::size_t i = r + 1;
  if (i >= path.size() || !std::isdigit(static_cast<unsigned char>(path[i]))) return fallback;
  for (; i < path.size() && std::isdigit(static_cast<unsigned char>(path[i])); ++i) {
    value = value * 10 + static_cast<unsigned>(path[i] - '0');
    if (value > std::numeric_limits<unsigned int>::max()) return fallback;
  }
  return static_cast<unsigned int>(value);
}

}  // namespace Zorv
