#pragma once

#include <cstdint>
#include <cstdio>

namespace nolardsp {

// A file opened for reading, closed by the destructor on every path. Knows
// its size, so that callers can check what a header declares against what is
// there before they act on it.
class FileReader {
 public:
  explicit FileReader(char const* path);
  ~FileReader();
  FileReader(FileReader const&) = delete;
  FileReader& operator=(FileReader const&) = delete;

  bool IsOpen() const { return stream != nullptr; }
  std::uint64_t GetSize() const { return size; }
  // Bytes read; fewer at the end of the file (the rest of destination untouched).
  unsigned int Read(void* destination, unsigned int numBytes);
  std::uint64_t GetPosition() const { return position; }
  // False, and the position unchanged, beyond the end of the file.
  bool SetPosition(unsigned long long newPosition);
  // At or past the end of the file, or a read came up short.
  bool IsExhausted() const { return exhausted || position >= size; }
  std::uint64_t BytesLeft() const { return position < size ? size - position : 0; }

  // 0 where the file ends.
  std::uint32_t ReadInt();  // little-endian
  std::uint16_t ReadShort();
  std::uint32_t ReadIntBigEndian();
  std::uint16_t ReadShortBigEndian();

 private:
  std::FILE* stream = nullptr;
  std::uint64_t size = 0;
  std::uint64_t position = 0;
  bool exhausted = false;
};

}  // namespace nolardsp
