#include "ZorvShuffle.h"

#include <algorithm>

namespace Zorv {

namespace Shuffle {

unsigned int const permutation4[4] = {1, 2, 3, 0};
unsigned int const permutation6[6] = {1, 2, 3, 5, 4, 0};
unsigned int const permutation8[8] = {6, 1, 2, 3, 5, 4, 7, 0};
unsigned int const permutation12[12] = {11, 10, 0, 4, 3, 7, 9, 8, 6, 2, 1, 5};
unsigned int const permutation16[16] = {11, 15, 12, 10, 0, 4, 13, 3, 7, 9, 14, 8, 6, 2, 1, 5};

void GetPermutationForChannels(std::vector<unsigned int>& permutation, unsigned int numChannels) {
  permutation.resize(numChannels);
  unsigned int const* table = nullptr;
  switch (numChannels) {
    case 4:
      table = permutation4;
      break;
    case 6:
      table = permutation6;
      break;
    case 8:
      table = permutation8;
      break;
    case 12:
      table = permutation12;
      break;
    case 16:
      table = permutation16;
      break;
    default:
      for (unsigned int i = 0; i < numChannels; ++i) permutation[i] = (i + 1) % numChannels;
      return;
  }
  std::copy(table, table + numChannels, permutation.begin());
}

}  // namespace Shuffle

}  // namespace Zorv
