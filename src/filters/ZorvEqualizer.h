#pragma once

#include <vector>

#include "NolarSignalProcessing.h"
#include "ZorvEqualizerChannel.h"

namespace Zorv {

// As many equalizer channels as inputs and outputs: channel k filters input k
// into output k. Setters address a channel and a section; an index out of
// range does nothing.
//
// Threads: as EqualizerChannel.
class Equalizer : public nolardsp::SignalProcessing {
 public:
  Equalizer(unsigned int numChannels, unsigned int numCascades);
  ~Equalizer() override;
  Equalizer(Equalizer const&) = delete;
  Equalizer& operator=(Equalizer const&) = delete;

  // Every channel; an inactive (or null) input leaves its output untouched.
  void Process(float** outputs, float** inputs, unsigned long numSamples,
               short const* activeInputs) override;

  void SetFreq(unsigned int channel, unsigned int section, float hertz, bool immediately = false);
  void SetQ(unsigned int channel, unsigned int section, float q, bool immediately = false);
  void SetdBGain(unsigned int channel, unsigned int section, float decibels,
                 bool immediately = false);
  void SetFilterType(unsigned int channel, unsigned int section,
                     SecondOrderFilters::Type const& type, bool immediately = false);
  void SetCrossFadeTime(float milliseconds);
  void SetCrossFadeType(char const* name);

  void SetSamplerate(float samplerate) override;
  void SetMaxBlockSize(unsigned int maxBlockSize) override;
  void Clear() override;

  unsigned int GetNumChannels() const { return static_cast<unsigned int>(channels.size()); }
  EqualizerChannel& GetChannel(unsigned int channel) { return *channels[channel]; }

 private:
  std::vector<EqualizerChannel*> channels;
};

}  // namespace Zorv
