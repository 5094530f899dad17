#pragma once

#include <vector>

namespace nolardsp {

// The table of bit-reversed indices of a power-of-two size: entry i is i with
// its log2(size) lowest bits in reverse order.
class BitReversal {
 public:
  explicit BitReversal(unsigned int size = 1);

  // Fills the table for size (allocates: set-up path). A size that is not a
  // power of two is taken at the largest power of two below it.
  void SetSize(unsigned int size);
  unsigned int GetSize() const { return static_cast<unsigned int>(table.size()); }
  // Copies the table into GetSize() entries of destination.
  void GetBitReverseTable(unsigned int* destination) const;

 private:
  std::vector<unsigned int> table;
};

}  // namespace nolardsp
