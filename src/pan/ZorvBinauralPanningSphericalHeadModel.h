#pragma once

#include <atomic>
#include <memory>
#include <vector>

#include "NolarDelay.h"
#include "ZorvBinauralPanning.h"
#include "ZorvFadedIIRFilter.h"

namespace Zorv {

// Headphone rendering without measured data: the head is a rigid sphere of the
// listener's head radius, the ears at its two sides (-r, 0, 0) and (r, 0, 0).
// Each ear gets a delay from the ITD model and a first-order shadow filter for
// the angle between the source and that ear, so the head can be resized while
// sound runs. Its own ITD is the Larcher-Jot model, which is also what the
// measured type means here: there is no measurement to take it from.
//
// Threads: Process and ProcessAdding run on the audio thread and allocate
// nothing. Positions, the head radius and the ITD type may change while blocks
// run (filters cross-fade, delays glide). SetNumInputs, SetSamplerate,
// SetMaxBlockSize and Clear size memory and must not race with a block.
class BinauralPanningSphericalHeadModel : public BinauralPanning {
 public:
  static float const MinHeadRadius;  // 0.01 m
  // Above it the delays would leave their lines: 10 m.
  static float const MaxHeadRadius;
  static float const DefaultInterpolationTime;  // 30 ms

  // One ear's chain. The delay is asked for on the message thread and taken
  // by the audio thread at the head of its next block, whole; asked for
  // immediately it is set at once, on the set-up path.
  struct Ear {
    Ear();
    void AskDelay(float milliseconds, bool immediately);
    void AskGlide(float milliseconds);
    // Audio thread (or set-up path).
    void TakeRequests();

    nolardsp::Delay delay;
    FadedIIRFilter filter;
    std::vector<float> work;
    std::atomic<float> delayTarget;
    std::atomic<float> delayGlide;
    std::atomic<unsigned int> requests;
  };
  struct DelayAndFilterVoice {
    Ear left;
    Ear right;
  };

  // 2 outputs, otherwise a NullPanning.
  static Pan* Create(unsigned int numInputs, unsigned int numOutputs);

  BinauralPanningSphericalHeadModel(unsigned int numInputs, unsigned int numOutputs,
                                    float headRadius = -1.f);
  ~BinauralPanningSphericalHeadModel() override;

  // Overwrites both outputs, always: silence when no input is active.
  void Process(float** outputs, float** inputs, unsigned long numSamples,
               short const* activeInputs) override;
  // Adds every active source; an inactive one advances neither delay nor filter.
  void ProcessAdding(float** outputs, float** inputs, unsigned long numSamples,
                     short const* activeInputs) override;
  void SetSamplerate(float samplerate) override;
  void SetMaxBlockSize(unsigned int maxBlockSize) override;
  void Clear() override;
  void SetNumInputs(unsigned int numInputs) override;
  void SetInterpolationTime(float milliseconds) override;

  // Throws: the model has no filter set to load.
  bool LoadFromFile(char const* path) override;
  void SetFilterCrossFadeTime(float milliseconds) override;
  void SetCrossFadeType(char const* name) override;
  void SetFIRFiltersImplementationMethod(nolardsp::Filter::FIRImplementation method) override;
  using BinauralPanning::SetFIRFiltersImplementationMethod;
  // Kept within MinHeadRadius .. MaxHeadRadius; heard at once (faded).
  void SetListenerHeadRadius(float metres) override;
  HrtfHeaderInfos const* GetHrtfHeaderInfos() const override;

  DelayAndFilterVoice const& GetVoice(unsigned int index) const { return *voices[index]; }
  float GetHeadCutoff() const { return headCutoff; }

 protected:
  void setSourceRelativePosition(unsigned int index, nolardsp::CartesianVector const& position,
                                 bool immediately) override;

 private:
  void setUpEar(Ear& ear);
  void run(DelayAndFilterVoice& voice, float* left, float* right, float const* in,
           unsigned long numSamples, bool adding);

  float headCutoff;
  nolardsp::CartesianVector leftEar;
  nolardsp::CartesianVector rightEar;
  float samplePeriod;
  std::vector<std::unique_ptr<DelayAndFilterVoice>> voices;
  float interpolationTime;
  float crossFadeTime;
  nolardsp::CrossFadeType crossFadeType;
};

}  // namespace Zorv
