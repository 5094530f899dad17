// Cost of rendering a moving source with the speaker-array panners: convert
// (position -> one gain row, on the message thread) against the mix of one
// block of 64 samples of that source onto the same speakers (audio thread),
// in the same run. Positions change every block, so every element of the mix
// ramps. Counters: convert_ns and mix64_ns per call, and their ratio
// convert_per_mix64.
#include <benchmark/benchmark.h>

#include <chrono>
#include <cmath>
#include <memory>
#include <vector>

#include "NolarCartesianVector.h"
#include "NolarConstants.h"
#include "ZorvPan.h"

namespace {

using nolardsp::CartesianVector;
using Clock = std::chrono::steady_clock;

// n points spread evenly over the unit sphere (a golden-angle spiral).
std::vector<CartesianVector> sphere(unsigned int n) {
  std::vector<CartesianVector> points(n);
  for (unsigned int i = 0; i < n; ++i) {
    float const z = 1.f - 2.f * (static_cast<float>(i) + 0.5f) / static_cast<float>(n);
    float const r = std::sqrt(1.f - z * z);
    float const a = 2.3999632f * static_cast<float>(i);
    points[i] = CartesianVector(r * std::cos(a), r * std::sin(a), z);
  }
  return points;
}

std::vector<CartesianVector> ring(unsigned int n) {
  std::vector<CartesianVector> points(n);
  for (unsigned int i = 0; i < n; ++i) {
    float const a = 6.2831855f * static_cast<float>(i) / static_cast<float>(n);
    points[i] = CartesianVector(std::cos(a), std::sin(a), 0.f);
  }
  return points;
}

void convertAgainstMix(benchmark::State& state, char const* type, bool planar) {
  unsigned int const m = static_cast<unsigned int>(state.range(0));
  unsigned int const block = 64;
  std::unique_ptr<Zorv::Pan> pan(Zorv::Pan::Factory(1, m, type, "direct"));
  if (pan->GetNumOutputs() != m) {
    state.SkipWithError("method not built for this count");
    return;
  }
  std::vector<CartesianVector> const speakers = planar ? ring(m) : sphere(m);
  pan->SetLoudspeakerPositions(speakers.data());
  pan->Configure(48000.f, block, true);

  std::vector<float> in(block, 0.25f);
  std::vector<std::vector<float>> out(m, std::vector<float>(block));
  float* ins[1] = {in.data()};
  std::vector<float*> outs;
  for (auto& c : out) outs.push_back(c.data());

  unsigned int const batch = 16;
  double convertSeconds = 0., mixSeconds = 0.;
  long calls = 0;
  float angle = 0.f;
  for (auto _ : state) {
    auto const t0 = Clock::now();
    for (unsigned int b = 0; b < batch; ++b) {
      angle += 0.0123f;
      // Height 0.34 on the unit sphere, a little inside it: for the blended
      // method both of its inner panners run.
      pan->SetSourcePosition(
          0, CartesianVector(0.9f * std::cos(angle), 0.9f * std::sin(angle), 0.34f), false);
    }
    auto const t1 = Clock::now();
    for (unsigned int b = 0; b < batch; ++b) {
      pan->Process(outs.data(), ins, block, nolardsp::allActiveInputs);
    }
    auto const t2 = Clock::now();
    benchmark::DoNotOptimize(outs[0][0]);
    convertSeconds += std::chrono::duration<double>(t1 - t0).count();
    mixSeconds += std::chrono::duration<double>(t2 - t1).count();
    calls += batch;
  }
  if (calls == 0) return;
  state.counters["convert_ns"] = 1e9 * convertSeconds / calls;
  state.counters["mix64_ns"] = 1e9 * mixSeconds / calls;
  state.counters["convert_per_mix64"] = mixSeconds > 0. ? convertSeconds / mixSeconds : 0.;
}

void Vbap2D(benchmark::State& s) {
  convertAgainstMix(s, "vbap2d", true);
}
void Vbap(benchmark::State& s) {
  convertAgainstMix(s, "vbap", false);
}
void Vbip(benchmark::State& s) {
  convertAgainstMix(s, "vbip", false);
}
void Dbap(benchmark::State& s) {
  convertAgainstMix(s, "dbap", true);
}
void Dbap3D(benchmark::State& s) {
  convertAgainstMix(s, "dbap3d", false);
}
void VDbap(benchmark::State& s) {
  convertAgainstMix(s, "vdbap", false);
}
void Panr(benchmark::State& s) {
  convertAgainstMix(s, "panr", true);
}

}  // namespace

BENCHMARK(Vbap2D)->Arg(8)->Arg(32)->Arg(128);
BENCHMARK(Vbap)->Arg(8)->Arg(32)->Arg(128)->Unit(benchmark::kMicrosecond);
BENCHMARK(Vbip)->Arg(8)->Arg(32)->Arg(128)->Unit(benchmark::kMicrosecond);
BENCHMARK(Dbap)->Arg(8)->Arg(32)->Arg(128);
BENCHMARK(Dbap3D)->Arg(8)->Arg(32)->Arg(128);
BENCHMARK(VDbap)->Arg(8)->Arg(32)->Arg(128)->Unit(benchmark::kMicrosecond);
BENCHMARK(Panr)->Arg(4)->Arg(8)->Arg(12);
