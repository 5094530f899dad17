#include "NolarFadedFirFilter.h"

namespace nolardsp {

FadedFirFilter::FadedFirFilter(unsigned int order) : FadedFilters(CrossFadeLinear) {
  SetOrder(order);
}

void FadedFirFilter::SetOrder(unsigned int order) {
  filterOne.SetOrder(order);
  filterTwo.SetOrder(order);
  setNumCoefficients(order + 1);
}

void FadedFirFilter::SetImplementationMethod(Filter::FIRImplementation m) {
  filterOne.SetImplementationMethod(m);
  filterTwo.SetImplementationMethod(m);
}

}  // namespace nolardsp
