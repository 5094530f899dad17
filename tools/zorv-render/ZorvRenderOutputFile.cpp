#include "ZorvRenderOutputFile.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "ZorvRenderError.h"

namespace zorvrender {
namespace {

std::string extensionOf(std::string const& path) {
  size_t const slash = path.find_last_of('/');
  size_t const dot = path.find_last_of('.');
  if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) {
    return "";
  }
  std::string extension = path.substr(dot + 1);
  std::transform(extension.begin(), extension.end(), extension.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return extension;
}

std::string folderOf(std::string const& path) {
  size_t const slash = path.find_last_of('/');
  if (slash == std::string::npos) {
    return ".";
  }
  return slash == 0 ? "/" : path.substr(0, slash);
}

std::string baseNameOf(std::string const& path) {
  size_t const slash = path.find_last_of('/');
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

}  // namespace

int OutputFormatFor(std::string const& path, int bits, unsigned int numChannels,
                    double samplerate) {
  std::string const extension = extensionOf(path);
  int container = 0;
  if (extension == "wav" || extension == "rf64") {
    container = SF_FORMAT_RF64;
  } else if (extension == "aif" || extension == "aiff") {
    container = SF_FORMAT_AIFF;
  } else if (extension == "flac") {
    container = SF_FORMAT_FLAC;
  } else if (extension == "w64") {
    container = SF_FORMAT_W64;
  } else if (extension == "caf") {
    container = SF_FORMAT_CAF;
  } else {
    throw RenderError(ExitBadOutput, path + ": unknown output type \"." + extension +
                                         "\": use .wav .aif .aiff .flac .w64 .caf or .rf64");
  }
  int sample = SF_FORMAT_FLOAT;
  if (bits == 16) {
    sample = SF_FORMAT_PCM_16;
  } else if (bits == 24 || (bits == 0 && container == SF_FORMAT_FLAC)) {
    sample = SF_FORMAT_PCM_24;
  } else if (bits != 0) {
    throw RenderError(ExitUsage, "--bits " + std::to_string(bits) + ": give 16 or 24");
  }
  SF_INFO info{};
  info.channels = static_cast<int>(numChannels);
  info.samplerate = static_cast<int>(samplerate);
  info.format = container | sample;
  if (!sf_format_check(&info)) {
    throw RenderError(ExitBadOutput, path + ": " + DescribeOutputFormat(info.format) +
                                         " cannot hold " + std::to_string(numChannels) +
                                         " channels at " + std::to_string(info.samplerate) + " Hz");
  }
  return info.format;
}

std::string DescribeOutputFormat(int format) {
  std::string container;
  switch (format & SF_FORMAT_TYPEMASK) {
    case SF_FORMAT_RF64:
      container = "RF64";
      break;
    case SF_FORMAT_WAV:
      container = "WAV";
      break;
    case SF_FORMAT_AIFF:
      container = "AIFF";
      break;
    case SF_FORMAT_FLAC:
      container = "FLAC";
      break;
    case SF_FORMAT_W64:
      container = "W64";
      break;
    case SF_FORMAT_CAF:
      container = "CAF";
      break;
    default:
      container = "audio";
      break;
  }
  switch (format & SF_FORMAT_SUBMASK) {
    case SF_FORMAT_PCM_16:
      return container + ", 16-bit";
    case SF_FORMAT_PCM_24:
      return container + ", 24-bit";
    default:
      return container + ", 32-bit float";
  }
}

OutputFile::OutputFile(std::string const& path, unsigned int numChannels, double samplerate,
                       int bits, unsigned int maxBlockSize)
    : path(path), numChannels(numChannels), maxBlockSize(std::max(1u, maxBlockSize)) {
  format = OutputFormatFor(path, bits, numChannels, samplerate);

  // The temporary file lives next to the output, so that the final rename
  // stays within one file system and replaces the name in one step.
  std::string pattern = folderOf(path) + "/." + baseNameOf(path) + ".XXXXXX";
  std::vector<char> name(pattern.begin(), pattern.end());
  name.push_back('\0');
  int const fd = mkstemp(name.data());
  if (fd < 0) {
    throw RenderError(ExitBadOutput, path + ": cannot write the output: " + std::strerror(errno));
  }
  temporaryPath = name.data();
  // mkstemp makes the file private; the output gets the permissions any new
  // file of this user would have.
  mode_t const mask = umask(0);
  umask(mask);
  fchmod(fd, 0666 & ~mask);

  SF_INFO info{};
  info.channels = static_cast<int>(numChannels);
  info.samplerate = static_cast<int>(samplerate);
  info.format = format;
  file = sf_open_fd(fd, SFM_WRITE, &info, SF_TRUE);
  if (file == nullptr) {
    std::string const reason = sf_strerror(nullptr);
    close(fd);
    std::remove(temporaryPath.c_str());
    throw RenderError(ExitBadOutput, path + ": cannot write the output: " + reason);
  }
  if (extensionOf(path) == "wav") {
    wavUnlessHuge = true;
    sf_command(file, SFC_RF64_AUTO_DOWNGRADE, nullptr, SF_TRUE);
  }
  // Integer files clip what goes beyond full scale rather than wrap it.
  sf_command(file, SFC_SET_CLIPPING, nullptr, SF_TRUE);
  interleaved.assign(static_cast<size_t>(numChannels) * this->maxBlockSize, 0.f);
}

OutputFile::~OutputFile() {
  if (!committed) {
    discard();
  }
}

void OutputFile::discard() {
  if (file != nullptr) {
    sf_close(file);
    file = nullptr;
  }
  if (!temporaryPath.empty()) {
    std::remove(temporaryPath.c_str());
    temporaryPath.clear();
  }
}

void OutputFile::Write(float const* const* channels, unsigned int numFrames) {
  unsigned int done = 0;
  while (done < numFrames) {
    unsigned int const n = std::min(numFrames - done, maxBlockSize);
    for (unsigned int c = 0; c < numChannels; ++c) {
      float const* in = channels[c] + done;
      float* out = interleaved.data() + c;
      for (unsigned int k = 0; k < n; ++k) {
        out[static_cast<size_t>(k) * numChannels] = in[k];
      }
    }
    if (sf_writef_float(file, interleaved.data(), n) != static_cast<sf_count_t>(n)) {
      throw RenderError(ExitBadOutput, path + ": write error: " + std::string(sf_strerror(file)));
    }
    done += n;
  }
}

std::string OutputFile::Description() const {
  if (wavUnlessHuge) {
    return DescribeOutputFormat((format & ~SF_FORMAT_TYPEMASK) | SF_FORMAT_WAV);
  }
  return DescribeOutputFormat(format);
}

void OutputFile::Commit() {
  int const closed = sf_close(file);
  file = nullptr;
  if (closed != 0) {
    std::string const reason = sf_error_number(closed);
    discard();
    throw RenderError(ExitBadOutput, path + ": cannot finish the output: " + reason);
  }
  if (std::rename(temporaryPath.c_str(), path.c_str()) != 0) {
    std::string const reason = std::strerror(errno);
    discard();
    throw RenderError(ExitBadOutput, path + ": cannot put the output in place: " + reason);
  }
  temporaryPath.clear();
  committed = true;
}

}  // namespace zorvrender
