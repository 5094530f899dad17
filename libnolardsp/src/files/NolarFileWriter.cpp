#include "NolarFileWriter.h"

#include "NolarFileHandle.h"

namespace nolardsp {

FileWriter::FileWriter(char const* path) : stream(FileHandle::OpenFileForWriting(path)) {}

FileWriter::~FileWriter() {
  Close();
}

bool FileWriter::Write(void const* source, unsigned int numBytes) {
  if (stream == nullptr) return false;
  std::size_t const done = FileHandle::fileWrite(source, numBytes, stream);
  position += done;
  if (done != numBytes) failed = true;
  return done == numBytes;
}

bool FileWriter::SetPosition(unsigned long long newPosition) {
  if (stream == nullptr || !FileHandle::setPosition(stream, newPosition)) return false;
  position = newPosition;
  return true;
}

bool FileWriter::WriteInt(std::uint32_t value) {
  unsigned char const b[4] = {static_cast<unsigned char>(value & 0xFF),
                              static_cast<unsigned char>((value >> 8) & 0xFF),
                              static_cast<unsigned char>((value >> 16) & 0xFF),
                              static_cast<unsigned char>((value >> 24) & 0xFF)};
  return Write(b, 4);
}

bool FileWriter::WriteShort(std::uint16_t value) {
  unsigned char const b[2] = {static_cast<unsigned char>(value & 0xFF),
                              static_cast<unsigned char>((value >> 8) & 0xFF)};
  return Write(b, 2);
}

bool FileWriter::WriteIntBigEndian(std::uint32_t value) {
  unsigned char const b[4] = {static_cast<unsigned char>((value >> 24) & 0xFF),
                              static_cast<unsigned char>((value >> 16) & 0xFF),
                              static_cast<unsigned char>((value >> 8) & 0xFF),
                              static_cast<unsigned char>(value & 0xFF)};
  return Write(b, 4);
}

bool FileWriter::WriteShortBigEndian(std::uint16_t value) {
  unsigned char const b[2] = {static_cast<unsigned char>((value >> 8) & 0xFF),
                              static_cast<unsigned char>(value & 0xFF)};
  return Write(b, 2);
}

bool FileWriter::Close() {
  if (stream == nullptr) return !failed;
  if (std::fflush(stream) != 0) failed = true;
  if (!FileHandle::CloseFile(stream)) failed = true;
  stream = nullptr;
  return !failed;
}

}  // namespace nolardsp
