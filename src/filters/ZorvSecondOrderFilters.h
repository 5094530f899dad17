#pragma once

namespace Zorv {

// The kinds of second-order section the equalizer designs. The words that name
// them are kept by BiquadFrequencyResponse.
class SecondOrderFilters {
 public:
  enum Type : unsigned int {
    DoubleShelving = 0,  // low and high shelf in one section
    LowPass = 1,
    HighPass = 2,
    BandPass = 3,      // 0 dB peak, scaled by the gain
    BandPassPeak = 4,  // skirt gain, peak equal to Q; ignores the gain
    Notch = 5,
    AllPass = 6,  // ignores the gain
    PeakingEQ = 7,
    LowShelf = 8,
    HighShelf = 9,
    SimpleGain = 10,
    Null = 11,  // a wire; so is any value above it
  };
};

}  // namespace Zorv
