#include "NolarVectorOperations.h"

#include <cstdlib>

#include "NolarConstants.h"

namespace nolardsp {

namespace {
int compareReal(void const* a, void const* b) {
  float const x = static_cast<Complex<float> const*>(a)->re;
  float const y = static_cast<Complex<float> const*>(b)->re;
  return x < y ? -1 : (x > y ? 1 : 0);
}

int compareImagDecreasing(void const* a, void const* b) {
  float const x = static_cast<Complex<float> const*>(a)->im;
  float const y = static_cast<Complex<float> const*>(b)->im;
  return x > y ? -1 : (x < y ? 1 : 0);
}
}  // namespace

// Constant-initialised, so it is valid before any constructor of the program runs.
#define NOLAR_ONES8 1, 1, 1, 1, 1, 1, 1, 1
#define NOLAR_ONES64                                                                         \
  NOLAR_ONES8, NOLAR_ONES8, NOLAR_ONES8, NOLAR_ONES8, NOLAR_ONES8, NOLAR_ONES8, NOLAR_ONES8, \
      NOLAR_ONES8
#define NOLAR_ONES256 NOLAR_ONES64, NOLAR_ONES64, NOLAR_ONES64, NOLAR_ONES64
short const allActiveInputs[MaxChannels] = {NOLAR_ONES256, NOLAR_ONES256, NOLAR_ONES256,
                                            NOLAR_ONES256};
#undef NOLAR_ONES256
#undef NOLAR_ONES64
#undef NOLAR_ONES8
static_assert(MaxChannels == 1024, "allActiveInputs is spelled out for 1024 channels");

void SortByIncreasingRealPart(Complex<float>* values, unsigned int n) {
  std::qsort(values, n, sizeof(Complex<float>), compareReal);
}

void SortByDecreasingImagPart(Complex<float>* values, unsigned int n) {
  std::qsort(values, n, sizeof(Complex<float>), compareImagDecreasing);
}

int compareIncreasing(void const* a, void const* b) {
  return *static_cast<int const*>(a) - *static_cast<int const*>(b);
}

int compareDecreasing(void const* a, void const* b) {
  return *static_cast<int const*>(b) - *static_cast<int const*>(a);
}

}  // namespace nolardsp
