#include "NolarFirTimeDomain.h"

#include <algorithm>
#include <cstring>

#include "NolarVectorOperations.h"

namespace nolardsp {

namespace {

// Outputs computed together: their partial sums stay in registers while the
// taps go by.
constexpr unsigned long runLength = 16;

template <unsigned long R>
inline void dotRun(float* __restrict out, float const* __restrict taps,
                   float const* __restrict history, unsigned int numTaps) {
  float acc[R] = {};
  for (unsigned int j = 0; j < numTaps; ++j) {
    float const t = taps[j];
    float const* h = history + j;
    for (unsigned long k = 0; k < R; ++k) acc[k] += t * h[k];
  }
  for (unsigned long k = 0; k < R; ++k) out[k] = acc[k];
}

}  // namespace

FirTimeDomain::FirTimeDomain(unsigned int order_) : Filter() {
  order = order_;
  coefficients.assign(order + 1, 0.f);
  reversedTaps.assign(order + 1, 0.f);
  memory.assign(order + maxBlockSize, 0.f);
}

FirTimeDomain::~FirTimeDomain() = default;

void FirTimeDomain::processPiece(float* output, float const* input, unsigned long n) {
  float* h = memory.data();
  std::memmove(h + order, input, n * sizeof(float));
  if (silenced) {
    Zero(output, n);
  } else {
    unsigned int const numTaps = order + 1;
    float const* taps = reversedTaps.data();
    unsigned long i = 0;
    for (; i + runLength <= n; i += runLength) dotRun<runLength>(output + i, taps, h + i, numTaps);
    for (; i + 4 <= n; i += 4) dotRun<4>(output + i, taps, h + i, numTaps);
    for (; i < n; ++i) dotRun<1>(output + i, taps, h + i, numTaps);
  }
  if (order > 0) std::memmove(h, h + n, order * sizeof(float));
}

void FirTimeDomain::Process(float* output, float* input, unsigned long numSamples) {
  unsigned long const piece = maxBlockSize > 0 ? maxBlockSize : 1;
  while (numSamples > 0) {
    unsigned long const n = numSamples < piece ? numSamples : piece;
    processPiece(output, input, n);
    output += n;
    input += n;
    numSamples -= n;
  }
}

void FirTimeDomain::SetSamplerate(float rate) {
  samplerate = rate;
}

void FirTimeDomain::SetMaxBlockSize(unsigned int n) {
  if (n < 1) n = 1;
  if (n == maxBlockSize && memory.size() == order + n) return;
  maxBlockSize = n;
  memory.resize(order + n, 0.f);
}

void FirTimeDomain::Clear() {
  std::fill(memory.begin(), memory.end(), 0.f);
}

void FirTimeDomain::SetCoefficients(float* values) {
  unsigned int const numTaps = order + 1;
  std::copy(values, values + numTaps, coefficients.begin());
  silenced = !AllFinite(values, numTaps);
  for (unsigned int j = 0; j < numTaps; ++j) reversedTaps[j] = coefficients[order - j];
}

void FirTimeDomain::SetState(Filter const& other) {
  auto const* source = dynamic_cast<FirTimeDomain const*>(&other);
  if (source == nullptr || source == this) return;
  // Align the newest samples; a shorter history leaves the oldest ones at 0.
  unsigned int const k = std::min(order, source->order);
  float* h = memory.data();
  std::fill(h, h + (order - k), 0.f);
  std::copy(source->memory.data() + (source->order - k), source->memory.data() + source->order,
            h + (order - k));
}

void FirTimeDomain::SetOrder(unsigned int newOrder) {
  if (newOrder == order && coefficients.size() == order + 1) return;
  std::vector<float> history(newOrder + maxBlockSize, 0.f);
  unsigned int const k = std::min(order, newOrder);
  std::copy(memory.data() + (order - k), memory.data() + order, history.data() + (newOrder - k));
  memory.swap(history);
  order = newOrder;
  coefficients.resize(order + 1, 0.f);
  reversedTaps.assign(order + 1, 0.f);
  SetCoefficients(coefficients.data());
}

void FirTimeDomain::ClearTaps() {
  std::fill(coefficients.begin(), coefficients.end(), 0.f);
  std::fill(reversedTaps.begin(), reversedTaps.end(), 0.f);
  silenced = false;
}

bool FirTimeDomain::IsMinimumPhase() const {
  return DurbinStepDownRecursion(coefficients);
}

void FirTimeDomain::GetCoefficients(std::vector<float>& out) const {
  std::copy(coefficients.begin(), coefficients.end(), out.begin());
}

void FirTimeDomain::GetMemory(std::vector<float>& memoryOut) const {
  memoryOut.assign(memory.data(), memory.data() + order);
}

}  // namespace nolardsp
