#include "NolarRealFFTMac.h"

#include <fftw3.h>

#include <cstring>

#include "NolarFftwPlanner.h"

namespace nolardsp {

std::mutex& FftwPlannerMutex() {
  static std::mutex plannerMutex;
  return plannerMutex;
}

namespace {

unsigned int powerOfTwoAtLeast(unsigned long n, unsigned int& log2n) {
  unsigned long p = 2;
  log2n = 1;
  while (p < n && p < (1ul << 30)) {
    p <<= 1;
    ++log2n;
  }
  return static_cast<unsigned int>(p);
}

}  // namespace

RealFFTMac<float>::RealFFTMac(unsigned long size_)
    : size(0),
      log2Size(0),
      halfSize(0),
      timeData(nullptr),
      spectrumData(nullptr),
      forwardPlan(nullptr),
      inversePlan(nullptr),
      inverseScale(1.f) {
  SetSize(size_);
}

RealFFTMac<float>::~RealFFTMac() {
  release();
}

void RealFFTMac<float>::release() {
  std::lock_guard<std::mutex> lock(FftwPlannerMutex());
  if (forwardPlan != nullptr) fftwf_destroy_plan(static_cast<fftwf_plan>(forwardPlan));
  if (inversePlan != nullptr) fftwf_destroy_plan(static_cast<fftwf_plan>(inversePlan));
  if (timeData != nullptr) fftwf_free(timeData);
  if (spectrumData != nullptr) fftwf_free(spectrumData);
  forwardPlan = inversePlan = nullptr;
  timeData = nullptr;
  spectrumData = nullptr;
}

void RealFFTMac<float>::SetSize(unsigned long requested) {
  unsigned int log2n = 0;
  unsigned int const n = powerOfTwoAtLeast(requested, log2n);
  if (n == size) return;
  release();
  size = n;
  log2Size = log2n;
  halfSize = n / 2;
  inverseScale = 1.f / static_cast<float>(n);
  std::lock_guard<std::mutex> lock(FftwPlannerMutex());
  timeData = static_cast<float*>(fftwf_malloc(sizeof(float) * n));
  spectrumData =
      static_cast<Complex<float>*>(fftwf_malloc(sizeof(Complex<float>) * (halfSize + 1)));
  auto* spectrum = reinterpret_cast<fftwf_complex*>(spectrumData);
  forwardPlan = fftwf_plan_dft_r2c_1d(static_cast<int>(n), timeData, spectrum, FFTW_ESTIMATE);
  inversePlan = fftwf_plan_dft_c2r_1d(static_cast<int>(n), spectrum, timeData, FFTW_ESTIMATE);
  std::memset(timeData, 0, sizeof(float) * n);
  std::memset(spectrumData, 0, sizeof(Complex<float>) * (halfSize + 1));
}

void RealFFTMac<float>::ExecuteForward() {
  fftwf_execute(static_cast<fftwf_plan>(forwardPlan));
}

void RealFFTMac<float>::ExecuteInverse() {
  fftwf_execute(static_cast<fftwf_plan>(inversePlan));
}

void RealFFTMac<float>::ForwardHalf(Complex<float>* output, float const* input, float scale) {
  std::memcpy(timeData, input, sizeof(float) * size);
  ExecuteForward();
  float const g = 2.f * scale;
  for (unsigned int k = 0; k <= halfSize; ++k) {
    output[k].re = spectrumData[k].re * g;
    output[k].im = spectrumData[k].im * g;
  }
}

void RealFFTMac<float>::InverseHalf(float* output, Complex<float> const* input) {
  std::memcpy(spectrumData, input, sizeof(Complex<float>) * (halfSize + 1));
  // Bins 0 and size/2 of a real signal are real.
  spectrumData[0].im = 0.f;
  spectrumData[halfSize].im = 0.f;
  ExecuteInverse();
  for (unsigned int i = 0; i < size; ++i) output[i] = timeData[i] * inverseScale;
}

void RealFFTMac<float>::fft(Complex<float>* output, float const* input, float scale) {
  ForwardHalf(output, input, scale);
  output[0].im = 0.f;
  output[halfSize].im = 0.f;
  for (unsigned int k = 1; k < halfSize; ++k) {
    output[size - k].re = output[k].re;
    output[size - k].im = -output[k].im;
  }
}

void RealFFTMac<float>::ifft(float* output, Complex<float> const* input) {
  InverseHalf(output, input);
}

}  // namespace nolardsp
