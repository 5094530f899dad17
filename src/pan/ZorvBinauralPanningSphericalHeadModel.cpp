#include "ZorvBinauralPanningSphericalHeadModel.h"

#include <algorithm>
#include <cmath>

#include "NolarException.h"
#include "NolarVectorOperations.h"
#include "ZorvDefaultParameters.h"
#include "ZorvNullPanning.h"
#include "ZorvSphereShadowFilter.h"

namespace Zorv {

float const BinauralPanningSphericalHeadModel::MinHeadRadius = 0.01f;
float const BinauralPanningSphericalHeadModel::MaxHeadRadius = 10.f;
float const BinauralPanningSphericalHeadModel::DefaultInterpolationTime = 30.f;

namespace {

float clampHeadRadius(float r) {
  if (!(r >= BinauralPanningSphericalHeadModel::MinHeadRadius)) {
    return BinauralPanningSphericalHeadModel::MinHeadRadius;
  }
  return std::min(r, BinauralPanningSphericalHeadModel::MaxHeadRadius);
}

// Positions beyond a float's square are brought back to a magnitude whose
// square is finite, keeping their direction; NaN counts as 0.
nolardsp::CartesianVector finitePosition(nolardsp::CartesianVector p) {
  for (float* c : {&p.x, &p.y, &p.z}) {
    if (std::isnan(*c)) *c = 0.f;
    *c = std::max(-1e15f, std::min(1e15f, *c));
  }
  return p;
}

}  // namespace

namespace {
unsigned int const delayPending = 1u;
unsigned int const delayJump = 2u;
unsigned int const glidePending = 4u;
// Within the line's 300 ms, so that no delay asks the line to grow while
// blocks run.
float const maxEarDelay = 290.f;
}  // namespace

BinauralPanningSphericalHeadModel::Ear::Ear()
    : delay(nolardsp::Delay::DefaultDelayLineLength, nolardsp::Delay::DefaultInterpolationMode),
      filter(1),
      delayTarget(0.f),
      delayGlide(DefaultInterpolationTime),
      requests(0u) {
  delay.SetInterpolationMode(nolardsp::Delay::InterpolationAllpass);
  delay.SetInterpolationTime(DefaultInterpolationTime);
}

void BinauralPanningSphericalHeadModel::Ear::AskDelay(float milliseconds, bool immediately) {
  if (!std::isfinite(milliseconds)) milliseconds = 0.f;
  delayTarget.store(std::min(std::max(milliseconds, 0.f), maxEarDelay), std::memory_order_relaxed);
  requests.fetch_or(delayPending | (immediately ? delayJump : 0u), std::memory_order_release);
  // At once, like the filters' immediate sets: on the set-up path.
  if (immediately) TakeRequests();
}

void BinauralPanningSphericalHeadModel::Ear::AskGlide(float milliseconds) {
  delayGlide.store(milliseconds, std::memory_order_relaxed);
  requests.fetch_or(glidePending, std::memory_order_release);
}

void BinauralPanningSphericalHeadModel::Ear::TakeRequests() {
  unsigned int const r = requests.exchange(0u, std::memory_order_acquire);
  if (r == 0u) return;
  if ((r & glidePending) != 0u)
    delay.SetInterpolationTime(delayGlide.load(std::memory_order_relaxed));
  if ((r & delayPending) != 0u) {
    delay.SetDelay(delayTarget.load(std::memory_order_relaxed), (r & delayJump) != 0u);
  }
}

Pan* BinauralPanningSphericalHeadModel::Create(unsigned int numInputs, unsigned int numOutputs) {
  if (numOutputs != 2) return new NullPanning();
  return new BinauralPanningSphericalHeadModel(numInputs, numOutputs);
}

BinauralPanningSphericalHeadModel::BinauralPanningSphericalHeadModel(unsigned int numInputs_,
                                                                     unsigned int, float radius)
    : samplePeriod(1.f / samplerate),
      interpolationTime(DefaultInterpolationTime),
      crossFadeTime(FadedIIRFilter::DefaultCrossFadeTime),
      crossFadeType(nolardsp::CrossFadeLinear) {
  numOutputs = 2;
  headRadius = clampHeadRadius(radius > 0.f ? radius : ZorvDefaultParameters::DefaultHeadRadius);
  headCutoff = SphereShadowFilter::SpeedOfSound / headRadius;
  leftEar = nolardsp::CartesianVector(-headRadius, 0.f, 0.f);
  rightEar = nolardsp::CartesianVector(headRadius, 0.f, 0.f);
  SetNumInputs(numInputs_);
  SetITDType(LarcherJotModel);
  forceUpdate(false);
  forceUpdate(true);
}

BinauralPanningSphericalHeadModel::~BinauralPanningSphericalHeadModel() = default;

void BinauralPanningSphericalHeadModel::setUpEar(Ear& ear) {
  ear.delay.Configure(samplerate, static_cast<unsigned int>(maxBlockSize), true);
  ear.delay.SetInterpolationTime(interpolationTime);
  ear.delayGlide.store(interpolationTime, std::memory_order_relaxed);
  ear.filter.Configure(samplerate, static_cast<unsigned int>(maxBlockSize), true);
  ear.filter.SetCrossFadeTime(crossFadeTime);
  ear.filter.SetCrossFadeType(crossFadeType);
  ear.work.assign(std::max<unsigned long>(1, maxBlockSize), 0.f);
}

void BinauralPanningSphericalHeadModel::SetNumInputs(unsigned int n) {
  n = std::min<unsigned int>(n, nolardsp::MaxChannels);
  BinauralPanning::SetNumInputs(n);
  unsigned int const had = static_cast<unsigned int>(voices.size());
  voices.resize(n);
  for (unsigned int i = had; i < n; ++i) {
    voices[i] = std::make_unique<DelayAndFilterVoice>();
    setUpEar(voices[i]->left);
    setUpEar(voices[i]->right);
    SetSourcePosition(i, sourcePositions[i], true);
  }
}

void BinauralPanningSphericalHeadModel::SetInterpolationTime(float milliseconds) {
  interpolationTime = milliseconds;
  for (auto& v : voices) {
    v->left.AskGlide(milliseconds);
    v->right.AskGlide(milliseconds);
  }
}

void BinauralPanningSphericalHeadModel::SetFilterCrossFadeTime(float milliseconds) {
  if (std::isnan(milliseconds)) return;
  crossFadeTime = milliseconds;
  for (auto& v : voices) {
    v->left.filter.SetCrossFadeTime(milliseconds);
    v->right.filter.SetCrossFadeTime(milliseconds);
  }
}

void BinauralPanningSphericalHeadModel::SetCrossFadeType(char const* name) {
  FadedIIRFilter probe;
  probe.SetCrossFadeType(name);
  crossFadeType = probe.GetCrossFadeType();
  for (auto& v : voices) {
    v->left.filter.SetCrossFadeType(crossFadeType);
    v->right.filter.SetCrossFadeType(crossFadeType);
  }
}

void BinauralPanningSphericalHeadModel::SetSamplerate(float rate) {
  if (!(rate > 0.f) || !std::isfinite(rate)) return;
  samplerate = rate;
  samplePeriod = 1.f / rate;
  for (auto& v : voices) {
    for (Ear* e : {&v->left, &v->right}) {
      e->TakeRequests();
      e->delay.SetSamplerate(rate);
      e->filter.SetSamplerate(rate);
    }
  }
  // The filters depend on the rate.
  forceUpdate(true);
}

void BinauralPanningSphericalHeadModel::SetMaxBlockSize(unsigned int n) {
  n = std::max(1u, n);
  maxBlockSize = n;
  for (auto& v : voices) {
    for (Ear* e : {&v->left, &v->right}) {
      e->delay.SetMaxBlockSize(n);
      e->filter.SetMaxBlockSize(n);
      e->work.assign(n, 0.f);
    }
  }
}

void BinauralPanningSphericalHeadModel::Clear() {
  for (auto& v : voices) {
    for (Ear* e : {&v->left, &v->right}) {
      e->delay.Clear();
      e->filter.Clear();
    }
  }
}

bool BinauralPanningSphericalHeadModel::LoadFromFile(char const*) {
  NOLAR_THROW("head model : no hrtf to load");
}

void BinauralPanningSphericalHeadModel::SetFIRFiltersImplementationMethod(
    nolardsp::Filter::FIRImplementation) {}

HrtfHeaderInfos const* BinauralPanningSphericalHeadModel::GetHrtfHeaderInfos() const {
  return nullptr;
}

void BinauralPanningSphericalHeadModel::SetListenerHeadRadius(float metres) {
  headRadius = clampHeadRadius(metres);
  leftEar = nolardsp::CartesianVector(-headRadius, 0.f, 0.f);
  rightEar = nolardsp::CartesianVector(headRadius, 0.f, 0.f);
  headCutoff = SphereShadowFilter::SpeedOfSound / headRadius;
  forceUpdate(false);
}

void BinauralPanningSphericalHeadModel::setSourceRelativePosition(
    unsigned int index, nolardsp::CartesianVector const& position, bool immediately) {
  if (index >= voices.size()) return;
  DelayAndFilterVoice& v = *voices[index];
  nolardsp::CartesianVector const p = finitePosition(position);
  // With no measurement, the measured type is the model's own.
  ITDType const type = itdType == ITDFromMeasurement ? LarcherJotModel : itdType;
  float left = 0.f;
  float right = 0.f;
  ComputeMonauralDelays(type, p, 0.f, headRadius, left, right);
  v.left.AskDelay(left, immediately);
  v.right.AskDelay(right, immediately);

  float const w = samplePeriod * headCutoff;
  float c[4];
  SphereShadowFilter::Coefficients(w, SphereShadowFilter::AngleBetween(p, leftEar), c);
  v.left.filter.SetCoefficients(c, immediately);
  SphereShadowFilter::Coefficients(w, SphereShadowFilter::AngleBetween(p, rightEar), c);
  v.right.filter.SetCoefficients(c, immediately);
}

void BinauralPanningSphericalHeadModel::run(DelayAndFilterVoice& v, float* left, float* right,
                                            float const* in, unsigned long numSamples,
                                            bool adding) {
  v.left.TakeRequests();
  v.right.TakeRequests();
  unsigned long const room = std::min(v.left.work.size(), v.right.work.size());
  for (unsigned long done = 0; done < numSamples;) {
    unsigned long const n = std::min(room, numSamples - done);
    int const m = static_cast<int>(n);
    // Both delays read the input before either output is written: the host
    // may hand the same memory for an input and an output.
    v.left.delay.Process(v.left.work.data(), in + done, m);
    v.right.delay.Process(v.right.work.data(), in + done, m);
    v.left.filter.ProcessBlock(left + done, v.left.work.data(), n, adding);
    v.right.filter.ProcessBlock(right + done, v.right.work.data(), n, adding);
    done += n;
  }
}

void BinauralPanningSphericalHeadModel::Process(float** outputs, float** inputs,
                                                unsigned long numSamples, short const* active) {
  if (numInputs == 1 && !voices.empty() && active[0] != 0) {
    run(*voices[0], outputs[0], outputs[1], inputs[0], numSamples, false);
    return;
  }
  nolardsp::Zero(outputs[0], numSamples);
  nolardsp::Zero(outputs[1], numSamples);
  if (numInputs > 1) ProcessAdding(outputs, inputs, numSamples, active);
}

void BinauralPanningSphericalHeadModel::ProcessAdding(float** outputs, float** inputs,
                                                      unsigned long numSamples,
                                                      short const* active) {
  std::size_t const count = std::min<std::size_t>(numInputs, voices.size());
  for (std::size_t i = 0; i < count; ++i) {
    if (active[i] == 0) continue;
    run(*voices[i], outputs[0], outputs[1], inputs[i], numSamples, true);
  }
}

}  // namespace Zorv
