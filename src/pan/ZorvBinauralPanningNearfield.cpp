#include "ZorvBinauralPanningNearfield.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "NolarVectorOperations.h"
#include "ZorvDefaultParameters.h"
#include "ZorvHrtf.h"
#include "ZorvNearfieldCompensationFilters.h"
#include "ZorvNullPanning.h"
#include "ZorvSdifHrtfUtils.h"

namespace Zorv {

BinauralPanning::HRTFFilterType const BinauralPanningNearfield::DefaultNearfieldFilterType =
    BinauralPanning::NoFiltering;
float const BinauralPanningNearfield::MillisecondsPerMetre = 2.9411764f;

namespace {

float const stereoLevel = 0.70710677f;
// How far the minimum radius stays outside the head, so that a source lifted
// onto it is never at an ear.
float const earClearance = 0.001f;

using nolardsp::CartesianVector;

CartesianVector minus(CartesianVector const& a, CartesianVector const& b) {
  return CartesianVector(a.x - b.x, a.y - b.y, a.z - b.z);
}
float dot(CartesianVector const& a, CartesianVector const& b) {
  return a.x * b.x + a.y * b.y + a.z * b.z;
}
float length(CartesianVector const& a) {
  return std::sqrt(dot(a, a));
}
bool finite(CartesianVector const& a) {
  return std::isfinite(a.x) && std::isfinite(a.y) && std::isfinite(a.z);
}

bool hasExtension(std::string const& path, char const* extension) {
  return SdifHrtfUtils::CheckFileExtension(path.c_str(), extension);
}

bool namesBuiltInSet(std::string const& path) {
  return path.empty() || path == "kemar" || path == "KEMAR";
}

unsigned int const gainPending = 1u;
unsigned int const gainJump = 2u;

}  // namespace

BinauralPanningNearfield::Voice::Voice(HRTFFilterType hrtfType, HRTFFilterType nearfieldType)
    : leftHrtf(HrtfFiltering::DefaultHrtfFilterType, true),
      leftNearfield(HrtfFiltering::DefaultHrtfFilterType, true),
      rightHrtf(HrtfFiltering::DefaultHrtfFilterType, true),
      rightNearfield(HrtfFiltering::DefaultHrtfFilterType, true) {
  leftNearfield.SetNeedToProcessITD(false);
  rightNearfield.SetNeedToProcessITD(false);
  leftHrtf.SetFilterType(hrtfType);
  rightHrtf.SetFilterType(hrtfType);
  leftNearfield.SetFilterType(nearfieldType);
  rightNearfield.SetFilterType(nearfieldType);
  leftGain.SetValue(1.f, true);
  rightGain.SetValue(1.f, true);
}

Pan* BinauralPanningNearfield::Create(unsigned int numInputs, unsigned int numOutputs) {
  if (numOutputs != 2) return new NullPanning();
  return new BinauralPanningNearfield(numInputs, numOutputs);
}

BinauralPanningNearfield::BinauralPanningNearfield(unsigned int numInputs_, unsigned int)
    : hrtfFilterType(BiquadFiltering),
      nearfieldFilterType(DefaultNearfieldFilterType),
      numHrtfCoefficients(25),
      numNearfieldCoefficients(25),
      flags(HrtfFilters | NearfieldFilters | DistanceAttenuation | CrossEarsHrtfSelection),
      requestedMinimumRadius(ZorvDefaultParameters::MinRadius),
      minimumRadius(ZorvDefaultParameters::MinRadius),
      measurementRadius(ZorvDefaultParameters::DefaultHRTFMeasurementSphereRadius),
      sphereCenter(0.f, 0.f, 0.f),
      compensationMaxDistance(0.f),
      firImplementation(nolardsp::Filter::TimeDomain),
      crossFadeTime(HrtfFiltering::DefaultCrossFadeTime),
      crossFadeType("linear"),
      interpolationTime(HrtfFiltering::DefaultDelayInterpolationTime),
      defaultSet(true),
      newest(nullptr),
      current(nullptr),
      incoming(nullptr),
      fadePosition(0),
      pending(nullptr) {
  for (auto& slot : retired) slot.store(nullptr);
  numOutputs = 2;
  hrtf.reset(new Hrtf("", runningRate()));
  numHrtfCoefficients = hrtf->GetHrtfHeaderInfos()->numCoefficients;
  placeEars(headRadius);
  current = makeBank(0);
  newest = current;
  for (auto* b : {&leftBuffer, &rightBuffer, &gainBuffer, &fadeLeft, &fadeRight}) {
    b->assign(maxBlockSize, 0.f);
  }
  SetNumInputs(numInputs_);
}

BinauralPanningNearfield::~BinauralPanningNearfield() {
  settle();
  delete current;
}

unsigned int BinauralPanningNearfield::runningRate() const {
  return static_cast<unsigned int>(std::lround(samplerate));
}

float BinauralPanningNearfield::gainRampTime() const {
  return std::max(crossFadeTime, nolardsp::Ramp::DefaultRampDuration);
}

// ---------------------------------------------------------------------------
// Banks of voices and their hand-over.

void BinauralPanningNearfield::setUpVoice(Voice& v) const {
  HrtfFiltering* const hrtfEars[] = {&v.leftHrtf, &v.rightHrtf};
  HrtfFiltering* const nearEars[] = {&v.leftNearfield, &v.rightNearfield};
  for (int k = 0; k < 2; ++k) {
    hrtfEars[k]->SetFilterType(hrtfFilterType);
    hrtfEars[k]->SetNumCoefficients(numHrtfCoefficients);
    hrtfEars[k]->SetInterpolationTime(interpolationTime);
    nearEars[k]->SetFilterType(nearfieldFilterType);
    nearEars[k]->SetNumCoefficients(numNearfieldCoefficients);
    for (HrtfFiltering* ear : {hrtfEars[k], nearEars[k]}) {
      ear->SetFIRFiltersImplementationMethod(firImplementation);
      ear->SetCrossFadeTime(crossFadeTime);
      ear->SetCrossFadeType(crossFadeType.c_str());
      ear->Configure(samplerate, static_cast<unsigned int>(maxBlockSize), true);
    }
    if (!neutralFilter.empty()) nearEars[k]->SetCoefficients(neutralFilter.data(), true);
  }
  for (nolardsp::Ramp* r : {&v.leftGain, &v.rightGain}) r->SetSamplerate(samplerate);
  v.leftHrtfIndex = v.rightHrtfIndex = -1;
  v.leftNearfieldIndex = v.rightNearfieldIndex = -1;
}

BinauralPanningNearfield::Bank* BinauralPanningNearfield::makeBank(unsigned int numVoices) const {
  auto bank = std::make_unique<Bank>();
  bank->voices.reserve(numVoices);
  for (unsigned int i = 0; i < numVoices; ++i) {
    bank->voices.push_back(std::make_unique<Voice>(hrtfFilterType, nearfieldFilterType));
    setUpVoice(*bank->voices.back());
  }
  double const n = std::ceil(static_cast<double>(crossFadeTime) * samplerate * 0.001);
  bank->fadeLength = static_cast<unsigned long>(std::min(std::max(n, 2.), 10. * samplerate));
  return bank.release();
}

void BinauralPanningNearfield::collectRetired() {
  for (auto& slot : retired) delete slot.exchange(nullptr, std::memory_order_acq_rel);
}

void BinauralPanningNearfield::settle() {
  collectRetired();
  if (incoming != nullptr) {
    delete current;
    current = incoming;
    incoming = nullptr;
  }
  if (Bank* waiting = pending.exchange(nullptr, std::memory_order_acq_rel)) {
    delete current;
    current = waiting;
  }
  newest = current;
  fadePosition = 0;
}

void BinauralPanningNearfield::replaceBank() {
  collectRetired();
  Bank* bank = makeBank(numInputs);
  // Not heard yet: its filters, delays and gains take every source's place at
  // once, so that it fades in already in position.
  newest = bank;
  for (unsigned int i = 0; i < numInputs && i < sourceRelativePositions.size(); ++i) {
    setSourceRelativePosition(i, sourceRelativePositions[i], true);
  }
  delete pending.exchange(bank, std::memory_order_acq_rel);
}

void BinauralPanningNearfield::takeHandover() {
  if (incoming != nullptr) return;
  bool room = false;
  for (auto& slot : retired) room = room || slot.load(std::memory_order_acquire) == nullptr;
  if (!room) return;
  Bank* bank = pending.exchange(nullptr, std::memory_order_acq_rel);
  if (bank == nullptr) return;
  incoming = bank;
  fadePosition = 0;
}

void BinauralPanningNearfield::takeGains(Bank& bank) {
  for (auto& vp : bank.voices) {
    Voice& v = *vp;
    unsigned int const r = v.gainRequest.exchange(0u, std::memory_order_acquire);
    if (r == 0u) continue;
    float const time = (r & gainJump) != 0u ? 0.f : v.rampTime.load(std::memory_order_relaxed);
    v.leftGain.Start(v.leftTarget.load(std::memory_order_relaxed), time);
    v.rightGain.Start(v.rightTarget.load(std::memory_order_relaxed), time);
  }
}

// ---------------------------------------------------------------------------
// Audio thread.

void BinauralPanningNearfield::renderVoice(Voice& v, float* left, float* right, float const* input,
                                           unsigned long n) {
  unsigned int const f = flags.load(std::memory_order_relaxed);
  if ((f & HrtfFilters) != 0u) {
    v.leftHrtf.Process(left, input, n);
    v.rightHrtf.Process(right, input, n);
  } else {
    nolardsp::Copy(left, input, n);
    nolardsp::Copy(right, input, n);
  }
  if ((f & NearfieldFilters) != 0u) {
    v.leftNearfield.Process(left, left, n);
    v.rightNearfield.Process(right, right, n);
  }
  int const m = static_cast<int>(n);
  v.leftGain.Process(gainBuffer.data(), m);
  nolardsp::Mul(gainBuffer.data(), stereoLevel, n);
  nolardsp::Mul(left, gainBuffer.data(), n);
  v.rightGain.Process(gainBuffer.data(), m);
  nolardsp::Mul(gainBuffer.data(), stereoLevel, n);
  nolardsp::Mul(right, gainBuffer.data(), n);
}

void BinauralPanningNearfield::render(Bank& bank, float* left, float* right, float** inputs,
                                      unsigned long n, short const* active, bool adding) {
  takeGains(bank);
  std::size_t const count = std::min<std::size_t>(numInputs, bank.voices.size());
  if (!adding) {
    if (count == 1) {
      if (active[0] == 0) {
        nolardsp::Zero(left, n);
        nolardsp::Zero(right, n);
      } else {
        renderVoice(*bank.voices[0], left, right, inputs[0], n);
      }
      return;
    }
    nolardsp::Zero(left, n);
    nolardsp::Zero(right, n);
  }
  for (std::size_t i = 0; i < count; ++i) {
    if (active[i] == 0) continue;
    renderVoice(*bank.voices[i], leftBuffer.data(), rightBuffer.data(), inputs[i], n);
    nolardsp::Add(left, leftBuffer.data(), n);
    nolardsp::Add(right, rightBuffer.data(), n);
  }
}

void BinauralPanningNearfield::Process(float** outputs, float** inputs, unsigned long numSamples,
                                       short const* active) {
  unsigned long const room = std::max<unsigned long>(1, std::min(fadeLeft.size(), maxBlockSize));
  float* chunkInputs[nolardsp::MaxChannels];
  unsigned int const inputCount = std::min<unsigned int>(numInputs, nolardsp::MaxChannels);
  for (unsigned long done = 0; done < numSamples;) {
    unsigned long const n = std::min(room, numSamples - done);
    for (unsigned int i = 0; i < inputCount; ++i) chunkInputs[i] = inputs[i] + done;
    float* left = outputs[0] + done;
    float* right = outputs[1] + done;
    takeHandover();
    render(*current, left, right, chunkInputs, n, active, false);
    if (incoming != nullptr) {
      render(*incoming, fadeLeft.data(), fadeRight.data(), chunkInputs, n, active, false);
      float const step = 1.f / static_cast<float>(incoming->fadeLength - 1);
      for (unsigned long k = 0; k < n; ++k) {
        float const g = std::min(1.f, static_cast<float>(fadePosition + k) * step);
        left[k] += g * (fadeLeft[k] - left[k]);
        right[k] += g * (fadeRight[k] - right[k]);
      }
      fadePosition += n;
      if (fadePosition >= incoming->fadeLength) {
        for (auto& slot : retired) {
          Bank* empty = nullptr;
          if (slot.compare_exchange_strong(empty, current, std::memory_order_acq_rel)) break;
        }
        current = incoming;
        incoming = nullptr;
        fadePosition = 0;
      }
    }
    done += n;
  }
}

void BinauralPanningNearfield::ProcessAdding(float** outputs, float** inputs,
                                             unsigned long numSamples, short const* active) {
  unsigned long const room = std::max<unsigned long>(1, std::min(leftBuffer.size(), maxBlockSize));
  float* chunkInputs[nolardsp::MaxChannels];
  unsigned int const inputCount = std::min<unsigned int>(numInputs, nolardsp::MaxChannels);
  for (unsigned long done = 0; done < numSamples;) {
    unsigned long const n = std::min(room, numSamples - done);
    for (unsigned int i = 0; i < inputCount; ++i) chunkInputs[i] = inputs[i] + done;
    render(*current, outputs[0] + done, outputs[1] + done, chunkInputs, n, active, true);
    done += n;
  }
}

// ---------------------------------------------------------------------------
// Set-up.

void BinauralPanningNearfield::SetNumInputs(unsigned int n) {
  n = std::min<unsigned int>(n, nolardsp::MaxChannels);
  BinauralPanning::SetNumInputs(n);
  settle();
  leftGains.resize(n, 1.f);
  rightGains.resize(n, 1.f);
  leftPoints.resize(n);
  rightPoints.resize(n);
  leftDelays.resize(n, 0.f);
  rightDelays.resize(n, 0.f);
  unsigned int const had = static_cast<unsigned int>(current->voices.size());
  current->voices.resize(n);
  for (unsigned int i = had; i < n; ++i) {
    current->voices[i] = std::make_unique<Voice>(hrtfFilterType, nearfieldFilterType);
    setUpVoice(*current->voices[i]);
    SetSourcePosition(i, sourcePositions[i], true);
  }
}

void BinauralPanningNearfield::SetInterpolationTime(float milliseconds) {
  collectRetired();
  interpolationTime = milliseconds;
  for (auto& v : newest->voices) {
    v->leftHrtf.SetInterpolationTime(milliseconds);
    v->rightHrtf.SetInterpolationTime(milliseconds);
  }
}

void BinauralPanningNearfield::SetSamplerate(float rate) {
  if (!(rate > 0.f) || !std::isfinite(rate)) return;
  settle();
  bool const changed = rate != samplerate;
  samplerate = rate;
  for (auto& v : current->voices) {
    for (HrtfFiltering* ear :
         {&v->leftHrtf, &v->leftNearfield, &v->rightHrtf, &v->rightNearfield}) {
      ear->SetSamplerate(rate);
    }
    v->leftGain.SetSamplerate(rate);
    v->rightGain.SetSamplerate(rate);
  }
  if (!changed || !defaultSet) return;
  // The built-in set has a table of its own for some rates.
  std::unique_ptr<Hrtf> set(new Hrtf("", runningRate()));
  if (set->GetHrtfHeaderInfos()->sampleRate == hrtf->GetHrtfHeaderInfos()->sampleRate ||
      set->GetHrtfHeaderInfos()->numCoefficients != numHrtfCoefficients) {
    return;
  }
  hrtf = std::move(set);
  forgetLastPoints();
  for (unsigned int i = 0; i < numInputs && i < sourceRelativePositions.size(); ++i) {
    setSourceRelativePosition(i, sourceRelativePositions[i], true);
  }
}

void BinauralPanningNearfield::SetMaxBlockSize(unsigned int n) {
  settle();
  n = std::max(1u, n);
  maxBlockSize = n;
  for (auto* b : {&leftBuffer, &rightBuffer, &gainBuffer, &fadeLeft, &fadeRight}) b->assign(n, 0.f);
  for (auto& v : current->voices) {
    for (HrtfFiltering* ear :
         {&v->leftHrtf, &v->leftNearfield, &v->rightHrtf, &v->rightNearfield}) {
      ear->SetMaxBlockSize(n);
    }
  }
}

void BinauralPanningNearfield::Clear() {
  settle();
  for (auto& v : current->voices) {
    for (HrtfFiltering* ear :
         {&v->leftHrtf, &v->leftNearfield, &v->rightHrtf, &v->rightNearfield}) {
      ear->Clear();
    }
  }
}

bool BinauralPanningNearfield::LoadFromFile(char const* path) {
  collectRetired();
  std::string const p = path != nullptr ? path : "";
  bool const builtIn = namesBuiltInSet(p);
  if (!builtIn && !hasExtension(p, ".coll") && !hasExtension(p, ".hrtf") &&
      !hasExtension(p, ".sofa")) {
    return false;
  }
  std::unique_ptr<Hrtf> set(new Hrtf(builtIn ? "" : p.c_str(), runningRate()));
  HrtfHeaderInfos const& header = *set->GetHrtfHeaderInfos();
  if (header.hrtfType != Zorv::Binaural || header.numChannels != 2 || header.numCoefficients == 0 ||
      set->GetNumPoints() == 0 || (header.filterType != BiquadCells && header.filterType != FIR)) {
    return false;
  }
  defaultSet = builtIn;
  hrtfFilterType = header.filterType == FIR ? FirFiltering : BiquadFiltering;
  numHrtfCoefficients = header.numCoefficients;
  hrtf = std::move(set);
  replaceBank();
  return true;
}

bool BinauralPanningNearfield::LoadCompensationFilters(char const* path) {
  collectRetired();
  std::unique_ptr<NearfieldCompensationFilters> set(new NearfieldCompensationFilters(path));
  HrtfHeaderInfos const& header = *set->GetHrtfHeaderInfos();
  if (header.hrtfType != NearfieldCompensationFilter || header.numChannels != 2 ||
      (header.filterType != BiquadCells && header.filterType != FIR) || set->GetNumPoints() == 0) {
    return false;
  }
  nearfieldFilterType = header.filterType == FIR ? FirFiltering : BiquadFiltering;
  numNearfieldCoefficients = header.numCoefficients;
  neutralFilter.assign(numNearfieldCoefficients, 0.f);
  neutralFilter[0] = 1.f;
  compensationMaxDistance = set->GetMaxDistance();
  compensationFilters = std::move(set);
  replaceBank();
  return true;
}

void BinauralPanningNearfield::SetFilterCrossFadeTime(float milliseconds) {
  collectRetired();
  crossFadeTime = std::isfinite(milliseconds) ? std::max(0.f, milliseconds) : 0.f;
  for (auto& v : newest->voices) {
    for (HrtfFiltering* ear :
         {&v->leftHrtf, &v->leftNearfield, &v->rightHrtf, &v->rightNearfield}) {
      ear->SetCrossFadeTime(crossFadeTime);
    }
    v->rampTime.store(gainRampTime(), std::memory_order_relaxed);
  }
}

void BinauralPanningNearfield::SetCrossFadeType(char const* name) {
  collectRetired();
  crossFadeType = name != nullptr ? name : "";
  for (auto& v : newest->voices) {
    for (HrtfFiltering* ear :
         {&v->leftHrtf, &v->leftNearfield, &v->rightHrtf, &v->rightNearfield}) {
      ear->SetCrossFadeType(crossFadeType.c_str());
    }
  }
}

void BinauralPanningNearfield::SetFIRFiltersImplementationMethod(
    nolardsp::Filter::FIRImplementation method) {
  if (method == firImplementation) return;
  firImplementation = method;
  if (hrtfFilterType != FirFiltering && nearfieldFilterType != FirFiltering) return;
  replaceBank();
}

void BinauralPanningNearfield::updateMinimumRadius() {
  float r = requestedMinimumRadius;
  if (!std::isfinite(r)) r = ZorvDefaultParameters::MinRadius;
  minimumRadius = std::max(r, headRadius + earClearance);
}

void BinauralPanningNearfield::SetListenerHeadRadius(float metres) {
  collectRetired();
  placeEars(metres);
  forceUpdate(false);
}

void BinauralPanningNearfield::placeEars(float metres) {
  if (!std::isfinite(metres) || metres < 0.f) metres = 0.f;
  // The ears stay inside the measurement sphere.
  metres = std::min(metres, 0.5f * measurementRadius);
  headRadius = metres;
  leftEar = CartesianVector(sphereCenter.x - metres, sphereCenter.y, sphereCenter.z);
  rightEar = CartesianVector(sphereCenter.x + metres, sphereCenter.y, sphereCenter.z);
  updateMinimumRadius();
}

void BinauralPanningNearfield::SetMinimumRadiusAroundListener(float metres) {
  collectRetired();
  requestedMinimumRadius = metres;
  updateMinimumRadius();
  forceUpdate(false);
}

HrtfHeaderInfos const* BinauralPanningNearfield::GetHrtfHeaderInfos() const {
  return hrtf->GetHrtfHeaderInfos();
}

HrtfHeaderInfos const* BinauralPanningNearfield::GetCompensationFiltersInfo() const {
  return compensationFilters ? compensationFilters->GetHrtfHeaderInfos() : nullptr;
}

void BinauralPanningNearfield::setFlag(unsigned int flag, bool enable) {
  collectRetired();
  unsigned int const f = flags.load(std::memory_order_relaxed);
  flags.store(enable ? (f | flag) : (f & ~flag), std::memory_order_relaxed);
  forceUpdate(false);
}

void BinauralPanningNearfield::forgetLastPoints() {
  for (auto& v : newest->voices) {
    v->leftHrtfIndex = v->rightHrtfIndex = -1;
    v->leftNearfieldIndex = v->rightNearfieldIndex = -1;
  }
}

// ---------------------------------------------------------------------------
// Geometry.

CartesianVector BinauralPanningNearfield::getCrossEarsPosition(CartesianVector const& source,
                                                               CartesianVector const& ear) const {
  CartesianVector const d = minus(source, ear);
  CartesianVector const o = minus(ear, sphereCenter);
  float const a = dot(d, d);
  float const R = measurementRadius;
  if (!(a > 0.f) || !std::isfinite(a)) {
    // At the ear itself: the ear's own direction, out from the centre.
    float const l = length(o);
    if (!(l > 0.f)) return CartesianVector(sphereCenter.x, sphereCenter.y + R, sphereCenter.z);
    float const s = R / l;
    return CartesianVector(sphereCenter.x + o.x * s, sphereCenter.y + o.y * s,
                           sphereCenter.z + o.z * s);
  }
  float const b = 2.f * dot(d, o);
  float const c = dot(o, o) - R * R;
  float const root = std::sqrt(std::max(0.f, b * b - 4.f * a * c));
  float const t1 = (root - b) * 0.5f / a;
  float const t2 = (-b - root) * 0.5f / a;
  float t;
  if (d.x >= 0.f) {
    t = t1 >= 0.f ? t1 : t2;
  } else {
    t = t1 > 0.f ? t1 : t2;
  }
  return CartesianVector(ear.x + t * d.x, ear.y + t * d.y, ear.z + t * d.z);
}

CartesianVector BinauralPanningNearfield::onSphere(CartesianVector const& direction) const {
  float const l = length(direction);
  if (!(l > 0.f) || !std::isfinite(l)) return sphereCenter;
  float const s = measurementRadius / l;
  return CartesianVector(sphereCenter.x + direction.x * s, sphereCenter.y + direction.y * s,
                         sphereCenter.z + direction.z * s);
}

void BinauralPanningNearfield::getCrossEarsPositions(CartesianVector const& source,
                                                     CartesianVector& left,
                                                     CartesianVector& right) const {
  CartesianVector s = source;
  if (!(length(s) > minimumRadius)) {
    // Lifted onto the minimum radius, always upward.
    float const r2 = minimumRadius * minimumRadius - s.x * s.x - s.y * s.y;
    s.z = std::sqrt(std::max(0.f, r2));
  }
  left = getCrossEarsPosition(s, leftEar);
  right = getCrossEarsPosition(s, rightEar);
}

void BinauralPanningNearfield::setSourceRelativePosition(unsigned int index,
                                                         CartesianVector const& position,
                                                         bool immediately) {
  collectRetired();
  if (index >= newest->voices.size() || index >= leftPoints.size()) return;
  Voice& v = *newest->voices[index];
  CartesianVector const p = finite(position) ? position : CartesianVector(0.f, 0.f, 0.f);
  unsigned int const f = flags.load(std::memory_order_relaxed);

  // 1. One point of the set per ear.
  if ((f & CrossEarsHrtfSelection) != 0u) {
    CartesianVector l, r;
    getCrossEarsPositions(p, l, r);
    leftPoints[index] = hrtf->GetNearestHrtfPoint(l);
    rightPoints[index] = hrtf->GetNearestHrtfPoint(r);
  } else {
    leftPoints[index] = hrtf->GetNearestHrtfPoint(p);
    rightPoints[index] = leftPoints[index];
  }
  HrtfPoint const& lp = leftPoints[index];
  HrtfPoint const& rp = rightPoints[index];

  // 2. Gains, every distance bounded below by the minimum radius.
  float gl = 1.f, gr = 1.f;
  if ((f & DistanceAttenuation) != 0u) {
    if ((f & GainsCorrection) != 0u) {
      gl = measurementRadius / std::max(length(minus(p, leftEar)), minimumRadius);
      gr = measurementRadius / std::max(length(minus(p, rightEar)), minimumRadius);
    } else {
      gl = gr = measurementRadius / std::max(length(p), minimumRadius);
    }
  }
  leftGains[index] = gl;
  rightGains[index] = gr;
  v.leftTarget.store(gl, std::memory_order_relaxed);
  v.rightTarget.store(gr, std::memory_order_relaxed);
  v.rampTime.store(gainRampTime(), std::memory_order_relaxed);
  v.gainRequest.fetch_or(gainPending | (immediately ? gainJump : 0u), std::memory_order_release);

  // 3. Delays, carried by the delay lines of a biquad set.
  if (hrtfFilterType == BiquadFiltering) {
    float dl = 0.f, dr = 0.f;
    getMonauralDelays(p, hrtf.get(), dl, dr);
    if ((f & DelaysCorrection) != 0u) {
      // Each ear's point is taken on the measurement sphere, whatever radius
      // the set stores its directions at.
      float const c =
          (length(minus(p, onSphere(lp.position))) - length(minus(p, onSphere(rp.position)))) *
          MillisecondsPerMetre * 0.5f;
      float const m = std::fabs(c);
      if (length(p) > measurementRadius) {
        dl += m + c;
        dr += m - c;
      } else {
        dl -= m + c;
        dr -= m - c;
      }
    }
    leftDelays[index] = dl;
    rightDelays[index] = dr;
    v.leftHrtf.SetDelay(dl, immediately);
    v.rightHrtf.SetDelay(dr, immediately);
  }

  // 4. The HRTF filters: the left channel of the left ear's point, the right
  // channel of the right ear's. An ear whose point stays is not touched, so
  // that it starts no fade.
  if (static_cast<int>(lp.index) != v.leftHrtfIndex &&
      lp.coefficients.size() >= 2u * numHrtfCoefficients) {
    v.leftHrtfIndex = static_cast<int>(lp.index);
    v.leftHrtf.SetCoefficients(lp.coefficients.data(), immediately);
  }
  if (static_cast<int>(rp.index) != v.rightHrtfIndex &&
      rp.coefficients.size() >= 2u * numHrtfCoefficients) {
    v.rightHrtfIndex = static_cast<int>(rp.index);
    v.rightHrtf.SetCoefficients(rp.coefficients.data() + numHrtfCoefficients, immediately);
  }

  // 5. The compensation filters, looked up in the horizontal plane. Beyond
  // the set's reach they go back to neutral.
  if (nearfieldFilterType == NoFiltering || !compensationFilters) return;
  int leftIndex = -2, rightIndex = -2;
  float const* leftSet = neutralFilter.data();
  float const* rightSet = neutralFilter.data();
  if (!(length(p) > compensationMaxDistance)) {
    HrtfPoint const& point =
        compensationFilters->GetNearestHrtfPoint(CartesianVector(p.x, p.y, 0.f));
    if (point.coefficients.size() >= 2u * numNearfieldCoefficients) {
      leftIndex = rightIndex = static_cast<int>(point.index);
      leftSet = point.coefficients.data();
      rightSet = point.coefficients.data() + numNearfieldCoefficients;
    }
  }
  if (leftIndex != v.leftNearfieldIndex) {
    v.leftNearfieldIndex = leftIndex;
    v.leftNearfield.SetCoefficients(leftSet, immediately);
  }
  if (rightIndex != v.rightNearfieldIndex) {
    v.rightNearfieldIndex = rightIndex;
    v.rightNearfield.SetCoefficients(rightSet, immediately);
  }
}

}  // namespace Zorv
