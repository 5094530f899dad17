// Reading a whole 60 s, 16-channel, 24-bit WAV at 48 kHz (138 MB, from the
// page cache after the first pass) into float memory: our reader into an
// AudioBuffer, against libsndfile's sf_readf_float into an interleaved block
// of the same size. Both buffers are allocated once, outside the timing.

#include <benchmark/benchmark.h>
#include <sndfile.h>
#include <unistd.h>

#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "NolarAudioBuffer.h"
#include "NolarAudioFileReader.h"
#include "NolarAudioFileWriter.h"

namespace {

using namespace nolardsp;

unsigned int const channels = 16;
unsigned long const frames = 60ul * 48000ul;

// The file, written once by our writer, removed at exit.
struct BenchFile {
  BenchFile() : path("/tmp/zorvbench-" + std::to_string(static_cast<long>(getpid())) + ".wav") {
    std::unique_ptr<AudioFileWriter> w(
        AudioFileWriter::CreateWriterFor(path.c_str(), 48000, channels, 24, true));
    AudioBuffer piece(channels, 48000, true);
    for (unsigned int c = 0; c < channels; ++c) {
      for (unsigned long k = 0; k < 48000; ++k) {
        piece.GetChannel(c)[k] = static_cast<float>(0.5 * std::sin(0.001 * k * (c + 1)));
      }
    }
    for (int second = 0; second < 60; ++second) w->WriteSamples(piece, 0, 48000);
  }
  ~BenchFile() { std::remove(path.c_str()); }
  std::string path;
};

BenchFile const& benchFile() {
  static BenchFile const file;
  return file;
}

void BM_ReadWav24x16_Libsndfile(benchmark::State& state) {
  std::string const& path = benchFile().path;
  std::vector<float> interleaved(static_cast<std::size_t>(frames) * channels);
  for (auto _ : state) {
    SF_INFO info = {};
    SNDFILE* f = sf_open(path.c_str(), SFM_READ, &info);
    sf_count_t const got = sf_readf_float(f, interleaved.data(), info.frames);
    sf_close(f);
    if (got != static_cast<sf_count_t>(frames)) state.SkipWithError("short read");
    benchmark::DoNotOptimize(interleaved.data());
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(frames * channels * 3));
}
BENCHMARK(BM_ReadWav24x16_Libsndfile)->Unit(benchmark::kMillisecond);

void BM_ReadWav24x16_Ours(benchmark::State& state) {
  std::string const& path = benchFile().path;
  AudioBuffer buffer(channels, frames, true);
  for (auto _ : state) {
    std::unique_ptr<AudioFileReader> r(AudioFileReader::CreateReaderFor(path.c_str()));
    if (r->GetLengthInSamples() != frames) state.SkipWithError("short file");
    r->ReadSamples(buffer, 0, static_cast<unsigned int>(frames), 0);
    benchmark::DoNotOptimize(buffer.GetChannel(0));
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(frames * channels * 3));
}
BENCHMARK(BM_ReadWav24x16_Ours)->Unit(benchmark::kMillisecond);

}  // namespace
