// Cost of higher-order ambisonic encoding in 3-D: 64 sources that move every
// block (block of 64 samples at 48 kHz), at orders 3 (16 outputs) and 7 (64
// outputs). Measured apart, in the same run:
//   convert    the 64 SetSourcePosition calls of a block (message thread),
//   mix        Process of that block while every gain ramps (audio thread),
//   standing   Process of a block once the sources stand still and every gain
//              is constant: the baseline of the mix.
// Times are the thread's processor time. Counters: convert_ns_per_source, convert_us_per_block,
// mix_us_per_block, standing_us_per_block, and the ratios mix_per_standing and convert_per_mix.
#include <benchmark/benchmark.h>

#include <time.h>

#include <cmath>
#include <memory>
#include <vector>

#include "NolarCartesianVector.h"
#include "NolarConstants.h"
#include "ZorvPan.h"

namespace {

using nolardsp::CartesianVector;
// Seconds of processor time of this thread: the machine may be shared, and
// time spent descheduled is no cost of the code.
double threadSeconds() {
  timespec t;
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
  return static_cast<double>(t.tv_sec) + 1e-9 * static_cast<double>(t.tv_nsec);
}

void hoaMovingSources(benchmark::State& state) {
  unsigned int const order = static_cast<unsigned int>(state.range(0));
  unsigned int const outputs = (order + 1) * (order + 1);
  unsigned int const sources = 64;
  unsigned int const block = 64;
  std::unique_ptr<Zorv::Pan> pan(Zorv::Pan::Factory(sources, outputs, "hoa3d", "direct"));
  if (pan->GetNumOutputs() != outputs) {
    state.SkipWithError("hoa3d not built for this count");
    return;
  }
  pan->Configure(48000.f, block, true);

  std::vector<std::vector<float>> in(sources, std::vector<float>(block));
  for (unsigned int i = 0; i < sources; ++i) {
    for (unsigned int k = 0; k < block; ++k) in[i][k] = 0.01f * static_cast<float>((i + k) % 17);
  }
  std::vector<std::vector<float>> out(outputs, std::vector<float>(block));
  std::vector<float*> ins, outs;
  for (auto& c : in) ins.push_back(c.data());
  for (auto& c : out) outs.push_back(c.data());

  // Each source on its own circle, at its own height and speed.
  float time = 0.f;
  auto const place = [&](unsigned int i) {
    float const a = 0.37f * static_cast<float>(i) + (0.5f + 0.01f * static_cast<float>(i)) * time;
    float const z = -0.9f + 1.8f * static_cast<float>(i) / static_cast<float>(sources);
    float const r = std::sqrt(1.f - z * z);
    return CartesianVector(2.f * r * std::cos(a), 2.f * r * std::sin(a), 2.f * z);
  };

  // Each iteration runs a batch of blocks that move and mix, then the same
  // number of moves alone; the mix is the difference. A clock read per block
  // would cost as much as the mix it measures.
  unsigned int const batch = 16;
  double totalSeconds = 0., convertSeconds = 0.;
  long blocks = 0;
  for (auto _ : state) {
    double const t0 = threadSeconds();
    for (unsigned int b = 0; b < batch; ++b) {
      time += 0.00133f;
      for (unsigned int i = 0; i < sources; ++i) pan->SetSourcePosition(i, place(i), false);
      pan->Process(outs.data(), ins.data(), block, nolardsp::allActiveInputs);
    }
    double const t1 = threadSeconds();
    for (unsigned int b = 0; b < batch; ++b) {
      time += 0.00133f;
      for (unsigned int i = 0; i < sources; ++i) pan->SetSourcePosition(i, place(i), false);
    }
    double const t2 = threadSeconds();
    benchmark::DoNotOptimize(outs[0][0]);
    totalSeconds += t1 - t0;
    convertSeconds += t2 - t1;
    blocks += batch;
  }
  double const mixSeconds = totalSeconds > convertSeconds ? totalSeconds - convertSeconds : 0.;
  if (blocks == 0) return;

  // The baseline: the same mix once nothing moves. Two ramp periods (30 ms
  // each) bring every gain to rest first.
  for (int b = 0; b < 60; ++b)
    pan->Process(outs.data(), ins.data(), block, nolardsp::allActiveInputs);
  long const standingBlocks = blocks > 2000 ? blocks : 2000;
  double const s0 = threadSeconds();
  for (long b = 0; b < standingBlocks; ++b) {
    pan->Process(outs.data(), ins.data(), block, nolardsp::allActiveInputs);
    benchmark::DoNotOptimize(outs[0][0]);
  }
  double const standingSeconds = threadSeconds() - s0;

  double const convertPerBlock = convertSeconds / blocks;
  double const mixPerBlock = mixSeconds / blocks;
  double const standingPerBlock = standingSeconds / standingBlocks;
  state.counters["convert_ns_per_source"] = 1e9 * convertPerBlock / sources;
  state.counters["convert_us_per_block"] = 1e6 * convertPerBlock;
  state.counters["mix_us_per_block"] = 1e6 * mixPerBlock;
  state.counters["standing_us_per_block"] = 1e6 * standingPerBlock;
  state.counters["mix_per_standing"] = standingPerBlock > 0. ? mixPerBlock / standingPerBlock : 0.;
  state.counters["convert_per_mix"] = mixPerBlock > 0. ? convertPerBlock / mixPerBlock : 0.;
}

}  // namespace

BENCHMARK(hoaMovingSources)->Arg(3)->Arg(7)->Unit(benchmark::kMicrosecond);
