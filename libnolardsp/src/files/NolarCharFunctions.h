#pragma once

#include <string>

namespace nolardsp {

// Small text helpers. They do no range checks beyond what std::string does.
class CharFunctions {
 public:
  // Null or "".
  static bool IsEmpty(char const* text);
  static bool AreEqual(char const* a, char const* b);
  static bool AreEqualIgnoreCase(char const* a, char const* b);
  static std::string Int2String(long long value);
  // printf-style format of one double, "%.2f" for example.
  static std::string Float2String(double value, char const* format);
  static bool StartsWith(char const* text, char const* start);
  // text without the first occurrence of what (unchanged if absent).
  static std::string RemoveFirstOccurence(std::string const& text, std::string const& what);
  static void RemoveLeadingAndTrailingSpaces(std::string& text);
  // Pads text with c up to length characters, at the end, or at the front if atFront.
  static std::string PadWith(std::string const& text, char c, std::size_t length,
                             bool atFront = false);
};

}  // namespace nolardsp
