#include "NolarAudioFilesManager.h"

#include <cstring>
#include <string>
#include <vector>

#include "NolarFile.h"
#include "NolarFileReader.h"

namespace nolardsp {

void AudioFilesManager::MemSetZero(void* destination, unsigned long numBytes) {
  if (destination != nullptr && numBytes > 0) std::memset(destination, 0, numBytes);
}

std::uint32_t AudioFilesManager::ChunkName(char const* c) {
  return static_cast<std::uint32_t>(static_cast<unsigned char>(c[0])) |
         (static_cast<std::uint32_t>(static_cast<unsigned char>(c[1])) << 8) |
         (static_cast<std::uint32_t>(static_cast<unsigned char>(c[2])) << 16) |
         (static_cast<std::uint32_t>(static_cast<unsigned char>(c[3])) << 24);
}

bool AudioFilesManager::HasAiffExtension(char const* path) {
  static std::vector<std::string> const extensions = {".aiff", ".aif"};
  return File::HasOneOfTheseExtensions(path, extensions);
}

bool AudioFilesManager::HasWavExtension(char const* path) {
  static std::vector<std::string> const extensions = {".wav", ".bwf"};
  return File::HasOneOfTheseExtensions(path, extensions);
}

int AudioFilesManager::TryToDetermineFileType(char const* path) {
  if (HasAiffExtension(path)) return AiffType;
  if (HasWavExtension(path)) return WavType;
  FileReader reader(path);
  if (!reader.IsOpen()) return UnknownType;
  std::uint32_t const first = reader.ReadInt();
  if (reader.IsExhausted() && reader.GetPosition() < 4) return UnknownType;
  if (first == ChunkName("FORM")) return AiffType;
  if (first == ChunkName("RIFF")) return WavType;
  return UnknownType;
}

}  // namespace nolardsp
