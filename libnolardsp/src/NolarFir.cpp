#include "NolarFir.h"

#include <algorithm>
#include <typeinfo>

#include "NolarFirFilterOverlapAdd.h"
#include "NolarFirTimeDomain.h"

namespace nolardsp {

Fir::Fir(unsigned int order_, FIRImplementation m)
    : Filter(),
      implementation(m),
      filter(makeFilter(order_, m)),
      pendingFilter(nullptr),
      retiredFilter(nullptr) {
  order = order_;
  coefficients.assign(order + 1, 0.f);
}

Fir::~Fir() {
  delete pendingFilter.exchange(nullptr);
  delete retiredFilter.exchange(nullptr);
  delete filter.exchange(nullptr);
}

Filter* Fir::makeFilter(unsigned int order_, FIRImplementation m) {
  if (m == FFTConvolution) return new FirFilterOverlapAdd(order_);
  return new FirTimeDomain(order_);
}

void Fir::adoptPending() {
  if (pendingFilter.load(std::memory_order_acquire) == nullptr) return;
  // Only this side stores a filter into retiredFilter, only when it is empty.
  if (retiredFilter.load(std::memory_order_acquire) != nullptr) return;
  Filter* next = pendingFilter.exchange(nullptr, std::memory_order_acq_rel);
  if (next == nullptr) return;
  next->SetCoefficients(coefficients.data());
  Filter* previous = filter.exchange(next, std::memory_order_acq_rel);
  retiredFilter.store(previous, std::memory_order_release);
}

void Fir::collectRetired() {
  adoptPending();
  delete retiredFilter.exchange(nullptr, std::memory_order_acq_rel);
  adoptPending();
  delete retiredFilter.exchange(nullptr, std::memory_order_acq_rel);
}

Filter* Fir::working() const {
  return filter.load(std::memory_order_acquire);
}

Filter* Fir::GetFilter() {
  collectRetired();
  return working();
}

Filter const* Fir::GetFilter() const {
  return working();
}

void Fir::Process(float* output, float* input, unsigned long numSamples) {
  adoptPending();
  working()->Process(output, input, numSamples);
}

void Fir::Configure(float rate, unsigned int blockSize, bool force) {
  collectRetired();
  samplerate = rate;
  maxBlockSize = blockSize;
  working()->Configure(rate, blockSize, force);
}

void Fir::SetSamplerate(float rate) {
  collectRetired();
  samplerate = rate;
  working()->SetSamplerate(rate);
}

void Fir::SetMaxBlockSize(unsigned int n) {
  collectRetired();
  maxBlockSize = n;
  working()->SetMaxBlockSize(n);
}

void Fir::Clear() {
  working()->Clear();
}

void Fir::SetCoefficients(float* values) {
  std::copy(values, values + coefficients.size(), coefficients.begin());
  working()->SetCoefficients(values);
}

void Fir::SetState(Filter const& other) {
  adoptPending();
  Filter* f = working();
  if (auto const* otherFir = dynamic_cast<Fir const*>(&other)) {
    Filter const* source = otherFir->working();
    if (otherFir != this && typeid(*source) == typeid(*f)) f->SetState(*source);
    return;
  }
  f->SetState(other);
}

void Fir::SetOrder(unsigned int n) {
  collectRetired();
  order = n;
  coefficients.resize(n + 1, 0.f);
  working()->SetOrder(n);
}

void Fir::ClearTaps() {
  std::fill(coefficients.begin(), coefficients.end(), 0.f);
  working()->ClearTaps();
}

bool Fir::IsSilenced() const {
  return working()->IsSilenced();
}

bool Fir::IsStable() const {
  return working()->IsStable();
}

bool Fir::IsMinimumPhase() const {
  return working()->IsMinimumPhase();
}

void Fir::GetCoefficients(std::vector<float>& out) const {
  working()->GetCoefficients(out);
}

unsigned int Fir::GetOrder() const {
  return working()->GetOrder();
}

unsigned int Fir::GetNumCoefficients() const {
  return working()->GetNumCoefficients();
}

void Fir::GetMemory(std::vector<float>& memoryOut) const {
  working()->GetMemory(memoryOut);
}

void Fir::SetImplementationMethod(FIRImplementation m) {
  if (m != FFTConvolution) m = TimeDomain;
  if (m == implementation) return;
  implementation = m;
  delete retiredFilter.exchange(nullptr, std::memory_order_acq_rel);

  // The taps are given when the filter is taken up, so that a set that
  // arrives in between is not lost.
  delete pendingFilter.exchange(nullptr, std::memory_order_acq_rel);
  Filter* next = makeFilter(order, m);
  next->Configure(samplerate, static_cast<unsigned int>(maxBlockSize), true);
  pendingFilter.store(next, std::memory_order_release);
}

}  // namespace nolardsp
