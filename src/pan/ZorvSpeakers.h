#pragma once

#include "NolarCartesianVector.h"

namespace Zorv {

// The built-in speaker layouts. Built once, on first use, and never changed.
class Speakers {
 public:
  // The layout for 1 to 8 channels (mono, stereo, lrs, quadri, fiveDotOne,
  // hexa, sevenDotOne, octo), or null for any other count.
  static nolardsp::CartesianVector const* GetDefaultForChannels(unsigned int numChannels);

  // Writes n points (three floats each) on the unit circle: point 0 straight
  // ahead, the others evenly spaced clockwise.
  static void GetRegularlySpaced(float* positions, unsigned int n);

  static nolardsp::CartesianVector const* mono();
  static nolardsp::CartesianVector const* stereo();
  static nolardsp::CartesianVector const* lrs();
  static nolardsp::CartesianVector const* lcrs();
  static nolardsp::CartesianVector const* quadri();
  static nolardsp::CartesianVector const* fiveDotOne();
  static nolardsp::CartesianVector const* hexa();
  static nolardsp::CartesianVector const* sevenDotOne();
  static nolardsp::CartesianVector const* octo();
  static nolardsp::CartesianVector const* cube();
};

}  // namespace Zorv
