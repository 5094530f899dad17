#pragma once

#include <cstdint>
#include <vector>

#include "NolarFadedBiquadCascade.h"
#include "NolarSignalProcessing.h"

namespace Zorv {

// The Butterworth high-pass of order m that bounds the low-frequency boost of
// the near-field filter of degree m. Its cascade is sized for the order at
// construction ((m + 1) / 2 sections) and keeps that size; a new cut-off is
// cross-faded in over CrossFadeTime.
//
// Threads: updateTaps runs on a message thread (the design allocates there,
// the cascade does not); SetSamplerate is a set-up call that redesigns for
// the new rate and takes the taps at once. Process allocates nothing.
class NFCHOAHighPass : public nolardsp::SignalProcessing {
 public:
  static float const CrossFadeTime;  // 10 ms

  NFCHOAHighPass(unsigned int degree, unsigned int dimension);
  ~NFCHOAHighPass() override;

  void Process(float** outputs, float** inputs, unsigned long numSamples,
               short const* activeInputs) override;
  // output and input may be the same run.
  void Process(float* output, float const* input, unsigned long numSamples);
  void SetSamplerate(float samplerate) override;
  void SetMaxBlockSize(unsigned int maxBlockSize) override;
  void Clear() override;

  // The cut-off for a source at radius (already raised to MinRadius).
  static float CutOffFrequency(unsigned int degree, unsigned int dimension, float radius);
  // Designs for the radius unless it is the one in use.
  void SetSourceRadius(float radius);
  void updateTaps(float cutOffFrequency, bool immediately);

  float GetSourceRadius() const { return sourceRadius; }
  float GetCutOffFrequency() const { return cutOff; }
  nolardsp::FadedBiquadCascade& GetCascade() { return cascade; }

 private:
  std::uint32_t dimension;
  std::uint32_t degree;
  nolardsp::FadedBiquadCascade cascade;
  float sourceRadius;
  float cutOff;
  std::vector<float> taps;
};

}  // namespace Zorv
