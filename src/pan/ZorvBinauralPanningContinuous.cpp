#include "ZorvBinauralPanningContinuous.h"

#include <algorithm>
#include <cctype>
#include <cmath>

#include "NolarGeometry.h"
#include "NolarVectorOperations.h"
#include "ZorvHrtf.h"
#include "ZorvHrtfHeaderInfos.h"
#include "ZorvHrtfPoint.h"
#include "ZorvNullPanning.h"

namespace Zorv {

float const BinauralPanningContinuous::MinimumSpeakerGain = 0.1f;
float const BinauralPanningContinuous::GainRampTime = 2.f;

namespace {

float const stereoLevel = 0.70710677f;

bool hasExtension(std::string const& path, char const* extension) {
  std::string const e(extension);
  if (path.size() < e.size()) return false;
  for (std::size_t k = 0; k < e.size(); ++k) {
    char const c = path[path.size() - e.size() + k];
    if (std::tolower(static_cast<unsigned char>(c)) != e[k]) return false;
  }
  return true;
}

bool namesBuiltInSet(std::string const& path) {
  return path.empty() || path == "kemar" || path == "KEMAR";
}

}  // namespace

BinauralPanningContinuous::Voice::Voice(HRTFFilterType type)
    : ears{HrtfFiltering(type, true), HrtfFiltering(type, true), HrtfFiltering(type, true),
           HrtfFiltering(type, true)},
      targets{{MinimumSpeakerGain}, {MinimumSpeakerGain}},
      jump(true) {}

Pan* BinauralPanningContinuous::Create(unsigned int numInputs, unsigned int numOutputs) {
  if (numOutputs != 2) return new NullPanning();
  return new BinauralPanningContinuous(numInputs, numOutputs);
}

BinauralPanningContinuous::BinauralPanningContinuous(unsigned int numInputs_, unsigned int)
    : defaultSet(true),
      pairs(2),
      numCoefficients(25),
      filterType(BiquadFiltering),
      firImplementation(nolardsp::Filter::TimeDomain),
      crossFadeTime(HrtfFiltering::DefaultCrossFadeTime),
      crossFadeType("linear"),
      interpolationTime(HrtfFiltering::DefaultDelayInterpolationTime),
      newest(nullptr),
      current(nullptr),
      incoming(nullptr),
      fadePosition(0),
      pending(nullptr) {
  for (auto& slot : retired) slot.store(nullptr);
  numOutputs = 2;
  std::unique_ptr<Hrtf> set(makeDefaultSet());
  std::vector<Speaker> r = makeRing(*set);
  adoptSet(set.release(), std::move(r));
  current = makeBank(0);
  newest = current;
  sizeBuffers();
  SetNumInputs(numInputs_);
}

BinauralPanningContinuous::~BinauralPanningContinuous() {
  settle();
  delete current;
}

std::vector<BinauralPanningContinuous::Speaker> BinauralPanningContinuous::makeRing(
    Hrtf const& set) {
  std::vector<Speaker> r;
  std::vector<HrtfPoint> const& points = set.GetPoints();
  // The ring is the row of points closest to the plane, within a tenth of
  // the radius; rows a few degrees above and below are left out, so that the
  // ring is one row of measurements.
  float lowest = 0.1f;
  for (HrtfPoint const& p : points) {
    float const d = std::sqrt(p.position.x * p.position.x + p.position.y * p.position.y +
                              p.position.z * p.position.z);
    if (!(d > 0.f) || !std::isfinite(d)) continue;
    lowest = std::min(lowest, std::fabs(p.position.z / d));
  }
  for (HrtfPoint const& p : points) {
    float const d = std::sqrt(p.position.x * p.position.x + p.position.y * p.position.y +
                              p.position.z * p.position.z);
    if (!(d > 0.f) || !std::isfinite(d)) continue;
    if (std::fabs(p.position.z / d) > lowest + 0.02f) continue;
    float const h = std::hypot(p.position.x, p.position.y);
    if (!(h > 0.f)) continue;
    Speaker s;
    s.position = nolardsp::CartesianVector(p.position.x / h, p.position.y / h, 0.f);
    s.point = p.index;
    r.push_back(s);
  }
  auto azimuth = [](Speaker const& s) { return std::atan2(s.position.x, s.position.y); };
  std::stable_sort(r.begin(), r.end(), [&azimuth](Speaker const& a, Speaker const& b) {
    return azimuth(a) < azimuth(b);
  });
  // One speaker a direction: a pair of speakers at one azimuth has no basis.
  float const tolerance = 1e-3f;  // radians, some 0.06 degrees
  std::vector<Speaker> unique;
  for (Speaker const& s : r) {
    if (!unique.empty() && azimuth(s) - azimuth(unique.back()) < tolerance) continue;
    unique.push_back(s);
  }
  if (unique.size() > 1 &&
      azimuth(unique.front()) + 2.f * 3.14159265f - azimuth(unique.back()) < tolerance) {
    unique.pop_back();
  }
  if (unique.size() < 3) unique.clear();
  return unique;
}

void BinauralPanningContinuous::adoptSet(Hrtf* set, std::vector<Speaker> newRing) {
  hrtf.reset(set);
  ring = std::move(newRing);
  pairs = Vbap2DPairs(static_cast<unsigned int>(ring.size()));
  std::vector<nolardsp::CartesianVector> positions;
  for (Speaker const& s : ring) positions.push_back(s.position);
  if (!positions.empty()) pairs.SetLoudspeakerPositions(positions.data());
  speakerGains.assign(ring.size(), 0.f);
  HrtfHeaderInfos const& header = *hrtf->GetHrtfHeaderInfos();
  numCoefficients = header.numCoefficients;
  filterType = header.filterType == FIR ? FirFiltering : BiquadFiltering;
}

unsigned int BinauralPanningContinuous::runningRate() const {
  return static_cast<unsigned int>(std::lround(samplerate));
}

Hrtf* BinauralPanningContinuous::makeDefaultSet() const {
  return new Hrtf("", runningRate());
}

void BinauralPanningContinuous::setUpVoice(Voice& voice) const {
  for (HrtfFiltering& ear : voice.ears) {
    ear.SetFilterType(filterType);
    ear.SetNumCoefficients(numCoefficients);
    ear.SetFIRFiltersImplementationMethod(firImplementation);
    ear.SetCrossFadeTime(crossFadeTime);
    ear.SetCrossFadeType(crossFadeType.c_str());
    ear.SetInterpolationTime(interpolationTime);
    ear.Configure(samplerate, static_cast<unsigned int>(maxBlockSize), true);
  }
  for (nolardsp::Ramp& g : voice.gains) {
    g.SetSamplerate(samplerate);
    g.SetTimeConstant(GainRampTime);
    g.SetValue(MinimumSpeakerGain, true);
  }
  voice.speakers[0] = voice.speakers[1] = -1;
}

BinauralPanningContinuous::Bank* BinauralPanningContinuous::makeBank(unsigned int numVoices) const {
  auto bank = std::make_unique<Bank>();
  bank->voices.reserve(numVoices);
  for (unsigned int i = 0; i < numVoices; ++i) {
    bank->voices.push_back(std::make_unique<Voice>(filterType));
    setUpVoice(*bank->voices.back());
  }
  double const n = std::ceil(static_cast<double>(crossFadeTime) * samplerate * 0.001);
  bank->fadeLength = static_cast<unsigned long>(std::min(std::max(n, 2.), 10. * samplerate));
  return bank.release();
}

void BinauralPanningContinuous::sizeBuffers() {
  std::size_t const n = std::max<std::size_t>(1, maxBlockSize);
  for (auto& w : work) w.assign(n, 0.f);
  for (auto& r : ramps) r.assign(n, 0.f);
  fadeLeft.assign(n, 0.f);
  fadeRight.assign(n, 0.f);
}

void BinauralPanningContinuous::collectRetired() {
  for (auto& slot : retired) delete slot.exchange(nullptr, std::memory_order_acq_rel);
}

void BinauralPanningContinuous::settle() {
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

void BinauralPanningContinuous::replaceBank() {
  collectRetired();
  Bank* bank = makeBank(numInputs);
  newest = bank;
  for (unsigned int i = 0; i < numInputs && i < sourceRelativePositions.size(); ++i) {
    setSourceRelativePosition(i, sourceRelativePositions[i], true);
  }
  delete pending.exchange(bank, std::memory_order_acq_rel);
}

void BinauralPanningContinuous::takeHandover() {
  if (incoming != nullptr) return;
  bool room = false;
  for (auto& slot : retired) room = room || slot.load(std::memory_order_acquire) == nullptr;
  if (!room) return;
  Bank* bank = pending.exchange(nullptr, std::memory_order_acq_rel);
  if (bank == nullptr) return;
  incoming = bank;
  fadePosition = 0;
}

void BinauralPanningContinuous::renderAdding(Bank& bank, float* left, float* right, float** inputs,
                                             unsigned long n, short const* active) {
  std::size_t const count = std::min<std::size_t>(numInputs, bank.voices.size());
  for (std::size_t i = 0; i < count; ++i) {
    Voice& v = *bank.voices[i];
    bool const jump = v.jump.exchange(false, std::memory_order_acq_rel);
    for (int k = 0; k < 2; ++k) {
      float const target = v.targets[k].load(std::memory_order_relaxed);
      if (jump) {
        v.gains[k].SetValue(target, true);
      } else if (target != v.gains[k].GetTargetValue()) {
        v.gains[k].SetValue(target, false);
      }
    }
    if (active[i] == 0) {
      // A silent source still moves on: its gains stand where it is.
      for (nolardsp::Ramp& g : v.gains) {
        if (g.IsRunning()) g.Process(ramps[0].data(), static_cast<int>(n));
      }
      continue;
    }
    for (int e = 0; e < 4; ++e) v.ears[e].Process(work[e].data(), inputs[i], n);
    v.gains[0].Process(ramps[0].data(), static_cast<int>(n));
    v.gains[1].Process(ramps[1].data(), static_cast<int>(n));
    nolardsp::MulAdd(left, work[0].data(), ramps[0].data(), n);
    nolardsp::MulAdd(left, work[1].data(), ramps[1].data(), n);
    nolardsp::MulAdd(right, work[2].data(), ramps[0].data(), n);
    nolardsp::MulAdd(right, work[3].data(), ramps[1].data(), n);
  }
}

void BinauralPanningContinuous::render(Bank& bank, float* left, float* right, float** inputs,
                                       unsigned long n, short const* active) {
  nolardsp::Zero(left, n);
  nolardsp::Zero(right, n);
  renderAdding(bank, left, right, inputs, n, active);
}

void BinauralPanningContinuous::Process(float** outputs, float** inputs, unsigned long numSamples,
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
    render(*current, left, right, chunkInputs, n, active);
    if (incoming != nullptr) {
      render(*incoming, fadeLeft.data(), fadeRight.data(), chunkInputs, n, active);
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
    nolardsp::Mul(left, stereoLevel, n);
    nolardsp::Mul(right, stereoLevel, n);
    done += n;
  }
}

void BinauralPanningContinuous::ProcessAdding(float** outputs, float** inputs,
                                              unsigned long numSamples, short const* active) {
  unsigned long const room = std::max<unsigned long>(1, std::min(fadeLeft.size(), maxBlockSize));
  float* chunkInputs[nolardsp::MaxChannels];
  unsigned int const inputCount = std::min<unsigned int>(numInputs, nolardsp::MaxChannels);
  for (unsigned long done = 0; done < numSamples;) {
    unsigned long const n = std::min(room, numSamples - done);
    for (unsigned int i = 0; i < inputCount; ++i) chunkInputs[i] = inputs[i] + done;
    renderAdding(*current, outputs[0] + done, outputs[1] + done, chunkInputs, n, active);
    done += n;
  }
}

void BinauralPanningContinuous::SetNumInputs(unsigned int n) {
  n = std::min<unsigned int>(n, nolardsp::MaxChannels);
  BinauralPanning::SetNumInputs(n);
  settle();
  unsigned int const had = static_cast<unsigned int>(current->voices.size());
  current->voices.resize(n);
  for (unsigned int i = had; i < n; ++i) {
    current->voices[i] = std::make_unique<Voice>(filterType);
    setUpVoice(*current->voices[i]);
    SetSourcePosition(i, sourcePositions[i], true);
  }
}

void BinauralPanningContinuous::SetInterpolationTime(float milliseconds) {
  collectRetired();
  interpolationTime = milliseconds;
  for (auto& v : newest->voices) {
    for (HrtfFiltering& ear : v->ears) ear.SetInterpolationTime(milliseconds);
  }
}

void BinauralPanningContinuous::SetSamplerate(float rate) {
  if (!(rate > 0.f) || !std::isfinite(rate)) return;
  settle();
  bool const changed = rate != samplerate;
  samplerate = rate;
  for (auto& v : current->voices) {
    for (HrtfFiltering& ear : v->ears) ear.SetSamplerate(rate);
    for (nolardsp::Ramp& g : v->gains) g.SetSamplerate(rate);
  }
  if (!changed || !defaultSet) return;
  // The built-in set has tables for some rates: the one nearest the new rate.
  std::unique_ptr<Hrtf> set(makeDefaultSet());
  HrtfHeaderInfos const& header = *set->GetHrtfHeaderInfos();
  if (header.sampleRate == hrtf->GetHrtfHeaderInfos()->sampleRate ||
      header.numCoefficients != numCoefficients) {
    return;
  }
  std::vector<Speaker> r = makeRing(*set);
  if (r.empty()) return;
  adoptSet(set.release(), std::move(r));
  // No block runs here: the voices take the new filters at once.
  forgetLastPoints();
  for (unsigned int i = 0; i < numInputs && i < sourceRelativePositions.size(); ++i) {
    setSourceRelativePosition(i, sourceRelativePositions[i], true);
  }
}

void BinauralPanningContinuous::SetMaxBlockSize(unsigned int n) {
  settle();
  n = std::max(1u, n);
  maxBlockSize = n;
  sizeBuffers();
  for (auto& v : current->voices) {
    for (HrtfFiltering& ear : v->ears) ear.SetMaxBlockSize(n);
  }
}

void BinauralPanningContinuous::Clear() {
  settle();
  for (auto& v : current->voices) {
    for (HrtfFiltering& ear : v->ears) ear.Clear();
  }
}

bool BinauralPanningContinuous::LoadFromFile(char const* path) {
  collectRetired();
  std::string const p = path != nullptr ? path : "";
  bool const builtIn = namesBuiltInSet(p);
  if (!builtIn && !hasExtension(p, ".coll") && !hasExtension(p, ".hrtf") &&
      !hasExtension(p, ".sofa")) {
    return false;
  }
  std::unique_ptr<Hrtf> set(builtIn ? makeDefaultSet() : new Hrtf(p.c_str(), runningRate()));
  HrtfHeaderInfos const& header = *set->GetHrtfHeaderInfos();
  if (header.hrtfType != Zorv::Binaural || header.numChannels != 2 || header.numCoefficients == 0 ||
      set->GetNumPoints() == 0 || (header.filterType != BiquadCells && header.filterType != FIR)) {
    return false;
  }
  for (HrtfPoint const& point : set->GetPoints()) {
    if (point.coefficients.size() < 2u * header.numCoefficients) return false;
  }
  std::vector<Speaker> r = makeRing(*set);
  if (r.empty()) return false;
  defaultSet = builtIn;
  adoptSet(set.release(), std::move(r));
  replaceBank();
  return true;
}

void BinauralPanningContinuous::SetFilterCrossFadeTime(float milliseconds) {
  collectRetired();
  crossFadeTime = std::isfinite(milliseconds) ? std::max(0.f, milliseconds) : 0.f;
  for (auto& v : newest->voices) {
    for (HrtfFiltering& ear : v->ears) ear.SetCrossFadeTime(crossFadeTime);
  }
}

void BinauralPanningContinuous::SetCrossFadeType(char const* name) {
  collectRetired();
  crossFadeType = name != nullptr ? name : "";
  for (auto& v : newest->voices) {
    for (HrtfFiltering& ear : v->ears) ear.SetCrossFadeType(crossFadeType.c_str());
  }
}

void BinauralPanningContinuous::SetFIRFiltersImplementationMethod(
    nolardsp::Filter::FIRImplementation method) {
  if (method == firImplementation) return;
  firImplementation = method;
  if (filterType != FirFiltering) return;
  replaceBank();
}

void BinauralPanningContinuous::SetListenerHeadRadius(float metres) {
  collectRetired();
  headRadius = metres;
  if (itdType == ITDFromMeasurement || itdType == NoITD) return;
  forceUpdate(false);
}

HrtfHeaderInfos const* BinauralPanningContinuous::GetHrtfHeaderInfos() const {
  return hrtf->GetHrtfHeaderInfos();
}

void BinauralPanningContinuous::forgetLastPoints() {
  for (auto& v : newest->voices) v->speakers[0] = v->speakers[1] = -1;
}

void BinauralPanningContinuous::setSourceRelativePosition(unsigned int index,
                                                          nolardsp::CartesianVector const& position,
                                                          bool immediately) {
  collectRetired();
  if (index >= newest->voices.size() || ring.empty() || !nolardsp::IsFinite(position)) return;
  Voice& v = *newest->voices[index];
  // A source at the centre has no azimuth: it sounds from the front.
  nolardsp::CartesianVector const p =
      position.x == 0.f && position.y == 0.f ? nolardsp::CartesianVector(0.f, 1.f, 0.f) : position;
  pairs.ComputeGains(p, 0.f, speakerGains.data());
  unsigned int active[2] = {0, 1};
  pairs.GetActiveSpeakers(p, active);
  int a = static_cast<int>(active[0]);
  int b = static_cast<int>(active[1]);
  // A speaker stays in the slot that holds it.
  if (a == v.speakers[1] || b == v.speakers[0]) std::swap(a, b);
  int const chosen[2] = {a, b};
  float gains[2];
  float weighted = 0.f, total = 0.f;
  for (int k = 0; k < 2; ++k) {
    float const g = speakerGains[static_cast<std::size_t>(chosen[k])];
    gains[k] = std::max(g * g, MinimumSpeakerGain);
    HrtfPoint const& point = hrtf->GetPoints()[ring[static_cast<std::size_t>(chosen[k])].point];
    weighted += gains[k] * point.itd;
    total += gains[k];
    if (chosen[k] == v.speakers[k]) continue;
    v.speakers[k] = chosen[k];
    v.ears[k].SetCoefficients(point.coefficients.data(), immediately);
    v.ears[k + 2].SetCoefficients(point.coefficients.data() + numCoefficients, immediately);
  }
  // One delay for the source, from the ITD between the two speakers.
  float left = 0.f, right = 0.f;
  ComputeMonauralDelays(itdType, position, weighted / total, headRadius, left, right);
  v.ears[0].SetDelay(left, immediately);
  v.ears[1].SetDelay(left, immediately);
  v.ears[2].SetDelay(right, immediately);
  v.ears[3].SetDelay(right, immediately);
  v.targets[0].store(gains[0], std::memory_order_relaxed);
  v.targets[1].store(gains[1], std::memory_order_relaxed);
  if (immediately) v.jump.store(true, std::memory_order_release);
}

}  // namespace Zorv
