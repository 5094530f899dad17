#include "ZorvBinauralPanningDirect.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <map>
#include <mutex>
#include <string>

#include "NolarVectorOperations.h"
#include "ZorvHrtf.h"
#include "ZorvNullPanning.h"

namespace Zorv {

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

// The interaural delay that a pair of biquad cascades adds by itself, in ms,
// left ear minus right ear: the lag of the peak of the cross-correlation of
// their impulse responses below 1.5 kHz, where the ear takes the ITD from.
// Minimum-phase filters of unequal magnitude are not equal in phase: the
// shadowed ear's filter is later, by up to some 0.15 ms beside the head.
float biquadPairItd(float const* left, float const* right, unsigned int numCoefficients,
                    double rate) {
  unsigned int const length = 256;
  int const maxLag = static_cast<int>(std::ceil(0.0015 * rate));
  std::vector<double> ir[2];
  float const* sets[2] = {left, right};
  double const w = 2. * 3.14159265358979323846 * 1500. / rate;
  double const alpha = std::sin(w) / (2. * std::sqrt(0.5));
  double const lp[5] = {(1. - std::cos(w)) / 2. / (1. + alpha), (1. - std::cos(w)) / (1. + alpha),
                        (1. - std::cos(w)) / 2. / (1. + alpha), -2. * std::cos(w) / (1. + alpha),
                        (1. - alpha) / (1. + alpha)};
  unsigned int const sections = numCoefficients > 0 ? (numCoefficients - 1) / 4 : 0;
  for (int e = 0; e < 2; ++e) {
    std::vector<double>& y = ir[e];
    y.assign(length, 0.);
    y[0] = sets[e][0];
    // Each section in turn over the whole response: 1 + b1 z^-1 + b2 z^-2
    // over 1 + a1 z^-1 + a2 z^-2.
    for (unsigned int k = 0; k < sections; ++k) {
      double const b1 = sets[e][1 + 4 * k], b2 = sets[e][2 + 4 * k];
      double const a1 = sets[e][3 + 4 * k], a2 = sets[e][4 + 4 * k];
      double x1 = 0., x2 = 0., y1 = 0., y2 = 0.;
      for (double& v : y) {
        double const out = v + b1 * x1 + b2 * x2 - a1 * y1 - a2 * y2;
        x2 = x1;
        x1 = v;
        y2 = y1;
        y1 = out;
        v = out;
      }
    }
    // The same low-pass on both ears (twice a second-order Butterworth): it
    // moves both alike and leaves the lag between them.
    for (int pass = 0; pass < 2; ++pass) {
      double x1 = 0., x2 = 0., y1 = 0., y2 = 0.;
      for (double& v : y) {
        double const out = lp[0] * v + lp[1] * x1 + lp[2] * x2 - lp[3] * y1 - lp[4] * y2;
        x2 = x1;
        x1 = v;
        y2 = y1;
        y1 = out;
        v = out;
      }
    }
  }
  std::vector<double> c(2 * maxLag + 1, 0.);
  int best = 0;
  for (int lag = -maxLag; lag <= maxLag; ++lag) {
    double sum = 0.;
    for (int k = std::max(0, lag);
         k < static_cast<int>(length) && k - lag < static_cast<int>(length); ++k) {
      sum += ir[0][k] * ir[1][k - lag];
    }
    c[lag + maxLag] = sum;
    if (sum > c[best]) best = lag + maxLag;
  }
  if (!std::isfinite(c[best]) || c[best] <= 0.) return 0.f;
  double lag = best - maxLag;
  if (best > 0 && best < 2 * maxLag) {
    double const den = c[best - 1] - 2. * c[best] + c[best + 1];
    if (den != 0.) lag += 0.5 * (c[best - 1] - c[best + 1]) / den;
  }
  return static_cast<float>(lag * 1000. / rate);
}

// The filters' own ITD of every point of a biquad set.
std::vector<float> biquadSetItds(Hrtf const& set, double rate) {
  unsigned int const n = set.GetHrtfHeaderInfos()->numCoefficients;
  std::vector<float> itds;
  itds.reserve(set.GetPoints().size());
  for (HrtfPoint const& p : set.GetPoints()) {
    itds.push_back(p.coefficients.size() >= 2u * n && n > 0
                       ? biquadPairItd(p.coefficients.data(), p.coefficients.data() + n, n, rate)
                       : 0.f);
  }
  return itds;
}

// The built-in sets are the same for every renderer: their filters' ITDs are
// worked out once per table.
std::vector<float> const& builtInSetItds(Hrtf const& set) {
  static std::mutex mutex;
  static std::map<unsigned int, std::vector<float>> cache;
  std::lock_guard<std::mutex> lock(mutex);
  unsigned int const rate = set.GetHrtfHeaderInfos()->sampleRate;
  auto found = cache.find(rate);
  if (found == cache.end()) found = cache.emplace(rate, biquadSetItds(set, rate)).first;
  return found->second;
}

}  // namespace

BinauralPanningDirect::Voice::Voice(HRTFFilterType type) : left(type, true), right(type, true) {}

Pan* BinauralPanningDirect::Create(unsigned int numInputs, unsigned int numOutputs) {
  if (numOutputs != 2) return new NullPanning();
  return new BinauralPanningDirect(numInputs, numOutputs);
}

BinauralPanningDirect::BinauralPanningDirect(unsigned int numInputs_, unsigned int)
    : numCoefficients(25),
      filterType(BiquadFiltering),
      firImplementation(nolardsp::Filter::TimeDomain),
      crossFadeTime(HrtfFiltering::DefaultCrossFadeTime),
      crossFadeType("linear"),
      interpolationTime(HrtfFiltering::DefaultDelayInterpolationTime),
      defaultSet(true),
      rateNoticeDue(false),
      newest(nullptr),
      current(nullptr),
      incoming(nullptr),
      fadePosition(0),
      pending(nullptr) {
  for (auto& slot : retired) slot.store(nullptr);
  numOutputs = 2;
  adoptSet(makeDefaultSet(), true);
  numCoefficients = hrtf->GetHrtfHeaderInfos()->numCoefficients;
  current = makeBank(filterType, numCoefficients, 0);
  newest = current;
  fadeLeft.assign(maxBlockSize, 0.f);
  fadeRight.assign(maxBlockSize, 0.f);
  SetNumInputs(numInputs_);
}

BinauralPanningDirect::~BinauralPanningDirect() {
  settle();
  delete current;
}

void BinauralPanningDirect::adoptSet(Hrtf* set, bool builtIn) {
  hrtf.reset(set);
  filterItds.clear();
  HrtfHeaderInfos const& header = *hrtf->GetHrtfHeaderInfos();
  if (header.filterType != BiquadCells) return;
  double const rate = header.sampleRate > 0 ? header.sampleRate : samplerate;
  filterItds = builtIn ? builtInSetItds(*hrtf) : biquadSetItds(*hrtf, rate);
}

unsigned int BinauralPanningDirect::runningRate() const {
  return static_cast<unsigned int>(std::lround(samplerate));
}

Hrtf* BinauralPanningDirect::makeDefaultSet() const {
  return new Hrtf("", runningRate());
}

void BinauralPanningDirect::setUpVoice(Voice& voice, HRTFFilterType type,
                                       unsigned int coefficients) const {
  for (HrtfFiltering* ear : {&voice.left, &voice.right}) {
    ear->SetFilterType(type);
    ear->SetNumCoefficients(coefficients);
    ear->SetFIRFiltersImplementationMethod(firImplementation);
    ear->SetCrossFadeTime(crossFadeTime);
    ear->SetCrossFadeType(crossFadeType.c_str());
    ear->SetInterpolationTime(interpolationTime);
    ear->Configure(samplerate, static_cast<unsigned int>(maxBlockSize), true);
  }
  voice.lastPointIndex = -1;
}

BinauralPanningDirect::Bank* BinauralPanningDirect::makeBank(HRTFFilterType type,
                                                             unsigned int coefficients,
                                                             unsigned int numVoices) const {
  auto bank = std::make_unique<Bank>();
  bank->voices.reserve(numVoices);
  for (unsigned int i = 0; i < numVoices; ++i) {
    bank->voices.push_back(std::make_unique<Voice>(type));
    setUpVoice(*bank->voices.back(), type, coefficients);
  }
  double const n = std::ceil(static_cast<double>(crossFadeTime) * samplerate * 0.001);
  bank->fadeLength = static_cast<unsigned long>(std::min(std::max(n, 2.), 10. * samplerate));
  return bank.release();
}

void BinauralPanningDirect::collectRetired() {
  for (auto& slot : retired) delete slot.exchange(nullptr, std::memory_order_acq_rel);
}

void BinauralPanningDirect::settle() {
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

void BinauralPanningDirect::replaceBank(Hrtf* newHrtf, HRTFFilterType newType) {
  collectRetired();
  if (newHrtf != hrtf.get()) adoptSet(newHrtf, defaultSet);
  filterType = newType;
  numCoefficients = hrtf->GetHrtfHeaderInfos()->numCoefficients;
  Bank* bank = makeBank(filterType, numCoefficients, numInputs);
  // The new bank is not heard yet: its filters and delays take every source's
  // place at once, so that it fades in already in position.
  newest = bank;
  for (unsigned int i = 0; i < numInputs && i < sourceRelativePositions.size(); ++i) {
    setSourceRelativePosition(i, sourceRelativePositions[i], true);
  }
  // A bank still waiting was never heard: it can go at once.
  delete pending.exchange(bank, std::memory_order_acq_rel);
}

void BinauralPanningDirect::takeHandover() {
  if (incoming != nullptr) return;
  // A bank is taken only when there is room to give the present one back.
  bool room = false;
  for (auto& slot : retired) room = room || slot.load(std::memory_order_acquire) == nullptr;
  if (!room) return;
  Bank* bank = pending.exchange(nullptr, std::memory_order_acq_rel);
  if (bank == nullptr) return;
  incoming = bank;
  fadePosition = 0;
}

void BinauralPanningDirect::render(Bank& bank, float* left, float* right, float** inputs,
                                   unsigned long n, short const* active) {
  if (numInputs == 1 && !bank.voices.empty()) {
    if (active[0] == 0) {
      nolardsp::Zero(left, n);
      nolardsp::Zero(right, n);
      return;
    }
    Voice& v = *bank.voices[0];
    v.left.Process(left, inputs[0], n);
    v.right.Process(right, inputs[0], n);
    return;
  }
  nolardsp::Zero(left, n);
  nolardsp::Zero(right, n);
  renderAdding(bank, left, right, inputs, n, active);
}

void BinauralPanningDirect::renderAdding(Bank& bank, float* left, float* right, float** inputs,
                                         unsigned long n, short const* active) {
  std::size_t const count = std::min<std::size_t>(numInputs, bank.voices.size());
  for (std::size_t i = 0; i < count; ++i) {
    if (active[i] == 0) continue;
    Voice& v = *bank.voices[i];
    v.left.ProcessAdding(left, inputs[i], n);
    v.right.ProcessAdding(right, inputs[i], n);
  }
}

void BinauralPanningDirect::Process(float** outputs, float** inputs, unsigned long numSamples,
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
      // A straight line from the old bank to the new one: both carry the same
      // sources through filters of nearly the same directions.
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

void BinauralPanningDirect::ProcessAdding(float** outputs, float** inputs, unsigned long numSamples,
                                          short const* active) {
  unsigned long const room = std::max<unsigned long>(1, maxBlockSize);
  float* chunkInputs[nolardsp::MaxChannels];
  unsigned int const inputCount = std::min<unsigned int>(numInputs, nolardsp::MaxChannels);
  for (unsigned long done = 0; done < numSamples;) {
    unsigned long const n = std::min(room, numSamples - done);
    for (unsigned int i = 0; i < inputCount; ++i) chunkInputs[i] = inputs[i] + done;
    renderAdding(*current, outputs[0] + done, outputs[1] + done, chunkInputs, n, active);
    done += n;
  }
}

void BinauralPanningDirect::SetNumInputs(unsigned int n) {
  n = std::min<unsigned int>(n, nolardsp::MaxChannels);
  BinauralPanning::SetNumInputs(n);
  settle();
  unsigned int const had = static_cast<unsigned int>(current->voices.size());
  current->voices.resize(n);
  for (unsigned int i = had; i < n; ++i) {
    current->voices[i] = std::make_unique<Voice>(filterType);
    setUpVoice(*current->voices[i], filterType, numCoefficients);
    SetSourcePosition(i, sourcePositions[i], true);
  }
}

void BinauralPanningDirect::SetInterpolationTime(float milliseconds) {
  collectRetired();
  interpolationTime = milliseconds;
  for (auto& v : newest->voices) {
    v->left.SetInterpolationTime(milliseconds);
    v->right.SetInterpolationTime(milliseconds);
  }
}

void BinauralPanningDirect::SetSamplerate(float rate) {
  if (!(rate > 0.f) || !std::isfinite(rate)) return;
  settle();
  bool const changed = rate != samplerate;
  samplerate = rate;
  for (auto& v : current->voices) {
    v->left.SetSamplerate(rate);
    v->right.SetSamplerate(rate);
  }
  if (!changed) return;
  rateNoticeDue = true;
  // The built-in set has a table of its own for some rates; a SOFA set is
  // resampled. A file that cannot be read again keeps the set as it is.
  std::unique_ptr<Hrtf> set;
  try {
    if (defaultSet) {
      set.reset(makeDefaultSet());
    } else if (!sofaPath.empty()) {
      set.reset(new Hrtf(sofaPath.c_str(), runningRate()));
    }
  } catch (...) {
    set.reset();
  }
  if (!set || set->GetHrtfHeaderInfos()->sampleRate == hrtf->GetHrtfHeaderInfos()->sampleRate ||
      set->GetHrtfHeaderInfos()->numCoefficients != numCoefficients ||
      set->GetHrtfHeaderInfos()->filterType != hrtf->GetHrtfHeaderInfos()->filterType) {
    return;
  }
  // No block runs here: the voices take the new set's filters at once.
  adoptSet(set.release(), defaultSet);
  forgetLastPoints();
  for (unsigned int i = 0; i < numInputs && i < sourceRelativePositions.size(); ++i) {
    setSourceRelativePosition(i, sourceRelativePositions[i], true);
  }
}

bool BinauralPanningDirect::TakeSampleRateNotice(unsigned int& setRate, unsigned int& rate) {
  if (!rateNoticeDue) return false;
  rateNoticeDue = false;
  setRate = hrtf->GetHrtfHeaderInfos()->sampleRate;
  rate = runningRate();
  return setRate != 0 && setRate != rate && !defaultSet && sofaPath.empty();
}

void BinauralPanningDirect::SetMaxBlockSize(unsigned int n) {
  settle();
  n = std::max(1u, n);
  maxBlockSize = n;
  fadeLeft.assign(n, 0.f);
  fadeRight.assign(n, 0.f);
  for (auto& v : current->voices) {
    v->left.SetMaxBlockSize(n);
    v->right.SetMaxBlockSize(n);
  }
}

void BinauralPanningDirect::Clear() {
  settle();
  for (auto& v : current->voices) {
    v->left.Clear();
    v->right.Clear();
  }
}

bool BinauralPanningDirect::LoadFromFile(char const* path) {
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
  defaultSet = builtIn;
  sofaPath = hasExtension(p, ".sofa") ? p : std::string();
  rateNoticeDue = true;
  replaceBank(set.release(), header.filterType == FIR ? FirFiltering : BiquadFiltering);
  return true;
}

void BinauralPanningDirect::SetFilterCrossFadeTime(float milliseconds) {
  collectRetired();
  crossFadeTime = std::isfinite(milliseconds) ? std::max(0.f, milliseconds) : 0.f;
  for (auto& v : newest->voices) {
    v->left.SetCrossFadeTime(crossFadeTime);
    v->right.SetCrossFadeTime(crossFadeTime);
  }
}

void BinauralPanningDirect::SetCrossFadeType(char const* name) {
  collectRetired();
  crossFadeType = name != nullptr ? name : "";
  for (auto& v : newest->voices) {
    v->left.SetCrossFadeType(crossFadeType.c_str());
    v->right.SetCrossFadeType(crossFadeType.c_str());
  }
}

void BinauralPanningDirect::SetFIRFiltersImplementationMethod(
    nolardsp::Filter::FIRImplementation method) {
  if (method == firImplementation) return;
  firImplementation = method;
  // Filters of another method start empty: they are built as a new bank and
  // faded in. A biquad set has nothing to change.
  if (filterType != FirFiltering) return;
  replaceBank(hrtf.get(), filterType);
}

void BinauralPanningDirect::SetListenerHeadRadius(float metres) {
  collectRetired();
  headRadius = metres;
  // Only the models read the radius.
  if (itdType == ITDFromMeasurement || itdType == NoITD) return;
  forgetLastPoints();
  forceUpdate(false);
}

HrtfHeaderInfos const* BinauralPanningDirect::GetHrtfHeaderInfos() const {
  return hrtf->GetHrtfHeaderInfos();
}

void BinauralPanningDirect::forgetLastPoints() {
  for (auto& v : newest->voices) v->lastPointIndex = -1;
}

void BinauralPanningDirect::setSourceRelativePosition(unsigned int index,
                                                      nolardsp::CartesianVector const& position,
                                                      bool immediately) {
  collectRetired();
  if (index >= newest->voices.size()) return;
  Voice& v = *newest->voices[index];
  HrtfPoint const& point = hrtf->GetNearestHrtfPoint(position);
  if (static_cast<int>(point.index) == v.lastPointIndex) return;
  if (point.coefficients.size() < 2u * numCoefficients) return;
  v.lastPointIndex = static_cast<int>(point.index);
  float left = 0.f, right = 0.f;
  getMonauralDelays(position, point, left, right);
  // The delays carry what the filters do not: the filters' own interaural
  // delay is taken out, so that the ITD heard is the set's or the model's.
  if (point.index < filterItds.size()) {
    float const half = 0.5f * filterItds[point.index];
    left -= half;
    right += half;
    float const lowest = std::min(left, right);
    if (lowest < 0.f) {
      left -= lowest;
      right -= lowest;
    }
  }
  v.left.SetDelay(left, immediately);
  v.right.SetDelay(right, immediately);
  v.left.SetCoefficients(point.coefficients.data(), immediately);
  v.right.SetCoefficients(point.coefficients.data() + numCoefficients, immediately);
}

}  // namespace Zorv
