#include "ZorvHrtfFiltering.h"

#include <algorithm>
#include <cmath>

#include "NolarVectorOperations.h"

namespace Zorv {

float const HrtfFiltering::DefaultCrossFadeTime = 5.f;
BinauralPanning::HRTFFilterType const HrtfFiltering::DefaultHrtfFilterType =
    BinauralPanning::BiquadFiltering;
nolardsp::Delay::InterpolationMode const HrtfFiltering::DefaultInterpolationModeForDelayLines =
    nolardsp::Delay::InterpolationAllpass;
float const HrtfFiltering::DefaultDelayInterpolationTime = 30.f;
unsigned int const HrtfFiltering::DefaultNumCascades = 6;
unsigned int const HrtfFiltering::DefaultFilterOrder = 511;

namespace {
// The longest delay an ear is given: the line is made for 300 ms and must
// never grow while a block may run.
float const maxEarDelay = 290.f;
}  // namespace

HrtfFiltering::HrtfFiltering(BinauralPanning::HRTFFilterType type, bool needToProcessITD_)
    : SignalProcessing(1, 1, DefaultSampleRate, 512),
      filterType(type),
      numCascades(DefaultNumCascades),
      filterOrder(DefaultFilterOrder),
      delay(nolardsp::Delay::DefaultDelayLineLength, nolardsp::Delay::DefaultInterpolationMode),
      needToProcessITD(needToProcessITD_),
      crossFadeTime(DefaultCrossFadeTime),
      crossFadeType("linear"),
      firImplementation(nolardsp::Filter::TimeDomain),
      delayTarget(0.f),
      delayGlide(DefaultDelayInterpolationTime),
      delayRequests(0u) {
  delay.SetInterpolationMode(DefaultInterpolationModeForDelayLines);
  delay.SetInterpolationTime(DefaultDelayInterpolationTime);
  makeFilter();
  Configure(samplerate, static_cast<unsigned int>(maxBlockSize), true);
}

HrtfFiltering::~HrtfFiltering() = default;

void HrtfFiltering::makeFilter() {
  if (filterType == BinauralPanning::BiquadFiltering && !biquadFilter) {
    biquadFilter = std::make_unique<nolardsp::FadedBiquadCascade>(numCascades);
    biquadFilter->SetCrossFadeType(crossFadeType.c_str());
    biquadFilter->SetCrossFadeTime(crossFadeTime);
  } else if (filterType == BinauralPanning::FirFiltering && !firFilter) {
    firFilter = std::make_unique<nolardsp::FadedFirFilter>(filterOrder);
    firFilter->SetImplementationMethod(firImplementation);
    firFilter->SetCrossFadeType(crossFadeType.c_str());
    firFilter->SetCrossFadeTime(crossFadeTime);
  }
}

void HrtfFiltering::SetFilterType(BinauralPanning::HRTFFilterType type) {
  if (type == filterType) return;
  filterType = type;
  if (type == BinauralPanning::BiquadFiltering) {
    delay.SetInterpolationMode(DefaultInterpolationModeForDelayLines);
    delay.SetInterpolationTime(DefaultDelayInterpolationTime);
  }
  makeFilter();
  if (biquadFilter && type == BinauralPanning::BiquadFiltering) {
    biquadFilter->SetNumCascades(numCascades);
  }
  if (firFilter && type == BinauralPanning::FirFiltering) firFilter->SetOrder(filterOrder);
  Configure(samplerate, static_cast<unsigned int>(maxBlockSize), true);
}

void HrtfFiltering::SetNumCoefficients(unsigned int n) {
  if (filterType == BinauralPanning::BiquadFiltering && biquadFilter) {
    numCascades = n > 0 ? (n - 1) / 4 : 0;
    biquadFilter->SetNumCascades(numCascades);
  } else if (filterType == BinauralPanning::FirFiltering && firFilter) {
    filterOrder = n > 0 ? n - 1 : 0;
    firFilter->SetOrder(filterOrder);
  }
}

void HrtfFiltering::SetCoefficients(float const* values, bool immediately) {
  if (values == nullptr) return;
  float* v = const_cast<float*>(values);
  if (filterType == BinauralPanning::BiquadFiltering && biquadFilter) {
    biquadFilter->SetCoefficients(v, immediately);
  } else if (filterType == BinauralPanning::FirFiltering && firFilter) {
    firFilter->SetCoefficients(v, immediately);
  }
}

void HrtfFiltering::SetDelay(float milliseconds, bool immediately) {
  if (filterType != BinauralPanning::BiquadFiltering) return;
  if (!std::isfinite(milliseconds)) milliseconds = 0.f;
  delayTarget.store(std::min(std::max(milliseconds, 0.f), maxEarDelay), std::memory_order_relaxed);
  delayRequests.fetch_or(delayPending | (immediately ? delayJump : 0u), std::memory_order_release);
}

void HrtfFiltering::SetInterpolationTime(float milliseconds) {
  if (filterType != BinauralPanning::BiquadFiltering) return;
  delayGlide.store(milliseconds, std::memory_order_relaxed);
  delayRequests.fetch_or(glidePending, std::memory_order_release);
}

void HrtfFiltering::takeDelayRequests() {
  unsigned int const r = delayRequests.exchange(0u, std::memory_order_acquire);
  if (r == 0u) return;
  if ((r & glidePending) != 0u)
    delay.SetInterpolationTime(delayGlide.load(std::memory_order_relaxed));
  if ((r & delayPending) != 0u) {
    delay.SetDelay(delayTarget.load(std::memory_order_relaxed), (r & delayJump) != 0u);
  }
}

void HrtfFiltering::SetCrossFadeTime(float milliseconds) {
  crossFadeTime = milliseconds;
  if (biquadFilter) biquadFilter->SetCrossFadeTime(milliseconds);
  if (firFilter) firFilter->SetCrossFadeTime(milliseconds);
}

void HrtfFiltering::SetCrossFadeType(char const* name) {
  crossFadeType = name != nullptr ? name : "";
  if (biquadFilter) biquadFilter->SetCrossFadeType(crossFadeType.c_str());
  if (firFilter) firFilter->SetCrossFadeType(crossFadeType.c_str());
}

void HrtfFiltering::SetFIRFiltersImplementationMethod(nolardsp::Filter::FIRImplementation m) {
  firImplementation = m;
  if (filterType == BinauralPanning::FirFiltering && firFilter) {
    firFilter->SetImplementationMethod(m);
    firFilter->Configure(samplerate, static_cast<unsigned int>(maxBlockSize), true);
  }
}

void HrtfFiltering::SetSamplerate(float rate) {
  if (!(rate > 0.f) || !std::isfinite(rate)) return;
  samplerate = rate;
  if (filterType == BinauralPanning::BiquadFiltering) {
    takeDelayRequests();
    delay.SetSamplerate(rate);
    if (biquadFilter) biquadFilter->SetSamplerate(rate);
  } else if (filterType == BinauralPanning::FirFiltering && firFilter) {
    firFilter->SetSamplerate(rate);
  }
}

void HrtfFiltering::SetMaxBlockSize(unsigned int n) {
  n = std::max(1u, n);
  maxBlockSize = n;
  delayedInput.assign(n, 0.f);
  if (filterType == BinauralPanning::BiquadFiltering) {
    delay.SetMaxBlockSize(n);
    if (biquadFilter) biquadFilter->SetMaxBlockSize(n);
  } else if (filterType == BinauralPanning::FirFiltering && firFilter) {
    firFilter->SetMaxBlockSize(n);
  }
}

void HrtfFiltering::Clear() {
  if (filterType == BinauralPanning::BiquadFiltering) {
    delay.Clear();
    if (biquadFilter) biquadFilter->Clear();
  } else if (filterType == BinauralPanning::FirFiltering && firFilter) {
    firFilter->Clear();
  }
}

void HrtfFiltering::run(float* output, float const* input, unsigned long n, bool adding) {
  float* in = const_cast<float*>(input);
  switch (filterType) {
    case BinauralPanning::BiquadFiltering: {
      if (!biquadFilter) break;
      if (!needToProcessITD) {
        biquadFilter->ProcessBlock(output, in, n, adding);
        return;
      }
      takeDelayRequests();
      // The block is cut to what the delay's run holds.
      unsigned long const room = delayedInput.size();
      for (unsigned long done = 0; done < n;) {
        unsigned long const m = std::min(room, n - done);
        delay.Process(delayedInput.data(), input + done, static_cast<int>(m));
        biquadFilter->ProcessBlock(output + done, delayedInput.data(), m, adding);
        done += m;
      }
      return;
    }
    case BinauralPanning::FirFiltering:
      if (!firFilter) break;
      firFilter->ProcessBlock(output, in, n, adding);
      return;
    case BinauralPanning::NoFiltering:
      if (adding) {
        nolardsp::Add(output, input, n);
      } else if (output != input) {
        nolardsp::Copy(output, input, n);
      }
      return;
    default:
      break;
  }
  if (!adding) nolardsp::Zero(output, n);
}

void HrtfFiltering::Process(float* output, float const* input, unsigned long n) {
  run(output, input, n, false);
}

void HrtfFiltering::ProcessAdding(float* output, float const* input, unsigned long n) {
  run(output, input, n, true);
}

void HrtfFiltering::Process(float** outputs, float** inputs, unsigned long n,
                            short const* activeInputs) {
  if (activeInputs[0] == 0) {
    nolardsp::Zero(outputs[0], n);
    return;
  }
  run(outputs[0], inputs[0], n, false);
}

}  // namespace Zorv
