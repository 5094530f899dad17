#pragma once

#include "NolarAudioFileWriter.h"

namespace nolardsp {

// WAV files of 8 (unsigned), 16 and 24-bit PCM, or 32-bit float: the
// canonical 44-byte header, then the interleaved samples, little-endian.
class WavFileWriter : public AudioFileWriter {
 public:
  // Raises Exception: "File already exists : ", "Couldnt delete file : ",
  // "Invalid bits depth : ", "Invalid samplerate : ", in that order of checks.
  static AudioFileWriter* CreateWriterFor(char const* path, double samplerate,
                                          unsigned int numChannels, int bitsPerSample,
                                          bool overwrite);

 protected:
  bool writeHeader() override;
  bool writeSamples(int const** source, unsigned int numSamples) override;

 private:
  WavFileWriter(char const* path, double samplerate, unsigned int numChannels, int bitsPerSample);
};

}  // namespace nolardsp
