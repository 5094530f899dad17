// The headphone renderers at 48 kHz in blocks of 64, against two baselines
// run in the same process: a bare 6-section biquad cascade per ear and
// source, and the vbap2d mix of the same sources on a ring of 8 speakers.
//
//   build/bench/zorv_bench --benchmark_filter=Binaural
//
// "sources_per_core" is the number of sources one core renders in real time:
// sources x block duration / time per block.

#include <benchmark/benchmark.h>

#include <cmath>
#include <map>
#include <memory>
#include <tuple>
#include <vector>

#include "NolarBiquadCascade.h"
#include "NolarConstants.h"
#include "ZorvBinauralPanningDirect.h"
#include "ZorvBinauralPanningIACC.h"
#include "ZorvBinauralPanningITD.h"
#include "ZorvBinauralPanningNearfield.h"
#include "ZorvHrtf.h"
#include "ZorvPan.h"

namespace {

constexpr float rate = 48000.f;
constexpr unsigned int block = 64;
char const* const kemarSofa = "/usr/share/libmysofa/MIT_KEMAR_normal_pinna.sofa";

void reportSourcesPerCore(benchmark::State& state, int sources) {
  state.counters["sources_per_core"] = benchmark::Counter(
      sources * static_cast<double>(block) / rate, benchmark::Counter::kIsIterationInvariantRate);
}

// Directions of the grid of the built-in set, for sources that move to a new
// one every block.
std::vector<nolardsp::CartesianVector> const& gridDirections() {
  static std::vector<nolardsp::CartesianVector> const directions = [] {
    std::vector<nolardsp::CartesianVector> out;
    Zorv::Hrtf set("", 48000);
    set.GetPointsPositions(out);
    return out;
  }();
  return directions;
}

struct Signals {
  explicit Signals(int n) : in(n, std::vector<float>(block)), left(block), right(block) {
    for (int i = 0; i < n; ++i) {
      for (unsigned int k = 0; k < block; ++k) in[i][k] = std::sin(0.01f * (k + 37 * i));
      ins.push_back(in[i].data());
    }
    outs[0] = left.data();
    outs[1] = right.data();
  }
  std::vector<std::vector<float>> in;
  std::vector<float*> ins;
  std::vector<float> left, right;
  float* outs[2];
};

void run(benchmark::State& state, Zorv::Pan& pan, int sources, bool moving) {
  Signals s(sources);
  auto const& grid = gridDirections();
  std::size_t step = 0;
  for (auto _ : state) {
    if (moving) {
      ++step;
      for (int i = 0; i < sources; ++i) {
        pan.SetSourcePosition(i, grid[(step * 7 + i * 101) % grid.size()], false);
      }
    }
    pan.Process(s.outs, s.ins.data(), block, nolardsp::allActiveInputs);
    benchmark::DoNotOptimize(s.left.data());
    benchmark::ClobberMemory();
  }
  reportSourcesPerCore(state, sources);
}

void placeOnGrid(Zorv::Pan& pan, int sources) {
  auto const& grid = gridDirections();
  for (int i = 0; i < sources; ++i) pan.SetSourcePosition(i, grid[(i * 101) % grid.size()], true);
}

// "direct" with the built-in set. Args: sources, moving.
void BinauralDirect(benchmark::State& state) {
  int const sources = static_cast<int>(state.range(0));
  Zorv::BinauralPanningDirect pan(sources, 2);
  pan.Configure(rate, block, true);
  placeOnGrid(pan, sources);
  run(state, pan, sources, state.range(1) != 0);
}

// "direct" with the KEMAR measurements as an FIR set, resampled to 48 kHz
// (558 taps). Args: sources, moving, method (0 time domain, 1 transform).
// Each renderer is made once: a SOFA load takes a second.
void BinauralDirectFir(benchmark::State& state) {
  int const sources = static_cast<int>(state.range(0));
  static std::map<std::tuple<int, int>, std::unique_ptr<Zorv::BinauralPanningDirect>> made;
  auto& pan = made[{sources, static_cast<int>(state.range(2))}];
  if (!pan) {
    pan = std::make_unique<Zorv::BinauralPanningDirect>(sources, 2);
    pan->Configure(rate, block, true);
    try {
      if (!pan->LoadFromFile(kemarSofa)) pan.reset();
    } catch (...) {
      pan.reset();
    }
    if (!pan) {
      state.SkipWithError("no KEMAR SOFA file");
      return;
    }
    pan->SetFIRFiltersImplementationMethod(state.range(2) != 0 ? "fft" : "timedomain");
    pan->Configure(rate, block, true);
    placeOnGrid(*pan, sources);
  }
  state.counters["taps"] = pan->GetHrtfHeaderInfos()->numCoefficients;
  run(state, *pan, sources, state.range(1) != 0);
}

// "early". Args: sources, moving.
// "nearfield" with the built-in compensation set and per-ear gains, its
// sources half a metre away; moving ones take a new grid direction every
// block, so both ears change point and compensation filter.
void BinauralNearfield(benchmark::State& state) {
  int const sources = static_cast<int>(state.range(0));
  bool const moving = state.range(1) != 0;
  Zorv::BinauralPanningNearfield pan(sources, 2);
  pan.Configure(rate, block, true);
  pan.LoadCompensationFilters("kemar");
  pan.EnableGainsCorrection(true);
  auto const& grid = gridDirections();
  auto near = [&grid](std::size_t k) {
    nolardsp::CartesianVector const& d = grid[k % grid.size()];
    return nolardsp::CartesianVector(0.5f * d.x, 0.5f * d.y, 0.5f * d.z);
  };
  for (int i = 0; i < sources; ++i) pan.SetSourcePosition(i, near(i * 101), true);
  Signals s(sources);
  std::size_t step = 0;
  for (auto _ : state) {
    if (moving) {
      ++step;
      for (int i = 0; i < sources; ++i) pan.SetSourcePosition(i, near(step * 7 + i * 101), false);
    }
    pan.Process(s.outs, s.ins.data(), block, nolardsp::allActiveInputs);
    benchmark::DoNotOptimize(s.left.data());
    benchmark::ClobberMemory();
  }
  reportSourcesPerCore(state, sources);
}

void BinauralEarly(benchmark::State& state) {
  int const sources = static_cast<int>(state.range(0));
  Zorv::BinauralPanningITD pan(sources, 2);
  pan.Configure(rate, block, true);
  placeOnGrid(pan, sources);
  run(state, pan, sources, state.range(1) != 0);
}

// "diffuse": one pair of inputs.
void BinauralDiffuse(benchmark::State& state) {
  Zorv::BinauralPanningIACC pan(2, 2);
  pan.Configure(rate, block, true);
  run(state, pan, 2, false);
}

// Baseline: two bare 6-section cascades per source, the filtering of "direct"
// without delay lines, fades or mixing.
void BinauralBaselineCascades(benchmark::State& state) {
  int const sources = static_cast<int>(state.range(0));
  Zorv::Hrtf set("", 48000);
  std::vector<std::unique_ptr<nolardsp::BiquadCascade>> cascades;
  for (int i = 0; i < 2 * sources; ++i) {
    cascades.push_back(std::make_unique<nolardsp::BiquadCascade>(6));
    cascades.back()->Configure(rate, block, true);
    Zorv::HrtfPoint const& p = set.GetPoints()[(i * 101) % set.GetPoints().size()];
    cascades.back()->SetCoefficients(const_cast<float*>(p.coefficients.data()));
  }
  Signals s(sources);
  for (auto _ : state) {
    for (int i = 0; i < sources; ++i) {
      cascades[2 * i]->Process(s.left.data(), s.ins[i], block);
      cascades[2 * i + 1]->Process(s.right.data(), s.ins[i], block);
    }
    benchmark::DoNotOptimize(s.left.data());
    benchmark::ClobberMemory();
  }
  reportSourcesPerCore(state, sources);
}

// Baseline: the same sources through vbap2d on 8 speakers. Args: sources,
// moving.
void BinauralBaselineVbap2D(benchmark::State& state) {
  int const sources = static_cast<int>(state.range(0));
  std::unique_ptr<Zorv::Pan> pan(Zorv::Pan::Factory(sources, 8, "vbap2d", ""));
  pan->Configure(rate, block, true);
  Signals s(sources);
  std::vector<std::vector<float>> out(8, std::vector<float>(block));
  std::vector<float*> outs;
  for (auto& o : out) outs.push_back(o.data());
  auto const& grid = gridDirections();
  std::size_t step = 0;
  bool const moving = state.range(1) != 0;
  for (auto _ : state) {
    if (moving) {
      ++step;
      for (int i = 0; i < sources; ++i) {
        pan->SetSourcePosition(i, grid[(step * 7 + i * 101) % grid.size()], false);
      }
    }
    pan->Process(outs.data(), s.ins.data(), block, nolardsp::allActiveInputs);
    benchmark::DoNotOptimize(outs[0]);
    benchmark::ClobberMemory();
  }
  reportSourcesPerCore(state, sources);
}

void sourcesAndMotion(benchmark::internal::Benchmark* b) {
  b->ArgNames({"sources", "moving"});
  for (int moving : {0, 1}) {
    for (int sources : {1, 8, 64}) b->Args({sources, moving});
  }
}

void firShapes(benchmark::internal::Benchmark* b) {
  b->ArgNames({"sources", "moving", "fft"});
  for (int fft : {0, 1}) {
    for (int moving : {0, 1}) {
      for (int sources : {1, 8, 64}) b->Args({sources, moving, fft});
    }
  }
}

BENCHMARK(BinauralDirect)->Apply(sourcesAndMotion);
BENCHMARK(BinauralDirectFir)->Apply(firShapes);
BENCHMARK(BinauralNearfield)->Apply(sourcesAndMotion);
BENCHMARK(BinauralEarly)->Apply(sourcesAndMotion);
BENCHMARK(BinauralDiffuse);
BENCHMARK(BinauralBaselineCascades)->ArgName("sources")->Arg(1)->Arg(8)->Arg(64);
BENCHMARK(BinauralBaselineVbap2D)->Apply(sourcesAndMotion);

}  // namespace
