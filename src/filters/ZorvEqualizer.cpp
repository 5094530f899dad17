#include "ZorvEqualizer.h"

namespace Zorv {

Equalizer::Equalizer(unsigned int numChannels, unsigned int numCascades)
    : SignalProcessing(numChannels, numChannels, DefaultSampleRate, 512),
      channels(numChannels, nullptr) {
  for (auto& c : channels) c = new EqualizerChannel(numCascades);
}

Equalizer::~Equalizer() {
  for (auto* c : channels) delete c;
}

void Equalizer::Process(float** outputs, float** inputs, unsigned long numSamples,
                        short const* activeInputs) {
  for (unsigned int k = 0; k < channels.size(); ++k) {
    if (activeInputs[k] != 0 && inputs[k] != nullptr) {
      channels[k]->Process(outputs[k], inputs[k], numSamples);
    }
  }
}

void Equalizer::SetFreq(unsigned int channel, unsigned int section, float hertz, bool immediately) {
  if (channel < channels.size()) channels[channel]->SetFreq(section, hertz, immediately);
}

void Equalizer::SetQ(unsigned int channel, unsigned int section, float q, bool immediately) {
  if (channel < channels.size()) channels[channel]->SetQ(section, q, immediately);
}

void Equalizer::SetdBGain(unsigned int channel, unsigned int section, float decibels,
                          bool immediately) {
  if (channel < channels.size()) channels[channel]->SetdBGain(section, decibels, immediately);
}

void Equalizer::SetFilterType(unsigned int channel, unsigned int section,
                              SecondOrderFilters::Type const& type, bool immediately) {
  if (channel < channels.size()) channels[channel]->SetFilterType(section, type, immediately);
}

void Equalizer::SetCrossFadeTime(float milliseconds) {
  for (auto* c : channels) c->SetCrossFadeTime(milliseconds);
}

void Equalizer::SetCrossFadeType(char const* name) {
  for (auto* c : channels) c->SetCrossFadeType(name);
}

void Equalizer::SetSamplerate(float samplerate_) {
  if (!(samplerate_ > 0.f)) return;
  samplerate = samplerate_;
  for (auto* c : channels) c->SetSamplerate(samplerate_);
}

void Equalizer::SetMaxBlockSize(unsigned int maxBlockSize_) {
  maxBlockSize = maxBlockSize_;
  for (auto* c : channels) c->SetMaxBlockSize(maxBlockSize_);
}

void Equalizer::Clear() {
  for (auto* c : channels) c->Clear();
}

}  // namespace Zorv
