#include "ZorvBinauralPanningITD.h"

#include <algorithm>
#include <cmath>

#include "NolarVectorOperations.h"
#include "ZorvNullPanning.h"

namespace Zorv {

float const BinauralPanningITD::DefaultInterpolationTime = 30.f;
float const BinauralPanningITD::DefaultMaxDelay = 20.f;

BinauralPanningITD::Voice::Voice()
    : leftDelay(DefaultMaxDelay, nolardsp::Delay::DefaultInterpolationMode),
      rightDelay(DefaultMaxDelay, nolardsp::Delay::DefaultInterpolationMode) {}

Pan* BinauralPanningITD::Create(unsigned int numInputs, unsigned int numOutputs) {
  if (numOutputs != 2) return new NullPanning();
  return new BinauralPanningITD(numInputs, numOutputs);
}

BinauralPanningITD::BinauralPanningITD(unsigned int numInputs_, unsigned int)
    : interpolationTime(DefaultInterpolationTime) {
  numOutputs = 2;
  gains.assign(maxBlockSize, 0.f);
  delayed.assign(maxBlockSize, 0.f);
  SetNumInputs(numInputs_);
}

BinauralPanningITD::~BinauralPanningITD() = default;

void BinauralPanningITD::setUpVoice(Voice& v) {
  for (nolardsp::Delay* d : {&v.leftDelay, &v.rightDelay}) {
    d->Configure(samplerate, static_cast<unsigned int>(maxBlockSize), true);
    d->SetInterpolationTime(interpolationTime);
  }
  for (nolardsp::Ramp* r : {&v.leftGain, &v.rightGain}) {
    r->SetSamplerate(samplerate);
    r->SetTimeConstant(interpolationTime);
  }
}

void BinauralPanningITD::SetNumInputs(unsigned int n) {
  n = std::min<unsigned int>(n, nolardsp::MaxChannels);
  BinauralPanning::SetNumInputs(n);
  unsigned int const had = static_cast<unsigned int>(voices.size());
  voices.resize(n);
  for (unsigned int i = had; i < n; ++i) {
    voices[i] = std::make_unique<Voice>();
    setUpVoice(*voices[i]);
    SetSourcePosition(i, sourcePositions[i], true);
  }
}

void BinauralPanningITD::SetInterpolationTime(float milliseconds) {
  interpolationTime = milliseconds;
  for (auto& v : voices) {
    v->leftGain.SetTimeConstant(milliseconds);
    v->rightGain.SetTimeConstant(milliseconds);
    v->leftDelay.SetInterpolationTime(milliseconds);
    v->rightDelay.SetInterpolationTime(milliseconds);
  }
}

void BinauralPanningITD::SetSamplerate(float rate) {
  if (!(rate > 0.f) || !std::isfinite(rate)) return;
  samplerate = rate;
  for (auto& v : voices) {
    v->leftDelay.SetSamplerate(rate);
    v->rightDelay.SetSamplerate(rate);
    v->leftGain.SetSamplerate(rate);
    v->rightGain.SetSamplerate(rate);
  }
}

void BinauralPanningITD::SetMaxBlockSize(unsigned int n) {
  n = std::max(1u, n);
  maxBlockSize = n;
  gains.assign(n, 0.f);
  delayed.assign(n, 0.f);
  for (auto& v : voices) {
    v->leftDelay.SetMaxBlockSize(n);
    v->rightDelay.SetMaxBlockSize(n);
  }
}

void BinauralPanningITD::Clear() {
  for (auto& v : voices) {
    v->leftDelay.Clear();
    v->rightDelay.Clear();
  }
}

bool BinauralPanningITD::LoadFromFile(char const*) {
  return false;
}
void BinauralPanningITD::SetFilterCrossFadeTime(float) {}
void BinauralPanningITD::SetCrossFadeType(char const*) {}
void BinauralPanningITD::SetFIRFiltersImplementationMethod(nolardsp::Filter::FIRImplementation) {}
void BinauralPanningITD::SetListenerHeadRadius(float metres) {
  headRadius = metres;
}
HrtfHeaderInfos const* BinauralPanningITD::GetHrtfHeaderInfos() const {
  return nullptr;
}

void BinauralPanningITD::setSourceRelativePosition(unsigned int index,
                                                   nolardsp::CartesianVector const& p,
                                                   bool immediately) {
  if (index >= voices.size()) return;
  float const D = std::sqrt(p.x * p.x + p.y * p.y + p.z * p.z);
  float const e = D > 0.f ? std::asin(std::max(-1.f, std::min(1.f, p.z / D))) : 0.f;
  float w = std::cos(e) * std::sin(1.5707964f - std::atan2(p.y, p.x)) * -0.35f * std::min(D, 1.f);
  if (!std::isfinite(w)) w = 0.f;
  Voice& v = *voices[index];
  v.leftDelay.SetDelay(1.f - w, immediately);
  v.rightDelay.SetDelay(1.f + w, immediately);
  v.leftGain.SetValue(w + 0.70710677f, immediately);
  v.rightGain.SetValue(0.70710677f - w, immediately);
}

void BinauralPanningITD::Process(float** outputs, float** inputs, unsigned long numSamples,
                                 short const* active) {
  if (numInputs != 1 || voices.empty() || active[0] == 0) {
    nolardsp::Zero(outputs[0], numSamples);
    nolardsp::Zero(outputs[1], numSamples);
    if (numInputs > 1) ProcessAdding(outputs, inputs, numSamples, active);
    return;
  }
  Voice& v = *voices[0];
  unsigned long const room = gains.size();
  for (unsigned long done = 0; done < numSamples;) {
    unsigned long const n = std::min(room, numSamples - done);
    int const m = static_cast<int>(n);
    float const* in = inputs[0] + done;
    float* left = outputs[0] + done;
    float* right = outputs[1] + done;
    v.leftDelay.Process(left, in, m);
    v.leftGain.Process(gains.data(), m);
    nolardsp::Mul(left, gains.data(), n);
    v.rightDelay.Process(right, in, m);
    v.rightGain.Process(gains.data(), m);
    nolardsp::Mul(right, gains.data(), n);
    done += n;
  }
}

void BinauralPanningITD::ProcessAdding(float** outputs, float** inputs, unsigned long numSamples,
                                       short const* active) {
  unsigned long const room = std::min(gains.size(), delayed.size());
  std::size_t const count = std::min<std::size_t>(numInputs, voices.size());
  for (std::size_t i = 0; i < count; ++i) {
    if (active[i] == 0) continue;
    Voice& v = *voices[i];
    for (unsigned long done = 0; done < numSamples;) {
      unsigned long const n = std::min(room, numSamples - done);
      int const m = static_cast<int>(n);
      float const* in = inputs[i] + done;
      v.leftDelay.Process(delayed.data(), in, m);
      v.leftGain.Process(gains.data(), m);
      nolardsp::MulAdd(outputs[0] + done, delayed.data(), gains.data(), n);
      v.rightDelay.Process(delayed.data(), in, m);
      v.rightGain.Process(gains.data(), m);
      nolardsp::MulAdd(outputs[1] + done, delayed.data(), gains.data(), n);
      done += n;
    }
  }
}

}  // namespace Zorv
