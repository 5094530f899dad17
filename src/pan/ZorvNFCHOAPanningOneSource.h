#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

#include "NolarCartesianVector.h"
#include "NolarSignalMatrix.h"
#include "NolarSignalProcessing.h"
#include "ZorvHOAPanning.h"
#include "ZorvNFCHOAFilterBank.h"
#include "ZorvNFCHOAHighPassFilterBank.h"

namespace Zorv {

// The signal chain of one source of a near-field compensated encoder: the
// input, scaled by 1/4 for headroom, through the near-field filter of each
// degree (optionally the high-pass of each degree), scaled back by 4, then
// spread over the components by the encoding gains of the source's direction
// (degree l feeds its 2l + 1 components in 3-D, its two in 2-D), with ramps.
// The 2-D and 3-D chains differ only in the encoder and the high-pass law,
// chosen by the dimension.
//
// A source that has no position yet has all gains 0, and is silent.
//
// Threads: SetSourcePosition, SetSpeakerRadius and UseHighPassFilters run on
// the message thread (filter redesigns and gains are made there and handed
// over through the cascades' pending sets and the matrix's next gains).
// ProcessAdding allocates nothing. SetSamplerate, SetMaxBlockSize and Clear
// are set-up calls.
class NFCHOAPanningOneSource : public nolardsp::SignalProcessing {
 public:
  NFCHOAPanningOneSource(unsigned int order, unsigned int dimension);
  ~NFCHOAPanningOneSource() override;

  NFCHOAPanningOneSource(NFCHOAPanningOneSource const&) = delete;
  NFCHOAPanningOneSource& operator=(NFCHOAPanningOneSource const&) = delete;

  static unsigned int NumComponents(unsigned int order, unsigned int dimension) {
    return dimension == 2 ? 2 * order + 1 : (order + 1) * (order + 1);
  }

  void Process(float** outputs, float** inputs, unsigned long numSamples,
               short const* activeInputs) override;
  // Adds the source's components into outputs (one per component).
  void ProcessAdding(float** outputs, float const* input, unsigned long numSamples);
  void SetSamplerate(float samplerate) override;
  void SetMaxBlockSize(unsigned int maxBlockSize) override;
  void Clear() override;

  // The filters follow the three-dimensional distance, in 2-D as in 3-D; the
  // gains follow the direction. A distance not a finite number changes no
  // filter.
  void SetSourcePosition(nolardsp::CartesianVector const& position);
  // Gains again from the last position (after a change of convention).
  void Refresh();
  void SetSpeakerRadius(float radius) { filterBank->SetSpeakerRadius(radius); }
  void UseHighPassFilters(bool use) { useHighPass.store(use, std::memory_order_relaxed); }
  void SetInterpolationTime(float milliseconds) { matrix->SetRampTime(milliseconds); }

  HOAPanning& GetEncoder() const { return *encoder; }
  NFCHOAFilterBank& GetFilterBank() const { return *filterBank; }
  NFCHOAHighPassFilterBank& GetHighPassBank() const { return *highPassBank; }
  nolardsp::SignalMatrix& GetMatrix() const { return *matrix; }

 private:
  std::uint32_t order;
  std::uint32_t dimension;
  std::vector<float> inputBuffer;
  std::unique_ptr<NFCHOAFilterBank> filterBank;
  std::unique_ptr<NFCHOAHighPassFilterBank> highPassBank;
  std::unique_ptr<Pan> encoderOwner;
  HOAPanning* encoder;
  std::unique_ptr<nolardsp::SignalMatrix> matrix;
  std::vector<std::vector<float>> degreeBuffer;
  std::vector<float*> degrees;
  std::vector<float*> outputsAtOffset;
  std::vector<short> allActive;
  std::atomic<bool> useHighPass;
  // Audio thread: the high-pass ran in the last block. Switched on again, it
  // starts from rest rather than from the memory of its last use.
  bool highPassRan;
  bool hasPosition;
  nolardsp::CartesianVector position;
};

}  // namespace Zorv
