#pragma once

#include <atomic>
#include <memory>
#include <string>
#include <vector>

#include "NolarRamp.h"
#include "ZorvBinauralPanning.h"
#include "ZorvHrtfFiltering.h"
#include "ZorvVbap2DPairs.h"

namespace Zorv {

// Headphone rendering without steps between measured directions: the
// directions of the set's horizontal ring are virtual speakers, and each
// source is panned between the two that surround its azimuth, by constant
// power, through the filter pairs of both. Elevation is not rendered: a
// source above or below the ring sounds at its azimuth on the ring.
//
// Each source runs through four ear filters (the first speaker's left, the
// second's left, the first's right, the second's right) weighted by two gain
// ramps. A voice keeps a speaker in the slot that already holds it, so that a
// source passing a speaker changes only the filter of the quiet slot. Both
// slots carry the same interaural delay: the one of the source, its measured
// ITD interpolated between the two speakers.
//
// Every instance owns its ring, built from its own set (one speaker per
// azimuth). A new set is built with its voices on the message thread and
// handed to the audio thread at a block boundary, where it cross-fades in;
// the old voices go back to the message thread to be freed.
//
// Threads: Process and ProcessAdding run on the audio thread and allocate
// nothing. Position and listener changes, loads, fade time and type run on
// one message thread. SetNumInputs, SetSamplerate, SetMaxBlockSize and Clear
// size memory and must not race with a block.
class BinauralPanningContinuous : public BinauralPanning {
 public:
  // Gain of a virtual speaker of the pair: never below this, so that neither
  // filter of a pair is ever silent.
  static float const MinimumSpeakerGain;  // 0.1
  // Milliseconds of the gain ramps.
  static float const GainRampTime;  // 2

  // 2 outputs, otherwise a NullPanning.
  static Pan* Create(unsigned int numInputs, unsigned int numOutputs);

  BinauralPanningContinuous(unsigned int numInputs, unsigned int numOutputs);
  ~BinauralPanningContinuous() override;

  void Process(float** outputs, float** inputs, unsigned long numSamples,
               short const* activeInputs) override;
  // Adds each active source into both outputs, without the stereo level.
  void ProcessAdding(float** outputs, float** inputs, unsigned long numSamples,
                     short const* activeInputs) override;
  void SetSamplerate(float samplerate) override;
  void SetMaxBlockSize(unsigned int maxBlockSize) override;
  void Clear() override;
  void SetNumInputs(unsigned int numInputs) override;
  void SetInterpolationTime(float milliseconds) override;

  // "kemar" or the empty path: the built-in set; a .coll, .hrtf or .sofa
  // file: that file. A set that is not a binaural biquad or FIR set, or has
  // fewer than three directions on its horizontal ring, gives false and
  // keeps the set in use. Errors of reading pass out as nolardsp::Exception.
  bool LoadFromFile(char const* path) override;
  void SetFilterCrossFadeTime(float milliseconds) override;
  void SetCrossFadeType(char const* name) override;
  void SetFIRFiltersImplementationMethod(nolardsp::Filter::FIRImplementation method) override;
  using BinauralPanning::SetFIRFiltersImplementationMethod;
  void SetListenerHeadRadius(float metres) override;
  HrtfHeaderInfos const* GetHrtfHeaderInfos() const override;

  // The virtual speakers (message thread): unit vectors on the ring, sorted
  // by azimuth.
  unsigned int GetNumVirtualSpeakers() const { return static_cast<unsigned int>(ring.size()); }
  nolardsp::CartesianVector const& GetVirtualSpeaker(unsigned int k) const {
    return ring[k].position;
  }
  HRTFFilterType GetFilterType() const { return filterType; }

 protected:
  void setSourceRelativePosition(unsigned int index, nolardsp::CartesianVector const& position,
                                 bool immediately) override;
  void forgetLastPoints() override;

 private:
  struct Speaker {
    nolardsp::CartesianVector position;
    unsigned int point = 0;  // index into the set's points
  };

  struct Voice {
    explicit Voice(HRTFFilterType type);
    HrtfFiltering ears[4];
    // Audio thread only.
    nolardsp::Ramp gains[2];
    // Message thread to audio thread: the gains of both slots, and whether
    // the next block jumps to them.
    std::atomic<float> targets[2];
    std::atomic<bool> jump;
    // Message thread: the ring index each slot holds, -1 for none.
    int speakers[2] = {-1, -1};
  };

  struct Bank {
    std::vector<std::unique_ptr<Voice>> voices;
    unsigned long fadeLength = 2;
  };

  // The horizontal ring of a set: the points nearest to the plane, one a
  // distinct azimuth. Empty when fewer than three remain.
  static std::vector<Speaker> makeRing(Hrtf const& set);
  void adoptSet(Hrtf* set, std::vector<Speaker> newRing);
  Hrtf* makeDefaultSet() const;
  unsigned int runningRate() const;

  Bank* makeBank(unsigned int numVoices) const;
  void setUpVoice(Voice& voice) const;
  void replaceBank();
  void collectRetired();
  void settle();
  void takeHandover();
  void render(Bank& bank, float* left, float* right, float** inputs, unsigned long numSamples,
              short const* activeInputs);
  void renderAdding(Bank& bank, float* left, float* right, float** inputs, unsigned long numSamples,
                    short const* activeInputs);
  void sizeBuffers();

  std::unique_ptr<Hrtf> hrtf;
  bool defaultSet;
  std::vector<Speaker> ring;
  Vbap2DPairs pairs;
  std::vector<float> speakerGains;  // one a speaker, scratch of the message thread
  unsigned int numCoefficients;
  HRTFFilterType filterType;
  nolardsp::Filter::FIRImplementation firImplementation;
  float crossFadeTime;
  std::string crossFadeType;
  float interpolationTime;

  Bank* newest;
  Bank* current;
  Bank* incoming;
  unsigned long fadePosition;
  std::atomic<Bank*> pending;
  std::atomic<Bank*> retired[4];

  // Audio thread, one block each: the four filtered signals of a voice, the
  // two gain ramps, and the two outputs of the bank fading in.
  std::vector<float> work[4];
  std::vector<float> ramps[2];
  std::vector<float> fadeLeft;
  std::vector<float> fadeRight;
};

}  // namespace Zorv
