#include "ZorvRenderOutputFile.h"

#include <fcntl.h>
#include <limits.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
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

std::string const knownTypes = ".wav .aif .aiff .flac .w64 .caf or .rf64";

bool exists(std::string const& path) {
  struct stat status {};
  return lstat(path.c_str(), &status) == 0;
}

}  // namespace

std::string ResolveOutputPath(std::string const& path) {
  std::string resolved = path;
  // A chain of links, but not a loop.
  for (int hop = 0; hop < 40; ++hop) {
    struct stat status {};
    if (lstat(resolved.c_str(), &status) != 0 || !S_ISLNK(status.st_mode)) {
      return resolved;
    }
    std::vector<char> target(PATH_MAX + 1, '\0');
    ssize_t const length = readlink(resolved.c_str(), target.data(), PATH_MAX);
    if (length <= 0) {
      return resolved;
    }
    std::string const next(target.data(), static_cast<size_t>(length));
    resolved = next[0] == '/' ? next : folderOf(resolved) + "/" + next;
  }
  return resolved;
}

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
  } else if (extension.empty()) {
    throw RenderError(ExitBadOutput, path +
                                         ": no extension to tell the output's type: end the "
                                         "name in " +
                                         knownTypes);
  } else {
    throw RenderError(ExitBadOutput,
                      path + ": unknown output type \"." + extension + "\": use " + knownTypes);
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
    : path(path),
      targetPath(ResolveOutputPath(path)),
      numChannels(numChannels),
      maxBlockSize(std::max(1u, maxBlockSize)) {
  format = OutputFormatFor(path, bits, numChannels, samplerate);

  struct stat status {};
  if (stat(targetPath.c_str(), &status) == 0) {
    if (S_ISDIR(status.st_mode)) {
      throw RenderError(ExitBadOutput, path + ": is a folder, not a file to write");
    }
    // A device or a pipe would be replaced by a plain file, not written to.
    if (!S_ISREG(status.st_mode)) {
      throw RenderError(ExitBadOutput, path +
                                           ": is not a plain file (a device or a pipe?): "
                                           "not replaced");
    }
    // A file nobody may write is protected on purpose, even from root.
    bool const protectedFile = (status.st_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) == 0;
    if (protectedFile || access(targetPath.c_str(), W_OK) != 0) {
      throw RenderError(ExitBadOutput,
                        path +
                            ": exists and is write-protected: not replaced (remove it, or "
                            "choose another name)");
    }
  }

  // The file is made in the output's folder, so that naming it at the end
  // stays within one file system and replaces the old file in one step. An
  // unnamed file is linked in by its descriptor, which needs /proc.
  std::string const folder = folderOf(targetPath);
  if (access("/proc/self/fd", X_OK) == 0) {
    fd = open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0666);
    unnamed = fd >= 0;
  }
  if (fd < 0) {
    // The file system has no unnamed files: a hidden name beside the output,
    // short enough even for a name at the length limit.
    std::string base = "." + baseNameOf(targetPath) + ".XXXXXX";
    if (base.size() > NAME_MAX) {
      base = ".zorv-render.XXXXXX";
    }
    std::string const pattern = folder + "/" + base;
    std::vector<char> name(pattern.begin(), pattern.end());
    name.push_back('\0');
    fd = mkostemp(name.data(), O_CLOEXEC);
    if (fd < 0) {
      throw RenderError(ExitBadOutput, path + ": cannot write the output: " + std::strerror(errno));
    }
    temporaryPath = name.data();
    // mkstemp makes the file private; the output gets the permissions any
    // new file of this user would have.
    mode_t const mask = umask(0);
    umask(mask);
    if (fchmod(fd, 0666 & ~mask) != 0) {
      // The file stays private: nothing lost.
    }
  }

  SF_INFO info{};
  info.channels = static_cast<int>(numChannels);
  info.samplerate = static_cast<int>(samplerate);
  info.format = format;
  // The descriptor stays open after the sound file is closed: the unnamed
  // file is named through it.
  file = sf_open_fd(fd, SFM_WRITE, &info, SF_FALSE);
  if (file == nullptr) {
    std::string const reason = sf_strerror(nullptr);
    discard();
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
  if (fd >= 0) {
    close(fd);
    fd = -1;
  }
  if (!temporaryPath.empty()) {
    std::remove(temporaryPath.c_str());
    temporaryPath.clear();
  }
}

bool OutputFile::IsInteger() const {
  int const sample = format & SF_FORMAT_SUBMASK;
  return sample == SF_FORMAT_PCM_16 || sample == SF_FORMAT_PCM_24;
}

void OutputFile::Write(float const* const* channels, unsigned int numFrames) {
  unsigned int done = 0;
  while (done < numFrames) {
    unsigned int const n = std::min(numFrames - done, maxBlockSize);
    float blockPeak = peak;
    unsigned long long over = 0;
    for (unsigned int c = 0; c < numChannels; ++c) {
      float const* in = channels[c] + done;
      float* out = interleaved.data() + c;
      for (unsigned int k = 0; k < n; ++k) {
        float const magnitude = std::fabs(in[k]);
        blockPeak = std::max(blockPeak, magnitude);
        over += magnitude > 1.f ? 1 : 0;
        out[static_cast<size_t>(k) * numChannels] = in[k];
      }
    }
    peak = blockPeak;
    if (IsInteger()) {
      clipped += over;
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
  auto fail = [this](std::string const& what) {
    std::string const reason = std::strerror(errno);
    discard();
    throw RenderError(ExitBadOutput, path + ": " + what + ": " + reason);
  };
  if (unnamed) {
    std::string const self = "/proc/self/fd/" + std::to_string(fd);
    if (!exists(targetPath)) {
      if (linkat(AT_FDCWD, self.c_str(), AT_FDCWD, targetPath.c_str(), AT_SYMLINK_FOLLOW) == 0) {
        close(fd);
        fd = -1;
        committed = true;
        return;
      }
      if (errno != EEXIST) {
        fail("cannot put the output in place");
      }
    }
    // The name is taken: link under a hidden name, then replace in one step.
    std::string const folder = folderOf(targetPath);
    for (int attempt = 0;; ++attempt) {
      char suffix[32];
      std::snprintf(suffix, sizeof(suffix), "/.zorv-render.%d.%d", static_cast<int>(getpid()),
                    attempt);
      std::string const name = folder + suffix;
      if (linkat(AT_FDCWD, self.c_str(), AT_FDCWD, name.c_str(), AT_SYMLINK_FOLLOW) == 0) {
        temporaryPath = name;
        break;
      }
      if (errno != EEXIST || attempt > 100) {
        fail("cannot put the output in place");
      }
    }
  }
  if (std::rename(temporaryPath.c_str(), targetPath.c_str()) != 0) {
    fail("cannot put the output in place");
  }
  close(fd);
  fd = -1;
  temporaryPath.clear();
  committed = true;
}

}  // namespace zorvrender
