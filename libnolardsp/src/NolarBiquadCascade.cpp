#include "NolarBiquadCascade.h"

#include <algorithm>

#include "NolarVectorOperations.h"

namespace nolardsp {

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
  // Section by section over the whole block: the same arithmetic per sample
  // as running every section for each sample in turn, with the state in
  // registers. The first section reads the input times the gain.
  float const g = gain;
  float const* source = input;
  for (unsigned int s = 0; s < numCascades; ++s) {
    float const c0 = coefficients[4 * s + 0];
    float const c1 = coefficients[4 * s + 1];
    float const c2 = coefficients[4 * s + 2];
    float const c3 = coefficients[4 * s + 3];
    float m0 = memory[4 * s + 0];
    float m1 = memory[4 * s + 1];
    float m2 = memory[4 * s + 2];
    float m3 = memory[4 * s + 3];
    bool const first = s == 0;
    for (unsigned long i = 0; i < n; ++i) {
      float const x = first ? source[i] * g : source[i];
      float const y = c1 * m1 + c0 * m0 + c2 * m2 + c3 * m3 + x;
      m3 = m2;
      m2 = y;
      m1 = m0;
      m0 = x;
      output[i] = y;
    }
    memory[4 * s + 0] = m0;
    memory[4 * s + 1] = m1;
    memory[4 * s + 2] = m2;
    memory[4 * s + 3] = m3;
    source = output;
  }
  if (numCascades == 0) {
    Mul(output, input, g, n);
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
