#include "NolarException.h"

#include <cstdlib>
#include <iostream>

namespace nolardsp {

namespace {
std::string baseName(char const* path) {
  if (path == nullptr) return std::string();
  std::string const p(path);
  std::string::size_type const slash = p.find_last_of("/\\");
  return slash == std::string::npos ? p : p.substr(slash + 1);
}
}  // namespace

Exception::Exception(std::string const& message_, char const* sourceFile, unsigned long line,
                     bool printLocation, bool exitAfterPrinting)
    : fileName(baseName(sourceFile)), message(message_), lineNumber(line) {
  if (printLocation) {
    std::cerr << "Exception occured in : " << fileName << " at line " << lineNumber << " : "
              << std::endl
              << "  " << message << std::endl;
  } else {
    std::cerr << "Exception occured : " << message << std::endl;
  }
  if (exitAfterPrinting) std::exit(1);
}

Exception::~Exception() = default;

char const* Exception::what() const noexcept {
  return message.c_str();
}

}  // namespace nolardsp
