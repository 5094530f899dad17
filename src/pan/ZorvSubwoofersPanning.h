#pragma once

#include <vector>

#include "NolarAudioBuffer.h"
#include "ZorvEqualizer.h"
#include "ZorvPan.h"

namespace Zorv {

// The subwoofer feed: every source low-passed, then panned over the
// subwoofers as vbap2d pans it. With a single subwoofer the sources are
// summed first and one low pass serves them all, so that positions change
// nothing.
//
// Threads: Process and ProcessAdding allocate nothing (block sizes above the
// last SetMaxBlockSize are run in pieces); SetCutOffFrequency and the position
// setters run on a message thread; the cut-off reaches the audio thread as a
// cross-fade of the filters.
class SubwoofersPanning : public Pan {
 public:
  static float const DefaultCutOffFrequency;  // hertz
  static float const MinCutOffFrequency;
  static float const MaxCutOffFrequency;
  static float const DefaultQ;

  // A NullPanning for no output.
  static Pan* Create(unsigned int numInputs, unsigned int numOutputs);

  SubwoofersPanning(unsigned int numInputs, unsigned int numOutputs);
  ~SubwoofersPanning() override;
  SubwoofersPanning(SubwoofersPanning const&) = delete;
  SubwoofersPanning& operator=(SubwoofersPanning const&) = delete;

  void Process(float** outputs, float** inputs, unsigned long numSamples,
               short const* activeInputs) override;
  void ProcessAdding(float** outputs, float** inputs, unsigned long numSamples,
                     short const* activeInputs) override;

  // The cut-off of every low pass, cross-faded. The range is the caller's.
  void SetCutOffFrequency(float hertz);

  void SetSourcePosition(unsigned int index, nolardsp::CartesianVector const& position,
                         bool immediately) override;
  void SetSourcePositions(nolardsp::CartesianVector const* positions) override;
  void SetLoudspeakerPositions(nolardsp::CartesianVector const* positions) override;
  void SetInterpolationTime(float milliseconds) override;
  void SetNumInputs(unsigned int numInputs) override;
  void SetNumOutputs(unsigned int numOutputs) override;

  void SetSamplerate(float samplerate) override;
  void SetMaxBlockSize(unsigned int maxBlockSize) override;
  void Clear() override;

  Equalizer& GetEqualizer() { return *equalizer; }
  Pan& GetPanner() { return *panner; }

 private:
  void processPiece(float** outputs, float** inputs, unsigned long numSamples,
                    short const* activeInputs, bool adding);

  Equalizer* equalizer;
  Pan* panner;
  nolardsp::AudioBuffer buffer;
  // Channel pointers moved on by a piece, for blocks longer than the buffer.
  std::vector<float*> inputPieces;
  std::vector<float*> outputPieces;
};

}  // namespace Zorv
