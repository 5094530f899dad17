#pragma once

#include <map>
#include <string>
#include <vector>

#include "NolarSignalProcessing.h"

namespace nolardsp {

// The abstract single-channel filter: one input, one output. FIR filters
// (direct and fast-transform convolution) and recursive filters (biquad
// cascades, general IIR) share this shape so that FadedFilters<T> can run any of
// them.
//
// Threads: the single-channel Process runs on the audio thread and allocates
// nothing. SetCoefficients only copies (it is also called on the audio thread
// by FadedFilters) and allocates nothing. SetOrder, SetSamplerate,
// SetMaxBlockSize and Configure size memory: they must not race with Process.
//
// A set of coefficients that holds a NaN or an infinity (and, for the recursive
// filters, a set whose poles are not inside the unit circle) is kept but not
// run: the filter outputs silence until the next good set arrives.
class Filter : public SignalProcessing {
 public:
  enum FIRImplementation : int {
    TimeDomain = 0,      // direct convolution
    FFTConvolution = 1,  // overlap-add by fast transform
  };

  Filter();
  ~Filter() override;

  // Channel 0 only. An inactive input leaves the output as it stands and the
  // filter state unmoved.
  void Process(float** outputs, float** inputs, unsigned long numSamples,
               short const* activeInputs) override;

  // One block through the filter. output and input may be the same run.
  virtual void Process(float* output, float* input, unsigned long numSamples) = 0;
  virtual void SetCoefficients(float* coefficients) = 0;
  // Takes over the signal history of other, which must be of the same class.
  virtual void SetState(Filter const& other) = 0;
  virtual void SetOrder(unsigned int order) = 0;
  virtual void ClearTaps() = 0;
  virtual bool IsStable() const = 0;
  virtual bool IsMinimumPhase() const = 0;
  // Writes GetNumCoefficients() floats into a vector that is already that long.
  virtual void GetCoefficients(std::vector<float>& coefficients) const = 0;
  virtual unsigned int GetOrder() const;
  virtual unsigned int GetNumCoefficients() const = 0;
  // Resizes memoryOut to the signal state and copies it.
  virtual void GetMemory(std::vector<float>& memoryOut) const;

  // True while the present coefficient set is not run (non-finite values, or
  // poles on or outside the unit circle): the filter outputs zeros.
  virtual bool IsSilenced() const { return silenced; }

  // The value of a user's word: "timedomain" and "direct" are 0, "fftconvolution"
  // and "fft" are 1. An unknown word is entered in the map and gives 0.
  static FIRImplementation GetFIRImplementation(char const* name);

  // True when every root of the polynomial (coefficients in order of falling
  // powers, taken as they stand) lies strictly inside the unit circle, by the
  // step-down recursion. A polynomial of one coefficient passes.
  static bool DurbinStepDownRecursion(std::vector<float> const& polynomial);
  // The same on n values with a caller's scratch of n doubles: allocates nothing.
  static bool DurbinStepDownRecursion(float const* polynomial, unsigned int n, double* scratch);
  // True when all n values are finite numbers.
  static bool AllFinite(float const* values, unsigned long n);

 protected:
  static void initFIRImplementationMap();
  static std::map<std::string, FIRImplementation> firImplementationMap;

  unsigned int order;
  std::vector<float> coefficients;
  std::vector<float> memory;
  bool silenced;
};

}  // namespace nolardsp
