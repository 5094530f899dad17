#pragma once

#include <vector>

#include "NolarSignalProcessing.h"
#include "ZorvBiquadCascadeFrequencyResponse.h"
#include "ZorvFadedPrimedBiquadCascade.h"

namespace Zorv {

// One channel of equalisation: a cascade of designed second-order sections
// whose every change of parameter cross-fades, so that a moving cut-off does
// not click. The incoming cascade of a fade starts from the outgoing one's
// history. A new channel is a wire, set at once.
//
// Threads: the setters run on a message thread and hand the new cascade to the
// audio thread without a lock (taken up at the next block); with immediately
// true they swap at once and must not race with a block. Process allocates
// nothing; the constructor, SetSamplerate and SetMaxBlockSize size memory.
class EqualizerChannel : public nolardsp::SignalProcessing {
 public:
  explicit EqualizerChannel(unsigned int numCascades);
  ~EqualizerChannel() override;

  // One block from input to output (they may be the same run); with adding
  // the result is added to the output.
  void Process(float* output, float* input, unsigned long numSamples, bool adding = false);
  // Channel 0; an inactive input leaves the output untouched and holds the
  // filter where it is.
  void Process(float** outputs, float** inputs, unsigned long numSamples,
               short const* activeInputs) override;

  void SetFreq(unsigned int section, float hertz, bool immediately = false);
  void SetQ(unsigned int section, float q, bool immediately = false);
  void SetdBGain(unsigned int section, float decibels, bool immediately = false);
  void SetFilterType(unsigned int section, SecondOrderFilters::Type const& type,
                     bool immediately = false);
  void SetDoubleShelving(unsigned int section, float lowGain, float midGain, float highGain,
                         float lowFrequency, float highFrequency, bool immediately = false);
  void SetCrossFadeTime(float milliseconds);
  void SetCrossFadeType(char const* name);

  // Redesigns every section for the rate and takes the result at once: called
  // while no block runs.
  void SetSamplerate(float samplerate) override;
  void SetMaxBlockSize(unsigned int maxBlockSize) override;
  // Clears the signal memory; the designs stay.
  void Clear() override;

  unsigned int GetNumCascades() const { return numCascades; }
  BiquadCascadeFrequencyResponse const& GetFrequencyResponses() const { return frequencyResponses; }
  // The array last handed to the cascade: gain, then b1 b2 a1 a2 a section.
  std::vector<float> const& GetCascadeCoefficients() const { return cascadeCoefficients; }
  FadedPrimedBiquadCascade& GetFadedFilters() { return fadedFilters; }

 private:
  void updateFilterTaps(bool immediately);
  void rearrangeCoefficientsForZorvBiquad();

  unsigned int numCascades;
  BiquadCascadeFrequencyResponse frequencyResponses;
  FadedPrimedBiquadCascade fadedFilters;
  // Six numbers a section, kept in double so that the division into the
  // cascade's layout rounds only once.
  std::vector<double> sectionCoefficients;
  std::vector<float> cascadeCoefficients;
};

}  // namespace Zorv
