#pragma once

#include "NolarFadedFilters.h"
#include "NolarFirTimeDomain.h"

namespace nolardsp {

// Cross-faded direct convolution of order + 1 taps. The incoming filter takes
// a copy of the outgoing one's history, so it is right from its first sample.
class FadedFirTimeDomain : public FadedFilters<FirTimeDomain> {
 public:
  explicit FadedFirTimeDomain(unsigned int order = 0);
  // Sizes both filters and the pending set (order + 1 taps). Set-up path.
  void SetOrder(unsigned int order);
  unsigned int GetOrder() const { return filterOne.GetOrder(); }
};

}  // namespace nolardsp
