#include "ZorvNFCHOAHighPassFilterBank.h"

#include "NolarVectorOperations.h"

namespace Zorv {

NFCHOAHighPassFilterBank::NFCHOAHighPassFilterBank(unsigned int order_, unsigned int dimension)
    : SignalProcessing(order_ + 1, order_ + 1, DefaultSampleRate, 512),
      order(order_),
      filters(order_ + 1) {
  for (unsigned int m = 1; m <= order; ++m) {
    filters[m] = std::make_unique<NFCHOAHighPass>(m, dimension);
  }
}

NFCHOAHighPassFilterBank::~NFCHOAHighPassFilterBank() = default;

void NFCHOAHighPassFilterBank::SetSourceRadius(float radius) {
  for (unsigned int m = 1; m <= order; ++m) filters[m]->SetSourceRadius(radius);
}

void NFCHOAHighPassFilterBank::SetSamplerate(float rate) {
  if (!(rate > 0.f) || !std::isfinite(rate)) return;
  samplerate = rate;
  for (unsigned int m = 1; m <= order; ++m) filters[m]->SetSamplerate(rate);
}

void NFCHOAHighPassFilterBank::SetMaxBlockSize(unsigned int n) {
  maxBlockSize = n;
  for (unsigned int m = 1; m <= order; ++m) filters[m]->SetMaxBlockSize(n);
}

void NFCHOAHighPassFilterBank::Clear() {
  for (unsigned int m = 1; m <= order; ++m) filters[m]->Clear();
}

void NFCHOAHighPassFilterBank::Process(float** outputs, float** inputs, unsigned long n,
                                       short const*) {
  if (outputs[0] != inputs[0]) nolardsp::Copy(outputs[0], inputs[0], n);
  for (unsigned int m = 1; m <= order; ++m) filters[m]->Process(outputs[m], inputs[m], n);
}

}  // namespace Zorv
