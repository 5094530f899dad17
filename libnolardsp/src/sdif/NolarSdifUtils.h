#pragma once

#include "NolarCartesianVector.h"

namespace nolardsp {

// What is generic in reading HRTF-like SDIF files: name-value tables and the
// position and filter matrices.
class SdifUtils {
 public:
  // An azimuth-elevation-distance triple of an XAED matrix (degrees, degrees,
  // metres) as a point of the system's axes. The azimuth is the user's: 0 in
  // front, growing clockwise (-30 is to the left). With navigation set, the
  // angles are first brought to azimuth in [-180, 180) and elevation in
  // [-90, 90] and a negative distance is turned round. All in 32-bit floats;
  // every wrap is one fmod, so that huge or infinite angles cost no more than
  // small ones (a non-finite angle gives a non-finite point).
  static CartesianVector AedToCartesian(float azimuth, float elevation, float distance,
                                        bool navigation);
};

}  // namespace nolardsp
