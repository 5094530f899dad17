#pragma once

#include <atomic>
#include <memory>
#include <vector>

#include "ZorvBinauralPanning.h"
#include "ZorvHrtfFiltering.h"

namespace Zorv {

// Full HRTF filtering per source, for the direct sound: each source runs
// through the measured filter pair of the nearest direction of the set, with
// its ITD in two delay lines (biquad sets) or inside the taps (FIR sets).
//
// A new set (or a new FIR method) needs filters of another kind or size. They
// are built on the message thread as a whole new bank of voices, already on
// their positions, and handed to the audio thread, which takes the bank at a
// block boundary and cross-fades from the old one over the filter fade time;
// the old bank goes back to the message thread, which frees it. The audio
// thread takes no lock and frees nothing.
//
// Threads: Process and ProcessAdding run on the audio thread and allocate
// nothing. Position and listener changes, loads, the FIR method, fade time
// and type run on one message thread. SetNumInputs, SetSamplerate,
// SetMaxBlockSize and Clear size memory and must not race with a block.
class BinauralPanningDirect : public BinauralPanning {
 public:
  // 2 outputs, otherwise a NullPanning.
  static Pan* Create(unsigned int numInputs, unsigned int numOutputs);

  BinauralPanningDirect(unsigned int numInputs, unsigned int numOutputs);
  ~BinauralPanningDirect() override;

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
  // file: that file. Anything else, or a file that is not a binaural biquad
  // or FIR set, gives false and keeps the set in use. Errors of reading pass
  // out as nolardsp::Exception, the set in use kept.
  bool LoadFromFile(char const* path) override;
  void SetFilterCrossFadeTime(float milliseconds) override;
  void SetCrossFadeType(char const* name) override;
  void SetFIRFiltersImplementationMethod(nolardsp::Filter::FIRImplementation method) override;
  using BinauralPanning::SetFIRFiltersImplementationMethod;
  // Heard at once when the ITD comes from a model.
  void SetListenerHeadRadius(float metres) override;
  HrtfHeaderInfos const* GetHrtfHeaderInfos() const override;

  // The set in use (message thread).
  Hrtf const& GetHrtf() const { return *hrtf; }
  HRTFFilterType GetFilterType() const { return filterType; }
  // True while the built-in set is in use.
  bool IsDefaultSet() const { return defaultSet; }
  // True, once after each load or change of rate, when the set in use was
  // made at another rate than the running one: the built-in set has tables
  // for some rates and a SOFA set is resampled on load, but any other file is
  // used as it is, its cues shifted by the ratio of the rates.
  bool TakeSampleRateNotice(unsigned int& setRate, unsigned int& runningRate);

 protected:
  void setSourceRelativePosition(unsigned int index, nolardsp::CartesianVector const& position,
                                 bool immediately) override;
  void forgetLastPoints() override;

 private:
  struct Voice {
    Voice(HRTFFilterType type);
    HrtfFiltering left;
    HrtfFiltering right;
    int lastPointIndex = -1;
  };

  // Every voice of one kind of filter; the unit handed over.
  struct Bank {
    std::vector<std::unique_ptr<Voice>> voices;
    // Samples of the fade from the bank before it.
    unsigned long fadeLength = 2;
  };

  Bank* makeBank(HRTFFilterType type, unsigned int numCoefficients, unsigned int numVoices) const;
  void setUpVoice(Voice& voice, HRTFFilterType type, unsigned int numCoefficients) const;
  // Builds a bank for the set and method in force, renders every source into
  // it at once and hands it over.
  void replaceBank(Hrtf* newHrtf, HRTFFilterType newType);
  // Message thread: frees the bank the audio thread has let go of.
  void collectRetired();
  // Only while no block runs: the newest bank becomes the one in use and
  // every other is freed.
  void settle();
  void takeHandover();
  void render(Bank& bank, float* left, float* right, float** inputs, unsigned long numSamples,
              short const* activeInputs);
  void renderAdding(Bank& bank, float* left, float* right, float** inputs, unsigned long numSamples,
                    short const* activeInputs);
  // Takes the set in use, and for a biquad set the interaural delay of each
  // point's filter pair.
  void adoptSet(Hrtf* set, bool builtIn);
  // Loads the built-in set for the running rate.
  Hrtf* makeDefaultSet() const;
  unsigned int runningRate() const;

  std::unique_ptr<Hrtf> hrtf;
  // Milliseconds, left minus right, per point of a biquad set: what the two
  // minimum-phase filters delay by themselves. Empty for an FIR set.
  std::vector<float> filterItds;
  unsigned int numCoefficients;
  HRTFFilterType filterType;
  nolardsp::Filter::FIRImplementation firImplementation;
  float crossFadeTime;
  std::string crossFadeType;
  float interpolationTime;
  bool defaultSet;
  // A SOFA file in use is loaded again, resampled, when the rate changes.
  std::string sofaPath;
  bool rateNoticeDue;

  // The bank that message-thread changes go to: the one in use, the one
  // waiting to be taken, or the one fading in.
  Bank* newest;
  // Audio thread (and settle): the bank heard, and the one fading in.
  Bank* current;
  Bank* incoming;
  unsigned long fadePosition;
  // Message thread to audio thread, and back.
  std::atomic<Bank*> pending;
  // Banks the audio thread has let go of; it takes a new bank only while one
  // of these is free, so that it never has to keep or free one itself.
  std::atomic<Bank*> retired[4];

  // Two outputs of one block of the incoming bank.
  std::vector<float> fadeLeft;
  std::vector<float> fadeRight;
};

}  // namespace Zorv
