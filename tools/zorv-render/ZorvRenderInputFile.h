#pragma once

#include <sndfile.h>

#include <memory>
#include <string>
#include <vector>

#include "ZorvRenderStreams.h"

namespace zorvrender {

// An audio file read block by block; only one block's worth of it is in memory.
class InputFile final : public Source {
 public:
  // Throws RenderError (ExitBadInput) naming the file when it cannot be opened
  // or is not an audio file libsndfile knows.
  InputFile(std::string const& path, unsigned int maxBlockSize);
  ~InputFile() override;
  InputFile(InputFile const&) = delete;
  InputFile& operator=(InputFile const&) = delete;

  std::string const& Name() const override { return path; }
  unsigned int NumChannels() const override { return static_cast<unsigned int>(info.channels); }
  double Samplerate() const override { return info.samplerate; }
  long long NumFrames() const override { return static_cast<long long>(info.frames); }
  unsigned int Read(float* const* channels, unsigned int numFrames) override;

  // What is odd about the file but does not stop the render ("" when
  // nothing): a header that promises more audio than the file holds.
  std::string const& Warning() const { return warning; }

 private:
  std::string path;
  SF_INFO info{};
  SNDFILE* file = nullptr;
  unsigned int maxBlockSize;
  std::vector<float> interleaved;
  std::string warning;
};

}  // namespace zorvrender
