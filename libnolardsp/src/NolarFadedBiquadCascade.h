#pragma once

#include "NolarBiquadCascade.h"
#include "NolarFadedFilters.h"

namespace nolardsp {

// Cross-faded biquad cascade. Sets have 4 * numCascades + 1 floats: gain, then
// b1, b2, a1, a2 per section. The incoming cascade starts from silence and
// settles during its one block of warm-up.
class FadedBiquadCascade : public FadedFilters<BiquadCascade> {
 public:
  explicit FadedBiquadCascade(unsigned int numCascades = 1);
  // Sizes both cascades and the pending set. Set-up path.
  void SetNumCascades(unsigned int numCascades);
  unsigned int GetNumCascades() const { return filterOne.GetNumCascades(); }
};

}  // namespace nolardsp
