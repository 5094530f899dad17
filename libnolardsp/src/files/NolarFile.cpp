#include "NolarFile.h"

#include <sys/stat.h>

#include <cstdio>

#include "NolarCharFunctions.h"

namespace nolardsp {

bool File::ExistsAsFile(char const* path) {
  struct stat info;
  return path != nullptr && stat(path, &info) == 0 && S_ISREG(info.st_mode);
}

std::uint64_t File::GetSize(char const* path) {
  struct stat info;
  if (path == nullptr || stat(path, &info) != 0) return 0;
  return static_cast<std::uint64_t>(info.st_size);
}

bool File::Delete(char const* path) {
  if (path == nullptr) return false;
  std::remove(path);
  return !ExistsAsFile(path);
}

std::string File::GetFileName(char const* path) {
  if (path == nullptr) return std::string();
  std::string const p(path);
  std::string::size_type const slash = p.find_last_of("/\\");
  return slash == std::string::npos ? p : p.substr(slash + 1);
}

std::string File::GetExtension(char const* path) {
  std::string const name = GetFileName(path);
  std::string::size_type const dot = name.find_last_of('.');
  return dot == std::string::npos ? std::string() : name.substr(dot);
}

bool File::HasThisExtension(char const* path, char const* extension, bool ignoreCase) {
  if (extension == nullptr) return false;
  std::string wanted(extension);
  if (wanted.empty()) return false;
  if (wanted[0] != '.') wanted = "." + wanted;
  std::string const actual = GetExtension(path);
  return ignoreCase ? CharFunctions::AreEqualIgnoreCase(actual.c_str(), wanted.c_str())
                    : actual == wanted;
}

bool File::HasOneOfTheseExtensions(char const* path, std::vector<std::string> const& extensions) {
  for (std::string const& e : extensions) {
    if (HasThisExtension(path, e.c_str(), true)) return true;
  }
  return false;
}

}  // namespace nolardsp
