#include "ZorvRenderInputFile.h"

#include <algorithm>

#include "ZorvRenderError.h"

namespace zorvrender {

InputFile::InputFile(std::string const& path, unsigned int maxBlockSize)
    : path(path), maxBlockSize(std::max(1u, maxBlockSize)) {
  file = sf_open(path.c_str(), SFM_READ, &info);
  if (file == nullptr) {
    throw RenderError(ExitBadInput,
                      path + ": cannot read this input: " + std::string(sf_strerror(nullptr)));
  }
  if (info.channels < 1 || info.samplerate < 1) {
    sf_close(file);
    file = nullptr;
    throw RenderError(ExitBadInput, path + ": malformed input: no channels or no sample rate");
  }
  interleaved.assign(static_cast<size_t>(info.channels) * this->maxBlockSize, 0.f);
}

InputFile::~InputFile() {
  if (file != nullptr) {
    sf_close(file);
  }
}

unsigned int InputFile::Read(float* const* channels, unsigned int numFrames) {
  unsigned int const numChannels = NumChannels();
  unsigned int done = 0;
  while (done < numFrames) {
    unsigned int const want = std::min(numFrames - done, maxBlockSize);
    sf_count_t const got = sf_readf_float(file, interleaved.data(), want);
    if (got < 0 || sf_error(file) != SF_ERR_NO_ERROR) {
      throw RenderError(ExitBadInput, path + ": read error: " + std::string(sf_strerror(file)));
    }
    for (unsigned int c = 0; c < numChannels; ++c) {
      float* const out = channels[c] + done;
      float const* in = interleaved.data() + c;
      for (sf_count_t k = 0; k < got; ++k) {
        out[k] = in[k * numChannels];
      }
    }
    done += static_cast<unsigned int>(got);
    if (got < want) {
      break;
    }
  }
  return done;
}

}  // namespace zorvrender
