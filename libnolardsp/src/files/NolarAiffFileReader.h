#pragma once

#include <string>
#include <vector>

#include "NolarAudioFileReader.h"

namespace nolardsp {

// AIFF and AIFC files of 8, 16, 24 and 32-bit integer samples, big-endian, or
// little-endian under the "sowt" compression type. Other compressions, rates
// below 2 Hz, or a header that does not add up leave the reader empty.
class AiffFileReader : public AudioFileReader {
 public:
  explicit AiffFileReader(char const* path);

  char const* GetFormat() const override { return "AIFF"; }
  char const* GetDefaultFileExtensionForThisFormat() const override { return ".aiff"; }
  void readSamples(int** destination, unsigned long long firstSample,
                   unsigned long long numSamples) override;

  static bool CanHandleThisFile(char const* path);
  static AudioFileReader* CreateReaderFor(char const* path);
  static void GetListOfPossibleExtensions(std::vector<std::string>& extensions);

 private:
  void readHeader();

  unsigned int bytesPerFrame = 0;
  std::uint64_t dataStart = 0;
  std::uint64_t dataLength = 0;
  bool littleEndianData = false;
};

}  // namespace nolardsp
