#pragma once

#include "NolarFadedFilters.h"
#include "ZorvIIRFilter.h"

namespace Zorv {

// Cross-faded general recursive filter. Sets have 2 * (order + 1) floats:
// b0 .. bN, then a0 .. aN. The incoming filter starts from silence and settles
// during its one block of warm-up.
class FadedIIRFilter : public nolardsp::FadedFilters<IIRFilter> {
 public:
  explicit FadedIIRFilter(unsigned int order = 0);
  // Sizes both filters and the pending set. Set-up path.
  void SetOrder(unsigned int order);
  unsigned int GetOrder() const { return filterOne.GetOrder(); }
};

}  // namespace Zorv
