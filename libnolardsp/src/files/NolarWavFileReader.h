#pragma once

#include <string>
#include <vector>

#include "NolarAudioFileReader.h"

namespace nolardsp {

// RIFF/WAVE files: PCM of 8 (unsigned), 16, 24 and 32 bits, 32-bit IEEE float,
// and the extensible header with a PCM or float sub-format. Anything else, or
// a header that does not add up, leaves the reader empty.
class WavFileReader : public AudioFileReader {
 public:
  explicit WavFileReader(char const* path);

  char const* GetFormat() const override { return "WAV"; }
  char const* GetDefaultFileExtensionForThisFormat() const override { return ".wav"; }
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
};

}  // namespace nolardsp
