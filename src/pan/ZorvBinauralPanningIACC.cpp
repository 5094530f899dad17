#include "ZorvBinauralPanningIACC.h"

#include <algorithm>
#include <cmath>

#include "NolarVectorOperations.h"
#include "ZorvNullPanning.h"

namespace Zorv {

float const BinauralPanningIACC::ISCC_4_4_KEMAR_diffuse_44[16] = {
    0.501261f, -1.933375f, 0.947239f, -1.926606f, 0.940695f, -1.949527f, 0.950952f, -1.961725f,
    0.962924f, 0.f,        0.f,       0.f,        0.f,       0.f,        0.f,       0.f};
float const BinauralPanningIACC::IDCC_4_4_KEMAR_diffuse_44[16] = {
    0.496764f, -1.917755f, 0.931358f, -1.924767f, 0.938100f, -1.980399f, 0.981319f, -1.960149f,
    0.961326f, 0.f,        0.f,       0.f,        0.f,       0.f,        0.f,       0.f};

namespace {
float const sqrtTwo = 1.4142135f;
}  // namespace

Pan* BinauralPanningIACC::Create(unsigned int numInputs, unsigned int numOutputs) {
  if (numOutputs != 2 || numInputs < 2) return new NullPanning();
  return new BinauralPanningIACC(numInputs, numOutputs);
}

BinauralPanningIACC::BinauralPanningIACC(unsigned int numInputs_, unsigned int)
    : sumFilter(1), differenceFilter(1) {
  numOutputs = 2;
  sumFilter.SetNumCascades(2);
  differenceFilter.SetNumCascades(2);
  sum.assign(maxBlockSize, 0.f);
  difference.assign(maxBlockSize, 0.f);
  sumFilter.Configure(samplerate, static_cast<unsigned int>(maxBlockSize), true);
  differenceFilter.Configure(samplerate, static_cast<unsigned int>(maxBlockSize), true);
  // The tables are the filters from the first sample: nothing to fade from.
  sumFilter.SetCoefficients(const_cast<float*>(ISCC_4_4_KEMAR_diffuse_44), true);
  differenceFilter.SetCoefficients(const_cast<float*>(IDCC_4_4_KEMAR_diffuse_44), true);
  SetNumInputs(numInputs_);
}

BinauralPanningIACC::~BinauralPanningIACC() = default;

void BinauralPanningIACC::SetNumInputs(unsigned int n) {
  BinauralPanning::SetNumInputs(std::min<unsigned int>(n, nolardsp::MaxChannels));
}

void BinauralPanningIACC::SetInterpolationTime(float) {}

void BinauralPanningIACC::SetSamplerate(float rate) {
  if (!(rate > 0.f) || !std::isfinite(rate)) return;
  samplerate = rate;
  sumFilter.SetSamplerate(rate);
  differenceFilter.SetSamplerate(rate);
}

void BinauralPanningIACC::SetMaxBlockSize(unsigned int n) {
  n = std::max(1u, n);
  maxBlockSize = n;
  // The work runs grow, never shrink.
  if (sum.size() < n) sum.assign(n, 0.f);
  if (difference.size() < n) difference.assign(n, 0.f);
  sumFilter.SetMaxBlockSize(n);
  differenceFilter.SetMaxBlockSize(n);
}

void BinauralPanningIACC::Clear() {
  sumFilter.Clear();
  differenceFilter.Clear();
}

bool BinauralPanningIACC::LoadFromFile(char const*) {
  return false;
}
void BinauralPanningIACC::SetFilterCrossFadeTime(float milliseconds) {
  sumFilter.SetCrossFadeTime(milliseconds);
  differenceFilter.SetCrossFadeTime(milliseconds);
}
void BinauralPanningIACC::SetCrossFadeType(char const* name) {
  sumFilter.SetCrossFadeType(name);
  differenceFilter.SetCrossFadeType(name);
}
void BinauralPanningIACC::SetFIRFiltersImplementationMethod(nolardsp::Filter::FIRImplementation) {}
void BinauralPanningIACC::SetListenerHeadRadius(float metres) {
  headRadius = metres;
}
HrtfHeaderInfos const* BinauralPanningIACC::GetHrtfHeaderInfos() const {
  return nullptr;
}
void BinauralPanningIACC::setSourceRelativePosition(unsigned int, nolardsp::CartesianVector const&,
                                                    bool) {}

void BinauralPanningIACC::filterAndMix(float** outputs, unsigned long n, bool adding) {
  sumFilter.ProcessBlock(sum.data(), sum.data(), n, false);
  differenceFilter.ProcessBlock(difference.data(), difference.data(), n, false);
  float* __restrict left = outputs[0];
  float* __restrict right = outputs[1];
  float const* s = sum.data();
  float const* d = difference.data();
  if (adding) {
    for (unsigned long k = 0; k < n; ++k) {
      left[k] += s[k] + d[k];
      right[k] += s[k] - d[k];
    }
  } else {
    for (unsigned long k = 0; k < n; ++k) {
      left[k] = s[k] + d[k];
      right[k] = s[k] - d[k];
    }
  }
}

void BinauralPanningIACC::Process(float** outputs, float** inputs, unsigned long numSamples,
                                  short const* active) {
  bool const leftOn = numInputs > 0 && active[0] != 0;
  bool const rightOn = numInputs > 1 && active[1] != 0;
  if (!leftOn && !rightOn) {
    nolardsp::Zero(outputs[0], numSamples);
    nolardsp::Zero(outputs[1], numSamples);
    return;
  }
  unsigned long const room = std::min({sum.size(), difference.size(), maxBlockSize});
  for (unsigned long done = 0; done < numSamples;) {
    unsigned long const n = std::min(room, numSamples - done);
    float const* L = inputs[0] + done;
    float const* R = numInputs > 1 ? inputs[1] + done : L;
    float* s = sum.data();
    float* d = difference.data();
    if (leftOn && rightOn) {
      for (unsigned long k = 0; k < n; ++k) {
        s[k] = (L[k] + R[k]) * sqrtTwo;
        d[k] = (L[k] - R[k]) * sqrtTwo;
      }
    } else if (leftOn) {
      for (unsigned long k = 0; k < n; ++k) s[k] = d[k] = L[k] * sqrtTwo;
    } else {
      for (unsigned long k = 0; k < n; ++k) {
        s[k] = R[k] * sqrtTwo;
        d[k] = R[k] * -sqrtTwo;
      }
    }
    float* out[2] = {outputs[0] + done, outputs[1] + done};
    filterAndMix(out, n, false);
    done += n;
  }
}

void BinauralPanningIACC::ProcessAdding(float** outputs, float** inputs, unsigned long numSamples,
                                        short const*) {
  if (numInputs < 2) return;
  float const g = std::sqrt(static_cast<float>(numInputs) * 0.5f) * sqrtTwo;
  unsigned long const room = std::min({sum.size(), difference.size(), maxBlockSize});
  for (unsigned long done = 0; done < numSamples;) {
    unsigned long const n = std::min(room, numSamples - done);
    float const* L = inputs[0] + done;
    float const* R = inputs[1] + done;
    for (unsigned long k = 0; k < n; ++k) {
      sum[k] = (L[k] + R[k]) * g;
      difference[k] = (L[k] - R[k]) * g;
    }
    float* out[2] = {outputs[0] + done, outputs[1] + done};
    filterAndMix(out, n, true);
    done += n;
  }
}

}  // namespace Zorv
