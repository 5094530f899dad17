#include "ZorvBiquadCascadeFrequencyResponse.h"

#include <cmath>

namespace Zorv {

namespace {

// The largest float whose magnitude is below the limit (a positive double).
float floatBelow(double limit) {
  float f = static_cast<float>(limit);
  while (static_cast<double>(f) >= limit) f = std::nextafter(f, 0.f);
  return f;
}

}  // namespace

BiquadCascadeFrequencyResponse::BiquadCascadeFrequencyResponse(unsigned int numCascades_)
    : numCascades(numCascades_), sections(numCascades_, nullptr) {
  for (auto& s : sections) s = new BiquadFrequencyResponse(SecondOrderFilters::Null);
}

BiquadCascadeFrequencyResponse::~BiquadCascadeFrequencyResponse() {
  for (auto* s : sections) delete s;
}

void BiquadCascadeFrequencyResponse::SetFreq(unsigned int index, float hertz) {
  if (index < numCascades) sections[index]->SetFreq(hertz);
}

void BiquadCascadeFrequencyResponse::SetQ(unsigned int index, float q) {
  if (index < numCascades) sections[index]->SetQ(q);
}

void BiquadCascadeFrequencyResponse::SetdBGain(unsigned int index, float decibels) {
  if (index < numCascades) sections[index]->SetdBGain(decibels);
}

void BiquadCascadeFrequencyResponse::SetFilterType(unsigned int index,
                                                   SecondOrderFilters::Type const& type) {
  if (index < numCascades) sections[index]->SetFilterType(type);
}

void BiquadCascadeFrequencyResponse::SetDoubleShelving(unsigned int index, float lowGain,
                                                       float midGain, float highGain,
                                                       float lowFrequency, float highFrequency) {
  if (index < numCascades) {
    sections[index]->SetDoubleShelving(lowGain, midGain, highGain, lowFrequency, highFrequency);
  }
}

void BiquadCascadeFrequencyResponse::SetSamplerate(float samplerate) {
  for (auto* s : sections) s->SetSamplerate(samplerate);
}

void BiquadCascadeFrequencyResponse::GetCoefficients(std::vector<float>& coefficients) const {
  coefficients.resize(6 * numCascades);
  for (unsigned int k = 0; k < numCascades; ++k) sections[k]->GetCoefficients(&coefficients[6 * k]);
}

void BiquadCascadeFrequencyResponse::GetCoefficients(std::vector<double>& coefficients) const {
  coefficients.resize(6 * numCascades);
  for (unsigned int k = 0; k < numCascades; ++k) sections[k]->GetCoefficients(&coefficients[6 * k]);
}

double BiquadCascadeFrequencyResponse::GetMagnitude(float hertz) const {
  double m = 1.0;
  for (auto* s : sections) m *= s->GetMagnitude(hertz);
  return m;
}

void BiquadCascadeFrequencyResponse::RearrangeForCascade(double const* sections,
                                                         unsigned int numSections, float* cascade) {
  double gain = 1.0;
  for (unsigned int k = 0; k < numSections; ++k) {
    double const* s = sections + 6 * k;
    float* out = cascade + 1 + 4 * k;
    bool finite = true;
    for (int i = 0; i < 6; ++i) finite = finite && std::isfinite(s[i]);
    if (!finite || s[0] == 0.0 || s[3] == 0.0 || !std::isfinite(s[0] / s[3])) {
      gain = 0.0;
      out[0] = out[1] = out[2] = out[3] = 0.f;
      continue;
    }
    gain *= s[0] / s[3];
    out[0] = static_cast<float>(s[1] / s[0]);
    out[1] = static_cast<float>(s[2] / s[0]);
    float a1 = static_cast<float>(s[4] / s[3]);
    float a2 = static_cast<float>(s[5] / s[3]);
    // A second-order denominator has its roots inside the unit circle when
    // |a2| < 1 and |a1| < 1 + a2; both are checked on the rounded values,
    // exactly, in double.
    if (!(std::fabs(a2) < 1.f)) a2 = std::copysign(floatBelow(1.0), a2);
    double const limit = 1.0 + static_cast<double>(a2);
    if (!(std::fabs(static_cast<double>(a1)) < limit)) a1 = std::copysign(floatBelow(limit), a1);
    out[2] = a1;
    out[3] = a2;
  }
  cascade[0] = static_cast<float>(gain);
}

}  // namespace Zorv
