// The subwoofer feed, 16 sources onto 4 subwoofers and onto 1, against vbap2d
// 16 -> 4 in the same run: standing, and with the cut-off moved every block
// (so that every block runs a warm-up or a fade of both filters). Every case
// reports "core", the fraction of one core the work takes at 48 kHz; compare
// the cases with each other, not across machines.
//
//   cmake --build build -j2 --target zorv_bench
//   build/bench/zorv_bench --benchmark_filter=Subwoofers
#include <benchmark/benchmark.h>

#include <cmath>
#include <memory>
#include <vector>

#include "NolarConstants.h"
#include "ZorvSpeakers.h"
#include "ZorvSubwoofersPanning.h"
#include "ZorvVbap2DPanning.h"

namespace {

unsigned int const numSources = 16;
unsigned long const block = 64;

struct Signals {
  std::vector<float> x, y;
  std::vector<float*> in, out;
  Signals(unsigned int n, unsigned int m)
      : x(static_cast<std::size_t>(n) * block), y(static_cast<std::size_t>(m) * block) {
    for (std::size_t k = 0; k < x.size(); ++k) x[k] = std::sin(0.01f * static_cast<float>(k));
    for (unsigned int i = 0; i < n; ++i) in.push_back(x.data() + i * block);
    for (unsigned int j = 0; j < m; ++j) out.push_back(y.data() + j * block);
  }
};

void reportCore(benchmark::State& state) {
  state.counters["core"] = benchmark::Counter(
      static_cast<double>(block) / 48000.0,
      benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void placeSources(Zorv::Pan& pan) {
  for (unsigned int i = 0; i < numSources; ++i) {
    float const a = 0.4f * static_cast<float>(i);
    pan.SetSourcePosition(i, nolardsp::CartesianVector(std::cos(a), std::sin(a), 0.f), true);
  }
}

// range(0): outputs; range(1): 1 when the cut-off moves every block.
void Subwoofers(benchmark::State& state) {
  unsigned int const numOutputs = static_cast<unsigned int>(state.range(0));
  bool const moving = state.range(1) != 0;
  Zorv::SubwoofersPanning pan(numSources, numOutputs);
  pan.Configure(48000.f, block, true);
  if (numOutputs > 1)
    pan.SetLoudspeakerPositions(Zorv::Speakers::GetDefaultForChannels(numOutputs));
  placeSources(pan);
  Signals s(numSources, numOutputs);
  int k = 0;
  for (auto _ : state) {
    if (moving) pan.SetCutOffFrequency(++k % 2 == 0 ? 100.f : 120.f);
    pan.Process(s.out.data(), s.in.data(), block, nolardsp::allActiveInputs);
    benchmark::DoNotOptimize(s.y.data());
  }
  reportCore(state);
}

void Vbap2DBaseline(benchmark::State& state) {
  Zorv::Vbap2DPanning pan(numSources, 4);
  pan.Configure(48000.f, block, true);
  pan.SetLoudspeakerPositions(Zorv::Speakers::GetDefaultForChannels(4));
  placeSources(pan);
  Signals s(numSources, 4);
  for (auto _ : state) {
    pan.Process(s.out.data(), s.in.data(), block, nolardsp::allActiveInputs);
    benchmark::DoNotOptimize(s.y.data());
  }
  reportCore(state);
}

BENCHMARK(Vbap2DBaseline)->Name("Subwoofers/vbap2d_16to4");
BENCHMARK(Subwoofers)
    ->ArgNames({"outputs", "cutoffMoving"})
    ->Args({4, 0})
    ->Args({1, 0})
    ->Args({4, 1})
    ->Args({1, 1});

}  // namespace
