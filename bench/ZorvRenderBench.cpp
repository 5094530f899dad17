// The offline renderer at full size: 60 s of 8 sources, each circling slowly,
// on a 16-speaker sphere-cap `vbap` at 48 kHz, into a 32-bit float WAV. Reports
// the real-time factor and where the time goes: the object's blocks, its
// messages, and file reading and writing.
//
//   build/bench/zorv_bench --benchmark_filter=RenderVbap16
//
// Skips with a reason until the object can make a `vbap` panner.

#include <benchmark/benchmark.h>
#include <sndfile.h>
#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#ifdef ZORV_RENDER_HAS_FACADE
#include "ZorvRenderApp.h"
#include "ZorvRenderFacadeObject.h"
#endif

namespace {

#ifdef ZORV_RENDER_HAS_FACADE

constexpr int rate = 48000;
constexpr int seconds = 60;
constexpr int numSources = 8;
constexpr int numSpeakers = 16;

void removeFolder(std::string const& dir) {
  if (std::system(("rm -rf '" + dir + "'").c_str()) != 0) {
    // A folder left in /tmp is harmless.
  }
}

// A user azimuth (degrees, 0 in front, clockwise) and elevation as x y z on the
// unit sphere, x to the right and y to the front.
std::string point(double azimuth, double elevation) {
  double const a = azimuth * 3.14159265358979 / 180.;
  double const e = elevation * 3.14159265358979 / 180.;
  std::ostringstream text;
  text << ' ' << std::sin(a) * std::cos(e) << ' ' << std::cos(a) * std::cos(e) << ' '
       << std::sin(e);
  return text.str();
}

// Eight speakers on the horizon and eight at 45 degrees up, every 45 degrees.
// The position attributes are used rather than the coordinate grammar, so the
// bench runs as soon as a `vbap` panner exists.
std::string speakersMessage() {
  std::string text = "speakerspositions";
  for (int i = 0; i < numSpeakers; ++i) {
    text += point((i % 8) * 45. - 180., i < 8 ? 0. : 45.);
  }
  return text;
}

// 8 channels of noise, written in pieces so that the bench, like the renderer,
// never holds a whole file.
void writeInput(std::string const& path) {
  SF_INFO info{};
  info.channels = numSources;
  info.samplerate = rate;
  info.format = SF_FORMAT_WAV | SF_FORMAT_FLOAT;
  SNDFILE* file = sf_open(path.c_str(), SFM_WRITE, &info);
  std::minstd_rand random(7);
  std::uniform_real_distribution<float> noise(-0.1f, 0.1f);
  std::vector<float> block(4096 * numSources);
  for (long long done = 0; done < static_cast<long long>(rate) * seconds; done += 4096) {
    for (auto& x : block) {
      x = noise(random);
    }
    sf_writef_float(file, block.data(), 4096);
  }
  sf_close(file);
}

// Every source takes a turn around the listener in the minute, 10 degrees up,
// all of them moved every 50 ms.
void writeScore(std::string const& path) {
  std::ofstream score(path);
  for (int step = 0; step < seconds * 20; ++step) {
    score << step * 0.05 << " sourcespositions";
    for (int s = 0; s < numSources; ++s) {
      score << point(s * 45. + step * 360. / (seconds * 20), 10.);
    }
    score << '\n';
  }
}

void RenderVbap16(benchmark::State& state) {
  char folder[] = "/tmp/zorv-render-bench.XXXXXX";
  if (mkdtemp(folder) == nullptr) {
    state.SkipWithError("cannot make a temporary folder");
    return;
  }
  std::string const dir = folder;
  zorvrender::RenderOptions options;
  options.boxText = "@numinputs 8 @numoutputs 16 @type vbap";
  options.inputs = {dir + "/sources.wav"};
  options.output = dir + "/out.wav";
  options.score = dir + "/moves.txt";
  options.messages = {speakersMessage()};
  options.strict = true;
  options.quiet = true;

  // Can the object do this at all yet?
  {
    zorvrender::RenderOptions probe = options;
    probe.inputs.clear();
    probe.score.clear();
    probe.duration = 0.01;
    std::ostringstream err;
    if (zorvrender::RunRender(probe, zorvrender::MakeFacadeObject, err) != 0) {
      std::string const reason = "the object cannot render this yet: " + err.str();
      state.SkipWithError(reason.c_str());
      removeFolder(dir);
      return;
    }
  }
  writeInput(options.inputs[0]);
  writeScore(options.score);

  zorvrender::RenderReport total;
  int runs = 0;
  for (auto _ : state) {
    std::ostringstream err;
    zorvrender::RenderReport report;
    if (zorvrender::RunRender(options, zorvrender::MakeFacadeObject, err, {}, &report) != 0) {
      state.SkipWithError(err.str().c_str());
      break;
    }
    total.totalSeconds += report.totalSeconds;
    total.objectSeconds += report.objectSeconds;
    total.messageSeconds += report.messageSeconds;
    total.readSeconds += report.readSeconds;
    total.writeSeconds += report.writeSeconds;
    ++runs;
  }
  if (runs > 0 && total.totalSeconds > 0.) {
    state.counters["realtime_x"] = runs * seconds / total.totalSeconds;
    state.counters["object_share"] = total.objectSeconds / total.totalSeconds;
    state.counters["messages_share"] = total.messageSeconds / total.totalSeconds;
    state.counters["read_share"] = total.readSeconds / total.totalSeconds;
    state.counters["write_share"] = total.writeSeconds / total.totalSeconds;
  }
  removeFolder(dir);
}
BENCHMARK(RenderVbap16)->Unit(benchmark::kMillisecond)->Iterations(2)->UseRealTime();

#endif

}  // namespace
