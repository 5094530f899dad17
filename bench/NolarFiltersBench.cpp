// Filters on one block. Each family has its baseline in the same run:
// - FirTimeDomain against a plain contiguous direct-form FIR of the same taps;
// - FirFilterOverlapAdd against that direct form and against a uniformly
//   partitioned transform convolution (partition = block) written here;
// - a 6-section BiquadCascade against a plain transposed direct form II cascade;
// - a cross-fade of each law against the same faded filter at rest.
// Read the ratios of the times printed side by side (same taps, same block).

#include <benchmark/benchmark.h>
#include <fftw3.h>

#include <array>
#include <cmath>
#include <complex>
#include <cstring>
#include <random>
#include <vector>

#include "NolarBiquadCascade.h"
#include "NolarFadedBiquadCascade.h"
#include "NolarFadedFirTimeDomain.h"
#include "NolarFirFilterOverlapAdd.h"
#include "NolarFirTimeDomain.h"

namespace {

std::vector<float> noise(size_t n, unsigned seed) {
  std::mt19937 gen(seed);
  std::uniform_real_distribution<float> dist(-1.f, 1.f);
  std::vector<float> x(n);
  for (float& v : x) v = dist(gen);
  return x;
}

// The plain direct form: a linear history, one dot product per output.
class PlainFir {
 public:
  PlainFir(std::vector<float> const& taps, unsigned long maxBlock)
      : h(taps), history(taps.size() - 1 + maxBlock, 0.f) {}
  void Process(float* y, float const* x, unsigned long n) {
    size_t const L = h.size();
    std::memcpy(history.data() + L - 1, x, n * sizeof(float));
    for (unsigned long i = 0; i < n; ++i) {
      float acc = 0.f;
      for (size_t k = 0; k < L; ++k) acc += h[k] * history[L - 1 + i - k];
      y[i] = acc;
    }
    std::memmove(history.data(), history.data() + n, (L - 1) * sizeof(float));
  }

 private:
  std::vector<float> h;
  std::vector<float> history;
};

// Uniformly partitioned overlap-save with partitions of one block B: a
// transform of 2B per block and one complex multiply-add per partition.
class PartitionedFir {
 public:
  PartitionedFir(std::vector<float> const& taps, unsigned long block)
      : B(block), bins(block + 1), P((taps.size() + block - 1) / block), position(0) {
    unsigned long const N = 2 * B;
    time = fftwf_alloc_real(N);
    spectrum = fftwf_alloc_complex(bins);
    forward = fftwf_plan_dft_r2c_1d(static_cast<int>(N), time, spectrum, FFTW_ESTIMATE);
    inverse = fftwf_plan_dft_c2r_1d(static_cast<int>(N), spectrum, time, FFTW_ESTIMATE);
    H.assign(P * bins, {0.f, 0.f});
    X.assign(P * bins, {0.f, 0.f});
    acc.assign(bins, {0.f, 0.f});
    input.assign(N, 0.f);
    for (unsigned long p = 0; p < P; ++p) {
      std::fill(time, time + N, 0.f);
      for (unsigned long k = 0; k < B && p * B + k < taps.size(); ++k)
        time[k] = taps[p * B + k] / static_cast<float>(N);
      fftwf_execute(forward);
      for (unsigned long k = 0; k < bins; ++k) H[p * bins + k] = {spectrum[k][0], spectrum[k][1]};
    }
  }
  ~PartitionedFir() {
    fftwf_destroy_plan(forward);
    fftwf_destroy_plan(inverse);
    fftwf_free(time);
    fftwf_free(spectrum);
  }
  void Process(float* y, float const* x) {
    std::memmove(input.data(), input.data() + B, B * sizeof(float));
    std::memcpy(input.data() + B, x, B * sizeof(float));
    std::memcpy(time, input.data(), 2 * B * sizeof(float));
    fftwf_execute(forward);
    position = (position + P - 1) % P;
    std::complex<float>* newest = X.data() + position * bins;
    for (unsigned long k = 0; k < bins; ++k) newest[k] = {spectrum[k][0], spectrum[k][1]};
    std::fill(acc.begin(), acc.end(), std::complex<float>(0.f, 0.f));
    for (unsigned long p = 0; p < P; ++p) {
      std::complex<float> const* xs = X.data() + ((position + p) % P) * bins;
      std::complex<float> const* hs = H.data() + p * bins;
      for (unsigned long k = 0; k < bins; ++k) acc[k] += xs[k] * hs[k];
    }
    for (unsigned long k = 0; k < bins; ++k) {
      spectrum[k][0] = acc[k].real();
      spectrum[k][1] = acc[k].imag();
    }
    fftwf_execute(inverse);
    std::memcpy(y, time + B, B * sizeof(float));
  }

 private:
  unsigned long B, bins, P, position;
  float* time;
  fftwf_complex* spectrum;
  fftwf_plan forward, inverse;
  std::vector<std::complex<float>> H, X, acc;
  std::vector<float> input;
};

// A plain transposed direct form II cascade: y = b0 x + s1; s1 = b1 x - a1 y + s2;
// s2 = b2 x - a2 y.
class PlainBiquads {
 public:
  explicit PlainBiquads(std::vector<float> const& c) : sections((c.size() - 1) / 4) {
    gain = c[0];
    for (size_t s = 0; s < sections; ++s)
      coefficients.push_back({c[1 + 4 * s], c[2 + 4 * s], c[3 + 4 * s], c[4 + 4 * s], 0.f, 0.f});
  }
  void Process(float* y, float const* x, unsigned long n) {
    for (unsigned long i = 0; i < n; ++i) {
      float v = x[i] * gain;
      for (auto& s : coefficients) {
        float const out = v + s[4];
        s[4] = s[0] * v - s[2] * out + s[5];
        s[5] = s[1] * v - s[3] * out;
        v = out;
      }
      y[i] = v;
    }
  }

 private:
  size_t sections;
  float gain;
  std::vector<std::array<float, 6>> coefficients;
};

void setLabel(benchmark::State& state) {
  state.SetLabel(std::to_string(state.range(0)) + " taps, block " + std::to_string(state.range(1)));
}

void BM_FirPlainDirect(benchmark::State& state) {
  unsigned long const taps = state.range(0), block = state.range(1);
  auto const h = noise(taps, 1), x = noise(block, 2);
  std::vector<float> y(block);
  PlainFir f(h, block);
  for (auto _ : state) {
    f.Process(y.data(), x.data(), block);
    benchmark::DoNotOptimize(y.data());
  }
  setLabel(state);
}

void BM_FirTimeDomain(benchmark::State& state) {
  unsigned long const taps = state.range(0), block = state.range(1);
  auto h = noise(taps, 1), x = noise(block, 2);
  std::vector<float> y(block);
  nolardsp::FirTimeDomain f(static_cast<unsigned int>(taps - 1));
  f.Configure(48000.f, static_cast<unsigned int>(block), true);
  f.SetCoefficients(h.data());
  for (auto _ : state) {
    f.Process(y.data(), x.data(), block);
    benchmark::DoNotOptimize(y.data());
  }
  setLabel(state);
}

void BM_FirOverlapAdd(benchmark::State& state) {
  unsigned long const taps = state.range(0), block = state.range(1);
  auto h = noise(taps, 1), x = noise(block, 2);
  std::vector<float> y(block);
  nolardsp::FirFilterOverlapAdd f(static_cast<unsigned int>(taps - 1));
  f.Configure(48000.f, static_cast<unsigned int>(block), true);
  f.SetCoefficients(h.data());
  for (auto _ : state) {
    f.Process(y.data(), x.data(), block);
    benchmark::DoNotOptimize(y.data());
  }
  setLabel(state);
}

void BM_FirPartitionedBaseline(benchmark::State& state) {
  unsigned long const taps = state.range(0), block = state.range(1);
  auto const h = noise(taps, 1), x = noise(block, 2);
  std::vector<float> y(block);
  PartitionedFir f(h, block);
  for (auto _ : state) {
    f.Process(y.data(), x.data());
    benchmark::DoNotOptimize(y.data());
  }
  setLabel(state);
}

void firArguments(benchmark::internal::Benchmark* b) {
  for (long taps : {32, 128, 256, 512})
    for (long block : {16, 64, 256, 1024}) b->Args({taps, block});
}

BENCHMARK(BM_FirPlainDirect)->Apply(firArguments);
BENCHMARK(BM_FirTimeDomain)->Apply(firArguments);
BENCHMARK(BM_FirOverlapAdd)->Apply(firArguments);
BENCHMARK(BM_FirPartitionedBaseline)->Apply(firArguments);

std::vector<float> sixSections() {
  std::vector<float> c = {0.5f};
  for (int s = 0; s < 6; ++s) {
    double const r = 0.9 - 0.05 * s, w = 0.3 + 0.4 * s;
    c.push_back(static_cast<float>(-2 * 0.8 * std::cos(w + 0.1)));
    c.push_back(0.64f);
    c.push_back(static_cast<float>(-2 * r * std::cos(w)));
    c.push_back(static_cast<float>(r * r));
  }
  return c;
}

void BM_BiquadPlainTDF2(benchmark::State& state) {
  unsigned long const block = state.range(0);
  auto const x = noise(block, 3);
  std::vector<float> y(block);
  PlainBiquads f(sixSections());
  for (auto _ : state) {
    f.Process(y.data(), x.data(), block);
    benchmark::DoNotOptimize(y.data());
  }
}

void BM_BiquadCascade(benchmark::State& state) {
  unsigned long const block = state.range(0);
  auto x = noise(block, 3);
  std::vector<float> y(block);
  auto c = sixSections();
  nolardsp::BiquadCascade f(6);
  f.SetCoefficients(c.data());
  for (auto _ : state) {
    f.Process(y.data(), x.data(), block);
    benchmark::DoNotOptimize(y.data());
  }
}

BENCHMARK(BM_BiquadPlainTDF2)->Arg(64)->Arg(512);
BENCHMARK(BM_BiquadCascade)->Arg(64)->Arg(512);

// A faded filter at rest (law -1) and in a fade of each law. Fades last 10 s
// and a new one starts as soon as one ends, so nearly every block fades.
template <typename Faded>
void runFade(benchmark::State& state, Faded& f, std::vector<float>& setA,
             std::vector<float>& setB) {
  long const law = state.range(0);
  unsigned long const block = 64;
  auto x = noise(block, 4);
  std::vector<float> y(block);
  f.Configure(48000.f, block, true);
  f.SetCoefficients(setA.data(), true);
  f.SetCrossFadeTime(10000.f);
  if (law >= 0) f.SetCrossFadeType(static_cast<nolardsp::CrossFadeType>(law));
  bool useB = true;
  for (auto _ : state) {
    if (law >= 0 && f.GetSamplesRemaining() <= 0 && !f.HasPendingCoefficients()) {
      f.SetCoefficients(useB ? setB.data() : setA.data(), false);
      useB = !useB;
    }
    f.ProcessBlock(y.data(), x.data(), block, false);
    benchmark::DoNotOptimize(y.data());
  }
  static char const* const names[] = {"at rest", "linear", "cosine", "squareCosine"};
  state.SetLabel(names[law + 1]);
}

void BM_FadedFir64Taps(benchmark::State& state) {
  nolardsp::FadedFirTimeDomain f(63);
  auto a = noise(64, 5), b = noise(64, 6);
  runFade(state, f, a, b);
}

void BM_FadedBiquads6(benchmark::State& state) {
  nolardsp::FadedBiquadCascade f(6);
  auto a = sixSections(), b = sixSections();
  b[0] = 0.25f;
  runFade(state, f, a, b);
}

BENCHMARK(BM_FadedFir64Taps)->DenseRange(-1, 2);
BENCHMARK(BM_FadedBiquads6)->DenseRange(-1, 2);

}  // namespace
