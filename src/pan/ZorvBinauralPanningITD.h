#pragma once

#include <memory>
#include <vector>

#include "NolarDelay.h"
#include "NolarRamp.h"
#include "ZorvBinauralPanning.h"

namespace Zorv {

// Only a delay and a gain per ear, for early reflections: a source to the
// right reaches the right ear up to 0.35 ms sooner and louder, the left ear as
// much later and softer; a source nearer than 1 m has less of both, and one at
// the listener's place none. No HRTF, ITD model or head radius is used.
//
// Threads: Process and ProcessAdding run on the audio thread and allocate
// nothing. Positions and the interpolation time may change while a block
// runs (delays glide, gains ramp). SetNumInputs, SetSamplerate,
// SetMaxBlockSize and Clear size memory and must not race with a block.
class BinauralPanningITD : public BinauralPanning {
 public:
  static float const DefaultInterpolationTime;  // 30 ms
  // Room in each delay line, milliseconds.
  static float const DefaultMaxDelay;  // 20

  struct Voice {
    Voice();
    nolardsp::Delay leftDelay;
    nolardsp::Delay rightDelay;
    nolardsp::Ramp leftGain;
    nolardsp::Ramp rightGain;
  };

  // 2 outputs, otherwise a NullPanning.
  static Pan* Create(unsigned int numInputs, unsigned int numOutputs);

  BinauralPanningITD(unsigned int numInputs, unsigned int numOutputs);
  ~BinauralPanningITD() override;

  // Overwrites both outputs, always: silence when no input is active.
  void Process(float** outputs, float** inputs, unsigned long numSamples,
               short const* activeInputs) override;
  // Adds every active source; an inactive one moves neither delay nor ramp.
  void ProcessAdding(float** outputs, float** inputs, unsigned long numSamples,
                     short const* activeInputs) override;
  void SetSamplerate(float samplerate) override;
  void SetMaxBlockSize(unsigned int maxBlockSize) override;
  // Empties the delay lines; the gains keep their values.
  void Clear() override;
  void SetNumInputs(unsigned int numInputs) override;
  void SetInterpolationTime(float milliseconds) override;

  // No filter set: a load is refused, the filter settings mean nothing.
  bool LoadFromFile(char const* path) override;
  void SetFilterCrossFadeTime(float milliseconds) override;
  void SetCrossFadeType(char const* name) override;
  void SetFIRFiltersImplementationMethod(nolardsp::Filter::FIRImplementation method) override;
  using BinauralPanning::SetFIRFiltersImplementationMethod;
  void SetListenerHeadRadius(float metres) override;
  HrtfHeaderInfos const* GetHrtfHeaderInfos() const override;

  Voice const& GetVoice(unsigned int index) const { return *voices[index]; }

 protected:
  void setSourceRelativePosition(unsigned int index, nolardsp::CartesianVector const& position,
                                 bool immediately) override;

 private:
  void setUpVoice(Voice& voice);

  std::vector<std::unique_ptr<Voice>> voices;
  std::vector<float> gains;
  std::vector<float> delayed;
  float interpolationTime;
};

}  // namespace Zorv
