#pragma once

#include <cstdint>
#include <memory>

#include "NolarAudioFilesManager.h"
#include "NolarFileWriter.h"

namespace nolardsp {

class AudioBuffer;

// Writes float samples to an audio file. The header is rewritten after every
// WriteSamples, so the file on disk is valid at all times; the destructor
// closes it.
class AudioFileWriter : public AudioFilesManager {
 public:
  ~AudioFileWriter() override;

  // numFrames frames from firstFrame of every channel of the buffer (as many
  // as the writer has channels). Samples at or beyond +-1 are clipped. False
  // if the file could not take them, or once the data would pass 0xFFF00000
  // bytes (then nothing of this call is written).
  bool WriteSamples(AudioBuffer const& buffer, unsigned long firstFrame, unsigned long numFrames);
  // Flushes and closes; false if any write failed.
  bool Close();

  // A WavFileWriter for ".wav"/".bwf", an AiffFileWriter for ".aiff"/".aif",
  // null for an empty path or another extension. Raises Exception when the
  // file cannot be made (see the classes' own CreateWriterFor).
  static AudioFileWriter* CreateWriterFor(char const* path, double samplerate,
                                          unsigned int numChannels, int bitsPerSample,
                                          bool overwrite);

 protected:
  AudioFileWriter(char const* path, double samplerate, unsigned int numChannels, int bitsPerSample);

  // The checks every format shares, raising Exception in this order: the file
  // exists and overwrite is false; it cannot be deleted; the depth is not one
  // of validDepths; the rate is not in [1, 2^30); channels not in [1, 1024].
  static void checkCreation(char const* path, double samplerate, unsigned int numChannels,
                            int bitsPerSample, bool overwrite, int const* validDepths,
                            int numValidDepths);
  // Raises Exception if the file could not be opened.
  void checkOpened(char const* path);

  virtual bool writeHeader() = 0;
  // numSamples frames of left-justified integers (float bits for float data).
  virtual bool writeSamples(int const** source, unsigned int numSamples) = 0;

  unsigned int bytesPerFrame() const {
    return static_cast<unsigned int>(numChannels) * static_cast<unsigned int>(bitsPerSample / 8);
  }

  std::unique_ptr<FileWriter> writer;
  std::uint64_t bytesWritten = 0;
  std::uint64_t headerPosition = 0;
};

}  // namespace nolardsp
