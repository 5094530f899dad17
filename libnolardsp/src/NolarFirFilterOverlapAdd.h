#pragma once

#include <vector>

#include "NolarComplex.h"
#include "NolarFilter.h"
#include "NolarMultiComplexRamp.h"
#include "NolarRealFFTMac.h"

namespace nolardsp {

// Convolution by fast transform with no added latency: each block is
// zero-padded to fftSize, multiplied by the spectrum of the whole impulse
// response (one partition) and overlap-added into an accumulator ring, from
// which the block's own output is read at once. fftSize is the smallest power
// of two (at least 2) that holds order + maxBlockSize, so the linear
// convolution of any block up to maxBlockSize never wraps.
//
// The applied spectrum is a MultiComplexRamp: new taps given by SetCoefficients
// apply at the start of the next block, at once; SetState starts a glide of
// TapsRampTime from the other filter's spectrum to this one's. The spectrum is
// constant within a block and moves by the block length between blocks. Only
// bins 0 to fftSize / 2 are held, the rest being their mirror.
//
// Threads: Process allocates nothing and never plans a transform. A block
// longer than maxBlockSize is run in pieces of maxBlockSize, which gives the
// same output. SetOrder, SetMaxBlockSize and the constructor plan and
// allocate: set-up path only.
class FirFilterOverlapAdd : public Filter {
 public:
  static float const TapsRampTime;  // 20 milliseconds

  explicit FirFilterOverlapAdd(unsigned int order = 0);
  ~FirFilterOverlapAdd() override;

  using Filter::Process;
  void Process(float* output, float* input, unsigned long numSamples) override;

  // Stores the rate and rescales a glide in progress.
  void SetSamplerate(float samplerate) override;
  // Re-sizes the transform and the ring when n changes; the ring is cleared.
  void SetMaxBlockSize(unsigned int maxBlockSize) override;
  // Zeroes the accumulator, keeping its read position.
  void Clear() override;

  // Copies order + 1 taps and marks them for the next block; no transform here.
  void SetCoefficients(float* coefficients) override;
  // Takes over from other (a FirFilterOverlapAdd of the same sizes): the
  // applied spectrum starts at the other's and glides to this filter's over
  // TapsRampTime; the accumulator is copied, so the other's tail goes on.
  void SetState(Filter const& other) override;
  void SetOrder(unsigned int order) override;
  void ClearTaps() override;
  bool IsStable() const override { return true; }
  bool IsMinimumPhase() const override;
  void GetCoefficients(std::vector<float>& coefficients) const override;
  unsigned int GetNumCoefficients() const override { return order + 1; }

  unsigned int GetFFTSize() const { return fftSize; }
  unsigned int GetAccumulatorSize() const { return accumulatorSize; }
  MultiComplexRamp const& GetTapsRamp() const { return tapsRamp; }

 private:
  static unsigned int fftSizeFor(unsigned int order, unsigned long maxBlockSize);
  void setUpSizes();
  void computeFFTTaps(bool applyNow);
  void processPiece(float* output, float const* input, unsigned long n);

  unsigned int fftSize;
  unsigned int accumulatorSize;
  RealFFTMac<float> fft;
  std::vector<float> paddedTaps;
  std::vector<Complex<float>> fftTaps;
  bool tapsNeedUpdate;
  unsigned int readIndex;
  MultiComplexRamp tapsRamp;
};

}  // namespace nolardsp
