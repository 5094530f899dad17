#include "ZorvIIRFilter.h"

#include <algorithm>

#include "NolarVectorOperations.h"

namespace Zorv {

IIRFilter::IIRFilter(unsigned int order_) : nolardsp::Filter() {
  SetOrder(order_);
}

IIRFilter::~IIRFilter() = default;

void IIRFilter::SetOrder(unsigned int n) {
  order = n;
  denominator.assign(n + 1, 0.f);
  numerator.assign(n + 1, 0.f);
  denominator[0] = 1.f;
  memory.assign(n, 0.f);
  outputMemory.assign(n, 0.f);
  scratch.assign(n + 1, 0.0);
  silenced = false;
}

void IIRFilter::Process(float* output, float* input, unsigned long n) {
  SetDenormalsToZero();
  if (silenced) {
    nolardsp::Zero(output, n);
    return;
  }
  float const b0 = numerator[0];
  float const* b = numerator.data();
  float const* a = denominator.data();
  float* xm = memory.data();
  float* ym = outputMemory.data();
  if (order == 1) {
    // The first-order case the head and torso models run many of.
    float const b1 = b[1];
    float const a1 = a[1];
    float x1 = xm[0];
    float y1 = ym[0];
    for (unsigned long i = 0; i < n; ++i) {
      float const x = input[i];
      float const y = b0 * x + (b1 * x1 - a1 * y1);
      x1 = x;
      y1 = y;
      output[i] = y;
    }
    xm[0] = x1;
    ym[0] = y1;
  } else {
    for (unsigned long i = 0; i < n; ++i) {
      float const x = input[i];
      float y = b0 * x;
      for (unsigned int k = order; k >= 1; --k) y += b[k] * xm[k - 1] - a[k] * ym[k - 1];
      for (unsigned int k = order; k > 1; --k) {
        xm[k - 1] = xm[k - 2];
        ym[k - 1] = ym[k - 2];
      }
      if (order > 0) {
        xm[0] = x;
        ym[0] = y;
      }
      output[i] = y;
    }
  }
  if (!AllFinite(memory.data(), memory.size()) ||
      !AllFinite(outputMemory.data(), outputMemory.size())) {
    nolardsp::Zero(output, n);
    Clear();
  }
}

void IIRFilter::Clear() {
  std::fill(memory.begin(), memory.end(), 0.f);
  std::fill(outputMemory.begin(), outputMemory.end(), 0.f);
}

void IIRFilter::SetCoefficients(float* values) {
  unsigned int const count = order + 1;
  std::copy(values, values + count, numerator.begin());
  std::copy(values + count, values + 2 * count, denominator.begin());
  bool const wasSilenced = silenced;
  // The recursion runs as if a0 were 1: that is the polynomial to test.
  float const a0 = denominator[0];
  denominator[0] = 1.f;
  bool const stable = DurbinStepDownRecursion(denominator.data(), count, scratch.data());
  denominator[0] = a0;
  silenced = !AllFinite(values, 2 * count) || !stable;
  if (wasSilenced && !silenced) Clear();
}

void IIRFilter::SetState(nolardsp::Filter const&) {
  Clear();
}

void IIRFilter::ClearTaps() {
  std::fill(numerator.begin(), numerator.end(), 0.f);
  std::fill(denominator.begin(), denominator.end(), 0.f);
  denominator[0] = 1.f;
  silenced = false;
}

bool IIRFilter::IsStable() const {
  return DurbinStepDownRecursion(denominator);
}

bool IIRFilter::IsMinimumPhase() const {
  return DurbinStepDownRecursion(numerator);
}

void IIRFilter::GetCoefficients(std::vector<float>&) const {}

}  // namespace Zorv
