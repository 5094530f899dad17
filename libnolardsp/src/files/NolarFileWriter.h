#pragma once

#include <cstdint>
#include <cstdio>

namespace nolardsp {

// A file opened (created or truncated) for writing, closed by the destructor.
// A failed write is remembered: HasFailed() tells a caller that the file on
// disk is not what was written.
class FileWriter {
 public:
  explicit FileWriter(char const* path);
  ~FileWriter();
  FileWriter(FileWriter const&) = delete;
  FileWriter& operator=(FileWriter const&) = delete;

  bool IsOpen() const { return stream != nullptr; }
  bool HasFailed() const { return failed; }
  bool Write(void const* source, unsigned int numBytes);
  std::uint64_t GetPosition() const { return position; }
  bool SetPosition(unsigned long long newPosition);
  bool WriteByte(unsigned char value) { return Write(&value, 1); }
  bool WriteInt(std::uint32_t value);  // little-endian
  bool WriteShort(std::uint16_t value);
  bool WriteIntBigEndian(std::uint32_t value);
  bool WriteShortBigEndian(std::uint16_t value);
  // Flushes and closes; false if anything failed.
  bool Close();

 private:
  std::FILE* stream = nullptr;
  std::uint64_t position = 0;
  bool failed = false;
};

}  // namespace nolardsp
