// The nearest-point search of an HRTF set against a brute-force scan of the
// same points (the baseline), over the built-in set (710 points on the unit
// sphere) and over 2000 points spread evenly on a sphere of 1.4 m, the density
// of a large SOFA measurement; and the load time of the KEMAR SOFA file.

#include <benchmark/benchmark.h>

#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include "ZorvHrtf.h"

namespace {

constexpr char const* kKemarSofa = "/usr/share/libmysofa/MIT_KEMAR_normal_pinna.sofa";
constexpr int kQueries = 1024;

// Source positions as a renderer sees them, any direction: distance code 0 on
// the set's own sphere, 1 at 2 m, 2 anywhere from 0.3 to 5 m.
std::vector<nolardsp::CartesianVector> queries(int set, int distance) {
  std::mt19937 rng(7);
  std::normal_distribution<float> n(0.f, 1.f);
  float const own = set == 0 ? 1.f : 1.4f;
  std::uniform_real_distribution<float> r(distance == 0   ? own
                                          : distance == 1 ? 2.f
                                                          : 0.3f,
                                          distance == 0   ? own
                                          : distance == 1 ? 2.f
                                                          : 5.f);
  std::vector<nolardsp::CartesianVector> out;
  for (int i = 0; i < kQueries; ++i) {
    float x = n(rng), y = n(rng), z = n(rng);
    float const s = r(rng) / std::sqrt(x * x + y * y + z * z);
    out.emplace_back(x * s, y * s, z * s);
  }
  return out;
}

// 2000 points of a Fibonacci sphere, 1.4 m.
class DenseSet : public Zorv::HrtfData {
 public:
  DenseSet() {
    points.resize(2000);
    for (std::size_t i = 0; i < points.size(); ++i) {
      float const z = 1.f - 2.f * (float(i) + 0.5f) / 2000.f;
      float const rho = std::sqrt(1.f - z * z);
      float const phi = 2.3999632f * float(i);
      points[i].position = nolardsp::CartesianVector(1.4f * rho * std::cos(phi),
                                                     1.4f * rho * std::sin(phi), 1.4f * z);
      points[i].index = static_cast<uint32_t>(i);
    }
    header.numPoints = 2000;
    buildKdTree();
  }
  void LoadFromFile(char const*) override {}
};

Zorv::HrtfData const& set(int which) {
  static Zorv::Hrtf const builtIn("");
  static DenseSet const dense;
  return which == 0 ? static_cast<Zorv::HrtfData const&>(builtIn) : dense;
}

void BM_NearestPointTree(benchmark::State& state) {
  auto const& hrtf = set(static_cast<int>(state.range(0)));
  auto const q = queries(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
  for (auto _ : state) {
    for (auto const& p : q) benchmark::DoNotOptimize(hrtf.GetNearestHrtfPoint(p).index);
  }
  state.SetItemsProcessed(state.iterations() * kQueries);
}
BENCHMARK(BM_NearestPointTree)->ArgsProduct({{0, 1}, {0, 1, 2}});

// Baseline: every point, float distances, strictly smaller wins.
void BM_NearestPointBruteForce(benchmark::State& state) {
  auto const& hrtf = set(static_cast<int>(state.range(0)));
  std::vector<float> xyz;
  for (auto const& p : hrtf.GetPoints()) {
    xyz.insert(xyz.end(), {p.position.x, p.position.y, p.position.z});
  }
  std::size_t const n = xyz.size() / 3;
  auto const q = queries(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
  for (auto _ : state) {
    for (auto const& p : q) {
      float best = std::numeric_limits<float>::infinity();
      std::size_t found = 0;
      for (std::size_t i = 0; i < n; ++i) {
        float const dx = xyz[3 * i] - p.x, dy = xyz[3 * i + 1] - p.y, dz = xyz[3 * i + 2] - p.z;
        float const d = dx * dx + dy * dy + dz * dz;
        if (d < best) {
          best = d;
          found = i;
        }
      }
      benchmark::DoNotOptimize(found);
    }
  }
  state.SetItemsProcessed(state.iterations() * kQueries);
}
BENCHMARK(BM_NearestPointBruteForce)->ArgsProduct({{0, 1}, {0, 1, 2}});

// Loading the KEMAR SOFA file (710 directions, 512 taps, ITDs estimated from
// the responses) at its own rate (0) and resampled to 48000 Hz; and, for
// scale, expanding the built-in set.
void BM_LoadKemarSofa(benchmark::State& state) {
  for (auto _ : state) {
    Zorv::Hrtf const hrtf(kKemarSofa, static_cast<unsigned int>(state.range(0)));
    benchmark::DoNotOptimize(hrtf.GetNumPoints());
  }
}
BENCHMARK(BM_LoadKemarSofa)->Arg(0)->Arg(48000)->Unit(benchmark::kMillisecond)->Iterations(3);

void BM_LoadBuiltInSet(benchmark::State& state) {
  for (auto _ : state) {
    Zorv::Hrtf const hrtf("");
    benchmark::DoNotOptimize(hrtf.GetNumPoints());
  }
}
BENCHMARK(BM_LoadBuiltInSet)->Unit(benchmark::kMillisecond);

}  // namespace
