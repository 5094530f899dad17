#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>

namespace nolardsp {

// Thin wrappers of the C library's stream calls, in one place. Files are
// opened in binary mode; positions are 64-bit.
class FileHandle {
 public:
  // Null if the path is null or the file cannot be opened.
  static std::FILE* OpenFileForReading(char const* path);
  // Creates or truncates.
  static std::FILE* OpenFileForWriting(char const* path);
  // True if the close succeeded (for a written file: the data reached the system).
  static bool CloseFile(std::FILE* file);
  static std::size_t fileRead(void* destination, std::size_t size, std::FILE* file);
  static std::size_t fileWrite(void const* source, std::size_t size, std::FILE* file);
  static std::uint64_t getPosition(std::FILE* file);
  static bool setPosition(std::FILE* file, std::uint64_t position);
};

}  // namespace nolardsp
