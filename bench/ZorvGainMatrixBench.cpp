// The gain-matrix mix of AmplitudePanning against the same arithmetic done as
// a dense matrix product Y (M x n) = G^T (M x N) * X (N x n): a plain triple
// loop compiled here at -O3 and, when the build found it, cblas_sgemm, forced
// to one thread. Every case reports "core": the fraction of one core the work
// takes at 48 kHz.
//
//   cmake --build build -j2 --target zorv_bench
//   build/bench/zorv_bench --benchmark_filter=GainMatrix
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "NolarConstants.h"
#include "ZorvAmplitudePanning.h"

#if defined(ZORV_HAVE_CBLAS)
#include <cblas.h>
#endif

namespace {

using nolardsp::CartesianVector;

// Dense, deterministic gains; Flip() swaps the pending matrix between two
// sets, so that after every period boundary all elements ramp again.
class BenchPanning : public Zorv::AmplitudePanning {
 public:
  BenchPanning(unsigned int n, unsigned int m) : AmplitudePanning(n, m) {
    a.resize(static_cast<std::size_t>(n) * m);
    b.resize(a.size());
    for (std::size_t k = 0; k < a.size(); ++k) {
      a[k] = 0.1f + 0.8f * std::fabs(std::sin(0.7f * static_cast<float>(k)));
      b[k] = 0.1f + 0.8f * std::fabs(std::cos(0.3f * static_cast<float>(k)));
    }
    std::copy(a.begin(), a.end(), nextGains.begin());
  }
  void Flip() {
    useA = !useA;
    std::vector<float> const& from = useA ? a : b;
    std::copy(from.begin(), from.end(), nextGains.begin());
  }
  std::vector<float> a, b;

 protected:
  void convert(CartesianVector const&, float*, unsigned int) override {}

 private:
  bool useA = true;
};

struct Signals {
  std::vector<float> x, y;
  std::vector<float*> in, out;
  Signals(unsigned int n, unsigned int m, unsigned long block)
      : x(static_cast<std::size_t>(n) * block), y(static_cast<std::size_t>(m) * block) {
    for (std::size_t k = 0; k < x.size(); ++k) x[k] = std::sin(0.01f * static_cast<float>(k));
    for (unsigned int i = 0; i < n; ++i) in.push_back(x.data() + i * block);
    for (unsigned int j = 0; j < m; ++j) out.push_back(y.data() + j * block);
  }
};

void reportCore(benchmark::State& state, unsigned long block) {
  // Audio seconds per iteration; inverted rate = CPU seconds per audio second.
  state.counters["core"] = benchmark::Counter(
      static_cast<double>(block) / 48000.0,
      benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void GainMatrixStanding(benchmark::State& state) {
  unsigned int const size = static_cast<unsigned int>(state.range(0));
  unsigned long const block = static_cast<unsigned long>(state.range(1));
  BenchPanning pan(size, size);
  Signals s(size, size, block);
  // Two periods: start, target and next all equal, every element constant.
  for (unsigned long done = 0; done < 3000; done += block) {
    pan.Process(s.out.data(), s.in.data(), block, nolardsp::allActiveInputs);
  }
  for (auto _ : state) {
    pan.Process(s.out.data(), s.in.data(), block, nolardsp::allActiveInputs);
    benchmark::DoNotOptimize(s.y.data());
    benchmark::ClobberMemory();
  }
  reportCore(state, block);
}

void GainMatrixRamping(benchmark::State& state) {
  unsigned int const size = static_cast<unsigned int>(state.range(0));
  unsigned long const block = static_cast<unsigned long>(state.range(1));
  BenchPanning pan(size, size);
  Signals s(size, size, block);
  for (unsigned long done = 0; done < 1323; done += block) {
    pan.Process(s.out.data(), s.in.data(), block, nolardsp::allActiveInputs);
    pan.Flip();
  }
  int last = pan.GetRampPosition();
  for (auto _ : state) {
    pan.Process(s.out.data(), s.in.data(), block, nolardsp::allActiveInputs);
    // After each boundary the pending gains change again (as a moving source
    // would), so every element ramps in every period.
    if (pan.GetRampPosition() < last || block >= 1323) pan.Flip();
    last = pan.GetRampPosition();
    benchmark::DoNotOptimize(s.y.data());
    benchmark::ClobberMemory();
  }
  reportCore(state, block);
}

// Y = G^T X by a plain triple loop, output-major, the sample loop innermost
// and unit-stride so that it vectorises.
void tripleLoop(float* __restrict y, float const* __restrict g, float const* __restrict x,
                unsigned int n, unsigned int m, unsigned long block) {
  for (unsigned int j = 0; j < m; ++j) {
    float* __restrict yj = y + j * block;
    for (unsigned long k = 0; k < block; ++k) yj[k] = 0.f;
    for (unsigned int i = 0; i < n; ++i) {
      float const gij = g[static_cast<std::size_t>(i) * m + j];
      float const* __restrict xi = x + i * block;
      for (unsigned long k = 0; k < block; ++k) yj[k] += gij * xi[k];
    }
  }
}

void GainMatrixBaselineTripleLoop(benchmark::State& state) {
  unsigned int const size = static_cast<unsigned int>(state.range(0));
  unsigned long const block = static_cast<unsigned long>(state.range(1));
  BenchPanning pan(size, size);
  Signals s(size, size, block);
  for (auto _ : state) {
    tripleLoop(s.y.data(), pan.a.data(), s.x.data(), size, size, block);
    benchmark::DoNotOptimize(s.y.data());
    benchmark::ClobberMemory();
  }
  reportCore(state, block);
}

#if defined(ZORV_HAVE_CBLAS)
void GainMatrixBaselineSgemm(benchmark::State& state) {
#if defined(OPENBLAS_VERSION)
  openblas_set_num_threads(1);  // one core, like the audio thread
#endif
  int const size = static_cast<int>(state.range(0));
  int const block = static_cast<int>(state.range(1));
  BenchPanning pan(size, size);
  Signals s(size, size, block);
  for (auto _ : state) {
    // Y (M x n) = G^T (M x N) * X (N x n), G stored N x M row-major.
    cblas_sgemm(CblasRowMajor, CblasTrans, CblasNoTrans, size, block, size, 1.f, pan.a.data(), size,
                s.x.data(), block, 0.f, s.y.data(), block);
    benchmark::DoNotOptimize(s.y.data());
    benchmark::ClobberMemory();
  }
  reportCore(state, block);
}
#endif

void shapes(benchmark::internal::Benchmark* b) {
  for (int block : {64, 512}) {
    for (int size : {2, 8, 32, 64, 128}) b->Args({size, block});
  }
  b->ArgNames({"NxM", "block"});
}

}  // namespace

BENCHMARK(GainMatrixStanding)->Apply(shapes);
BENCHMARK(GainMatrixRamping)->Apply(shapes);
BENCHMARK(GainMatrixBaselineTripleLoop)->Apply(shapes);
#if defined(ZORV_HAVE_CBLAS)
BENCHMARK(GainMatrixBaselineSgemm)->Apply(shapes);
#endif
