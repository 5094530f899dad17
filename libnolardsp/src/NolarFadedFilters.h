#pragma once

#include <algorithm>
#include <atomic>
#include <cmath>
#include <map>
#include <string>
#include <vector>

#include "NolarSignalProcessing.h"
#include "NolarVectorOperations.h"

namespace nolardsp {

// How the outgoing and the incoming filter are weighed during a cross-fade, w
// going from 0 (outgoing alone) to 1 (incoming alone).
enum CrossFadeType : int {
  CrossFadeLinear = 0,        // "linear": 1 - w and w
  CrossFadeCosine = 1,        // "cosine": cos(w pi/2) and sin(w pi/2), constant power
  CrossFadeSquareCosine = 2,  // "squareCosine": their squares, constant amplitude
};

// A filter of class T whose coefficients can change under a running signal
// without a click. Two filters run side by side: the one in use keeps going,
// the other takes the new set, runs one block unheard (so that a recursive
// filter settles on real input), and then the output is cross-faded from the
// first to the second over the cross-fade time. Each new set takes one step of
// the cycle 0 -> 2 -> 3 -> 1 -> 4 -> 5 -> 0 (see State).
//
// A set that arrives during a warm-up or a fade waits for its end, and of
// several waiting sets only the latest is used. With a cross-fade time of 0 (or
// a set given with immediately = true) the set takes effect at the next block
// (or at once) in whichever filter is idle, with no fade; a warm-up in progress
// then ends at once. A fade always ends: after its last sample only the new
// filter runs. The fade is N = ceil(ms * rate / 1000) samples (at least 2, at
// most 10 s), the first at the start gains, the last exactly at the new filter
// alone; gains are computed from the sample's place in the fade, not summed.
//
// Threads: SetCoefficients(..., false) may be called from one non-audio thread
// while blocks run: the set is handed over whole through a lock-free triple
// buffer (the writer fills its own slot and swaps it in; the audio thread swaps
// the newest slot out), so a block never sees half a set. Several writers at
// once must be serialised by the caller. SetCoefficients(..., true) swaps at
// once on the caller's thread and must not race with a block. Process and
// ProcessBlock allocate nothing; SetMaxBlockSize and the derived classes'
// SetOrder / SetNumCascades resize (set-up path).
template <typename T>
class FadedFilters : public SignalProcessing {
 public:
  enum State : int {
    FilterOneActive = 0,    // filterOne heard and run
    FilterTwoActive = 1,    // filterTwo heard and run
    WarmingFilterTwo = 2,   // filterOne heard; both run, filterTwo has the new set
    FadingToFilterTwo = 3,  // the mix
    WarmingFilterOne = 4,   // filterTwo heard; both run, filterOne has the new set
    FadingToFilterOne = 5,  // the mix
  };

  static constexpr float DefaultCrossFadeTime = 5.f;  // milliseconds
  static constexpr double MaxCrossFadeSeconds = 10.0;

  explicit FadedFilters(CrossFadeType type = CrossFadeLinear);
  ~FadedFilters() override = default;

  // Channel 0 only; an inactive input leaves the output as it stands and does
  // not advance a warm-up or a fade.
  void Process(float** outputs, float** inputs, unsigned long numSamples,
               short const* activeInputs) override;
  // The same on plain pointers; with adding the result is added to output.
  // output and input may be the same run.
  void ProcessBlock(float* output, float* input, unsigned long numSamples, bool adding);

  // Copies GetNumCoefficients() floats as the pending set.
  void SetCoefficients(float* coefficients, bool immediately);
  // Milliseconds; takes effect at the next fade. NaN is ignored; 0 or less
  // means no fade.
  void SetCrossFadeTime(float milliseconds);
  float GetCrossFadeTime() const { return crossFadeTime.load(std::memory_order_relaxed); }
  // "linear", "cosine" or "squareCosine"; an unknown word gives "linear".
  // Takes effect at the next fade.
  void SetCrossFadeType(char const* name);
  void SetCrossFadeType(CrossFadeType type) {
    nextCrossFadeType.store(type, std::memory_order_relaxed);
  }
  CrossFadeType GetCrossFadeType() const {
    return nextCrossFadeType.load(std::memory_order_relaxed);
  }

  // A rate that is not a positive finite number is ignored.
  void SetSamplerate(float samplerate) override;
  void SetMaxBlockSize(unsigned int maxBlockSize) override;
  // Clears the signal memory of both filters; the fade state stays.
  void Clear() override;

  int GetState() const { return state; }
  int GetSamplesRemaining() const { return samplesRemaining; }
  bool HasPendingCoefficients() const {
    return (pendingMiddle.load(std::memory_order_acquire) & freshBit) != 0;
  }
  unsigned int GetNumCoefficients() const { return numCoefficients; }
  // The fade length in samples that a fade started now would have.
  int GetFadeLength() const;
  float GetGainOne() const { return gainOne; }
  float GetGainTwo() const { return gainTwo; }
  T& GetFilterOne() { return filterOne; }
  T& GetFilterTwo() { return filterTwo; }
  T const& GetFilterOne() const { return filterOne; }
  T const& GetFilterTwo() const { return filterTwo; }
  // The filter heard once the present fade has ended.
  T& GetActiveFilter() { return (state == 0 || state == 4 || state == 5) ? filterOne : filterTwo; }

 protected:
  // Sizes the pending slots (set-up path); the derived classes call it when
  // they resize their filters.
  void setNumCoefficients(unsigned int n);

  void update();
  // The swap without a fade, on whichever thread asked for it.
  void swapWithoutFade();
  void startWarmUp(bool towardsTwo, float const* set);
  void startFade(bool towardsTwo);
  void endFade();
  void processFading(float* output, float* input, unsigned long n, bool adding);
  void setGainsAt(int position);
  // Audio side of the triple buffer: the newest set, or null if none is new.
  float const* takePending();

  static constexpr unsigned int freshBit = 4u;
  static constexpr float halfPi = 1.5707964f;

  float gainOne;
  float gainTwo;
  float gainOneStep;
  float gainTwoStep;
  int samplesRemaining;
  int state;
  unsigned int flags;
  // Set from the message thread, read at the start of a block.
  std::atomic<float> crossFadeTime;
  unsigned int numCoefficients;
  std::vector<float> pendingCoefficients[3];
  std::atomic<unsigned int> pendingMiddle;
  unsigned int pendingBack;
  unsigned int pendingFront;
  std::vector<float> bufferOne;
  std::vector<float> bufferTwo;
  T filterOne;
  T filterTwo;
  CrossFadeType crossFadeType;                   // of the fade running
  std::atomic<CrossFadeType> nextCrossFadeType;  // of the next fade
  std::map<std::string, CrossFadeType> crossFadeTypeMap;
  int fadeLength;
  int fadePosition;
  bool fadeTowardsTwo;
};

// ---------------------------------------------------------------------------

template <typename T>
FadedFilters<T>::FadedFilters(CrossFadeType type)
    : SignalProcessing(1, 1, DefaultSampleRate, 512),
      gainOne(1.f),
      gainTwo(0.f),
      gainOneStep(0.f),
      gainTwoStep(0.f),
      samplesRemaining(0),
      state(FilterOneActive),
      flags(0),
      crossFadeTime(DefaultCrossFadeTime),
      numCoefficients(0),
      pendingMiddle(1u),
      pendingBack(0),
      pendingFront(2),
      bufferOne(512, 0.f),
      bufferTwo(512, 0.f),
      crossFadeType(type),
      nextCrossFadeType(type),
      fadeLength(2),
      fadePosition(0),
      fadeTowardsTwo(true) {
  setNumCoefficients(filterOne.GetNumCoefficients());
}

template <typename T>
void FadedFilters<T>::setNumCoefficients(unsigned int n) {
  numCoefficients = n;
  for (auto& slot : pendingCoefficients) slot.assign(n, 0.f);
  // A set of the old size is of no use any more.
  pendingMiddle.store(pendingMiddle.load() & 3u);
}

template <typename T>
void FadedFilters<T>::SetCoefficients(float* values, bool immediately) {
  std::copy(values, values + numCoefficients, pendingCoefficients[pendingBack].begin());
  pendingBack = pendingMiddle.exchange(pendingBack | freshBit, std::memory_order_acq_rel) & 3u;
  if (immediately) {
    flags |= 2u;
    swapWithoutFade();
    flags &= ~2u;
  }
}

template <typename T>
float const* FadedFilters<T>::takePending() {
  if ((pendingMiddle.load(std::memory_order_acquire) & freshBit) == 0) return nullptr;
  pendingFront = pendingMiddle.exchange(pendingFront, std::memory_order_acq_rel) & 3u;
  return pendingCoefficients[pendingFront].data();
}

template <typename T>
void FadedFilters<T>::SetCrossFadeTime(float milliseconds) {
  if (std::isnan(milliseconds)) return;
  crossFadeTime.store(milliseconds, std::memory_order_relaxed);
}

template <typename T>
void FadedFilters<T>::SetCrossFadeType(char const* name) {
  if (crossFadeTypeMap.empty()) {
    crossFadeTypeMap["linear"] = CrossFadeLinear;
    crossFadeTypeMap["cosine"] = CrossFadeCosine;
    crossFadeTypeMap["squareCosine"] = CrossFadeSquareCosine;
  }
  SetCrossFadeType(crossFadeTypeMap[name != nullptr ? name : ""]);
}

template <typename T>
void FadedFilters<T>::SetSamplerate(float rate) {
  if (!(rate > 0.f) || !std::isfinite(rate)) return;
  samplerate = rate;
  filterOne.SetSamplerate(rate);
  filterTwo.SetSamplerate(rate);
}

template <typename T>
void FadedFilters<T>::SetMaxBlockSize(unsigned int n) {
  if (n < 1) n = 1;
  maxBlockSize = n;
  bufferOne.assign(n, 0.f);
  bufferTwo.assign(n, 0.f);
  filterOne.SetMaxBlockSize(n);
  filterTwo.SetMaxBlockSize(n);
}

template <typename T>
void FadedFilters<T>::Clear() {
  filterOne.Clear();
  filterTwo.Clear();
}

template <typename T>
int FadedFilters<T>::GetFadeLength() const {
  double const limit = std::max(2.0, std::floor(MaxCrossFadeSeconds * samplerate));
  double samples = std::ceil(static_cast<double>(GetCrossFadeTime()) * samplerate * 0.001);
  if (!(samples >= 2.0)) samples = 2.0;
  if (samples > limit) samples = limit;
  return static_cast<int>(samples);
}

template <typename T>
void FadedFilters<T>::startWarmUp(bool towardsTwo, float const* set) {
  T& incoming = towardsTwo ? filterTwo : filterOne;
  T& outgoing = towardsTwo ? filterOne : filterTwo;
  incoming.SetCoefficients(const_cast<float*>(set));
  incoming.SetState(outgoing);
  samplesRemaining = static_cast<int>(maxBlockSize);
  state = towardsTwo ? WarmingFilterTwo : WarmingFilterOne;
  bool const trig = GetCrossFadeType() != CrossFadeLinear;
  if (towardsTwo) {
    gainOne = trig ? 0.f : 1.f;
    gainTwo = 0.f;
  } else {
    gainOne = trig ? halfPi : 0.f;
    gainTwo = trig ? halfPi : 1.f;
  }
  gainOneStep = gainTwoStep = 0.f;
}

template <typename T>
void FadedFilters<T>::startFade(bool towardsTwo) {
  crossFadeType = GetCrossFadeType();
  fadeLength = GetFadeLength();
  fadePosition = 0;
  fadeTowardsTwo = towardsTwo;
  samplesRemaining = fadeLength;
  state = towardsTwo ? FadingToFilterTwo : FadingToFilterOne;
  bool const trig = crossFadeType != CrossFadeLinear;
  float const span = trig ? halfPi : 1.f;
  float const step = span / static_cast<float>(fadeLength - 1);
  if (trig) {
    gainOneStep = gainTwoStep = towardsTwo ? step : -step;
  } else {
    gainOneStep = towardsTwo ? -step : step;
    gainTwoStep = -gainOneStep;
  }
  setGainsAt(0);
}

template <typename T>
void FadedFilters<T>::setGainsAt(int position) {
  // w: weight of filterTwo, exact at both ends.
  float t = position >= fadeLength - 1
                ? 1.f
                : static_cast<float>(static_cast<double>(position) / (fadeLength - 1));
  float const w = fadeTowardsTwo ? t : 1.f - t;
  if (crossFadeType == CrossFadeLinear) {
    gainOne = 1.f - w;
    gainTwo = w;
  } else {
    gainOne = gainTwo = w * halfPi;
  }
}

template <typename T>
void FadedFilters<T>::endFade() {
  samplesRemaining = 0;
  setGainsAt(fadeLength - 1);
  gainOneStep = gainTwoStep = 0.f;
  if (state == FadingToFilterTwo) state = FilterTwoActive;
  if (state == FadingToFilterOne) state = FilterOneActive;
}

template <typename T>
void FadedFilters<T>::swapWithoutFade() {
  // The count of a warm-up is not that of a fade: a warm-up ends here.
  if (state == WarmingFilterTwo || state == WarmingFilterOne) samplesRemaining = 0;
  float const* set = takePending();
  if (set == nullptr) {
    // Its filter already holds the newest set.
    if (state == WarmingFilterTwo) state = FilterTwoActive;
    if (state == WarmingFilterOne) state = FilterOneActive;
    return;
  }
  float* values = const_cast<float*>(set);
  switch (state) {
    case FilterOneActive:
    case FadingToFilterTwo:
      filterTwo.SetCoefficients(values);
      filterTwo.SetState(filterOne);
      state = FilterTwoActive;
      break;
    case FilterTwoActive:
    case FadingToFilterOne:
      filterOne.SetCoefficients(values);
      filterOne.SetState(filterTwo);
      state = FilterOneActive;
      break;
    case WarmingFilterTwo:
      // filterTwo has run on the same input since its warm-up began: it keeps
      // that history and takes the newer set.
      filterTwo.SetCoefficients(values);
      state = FilterTwoActive;
      break;
    case WarmingFilterOne:
    default:
      filterOne.SetCoefficients(values);
      state = FilterOneActive;
      break;
  }
  // A fade already running goes on to its end when it leads to the filter now
  // in use; one that leads away from it is dropped.
  if (samplesRemaining > 0 && fadeTowardsTwo != (state == FilterTwoActive)) samplesRemaining = 0;
  if (samplesRemaining < 0) samplesRemaining = 0;
}

template <typename T>
void FadedFilters<T>::update() {
  bool const pending = HasPendingCoefficients();
  if (!pending && state != WarmingFilterTwo && state != WarmingFilterOne) return;
  if (!(GetCrossFadeTime() > 0.f)) {
    swapWithoutFade();
    return;
  }
  switch (state) {
    case FilterOneActive:
    case FilterTwoActive:
      // A fade that an immediate swap left running finishes first.
      if (samplesRemaining > 0) return;
      if (float const* set = takePending()) startWarmUp(state == FilterOneActive, set);
      break;
    case WarmingFilterTwo:
      startFade(true);
      break;
    case WarmingFilterOne:
      startFade(false);
      break;
    default:
      break;
  }
}

template <typename T>
void FadedFilters<T>::Process(float** outputs, float** inputs, unsigned long numSamples,
                              short const* activeInputs) {
  if (activeInputs[0] == 0) return;
  ProcessBlock(outputs[0], inputs[0], numSamples, false);
}

template <typename T>
void FadedFilters<T>::ProcessBlock(float* output, float* input, unsigned long numSamples,
                                   bool adding) {
  // An empty block is not a block: it neither warms a filter up nor fades.
  if (numSamples == 0) return;
  update();
  unsigned long const piece = bufferOne.size();
  while (numSamples > 0) {
    if (samplesRemaining <= 0 && (state == FilterOneActive || state == FilterTwoActive)) {
      T& active = state == FilterOneActive ? filterOne : filterTwo;
      if (!adding) {
        active.Process(output, input, numSamples);
        return;
      }
      while (numSamples > 0) {
        unsigned long const m = std::min(numSamples, piece);
        active.Process(bufferOne.data(), input, m);
        Add(output, bufferOne.data(), m);
        output += m;
        input += m;
        numSamples -= m;
      }
      return;
    }
    unsigned long m = std::min(numSamples, piece);
    if (state == WarmingFilterTwo || state == WarmingFilterOne) {
      // Both run; the outgoing filter alone is heard.
      filterOne.Process(bufferOne.data(), input, m);
      filterTwo.Process(bufferTwo.data(), input, m);
      float const* heard = state == WarmingFilterTwo ? bufferOne.data() : bufferTwo.data();
      if (adding) {
        Add(output, heard, m);
      } else {
        Copy(output, heard, m);
      }
      samplesRemaining = std::max(0, samplesRemaining - static_cast<int>(m));
    } else {
      m = std::min(m, static_cast<unsigned long>(samplesRemaining));
      processFading(output, input, m, adding);
      samplesRemaining -= static_cast<int>(m);
      fadePosition += static_cast<int>(m);
      if (samplesRemaining <= 0) {
        endFade();
      } else {
        setGainsAt(fadePosition);
      }
    }
    output += m;
    input += m;
    numSamples -= m;
  }
}

namespace fadedfilters_detail {

// out[k] (=|+=) law(wA, wB) mixes of a and b, w of sample k = w0 + k * dw, the
// last one of the whole fade given exactly.
template <int Law, bool Adding>
inline void mix(float* __restrict out, float const* __restrict a, float const* __restrict b,
                unsigned long n, int position, int length, bool towardsTwo) {
  double const inv = 1.0 / static_cast<double>(length - 1);
  for (unsigned long k = 0; k < n; ++k) {
    int const p = position + static_cast<int>(k);
    float const t = p >= length - 1 ? 1.f : static_cast<float>(p * inv);
    float const w = towardsTwo ? t : 1.f - t;
    float ga;
    float gb;
    if constexpr (Law == CrossFadeLinear) {
      ga = 1.f - w;
      gb = w;
    } else {
      ga = std::sin((1.f - w) * 1.5707964f);
      gb = std::sin(w * 1.5707964f);
      if constexpr (Law == CrossFadeSquareCosine) {
        ga *= ga;
        gb *= gb;
      }
    }
    float const y = ga * a[k] + gb * b[k];
    if constexpr (Adding) {
      out[k] += y;
    } else {
      out[k] = y;
    }
  }
}

}  // namespace fadedfilters_detail

template <typename T>
void FadedFilters<T>::processFading(float* output, float* input, unsigned long n, bool adding) {
  filterOne.Process(bufferOne.data(), input, n);
  filterTwo.Process(bufferTwo.data(), input, n);
  using fadedfilters_detail::mix;
  float const* a = bufferOne.data();
  float const* b = bufferTwo.data();
  int const p = fadePosition;
  int const len = fadeLength;
  bool const two = fadeTowardsTwo;
  switch (crossFadeType) {
    case CrossFadeCosine:
      adding ? mix<CrossFadeCosine, true>(output, a, b, n, p, len, two)
             : mix<CrossFadeCosine, false>(output, a, b, n, p, len, two);
      break;
    case CrossFadeSquareCosine:
      adding ? mix<CrossFadeSquareCosine, true>(output, a, b, n, p, len, two)
             : mix<CrossFadeSquareCosine, false>(output, a, b, n, p, len, two);
      break;
    default:
      adding ? mix<CrossFadeLinear, true>(output, a, b, n, p, len, two)
             : mix<CrossFadeLinear, false>(output, a, b, n, p, len, two);
      break;
  }
}

}  // namespace nolardsp
