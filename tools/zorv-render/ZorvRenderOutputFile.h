#pragma once

#include <sndfile.h>

#include <string>
#include <vector>

#include "ZorvRenderStreams.h"

namespace zorvrender {

// The libsndfile format for an output path: the container from the extension
// (.wav .aif .aiff .flac .w64 .caf .rf64), the sample type from bits (0 for
// 32-bit float, 16 or 24 for integers). WAV is written so that it becomes RF64
// by itself when it outgrows 4 GB. FLAC holds no float: it is 24-bit unless
// bits says 16. Throws RenderError (ExitBadOutput) for an extension it does
// not know or a combination the container cannot hold.
int OutputFormatFor(std::string const& path, int bits, unsigned int numChannels, double samplerate);

// A human description of a format, e.g. "WAV, 32-bit float".
std::string DescribeOutputFormat(int format);

// Writes the render under a temporary name in the output's folder and gives it
// its real name only in Commit: whatever stops the render before that, no
// half-written file is left under the output's name.
class OutputFile final : public Sink {
 public:
  // Throws RenderError (ExitBadOutput) naming the file when it cannot be made.
  OutputFile(std::string const& path, unsigned int numChannels, double samplerate, int bits,
             unsigned int maxBlockSize);
  // Without Commit, the temporary file is removed.
  ~OutputFile() override;
  OutputFile(OutputFile const&) = delete;
  OutputFile& operator=(OutputFile const&) = delete;

  unsigned int NumChannels() const override { return numChannels; }
  void Write(float const* const* channels, unsigned int numFrames) override;
  // Closes the file and renames it into place. Throws RenderError (ExitBadOutput).
  void Commit();

  int Format() const { return format; }
  // What was written, e.g. "WAV, 32-bit float".
  std::string Description() const;
  std::string const& TemporaryPath() const { return temporaryPath; }

 private:
  void discard();

  std::string path;
  std::string temporaryPath;
  unsigned int numChannels;
  unsigned int maxBlockSize;
  int format = 0;
  SNDFILE* file = nullptr;
  bool committed = false;
  bool wavUnlessHuge = false;
  std::vector<float> interleaved;
};

}  // namespace zorvrender
