#pragma once

#include <atomic>
#include <vector>

#include "NolarFilter.h"

namespace nolardsp {

// An FIR filter whose convolution (direct or by fast transform) can be chosen
// and changed while audio runs. Every operation forwards to the filter that
// does the work; the object's own coefficients and memory stay idle.
//
// SetImplementationMethod builds the new filter on the calling thread (with
// this object's order, rate and block size) and hands it over: the audio
// thread takes it up at the start of its next block, gives it the latest taps
// (this object keeps a copy of every set it is given, on whichever thread), and
// so a block never runs a filter that is being deleted nor one with stale taps.
// The filter it replaces is deleted by the next set-up call (or the
// destructor), never on the audio thread. The signal history is not carried
// across a change of implementation.
class Fir : public Filter {
 public:
  explicit Fir(unsigned int order = 0, FIRImplementation implementation = TimeDomain);
  ~Fir() override;
  Fir(Fir const&) = delete;
  Fir& operator=(Fir const&) = delete;

  using Filter::Process;
  void Process(float* output, float* input, unsigned long numSamples) override;

  void Configure(float samplerate, unsigned int maxBlockSize, bool force) override;
  void SetSamplerate(float samplerate) override;
  void SetMaxBlockSize(unsigned int maxBlockSize) override;
  void Clear() override;

  void SetCoefficients(float* coefficients) override;
  // Forwards to the working filter when other is a Fir of the same
  // implementation (or a filter of the working filter's class).
  void SetState(Filter const& other) override;
  void SetOrder(unsigned int order) override;
  void ClearTaps() override;
  bool IsStable() const override;
  bool IsMinimumPhase() const override;
  void GetCoefficients(std::vector<float>& coefficients) const override;
  unsigned int GetOrder() const override;
  unsigned int GetNumCoefficients() const override;
  void GetMemory(std::vector<float>& memoryOut) const override;
  bool IsSilenced() const override;

  // Nothing when m is the present implementation. Safe while blocks run on
  // another thread; not safe against other set-up calls at the same time.
  void SetImplementationMethod(FIRImplementation m);
  FIRImplementation GetImplementationMethod() const { return implementation; }

  // The filter that does the work (after any pending hand-over is taken up).
  Filter* GetFilter();
  Filter const* GetFilter() const;

 private:
  static Filter* makeFilter(unsigned int order, FIRImplementation m);
  // Audio side of the hand-over: takes up a pending filter when the previous
  // one has been collected.
  void adoptPending();
  // Set-up side: deletes the filter that the audio thread let go.
  void collectRetired();
  Filter* working() const;

  FIRImplementation implementation;
  std::atomic<Filter*> filter;
  std::atomic<Filter*> pendingFilter;
  std::atomic<Filter*> retiredFilter;
};

}  // namespace nolardsp
