// The "nearfield" renderer: its distance law, the per-ear choice of points,
// sources on, inside and at the very centre of the head, approaches without
// clicks, compensation sets, and the real-time rules of its block routine.

#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <cmath>
#include <cstdio>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "NolarConstants.h"
#include "NolarException.h"
#include "ZorvBinauralPanningNearfield.h"
#include "ZorvHrtf.h"
#include "ZorvHrtfSdifFileWriter.h"
#include "ZorvTestAllocationCounter.h"

namespace {

using nolardsp::CartesianVector;
using Zorv::BinauralPanningNearfield;

double const pi = 3.14159265358979323846;
float const rate = 48000.f;

std::string tempPath(std::string const& name) {
  return ::testing::TempDir() + std::to_string(getpid()) + "-" + name;
}

class MemorySet : public Zorv::HrtfData {
 public:
  MemorySet(Zorv::HrtfHeaderInfos h, std::vector<Zorv::HrtfPoint> p) {
    install(std::move(h), std::move(p), "memory");
  }
  void LoadFromFile(char const*) override {}
};

// A compensation set whose every filter is a plain gain, out to 1 m: a source
// within it is heard that many times louder on each ear.
std::string writeGainSet(std::string const& name, float leftGain, float rightGain,
                         Zorv::HrtfType type = Zorv::NearfieldCompensationFilter) {
  Zorv::HrtfHeaderInfos h;
  h.hrtfType = type;
  h.filterType = Zorv::BiquadCells;
  h.numChannels = 2;
  h.numCoefficients = 9;
  h.sampleRate = 48000;
  std::vector<Zorv::HrtfPoint> points;
  for (float r : {0.25f, 0.5f, 1.f}) {
    for (int a = 0; a < 12; ++a) {
      Zorv::HrtfPoint p;
      p.position = CartesianVector(r * std::sin(a * 0.5235988f), r * std::cos(a * 0.5235988f), 0.f);
      p.numChannels = 2;
      p.numCoefficients = 9;
      p.index = static_cast<uint32_t>(points.size());
      p.coefficients.assign(18, 0.f);
      p.coefficients[0] = leftGain;
      p.coefficients[9] = rightGain;
      points.push_back(p);
    }
  }
  h.numPoints = static_cast<uint32_t>(points.size());
  std::string const path = tempPath(name);
  Zorv::HrtfSdifFileWriter::Write(MemorySet(h, points), path, "test");
  return path;
}

// Blocks of a sine through a renderer of one source.
struct Runner {
  Runner(BinauralPanningNearfield& pan, unsigned int block, double frequency)
      : pan(pan), block(block), in(block), left(block), right(block), frequency(frequency) {}

  void run() {
    for (unsigned int k = 0; k < block; ++k) {
      in[k] = static_cast<float>(std::sin(2. * pi * frequency * static_cast<double>(n + k) / rate));
    }
    float const nan = std::numeric_limits<float>::quiet_NaN();
    std::fill(left.begin(), left.end(), nan);
    std::fill(right.begin(), right.end(), nan);
    float* ins[] = {in.data()};
    float* outs[] = {left.data(), right.data()};
    pan.Process(outs, ins, block, nolardsp::allActiveInputs);
    n += block;
  }

  // Root mean square of both ears over some blocks, after others to settle.
  std::pair<double, double> rms(int settle = 40, int measure = 40) {
    for (int b = 0; b < settle; ++b) run();
    double l = 0., r = 0.;
    for (int b = 0; b < measure; ++b) {
      run();
      for (unsigned int k = 0; k < block; ++k) {
        l += static_cast<double>(left[k]) * left[k];
        r += static_cast<double>(right[k]) * right[k];
      }
    }
    double const count = static_cast<double>(measure) * block;
    return {std::sqrt(l / count), std::sqrt(r / count)};
  }

  BinauralPanningNearfield& pan;
  unsigned int block;
  std::vector<float> in, left, right;
  double frequency;
  long long n = 0;
};

BinauralPanningNearfield* made(unsigned int inputs = 1, unsigned int block = 64) {
  auto* pan = new BinauralPanningNearfield(inputs, 2);
  pan->Configure(rate, block, true);
  return pan;
}

TEST(BinauralPanningNearfield, TheLevelFallsSixDecibelsPerDoublingOfDistance) {
  std::unique_ptr<BinauralPanningNearfield> pan(made());
  // One point for both ears at every distance: only the gain changes.
  pan->EnableCrossEarsHrtfSelection(false);
  double previous = 0.;
  for (double r = 0.26; r <= 2.081; r *= 2.) {
    pan->SetSourcePosition(0, CartesianVector(0.f, static_cast<float>(r), 0.f), false);
    Runner run(*pan, 64, 500.);
    double const level = 20. * std::log10(run.rms().first);
    if (previous != 0.) {
      EXPECT_NEAR(level - previous, -6.02, 0.2) << r;
    }
    previous = level;
  }
  pan->SetSourcePosition(0, CartesianVector(0.f, 2.08f, 0.f), false);
  EXPECT_FLOAT_EQ(pan->GetLeftGain(0), 1.f);
  pan->SetSourcePosition(0, CartesianVector(0.f, 0.1f, 0.f), false);
  EXPECT_FLOAT_EQ(pan->GetLeftGain(0), 10.4f);
  EXPECT_FLOAT_EQ(pan->GetRightGain(0), 10.4f);
}

// Each ear's point is the set's nearest to where the line from that ear
// through the (lifted) source leaves the measurement sphere, found here by
// another route: the farther root in double precision and a search of every
// point.
TEST(BinauralPanningNearfield, EachEarTakesThePointItsLineOfSightReaches) {
  std::unique_ptr<BinauralPanningNearfield> pan(made());
  std::vector<Zorv::HrtfPoint> const& all = pan->GetHrtf().GetPoints();
  double const R = pan->GetMeasurementRadius();
  double const rmin = pan->GetMinimumRadiusAroundListener();
  double const head = pan->GetListenerHeadRadius();
  std::mt19937 random(7);
  std::uniform_real_distribution<double> u(-1., 1.);
  std::vector<std::vector<double>> sources;
  for (int trial = 0; trial < 300; ++trial) {
    double const scale = (trial % 3 == 0 ? 0.2 : trial % 3 == 1 ? 0.6 : 3.);
    sources.push_back({scale * u(random), scale * u(random), scale * u(random)});
  }
  // Horizontal positions typed at exactly the minimum radius: rounding puts
  // some a hair outside it, where lifting them would take a negative root.
  for (int a = 0; a < 360; a += 5) {
    sources.push_back({static_cast<float>(0.2 * std::cos(a * pi / 180.)),
                       static_cast<float>(0.2 * std::sin(a * pi / 180.)), 0.});
  }
  for (std::size_t trial = 0; trial < sources.size(); ++trial) {
    double s[3] = {sources[trial][0], sources[trial][1], sources[trial][2]};
    pan->SetSourcePosition(0, CartesianVector(s[0], s[1], s[2]), false);
    double const d = std::sqrt(s[0] * s[0] + s[1] * s[1] + s[2] * s[2]);
    if (d <= rmin) s[2] = std::sqrt(std::max(0., rmin * rmin - s[0] * s[0] - s[1] * s[1]));
    for (int ear = 0; ear < 2; ++ear) {
      double const e[3] = {ear == 0 ? -head : head, 0., 0.};
      double const v[3] = {s[0] - e[0], s[1] - e[1], s[2] - e[2]};
      double const a = v[0] * v[0] + v[1] * v[1] + v[2] * v[2];
      double const b = 2. * (v[0] * e[0]);
      double const c = e[0] * e[0] - R * R;
      double const t = (-b + std::sqrt(b * b - 4. * a * c)) / (2. * a);
      double const q[3] = {e[0] + t * v[0], e[1] + t * v[1], e[2] + t * v[2]};
      double best = 1e30;
      for (Zorv::HrtfPoint const& p : all) {
        double const dx = p.position.x - q[0], dy = p.position.y - q[1], dz = p.position.z - q[2];
        best = std::min(best, dx * dx + dy * dy + dz * dz);
      }
      Zorv::HrtfPoint const& chosen = ear == 0 ? pan->GetLeftPoint(0) : pan->GetRightPoint(0);
      double const dx = chosen.position.x - q[0], dy = chosen.position.y - q[1],
                   dz = chosen.position.z - q[2];
      EXPECT_NEAR(dx * dx + dy * dy + dz * dz, best, 1e-3 * best + 1e-4)
          << "trial " << trial << " ear " << ear;
    }
  }
  // Without the per-ear choice both ears share the source's own point.
  pan->EnableCrossEarsHrtfSelection(false);
  pan->SetSourcePosition(0, CartesianVector(0.1f, 0.05f, 0.f), false);
  EXPECT_EQ(pan->GetLeftPoint(0).index, pan->GetRightPoint(0).index);
}

// Sources at the centre, at each ear, on and inside the minimum radius
// (horizontal positions typed at exactly 0.2 m among them): finite points,
// gains no larger than at the minimum radius, finite output.
TEST(BinauralPanningNearfield, SourcesAtTheHeadGiveFiniteBoundedOutput) {
  std::unique_ptr<BinauralPanningNearfield> pan(made());
  float const head = pan->GetListenerHeadRadius();
  std::vector<CartesianVector> places = {
      CartesianVector(0.f, 0.f, 0.f), CartesianVector(-head, 0.f, 0.f),
      CartesianVector(head, 0.f, 0.f), CartesianVector(0.f, 0.f, -0.05f)};
  for (int a = 0; a < 360; a += 5) {
    places.emplace_back(0.2f * std::cos(a * 0.017453292f), 0.2f * std::sin(a * 0.017453292f), 0.f);
  }
  for (bool perEar : {false, true}) {
    pan->EnableGainsCorrection(perEar);
    pan->SetListenerHeadRadius(perEar ? 0.3f : 0.0875f);
    EXPECT_GT(pan->GetMinimumRadiusAroundListener(), pan->GetListenerHeadRadius());
    float const bound = pan->GetMeasurementRadius() / pan->GetMinimumRadiusAroundListener();
    if (perEar) places.emplace_back(-0.3f, 0.f, 0.f);
    for (CartesianVector const& p : places) {
      pan->SetSourcePosition(0, p, false);
      for (Zorv::HrtfPoint const* point : {&pan->GetLeftPoint(0), &pan->GetRightPoint(0)}) {
        ASSERT_FALSE(point->coefficients.empty()) << p.x << " " << p.y << " " << p.z;
      }
      EXPECT_LE(pan->GetLeftGain(0), bound * 1.0001f);
      EXPECT_LE(pan->GetRightGain(0), bound * 1.0001f);
      Runner run(*pan, 64, 300.);
      for (int b = 0; b < 6; ++b) {
        run.run();
        for (unsigned int k = 0; k < 64; ++k) {
          ASSERT_TRUE(std::isfinite(run.left[k]) && std::isfinite(run.right[k]));
          ASSERT_LT(std::fabs(run.left[k]) + std::fabs(run.right[k]), 4.f * bound);
        }
      }
    }
  }
}

// From 2 m to 0.2 m in a second, the position sent every block: on a 250 Hz
// sine no sample steps further than the sine's slope times its level allows,
// with the margin of the direct renderer's sweep (1.5), whatever the block.
TEST(BinauralPanningNearfield, AnApproachNeverStepsWhateverTheBlockSize) {
  double const f = 250.;
  double const slope = 2. * pi * f / rate;
  std::string const set = writeGainSet("approach.near", 2.f, 0.5f);
  for (unsigned int block : {16u, 64u, 512u}) {
    std::unique_ptr<BinauralPanningNearfield> pan(made(1, block));
    ASSERT_TRUE(pan->LoadCompensationFilters(set.c_str()));
    pan->EnableGainsCorrection(true);
    CartesianVector const direction(0.6f, 0.8f, 0.f);
    pan->SetSourcePosition(0, CartesianVector(1.2f, 1.6f, 0.f), true);
    Runner r(*pan, block, f);
    std::vector<float> left, right;
    long long const total = static_cast<long long>(1.3 * rate);
    while (r.n < total) {
      double const t = std::min(1., static_cast<double>(r.n) / rate);
      float const d = static_cast<float>(2. - 1.8 * t);
      pan->SetSourcePosition(0, CartesianVector(direction.x * d, direction.y * d, 0.f), false);
      r.run();
      left.insert(left.end(), r.left.begin(), r.left.end());
      right.insert(right.end(), r.right.begin(), r.right.end());
    }
    SCOPED_TRACE(::testing::Message() << "block " << block);
    int const window = static_cast<int>(rate / f) + 1;
    for (std::vector<float> const* y : {&left, &right}) {
      std::vector<float> const& v = *y;
      int const size = static_cast<int>(v.size());
      float worst = 0.f;
      for (int k = 0; k < size; ++k) ASSERT_TRUE(std::isfinite(v[k])) << k;
      for (int k = 4800; k < size; ++k) {
        float peak = 0.f;
        for (int j = std::max(0, k - window); j < std::min(size, k + window); ++j) {
          peak = std::max(peak, std::fabs(v[j]));
        }
        float const step = std::fabs(v[k] - v[k - 1]);
        worst = std::max(worst, step / (static_cast<float>(slope) * peak + 1e-4f));
      }
      EXPECT_LT(worst, 1.5f);
    }
  }
  std::remove(set.c_str());
}

// A message that changes neither ear's point nor filter starts no fade: the
// output is, bit for bit, that of a source that stayed.
TEST(BinauralPanningNearfield, AMessageThatChangesNoFilterStartsNoFade) {
  std::string const set = writeGainSet("still.near", 1.5f, 1.5f);
  BinauralPanningNearfield still(1, 2), moved(1, 2);
  for (BinauralPanningNearfield* p : {&still, &moved}) {
    p->Configure(rate, 64, true);
    ASSERT_TRUE(p->LoadCompensationFilters(set.c_str()));
    p->EnableDistanceAttenuation(false);
    p->SetSourcePosition(0, CartesianVector(0.3f, 0.4f, 0.f), true);
  }
  Runner a(still, 64, 440.), b(moved, 64, 440.);
  for (int k = 0; k < 30; ++k) {
    moved.SetSourcePosition(0, CartesianVector(0.3f, 0.4f, 0.f), false);
    a.run();
    b.run();
    ASSERT_EQ(a.left, b.left) << k;
    ASSERT_EQ(a.right, b.right) << k;
  }
  std::remove(set.c_str());
}

// Within the set's reach its filters are heard; beyond it the source goes
// back to no compensation rather than keeping the last one it had.
TEST(BinauralPanningNearfield, CompensationAppliesInsideItsReachOnly) {
  std::string const set = writeGainSet("reach.near", 4.f, 0.25f);
  std::unique_ptr<BinauralPanningNearfield> with(made()), without(made());
  ASSERT_TRUE(with->LoadCompensationFilters(set.c_str()));
  EXPECT_EQ(with->GetNearfieldFilterType(), Zorv::BinauralPanning::BiquadFiltering);
  for (float d : {0.5f, 1.5f, 0.5f}) {
    std::pair<double, double> levels[2];
    int k = 0;
    for (BinauralPanningNearfield* p : {with.get(), without.get()}) {
      p->SetSourcePosition(0, CartesianVector(0.f, d, 0.f), false);
      Runner run(*p, 64, 400.);
      levels[k++] = run.rms();
    }
    double const l = levels[0].first / levels[1].first;
    double const r = levels[0].second / levels[1].second;
    EXPECT_NEAR(l, d < 1.f ? 4. : 1., 1e-3) << d;
    EXPECT_NEAR(r, d < 1.f ? 0.25 : 1., 1e-3) << d;
  }
  // Switched off, the filters are not heard.
  with->EnableNearfieldFilters(false);
  std::remove(set.c_str());
}

TEST(BinauralPanningNearfield, CompensationFilesItCannotUseAreRefusedAndTheSetStays) {
  std::string const good = writeGainSet("good.near", 2.f, 2.f);
  std::string const binaural = writeGainSet("binaural.near", 2.f, 2.f, Zorv::Binaural);
  std::unique_ptr<BinauralPanningNearfield> pan(made());
  EXPECT_EQ(pan->GetCompensationFiltersInfo(), nullptr);
  ASSERT_TRUE(pan->LoadCompensationFilters(good.c_str()));
  EXPECT_FALSE(pan->LoadCompensationFilters(binaural.c_str()));
  EXPECT_THROW(pan->LoadCompensationFilters("/nonexistent/set.near"), nolardsp::Exception);
  EXPECT_THROW(pan->LoadCompensationFilters("set.hrtf"), nolardsp::Exception);
  ASSERT_NE(pan->GetCompensationFiltersInfo(), nullptr);
  EXPECT_EQ(pan->GetCompensationFiltersInfo()->numPoints, 36u);
  EXPECT_EQ(pan->GetCompensationFiltersInfo()->hrtfType, Zorv::NearfieldCompensationFilter);
  std::remove(good.c_str());
  std::remove(binaural.c_str());
}

// Blocks with sources moving, gains ramping, fades running and a new
// compensation set fading in: no allocation in any of them.
TEST(BinauralPanningNearfield, ProcessAllocatesNothing) {
  std::string const set = writeGainSet("alloc.near", 2.f, 0.5f);
  BinauralPanningNearfield pan(8, 2);
  pan.Configure(rate, 64, true);
  std::vector<float> in(64, 0.1f), l(64), r(64);
  std::vector<float*> ins(8, in.data());
  float* outs[] = {l.data(), r.data()};
  for (int round = 0; round < 2; ++round) {
    for (int b = 0; b < 200; ++b) {
      float const d = 0.1f + 0.01f * static_cast<float>(b % 150);
      pan.SetSourcePosition(
          b % 8, CartesianVector(d * std::sin(b * 0.37f), d * std::cos(b * 0.37f), 0.f), false);
      zorvtest::AllocationCounter counter;
      pan.Process(outs, ins.data(), 64, nolardsp::allActiveInputs);
      pan.ProcessAdding(outs, ins.data(), 64, nolardsp::allActiveInputs);
      ASSERT_EQ(counter.Count(), 0u) << "block " << b;
    }
    ASSERT_TRUE(pan.LoadCompensationFilters(set.c_str()));
  }
  std::remove(set.c_str());
}

}  // namespace

namespace {

// The low-frequency level difference between the ears for a source at 90
// degrees, near ear over far ear, with the built-in compensation set and the
// gains correction: within 3 dB of the rigid sphere's (radius 0.0875 m),
// whose series gives 9.62, 4.92 and 2.69 dB at 300 Hz for 0.25, 0.5 and 1 m.
TEST(BinauralPanningNearfield, TheBuiltInSetGivesTheSpheresNearFieldLevelDifference) {
  double const sphere[][2] = {{0.25, 9.62}, {0.5, 4.92}, {1.0, 2.69}};
  for (char const* name : {"kemar", "KEMAR"}) {
    std::unique_ptr<BinauralPanningNearfield> pan(made());
    ASSERT_TRUE(pan->LoadCompensationFilters(name));
    ASSERT_NE(pan->GetCompensationFiltersInfo(), nullptr);
    EXPECT_EQ(pan->GetCompensationFiltersInfo()->hrtfType, Zorv::NearfieldCompensationFilter);
  }
  std::unique_ptr<BinauralPanningNearfield> pan(made());
  ASSERT_TRUE(pan->LoadCompensationFilters("kemar"));
  pan->EnableGainsCorrection(true);
  for (auto const& s : sphere) {
    pan->SetSourcePosition(0, CartesianVector(static_cast<float>(s[0]), 0.f, 0.f), false);
    Runner run(*pan, 64, 300.);
    std::pair<double, double> const level = run.rms(60, 75);
    double const ild = 20. * std::log10(level.second / level.first);
    EXPECT_NEAR(ild, s[1], 3.) << s[0] << " m";
    std::printf("[ info ] %.2f m: level difference %.2f dB, sphere %.2f dB\n", s[0], ild, s[1]);
  }
}

}  // namespace

namespace {

// One thread loads HRTF and compensation sets over and over while another
// runs blocks: every block is finite and the loads all succeed.
TEST(BinauralPanningNearfield, LoadingWhileBlocksRunIsSafe) {
  std::string const set = writeGainSet("threads.near", 2.f, 0.5f);
  BinauralPanningNearfield pan(4, 2);
  pan.Configure(rate, 64, true);
  std::atomic<bool> stop(false), allFinite(true);
  std::atomic<long> blocks(0);
  std::thread audio([&] {
    std::vector<float> in(64), l(64), r(64);
    std::vector<float*> ins(4, in.data());
    float* outs[] = {l.data(), r.data()};
    long n = 0;
    while (!stop.load()) {
      for (int k = 0; k < 64; ++k) in[k] = std::sin(0.05f * static_cast<float>(n++));
      pan.Process(outs, ins.data(), 64, nolardsp::allActiveInputs);
      for (int k = 0; k < 64; ++k) {
        if (!std::isfinite(l[k]) || !std::isfinite(r[k])) allFinite = false;
      }
      ++blocks;
    }
  });
  for (int round = 0; round < 6; ++round) {
    EXPECT_TRUE(pan.LoadCompensationFilters(round % 2 == 0 ? "kemar" : set.c_str()));
    EXPECT_TRUE(pan.LoadFromFile("kemar"));
    for (int k = 0; k < 40; ++k) {
      float const d = 0.1f + 0.05f * static_cast<float>(k % 30);
      pan.SetSourcePosition(
          k % 4, CartesianVector(d * std::sin(k * 0.7f), d * std::cos(k * 0.7f), 0.f), false);
    }
    pan.EnableGainsCorrection(round % 2 == 0);
    pan.SetFilterCrossFadeTime(round % 3 == 0 ? 0.f : 5.f);
  }
  stop = true;
  audio.join();
  EXPECT_TRUE(allFinite.load());
  EXPECT_GT(blocks.load(), 0);
  std::remove(set.c_str());
}

}  // namespace
