#pragma once

#include <vector>

#include "NolarCartesianVector.h"
#include "NolarGainMatrixMixer.h"
#include "ZorvPan.h"

namespace Zorv {

// The gain-matrix panner: every method whose rendering of a source is one row
// of M gains. A derived class supplies convert() (position -> M gains) and, if
// speakers mean anything to it, SetLoudspeakerPositions(); this class does the
// rest: it keeps the N x M gain matrices, turns position changes into
// click-free gain trajectories and mixes the inputs.
//
// The ramp clock never stops. It runs in periods of rampLength samples whether
// or not anything moves. convert() writes nextGains; at each period boundary
// the audio thread rotates startGains <- targetGains <- nextGains, and during a
// period every gain moves on a straight line from startGains to targetGains. So
// a change is heard after one to two periods and always as a ramp, and the
// message thread never has to lock against the audio thread.
//
// Matrix layout, for all three matrices: the gain from input i to output j is
// at [numOutputs * i + j]; one source's gains are one contiguous row.
//
// Writing a derived panner:
//
//   class MyPanning : public AmplitudePanning {
//    public:
//     MyPanning(unsigned int n, unsigned int m) : AmplitudePanning(n, m) {}
//     void SetLoudspeakerPositions(nolardsp::CartesianVector const* p) override {
//       /* rebuild own tables from p */
//       forceUpdate(false);  // convert() runs again for every source
//     }
//    protected:
//     void convert(nolardsp::CartesianVector const& position, float* gains,
//                  unsigned int source) override {
//       /* write numOutputs gains for position */
//     }
//   };
//
// A spread setter does the same: update its own state, then forceUpdate(false).
//
// Threads: Process and ProcessAdding run on the audio thread; they allocate
// nothing, take no lock and read nextGains only at a period boundary. Setters
// (positions, speakers, spread, interpolation time) run on a message thread
// and call convert() there. The constructor, SetNumInputs and SetNumOutputs
// size memory and are never called while a block runs.
class AmplitudePanning : public Pan {
 public:
  // Length of a ramp period, in milliseconds.
  static float const DefaultInterpolationTime;  // 30

  AmplitudePanning(unsigned int numInputs, unsigned int numOutputs);
  ~AmplitudePanning() override;

  // Overwrites the outputs with the mix. With no active input (or no input at
  // all) the outputs are zeroed and the clock stands still, so a pending
  // change waits until an input is active again. Elements whose gains are 0
  // at both ends of the period cost nothing and add nothing; an output that no
  // active input reaches is zeroed. Each output is the sum over its inputs in
  // ascending order; within a chunk the gain of sample k is g0 + k * step,
  // both ends taken from the line of the whole period.
  void Process(float** outputs, float** inputs, unsigned long numSamples,
               short const* activeInputs) override;
  // Adds the mix into the outputs. The clock runs whichever inputs are active.
  void ProcessAdding(float** outputs, float** inputs, unsigned long numSamples,
                     short const* activeInputs) override;
  // The body of Process: the same sum as ProcessAdding, but the first active
  // input writes every output in each chunk and the others add to it, so no
  // separate clearing pass is needed.
  void ProcessAddingAndClearAtFirstPass(float** outputs, float** inputs, unsigned long numSamples,
                                        short const* activeInputs);

  // Keeps times, not sample counts: the period and the position in it are
  // rescaled to the new rate. A rate that is not a positive finite number is
  // ignored.
  void SetSamplerate(float samplerate) override;
  // Stored only: no buffer depends on the block size.
  void SetMaxBlockSize(unsigned int maxBlockSize) override;
  // Nothing: there is no signal memory, and gains are not reset.
  void Clear() override;

  // Stores the position and runs convert() into row index of nextGains. The
  // flag is ignored: a gain matrix always ramps.
  void SetSourcePosition(unsigned int index, nolardsp::CartesianVector const& position,
                         bool immediately) override;
  // SetSourcePosition(i, positions[i], false) for every input, ascending,
  // through the virtual slot.
  void SetSourcePositions(nolardsp::CartesianVector const* positions) override;
  // Empty here; a derived class that uses speakers rebuilds its tables and
  // then calls forceUpdate(false).
  void SetLoudspeakerPositions(nolardsp::CartesianVector const* positions) override;
  // Store the count (and grow or shrink sourcePositions). The matrices keep
  // the size the constructor gave them unless a count needs more room; then
  // they are reallocated and zeroed. Never called while a block runs.
  void SetNumInputs(unsigned int numInputs) override;
  void SetNumOutputs(unsigned int numOutputs) override;
  // New period length: truncation of (0.001 * samplerate) * milliseconds.
  // The position in the present period is left alone; if it now lies at or
  // beyond the end, the period ends at the next chunk. A time under one
  // sample (or not a number) gives a period of no length: gains then follow
  // nextGains at every block without a ramp, and blocks still end.
  void SetInterpolationTime(float milliseconds) override;

  // Read-only views for tests and for derived classes that report state.
  int GetRampPosition() const { return rampPosition; }
  int GetRampLength() const { return rampLength; }
  float const* GetStartGains() const { return startGains.data(); }
  float const* GetTargetGains() const { return targetGains.data(); }
  float const* GetNextGains() const { return nextGains.data(); }

 protected:
  // The one thing a derived class must supply: writes numOutputs gains for a
  // source at position into gains (a row of nextGains). source is the input
  // index, for methods with per-source settings such as spread. Runs on the
  // message thread (also from the derived constructor through
  // SetSourcePosition / forceUpdate). Must be deterministic: a source that does
  // not move must give bit-identical gains, so that the element settles into
  // the constant-gain path.
  virtual void convert(nolardsp::CartesianVector const& position, float* gains,
                       unsigned int source) = 0;

  // Gains at the start and at the end of the present period. Written by the
  // audio thread only (at a rotation); a derived class writes nextGains and
  // never these two.
  std::vector<float> startGains;
  std::vector<float> targetGains;
  // The latest answers of convert(); taken up at the next period boundary.
  std::vector<float> nextGains;
  // Samples done in the present period, in [0, rampLength) between blocks.
  int rampPosition;
  // Samples in a period; 0 when the interpolation time is under one sample.
  int rampLength;
  // 1 / rampLength (0 when rampLength is 0).
  float oneOverRampLength;

 private:
  // The chunk loop shared by Process (overwrite) and ProcessAdding.
  void runClock(float** outputs, float** inputs, unsigned long numSamples,
                short const* activeInputs, bool overwrite);
  // startGains <- targetGains <- nextGains; rampPosition := 0.
  void rotate();
  // Grows the three matrices (zeroed) when numInputs * numOutputs exceeds them.
  void ensureMatrixRoom();

  // Renders the chunks. It keeps, per period, each output's contributing
  // inputs and their gains (handed over at every rotation), so a chunk costs
  // the elements that sound plus the sample loops. Sized with the channel
  // counts; allocates nothing in the block routines.
  nolardsp::GainMatrixMixer mixer;
};

}  // namespace Zorv
