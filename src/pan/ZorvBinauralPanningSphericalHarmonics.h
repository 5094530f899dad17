#pragma once

#include <atomic>
#include <memory>
#include <string>
#include <vector>

#include "NolarComplex.h"
#include "NolarFFT.h"
#include "ZorvBinauralPanning.h"
#include "ZorvHrtfFiltering.h"
#include "ZorvSphericalHarmonicManager.h"

namespace Zorv {

// Headphone rendering from the spherical-harmonic form of an HRTF set: the
// filter of any direction, measured or not, is the row of harmonics of that
// direction times each ear's matrix, brought back to taps. Each source runs
// through one cross-faded FIR a ear. The renderer is silent until a .shb file
// is loaded.
//
// A position change computes both filters on the message thread; the audio
// thread only filters. A new file is read and checked whole, then built with
// its voices on the message thread and handed to the audio thread at a block
// boundary, where it cross-fades in.
//
// Threads: Process and ProcessAdding run on the audio thread and allocate
// nothing. Position and listener changes, loads, fade time and type run on
// one message thread. SetNumInputs, SetSamplerate, SetMaxBlockSize and Clear
// size memory and must not race with a block.
class BinauralPanningSphericalHarmonics : public BinauralPanning {
 public:
  static Pan* Create(unsigned int numInputs, unsigned int numOutputs);

  BinauralPanningSphericalHarmonics(unsigned int numInputs, unsigned int numOutputs);
  ~BinauralPanningSphericalHarmonics() override;

  void Process(float** outputs, float** inputs, unsigned long numSamples,
               short const* activeInputs) override;
  // Adds each active source into both outputs, each at the stereo level.
  void ProcessAdding(float** outputs, float** inputs, unsigned long numSamples,
                     short const* activeInputs) override;
  void SetSamplerate(float samplerate) override;
  void SetMaxBlockSize(unsigned int maxBlockSize) override;
  void Clear() override;
  void SetNumInputs(unsigned int numInputs) override;
  // No delay line here: nothing to do.
  void SetInterpolationTime(float milliseconds) override;

  // A .shb file. Gives false, keeping the data in use, for any other path and
  // for data that is not two ears of spherical-harmonic spectra of a
  // power-of-two length; raises nolardsp::Exception for unnormalised
  // harmonics and for a file that cannot be read.
  bool LoadFromFile(char const* path) override;
  void SetFilterCrossFadeTime(float milliseconds) override;
  void SetCrossFadeType(char const* name) override;
  void SetFIRFiltersImplementationMethod(nolardsp::Filter::FIRImplementation method) override;
  using BinauralPanning::SetFIRFiltersImplementationMethod;
  // The filters hold the interaural delay: nothing to do.
  void SetListenerHeadRadius(float metres) override;
  // Null: the data is not an HRTF set; see GetSphericalHarmonicInfo.
  HrtfHeaderInfos const* GetHrtfHeaderInfos() const override;
  SphericalHarmonicData::Info const& GetSphericalHarmonicInfo() const { return data->info; }
  bool HasData() const { return fft != nullptr; }

  // The taps both ears get for a direction (message thread), numFrequencyBins
  // each; false without data.
  bool ComputeFilters(nolardsp::CartesianVector const& position, std::vector<float>& left,
                      std::vector<float>& right);

 protected:
  void setSourceRelativePosition(unsigned int index, nolardsp::CartesianVector const& position,
                                 bool immediately) override;

 private:
  struct Voice {
    Voice();
    HrtfFiltering left;
    HrtfFiltering right;
    std::atomic<bool> ready;
  };

  struct Bank {
    std::vector<std::unique_ptr<Voice>> voices;
    unsigned long fadeLength = 2;
  };

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

  std::unique_ptr<SphericalHarmonicManager> data;
  std::unique_ptr<nolardsp::FFT<float>> fft;
  unsigned int numFrequencyBins;
  nolardsp::Filter::FIRImplementation firImplementation;
  float crossFadeTime;
  std::string crossFadeType;

  // Message thread scratch: the row of harmonics, a spectrum, two filters.
  std::vector<nolardsp::Complex<float>> row;
  std::vector<nolardsp::Complex<float>> spectrum;
  std::vector<float> tapsLeft;
  std::vector<float> tapsRight;

  Bank* newest;
  Bank* current;
  Bank* incoming;
  unsigned long fadePosition;
  std::atomic<Bank*> pending;
  std::atomic<Bank*> retired[4];

  std::vector<float> mixLeft;
  std::vector<float> mixRight;
  std::vector<float> fadeLeft;
  std::vector<float> fadeRight;
};

}  // namespace Zorv
