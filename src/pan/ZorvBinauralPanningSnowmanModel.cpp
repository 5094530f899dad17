#include "ZorvBinauralPanningSnowmanModel.h"

#include <algorithm>
#include <cmath>

#include "NolarException.h"
#include "NolarVectorOperations.h"
#include "ZorvDefaultParameters.h"
#include "ZorvNullPanning.h"
#include "ZorvSphereShadowFilter.h"

namespace Zorv {

using nolardsp::CartesianVector;

float const BinauralPanningSnowmanModel::DefaultTorsoReflectionCoefficient = 0.3f;
float const BinauralPanningSnowmanModel::MinHeadRadius = 0.01f;
float const BinauralPanningSnowmanModel::MaxHeadRadius = 10.f;
float const BinauralPanningSnowmanModel::MinTorsoRadius = 0.01f;
float const BinauralPanningSnowmanModel::MaxTorsoRadiusRatio = 0.9f;
float const BinauralPanningSnowmanModel::DefaultInterpolationTime = 30.f;

namespace {

float const halfPi = 1.5707964f;
float const pi = 3.1415927f;
float const msPerMetre = 2.9411764f;  // 1000 / 340

float dot(CartesianVector const& a, CartesianVector const& b) {
  return a.x * b.x + a.y * b.y + a.z * b.z;
}
float length(CartesianVector const& a) {
  return std::sqrt(dot(a, a));
}
CartesianVector scaled(CartesianVector const& a, float s) {
  return CartesianVector(a.x * s, a.y * s, a.z * s);
}
CartesianVector minus(CartesianVector const& a, CartesianVector const& b) {
  return CartesianVector(a.x - b.x, a.y - b.y, a.z - b.z);
}
CartesianVector plus(CartesianVector const& a, CartesianVector const& b) {
  return CartesianVector(a.x + b.x, a.y + b.y, a.z + b.z);
}
// acos with its argument kept in range against rounding.
float safeAcos(float q) {
  if (std::isnan(q)) return halfPi;
  return std::acos(std::max(-1.f, std::min(1.f, q)));
}

// The source's direction. A source at the centre of the head is heard from
// the front; components beyond a float's square are brought back first.
CartesianVector directionOf(CartesianVector s) {
  for (float* c : {&s.x, &s.y, &s.z}) {
    if (std::isnan(*c)) *c = 0.f;
    *c = std::max(-1e15f, std::min(1e15f, *c));
  }
  float const D = length(s);
  if (!(D > 0.f)) return CartesianVector(0.f, 1.f, 0.f);
  return scaled(s, 1.f / D);
}

// u L^2 - p d: the part of u perpendicular to d, scaled by L^2. Along d itself
// every perpendicular is as good; the one towards the front is taken.
CartesianVector perpendicular(CartesianVector const& u, CartesianVector const& d, float L) {
  float const L2 = L * L;
  CartesianVector w = minus(scaled(u, L2), scaled(d, dot(u, d)));
  if (length(w) > 1e-6f * L2) return w;
  for (CartesianVector const& axis :
       {CartesianVector(0.f, 1.f, 0.f), CartesianVector(1.f, 0.f, 0.f)}) {
    w = minus(scaled(axis, L2), scaled(d, dot(axis, d)));
    if (length(w) > 1e-3f * L2) return w;
  }
  return CartesianVector(0.f, L2, 0.f);
}

unsigned int const directPending = 1u;
unsigned int const reflectedPending = 2u;
unsigned int const gainsPending = 4u;
unsigned int const jump = 8u;
unsigned int const glidePending = 16u;
// Within the lines' 300 ms, so that no delay asks a line to grow while blocks
// run.
float const maxEarDelay = 290.f;
float earDelay(float milliseconds) {
  if (!std::isfinite(milliseconds)) return 0.f;
  return std::min(std::max(milliseconds, 0.f), maxEarDelay);
}

float clampHeadRadius(float r) {
  if (!(r >= BinauralPanningSnowmanModel::MinHeadRadius)) {
    return BinauralPanningSnowmanModel::MinHeadRadius;
  }
  return std::min(r, BinauralPanningSnowmanModel::MaxHeadRadius);
}

}  // namespace

// ---------------------------------------------------------------------------
// One ear.

BinauralPanningSnowmanModel::SnowmanProcessing::SnowmanProcessing()
    : reflectedDelay(nolardsp::Delay::DefaultDelayLineLength,
                     nolardsp::Delay::DefaultInterpolationMode),
      directDelay(nolardsp::Delay::DefaultDelayLineLength,
                  nolardsp::Delay::DefaultInterpolationMode),
      reflectedFilter(1),
      torsoFilter(1),
      headFilter(1),
      shadowed(false),
      reflectionCoefficient(DefaultTorsoReflectionCoefficient),
      directTarget(0.f),
      reflectedTarget(0.f),
      directGainTarget(1.f),
      reflectedGainTarget(0.f),
      glide(DefaultInterpolationTime),
      requests(0u) {
  for (nolardsp::Delay* d : {&reflectedDelay, &directDelay}) {
    d->SetInterpolationMode(nolardsp::Delay::InterpolationAllpass);
    d->SetInterpolationTime(DefaultInterpolationTime);
  }
  directGain.SetTimeConstant(DefaultInterpolationTime);
  reflectedGain.SetTimeConstant(DefaultInterpolationTime);
  directGain.SetValue(1.f, true);
  reflectedGain.SetValue(0.f, true);
}

void BinauralPanningSnowmanModel::SnowmanProcessing::Configure(float samplerate,
                                                               unsigned int maxBlockSize) {
  maxBlockSize = std::max(1u, maxBlockSize);
  for (nolardsp::Delay* d : {&reflectedDelay, &directDelay}) {
    d->Configure(samplerate, maxBlockSize, true);
  }
  for (FadedIIRFilter* f : {&reflectedFilter, &torsoFilter, &headFilter}) {
    f->Configure(samplerate, maxBlockSize, true);
  }
  TakeRequests();
  directGain.SetSamplerate(samplerate);
  reflectedGain.SetSamplerate(samplerate);
  for (std::vector<float>* v : {&directBuffer, &reflectedBuffer, &directGains, &reflectedGains}) {
    v->assign(maxBlockSize, 0.f);
  }
}

void BinauralPanningSnowmanModel::SnowmanProcessing::SetInterpolationTime(float milliseconds) {
  glide.store(milliseconds, std::memory_order_relaxed);
  requests.fetch_or(glidePending, std::memory_order_release);
}

void BinauralPanningSnowmanModel::SnowmanProcessing::TakeRequests() {
  unsigned int const r = requests.exchange(0u, std::memory_order_acquire);
  if (r == 0u) return;
  bool const immediately = (r & jump) != 0u;
  if ((r & glidePending) != 0u) {
    float const ms = glide.load(std::memory_order_relaxed);
    reflectedDelay.SetInterpolationTime(ms);
    directDelay.SetInterpolationTime(ms);
    directGain.SetTimeConstant(ms);
    reflectedGain.SetTimeConstant(ms);
  }
  if ((r & directPending) != 0u) {
    directDelay.SetDelay(directTarget.load(std::memory_order_relaxed), immediately);
  }
  if ((r & reflectedPending) != 0u) {
    reflectedDelay.SetDelay(reflectedTarget.load(std::memory_order_relaxed), immediately);
  }
  if ((r & gainsPending) != 0u) {
    directGain.SetValue(directGainTarget.load(std::memory_order_relaxed), immediately);
    reflectedGain.SetValue(reflectedGainTarget.load(std::memory_order_relaxed), immediately);
  }
}

void BinauralPanningSnowmanModel::SnowmanProcessing::SetCrossFadeTime(float milliseconds) {
  for (FadedIIRFilter* f : {&reflectedFilter, &torsoFilter, &headFilter}) {
    f->SetCrossFadeTime(milliseconds);
  }
}

void BinauralPanningSnowmanModel::SnowmanProcessing::Clear() {
  reflectedDelay.Clear();
  directDelay.Clear();
  for (FadedIIRFilter* f : {&reflectedFilter, &torsoFilter, &headFilter}) f->Clear();
}

float BinauralPanningSnowmanModel::SnowmanProcessing::Tau(float t, float radius) {
  float const m = std::fabs(t);
  if (m < halfPi) return (1.f - std::cos(t)) * msPerMetre * radius;
  if (m < pi) return (m - 0.5707964f) * msPerMetre * radius;
  return 0.f;
}

void BinauralPanningSnowmanModel::SnowmanProcessing::ComputeTorsoShadowSubModel(
    CartesianVector const& source, CartesianVector const& ear, float R, CartesianVector const& C,
    float a, float& headAngle, float& directAngle, float& torsoAngle) {
  CartesianVector const u = directionOf(source);
  CartesianVector const d = minus(ear, C);
  float const L = length(d);
  float const p = dot(u, d);
  CartesianVector const w = perpendicular(u, d, L);
  float const q = R * R / (L * L);
  float const k = std::sqrt(std::max(0.f, (1.f - q) * q)) * L / length(w);
  // From the ear to the point where its tangent touches the torso.
  CartesianVector const t = minus(minus(scaled(d, q), scaled(w, k)), d);
  float const n = 1.f / length(t);
  headAngle = safeAcos(dot(ear, t) * n / a);
  directAngle = safeAcos(dot(u, ear) / a);
  float const b = safeAcos(R / L) + halfPi;
  float const g = safeAcos(p / L);
  torsoAngle = ((g - b) * pi + (pi - g) * 1.3526301f) / (pi - b);
  torsoAngle = std::max(1.3526301f, std::min(pi, torsoAngle));
}

void BinauralPanningSnowmanModel::SnowmanProcessing::ComputeTorsoReflectionSubModel(
    CartesianVector const& source, CartesianVector const& ear, float R, CartesianVector const& C,
    float a, float& directAngle, float& reflectedAngle, float& reflectionDelay) {
  CartesianVector const u = directionOf(source);
  CartesianVector const d = minus(ear, C);
  float const L = length(d);
  float const p = dot(u, d);
  directAngle = safeAcos(dot(ear, u) / a);
  float const rho = L / R;
  float const psi = halfPi - safeAcos(p / L);
  float const x = safeAcos(1.f / rho);
  float const b0 = (rho - 1.f) * halfPi / (2.f * rho - 1.f);
  // Where on the torso the reflection leaves from.
  float beta = b0;
  if (psi >= -x && psi <= 0.f) {
    beta = b0 + (b0 / x - 1.f) * psi;
  } else if (psi > 0.f && psi <= halfPi) {
    beta = b0 * (1.f - 0.63661975f * psi);
  }
  float const c = std::cos(beta);
  float const s = std::sin(beta);
  float const l = std::sqrt(std::max(0.f, R * R + L * L - 2.f * L * c * R));
  float const g = beta + std::atan(s / (rho - c));
  reflectionDelay = (std::cos(2.f * g) + 1.f) * l * msPerMetre;
  CartesianVector const w = perpendicular(u, d, L);
  float const A = R * c / L;
  float const B = R * s / length(w);
  // From the ear to the reflection point.
  CartesianVector const r = plus(minus(scaled(d, A), d), scaled(w, B));
  float const n = 1.f / length(r);
  reflectedAngle = safeAcos(dot(ear, r) * n / a);
}

void BinauralPanningSnowmanModel::SnowmanProcessing::ApplyModel(
    CartesianVector const& source, CartesianVector const& ear, bool shadowed_, float R,
    CartesianVector const& C, float a, float samplerate, bool immediately) {
  float const wT = SphereShadowFilter::SpeedOfSound / (R * samplerate);
  float const wH = SphereShadowFilter::SpeedOfSound / (a * samplerate);
  shadowed = shadowed_;
  float coefficients[4];
  if (shadowed) {
    float headAngle = 0.f, directAngle = 0.f, torsoAngle = 0.f;
    ComputeTorsoShadowSubModel(source, ear, R, C, a, headAngle, directAngle, torsoAngle);
    SphereShadowFilter::Coefficients(wT, directAngle, coefficients);
    torsoFilter.SetCoefficients(coefficients, immediately);
    SphereShadowFilter::Coefficients(wH, headAngle, coefficients);
    headFilter.SetCoefficients(coefficients, immediately);
    directTarget.store(earDelay(Tau(torsoAngle, R)), std::memory_order_relaxed);
    // The reflected path runs on unheard, as it stands.
    directGainTarget.store(1.f, std::memory_order_relaxed);
    reflectedGainTarget.store(0.f, std::memory_order_relaxed);
    requests.fetch_or(directPending | gainsPending | (immediately ? jump : 0u),
                      std::memory_order_release);
    // At once, like the filters' immediate sets: on the set-up path.
    if (immediately) TakeRequests();
    return;
  }
  float directAngle = 0.f, reflectedAngle = 0.f, reflectionDelay = 0.f;
  ComputeTorsoReflectionSubModel(source, ear, R, C, a, directAngle, reflectedAngle,
                                 reflectionDelay);
  SphereShadowFilter::Coefficients(wH, directAngle, coefficients);
  headFilter.SetCoefficients(coefficients, immediately);
  SphereShadowFilter::Neutral(coefficients);
  torsoFilter.SetCoefficients(coefficients, immediately);
  directTarget.store(earDelay(Tau(directAngle, a)), std::memory_order_relaxed);
  // The reflected wave meets the head, yet its shelf has the torso's corner.
  SphereShadowFilter::Coefficients(wT, reflectedAngle, coefficients);
  reflectedFilter.SetCoefficients(coefficients, immediately);
  reflectedTarget.store(earDelay(Tau(reflectedAngle, R) + reflectionDelay),
                        std::memory_order_relaxed);
  float const norm = 1.f / (1.f + reflectionCoefficient);
  directGainTarget.store(norm, std::memory_order_relaxed);
  reflectedGainTarget.store(reflectionCoefficient * norm, std::memory_order_relaxed);
  requests.fetch_or(directPending | reflectedPending | gainsPending | (immediately ? jump : 0u),
                    std::memory_order_release);
  if (immediately) TakeRequests();
}

void BinauralPanningSnowmanModel::SnowmanProcessing::Process(float* out, float const* in,
                                                             unsigned long numSamples,
                                                             bool adding) {
  TakeRequests();
  int const m = static_cast<int>(numSamples);
  float* direct = directBuffer.data();
  float* reflected = reflectedBuffer.data();
  directDelay.Process(direct, in, m);
  torsoFilter.ProcessBlock(direct, direct, numSamples, false);
  headFilter.ProcessBlock(direct, direct, numSamples, false);
  reflectedDelay.Process(reflected, in, m);
  reflectedFilter.ProcessBlock(reflected, reflected, numSamples, false);
  if (!directGain.IsRunning() && !reflectedGain.IsRunning()) {
    float const gd = directGain.GetCurrentValue();
    float const gr = reflectedGain.GetCurrentValue();
    if (adding) {
      for (unsigned long k = 0; k < numSamples; ++k) out[k] += gd * direct[k] + gr * reflected[k];
    } else {
      for (unsigned long k = 0; k < numSamples; ++k) out[k] = gd * direct[k] + gr * reflected[k];
    }
    return;
  }
  float* gd = directGains.data();
  float* gr = reflectedGains.data();
  directGain.Process(gd, m);
  reflectedGain.Process(gr, m);
  if (adding) {
    for (unsigned long k = 0; k < numSamples; ++k) {
      out[k] += gd[k] * direct[k] + gr[k] * reflected[k];
    }
  } else {
    for (unsigned long k = 0; k < numSamples; ++k) {
      out[k] = gd[k] * direct[k] + gr[k] * reflected[k];
    }
  }
}

// ---------------------------------------------------------------------------
// The panner.

Pan* BinauralPanningSnowmanModel::Create(unsigned int numInputs, unsigned int numOutputs) {
  if (numOutputs != 2) return new NullPanning();
  return new BinauralPanningSnowmanModel(numInputs, numOutputs);
}

BinauralPanningSnowmanModel::BinauralPanningSnowmanModel(unsigned int numInputs_, unsigned int)
    : torsoRadius(ZorvDefaultParameters::DefaultTorsoRadius),
      neckHeight(ZorvDefaultParameters::DefaultNeckHeight),
      torsoReflectionCoefficient(DefaultTorsoReflectionCoefficient),
      interpolationTime(DefaultInterpolationTime),
      crossFadeTime(FadedIIRFilter::DefaultCrossFadeTime) {
  numOutputs = 2;
  headRadius = clampHeadRadius(headRadius);
  leftEar = CartesianVector(-headRadius, 0.f, 0.f);
  rightEar = CartesianVector(headRadius, 0.f, 0.f);
  torsoCenter = CartesianVector(0.f, 0.f, -(headRadius + torsoRadius + neckHeight));
  leftBuffer.assign(maxBlockSize, 0.f);
  rightBuffer.assign(maxBlockSize, 0.f);
  SetNumInputs(numInputs_);
  forceUpdate(false);
  forceUpdate(true);
}

BinauralPanningSnowmanModel::~BinauralPanningSnowmanModel() = default;

float BinauralPanningSnowmanModel::GetEffectiveTorsoRadius() const {
  float const L = length(minus(rightEar, torsoCenter));
  float const most = MaxTorsoRadiusRatio * L;
  if (!(torsoRadius >= MinTorsoRadius)) return std::min(MinTorsoRadius, most);
  return std::min(torsoRadius, most);
}

void BinauralPanningSnowmanModel::setUp(SnowmanProcessing& ear) {
  ear.Configure(samplerate, static_cast<unsigned int>(maxBlockSize));
  ear.SetInterpolationTime(interpolationTime);
  ear.SetCrossFadeTime(crossFadeTime);
  ear.SetReflectionCoefficient(torsoReflectionCoefficient);
}

void BinauralPanningSnowmanModel::SetNumInputs(unsigned int n) {
  n = std::min<unsigned int>(n, nolardsp::MaxChannels);
  BinauralPanning::SetNumInputs(n);
  unsigned int const had = static_cast<unsigned int>(voices.size());
  voices.resize(n);
  for (unsigned int i = had; i < n; ++i) {
    voices[i] = std::make_unique<DelayAndFilterVoice>();
    setUp(voices[i]->left);
    setUp(voices[i]->right);
    SetSourcePosition(i, sourcePositions[i], true);
  }
}

void BinauralPanningSnowmanModel::SetInterpolationTime(float milliseconds) {
  interpolationTime = milliseconds;
  for (auto& v : voices) {
    v->left.SetInterpolationTime(milliseconds);
    v->right.SetInterpolationTime(milliseconds);
  }
}

void BinauralPanningSnowmanModel::SetFilterCrossFadeTime(float milliseconds) {
  if (std::isnan(milliseconds)) return;
  crossFadeTime = milliseconds;
  for (auto& v : voices) {
    v->left.SetCrossFadeTime(milliseconds);
    v->right.SetCrossFadeTime(milliseconds);
  }
}

void BinauralPanningSnowmanModel::SetCrossFadeType(char const*) {}

void BinauralPanningSnowmanModel::SetSamplerate(float rate) {
  if (!(rate > 0.f) || !std::isfinite(rate)) return;
  samplerate = rate;
  for (auto& v : voices) {
    setUp(v->left);
    setUp(v->right);
  }
  // The filters depend on the rate.
  forceUpdate(true);
}

void BinauralPanningSnowmanModel::SetMaxBlockSize(unsigned int n) {
  n = std::max(1u, n);
  maxBlockSize = n;
  leftBuffer.assign(n, 0.f);
  rightBuffer.assign(n, 0.f);
  for (auto& v : voices) {
    setUp(v->left);
    setUp(v->right);
  }
  forceUpdate(true);
}

void BinauralPanningSnowmanModel::Clear() {
  for (auto& v : voices) {
    v->left.Clear();
    v->right.Clear();
  }
}

bool BinauralPanningSnowmanModel::LoadFromFile(char const*) {
  NOLAR_THROW("snowman model : no hrtf to load");
}

void BinauralPanningSnowmanModel::SetFIRFiltersImplementationMethod(
    nolardsp::Filter::FIRImplementation) {}

HrtfHeaderInfos const* BinauralPanningSnowmanModel::GetHrtfHeaderInfos() const {
  return nullptr;
}

void BinauralPanningSnowmanModel::SetListenerHeadRadius(float metres) {
  headRadius = clampHeadRadius(metres);
  leftEar = CartesianVector(-headRadius, 0.f, 0.f);
  rightEar = CartesianVector(headRadius, 0.f, 0.f);
  forceUpdate(false);
}

void BinauralPanningSnowmanModel::SetListenerTorsoRadius(float metres) {
  torsoRadius = std::isnan(metres) ? 0.f : std::max(0.f, metres);
  forceUpdate(false);
}

void BinauralPanningSnowmanModel::SetListenerNeckHeight(float metres) {
  neckHeight = std::isnan(metres) ? 0.f : std::max(0.f, metres);
  forceUpdate(false);
}

void BinauralPanningSnowmanModel::SetTorsoReflectionCoefficient(float c) {
  c = std::isnan(c) ? 0.f : std::max(0.f, std::min(1.f, c));
  torsoReflectionCoefficient = c;
  for (auto& v : voices) {
    v->left.SetReflectionCoefficient(c);
    v->right.SetReflectionCoefficient(c);
  }
  forceUpdate(false);
}

void BinauralPanningSnowmanModel::setSourceRelativePosition(unsigned int index,
                                                            CartesianVector const& position,
                                                            bool immediately) {
  if (index >= voices.size()) return;
  DelayAndFilterVoice& v = *voices[index];
  float const R = GetEffectiveTorsoRadius();
  CartesianVector const u = directionOf(position);
  for (int e = 0; e < 2; ++e) {
    CartesianVector const& ear = e == 0 ? leftEar : rightEar;
    CartesianVector const d = minus(ear, torsoCenter);
    float const L = length(d);
    bool const shadowed = dot(u, d) < -std::sqrt(std::max(0.f, L * L - R * R));
    (e == 0 ? v.left : v.right)
        .ApplyModel(u, ear, shadowed, R, torsoCenter, headRadius, samplerate, immediately);
  }
}

void BinauralPanningSnowmanModel::run(DelayAndFilterVoice& v, float* left, float* right,
                                      float const* in, unsigned long numSamples, bool adding) {
  unsigned long const room = std::min(leftBuffer.size(), rightBuffer.size());
  for (unsigned long done = 0; done < numSamples;) {
    unsigned long const n = std::min(room, numSamples - done);
    // Both ears read the input before either output is written: the host may
    // hand the same memory for an input and an output.
    v.left.Process(leftBuffer.data(), in + done, n, false);
    v.right.Process(rightBuffer.data(), in + done, n, false);
    if (adding) {
      nolardsp::Add(left + done, leftBuffer.data(), n);
      nolardsp::Add(right + done, rightBuffer.data(), n);
    } else {
      nolardsp::Copy(left + done, leftBuffer.data(), n);
      nolardsp::Copy(right + done, rightBuffer.data(), n);
    }
    done += n;
  }
}

void BinauralPanningSnowmanModel::Process(float** outputs, float** inputs, unsigned long numSamples,
                                          short const* active) {
  if (numInputs == 1 && !voices.empty() && active[0] != 0) {
    run(*voices[0], outputs[0], outputs[1], inputs[0], numSamples, false);
    return;
  }
  nolardsp::Zero(outputs[0], numSamples);
  nolardsp::Zero(outputs[1], numSamples);
  if (numInputs > 1) ProcessAdding(outputs, inputs, numSamples, active);
}

void BinauralPanningSnowmanModel::ProcessAdding(float** outputs, float** inputs,
                                                unsigned long numSamples, short const* active) {
  std::size_t const count = std::min<std::size_t>(numInputs, voices.size());
  for (std::size_t i = 0; i < count; ++i) {
    if (active[i] == 0) continue;
    run(*voices[i], outputs[0], outputs[1], inputs[i], numSamples, true);
  }
}

}  // namespace Zorv
