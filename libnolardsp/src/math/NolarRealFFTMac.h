#pragma once

#include "NolarComplex.h"

namespace nolardsp {

template <typename T>
class RealFFTMac;

// The real-input transform of a power-of-two size (at least 2).
//
// fft gives the plain unnormalised DFT of size real samples, times 2 * scale
// (every caller passes 0.5), as a full array of size bins, the upper half the
// conjugate mirror of the lower. ifft takes a plain DFT (only bins 0 to size/2
// are read) and returns the time signal, divided by size: ifft(fft(x, 0.5)) is x.
//
// The half-spectrum forms read and write size/2 + 1 bins only; the convolution
// works on them.
//
// Threads: the constructor and SetSize plan the transform (under one lock
// shared by every transform of the library, since the planner is not
// re-entrant) and allocate: set-up path only. fft, ifft and the half forms
// allocate nothing and may run on the audio thread; one object is used by one
// thread at a time.
template <>
class RealFFTMac<float> {
 public:
  explicit RealFFTMac(unsigned long size = 1024);
  ~RealFFTMac();
  RealFFTMac(RealFFTMac const&) = delete;
  RealFFTMac& operator=(RealFFTMac const&) = delete;

  // Re-plans when the size changes. A size that is not a power of two is
  // raised to the next one; sizes below 2 become 2.
  void SetSize(unsigned long size);
  unsigned int GetSize() const { return size; }
  unsigned int GetHalfSize() const { return halfSize; }
  unsigned int GetLog2Size() const { return log2Size; }
  float GetInverseScale() const { return inverseScale; }

  void fft(Complex<float>* output, float const* input, float scale);
  void ifft(float* output, Complex<float> const* input);

  // size real samples in, size/2 + 1 bins out, times 2 * scale.
  void ForwardHalf(Complex<float>* output, float const* input, float scale);
  // size/2 + 1 bins in, size samples out, divided by size.
  void InverseHalf(float* output, Complex<float> const* input);

  // The transform's own work arrays: size samples and size/2 + 1 bins. A caller
  // that fills TimeData and calls ExecuteForward finds the raw DFT in
  // SpectrumData (no scaling); ExecuteInverse takes SpectrumData (which it
  // destroys) to size times the time signal in TimeData.
  float* TimeData() { return timeData; }
  Complex<float>* SpectrumData() { return spectrumData; }
  void ExecuteForward();
  void ExecuteInverse();

 private:
  void release();

  unsigned int size;
  unsigned int log2Size;
  unsigned int halfSize;
  float* timeData;
  Complex<float>* spectrumData;
  void* forwardPlan;
  void* inversePlan;
  float inverseScale;
};

}  // namespace nolardsp
