#include "ZorvRenderInputFile.h"

#include <algorithm>
#include <sstream>

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

  // The library reads what is there and notes in its log a data chunk that
  // claims more ("data : 19200 (should be 9942)"): a file cut short in a copy
  // or a render that was killed.
  std::vector<char> log(16384, '\0');
  sf_command(file, SFC_GET_LOG_INFO, log.data(), static_cast<int>(log.size()) - 1);
  std::istringstream lines(log.data());
  for (std::string line; std::getline(lines, line);) {
    bool const dataChunk = line.rfind("data", 0) == 0 || line.rfind("SSND", 0) == 0;
    if (dataChunk && line.find("(should be") != std::string::npos) {
      warning = path +
                ": the header promises more audio than the file holds (cut short?): "
                "reading the " +
                std::to_string(info.frames) + " frames that are there";
      break;
    }
  }
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
