// Cost of near-field compensated encoding against the plain encoder of the
// same order, in the same run (48 kHz, blocks of 64):
//   NfcHoaBlocks/0   8 sources at 0.5 m standing still, 3-D order 3;
//   NfcHoaBlocks/1   the same sources moving (distance and direction) every
//                    block; the moves are timed apart from the blocks.
// Counters: nfc_us_per_block, hoa_us_per_block, nfc_per_hoa, and for moving
// sources nfc_move_us_per_block (8 position messages) and hoa_move_us_per_block.
//   NfcHoaMessage/d/order   one position message that changes the distance,
//                    d = 3 (3-D) or 2 (2-D): message_us, and the plain
//                    encoder's message_us_hoa with their ratio.
// Times are the thread's processor time.
#include <benchmark/benchmark.h>

#include <time.h>

#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "NolarCartesianVector.h"
#include "NolarConstants.h"
#include "ZorvPan.h"

namespace {

using nolardsp::CartesianVector;

double threadSeconds() {
  timespec t;
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
  return static_cast<double>(t.tv_sec) + 1e-9 * static_cast<double>(t.tv_nsec);
}

struct Rig {
  std::unique_ptr<Zorv::Pan> pan;
  std::vector<std::vector<float>> in, out;
  std::vector<float*> ins, outs;

  Rig(char const* type, unsigned int sources, unsigned int outputs, unsigned int block)
      : pan(Zorv::Pan::Factory(sources, outputs, type, "direct")),
        in(sources, std::vector<float>(block)),
        out(outputs, std::vector<float>(block)) {
    pan->Configure(48000.f, block, true);
    for (unsigned int i = 0; i < sources; ++i) {
      for (unsigned int k = 0; k < block; ++k) in[i][k] = std::sin(0.01f * (i + 1) * k);
      ins.push_back(in[i].data());
    }
    for (auto& c : out) outs.push_back(c.data());
  }
  void block(unsigned int n) {
    pan->Process(outs.data(), ins.data(), n, nolardsp::allActiveInputs);
  }
};

CartesianVector place(unsigned int i, float time, bool moving) {
  float const a = 0.37f * static_cast<float>(i) + (moving ? (0.5f + 0.01f * i) * time : 0.f);
  float const r = moving ? 0.5f + 0.3f * std::sin(0.7f * time + static_cast<float>(i)) : 0.5f;
  return CartesianVector(r * std::cos(a), r * std::sin(a), 0.1f * r);
}

void NfcHoaBlocks(benchmark::State& state) {
  bool const moving = state.range(0) != 0;
  unsigned int const sources = 8, outputs = 16, block = 64, batch = 32;
  Rig nfc("nfchoa3d", sources, outputs, block);
  Rig hoa("hoa3d", sources, outputs, block);
  if (nfc.pan->GetNumOutputs() != outputs) {
    state.SkipWithError("nfchoa3d not built");
    return;
  }
  for (unsigned int i = 0; i < sources; ++i) {
    nfc.pan->SetSourcePosition(i, place(i, 0.f, false), false);
    hoa.pan->SetSourcePosition(i, place(i, 0.f, false), false);
  }
  for (int b = 0; b < 200; ++b) {
    nfc.block(block);
    hoa.block(block);
  }
  double nfcSeconds = 0., hoaSeconds = 0., nfcMove = 0., hoaMove = 0.;
  long blocks = 0;
  float time = 0.f;
  for (auto _ : state) {
    for (Rig* rig : {&nfc, &hoa}) {
      double move = 0., run = 0.;
      if (moving) {
        // Each block follows its own moves; both timed, apart.
        float t = time;
        for (unsigned int b = 0; b < batch; ++b) {
          t += 0.00133f;
          double const t0 = threadSeconds();
          for (unsigned int i = 0; i < sources; ++i) {
            rig->pan->SetSourcePosition(i, place(i, t, true), false);
          }
          double const t1 = threadSeconds();
          rig->block(block);
          double const t2 = threadSeconds();
          move += t1 - t0;
          run += t2 - t1;
        }
      } else {
        double const t1 = threadSeconds();
        for (unsigned int b = 0; b < batch; ++b) rig->block(block);
        run = threadSeconds() - t1;
      }
      (rig == &nfc ? nfcSeconds : hoaSeconds) += run;
      (rig == &nfc ? nfcMove : hoaMove) += move;
    }
    time += batch * 0.00133f;
    blocks += batch;
  }
  double const n = static_cast<double>(blocks);
  state.counters["nfc_us_per_block"] = 1e6 * nfcSeconds / n;
  state.counters["hoa_us_per_block"] = 1e6 * hoaSeconds / n;
  state.counters["nfc_per_hoa"] = nfcSeconds / hoaSeconds;
  if (moving) {
    state.counters["nfc_move_us_per_block"] = 1e6 * nfcMove / n;
    state.counters["hoa_move_us_per_block"] = 1e6 * hoaMove / n;
  }
}
BENCHMARK(NfcHoaBlocks)->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);

void NfcHoaMessage(benchmark::State& state) {
  unsigned int const dimension = static_cast<unsigned int>(state.range(0));
  unsigned int const order = static_cast<unsigned int>(state.range(1));
  unsigned int const outputs = dimension == 2 ? 2 * order + 1 : (order + 1) * (order + 1);
  Rig nfc(dimension == 2 ? "nfchoa2d" : "nfchoa3d", 1, outputs, 64);
  Rig hoa(dimension == 2 ? "hoa2d" : "hoa3d", 1, outputs, 64);
  if (nfc.pan->GetNumOutputs() != outputs) {
    state.SkipWithError("not built for this count");
    return;
  }
  double nfcSeconds = 0., hoaSeconds = 0.;
  long messages = 0;
  float time = 0.f;
  for (auto _ : state) {
    for (Rig* rig : {&nfc, &hoa}) {
      float t = time;
      double const t0 = threadSeconds();
      for (int k = 0; k < 16; ++k) {
        t += 0.01f;
        rig->pan->SetSourcePosition(0, place(0, t, true), false);
      }
      (rig == &nfc ? nfcSeconds : hoaSeconds) += threadSeconds() - t0;
      // Let the pending sets be taken up, as the audio thread would.
      rig->block(64);
    }
    time += 16 * 0.01f;
    messages += 16;
  }
  state.counters["message_us"] = 1e6 * nfcSeconds / static_cast<double>(messages);
  state.counters["message_us_hoa"] = 1e6 * hoaSeconds / static_cast<double>(messages);
  state.counters["nfc_per_hoa"] = nfcSeconds / hoaSeconds;
}
BENCHMARK(NfcHoaMessage)
    ->Args({3, 1})
    ->Args({3, 3})
    ->Args({3, 10})
    ->Args({2, 26})
    ->Args({2, 63})
    ->Unit(benchmark::kMicrosecond);

}  // namespace
