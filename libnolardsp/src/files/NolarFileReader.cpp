#include "NolarFileReader.h"

#include <sys/stat.h>

#include "NolarEndianness.h"
#include "NolarFileHandle.h"

namespace nolardsp {

FileReader::FileReader(char const* path) : stream(FileHandle::OpenFileForReading(path)) {
  struct stat info;
  if (stream != nullptr && (fstat(fileno(stream), &info) != 0 || !S_ISREG(info.st_mode))) {
    FileHandle::CloseFile(stream);
    stream = nullptr;
  }
  if (stream != nullptr) size = static_cast<std::uint64_t>(info.st_size);
}

FileReader::~FileReader() {
  if (stream != nullptr) FileHandle::CloseFile(stream);
}

unsigned int FileReader::Read(void* destination, unsigned int numBytes) {
  if (stream == nullptr) {
    exhausted = true;
    return 0;
  }
  std::size_t const got = FileHandle::fileRead(destination, numBytes, stream);
  position += got;
  if (got < numBytes) exhausted = true;
  return static_cast<unsigned int>(got);
}

bool FileReader::SetPosition(unsigned long long newPosition) {
  if (stream == nullptr || newPosition > size) return false;
  if (!FileHandle::setPosition(stream, newPosition)) return false;
  position = newPosition;
  exhausted = false;
  return true;
}

std::uint32_t FileReader::ReadInt() {
  unsigned char b[4] = {0, 0, 0, 0};
  Read(b, 4);
  return Endianness::LittleEndianUInt(b);
}

std::uint16_t FileReader::ReadShort() {
  unsigned char b[2] = {0, 0};
  Read(b, 2);
  return static_cast<std::uint16_t>(b[0] | (b[1] << 8));
}

std::uint32_t FileReader::ReadIntBigEndian() {
  unsigned char b[4] = {0, 0, 0, 0};
  Read(b, 4);
  return Endianness::BigEndianUInt(b);
}

std::uint16_t FileReader::ReadShortBigEndian() {
  unsigned char b[2] = {0, 0};
  Read(b, 2);
  return static_cast<std::uint16_t>((b[0] << 8) | b[1]);
}

}  // namespace nolardsp
