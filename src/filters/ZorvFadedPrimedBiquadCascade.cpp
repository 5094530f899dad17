#include "ZorvFadedPrimedBiquadCascade.h"

namespace Zorv {

FadedPrimedBiquadCascade::FadedPrimedBiquadCascade(unsigned int numCascades)
    : FadedFilters(nolardsp::CrossFadeLinear) {
  SetNumCascades(numCascades);
}

void FadedPrimedBiquadCascade::SetNumCascades(unsigned int numCascades) {
  filterOne.SetNumCascades(numCascades);
  filterTwo.SetNumCascades(numCascades);
  setNumCoefficients(4 * numCascades + 1);
}

}  // namespace Zorv
