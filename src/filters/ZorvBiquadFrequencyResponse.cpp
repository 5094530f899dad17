#include "ZorvBiquadFrequencyResponse.h"

#include <algorithm>
#include <cmath>

#include "ZorvHLShelf.h"

namespace Zorv {

float const BiquadFrequencyResponse::DefaultSamplerate = 44100.f;
float const BiquadFrequencyResponse::MinQ = 1e-3f;
float const BiquadFrequencyResponse::MaxQ = 1e3f;
float const BiquadFrequencyResponse::MaxGaindB = 200.f;

std::map<std::string, SecondOrderFilters::Type> BiquadFrequencyResponse::biquadFilterTypeMap;

BiquadFrequencyResponse::BiquadFrequencyResponse(SecondOrderFilters::Type type_)
    : samplerate(DefaultSamplerate),
      b0(1.f),
      b1(0.f),
      b2(0.f),
      a0(1.f),
      a1(0.f),
      a2(0.f),
      lowGain(0.f),
      midGain(0.f),
      highGain(0.f),
      lowFrequency(250.f),
      highFrequency(4000.f),
      frequency(1000.f),
      q(1.f),
      gain(0.f),
      type(type_),
      piOverSamplerate(3.1415927f / DefaultSamplerate),
      twoPiOverSamplerate(6.2831855f / DefaultSamplerate) {
  updateBiquadCoefficients();
}

void BiquadFrequencyResponse::initBiquadFilterTypeMap() {
  if (!biquadFilterTypeMap.empty()) return;
  using T = SecondOrderFilters;
  biquadFilterTypeMap = {
      {"ZorvDoubleShelving", T::DoubleShelving},
      {"LowPass", T::LowPass},
      {"lowpass", T::LowPass},
      {"HighPass", T::HighPass},
      {"highpass", T::HighPass},
      {"BandPass", T::BandPass},
      {"bandpass", T::BandPass},
      {"BandPassPeak", T::BandPassPeak},
      {"bandpasspeak", T::BandPassPeak},
      {"Notch", T::Notch},
      {"notch", T::Notch},
      {"AllPass", T::AllPass},
      {"allpass", T::AllPass},
      {"PeakingEQ", T::PeakingEQ},
      {"peakingeq", T::PeakingEQ},
      {"LowShelf", T::LowShelf},
      {"lowshelf", T::LowShelf},
      {"HighShelf", T::HighShelf},
      {"highshelf", T::HighShelf},
      {"SimpleGain", T::SimpleGain},
      {"Gain", T::SimpleGain},
      {"gain", T::SimpleGain},
      {"Null", T::Null},
      {"null", T::Null},
  };
}

SecondOrderFilters::Type BiquadFrequencyResponse::GetFilterType(char const* word) {
  initBiquadFilterTypeMap();
  if (word == nullptr) return SecondOrderFilters::DoubleShelving;
  // An unknown word is not entered: the map stays as filled, so that lookups
  // from several objects never write to it.
  auto const found = biquadFilterTypeMap.find(word);
  return found == biquadFilterTypeMap.end() ? SecondOrderFilters::DoubleShelving : found->second;
}

void BiquadFrequencyResponse::SetSamplerate(float samplerate_) {
  if (!(samplerate_ > 0.f) || !std::isfinite(samplerate_)) return;
  samplerate = samplerate_;
  piOverSamplerate = 3.1415927f / samplerate;
  twoPiOverSamplerate = 6.2831855f / samplerate;
  updateBiquadCoefficients();
}

void BiquadFrequencyResponse::SetFreq(float hertz) {
  if (std::isnan(hertz)) return;
  frequency = hertz;
  updateBiquadCoefficients();
}

void BiquadFrequencyResponse::SetQ(float q_) {
  if (std::isnan(q_)) return;
  q = q_;
  updateBiquadCoefficients();
}

void BiquadFrequencyResponse::SetdBGain(float decibels) {
  if (std::isnan(decibels)) return;
  gain = decibels;
  updateBiquadCoefficients();
}

void BiquadFrequencyResponse::SetFilterType(SecondOrderFilters::Type const& type_) {
  type = type_;
  updateBiquadCoefficients();
}

void BiquadFrequencyResponse::SetDoubleShelving(float lowGain_, float midGain_, float highGain_,
                                                float lowFrequency_, float highFrequency_) {
  if (std::isnan(lowGain_) || std::isnan(midGain_) || std::isnan(highGain_) ||
      std::isnan(lowFrequency_) || std::isnan(highFrequency_)) {
    return;
  }
  lowGain = lowGain_;
  midGain = midGain_;
  highGain = highGain_;
  lowFrequency = lowFrequency_;
  highFrequency = highFrequency_;
  updateBiquadCoefficients();
}

void BiquadFrequencyResponse::GetCoefficients(float* coefficients) const {
  coefficients[0] = b0;
  coefficients[1] = b1;
  coefficients[2] = b2;
  coefficients[3] = a0;
  coefficients[4] = a1;
  coefficients[5] = a2;
}

void BiquadFrequencyResponse::GetCoefficients(double* coefficients) const {
  std::copy(exact, exact + 6, coefficients);
}

double BiquadFrequencyResponse::GetMagnitude(float hertz) const {
  double const s = std::sin(M_PI * static_cast<double>(hertz) / samplerate);
  double const phi = s * s;
  double const num = bSumSquared - 4.0 * bCross * phi + 16.0 * bOuter * phi * phi;
  double const den = aSumSquared - 4.0 * aCross * phi + 16.0 * aOuter * phi * phi;
  return std::sqrt(std::max(num, 0.0) / den);
}

void BiquadFrequencyResponse::updateBiquadCoefficients() {
  double const rate = samplerate;
  double& B0 = exact[0];
  double& B1 = exact[1];
  double& B2 = exact[2];
  double& A0 = exact[3];
  double& A1 = exact[4];
  double& A2 = exact[5];
  double const dB = std::clamp(static_cast<double>(gain), -static_cast<double>(MaxGaindB),
                               static_cast<double>(MaxGaindB));
  double const G = std::pow(10.0, 0.05 * dB);

  if (type == SecondOrderFilters::DoubleShelving) {
    HLShelf::ComputeTaps(static_cast<double>(lowGain), static_cast<double>(midGain),
                         static_cast<double>(highGain), lowFrequency / rate, highFrequency / rate,
                         B0, B1, B2, A1, A2);
    A0 = 1.0;
  } else if (type == SecondOrderFilters::SimpleGain) {
    B0 = G, B1 = 0.0, B2 = 0.0, A0 = 1.0, A1 = 0.0, A2 = 0.0;
  } else if (type > SecondOrderFilters::HighShelf) {
    B0 = 1.0, B1 = 0.0, B2 = 0.0, A0 = 1.0, A1 = 0.0, A2 = 0.0;
  } else {
    // Below the Nyquist frequency and above 0, in the units of the rate.
    double const f = std::clamp(static_cast<double>(frequency) / rate,
                                HLShelf::MinNormalisedFrequency, HLShelf::MaxNormalisedFrequency);
    double const Q =
        std::clamp(static_cast<double>(q), static_cast<double>(MinQ), static_cast<double>(MaxQ));
    double const w = 2.0 * M_PI * f;
    double const s = std::sin(w);
    double const c = std::cos(w);
    // 1 - cos(w) without the cancellation at low frequencies.
    double const oneMinusC = 2.0 * std::sin(0.5 * w) * std::sin(0.5 * w);
    double const alpha = s / (2.0 * Q);
    double const A = std::pow(10.0, 0.025 * dB);
    A0 = 1.0 + alpha;
    A1 = -2.0 * c;
    A2 = 1.0 - alpha;
    switch (type) {
      case SecondOrderFilters::LowPass:
        B0 = G * oneMinusC / 2.0, B1 = G * oneMinusC, B2 = B0;
        break;
      case SecondOrderFilters::HighPass:
        B0 = G * (1.0 + c) / 2.0, B1 = -G * (1.0 + c), B2 = B0;
        break;
      case SecondOrderFilters::BandPass:
        B0 = G * alpha, B1 = 0.0, B2 = -G * alpha;
        break;
      case SecondOrderFilters::BandPassPeak:
        B0 = s / 2.0, B1 = 0.0, B2 = -s / 2.0;
        break;
      case SecondOrderFilters::Notch:
        B0 = G, B1 = -2.0 * G * c, B2 = G;
        break;
      case SecondOrderFilters::AllPass:
        B0 = 1.0 - alpha, B1 = -2.0 * c, B2 = 1.0 + alpha;
        break;
      case SecondOrderFilters::PeakingEQ:
        B0 = 1.0 + alpha * A, B1 = -2.0 * c, B2 = 1.0 - alpha * A;
        A0 = 1.0 + alpha / A, A2 = 1.0 - alpha / A;
        break;
      case SecondOrderFilters::LowShelf: {
        double const beta = 2.0 * std::sqrt(A) * alpha;
        B0 = A * ((A + 1.0) - (A - 1.0) * c + beta);
        B1 = 2.0 * A * ((A - 1.0) - (A + 1.0) * c);
        B2 = A * ((A + 1.0) - (A - 1.0) * c - beta);
        A0 = (A + 1.0) + (A - 1.0) * c + beta;
        A1 = -2.0 * ((A - 1.0) + (A + 1.0) * c);
        A2 = (A + 1.0) + (A - 1.0) * c - beta;
        break;
      }
      default: {  // HighShelf
        double const beta = 2.0 * std::sqrt(A) * alpha;
        B0 = A * ((A + 1.0) + (A - 1.0) * c + beta);
        B1 = -2.0 * A * ((A - 1.0) + (A + 1.0) * c);
        B2 = A * ((A + 1.0) + (A - 1.0) * c - beta);
        A0 = (A + 1.0) - (A - 1.0) * c + beta;
        A1 = 2.0 * ((A - 1.0) - (A + 1.0) * c);
        A2 = (A + 1.0) - (A - 1.0) * c - beta;
        break;
      }
    }
  }

  b0 = static_cast<float>(B0);
  b1 = static_cast<float>(B1);
  b2 = static_cast<float>(B2);
  a0 = static_cast<float>(A0);
  a1 = static_cast<float>(A1);
  a2 = static_cast<float>(A2);
  bSumSquared = (B0 + B1 + B2) * (B0 + B1 + B2);
  bCross = (B0 + B2) * B1 + 4.0 * B0 * B2;
  bOuter = B0 * B2;
  aSumSquared = (A0 + A1 + A2) * (A0 + A1 + A2);
  aCross = (A0 + A2) * A1 + 4.0 * A0 * A2;
  aOuter = A0 * A2;
}

}  // namespace Zorv
