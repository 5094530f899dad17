#pragma once

#include <vector>

namespace nolardsp {

// The mixing engine of the gain matrices (AmplitudePanning, SignalMatrix): it
// renders one chunk of a period in which every gain moves on a straight line
// from its start value to its target value.
//
// Per chunk of c samples at position p of a period of L samples, the element
// from input i to output j with start s and target t gives
//   g0 = p * (1/L) * (t - s) + s,  g1 = (p + c) * (1/L) * (t - s) + s,
//   step = (g1 - g0) / c,
// and sample k of the chunk is weighted by g0 + k * step, computed from the
// start of the chunk rather than by accumulation. A standing element (t == s)
// thus weighs exactly t. Each output is the sum over its inputs in ascending
// order, formed strictly left to right as a series of multiply-add passes
// would form it; elements that are 0 at both ends are left out.
//
// The owner hands over start and target with SetPeriod() whenever they change
// (at every period boundary). That is where the work that depends only on the
// gains is done once per period: each output's contributing inputs are listed
// and their gains gathered contiguously, so that a chunk costs a pass over the
// contributing elements plus the sample loops.
//
// Threads: Resize allocates (set-up only). SetPeriod and Mix allocate nothing
// and run on the audio thread.
class GainMatrixMixer {
 public:
  GainMatrixMixer();

  // Room for numInputs x numOutputs; forgets the period (all gains 0).
  void Resize(unsigned int numInputs, unsigned int numOutputs);

  // The gains of the period under way, laid out [i * numOutputs + j].
  void SetPeriod(float const* startGains, float const* targetGains);

  // Renders c samples starting at offset into every output. With overwrite
  // the outputs are written (an output with no contributing active input is
  // zeroed), otherwise added to. Inactive inputs are not read. With jump the
  // gains stand at their targets (a period of no length).
  void Mix(float** outputs, float* const* inputs, unsigned long offset, unsigned long c,
           int position, float oneOverLength, short const* activeInputs, bool overwrite, bool jump);

 private:
  unsigned int numInputs;
  unsigned int numOutputs;
  // Per output j, entries [j * numInputs, j * numInputs + counts[j]): the
  // contributing inputs in ascending order with their start and target gains.
  std::vector<unsigned int> counts;
  std::vector<unsigned int> index;
  std::vector<float> start;
  std::vector<float> target;
  // True when every listed element has start == target: chunks then need
  // no per-element work before the sample loops.
  bool standing;
  // Per output: 1 when the next output lists exactly the same inputs.
  std::vector<unsigned char> pairedWithNext;
  // The chunk under way, same layout: with inactive inputs, the active
  // entries; in a moving period, each entry's gain and step for the chunk.
  std::vector<unsigned int> chunkIndex;
  std::vector<float> chunkGain;
  std::vector<float> chunkStep;
  std::vector<unsigned int> chunkCounts;
  // A run's active inputs copied side by side, and where each one stands.
  std::vector<float> packedSamples;
  std::vector<float*> packedInputs;
};

// True when at least one of the first numInputs flags is set.
inline bool AnyInputActive(short const* activeInputs, unsigned int numInputs) {
  for (unsigned int i = 0; i < numInputs; ++i) {
    if (activeInputs[i] != 0) return true;
  }
  return false;
}

// The period clock shared by every gain matrix: mixes numSamples in chunks
// that never cross a period boundary and calls rotate() (which must set
// rampPosition to 0) at each boundary. rampLength is read once per chunk, as
// a message thread may change it at any time. A period shortened under the
// position, or one of no length, ends at once; with no length, the rest of
// the block stands at the target gains. Called on the audio thread; allocates
// nothing.
template <typename Rotate>
void RunPeriodClock(GainMatrixMixer& mixer, int const& rampLength, int& rampPosition,
                    Rotate&& rotate, float** outputs, float* const* inputs,
                    unsigned long numSamples, short const* activeInputs, bool overwrite) {
  unsigned long remaining = numSamples;
  unsigned long offset = 0;
  while (remaining > 0) {
    int const length = rampLength;
    if (rampPosition >= length) rotate();
    if (length < 1) {
      mixer.Mix(outputs, inputs, offset, remaining, 0, 0.f, activeInputs, overwrite, true);
      rotate();
      return;
    }
    unsigned long const left = static_cast<unsigned long>(length - rampPosition);
    unsigned long const c = remaining < left ? remaining : left;
    mixer.Mix(outputs, inputs, offset, c, rampPosition, 1.f / static_cast<float>(length),
              activeInputs, overwrite, false);
    rampPosition += static_cast<int>(c);
    remaining -= c;
    offset += c;
    if (rampPosition >= length) rotate();
  }
}

}  // namespace nolardsp
