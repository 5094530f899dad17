#pragma once

#include <memory>
#include <vector>

#include "NolarMatrix.h"
#include "NolarSignalMatrix.h"
#include "ZorvPan.h"

namespace Zorv {

// The diffuse mix: a bank of reverberation channels spread over a speaker
// array through one fixed matrix, whatever the sources' positions. Each input
// feeds one of four mutually orthogonal sign patterns (the rows of a 4 x 4
// Hadamard-like matrix), and the four patterns are dealt out to the speakers
// in a shuffled order, so that neighbouring speakers receive decorrelated
// mixes of equal energy.
//
// Muted or unconnected inputs stay in the mix on purpose: a reverberation
// tail must not be cut when its source is switched off.
//
// Threads: Process and ProcessAdding run on the audio thread and allocate
// nothing. The matrix is built in the constructor (and again by
// SetNumInputs / SetNumOutputs, which the host never calls on a live object).
class ReverbPanning : public Pan {
 public:
  // Always a real panner, whatever the counts.
  static Pan* Create(unsigned int numInputs, unsigned int numOutputs);

  ReverbPanning(unsigned int numInputs, unsigned int numOutputs);
  ~ReverbPanning() override;

  // The mixing gains, numInputs rows by numOutputs columns. Each row carries
  // one of four sign patterns of equal entries; the whole is scaled by
  // numInputs * 0.5 / sqrt(S), S the sum of all entries of R R^T before the
  // scale. Empty when a count is 0.
  static nolardsp::Matrix<float> ComputeReverbMixingMatrix(unsigned int numInputs,
                                                           unsigned int numOutputs);

  // Every input is mixed, whatever its flag says.
  void Process(float** outputs, float** inputs, unsigned long numSamples,
               short const* activeInputs) override;
  void ProcessAdding(float** outputs, float** inputs, unsigned long numSamples,
                     short const* activeInputs) override;

  void SetSamplerate(float samplerate) override;
  void SetMaxBlockSize(unsigned int maxBlockSize) override;
  void Clear() override;
  // The ramp time of the matrix.
  void SetInterpolationTime(float milliseconds) override;

  // Positions mean nothing here.
  void SetSourcePosition(unsigned int index, nolardsp::CartesianVector const& position,
                         bool immediately) override;
  void SetSourcePositions(nolardsp::CartesianVector const* positions) override;
  void SetLoudspeakerPositions(nolardsp::CartesianVector const* positions) override;

  // Store the count and build the matrix anew.
  void SetNumInputs(unsigned int numInputs) override;
  void SetNumOutputs(unsigned int numOutputs) override;

  nolardsp::SignalMatrix const& GetSignalMatrix() const { return *signalMatrix; }

 private:
  // Replaces the signal matrix by a new one of the present counts, rate and
  // block size, whose gains ramp in from 0 to the mixing matrix.
  void update();

  std::unique_ptr<nolardsp::SignalMatrix> signalMatrix;
  // One flag per input, all set: every input is mixed.
  std::vector<short> allInputs;
};

}  // namespace Zorv
