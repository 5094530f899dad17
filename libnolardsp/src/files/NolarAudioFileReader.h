#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "NolarAudioFilesManager.h"
#include "NolarFileReader.h"

namespace nolardsp {

class AudioBuffer;

// Reads the samples of an audio file. Samples travel as 32-bit integers,
// left-justified whatever the file's depth (a 16-bit sample s is s << 16), or,
// for float files, as the floats' bits.
//
// A reader never raises on a bad file: a file it cannot use leaves it empty
// (sample rate 0, no channels, no frames). Everything a header declares is
// checked against the file before it is believed, so an empty reader is also
// what a truncated or forged file gives. The file is closed by the destructor.
class AudioFileReader : public AudioFilesManager {
 public:
  ~AudioFileReader() override;

  virtual char const* GetFormat() const = 0;
  virtual char const* GetDefaultFileExtensionForThisFormat() const = 0;
  // numSamples frames from firstSample into destination[channel][0..numSamples);
  // frames past the end of the file read as 0.
  virtual void readSamples(int** destination, unsigned long long firstSample,
                           unsigned long long numSamples) = 0;

  bool IsUsable() const { return samplerate > 0.0 && numChannels > 0; }

  // Frames [firstSampleInFile, + numFrames) as floats into the buffer's
  // channels from firstFrameInBuffer: integers times 2^-31, float data as it is.
  // Channels beyond the buffer's are dropped; the buffer's extra ones are left alone.
  void ReadSamples(AudioBuffer& buffer, unsigned int firstFrameInBuffer, unsigned int numFrames,
                   unsigned long long firstSampleInFile);

  // A reader chosen by TryToDetermineFileType; null if neither format fits.
  // The caller deletes it.
  static AudioFileReader* CreateReaderFor(char const* path);

 protected:
  explicit AudioFileReader(char const* path);

  // Makes the reader empty: what every unusable file ends as.
  void setUnusable();
  // Reads frames of interleaved samples starting at dataStart and spreads
  // them over the channels as left-justified integers.
  void readFrames(int** destination, unsigned long long firstSample, unsigned long long numSamples,
                  std::uint64_t dataStart, unsigned int bytesPerFrame, bool littleEndian,
                  bool unsigned8Bit);
  // Converts n interleaved frames of raw bytes into channel arrays from offset.
  void readBytesAndConvertToInt(unsigned char const* bytes, unsigned int numFrames,
                                int** destination, unsigned long long offset, bool littleEndian,
                                bool unsigned8Bit);

  std::unique_ptr<FileReader> reader;
};

}  // namespace nolardsp
