#pragma once

#include <vector>

#include "NolarGainMatrixMixer.h"
#include "NolarSignalProcessing.h"

namespace nolardsp {

template <typename T>
class Matrix;

// A dense inputs-by-outputs gain matrix whose gains ramp in fixed cycles.
//
// A cycle is rampLength samples and the cycles run for ever, whether or not a
// gain changes. During a cycle each gain moves on a straight line from
// startGains to targetGains; at its end targetGains becomes startGains and
// nextGains (what the caller set last) becomes targetGains. A new gain is thus
// heard after one to two cycles, always as a ramp, and the caller's thread
// never has to lock against the audio thread. There is no way to jump a gain.
//
// Layout of the three arrays: the gain from input i to output j is at
// [i * numOutputs + j]. Inputs and outputs are fixed at construction.
//
// Threads: Process and ProcessAdding run on the audio thread and allocate
// nothing. SetGain, SetGains and SetRampTime run on a control thread and
// write nextGains or the cycle length only. The constructor allocates.
class SignalMatrix : public SignalProcessing {
 public:
  static float const DefaultRampTime;  // 30 milliseconds

  SignalMatrix(unsigned int numInputs, unsigned int numOutputs);
  ~SignalMatrix() override;

  SignalMatrix(SignalMatrix const&) = delete;
  SignalMatrix& operator=(SignalMatrix const&) = delete;

  // Overwrites the outputs. With no active input (or no input) the outputs
  // are zeroed and the cycle stands still.
  void Process(float** outputs, float** inputs, unsigned long numSamples,
               short const* activeInputs) override;
  // Adds into the outputs; the cycle runs whichever inputs are active.
  virtual void ProcessAdding(float** outputs, float** inputs, unsigned long numSamples,
                             short const* activeInputs);
  // The body of Process: the first active input writes, the others add.
  void ProcessAddingAndClearAtFirstPass(float** outputs, float** inputs, unsigned long numSamples,
                                        short const* activeInputs);

  // Rescales cycle length and position through milliseconds. A rate that is
  // not a positive finite number is ignored.
  void SetSamplerate(float samplerate) override;
  void SetMaxBlockSize(unsigned int maxBlockSize) override;
  // Nothing: no signal memory, and the gains survive.
  void Clear() override;

  // Write nextGains; picked up at the next cycle boundary. Out-of-range
  // indices are ignored.
  void SetGain(unsigned int input, unsigned int output, float gain);
  void SetGains(float gain);
  // Rows are inputs, columns outputs; entries the matrix lacks keep their
  // pending value.
  void SetGains(Matrix<float> const& gains);
  // Truncation of (0.001 * samplerate) * ms. The position is left alone; a
  // position at or past the new end ends the cycle before the next sample. A
  // time under one sample (or NaN) gives a cycle of no length: the gains
  // then follow nextGains at every block, without a ramp.
  void SetRampTime(float milliseconds);

  int GetRampPosition() const { return rampPosition; }
  int GetRampLength() const { return rampLength; }
  float GetNextGain(unsigned int input, unsigned int output) const {
    return nextGains[input * numOutputs + output];
  }
  float const* GetStartGains() const { return startGains; }
  float const* GetTargetGains() const { return targetGains; }

 private:
  void runCycles(float** outputs, float** inputs, unsigned long numSamples,
                 short const* activeInputs, bool overwrite);
  void advance();

  float* startGains;
  float* targetGains;
  float* nextGains;
  int rampPosition;
  int rampLength;
  // Renders the segments; reads start and target afresh at every advance.
  GainMatrixMixer mixer;
};

}  // namespace nolardsp
