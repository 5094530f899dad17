#include "NolarDelay.h"

#include <algorithm>
#include <cmath>

#include "NolarVectorOperations.h"

namespace nolardsp {

float const Delay::DefaultDelayLineLength = 300.f;
Delay::InterpolationMode const Delay::DefaultInterpolationMode = Delay::InterpolationLinear;
float const Delay::DefaultInterpolationTime = 30.f;
int const Delay::MaxBufferLength = 1 << 24;

namespace {

float const oneSixth = 0.16666667f;
float const twoThirds = 0.6666667f;

// The four-point read-outs: b is the sample at the read position's floor, a
// the one before it, c and d the two after; f in [0, 1) is the distance from b
// towards c.
template <int Mode>
inline float readOut(float a, float b, float c, float d, float f, float& previous) {
  if constexpr (Mode == Delay::InterpolationLinear) {
    (void)a;
    (void)d;
    (void)previous;
    return b + f * (c - b);
  } else if constexpr (Mode == Delay::InterpolationLagrange) {
    (void)previous;
    return b + f * (((6.f * c - 2.f * a - 3.f * b - d) * oneSixth) +
                    f * (((c + a - 2.f * b) * 0.5f) + f * ((d - a + 3.f * (b - c)) * oneSixth)));
  } else if constexpr (Mode == Delay::InterpolationAllpass) {
    (void)a;
    (void)d;
    // First-order all-pass for a delay of 1 - f samples behind c.
    float const eta = (1.f - (1.f - f)) / ((1.f - f) + 1.f);
    float const y = eta * (c - previous) + b;
    previous = y;
    return y;
  } else if constexpr (Mode == Delay::InterpolationHermite) {
    (void)previous;
    return b + f * ((c - a) * 0.5f + f * ((a - 2.5f * b + 2.f * c - 0.5f * d) +
                                          f * (1.5f * (b - c) + 0.5f * (d - a))));
  } else if constexpr (Mode == Delay::InterpolationWatte) {
    (void)previous;
    float const s = a + d;
    return b + f * ((1.5f * c - 0.5f * (s + b)) + f * (0.5f * (s - b - c)));
  } else if constexpr (Mode == Delay::InterpolationBSpline) {
    (void)previous;
    return (a + c) * oneSixth + twoThirds * b +
           f * ((c - a) * 0.5f +
                f * (((a + c) * 0.5f - b) + f * ((d - a) * oneSixth + (b - c) * 0.5f)));
  } else {
    static_assert(Mode == Delay::InterpolationParabolic, "no such read-out");
    (void)previous;
    return (a + c) * 0.25f + b * 0.5f + f * ((c - a) * 0.5f + f * ((d - b - (c - a)) * 0.25f));
  }
}

// One run at a constant fraction; s points at b of the first output sample and
// s[-1] .. s[n + 1] are readable.
template <int Mode>
void readRun(float* __restrict out, float const* __restrict s, int n, float f, float& state) {
  float previous = state;
  for (int k = 0; k < n; ++k)
    out[k] = readOut<Mode>(s[k - 1], s[k], s[k + 1], s[k + 2], f, previous);
  state = previous;
}

// Read positions of a delay of d samples behind position base, split so that
// the fraction does not depend on how far into the ring base lies: the read
// position is p + f with f in [0, 1).
inline void splitFloor(float d, int base, int& p, float& f) {
  float const whole = std::floor(d);
  float const below = d - whole;  // exact
  p = base - static_cast<int>(whole);
  if (below == 0.f) {
    f = 0.f;
  } else {
    p -= 1;
    f = 1.f - below;
  }
}

// Delays that a ring can be asked to read without the int conversions going
// astray; anything outside (NaN included) is no delay a caller meant.
inline bool isReadable(float d) {
  float const bound = 2.f * static_cast<float>(Delay::MaxBufferLength);
  return d >= -bound && d <= bound;
}

}  // namespace

Delay::Delay(float maxDelayMs, InterpolationMode const& mode)
    : SignalProcessing(1, 1, DefaultSampleRate, 512),
      bufferLength(0),
      allocatedLength(0),
      maxDelay(0.f),
      writeIndex(0),
      tapState(0.f),
      interpolationMode(mode),
      interpolationTime(DefaultInterpolationTime),
      bufferMask(0) {
  SetMaxDelay(maxDelayMs);
  delayRamp.Start(0.f, 0.f);
}

Delay::~Delay() = default;

namespace {

// The block size the ring is sized for, kept sane against absurd requests.
int blockLimit(unsigned long maxBlockSize) {
  unsigned long const top = static_cast<unsigned long>(Delay::MaxBufferLength / 2);
  if (maxBlockSize < 1) return 1;
  return static_cast<int>(std::min(maxBlockSize, top));
}

}  // namespace

float Delay::longestDelaySamples() const {
  return static_cast<float>(std::max(0, bufferLength - blockLimit(maxBlockSize) - 1));
}

void Delay::SetMaxDelay(float milliseconds) {
  if (!(milliseconds >= 0.f)) milliseconds = 0.f;
  float const withMargin = 5.f + milliseconds;
  int const block = blockLimit(maxBlockSize);
  int const room = MaxBufferLength - block - 1;
  float const samples = std::trunc(withMargin * samplerate * 0.001f);
  long needed;
  if (samples < static_cast<float>(room)) {
    needed = block + 1 + static_cast<long>(samples);
    maxDelay = withMargin;
  } else {
    // The largest ring there is: the maximum becomes what it holds.
    needed = MaxBufferLength;
    maxDelay = static_cast<float>(room) * 1000.f / samplerate;
  }
  int length = 1;
  while (length < needed) length <<= 1;
  bufferLength = length;
  bufferMask = length - 1;
  if (bufferLength > allocatedLength) {
    buffer.reserve(2 * (static_cast<std::size_t>(bufferLength) + 8));
    buffer.resize(static_cast<std::size_t>(bufferLength) + 8, 0.f);
    allocatedLength = bufferLength;
  }
  writeIndex &= bufferMask;
  float const longest = longestDelaySamples();
  if (delayRamp.GetTargetValue() > longest || delayRamp.GetCurrentValue() > longest) {
    delayRamp.Start(longest, 0.f);
  }
  Clear();
}

void Delay::SetDelay(float milliseconds, bool immediately) {
  if (!(milliseconds > 0.f)) milliseconds = 0.f;
  if (milliseconds > maxDelay) SetMaxDelay(milliseconds);
  float const target = std::min(milliseconds * samplerate * 0.001f, longestDelaySamples());
  // A glide shorter than one sample would never move: it is a jump.
  bool const jump = immediately || Ramp::LengthInSamples(samplerate, interpolationTime) == 0;
  delayRamp.Start(target, jump ? 0.f : interpolationTime);
}

void Delay::SetSamplerate(float newRate) {
  if (!(newRate > 0.f) || !std::isfinite(newRate)) return;
  float ms = 1000.f * delayRamp.GetTargetValue() / samplerate;
  ms = std::min(std::max(ms, 0.f), maxDelay);
  samplerate = newRate;
  SetMaxDelay(maxDelay);
  delayRamp.SetSamplerate(newRate);
  float const target = std::min(ms * newRate * 0.001f, longestDelaySamples());
  bool const jump = Ramp::LengthInSamples(samplerate, interpolationTime) == 0;
  delayRamp.Start(target, jump ? 0.f : interpolationTime);
}

void Delay::SetMaxBlockSize(unsigned int n) {
  maxBlockSize = n;
  SetMaxDelay(maxDelay);
}

void Delay::Clear() {
  std::fill(buffer.begin(), buffer.end(), 0.f);
  tapState = 0.f;
}

void Delay::refreshGuards() {
  float* r = ring();
  r[-1] = r[bufferLength - 1];
  r[bufferLength] = r[0];
  r[bufferLength + 1] = r[1 & bufferMask];
}

void Delay::Process(float** outputs, float** inputs, unsigned long numSamples,
                    short const* activeInputs) {
  if (activeInputs[0] == 0) return;
  Process(outputs[0], inputs[0], static_cast<int>(numSamples));
}

void Delay::Process(float* output, float const* input, int numSamples) {
  SetDenormalsToZero();
  int const block = std::min(blockLimit(maxBlockSize), std::max(1, bufferLength - 1));
  while (numSamples > 0) {
    int const n = std::min(numSamples, block);
    float* r = ring();
    int const w = writeIndex & bufferMask;
    int const first = std::min(bufferLength - w, n);
    Copy(r + w, input, static_cast<unsigned long>(first));
    if (n > first) Copy(r, input + first, static_cast<unsigned long>(n - first));
    TapOut(output, static_cast<unsigned int>(n), delayRamp, interpolationMode, tapState);
    writeIndex = (writeIndex + n) & bufferMask;
    output += n;
    input += n;
    numSamples -= n;
  }
}

void Delay::TapOut(float* output, int numSamples, float delaySamples, InterpolationMode const& mode,
                   float& state) {
  if (numSamples <= 0) return;
  if (!isReadable(delaySamples)) delaySamples = 0.f;
  int p;
  float f;
  bool const nearest = mode == InterpolationNearest || mode == InterpolationTwoTapFade;
  if (nearest) {
    p = writeIndex - static_cast<int>(std::lrint(delaySamples));
    f = 0.f;
  } else {
    splitFloor(delaySamples, writeIndex, p, f);
  }
  refreshGuards();
  float const* r = ring();
  int i = p & bufferMask;
  while (numSamples > 0) {
    int const run = std::min(bufferLength - i, numSamples);
    float const* s = r + i;
    switch (mode) {
      case InterpolationLinear:
        LinearInterpolation(output, s, f, static_cast<unsigned long>(run));
        break;
      case InterpolationLagrange:
        readRun<InterpolationLagrange>(output, s, run, f, state);
        break;
      case InterpolationAllpass:
        readRun<InterpolationAllpass>(output, s, run, f, state);
        break;
      case InterpolationHermite:
        readRun<InterpolationHermite>(output, s, run, f, state);
        break;
      case InterpolationWatte:
        readRun<InterpolationWatte>(output, s, run, f, state);
        break;
      case InterpolationBSpline:
        readRun<InterpolationBSpline>(output, s, run, f, state);
        break;
      case InterpolationParabolic:
        readRun<InterpolationParabolic>(output, s, run, f, state);
        break;
      default:
        // Nearest, two-tap fade at rest, and unknown modes (floored sample).
        Copy(output, s, static_cast<unsigned long>(run));
        break;
    }
    output += run;
    numSamples -= run;
    i = (i + run) & bufferMask;
  }
}

namespace {

// Reads n samples along the ramp, each at its own position, stepping the ramp
// once per sample without snapping it to its target when the steps run out.
template <int Mode>
void readGlide(float* __restrict out, float const* r, int mask, int writeIndex, int n,
               float& current, float increment, int& stepsRemaining, float& state) {
  float previous = state;
  for (int k = 0; k < n; ++k) {
    float const d = current;
    if (stepsRemaining > 0) {
      current = d + increment;
      --stepsRemaining;
    }
    if constexpr (Mode < 0) {
      (void)previous;
      out[k] = r[(writeIndex + k - static_cast<int>(std::lrint(d))) & mask];
    } else {
      int p;
      float f;
      splitFloor(d, writeIndex + k, p, f);
      int const i = p & mask;
      out[k] = readOut<Mode>(r[i - 1], r[i], r[i + 1], r[i + 2], f, previous);
    }
  }
  state = previous;
}

}  // namespace

void Delay::TapOut(float* output, unsigned int numSamples, Ramp& delay,
                   InterpolationMode const& mode, float& state) {
  if (delay.stepsRemaining == 0) {
    TapOut(output, static_cast<int>(numSamples), delay.currentValue, mode, state);
    return;
  }
  int const n = static_cast<int>(numSamples);
  if (n <= 0) return;
  float const end =
      delay.currentValue +
      delay.increment * static_cast<float>(std::min(n, std::max(0, delay.stepsRemaining)));
  if (!isReadable(delay.currentValue) || !isReadable(end)) {
    // A ramp from outside that no ring can serve: silence rather than
    // undefined reads.
    Zero(output, numSamples);
    return;
  }
  refreshGuards();
  float const* r = ring();
  switch (mode) {
    case InterpolationTwoTapFade: {
      // The two ends of the glide are fixed taps for the whole block; the
      // output fades from the one to the other as the ramp advances.
      float const* u = r;
      float const* v = r;
      if (isReadable(delay.startValue) && isReadable(delay.targetValue)) {
        u = r + ((writeIndex - static_cast<int>(std::lrint(delay.startValue))) & bufferMask);
        v = r + ((writeIndex - static_cast<int>(std::lrint(delay.targetValue))) & bufferMask);
      }
      float const total = static_cast<float>(delay.totalSteps > 0 ? delay.totalSteps : 1);
      for (int k = 0; k < n; ++k) {
        float const w = 1.f - static_cast<float>(delay.stepsRemaining) / total;
        output[k] = (1.f - w) * *u + w * *v;
        if (delay.stepsRemaining > 0) {
          delay.currentValue += delay.increment;
          --delay.stepsRemaining;
        }
      }
      break;
    }
    case InterpolationLinear:
      readGlide<InterpolationLinear>(output, r, bufferMask, writeIndex, n, delay.currentValue,
                                     delay.increment, delay.stepsRemaining, state);
      break;
    case InterpolationLagrange:
      readGlide<InterpolationLagrange>(output, r, bufferMask, writeIndex, n, delay.currentValue,
                                       delay.increment, delay.stepsRemaining, state);
      break;
    case InterpolationAllpass:
      readGlide<InterpolationAllpass>(output, r, bufferMask, writeIndex, n, delay.currentValue,
                                      delay.increment, delay.stepsRemaining, state);
      break;
    case InterpolationHermite:
      readGlide<InterpolationHermite>(output, r, bufferMask, writeIndex, n, delay.currentValue,
                                      delay.increment, delay.stepsRemaining, state);
      break;
    case InterpolationWatte:
      readGlide<InterpolationWatte>(output, r, bufferMask, writeIndex, n, delay.currentValue,
                                    delay.increment, delay.stepsRemaining, state);
      break;
    case InterpolationBSpline:
      readGlide<InterpolationBSpline>(output, r, bufferMask, writeIndex, n, delay.currentValue,
                                      delay.increment, delay.stepsRemaining, state);
      break;
    case InterpolationParabolic:
      readGlide<InterpolationParabolic>(output, r, bufferMask, writeIndex, n, delay.currentValue,
                                        delay.increment, delay.stepsRemaining, state);
      break;
    default:
      // Nearest and unknown modes: the rounded sample.
      readGlide<-1>(output, r, bufferMask, writeIndex, n, delay.currentValue, delay.increment,
                    delay.stepsRemaining, state);
      break;
  }
}

}  // namespace nolardsp
