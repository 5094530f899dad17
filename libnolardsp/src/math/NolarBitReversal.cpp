#include "NolarBitReversal.h"

#include <algorithm>

namespace nolardsp {

BitReversal::BitReversal(unsigned int size) {
  SetSize(size);
}

void BitReversal::SetSize(unsigned int size) {
  unsigned int bits = 0;
  while (bits < 31 && (2u << bits) <= size) ++bits;
  unsigned int const n = size == 0 ? 0 : (1u << bits);
  table.assign(n, 0);
  for (unsigned int i = 0; i < n; ++i) {
    unsigned int r = 0;
    for (unsigned int b = 0; b < bits; ++b) r |= ((i >> b) & 1u) << (bits - 1 - b);
    table[i] = r;
  }
}

void BitReversal::GetBitReverseTable(unsigned int* destination) const {
  std::copy(table.begin(), table.end(), destination);
}

}  // namespace nolardsp
