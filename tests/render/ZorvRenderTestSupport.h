#pragma once

#include <dirent.h>
#include <sndfile.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "ZorvRenderObject.h"
#include "ZorvRenderStreams.h"

namespace zorvrendertest {

// A folder of its own for one test, removed with everything in it.
class TempDir {
 public:
  TempDir() {
    std::string pattern = "/tmp/zorv-render-test.XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr) {
      throw std::runtime_error("mkdtemp failed");
    }
    path = pattern;
  }
  ~TempDir() {
    std::string const command = "rm -rf '" + path + "'";
    if (std::system(command.c_str()) != 0) {
      // Nothing to do: a leftover folder in /tmp is harmless.
    }
  }
  std::string operator/(std::string const& name) const { return path + "/" + name; }
  // The names in the folder, hidden ones included.
  std::set<std::string> Names() const {
    std::set<std::string> names;
    if (DIR* dir = opendir(path.c_str())) {
      while (dirent* entry = readdir(dir)) {
        std::string const name = entry->d_name;
        if (name != "." && name != "..") {
          names.insert(name);
        }
      }
      closedir(dir);
    }
    return names;
  }
  std::string path;
};

inline void WriteText(std::string const& path, std::string const& text) {
  std::ofstream(path) << text;
}

inline std::string ReadText(std::string const& path) {
  std::ifstream file(path);
  std::stringstream text;
  text << file.rdbuf();
  return text.str();
}

// The built binary, run as a user runs it.
struct Outcome {
  int code = -1;
  std::string err;
};

inline std::string quote(std::string const& word) {
  std::string quoted = "'";
  for (char c : word) {
    quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
  }
  return quoted + "'";
}

// A box the object refuses leaves its half-made instance abandoned, as a host
// does; a sanitizer build must not count that as the renderer's leak.
enum class Creation { MustSucceed, MayFail };

#ifdef ZORV_RENDER_BINARY
// Runs zorv-render with these arguments; its standard error is kept in a
// file of dir while it runs.
inline Outcome runRender(TempDir const& dir, std::vector<std::string> const& args,
                         Creation creation = Creation::MustSucceed) {
  std::string command = quote(ZORV_RENDER_BINARY);
  if (creation == Creation::MayFail) {
    command = "ASAN_OPTIONS=\"$ASAN_OPTIONS:detect_leaks=0\" " + command;
  }
  for (auto const& arg : args) {
    command += " " + quote(arg);
  }
  std::string const errPath = dir / "stderr.txt";
  command += " </dev/null >/dev/null 2>" + quote(errPath);
  Outcome outcome;
  int const status = std::system(command.c_str());
  outcome.code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  outcome.err = ReadText(errPath);
  std::remove(errPath.c_str());
  return outcome;
}
#endif

// channels[c][k]; all channels the same length.
inline void WriteAudio(std::string const& path, std::vector<std::vector<float>> const& channels,
                       int samplerate, int format = SF_FORMAT_WAV | SF_FORMAT_FLOAT) {
  SF_INFO info{};
  info.channels = static_cast<int>(channels.size());
  info.samplerate = samplerate;
  info.format = format;
  SNDFILE* file = sf_open(path.c_str(), SFM_WRITE, &info);
  if (file == nullptr) {
    throw std::runtime_error("cannot write " + path);
  }
  size_t const frames = channels.empty() ? 0 : channels[0].size();
  std::vector<float> interleaved(frames * channels.size());
  for (size_t k = 0; k < frames; ++k) {
    for (size_t c = 0; c < channels.size(); ++c) {
      interleaved[k * channels.size() + c] = channels[c][k];
    }
  }
  sf_writef_float(file, interleaved.data(), static_cast<sf_count_t>(frames));
  sf_close(file);
}

struct Audio {
  int samplerate = 0;
  std::vector<std::vector<float>> channels;
};

inline Audio ReadAudio(std::string const& path) {
  SF_INFO info{};
  SNDFILE* file = sf_open(path.c_str(), SFM_READ, &info);
  if (file == nullptr) {
    throw std::runtime_error("cannot read " + path);
  }
  std::vector<float> interleaved(static_cast<size_t>(info.frames * info.channels));
  sf_readf_float(file, interleaved.data(), info.frames);
  sf_close(file);
  Audio audio;
  audio.samplerate = info.samplerate;
  audio.channels.assign(static_cast<size_t>(info.channels),
                        std::vector<float>(static_cast<size_t>(info.frames)));
  for (sf_count_t k = 0; k < info.frames; ++k) {
    for (int c = 0; c < info.channels; ++c) {
      audio.channels[c][k] = interleaved[k * info.channels + c];
    }
  }
  return audio;
}

// A scripted stand-in for the object. Outlet j carries gain times inlet
// (j mod inlets) when that inlet is connected. "gain X" sets the gain, "fail"
// posts an error, anything else is posted as it came. It notes when each
// message arrived (in samples processed so far) and the length of every block.
class FakeObject : public zorvrender::RenderObject {
 public:
  FakeObject(unsigned int inlets, unsigned int outlets, zorvrender::ConsoleFunction console)
      : inlets(inlets), outlets(outlets), connected(inlets, true), console(std::move(console)) {}

  unsigned int NumInlets() const override { return inlets; }
  unsigned int NumOutlets() const override { return outlets; }
  void SendMessage(std::string const& text) override {
    messages.emplace_back(processed, text);
    if (text.rfind("gain ", 0) == 0) {
      gain = std::stof(text.substr(5));
    } else if (text == "fail") {
      console(zorvrender::ConsoleSeverity::Error, "fail: no such message");
    } else {
      console(zorvrender::ConsoleSeverity::Post, text);
    }
  }
  void SetInletConnected(unsigned int inlet, bool isConnected) override {
    connected.at(inlet) = isConnected;
  }
  void StartDsp(double rate, unsigned int size) override {
    samplerate = rate;
    blockSize = size;
  }
  void ProcessBlock(float const* const* in, float* const* out, unsigned int n) override {
    if (n < 1 || n > blockSize) {
      throw std::runtime_error("block length out of range");
    }
    for (unsigned int j = 0; j < outlets; ++j) {
      unsigned int const i = j % inlets;
      for (unsigned int k = 0; k < n; ++k) {
        out[j][k] = connected[i] ? gain * in[i][k] : 0.f;
      }
    }
    blocks.push_back(n);
    processed += n;
  }

  unsigned int inlets;
  unsigned int outlets;
  std::vector<bool> connected;
  zorvrender::ConsoleFunction console;
  float gain = 1.f;
  double samplerate = 0.;
  unsigned int blockSize = 0;
  long long processed = 0;
  std::vector<std::pair<long long, std::string>> messages;
  std::vector<unsigned int> blocks;
};

// Audio from memory.
class MemorySource : public zorvrender::Source {
 public:
  MemorySource(std::vector<std::vector<float>> channels, double samplerate,
               std::string name = "memory")
      : channels(std::move(channels)), samplerate(samplerate), name(std::move(name)) {}
  std::string const& Name() const override { return name; }
  unsigned int NumChannels() const override { return static_cast<unsigned int>(channels.size()); }
  double Samplerate() const override { return samplerate; }
  long long NumFrames() const override {
    return channels.empty() ? 0 : static_cast<long long>(channels[0].size());
  }
  unsigned int Read(float* const* out, unsigned int n) override {
    long long const left = NumFrames() - position;
    unsigned int const count = static_cast<unsigned int>(left < n ? left : n);
    for (size_t c = 0; c < channels.size(); ++c) {
      for (unsigned int k = 0; k < count; ++k) {
        out[c][k] = channels[c][position + k];
      }
    }
    position += count;
    return count;
  }

  std::vector<std::vector<float>> channels;
  double samplerate;
  std::string name;
  long long position = 0;
};

// Audio into memory.
class MemorySink : public zorvrender::Sink {
 public:
  explicit MemorySink(unsigned int numChannels) : channels(numChannels) {}
  unsigned int NumChannels() const override { return static_cast<unsigned int>(channels.size()); }
  void Write(float const* const* in, unsigned int n) override {
    for (size_t c = 0; c < channels.size(); ++c) {
      channels[c].insert(channels[c].end(), in[c], in[c] + n);
    }
  }
  std::vector<std::vector<float>> channels;
};

}  // namespace zorvrendertest
