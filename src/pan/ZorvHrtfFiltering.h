#pragma once

#include <atomic>
#include <memory>
#include <string>
#include <vector>

#include "NolarDelay.h"
#include "NolarFadedBiquadCascade.h"
#include "NolarFadedFirFilter.h"
#include "NolarFilter.h"
#include "NolarSignalProcessing.h"
#include "ZorvBinauralPanning.h"

namespace Zorv {

// One ear of a voice: an optional delay line carrying the ear's share of the
// ITD, feeding a filter that changes without a click (a cross-faded biquad
// cascade, or a cross-faded FIR whose taps hold the delay themselves).
//
// Only the filter of the type in use exists; changing the type makes it.
//
// Threads: Process and ProcessAdding run on the audio thread and allocate
// nothing. SetCoefficients(..., false) and SetDelay(..., false) may come from
// a message thread while a block runs: the filter takes the new set at the
// next block and fades to it, the delay glides. Everything that sizes memory
// (SetFilterType, SetNumCoefficients, SetMaxBlockSize, SetSamplerate, the FIR
// method) must not race with a block; the renderers call them only on a
// chain that is not yet running.
class HrtfFiltering : public nolardsp::SignalProcessing {
 public:
  static float const DefaultCrossFadeTime;                             // 5 ms
  static BinauralPanning::HRTFFilterType const DefaultHrtfFilterType;  // biquads
  static nolardsp::Delay::InterpolationMode const DefaultInterpolationModeForDelayLines;
  // Glide of the delay line in biquad mode, milliseconds.
  static float const DefaultDelayInterpolationTime;  // 30
  static unsigned int const DefaultNumCascades;      // 6
  static unsigned int const DefaultFilterOrder;      // 511

  explicit HrtfFiltering(BinauralPanning::HRTFFilterType type = DefaultHrtfFilterType,
                         bool needToProcessITD = true);
  ~HrtfFiltering() override;

  // The same type does nothing. Otherwise makes the filter of the type and
  // configures it at the present rate and block size.
  void SetFilterType(BinauralPanning::HRTFFilterType type);
  BinauralPanning::HRTFFilterType GetFilterType() const { return filterType; }
  // n counts every value of one ear's filter: (n - 1) / 4 biquad sections
  // after the gain, or n FIR taps.
  void SetNumCoefficients(unsigned int n);
  // Faded to from the next block, or at once with immediately (which must not
  // race with a block).
  void SetCoefficients(float const* values, bool immediately);
  // Milliseconds; used in biquad mode only (an FIR carries its delay). Cut to
  // what the line holds, so that the line never grows.
  void SetDelay(float milliseconds, bool immediately);
  void SetInterpolationTime(float milliseconds);
  void SetCrossFadeTime(float milliseconds);
  // "linear", "cosine", "squareCosine"; another word is "linear".
  void SetCrossFadeType(char const* name);
  void SetFIRFiltersImplementationMethod(nolardsp::Filter::FIRImplementation method);
  void SetNeedToProcessITD(bool process) { needToProcessITD = process; }

  void SetSamplerate(float samplerate) override;
  void SetMaxBlockSize(unsigned int maxBlockSize) override;
  void Clear() override;

  void Process(float* output, float const* input, unsigned long numSamples);
  void ProcessAdding(float* output, float const* input, unsigned long numSamples);
  // Channel 0; an inactive input gives silence and leaves the chain's state
  // as it was.
  void Process(float** outputs, float** inputs, unsigned long numSamples,
               short const* activeInputs) override;

  unsigned int GetNumCascades() const { return numCascades; }
  unsigned int GetFilterOrder() const { return filterOrder; }
  // The line as it stands; a delay asked for is in it after the next block.
  nolardsp::Delay const& GetDelay() const { return delay; }

 private:
  void run(float* output, float const* input, unsigned long numSamples, bool adding);
  // Audio thread, at the head of a block: the delay and glide asked for since.
  void takeDelayRequests();
  void makeFilter();

  BinauralPanning::HRTFFilterType filterType;
  unsigned int numCascades;
  unsigned int filterOrder;
  nolardsp::Delay delay;
  std::unique_ptr<nolardsp::FadedBiquadCascade> biquadFilter;
  std::unique_ptr<nolardsp::FadedFirFilter> firFilter;
  bool needToProcessITD;
  std::vector<float> delayedInput;
  float crossFadeTime;
  std::string crossFadeType;
  nolardsp::Filter::FIRImplementation firImplementation;
  // A new delay (and glide time) from a message thread, taken up by the
  // audio thread at the head of its next block; the latest wins.
  static constexpr unsigned int delayPending = 1u;
  static constexpr unsigned int delayJump = 2u;
  static constexpr unsigned int glidePending = 4u;
  std::atomic<float> delayTarget;
  std::atomic<float> delayGlide;
  std::atomic<unsigned int> delayRequests;
};

}  // namespace Zorv
