#include "NolarFFT.h"

#include <fftw3.h>

#include <cstring>

#include "NolarException.h"
#include "NolarFftwPlanner.h"

namespace nolardsp {

FFT<float>::FFT(unsigned int size_, float forwardFirstScale, float forwardLastScale,
                float inverseFirstScale, float inverseLastScale)
    : size(0), work(nullptr), plans{nullptr, nullptr} {
  scales[FftForward][0] = forwardFirstScale;
  scales[FftForward][1] = forwardLastScale;
  scales[FftInverse][0] = inverseFirstScale;
  scales[FftInverse][1] = inverseLastScale;
  SetSize(size_, true);
}

FFT<float>::~FFT() {
  release();
}

void FFT<float>::release() {
  std::lock_guard<std::mutex> lock(FftwPlannerMutex());
  for (void*& plan : plans) {
    if (plan != nullptr) fftwf_destroy_plan(static_cast<fftwf_plan>(plan));
    plan = nullptr;
  }
  if (work != nullptr) fftwf_free(work);
  work = nullptr;
}

void FFT<float>::SetSize(unsigned int n, bool force) {
  if (n == size && !force && work != nullptr) return;
  if (n == 0 || (n & (n - 1)) != 0) NOLAR_THROW("FFT: size not power of 2");
  release();
  size = n;
  std::lock_guard<std::mutex> lock(FftwPlannerMutex());
  work = static_cast<Complex<float>*>(fftwf_malloc(sizeof(Complex<float>) * n));
  std::memset(work, 0, sizeof(Complex<float>) * n);
  auto* w = reinterpret_cast<fftwf_complex*>(work);
  plans[FftForward] = fftwf_plan_dft_1d(static_cast<int>(n), w, w, FFTW_FORWARD, FFTW_ESTIMATE);
  plans[FftInverse] = fftwf_plan_dft_1d(static_cast<int>(n), w, w, FFTW_BACKWARD, FFTW_ESTIMATE);
}

void FFT<float>::process(Complex<float>* data, FftTransform direction) {
  int const d = direction == FftInverse ? FftInverse : FftForward;
  float const first = scales[d][0];
  float const last = scales[d][1];
  for (unsigned int i = 0; i < size; ++i) {
    work[i].re = data[i].re * first;
    work[i].im = data[i].im * first;
  }
  fftwf_execute(static_cast<fftwf_plan>(plans[d]));
  for (unsigned int i = 0; i < size; ++i) {
    data[i].re = work[i].re * last;
    data[i].im = work[i].im * last;
  }
}

}  // namespace nolardsp
