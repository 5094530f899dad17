#include "NolarFadedFirTimeDomain.h"

namespace nolardsp {

FadedFirTimeDomain::FadedFirTimeDomain(unsigned int order) : FadedFilters(CrossFadeLinear) {
  SetOrder(order);
}

void FadedFirTimeDomain::SetOrder(unsigned int order) {
  filterOne.SetOrder(order);
  filterTwo.SetOrder(order);
  setNumCoefficients(order + 1);
}

}  // namespace nolardsp
