#include "ZorvEqualizerChannel.h"

namespace Zorv {

EqualizerChannel::EqualizerChannel(unsigned int numCascades_)
    : SignalProcessing(1, 1, DefaultSampleRate, 512),
      numCascades(numCascades_),
      frequencyResponses(numCascades_),
      fadedFilters(numCascades_),
      sectionCoefficients(6 * numCascades_, 0.0),
      cascadeCoefficients(4 * numCascades_ + 1, 0.f) {
  fadedFilters.SetSamplerate(samplerate);
  fadedFilters.SetMaxBlockSize(static_cast<unsigned int>(maxBlockSize));
  frequencyResponses.SetSamplerate(samplerate);
  updateFilterTaps(true);
}

EqualizerChannel::~EqualizerChannel() = default;

void EqualizerChannel::Process(float* output, float* input, unsigned long numSamples, bool adding) {
  fadedFilters.ProcessBlock(output, input, numSamples, adding);
}

void EqualizerChannel::Process(float** outputs, float** inputs, unsigned long numSamples,
                               short const* activeInputs) {
  if (activeInputs[0] == 0) return;
  fadedFilters.ProcessBlock(outputs[0], inputs[0], numSamples, false);
}

void EqualizerChannel::SetFreq(unsigned int section, float hertz, bool immediately) {
  frequencyResponses.SetFreq(section, hertz);
  updateFilterTaps(immediately);
}

void EqualizerChannel::SetQ(unsigned int section, float q, bool immediately) {
  frequencyResponses.SetQ(section, q);
  updateFilterTaps(immediately);
}

void EqualizerChannel::SetdBGain(unsigned int section, float decibels, bool immediately) {
  frequencyResponses.SetdBGain(section, decibels);
  updateFilterTaps(immediately);
}

void EqualizerChannel::SetFilterType(unsigned int section, SecondOrderFilters::Type const& type,
                                     bool immediately) {
  frequencyResponses.SetFilterType(section, type);
  updateFilterTaps(immediately);
}

void EqualizerChannel::SetDoubleShelving(unsigned int section, float lowGain, float midGain,
                                         float highGain, float lowFrequency, float highFrequency,
                                         bool immediately) {
  frequencyResponses.SetDoubleShelving(section, lowGain, midGain, highGain, lowFrequency,
                                       highFrequency);
  updateFilterTaps(immediately);
}

void EqualizerChannel::SetCrossFadeTime(float milliseconds) {
  fadedFilters.SetCrossFadeTime(milliseconds);
}

void EqualizerChannel::SetCrossFadeType(char const* name) {
  fadedFilters.SetCrossFadeType(name);
}

void EqualizerChannel::SetSamplerate(float samplerate_) {
  if (!(samplerate_ > 0.f)) return;
  samplerate = samplerate_;
  fadedFilters.SetSamplerate(samplerate);
  frequencyResponses.SetSamplerate(samplerate);
  updateFilterTaps(true);
}

void EqualizerChannel::SetMaxBlockSize(unsigned int maxBlockSize_) {
  maxBlockSize = maxBlockSize_;
  fadedFilters.SetMaxBlockSize(maxBlockSize_);
}

void EqualizerChannel::Clear() {
  fadedFilters.Clear();
}

void EqualizerChannel::updateFilterTaps(bool immediately) {
  frequencyResponses.GetCoefficients(sectionCoefficients);
  rearrangeCoefficientsForZorvBiquad();
  fadedFilters.SetCoefficients(cascadeCoefficients.data(), immediately);
}

void EqualizerChannel::rearrangeCoefficientsForZorvBiquad() {
  BiquadCascadeFrequencyResponse::RearrangeForCascade(sectionCoefficients.data(), numCascades,
                                                      cascadeCoefficients.data());
}

}  // namespace Zorv
