#pragma once

namespace Zorv {

// The double shelving filter: a low shelf and a high shelf, each of first
// order, multiplied into one second-order section. The section has the gain
// lowGain at 0 Hz, midGain between the two frequencies and highGain at the
// Nyquist frequency (all in decibels).
class HLShelf {
 public:
  // Frequencies are normalised (cycles per sample) and may come in either
  // order. The lower one is kept at least MinNormalisedFrequency and the
  // upper one at most MaxNormalisedFrequency, so that neither shelf puts its
  // pole on the unit circle. The section is b0 + b1 z^-1 + b2 z^-2 over
  // 1 + a1 z^-1 + a2 z^-2. Computed in double and rounded once.
  static void ComputeTaps(float lowGain, float midGain, float highGain, float frequency1,
                          float frequency2, float& b0, float& b1, float& b2, float& a1, float& a2);
  // The same, unrounded.
  static void ComputeTaps(double lowGain, double midGain, double highGain, double frequency1,
                          double frequency2, double& b0, double& b1, double& b2, double& a1,
                          double& a2);

  static double const MinNormalisedFrequency;
  static double const MaxNormalisedFrequency;
};

}  // namespace Zorv
