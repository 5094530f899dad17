#include "NolarFileHandle.h"

#include <sys/types.h>

namespace nolardsp {

std::FILE* FileHandle::OpenFileForReading(char const* path) {
  return path == nullptr ? nullptr : std::fopen(path, "rb");
}

std::FILE* FileHandle::OpenFileForWriting(char const* path) {
  return path == nullptr ? nullptr : std::fopen(path, "wb");
}

bool FileHandle::CloseFile(std::FILE* file) {
  return file != nullptr && std::fclose(file) == 0;
}

std::size_t FileHandle::fileRead(void* destination, std::size_t size, std::FILE* file) {
  return size == 0 ? 0 : std::fread(destination, 1, size, file);
}

std::size_t FileHandle::fileWrite(void const* source, std::size_t size, std::FILE* file) {
  return size == 0 ? 0 : std::fwrite(source, 1, size, file);
}

std::uint64_t FileHandle::getPosition(std::FILE* file) {
  off_t const p = ftello(file);
  return p < 0 ? 0 : static_cast<std::uint64_t>(p);
}

bool FileHandle::setPosition(std::FILE* file, std::uint64_t position) {
  if (position > static_cast<std::uint64_t>(INT64_MAX)) return false;
  return fseeko(file, static_cast<off_t>(position), SEEK_SET) == 0;
}

}  // namespace nolardsp
