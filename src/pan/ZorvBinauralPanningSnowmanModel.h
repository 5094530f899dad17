#pragma once

#include <atomic>
#include <memory>
#include <vector>

#include "NolarDelay.h"
#include "NolarRamp.h"
#include "ZorvBinauralPanning.h"
#include "ZorvFadedIIRFilter.h"

namespace Zorv {

// Headphone rendering without measured data: a spherical head above a
// spherical torso. Each ear hears the source along the head (a delay and the
// head's shadow) and, while the torso does not hide the source from it, a
// reflection off the torso (a longer delay, the torso's shadow filter, the
// reflection coefficient). When the torso hides the source, the direct sound
// goes round the torso instead and the reflection is dropped.
//
// The torso's centre is fixed when the panner is made, below the head by the
// head radius, the torso radius and the neck height of that moment. Later
// changes of these three resize the head and the torso but do not move the
// torso: the neck height then changes nothing. The torso radius used is kept
// within MinTorsoRadius .. MaxTorsoRadiusRatio times the ear's distance from
// the torso's centre, where the shadow and reflection geometry holds.
//
// Threads: Process and ProcessAdding run on the audio thread and allocate
// nothing. Positions and every listener setting may change while blocks run
// (filters cross-fade, delays glide, the reflection's gains ramp).
// SetNumInputs, SetSamplerate, SetMaxBlockSize and Clear size memory and must
// not race with a block.
class BinauralPanningSnowmanModel : public BinauralPanning {
 public:
  static float const DefaultTorsoReflectionCoefficient;  // 0.3
  static float const MinHeadRadius;                      // 0.01 m
  static float const MaxHeadRadius;                      // 10 m
  static float const MinTorsoRadius;                     // 0.01 m
  static float const MaxTorsoRadiusRatio;                // 0.9
  static float const DefaultInterpolationTime;           // 30 ms

  // One ear: the direct path (delay, torso filter, head filter) and the
  // reflected path (delay, filter), mixed by two gain ramps. Delays, gains
  // and glide times are asked for on the message thread and taken by the
  // audio thread at the head of its next block; the filters hand over by
  // their own pending sets.
  class SnowmanProcessing {
   public:
    SnowmanProcessing();

    void Configure(float samplerate, unsigned int maxBlockSize);
    void SetInterpolationTime(float milliseconds);
    void SetCrossFadeTime(float milliseconds);
    void Clear();
    // Limited by the panner to 0 .. 1; heard at the next ApplyModel.
    void SetReflectionCoefficient(float c) { reflectionCoefficient = c; }

    // Sets delays, filters and the mix for a source at `source` (relative to
    // the head) heard at `ear`.
    void ApplyModel(nolardsp::CartesianVector const& source, nolardsp::CartesianVector const& ear,
                    bool shadowed, float torsoRadius, nolardsp::CartesianVector const& torsoCenter,
                    float headRadius, float samplerate, bool immediately);
    // One block, at most the maximum block size. out may not be in.
    void Process(float* out, float const* in, unsigned long numSamples, bool adding);
    // What was asked for since the last block (audio thread or set-up path).
    void TakeRequests();

    // The path round the torso to an ear it hides the source from: angles
    // of the wave on the head at the tangent point, of the source at the ear,
    // and round the torso.
    static void ComputeTorsoShadowSubModel(nolardsp::CartesianVector const& source,
                                           nolardsp::CartesianVector const& ear, float torsoRadius,
                                           nolardsp::CartesianVector const& torsoCenter,
                                           float headRadius, float& headAngle, float& directAngle,
                                           float& torsoAngle);
    // The reflection off the torso: the source's angle at the ear, the
    // reflected wave's angle at the ear and the extra way in milliseconds.
    static void ComputeTorsoReflectionSubModel(nolardsp::CartesianVector const& source,
                                               nolardsp::CartesianVector const& ear,
                                               float torsoRadius,
                                               nolardsp::CartesianVector const& torsoCenter,
                                               float headRadius, float& directAngle,
                                               float& reflectedAngle, float& reflectionDelay);
    // Milliseconds round a sphere of radius r to a point at angle t from the
    // direction of the sound.
    static float Tau(float t, float radius);

    bool IsShadowed() const { return shadowed; }
    float GetReflectionCoefficient() const { return reflectionCoefficient; }
    nolardsp::Delay const& GetDirectDelay() const { return directDelay; }
    nolardsp::Delay const& GetReflectedDelay() const { return reflectedDelay; }
    nolardsp::Ramp const& GetDirectGain() const { return directGain; }
    nolardsp::Ramp const& GetReflectedGain() const { return reflectedGain; }

   private:
    nolardsp::Delay reflectedDelay;
    nolardsp::Delay directDelay;
    FadedIIRFilter reflectedFilter;
    FadedIIRFilter torsoFilter;
    FadedIIRFilter headFilter;
    bool shadowed;
    float reflectionCoefficient;
    std::vector<float> directBuffer;
    std::vector<float> reflectedBuffer;
    // The direct part's scale and the reflection's gain: 1 and 0 while the
    // torso hides the source, 1 / (1 + c) and c / (1 + c) otherwise.
    nolardsp::Ramp directGain;
    nolardsp::Ramp reflectedGain;
    std::vector<float> directGains;
    std::vector<float> reflectedGains;
    std::atomic<float> directTarget;
    std::atomic<float> reflectedTarget;
    std::atomic<float> directGainTarget;
    std::atomic<float> reflectedGainTarget;
    std::atomic<float> glide;
    std::atomic<unsigned int> requests;
  };

  struct DelayAndFilterVoice {
    SnowmanProcessing left;
    SnowmanProcessing right;
  };

  // 2 outputs, otherwise a NullPanning.
  static Pan* Create(unsigned int numInputs, unsigned int numOutputs);

  BinauralPanningSnowmanModel(unsigned int numInputs, unsigned int numOutputs);
  ~BinauralPanningSnowmanModel() override;

  // Overwrites both outputs, always: silence when no input is active.
  void Process(float** outputs, float** inputs, unsigned long numSamples,
               short const* activeInputs) override;
  void ProcessAdding(float** outputs, float** inputs, unsigned long numSamples,
                     short const* activeInputs) override;
  void SetSamplerate(float samplerate) override;
  void SetMaxBlockSize(unsigned int maxBlockSize) override;
  void Clear() override;
  void SetNumInputs(unsigned int numInputs) override;
  // The delays' glide and the reflection's ramps.
  void SetInterpolationTime(float milliseconds) override;

  // Throws: the model has no filter set to load.
  bool LoadFromFile(char const* path) override;
  void SetFilterCrossFadeTime(float milliseconds) override;
  // The snowman's filters always fade linearly.
  void SetCrossFadeType(char const* name) override;
  void SetFIRFiltersImplementationMethod(nolardsp::Filter::FIRImplementation method) override;
  using BinauralPanning::SetFIRFiltersImplementationMethod;
  // Kept within MinHeadRadius .. MaxHeadRadius; moves the ears, not the torso.
  void SetListenerHeadRadius(float metres) override;
  HrtfHeaderInfos const* GetHrtfHeaderInfos() const override;

  // Stored as given (not below 0); see the class comment for what is used.
  void SetListenerTorsoRadius(float metres);
  void SetListenerNeckHeight(float metres);
  // Limited to 0 .. 1.
  void SetTorsoReflectionCoefficient(float c);
  float GetListenerTorsoRadius() const { return torsoRadius; }
  float GetListenerNeckHeight() const { return neckHeight; }
  float GetTorsoReflectionCoefficient() const { return torsoReflectionCoefficient; }
  nolardsp::CartesianVector const& GetTorsoCenter() const { return torsoCenter; }
  // The torso radius the geometry uses.
  float GetEffectiveTorsoRadius() const;

  DelayAndFilterVoice const& GetVoice(unsigned int index) const { return *voices[index]; }

 protected:
  void setSourceRelativePosition(unsigned int index, nolardsp::CartesianVector const& position,
                                 bool immediately) override;

 private:
  void setUp(SnowmanProcessing& ear);
  void run(DelayAndFilterVoice& voice, float* left, float* right, float const* in,
           unsigned long numSamples, bool adding);

  nolardsp::CartesianVector leftEar;
  nolardsp::CartesianVector rightEar;
  nolardsp::CartesianVector torsoCenter;
  float torsoRadius;
  float neckHeight;
  float torsoReflectionCoefficient;
  std::vector<std::unique_ptr<DelayAndFilterVoice>> voices;
  std::vector<float> leftBuffer;
  std::vector<float> rightBuffer;
  float interpolationTime;
  float crossFadeTime;
};

}  // namespace Zorv
