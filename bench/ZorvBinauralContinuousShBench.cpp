// The "continuous" and "sh" headphone renderers at 48 kHz in blocks of 64,
// beside "direct" of the same run (BinauralDirect), and the message-side cost
// of one source move.
//
//   build/bench/zorv_bench --benchmark_filter='Binaural(Direct/|Continuous|Sh)'
//
// "sources_per_core" is the number of sources one core renders in real time.
// The sh data is the KEMAR measurements fitted at order 20 (512 bins), made
// once for the run.

#include <benchmark/benchmark.h>

#include <cmath>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "NolarConstants.h"
#include "ZorvBinauralPanningContinuous.h"
#include "ZorvBinauralPanningDirect.h"
#include "ZorvBinauralPanningSphericalHarmonics.h"
#include "ZorvHrtf.h"
#include "ZorvSphericalHarmonicFit.h"
#include "ZorvSphericalHarmonicManager.h"

namespace {

constexpr float rate = 48000.f;
constexpr unsigned int block = 64;

std::string const& kemarShb(unsigned int order) {
  static std::map<unsigned int, std::string> made;
  std::string& path = made[order];
  if (path.empty()) {
    try {
      Zorv::Hrtf const set("/usr/share/libmysofa/MIT_KEMAR_normal_pinna.sofa");
      std::string const p = "/tmp/zorv-bench-kemar-" + std::to_string(order) + ".shb";
      Zorv::SphericalHarmonicManager::Write(
          Zorv::SphericalHarmonicFit::Fit(set, order, 1e-3, 0).data, p);
      path = p;
    } catch (...) {
    }
  }
  return path;
}

nolardsp::CartesianVector around(double turns, double z = 0.) {
  double const a = 2. * 3.14159265358979323846 * turns;
  return nolardsp::CartesianVector(static_cast<float>(std::sin(a)), static_cast<float>(std::cos(a)),
                                   static_cast<float>(z));
}

void run(benchmark::State& state, Zorv::Pan& pan, int sources, bool moving) {
  std::vector<std::vector<float>> in(sources, std::vector<float>(block));
  std::vector<float*> ins;
  for (int i = 0; i < sources; ++i) {
    for (unsigned int k = 0; k < block; ++k) in[i][k] = std::sin(0.01f * (k + 37 * i));
    ins.push_back(in[i].data());
  }
  std::vector<float> left(block), right(block);
  float* outs[] = {left.data(), right.data()};
  for (int i = 0; i < sources; ++i) pan.SetSourcePosition(i, around(i * 0.137), true);
  long step = 0;
  for (auto _ : state) {
    if (moving) {
      ++step;
      // A turn in 10 s, a new position every block.
      for (int i = 0; i < sources; ++i) {
        pan.SetSourcePosition(i, around(i * 0.137 + step * 64. / 480000.), false);
      }
    }
    pan.Process(outs, ins.data(), block, nolardsp::allActiveInputs);
    benchmark::DoNotOptimize(left.data());
    benchmark::ClobberMemory();
  }
  state.counters["sources_per_core"] = benchmark::Counter(
      sources * static_cast<double>(block) / rate, benchmark::Counter::kIsIterationInvariantRate);
}

// Args: sources, moving.
void BinauralContinuous(benchmark::State& state) {
  int const sources = static_cast<int>(state.range(0));
  Zorv::BinauralPanningContinuous pan(sources, 2);
  pan.Configure(rate, block, true);
  run(state, pan, sources, state.range(1) != 0);
}

// Args: sources, moving, fft (the FIR method).
void BinauralSh(benchmark::State& state) {
  int const sources = static_cast<int>(state.range(0));
  std::string const& path = kemarShb(20);
  if (path.empty()) {
    state.SkipWithError("no KEMAR SOFA file");
    return;
  }
  Zorv::BinauralPanningSphericalHarmonics pan(sources, 2);
  pan.Configure(rate, block, true);
  pan.SetFIRFiltersImplementationMethod(state.range(2) != 0 ? "fft" : "timedomain");
  pan.LoadFromFile(path.c_str());
  run(state, pan, sources, state.range(1) != 0);
}

// The message thread's part of one move: "direct" (a tree search and, on a
// new point, two filter updates) against "sh" at orders 10 and 20 (a row of
// harmonics, two products with the basis and two inverse transforms).
// Arg: 0 for direct, else the order.
void BinauralShMove(benchmark::State& state) {
  int const order = static_cast<int>(state.range(0));
  std::unique_ptr<Zorv::BinauralPanning> pan;
  if (order == 0) {
    pan = std::make_unique<Zorv::BinauralPanningDirect>(1, 2);
  } else {
    std::string const& path = kemarShb(static_cast<unsigned int>(order));
    auto sh = std::make_unique<Zorv::BinauralPanningSphericalHarmonics>(1, 2);
    if (path.empty() || !sh->LoadFromFile(path.c_str())) {
      state.SkipWithError("no KEMAR SOFA file");
      return;
    }
    pan = std::move(sh);
  }
  pan->Configure(rate, block, true);
  long step = 0;
  for (auto _ : state) {
    ++step;
    // A new direction every time: a step of 7 degrees and some height.
    pan->SetSourcePosition(0, around(step * 7. / 360., 0.3 * std::sin(0.1 * step)), false);
  }
}

void sourcesAndMotion(benchmark::internal::Benchmark* b) {
  b->ArgNames({"sources", "moving"});
  for (int moving : {0, 1}) {
    for (int sources : {1, 8, 64}) b->Args({sources, moving});
  }
}

void shShapes(benchmark::internal::Benchmark* b) {
  b->ArgNames({"sources", "moving", "fft"});
  for (int fft : {0, 1}) {
    for (int moving : {0, 1}) {
      for (int sources : {1, 8, 64}) b->Args({sources, moving, fft});
    }
  }
}

BENCHMARK(BinauralContinuous)->Apply(sourcesAndMotion);
BENCHMARK(BinauralSh)->Apply(shShapes);
BENCHMARK(BinauralShMove)->ArgName("order")->Arg(0)->Arg(10)->Arg(20);

}  // namespace
