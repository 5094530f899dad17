#pragma once

#include <vector>

#include "NolarComplex.h"

namespace nolardsp {

// What DigitalDesign builds; read through a pointer, null meaning LowPass.
enum DigitalFilterType : unsigned int {
  LowPass = 0,
  HighPass = 1,
  BandPass = 2,
  BandStop = 3,
};

// Digital Butterworth filters of any order, designed at run time as a cascade
// of second-order sections in the layout of BiquadCascade::SetCoefficients:
// gain, then b1, b2, a1, a2 of each section, 4 * sections + 1 values.
//
// The analogue prototype poles are mapped by the analogue transform of the
// type, then by the bilinear transform (frequencies prewarped), all in double
// precision; only the result is rounded to T. The zeros are the exact ones of
// each type: all at z = -1 for a low pass, at z = 1 for a high pass, one of
// each per section for a band pass, the notch pair for a band stop, so a low-
// or high-pass numerator is exactly (1 +- z^-1)^order. The gain makes the
// pass band 1 (at DC, at Nyquist, at the centre, at DC for the four types).
//
// Sections: low and high pass of order N give (N + 1) / 2 sections, the last
// of first order (b2 = a2 = 0) when N is odd; band pass and band stop give N.
// The number depends on the order and type alone, so that a filter sized once
// can take every redesign. Pole pairs come in order of distance to the unit
// circle, the closest last.
//
// Frequencies are held between MinFrequency and MaxFrequencyRatio times the
// sample rate, so that every pole stays inside the unit circle at any rate.
// A sample rate that is not a positive finite number reads as 44100.
//
// Threads: any but the audio thread; allocates.
template <typename T>
class ButterworthDesign {
 public:
  static constexpr double MinFrequency = 10.0;
  static constexpr double MaxFrequencyRatio = 0.49;

  // frequency2 is used by band pass and band stop only. An order of 0 gives
  // the single value 1.
  static void DigitalDesign(std::vector<T>& result, unsigned int order, T frequency1, T frequency2,
                            T samplerate, unsigned int const* type);
  // The order analogue prototype poles on the unit circle, left half-plane:
  // exp(j pi (2k + order - 1) / (2 order)), k = 1 .. order.
  static void GetPoles(std::vector<Complex<T>>& poles, unsigned int order);
  // The number of sections DigitalDesign gives.
  static unsigned int GetNumSections(unsigned int order, unsigned int const* type);
};

extern template class ButterworthDesign<float>;
extern template class ButterworthDesign<double>;

}  // namespace nolardsp
