#include "NolarFadedBiquadCascade.h"

namespace nolardsp {

FadedBiquadCascade::FadedBiquadCascade(unsigned int numCascades) : FadedFilters(CrossFadeLinear) {
  SetNumCascades(numCascades);
}

void FadedBiquadCascade::SetNumCascades(unsigned int numCascades) {
  filterOne.SetNumCascades(numCascades);
  filterTwo.SetNumCascades(numCascades);
  setNumCoefficients(4 * numCascades + 1);
}

}  // namespace nolardsp
