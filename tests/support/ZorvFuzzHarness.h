#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

// Loads malformed variants of valid seed files and checks that each ends as
// a clean load or a clean refusal:
//
//   zorvtest::FuzzOptions options;
//   options.extension = ".wav";
//   zorvtest::FuzzResult r = zorvtest::FuzzLoads(seeds, [](std::string const& path) {
//     nolardsp::AudioBuffer b(0, 0, true);
//     b.LoadFromAudioFile(path.c_str());
//     return b.GetNumChannels() > 0;
//   }, options);
//
// The variants: every truncation of every seed, then `mutations` seeded random
// mutations (bit flips; 16- and 32-bit fields in either byte order set to 0,
// small, huge or negative values; ranges deleted, duplicated or swapped; the
// file cut short). A load that returns true is a clean load; one that returns
// false, or raises an exception derived from std::exception other than
// std::bad_alloc, is a clean refusal. Failures (gtest failures, one per kind, with the variant
// saved to a file named in the message): any other exception, a single allocation above
// maxAllocationBytes, a file descriptor left open, or a load that runs longer
// than secondsPerLoad (then the process aborts, naming the variant's file,
// left in place: a hang cannot be recovered from). Crashes and sanitizer reports end the
// process by themselves.
namespace zorvtest {

struct FuzzOptions {
  std::size_t mutations = 2000;
  std::uint32_t seed = 20261123;
  bool allTruncations = true;
  std::size_t maxAllocationBytes = 16u << 20;
  double secondsPerLoad = 20.0;
  // Extension of the variant files, for loaders that choose by extension.
  std::string extension = ".bin";
  // Standard error goes to /dev/null during the loads.
  bool quiet = true;
};

struct FuzzResult {
  std::size_t loads = 0;
  std::size_t accepted = 0;
  std::size_t refused = 0;
  std::size_t failures = 0;
};

// True for a file that loaded, false for one the loader refused.
using FuzzLoader = std::function<bool(std::string const& path)>;

FuzzResult FuzzLoads(std::vector<std::vector<unsigned char>> const& seeds, FuzzLoader const& load,
                     FuzzOptions const& options);

// ZORV_FUZZ_MUTATIONS from the environment if set (make fuzz), else fallback.
std::size_t FuzzMutationsFromEnvironment(std::size_t fallback);

// Entries of /proc/self/fd.
std::size_t CountOpenDescriptors();

// One mutation of bytes, drawn from the generator state; exposed for tests
// that want to replay a case.
std::vector<unsigned char> MutateBytes(std::vector<unsigned char> const& bytes,
                                       std::uint64_t& state);

}  // namespace zorvtest
