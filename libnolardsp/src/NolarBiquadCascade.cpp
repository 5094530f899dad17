#include "NolarBiquadCascade.h"

#include <algorithm>

#include "NolarVectorOperations.h"

namespace nolardsp {

namespace {

// S consecutive sections over n samples; the input of the first is
// source * sourceGain (the gain is 1 after the first group, and multiplying
// by exactly 1 changes nothing). output may be source.
// The recurrences run in double: measured sets put poles near the unit circle
// behind sections of large gain, and in float their rounding came out as a
// periodic ripple some 50 dB below a steady signal. In double it is gone, at
// about the same cost (the loop waits on latency, not on arithmetic width).
template <unsigned int S>
void runSections(float* output, float const* source, unsigned long n, float sourceGain,
                 float const* c, float* memory) {
  double m[S][4];
  double k[S][4];
  for (unsigned int s = 0; s < S; ++s) {
    for (unsigned int j = 0; j < 4; ++j) {
      m[s][j] = memory[4 * s + j];
      k[s][j] = c[4 * s + j];
    }
  }
  for (unsigned long i = 0; i < n; ++i) {
    double x = source[i] * sourceGain;
    for (unsigned int s = 0; s < S; ++s) {
      double const y =
          k[s][1] * m[s][1] + k[s][0] * m[s][0] + k[s][2] * m[s][2] + k[s][3] * m[s][3] + x;
      m[s][3] = m[s][2];
      m[s][2] = y;
      m[s][1] = m[s][0];
      m[s][0] = x;
      x = y;
    }
    output[i] = static_cast<float>(x);
  }
  for (unsigned int s = 0; s < S; ++s)
    for (unsigned int j = 0; j < 4; ++j) memory[4 * s + j] = static_cast<float>(m[s][j]);
}

}  // namespace

BiquadCascade::BiquadCascade(unsigned int numCascades_) : Filter(), numCascades(0), gain(1.f) {
  SetNumCascades(numCascades_);
}

BiquadCascade::~BiquadCascade() = default;

void BiquadCascade::SetNumCascades(unsigned int n) {
  numCascades = n;
  order = 2 * n;
  coefficients.resize(4 * n, 0.f);
  memory.assign(4 * n, 0.f);
}

void BiquadCascade::SetOrder(unsigned int n) {
  SetNumCascades(n / 2);
}

void BiquadCascade::Process(float* output, float* input, unsigned long n) {
  SetDenormalsToZero();
  if (silenced) {
    Zero(output, n);
    return;
  }
  // Sections run in groups of up to four, sample by sample within a group,
  // with the group's state in registers: the recurrences of neighbouring
  // sections overlap in the processor instead of waiting on one another. The
  // arithmetic per sample is the same as running every section in turn.
  float const* source = input;
  float sourceGain = gain;
  unsigned int s = 0;
  while (s < numCascades) {
    unsigned int const group = std::min(4u, numCascades - s);
    switch (group) {
      case 4:
        runSections<4>(output, source, n, sourceGain, coefficients.data() + 4 * s,
                       memory.data() + 4 * s);
        break;
      case 3:
        runSections<3>(output, source, n, sourceGain, coefficients.data() + 4 * s,
                       memory.data() + 4 * s);
        break;
      case 2:
        runSections<2>(output, source, n, sourceGain, coefficients.data() + 4 * s,
                       memory.data() + 4 * s);
        break;
      default:
        runSections<1>(output, source, n, sourceGain, coefficients.data() + 4 * s,
                       memory.data() + 4 * s);
        break;
    }
    s += group;
    source = output;
    sourceGain = 1.f;
  }
  if (numCascades == 0) {
    Mul(output, input, gain, n);
    return;
  }
  if (!AllFinite(memory.data(), memory.size())) {
    Zero(output, n);
    Clear();
  }
}

void BiquadCascade::Clear() {
  std::fill(memory.begin(), memory.end(), 0.f);
}

void BiquadCascade::SetCoefficients(float* values) {
  gain = values[0];
  for (unsigned int s = 0; s < numCascades; ++s) {
    float const* v = values + 1 + 4 * s;
    coefficients[4 * s + 0] = v[0];
    coefficients[4 * s + 1] = v[1];
    coefficients[4 * s + 2] = -v[2];
    coefficients[4 * s + 3] = -v[3];
  }
  bool const wasSilenced = silenced;
  silenced = !AllFinite(values, GetNumCoefficients()) || !sectionsPass(true);
  // A filter that comes back from silence starts from rest.
  if (wasSilenced && !silenced) Clear();
}

void BiquadCascade::SetState(Filter const&) {
  Clear();
}

void BiquadCascade::ClearTaps() {
  std::fill(coefficients.begin(), coefficients.end(), 0.f);
  if (!coefficients.empty()) coefficients[0] = 1.f;
  silenced = false;
}

bool BiquadCascade::sectionsPass(bool denominators) const {
  double scratch[3];
  for (unsigned int s = 0; s < numCascades; ++s) {
    float polynomial[3];
    polynomial[0] = 1.f;
    if (denominators) {
      polynomial[1] = -coefficients[4 * s + 2];
      polynomial[2] = -coefficients[4 * s + 3];
    } else {
      polynomial[1] = coefficients[4 * s + 0];
      polynomial[2] = coefficients[4 * s + 1];
    }
    if (!DurbinStepDownRecursion(polynomial, 3, scratch)) return false;
  }
  return true;
}

bool BiquadCascade::IsStable() const {
  return sectionsPass(true);
}

bool BiquadCascade::IsMinimumPhase() const {
  return sectionsPass(false);
}

void BiquadCascade::GetCoefficients(std::vector<float>& out) const {
  out[0] = gain;
  std::copy(coefficients.begin(), coefficients.end(), out.begin() + 1);
}

}  // namespace nolardsp
