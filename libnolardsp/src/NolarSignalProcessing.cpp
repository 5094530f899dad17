#include "NolarSignalProcessing.h"

#include "NolarVectorOperations.h"

#if defined(__x86_64__) || defined(__SSE__)
#include <xmmintrin.h>
#define NOLAR_HAS_MXCSR 1
#endif

namespace nolardsp {

float const SignalProcessing::DefaultSampleRate = 44100.f;

SignalProcessing::SignalProcessing(unsigned int numInputs_, unsigned int numOutputs_,
                                   float samplerate_, unsigned long maxBlockSize_)
    : numInputs(numInputs_),
      numOutputs(numOutputs_),
      samplerate(samplerate_),
      maxBlockSize(maxBlockSize_) {}

SignalProcessing::~SignalProcessing() = default;

void SignalProcessing::Bypass(float** outputs, float** inputs, unsigned long numSamples,
                              short const* activeInputs) {
  unsigned int const m = numInputs < numOutputs ? numInputs : numOutputs;
  for (unsigned int i = 0; i < m; ++i) {
    if (activeInputs[i] != 0) {
      Copy(outputs[i], inputs[i], numSamples);
    } else {
      Zero(outputs[i], numSamples);
    }
  }
  for (unsigned int i = m; i < numOutputs; ++i) Zero(outputs[i], numSamples);
}

void SignalProcessing::Mute(float** outputs, unsigned long numSamples) {
  for (unsigned int i = 0; i < numOutputs; ++i) Zero(outputs[i], numSamples);
}

void SignalProcessing::Configure(float samplerate_, unsigned int maxBlockSize_, bool force) {
  if (force || samplerate_ != samplerate || maxBlockSize_ != maxBlockSize) {
    SetSamplerate(samplerate_);
    SetMaxBlockSize(maxBlockSize_);
    Clear();
  }
  SetDenormalsToZero();
}

void SignalProcessing::SetDenormalsToZero() {
#ifdef NOLAR_HAS_MXCSR
  // FTZ (bit 15) and DAZ (bit 6).
  _mm_setcsr(_mm_getcsr() | 0x8040u);
#endif
}

bool SignalProcessing::DenormalsAreFlushed() {
#ifdef NOLAR_HAS_MXCSR
  return (_mm_getcsr() & 0x8040u) == 0x8040u;
#else
  return false;
#endif
}

}  // namespace nolardsp
