// The two head-model renderers ("sphericalheadmodel", "snowman") at 48 kHz in
// blocks of 64, against "direct" with the built-in set run in the same
// process. 1, 8 and 64 sources, standing and moving (every source to a new
// direction every block, position work included).
//
//   build/bench/zorv_bench --benchmark_filter=HeadModel
//
// "sources_per_core" is the number of sources one core renders in real time:
// sources x block duration / time per block.

#include <benchmark/benchmark.h>

#include <cmath>
#include <memory>
#include <vector>

#include "NolarConstants.h"
#include "ZorvBinauralPanningDirect.h"
#include "ZorvBinauralPanningSnowmanModel.h"
#include "ZorvBinauralPanningSphericalHeadModel.h"

namespace {

constexpr float rate = 48000.f;
constexpr unsigned int block = 64;

// Directions all round the head and above and below it.
std::vector<nolardsp::CartesianVector> const& directions() {
  static std::vector<nolardsp::CartesianVector> const out = [] {
    std::vector<nolardsp::CartesianVector> v;
    for (int e = -80; e <= 80; e += 20) {
      for (int a = 0; a < 360; a += 10) {
        float const ar = a * 0.017453292f, er = e * 0.017453292f;
        v.emplace_back(2.f * std::cos(er) * std::sin(ar), 2.f * std::cos(er) * std::cos(ar),
                       2.f * std::sin(er));
      }
    }
    return v;
  }();
  return out;
}

template <typename Renderer>
void render(benchmark::State& state) {
  int const sources = static_cast<int>(state.range(0));
  bool const moving = state.range(1) != 0;
  Renderer pan(sources, 2);
  pan.Configure(rate, block, true);
  auto const& where = directions();
  for (int i = 0; i < sources; ++i) pan.SetSourcePosition(i, where[(i * 37) % where.size()], true);
  std::vector<std::vector<float>> in(sources, std::vector<float>(block));
  std::vector<float*> ins;
  for (int i = 0; i < sources; ++i) {
    for (unsigned int k = 0; k < block; ++k) in[i][k] = std::sin(0.01f * (k + 37 * i));
    ins.push_back(in[i].data());
  }
  std::vector<float> left(block), right(block);
  float* outs[2] = {left.data(), right.data()};
  std::size_t step = 0;
  for (auto _ : state) {
    if (moving) {
      ++step;
      for (int i = 0; i < sources; ++i) {
        pan.SetSourcePosition(i, where[(step * 7 + i * 37) % where.size()], false);
      }
    }
    pan.Process(outs, ins.data(), block, nolardsp::allActiveInputs);
    benchmark::DoNotOptimize(left.data());
    benchmark::ClobberMemory();
  }
  state.counters["sources_per_core"] = benchmark::Counter(
      sources * static_cast<double>(block) / rate, benchmark::Counter::kIsIterationInvariantRate);
}

void HeadModelSphere(benchmark::State& state) {
  render<Zorv::BinauralPanningSphericalHeadModel>(state);
}
void HeadModelSnowman(benchmark::State& state) {
  render<Zorv::BinauralPanningSnowmanModel>(state);
}
// Baseline: "direct" with its built-in set.
void HeadModelBaselineDirect(benchmark::State& state) {
  render<Zorv::BinauralPanningDirect>(state);
}

void shapes(benchmark::internal::Benchmark* b) {
  b->ArgNames({"sources", "moving"});
  for (int moving : {0, 1}) {
    for (int sources : {1, 8, 64}) b->Args({sources, moving});
  }
}

}  // namespace

BENCHMARK(HeadModelBaselineDirect)->Apply(shapes);
BENCHMARK(HeadModelSphere)->Apply(shapes);
BENCHMARK(HeadModelSnowman)->Apply(shapes);
