#pragma once

#include <cstdint>

namespace nolardsp {

// What every audio file reader and writer knows of its file.
class AudioFilesManager {
 public:
  enum FileType { UnknownType = 0, AiffType = 1, WavType = 2 };

  AudioFilesManager() = default;
  virtual ~AudioFilesManager() = default;

  double GetSampleRate() const { return samplerate; }
  int GetBitsPerSample() const { return bitsPerSample; }
  int GetNumChannels() const { return numChannels; }
  bool UsesFloatingPointData() const { return usesFloatingPointData; }
  std::uint64_t GetLengthInSamples() const { return lengthInSamples; }

  static void MemSetZero(void* destination, unsigned long numBytes);
  // A chunk's four letters as the number FileReader::ReadInt gives for them.
  static std::uint32_t ChunkName(char const* fourLetters);
  static bool HasAiffExtension(char const* path);  // .aiff, .aif
  static bool HasWavExtension(char const* path);   // .wav, .bwf
  // AiffType or WavType by extension; otherwise by the first four bytes
  // ("FORM" or "RIFF"); UnknownType if neither or the file cannot be read.
  static int TryToDetermineFileType(char const* path);

 protected:
  double samplerate = 0.0;
  std::int32_t bitsPerSample = 0;
  std::int32_t numChannels = 0;
  bool usesFloatingPointData = false;
  std::uint64_t lengthInSamples = 0;
};

}  // namespace nolardsp
