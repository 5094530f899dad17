#include "NolarFirFilterOverlapAdd.h"

#include <algorithm>
#include <cstring>

#include "NolarVectorOperations.h"

namespace nolardsp {

float const FirFilterOverlapAdd::TapsRampTime = 20.f;

unsigned int FirFilterOverlapAdd::fftSizeFor(unsigned int order_, unsigned long maxBlock) {
  unsigned long const needed = static_cast<unsigned long>(order_) + maxBlock;
  unsigned long size = 2;
  while (size < needed) size <<= 1;
  return static_cast<unsigned int>(size);
}

FirFilterOverlapAdd::FirFilterOverlapAdd(unsigned int order_)
    : Filter(),
      fftSize(0),
      accumulatorSize(0),
      fft(fftSizeFor(order_, 512)),
      tapsNeedUpdate(false),
      readIndex(0),
      tapsRamp(0) {
  order = order_;
  coefficients.assign(order + 1, 0.f);
  tapsRamp.SetTimeConstant(TapsRampTime);
  setUpSizes();
}

FirFilterOverlapAdd::~FirFilterOverlapAdd() = default;

void FirFilterOverlapAdd::setUpSizes() {
  fftSize = fftSizeFor(order, maxBlockSize);
  accumulatorSize = fftSize + static_cast<unsigned int>(maxBlockSize);
  fft.SetSize(fftSize);
  unsigned int const bins = fftSize / 2 + 1;
  paddedTaps.assign(fftSize, 0.f);
  fftTaps.assign(bins, Complex<float>{0.f, 0.f});
  tapsRamp.SetNumRamps(bins);
  memory.assign(accumulatorSize, 0.f);
  readIndex = 0;
  computeFFTTaps(true);
}

void FirFilterOverlapAdd::computeFFTTaps(bool applyNow) {
  unsigned int const numTaps = order + 1;
  silenced = !AllFinite(coefficients.data(), numTaps);
  if (silenced) {
    // A set that cannot be run is heard as silence: no spectrum, no tail.
    std::fill(fftTaps.begin(), fftTaps.end(), Complex<float>{0.f, 0.f});
    std::fill(memory.begin(), memory.end(), 0.f);
  } else {
    std::copy(coefficients.begin(), coefficients.end(), paddedTaps.begin());
    std::fill(paddedTaps.begin() + numTaps, paddedTaps.end(), 0.f);
    fft.ForwardHalf(fftTaps.data(), paddedTaps.data(), 0.5f);
  }
  if (applyNow) tapsRamp.SetValues(fftTaps.data(), true);
  tapsNeedUpdate = false;
}

void FirFilterOverlapAdd::processPiece(float* output, float const* input, unsigned long n) {
  if (tapsNeedUpdate) computeFFTTaps(true);
  if (silenced) {
    Zero(output, n);
    return;
  }
  unsigned int const bins = fftSize / 2 + 1;
  float* time = fft.TimeData();
  std::memcpy(time, input, n * sizeof(float));
  std::memset(time + n, 0, (fftSize - n) * sizeof(float));
  fft.ExecuteForward();

  // The applied spectrum, constant over the block; the 1 / fftSize of the
  // inverse transform is folded into the product.
  Complex<float>* __restrict spectrum = fft.SpectrumData();
  Complex<float> const* __restrict taps = tapsRamp.GetCurrentValues();
  float const scale = fft.GetInverseScale();
  for (unsigned int k = 0; k < bins; ++k) {
    float const xr = spectrum[k].re;
    float const xi = spectrum[k].im;
    float const hr = taps[k].re * scale;
    float const hi = taps[k].im * scale;
    spectrum[k].re = xr * hr - xi * hi;
    spectrum[k].im = xr * hi + xi * hr;
  }
  tapsRamp.Advance(static_cast<unsigned int>(n));
  fft.ExecuteInverse();

  // Overlap-add of the n + order samples the linear convolution can fill; the
  // rest of the transform holds only rounding.
  unsigned long const length = std::min<unsigned long>(fftSize, n + order);
  float* ring = memory.data();
  unsigned long const first = std::min<unsigned long>(length, accumulatorSize - readIndex);
  Add(ring + readIndex, time, first);
  Add(ring, time + first, length - first);

  unsigned long const head = std::min<unsigned long>(n, accumulatorSize - readIndex);
  Copy(output, ring + readIndex, head);
  Zero(ring + readIndex, head);
  Copy(output + head, ring, n - head);
  Zero(ring, n - head);
  readIndex = static_cast<unsigned int>((readIndex + n) % accumulatorSize);
}

void FirFilterOverlapAdd::Process(float* output, float* input, unsigned long numSamples) {
  unsigned long const piece = maxBlockSize > 0 ? maxBlockSize : 1;
  while (numSamples > 0) {
    unsigned long const n = numSamples < piece ? numSamples : piece;
    processPiece(output, input, n);
    output += n;
    input += n;
    numSamples -= n;
  }
}

void FirFilterOverlapAdd::SetSamplerate(float rate) {
  samplerate = rate;
  tapsRamp.SetSamplerate(rate);
}

void FirFilterOverlapAdd::SetMaxBlockSize(unsigned int n) {
  if (n < 1) n = 1;
  if (n == maxBlockSize) return;
  maxBlockSize = n;
  setUpSizes();
}

void FirFilterOverlapAdd::Clear() {
  std::fill(memory.begin(), memory.end(), 0.f);
}

void FirFilterOverlapAdd::SetCoefficients(float* values) {
  std::copy(values, values + order + 1, coefficients.begin());
  tapsNeedUpdate = true;
}

void FirFilterOverlapAdd::SetState(Filter const& other) {
  auto const* source = dynamic_cast<FirFilterOverlapAdd const*>(&other);
  if (source == nullptr || source == this) return;
  if (tapsNeedUpdate) computeFFTTaps(false);
  if (source->fftSize != fftSize || source->accumulatorSize != accumulatorSize) {
    // No common spectrum to glide on: this filter's own taps, and a fresh ring.
    tapsRamp.SetValues(fftTaps.data(), true);
    Clear();
    return;
  }
  // From what the other filter applies now (its glide included) to this one's.
  tapsRamp.SetValues(source->tapsRamp.GetCurrentValues(), true);
  tapsRamp.SetValues(fftTaps.data(), false);
  float const* ring = source->memory.data();
  unsigned int const split = accumulatorSize - source->readIndex;
  std::copy(ring + source->readIndex, ring + accumulatorSize, memory.begin());
  std::copy(ring, ring + source->readIndex, memory.begin() + split);
  readIndex = 0;
  if (silenced) Clear();
}

void FirFilterOverlapAdd::SetOrder(unsigned int newOrder) {
  if (newOrder == order && coefficients.size() == order + 1) return;
  order = newOrder;
  coefficients.resize(order + 1, 0.f);
  setUpSizes();
}

void FirFilterOverlapAdd::ClearTaps() {
  std::fill(coefficients.begin(), coefficients.end(), 0.f);
  tapsNeedUpdate = true;
}

bool FirFilterOverlapAdd::IsMinimumPhase() const {
  return DurbinStepDownRecursion(coefficients);
}

void FirFilterOverlapAdd::GetCoefficients(std::vector<float>& out) const {
  std::copy(coefficients.begin(), coefficients.end(), out.begin());
}

}  // namespace nolardsp
