#pragma once

#include <vector>

#include "NolarFadedBiquadCascade.h"
#include "ZorvBinauralPanning.h"

namespace Zorv {

// A diffuse field for headphones: inputs 1 and 2 are the left and right
// channel of a diffuse sound (a reverberation tail). Their sum and their
// difference go through two fixed filters, so that the two ears are as
// coherent, band by band, as in a diffuse field measured on a dummy head;
// further inputs are not used. No position means anything here.
//
// Threads: Process and ProcessAdding run on the audio thread and allocate
// nothing. SetSamplerate, SetMaxBlockSize and Clear size memory and must not
// race with a block.
class BinauralPanningIACC : public BinauralPanning {
 public:
  // The two filters, 44.1 kHz: a gain, then b1 b2 a1 a2 of two sections.
  static float const ISCC_4_4_KEMAR_diffuse_44[16];
  static float const IDCC_4_4_KEMAR_diffuse_44[16];

  // 2 outputs and at least 2 inputs, otherwise a NullPanning.
  static Pan* Create(unsigned int numInputs, unsigned int numOutputs);

  BinauralPanningIACC(unsigned int numInputs, unsigned int numOutputs);
  ~BinauralPanningIACC() override;

  // Inputs 1 and 2 only; overwrites both outputs.
  void Process(float** outputs, float** inputs, unsigned long numSamples,
               short const* activeInputs) override;
  // Adds; reads both inputs whether active or not, at the level of a pair of
  // inputs scaled by the number of inputs.
  void ProcessAdding(float** outputs, float** inputs, unsigned long numSamples,
                     short const* activeInputs) override;
  void SetSamplerate(float samplerate) override;
  void SetMaxBlockSize(unsigned int maxBlockSize) override;
  void Clear() override;
  void SetNumInputs(unsigned int numInputs) override;
  void SetInterpolationTime(float milliseconds) override;

  bool LoadFromFile(char const* path) override;
  void SetFilterCrossFadeTime(float milliseconds) override;
  void SetCrossFadeType(char const* name) override;
  void SetFIRFiltersImplementationMethod(nolardsp::Filter::FIRImplementation method) override;
  using BinauralPanning::SetFIRFiltersImplementationMethod;
  void SetListenerHeadRadius(float metres) override;
  HrtfHeaderInfos const* GetHrtfHeaderInfos() const override;

 protected:
  void setSourceRelativePosition(unsigned int index, nolardsp::CartesianVector const& position,
                                 bool immediately) override;

 private:
  void filterAndMix(float** outputs, unsigned long numSamples, bool adding);

  std::vector<float> sum;
  nolardsp::FadedBiquadCascade sumFilter;
  std::vector<float> difference;
  nolardsp::FadedBiquadCascade differenceFilter;
};

}  // namespace Zorv
