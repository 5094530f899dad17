#pragma once

#include <cstddef>

// Every test program links a replaced global operator new/delete that counts
// calls while a counter is armed. Used to prove that block routines allocate
// nothing:
//
//   zorvtest::AllocationCounter counter;
//   panner->Process(...);
//   EXPECT_EQ(counter.Count(), 0u);
namespace zorvtest {

class AllocationCounter {
 public:
  AllocationCounter();
  ~AllocationCounter();
  AllocationCounter(AllocationCounter const&) = delete;
  AllocationCounter& operator=(AllocationCounter const&) = delete;

  // Allocations (operator new, new[], malloc is not covered) since construction.
  std::size_t Count() const;

 private:
  std::size_t start;
};

// The largest single allocation (operator new and its kin) since the last
// ResetLargestAllocation(): the fuzz tests bound what a malformed file may
// make a loader ask for.
void ResetLargestAllocation();
std::size_t LargestAllocation();

}  // namespace zorvtest
