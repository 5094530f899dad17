#pragma once

#include <atomic>
#include <memory>
#include <string>
#include <vector>

#include "NolarRamp.h"
#include "ZorvBinauralPanning.h"
#include "ZorvHrtfFiltering.h"
#include "ZorvHrtfPoint.h"

namespace Zorv {

class Hrtf;
class NearfieldCompensationFilters;

// HRTF rendering of sources close to the head. The set's filters hold for a
// source on the measurement sphere (2.08 m); nearer, each ear sees the source
// from its own direction and distance. Per source and ear this renderer picks
// the set's point where the line from the ear through the source meets the
// measurement sphere, gives the source a gain that grows as it nears (one per
// ear, optionally), can correct the delays, and runs a second, compensation
// filter per ear from a set of such filters (a .near file, or the built-in
// rigid-sphere set).
//
// A new HRTF set, compensation set or FIR method needs filters of another
// kind or size: they are built on the message thread as a whole new bank of
// voices, already in position, and handed to the audio thread, which takes it
// at a block boundary and cross-fades from the old bank; the old one goes back
// to the message thread to be freed. Gains are handed over per voice in
// atomics and ramp sample by sample.
//
// Threads: Process and ProcessAdding run on the audio thread and allocate
// nothing. Positions, listener, switches, loads, fade time and type run on one
// message thread. SetNumInputs, SetSamplerate, SetMaxBlockSize and Clear size
// memory and must not race with a block.
class BinauralPanningNearfield : public BinauralPanning {
 public:
  static HRTFFilterType const DefaultNearfieldFilterType;  // NoFiltering: none loaded
  // Speed of sound as the delays correction takes it: 2.9411764 ms per metre.
  static float const MillisecondsPerMetre;

  enum Flags : unsigned int {
    HrtfFilters = 1,
    NearfieldFilters = 2,
    DistanceAttenuation = 4,
    CrossEarsHrtfSelection = 8,
    DelaysCorrection = 16,
    GainsCorrection = 32,
  };

  // 2 outputs, otherwise a NullPanning.
  static Pan* Create(unsigned int numInputs, unsigned int numOutputs);

  BinauralPanningNearfield(unsigned int numInputs, unsigned int numOutputs);
  ~BinauralPanningNearfield() override;

  void Process(float** outputs, float** inputs, unsigned long numSamples,
               short const* activeInputs) override;
  // Adds every active source into both outputs, stereo level included.
  void ProcessAdding(float** outputs, float** inputs, unsigned long numSamples,
                     short const* activeInputs) override;
  void SetSamplerate(float samplerate) override;
  void SetMaxBlockSize(unsigned int maxBlockSize) override;
  void Clear() override;
  void SetNumInputs(unsigned int numInputs) override;
  void SetInterpolationTime(float milliseconds) override;

  // As the "direct" renderer: "kemar" or the empty path is the built-in set, a
  // .coll, .hrtf or .sofa file that file; false for anything it cannot use,
  // the set in use kept. Errors of reading pass out as nolardsp::Exception.
  bool LoadFromFile(char const* path) override;
  // A .near file, or "kemar" / "KEMAR" for the built-in set. False for a set
  // that is not a two-ear biquad or FIR compensation set; errors of reading
  // pass out as nolardsp::Exception. Either way the set in use is kept.
  bool LoadCompensationFilters(char const* path);
  // The filters' fade; the gains ramp over this time too, but never faster
  // than Ramp::DefaultRampDuration.
  void SetFilterCrossFadeTime(float milliseconds) override;
  void SetCrossFadeType(char const* name) override;
  void SetFIRFiltersImplementationMethod(nolardsp::Filter::FIRImplementation method) override;
  using BinauralPanning::SetFIRFiltersImplementationMethod;
  // Moves both ears and renders every source again; the minimum radius stays
  // above the head's.
  void SetListenerHeadRadius(float metres) override;
  HrtfHeaderInfos const* GetHrtfHeaderInfos() const override;
  // Null while no compensation set is loaded.
  HrtfHeaderInfos const* GetCompensationFiltersInfo() const;

  // Sources nearer than this are lifted onto it (always upward) to choose
  // their filters, and keep its gain. Kept a millimetre above the head radius.
  void SetMinimumRadiusAroundListener(float metres);
  float GetMinimumRadiusAroundListener() const { return minimumRadius; }
  float GetMeasurementRadius() const { return measurementRadius; }

  void EnableHrtfFilters(bool enable) { setFlag(HrtfFilters, enable); }
  void EnableNearfieldFilters(bool enable) { setFlag(NearfieldFilters, enable); }
  void EnableDistanceAttenuation(bool enable) { setFlag(DistanceAttenuation, enable); }
  void EnableCrossEarsHrtfSelection(bool enable) { setFlag(CrossEarsHrtfSelection, enable); }
  void EnableDelaysCorrection(bool enable) { setFlag(DelaysCorrection, enable); }
  void EnableGainsCorrection(bool enable) { setFlag(GainsCorrection, enable); }
  unsigned int GetFlags() const { return flags.load(std::memory_order_relaxed); }

  // Message thread: what source i was last given.
  HrtfPoint const& GetLeftPoint(unsigned int i) const { return leftPoints[i]; }
  HrtfPoint const& GetRightPoint(unsigned int i) const { return rightPoints[i]; }
  float GetLeftGain(unsigned int i) const { return leftGains[i]; }
  float GetRightGain(unsigned int i) const { return rightGains[i]; }
  Hrtf const& GetHrtf() const { return *hrtf; }
  HRTFFilterType GetHrtfFilterType() const { return hrtfFilterType; }
  HRTFFilterType GetNearfieldFilterType() const { return nearfieldFilterType; }

  // Where the line from ear through source meets the measurement sphere. A
  // source at the ear looks outward from the centre through the ear.
  nolardsp::CartesianVector getCrossEarsPosition(nolardsp::CartesianVector const& source,
                                                 nolardsp::CartesianVector const& ear) const;
  // The two positions of the set looked up for a source: for the left ear and
  // for the right ear.
  void getCrossEarsPositions(nolardsp::CartesianVector const& source,
                             nolardsp::CartesianVector& left,
                             nolardsp::CartesianVector& right) const;

 protected:
  void setSourceRelativePosition(unsigned int index, nolardsp::CartesianVector const& position,
                                 bool immediately) override;
  void forgetLastPoints() override;

 private:
  struct Voice {
    Voice(HRTFFilterType hrtfType, HRTFFilterType nearfieldType);
    HrtfFiltering leftHrtf;
    HrtfFiltering leftNearfield;
    HrtfFiltering rightHrtf;
    HrtfFiltering rightNearfield;
    // Audio thread: the gains heard.
    nolardsp::Ramp leftGain;
    nolardsp::Ramp rightGain;
    // Message thread to audio thread: the gains asked for, and the ramp time.
    std::atomic<float> leftTarget{1.f};
    std::atomic<float> rightTarget{1.f};
    std::atomic<float> rampTime{nolardsp::Ramp::DefaultRampDuration};
    std::atomic<unsigned int> gainRequest{0u};
    // Message thread: the filters each ear was last given (-1 none, -2 the
    // neutral compensation filter).
    int leftHrtfIndex = -1;
    int rightHrtfIndex = -1;
    int leftNearfieldIndex = -1;
    int rightNearfieldIndex = -1;
  };

  struct Bank {
    std::vector<std::unique_ptr<Voice>> voices;
    unsigned long fadeLength = 2;
  };

  void setFlag(unsigned int flag, bool enable);
  Bank* makeBank(unsigned int numVoices) const;
  void setUpVoice(Voice& voice) const;
  void replaceBank();
  void collectRetired();
  void settle();
  void takeHandover();
  void takeGains(Bank& bank);
  // One voice into left/right (overwritten), gains and level applied.
  void renderVoice(Voice& v, float* left, float* right, float const* input, unsigned long n);
  void render(Bank& bank, float* left, float* right, float** inputs, unsigned long n,
              short const* active, bool adding);
  float gainRampTime() const;
  unsigned int runningRate() const;
  void updateMinimumRadius();
  void placeEars(float headRadius);
  // A point's direction at the measurement radius around the sphere's centre.
  nolardsp::CartesianVector onSphere(nolardsp::CartesianVector const& direction) const;

  std::unique_ptr<Hrtf> hrtf;
  std::unique_ptr<NearfieldCompensationFilters> compensationFilters;
  HRTFFilterType hrtfFilterType;
  HRTFFilterType nearfieldFilterType;
  unsigned int numHrtfCoefficients;
  unsigned int numNearfieldCoefficients;
  std::atomic<unsigned int> flags;
  float requestedMinimumRadius;
  float minimumRadius;
  float measurementRadius;
  nolardsp::CartesianVector sphereCenter;
  nolardsp::CartesianVector leftEar;
  nolardsp::CartesianVector rightEar;
  float compensationMaxDistance;
  // A compensation filter that changes nothing, of the type in use.
  std::vector<float> neutralFilter;

  std::vector<float> leftGains;
  std::vector<float> rightGains;
  std::vector<HrtfPoint> leftPoints;
  std::vector<HrtfPoint> rightPoints;
  std::vector<float> leftDelays;
  std::vector<float> rightDelays;

  nolardsp::Filter::FIRImplementation firImplementation;
  float crossFadeTime;
  std::string crossFadeType;
  float interpolationTime;
  bool defaultSet;

  Bank* newest;
  Bank* current;
  Bank* incoming;
  unsigned long fadePosition;
  std::atomic<Bank*> pending;
  std::atomic<Bank*> retired[4];

  // One block each: a voice's two ears, the gain ramp, the incoming bank.
  std::vector<float> leftBuffer;
  std::vector<float> rightBuffer;
  std::vector<float> gainBuffer;
  std::vector<float> fadeLeft;
  std::vector<float> fadeRight;
};

}  // namespace Zorv
