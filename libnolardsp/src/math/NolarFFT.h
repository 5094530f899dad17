#pragma once

#include "NolarComplex.h"

namespace nolardsp {

enum FftTransform : int {
  FftForward = 0,  // sum of x[n] e^(-2 pi i k n / size)
  FftInverse = 1,  // sum of X[k] e^(+2 pi i k n / size)
};

template <typename T>
class FFT;

// An in-place complex transform of a power-of-two size (1 allowed).
//
// Each direction has two scale factors, one applied as the data enters the
// transform and one as it leaves; the result of a direction is the plain
// unnormalised sum times both. FFT(n, 0.5f, n, 1, 1.f / n) thus gives a forward
// transform scaled by n / 2 and an inverse that undoes a plain forward DFT.
//
// Threads: the constructor and SetSize plan and allocate (set-up path); process
// allocates nothing and may run on the audio thread, one thread at a time.
template <>
class FFT<float> {
 public:
  FFT(unsigned int size, float forwardFirstScale = 1.f, float forwardLastScale = 1.f,
      float inverseFirstScale = 1.f, float inverseLastScale = 1.f);
  ~FFT();
  FFT(FFT const&) = delete;
  FFT& operator=(FFT const&) = delete;

  // Re-plans when the size changes or force is true. Raises Exception with
  // "FFT: size not power of 2" when size is not a power of two (0 included);
  // the transform is then left as it was.
  void SetSize(unsigned int size, bool force);
  unsigned int GetSize() const { return size; }

  // Transforms size values of data in place.
  void process(Complex<float>* data, FftTransform direction);

 private:
  void release();

  unsigned int size;
  float scales[2][2];
  Complex<float>* work;
  void* plans[2];
};

}  // namespace nolardsp
