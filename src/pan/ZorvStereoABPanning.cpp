#include "ZorvStereoABPanning.h"

#include <algorithm>
#include <cmath>

#include "NolarVectorOperations.h"
#include "ZorvNullPanning.h"
#include "ZorvStereoImage.h"

namespace Zorv {

float const StereoABPanning::DefaultRampTime = 30.f;
float const StereoABPanning::DefaultMaxDelay = 2.f;

StereoABPanning::Voice::Voice()
    : left(DefaultMaxDelay, nolardsp::Delay::DefaultInterpolationMode),
      right(DefaultMaxDelay, nolardsp::Delay::DefaultInterpolationMode) {}

Pan* StereoABPanning::Create(unsigned int numInputs, unsigned int numOutputs) {
  if (numOutputs != 2) return new NullPanning();
  return new StereoABPanning(numInputs);
}

StereoABPanning::StereoABPanning(unsigned int numInputs_) : interpolationTime(DefaultRampTime) {
  numOutputs = 2;
  scratch.assign(maxBlockSize, 0.f);
  scratchAdding.assign(maxBlockSize, 0.f);
  SetNumInputs(numInputs_);
}

StereoABPanning::~StereoABPanning() = default;

void StereoABPanning::setUpVoice(Voice& voice) {
  for (nolardsp::Delay* d : {&voice.left, &voice.right}) {
    d->Configure(samplerate, static_cast<unsigned int>(maxBlockSize), true);
    d->SetInterpolationTime(interpolationTime);
  }
  for (nolardsp::Ramp* r : {&voice.leftGain, &voice.rightGain}) {
    r->SetSamplerate(samplerate);
    r->SetTimeConstant(interpolationTime);
  }
}

void StereoABPanning::SetNumInputs(unsigned int n) {
  numInputs = n;
  sourcePositions.resize(n, nolardsp::CartesianVector(0.f, 0.f, 0.f));
  unsigned int const had = static_cast<unsigned int>(voices.size());
  voices.resize(n);
  for (unsigned int i = had; i < n; ++i) {
    voices[i] = std::make_unique<Voice>();
    setUpVoice(*voices[i]);
    SetSourcePosition(i, sourcePositions[i], true);
  }
}

void StereoABPanning::SetNumOutputs(unsigned int) {}

void StereoABPanning::SetLoudspeakerPositions(nolardsp::CartesianVector const*) {}

void StereoABPanning::SetInterpolationTime(float milliseconds) {
  interpolationTime = milliseconds;
  for (auto& v : voices) {
    v->leftGain.SetTimeConstant(milliseconds);
    v->rightGain.SetTimeConstant(milliseconds);
    v->left.SetInterpolationTime(milliseconds);
    v->right.SetInterpolationTime(milliseconds);
  }
}

void StereoABPanning::SetSourcePosition(unsigned int index,
                                        nolardsp::CartesianVector const& position,
                                        bool immediately) {
  if (index >= voices.size()) return;
  sourcePositions[index] = position;
  Voice& v = *voices[index];
  float const w = StereoImageWidth(position);
  // Azimuth from the front, clockwise.
  float const t = 1.5707964f - StereoImageAzimuth(position);
  // Half the travel time across the pair, in milliseconds.
  float const u = std::sin(t) * 0.25f * w;
  v.left.SetDelay(1.f + u, immediately);
  v.right.SetDelay(1.f - u, immediately);
  v.leftGain.SetValue(0.44936f * (1.f + w * std::sin(0.7853982f - t)), immediately);
  v.rightGain.SetValue(0.44936f * (1.f + w * std::sin(0.7853982f + t)), immediately);
}

void StereoABPanning::SetSourcePositions(nolardsp::CartesianVector const* positions) {
  for (unsigned int i = 0; i < numInputs; ++i) SetSourcePosition(i, positions[i], false);
}

void StereoABPanning::SetSamplerate(float rate) {
  if (!(rate > 0.f) || !std::isfinite(rate)) return;
  samplerate = rate;
  for (auto& v : voices) {
    v->left.SetSamplerate(rate);
    v->right.SetSamplerate(rate);
    v->leftGain.SetSamplerate(rate);
    v->rightGain.SetSamplerate(rate);
  }
}

void StereoABPanning::SetMaxBlockSize(unsigned int n) {
  maxBlockSize = n;
  scratch.assign(std::max(1u, n), 0.f);
  scratchAdding.assign(std::max(1u, n), 0.f);
  for (auto& v : voices) {
    v->left.SetMaxBlockSize(n);
    v->right.SetMaxBlockSize(n);
  }
}

void StereoABPanning::Clear() {
  for (auto& v : voices) {
    v->left.Clear();
    v->right.Clear();
  }
}

void StereoABPanning::Process(float** outputs, float** inputs, unsigned long numSamples,
                              short const* activeInputs) {
  if (numInputs != 1 || activeInputs[0] == 0) {
    nolardsp::Zero(outputs[0], numSamples);
    nolardsp::Zero(outputs[1], numSamples);
    if (numInputs > 1) ProcessAdding(outputs, inputs, numSamples, activeInputs);
    return;
  }
  Voice& v = *voices[0];
  unsigned long const room = scratch.size();
  for (unsigned long done = 0; done < numSamples;) {
    unsigned long const n = std::min(room, numSamples - done);
    int const m = static_cast<int>(n);
    float* left = outputs[0] + done;
    float* right = outputs[1] + done;
    float const* in = inputs[0] + done;
    v.left.Process(left, in, m);
    v.leftGain.Process(scratch.data(), m);
    nolardsp::Mul(left, scratch.data(), n);
    v.right.Process(right, in, m);
    v.rightGain.Process(scratch.data(), m);
    nolardsp::Mul(right, scratch.data(), n);
    done += n;
  }
}

void StereoABPanning::ProcessAdding(float** outputs, float** inputs, unsigned long numSamples,
                                    short const* activeInputs) {
  unsigned long const room = std::min(scratch.size(), scratchAdding.size());
  for (unsigned int i = 0; i < numInputs; ++i) {
    if (activeInputs[i] == 0) continue;
    Voice& v = *voices[i];
    for (unsigned long done = 0; done < numSamples;) {
      unsigned long const n = std::min(room, numSamples - done);
      int const m = static_cast<int>(n);
      float const* in = inputs[i] + done;
      v.left.Process(scratchAdding.data(), in, m);
      v.leftGain.Process(scratch.data(), m);
      nolardsp::MulAdd(outputs[0] + done, scratchAdding.data(), scratch.data(), n);
      v.right.Process(scratchAdding.data(), in, m);
      v.rightGain.Process(scratch.data(), m);
      nolardsp::MulAdd(outputs[1] + done, scratchAdding.data(), scratch.data(), n);
      done += n;
    }
  }
}

}  // namespace Zorv
