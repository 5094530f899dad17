#pragma once

#include <exception>
#include <string>

namespace nolardsp {

// The library's one exception type. Constructing it writes the message (and,
// when asked, where it was raised) to standard error, so a reader of the console
// sees it even when a caller catches it at once.
class Exception : public std::exception {
 public:
  Exception(std::string const& message, char const* sourceFile, unsigned long line,
            bool printLocation = true, bool exitAfterPrinting = false);
  ~Exception() override;

  char const* what() const noexcept override;

  std::string const& GetFileName() const { return fileName; }
  std::string const& GetMessage() const { return message; }
  unsigned long GetLineNumber() const { return lineNumber; }

 private:
  std::string fileName;
  std::string message;
  unsigned long lineNumber;
};

}  // namespace nolardsp

// Raises a nolardsp::Exception carrying this file and line.
#define NOLAR_THROW(text) throw ::nolardsp::Exception((text), __FILE__, __LINE__, true, false)
