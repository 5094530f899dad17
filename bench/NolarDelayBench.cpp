// One 64-sample block through a delay line, at rest and while its length
// glides, per read-out mode. Baseline: a plain copy of the same block.

#include <benchmark/benchmark.h>

#include <cmath>
#include <vector>

#include "NolarDelay.h"
#include "NolarVectorOperations.h"

namespace {

using nolardsp::Delay;

unsigned int const block = 64;

std::vector<float> signal() {
  std::vector<float> x(block);
  for (unsigned int i = 0; i < block; ++i) x[i] = std::sin(0.1f * static_cast<float>(i));
  return x;
}

void BM_CopyBaseline(benchmark::State& state) {
  auto const x = signal();
  std::vector<float> y(block);
  for (auto _ : state) {
    nolardsp::Copy(y.data(), x.data(), block);
    benchmark::DoNotOptimize(y.data());
    benchmark::ClobberMemory();
  }
}
BENCHMARK(BM_CopyBaseline);

void BM_DelayAtRest(benchmark::State& state) {
  Delay d(300.f, static_cast<Delay::InterpolationMode>(state.range(0)));
  d.Configure(48000.f, block, true);
  d.SetDelay(10.37f, true);
  auto const x = signal();
  std::vector<float> y(block);
  for (auto _ : state) {
    d.Process(y.data(), x.data(), block);
    benchmark::DoNotOptimize(y.data());
  }
}
BENCHMARK(BM_DelayAtRest)->DenseRange(0, 8);

void BM_DelayGliding(benchmark::State& state) {
  Delay d(300.f, static_cast<Delay::InterpolationMode>(state.range(0)));
  d.Configure(48000.f, block, true);
  // Glides of 10 s, turned round every 1024 blocks so none ever ends.
  d.SetInterpolationTime(10000.f);
  d.SetDelay(200.f, false);
  auto const x = signal();
  std::vector<float> y(block);
  unsigned int n = 0;
  for (auto _ : state) {
    if ((++n & 1023u) == 0) d.SetDelay((n & 1024u) != 0 ? 100.f : 200.f, false);
    d.Process(y.data(), x.data(), block);
    benchmark::DoNotOptimize(y.data());
  }
}
BENCHMARK(BM_DelayGliding)->DenseRange(0, 8);

}  // namespace
