#pragma once

#include <sndfile.h>

#include <string>
#include <vector>

#include "ZorvRenderStreams.h"

namespace zorvrender {

// Where writing to path ends up: path itself, or the file a symbolic link (or
// a chain of them) names, even one that does not exist yet.
std::string ResolveOutputPath(std::string const& path);

// The libsndfile format for an output path: the container from the extension
// (.wav .aif .aiff .flac .w64 .caf .rf64), the sample type from bits (0 for
// 32-bit float, 16 or 24 for integers). WAV is written so that it becomes RF64
// by itself when it outgrows 4 GB. FLAC holds no float: it is 24-bit unless
// bits says 16. Throws RenderError (ExitBadOutput) for an extension it does
// not know or a combination the container cannot hold.
int OutputFormatFor(std::string const& path, int bits, unsigned int numChannels, double samplerate);

// A human description of a format, e.g. "WAV, 32-bit float".
std::string DescribeOutputFormat(int format);

// Writes the render into a file of the output's folder that has no name until
// Commit gives it the output's (an unnamed file where the file system allows
// it, else a hidden temporary name): whatever stops the render before that,
// even a kill, no half-written file is left under the output's name, and with
// an unnamed file none at all. An output that is a symbolic link is written
// through to its target.
class OutputFile final : public Sink {
 public:
  // Throws RenderError (ExitBadOutput) naming the file when it cannot be made,
  // or when it exists and is write-protected.
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
  // The hidden name written under, or "" for an unnamed file.
  std::string const& TemporaryPath() const { return temporaryPath; }
  // The largest magnitude written, and for integer samples how many went
  // beyond full scale (and were clipped).
  float Peak() const { return peak; }
  unsigned long long Clipped() const { return clipped; }
  bool IsInteger() const;

 private:
  void discard();

  std::string path;        // as the user gave it
  std::string targetPath;  // where the file goes: path, or the target of its link
  std::string temporaryPath;
  int fd = -1;
  bool unnamed = false;
  float peak = 0.f;
  unsigned long long clipped = 0;
  unsigned int numChannels;
  unsigned int maxBlockSize;
  int format = 0;
  SNDFILE* file = nullptr;
  bool committed = false;
  bool wavUnlessHuge = false;
  std::vector<float> interleaved;
};

}  // namespace zorvrender
