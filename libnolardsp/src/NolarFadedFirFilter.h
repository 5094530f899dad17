#pragma once

#include "NolarFadedFilters.h"
#include "NolarFir.h"

namespace nolardsp {

// Cross-faded FIR filter of order + 1 taps whose convolution can be chosen.
// With the transform implementation the incoming filter glides from the
// outgoing one's spectrum on top of the cross-fade.
class FadedFirFilter : public FadedFilters<Fir> {
 public:
  explicit FadedFirFilter(unsigned int order = 0);
  // Sizes both filters and the pending set (order + 1 taps). Set-up path.
  void SetOrder(unsigned int order);
  unsigned int GetOrder() const { return filterOne.GetOrder(); }
  // Both filters; safe while blocks run (see Fir).
  void SetImplementationMethod(Filter::FIRImplementation m);
  Filter::FIRImplementation GetImplementationMethod() const {
    return filterOne.GetImplementationMethod();
  }
};

}  // namespace nolardsp
