#include "NolarCharFunctions.h"

#include <cctype>
#include <cstdio>
#include <cstring>

namespace nolardsp {

bool CharFunctions::IsEmpty(char const* text) {
  return text == nullptr || text[0] == '\0';
}

bool CharFunctions::AreEqual(char const* a, char const* b) {
  if (a == nullptr || b == nullptr) return a == b;
  return std::strcmp(a, b) == 0;
}

bool CharFunctions::AreEqualIgnoreCase(char const* a, char const* b) {
  if (a == nullptr || b == nullptr) return a == b;
  for (; *a != '\0' && *b != '\0'; ++a, ++b) {
    if (std::tolower(static_cast<unsigned char>(*a)) !=
        std::tolower(static_cast<unsigned char>(*b))) {
      return false;
    }
  }
  return *a == *b;
}

std::string CharFunctions::Int2String(long long value) {
  return std::to_string(value);
}

std::string CharFunctions::Float2String(double value, char const* format) {
  char text[64];
  std::snprintf(text, sizeof(text), format == nullptr ? "%f" : format, value);
  return text;
}

bool CharFunctions::StartsWith(char const* text, char const* start) {
  if (text == nullptr || start == nullptr) return false;
  return std::strncmp(text, start, std::strlen(start)) == 0;
}

std::string CharFunctions::RemoveFirstOccurence(std::string const& text, std::string const& what) {
  std::string::size_type const at = what.empty() ? std::string::npos : text.find(what);
  if (at == std::string::npos) return text;
  return text.substr(0, at) + text.substr(at + what.size());
}

void CharFunctions::RemoveLeadingAndTrailingSpaces(std::string& text) {
  std::string::size_type const first = text.find_first_not_of(" \t\r\n");
  if (first == std::string::npos) {
    text.clear();
    return;
  }
  std::string::size_type const last = text.find_last_not_of(" \t\r\n");
  text = text.substr(first, last - first + 1);
}

std::string CharFunctions::PadWith(std::string const& text, char c, std::size_t length,
                                   bool atFront) {
  if (text.size() >= length) return text;
  std::string const pad(length - text.size(), c);
  return atFront ? pad + text : text + pad;
}

}  // namespace nolardsp
