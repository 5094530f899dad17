#pragma once

#include "NolarAudioFileWriter.h"

namespace nolardsp {

// AIFF files of 8, 16 and 24-bit signed big-endian samples: FORM, COMM of 18
// bytes with the rate as an 80-bit float, SSND with offset and block size 0.
class AiffFileWriter : public AudioFileWriter {
 public:
  // Raises Exception: "File already exists : ", "Couldnt delete file : ",
  // "Invalid bits depth : " (32 bits included), "Invalid samplerate : ".
  static AudioFileWriter* CreateWriterFor(char const* path, double samplerate,
                                          unsigned int numChannels, int bitsPerSample,
                                          bool overwrite);
  // The ten bytes of the 80-bit float for an integer rate below 2^30.
  static void RateToExtended(double samplerate, unsigned char* tenBytes);

 protected:
  bool writeHeader() override;
  bool writeSamples(int const** source, unsigned int numSamples) override;

 private:
  AiffFileWriter(char const* path, double samplerate, unsigned int numChannels, int bitsPerSample);
};

}  // namespace nolardsp
