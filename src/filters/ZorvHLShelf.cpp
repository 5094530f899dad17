#include "ZorvHLShelf.h"

#include <algorithm>
#include <cmath>

namespace Zorv {

double const HLShelf::MinNormalisedFrequency = 1e-6;
double const HLShelf::MaxNormalisedFrequency = 0.49;

namespace {

// One first-order shelf by the bilinear transform: (1 + z z^-1) / (1 + p z^-1)
// times k, with the gain ratio g at 0 Hz and 1 at the Nyquist frequency.
struct FirstOrderShelf {
  double p, z, k;
  FirstOrderShelf(double gainRatio, double frequency) {
    double const t = std::tan(M_PI * frequency) / std::sqrt(gainRatio);
    double const gt = gainRatio * t;
    p = (t - 1.0) / (1.0 + t);
    z = (gt - 1.0) / (1.0 + gt);
    k = (1.0 + gt) / (1.0 + t);
  }
};

// Gains beyond 200 dB either way, and NaN (taken as 0 dB), would overflow
// the float coefficients.
double fromDecibels(double gain) {
  return std::pow(10.0, 0.05 * std::clamp(std::isnan(gain) ? 0.0 : gain, -200.0, 200.0));
}

}  // namespace

void HLShelf::ComputeTaps(double lowGain, double midGain, double highGain, double frequency1,
                          double frequency2, double& b0, double& b1, double& b2, double& a1,
                          double& a2) {
  // NaN frequencies fall to the lower bound.
  double f1 = std::min(frequency1, frequency2);
  double f2 = std::max(frequency1, frequency2);
  f1 = std::clamp(std::isnan(f1) ? 0.0 : f1, MinNormalisedFrequency, MaxNormalisedFrequency);
  f2 = std::clamp(std::isnan(f2) ? 0.0 : f2, MinNormalisedFrequency, MaxNormalisedFrequency);

  double const gLow = fromDecibels(lowGain), gMid = fromDecibels(midGain);
  double const gHigh = fromDecibels(highGain);
  FirstOrderShelf const low(gLow / gMid, f1);
  FirstOrderShelf const high(gMid / gHigh, f2);
  double const g = low.k * high.k * gHigh;
  b0 = g;
  b1 = (high.z + low.z) * g;
  b2 = g * high.z * low.z;
  a1 = high.p + low.p;
  a2 = high.p * low.p;
}

void HLShelf::ComputeTaps(float lowGain, float midGain, float highGain, float frequency1,
                          float frequency2, float& b0, float& b1, float& b2, float& a1, float& a2) {
  double c[5];
  ComputeTaps(static_cast<double>(lowGain), static_cast<double>(midGain),
              static_cast<double>(highGain), static_cast<double>(frequency1),
              static_cast<double>(frequency2), c[0], c[1], c[2], c[3], c[4]);
  b0 = static_cast<float>(c[0]);
  b1 = static_cast<float>(c[1]);
  b2 = static_cast<float>(c[2]);
  a1 = static_cast<float>(c[3]);
  a2 = static_cast<float>(c[4]);
}

}  // namespace Zorv
