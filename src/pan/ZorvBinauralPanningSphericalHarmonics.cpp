#include "ZorvBinauralPanningSphericalHarmonics.h"

#include <algorithm>
#include <cmath>

#include "NolarException.h"
#include "NolarGeometry.h"
#include "NolarSphericalHarmonic.h"
#include "NolarVectorOperations.h"
#include "ZorvNullPanning.h"
#include "ZorvSdifHrtfUtils.h"
#include "ZorvSphericalHarmonicFit.h"

namespace Zorv {

namespace {

float const stereoLevel = 0.70710677f;

bool isPowerOfTwo(unsigned int n) {
  return n != 0 && (n & (n - 1)) == 0;
}

}  // namespace

BinauralPanningSphericalHarmonics::Voice::Voice()
    : left(FirFiltering, false), right(FirFiltering, false), ready(false) {}

Pan* BinauralPanningSphericalHarmonics::Create(unsigned int numInputs, unsigned int numOutputs) {
  if (numOutputs != 2) return new NullPanning();
  return new BinauralPanningSphericalHarmonics(numInputs, numOutputs);
}

BinauralPanningSphericalHarmonics::BinauralPanningSphericalHarmonics(unsigned int numInputs_,
                                                                     unsigned int)
    : data(new SphericalHarmonicManager("")),
      numFrequencyBins(0),
      firImplementation(nolardsp::Filter::TimeDomain),
      crossFadeTime(HrtfFiltering::DefaultCrossFadeTime),
      crossFadeType("linear"),
      newest(nullptr),
      current(nullptr),
      incoming(nullptr),
      fadePosition(0),
      pending(nullptr) {
  for (auto& slot : retired) slot.store(nullptr);
  numOutputs = 2;
  current = makeBank(0);
  newest = current;
  sizeBuffers();
  SetNumInputs(numInputs_);
}

BinauralPanningSphericalHarmonics::~BinauralPanningSphericalHarmonics() {
  settle();
  delete current;
}

void BinauralPanningSphericalHarmonics::setUpVoice(Voice& voice) const {
  for (HrtfFiltering* ear : {&voice.left, &voice.right}) {
    ear->SetNumCoefficients(std::max(1u, numFrequencyBins));
    ear->SetFIRFiltersImplementationMethod(firImplementation);
    ear->SetCrossFadeTime(crossFadeTime);
    ear->SetCrossFadeType(crossFadeType.c_str());
    ear->Configure(samplerate, static_cast<unsigned int>(maxBlockSize), true);
  }
  voice.ready.store(false);
}

BinauralPanningSphericalHarmonics::Bank* BinauralPanningSphericalHarmonics::makeBank(
    unsigned int numVoices) const {
  auto bank = std::make_unique<Bank>();
  bank->voices.reserve(numVoices);
  for (unsigned int i = 0; i < numVoices; ++i) {
    bank->voices.push_back(std::make_unique<Voice>());
    setUpVoice(*bank->voices.back());
  }
  double const n = std::ceil(static_cast<double>(crossFadeTime) * samplerate * 0.001);
  bank->fadeLength = static_cast<unsigned long>(std::min(std::max(n, 2.), 10. * samplerate));
  return bank.release();
}

void BinauralPanningSphericalHarmonics::sizeBuffers() {
  std::size_t const n = std::max<std::size_t>(1, maxBlockSize);
  for (auto* v : {&mixLeft, &mixRight, &fadeLeft, &fadeRight}) v->assign(n, 0.f);
}

void BinauralPanningSphericalHarmonics::collectRetired() {
  for (auto& slot : retired) delete slot.exchange(nullptr, std::memory_order_acq_rel);
}

void BinauralPanningSphericalHarmonics::settle() {
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

void BinauralPanningSphericalHarmonics::replaceBank() {
  collectRetired();
  Bank* bank = makeBank(numInputs);
  newest = bank;
  for (unsigned int i = 0; i < numInputs && i < sourceRelativePositions.size(); ++i) {
    setSourceRelativePosition(i, sourceRelativePositions[i], true);
  }
  delete pending.exchange(bank, std::memory_order_acq_rel);
}

void BinauralPanningSphericalHarmonics::takeHandover() {
  if (incoming != nullptr) return;
  bool room = false;
  for (auto& slot : retired) room = room || slot.load(std::memory_order_acquire) == nullptr;
  if (!room) return;
  Bank* bank = pending.exchange(nullptr, std::memory_order_acq_rel);
  if (bank == nullptr) return;
  incoming = bank;
  fadePosition = 0;
}

void BinauralPanningSphericalHarmonics::renderAdding(Bank& bank, float* left, float* right,
                                                     float** inputs, unsigned long n,
                                                     short const* active) {
  std::size_t const count = std::min<std::size_t>(numInputs, bank.voices.size());
  for (std::size_t i = 0; i < count; ++i) {
    Voice& v = *bank.voices[i];
    if (active[i] == 0 || !v.ready.load(std::memory_order_acquire)) continue;
    v.left.ProcessAdding(left, inputs[i], n);
    v.right.ProcessAdding(right, inputs[i], n);
  }
}

void BinauralPanningSphericalHarmonics::render(Bank& bank, float* left, float* right,
                                               float** inputs, unsigned long n,
                                               short const* active) {
  nolardsp::Zero(left, n);
  nolardsp::Zero(right, n);
  renderAdding(bank, left, right, inputs, n, active);
}

void BinauralPanningSphericalHarmonics::Process(float** outputs, float** inputs,
                                                unsigned long numSamples, short const* active) {
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
    // Once a source: every source at the same level.
    nolardsp::Mul(left, stereoLevel, n);
    nolardsp::Mul(right, stereoLevel, n);
    done += n;
  }
}

void BinauralPanningSphericalHarmonics::ProcessAdding(float** outputs, float** inputs,
                                                      unsigned long numSamples,
                                                      short const* active) {
  unsigned long const room = std::max<unsigned long>(1, std::min(mixLeft.size(), maxBlockSize));
  float* chunkInputs[nolardsp::MaxChannels];
  unsigned int const inputCount = std::min<unsigned int>(numInputs, nolardsp::MaxChannels);
  for (unsigned long done = 0; done < numSamples;) {
    unsigned long const n = std::min(room, numSamples - done);
    for (unsigned int i = 0; i < inputCount; ++i) chunkInputs[i] = inputs[i] + done;
    render(*current, mixLeft.data(), mixRight.data(), chunkInputs, n, active);
    nolardsp::MulAdd(outputs[0] + done, mixLeft.data(), stereoLevel, n);
    nolardsp::MulAdd(outputs[1] + done, mixRight.data(), stereoLevel, n);
    done += n;
  }
}

void BinauralPanningSphericalHarmonics::SetNumInputs(unsigned int n) {
  n = std::min<unsigned int>(n, nolardsp::MaxChannels);
  BinauralPanning::SetNumInputs(n);
  settle();
  unsigned int const had = static_cast<unsigned int>(current->voices.size());
  current->voices.resize(n);
  for (unsigned int i = had; i < n; ++i) {
    current->voices[i] = std::make_unique<Voice>();
    setUpVoice(*current->voices[i]);
    SetSourcePosition(i, sourcePositions[i], true);
  }
}

void BinauralPanningSphericalHarmonics::SetInterpolationTime(float) {}

void BinauralPanningSphericalHarmonics::SetSamplerate(float rate) {
  if (!(rate > 0.f) || !std::isfinite(rate)) return;
  settle();
  samplerate = rate;
  for (auto& v : current->voices) {
    v->left.SetSamplerate(rate);
    v->right.SetSamplerate(rate);
  }
}

void BinauralPanningSphericalHarmonics::SetMaxBlockSize(unsigned int n) {
  settle();
  n = std::max(1u, n);
  maxBlockSize = n;
  sizeBuffers();
  for (auto& v : current->voices) {
    v->left.SetMaxBlockSize(n);
    v->right.SetMaxBlockSize(n);
  }
}

void BinauralPanningSphericalHarmonics::Clear() {
  settle();
  for (auto& v : current->voices) {
    v->left.Clear();
    v->right.Clear();
  }
}

bool BinauralPanningSphericalHarmonics::LoadFromFile(char const* path) {
  collectRetired();
  if (!SdifHrtfUtils::CheckFileExtension(path, ".shb")) return false;
  auto loaded = std::make_unique<SphericalHarmonicManager>(path);
  SphericalHarmonicData::Info const& h = loaded->info;
  if (h.hrtfType != 0 || h.filterType != 5) return false;
  if (h.normalization == nolardsp::SphericalHarmonic::Unnormalized) {
    NOLAR_THROW("Cannot process Unnormalized spherical harmonics (instable)");
  }
  std::size_t const size = static_cast<std::size_t>(loaded->numHarmonics()) * h.numFrequencyBins;
  // Everything is checked before anything in use is replaced.
  if (h.numChannels != 2 || h.numFrequencyBins < 2 || !isPowerOfTwo(h.numFrequencyBins) ||
      h.normalization > nolardsp::SphericalHarmonic::FullyNormalized2D ||
      loaded->sphericalBasisLeft.size() != size || loaded->sphericalBasisRight.size() != size) {
    return false;
  }
  unsigned int const n = h.numFrequencyBins;
  auto transform = std::make_unique<nolardsp::FFT<float>>(n, 0.5f, static_cast<float>(n), 1.f,
                                                          1.f / static_cast<float>(n));
  data = std::move(loaded);
  fft = std::move(transform);
  numFrequencyBins = n;
  spectrum.assign(n, nolardsp::Complex<float>{0.f, 0.f});
  tapsLeft.assign(n, 0.f);
  tapsRight.assign(n, 0.f);
  replaceBank();
  return true;
}

void BinauralPanningSphericalHarmonics::SetFilterCrossFadeTime(float milliseconds) {
  collectRetired();
  crossFadeTime = std::isfinite(milliseconds) ? std::max(0.f, milliseconds) : 0.f;
  for (auto& v : newest->voices) {
    v->left.SetCrossFadeTime(crossFadeTime);
    v->right.SetCrossFadeTime(crossFadeTime);
  }
}

void BinauralPanningSphericalHarmonics::SetCrossFadeType(char const* name) {
  collectRetired();
  crossFadeType = name != nullptr ? name : "";
  for (auto& v : newest->voices) {
    v->left.SetCrossFadeType(crossFadeType.c_str());
    v->right.SetCrossFadeType(crossFadeType.c_str());
  }
}

void BinauralPanningSphericalHarmonics::SetFIRFiltersImplementationMethod(
    nolardsp::Filter::FIRImplementation method) {
  if (method == firImplementation) return;
  firImplementation = method;
  if (fft) replaceBank();
}

void BinauralPanningSphericalHarmonics::SetListenerHeadRadius(float metres) {
  headRadius = metres;
}

HrtfHeaderInfos const* BinauralPanningSphericalHarmonics::GetHrtfHeaderInfos() const {
  return nullptr;
}

bool BinauralPanningSphericalHarmonics::ComputeFilters(nolardsp::CartesianVector const& position,
                                                       std::vector<float>& left,
                                                       std::vector<float>& right) {
  if (!fft || !nolardsp::IsFinite(position)) return false;
  double theta = 0., phi = 0.;
  SphericalHarmonicFit::Direction(position, theta, phi);
  nolardsp::SphericalHarmonic::SphericalHarmonicsBasis<float>(
      row, data->info.maxOrder, static_cast<float>(theta), static_cast<float>(phi),
      static_cast<nolardsp::SphericalHarmonic::Normalization>(data->info.normalization),
      nolardsp::SphericalHarmonic::DefaultSorting);
  unsigned int const n = numFrequencyBins;
  std::size_t const harmonics = std::min<std::size_t>(row.size(), data->numHarmonics());
  for (int ear = 0; ear < 2; ++ear) {
    auto const& basis = ear == 0 ? data->sphericalBasisLeft : data->sphericalBasisRight;
    std::fill(spectrum.begin(), spectrum.end(), nolardsp::Complex<float>{0.f, 0.f});
    for (std::size_t h = 0; h < harmonics; ++h) {
      float const yr = row[h].re, yi = row[h].im;
      nolardsp::Complex<float> const* b = basis.data() + h * n;
      for (unsigned int k = 0; k <= n / 2; ++k) {
        spectrum[k].re += yr * b[k].re - yi * b[k].im;
        spectrum[k].im += yr * b[k].im + yi * b[k].re;
      }
    }
    // The filter is real: the bins above half are the mirror of those below.
    for (unsigned int k = 1; k < n / 2; ++k) {
      spectrum[n - k].re = spectrum[k].re;
      spectrum[n - k].im = -spectrum[k].im;
    }
    fft->process(spectrum.data(), nolardsp::FftInverse);
    std::vector<float>& taps = ear == 0 ? left : right;
    taps.resize(n);
    for (unsigned int k = 0; k < n; ++k) taps[k] = spectrum[k].re;
  }
  return true;
}

void BinauralPanningSphericalHarmonics::setSourceRelativePosition(
    unsigned int index, nolardsp::CartesianVector const& position, bool immediately) {
  collectRetired();
  if (index >= newest->voices.size()) return;
  if (!ComputeFilters(position, tapsLeft, tapsRight)) return;
  Voice& v = *newest->voices[index];
  v.left.SetCoefficients(tapsLeft.data(), immediately);
  v.right.SetCoefficients(tapsRight.data(), immediately);
  v.ready.store(true, std::memory_order_release);
}

}  // namespace Zorv
