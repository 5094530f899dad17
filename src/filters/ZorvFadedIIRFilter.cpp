#include "ZorvFadedIIRFilter.h"

namespace Zorv {

FadedIIRFilter::FadedIIRFilter(unsigned int order) : FadedFilters(nolardsp::CrossFadeLinear) {
  SetOrder(order);
}

void FadedIIRFilter::SetOrder(unsigned int order) {
  filterOne.SetOrder(order);
  filterTwo.SetOrder(order);
  setNumCoefficients(2 * (order + 1));
}

}  // namespace Zorv
