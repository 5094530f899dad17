#pragma once

#include "NolarFadedFilters.h"
#include "ZorvPrimedBiquadCascade.h"

namespace Zorv {

// The cross-faded cascade of the equalizers: the fade law and timing of every
// faded filter, with an incoming cascade that starts from the outgoing one's
// history. Sets have 4 * numCascades + 1 floats: gain, then b1, b2, a1, a2 a
// section.
class FadedPrimedBiquadCascade : public nolardsp::FadedFilters<PrimedBiquadCascade> {
 public:
  explicit FadedPrimedBiquadCascade(unsigned int numCascades = 1);
  // Sizes both cascades and the pending set. Set-up path.
  void SetNumCascades(unsigned int numCascades);
  unsigned int GetNumCascades() const { return filterOne.GetNumCascades(); }
};

}  // namespace Zorv
