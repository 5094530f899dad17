#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace nolardsp {

// Questions about paths and files on disk. Separators are '/' and '\\'.
class File {
 public:
  static bool ExistsAsFile(char const* path);
  // Bytes, or 0 for a file that is not there.
  static std::uint64_t GetSize(char const* path);
  // True if the file is gone afterwards.
  static bool Delete(char const* path);
  // The part after the last separator.
  static std::string GetFileName(char const* path);
  // From the last '.' of the file name on, the dot included; empty if none.
  static std::string GetExtension(char const* path);
  // extension with or without its leading dot.
  static bool HasThisExtension(char const* path, char const* extension, bool ignoreCase);
  static bool HasOneOfTheseExtensions(char const* path, std::vector<std::string> const& extensions);
};

}  // namespace nolardsp
