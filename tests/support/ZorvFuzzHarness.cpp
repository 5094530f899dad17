#include "ZorvFuzzHarness.h"

#include <dirent.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <new>
#include <thread>

#include "ZorvTestAllocationCounter.h"
#include "ZorvTestFiles.h"

namespace zorvtest {

namespace {

// splitmix64: small, seedable, and the same on every platform.
std::uint64_t nextRandom(std::uint64_t& state) {
  std::uint64_t z = (state += 0x9E3779B97F4A7C15ull);
  z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
  z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
  return z ^ (z >> 31);
}

std::size_t below(std::uint64_t& state, std::size_t n) {
  return n == 0 ? 0 : static_cast<std::size_t>(nextRandom(state) % n);
}

std::uint32_t interestingValue(std::uint64_t& state, std::size_t fileSize) {
  static std::uint32_t const fixed[] = {
      0u,          1u,          2u,          3u,          7u,          8u,
      15u,         16u,         0x7Fu,       0x80u,       0xFFu,       0x100u,
      0x7FFFu,     0x8000u,     0xFFFFu,     0x10000u,    0x7FFFFFFFu, 0x80000000u,
      0xFFFFFFFFu, 0xFFFFFFFEu, 0xFFFFFFF0u, 0x40000000u, 0x0FFFFFFFu, 0xFFFFFFF8u};
  std::size_t const pick = below(state, sizeof(fixed) / sizeof(fixed[0]) + 3);
  if (pick < sizeof(fixed) / sizeof(fixed[0])) return fixed[pick];
  if (pick == sizeof(fixed) / sizeof(fixed[0])) {
    return static_cast<std::uint32_t>(fileSize + below(state, 64)) - 32u;  // near the size
  }
  if (pick == sizeof(fixed) / sizeof(fixed[0]) + 1) {
    return static_cast<std::uint32_t>(below(state, 256));
  }
  return static_cast<std::uint32_t>(nextRandom(state));
}

void putField(std::vector<unsigned char>& b, std::size_t at, std::uint32_t value, int width,
              bool bigEndian) {
  for (int i = 0; i < width && at + i < b.size(); ++i) {
    int const shift = bigEndian ? 8 * (width - 1 - i) : 8 * i;
    b[at + i] = static_cast<unsigned char>((value >> shift) & 0xFF);
  }
}

// A range [start, start + length) inside the file, aligned to 4 bytes half
// of the time (chunk and field boundaries usually are).
void pickRange(std::uint64_t& state, std::size_t size, std::size_t& start, std::size_t& length) {
  start = below(state, size);
  if (below(state, 2) == 0) start &= ~std::size_t(3);
  std::size_t const maxLength = size - start;
  length = 1 + below(state, maxLength < 64 ? maxLength : 64);
  if (below(state, 4) == 0) length = 1 + below(state, maxLength);
}

// Aborts the process if one load runs longer than the limit. The loads only
// bump an atomic counter (odd while a load runs), so the watch costs them
// nothing; the watchdog looks once a second.
class Watchdog {
 public:
  explicit Watchdog(double seconds) : limit(seconds), thread([this] { run(); }) {}
  ~Watchdog() {
    {
      std::lock_guard<std::mutex> lock(mutex);
      stopping = true;
    }
    stopped.notify_all();
    thread.join();
  }
  void Start(std::string const* what) {
    current.store(what);
    generation.fetch_add(1);
  }
  void Stop() { generation.fetch_add(1); }

 private:
  void run() {
    std::unique_lock<std::mutex> lock(mutex);
    std::uint64_t seen = generation.load();
    double stuck = 0.0;
    while (!stopped.wait_for(lock, std::chrono::seconds(1), [this] { return stopping; })) {
      std::uint64_t const now = generation.load();
      if ((now & 1u) != 0 && now == seen) {
        stuck += 1.0;
        if (stuck > limit) {
          std::string const* what = current.load();
          std::fprintf(stderr, "fuzz: a load did not return within %.0f s: %s\n", limit,
                       what != nullptr ? what->c_str() : "?");
          std::abort();
        }
      } else {
        stuck = 0.0;
        seen = now;
      }
    }
  }

  double limit;
  std::mutex mutex;
  std::condition_variable stopped;
  std::atomic<std::uint64_t> generation{0};
  std::atomic<std::string const*> current{nullptr};
  bool stopping = false;
  std::thread thread;
};

}  // namespace

std::vector<unsigned char> MutateBytes(std::vector<unsigned char> const& bytes,
                                       std::uint64_t& state) {
  std::vector<unsigned char> b = bytes;
  int const steps = 1 + static_cast<int>(below(state, 3));
  for (int step = 0; step < steps && !b.empty(); ++step) {
    std::size_t start, length;
    switch (below(state, 8)) {
      case 0:  // flip a few bits
        for (std::size_t k = 0, n = 1 + below(state, 4); k < n; ++k) {
          b[below(state, b.size())] ^= static_cast<unsigned char>(1u << below(state, 8));
        }
        break;
      case 1:
      case 2:  // a 32-bit field
        putField(b, below(state, b.size()) & ~std::size_t(below(state, 2) ? 3 : 0),
                 interestingValue(state, b.size()), 4, below(state, 2) == 0);
        break;
      case 3:  // a 16-bit field
        putField(b, below(state, b.size()) & ~std::size_t(1), interestingValue(state, b.size()), 2,
                 below(state, 2) == 0);
        break;
      case 4:  // delete a range
        pickRange(state, b.size(), start, length);
        b.erase(b.begin() + static_cast<std::ptrdiff_t>(start),
                b.begin() + static_cast<std::ptrdiff_t>(start + length));
        break;
      case 5: {  // duplicate a range, in place or elsewhere
        pickRange(state, b.size(), start, length);
        std::vector<unsigned char> const copy(
            b.begin() + static_cast<std::ptrdiff_t>(start),
            b.begin() + static_cast<std::ptrdiff_t>(start + length));
        std::size_t const at = below(state, 2) ? start : below(state, b.size() + 1);
        b.insert(b.begin() + static_cast<std::ptrdiff_t>(at), copy.begin(), copy.end());
        break;
      }
      case 6: {  // swap two ranges of the same length
        pickRange(state, b.size(), start, length);
        std::size_t const other = below(state, b.size() - length + 1);
        std::vector<unsigned char> const first(
            b.begin() + static_cast<std::ptrdiff_t>(start),
            b.begin() + static_cast<std::ptrdiff_t>(start + length));
        std::vector<unsigned char> const second(
            b.begin() + static_cast<std::ptrdiff_t>(other),
            b.begin() + static_cast<std::ptrdiff_t>(other + length));
        if (start + length <= other || other + length <= start) {
          std::copy(second.begin(), second.end(), b.begin() + static_cast<std::ptrdiff_t>(start));
          std::copy(first.begin(), first.end(), b.begin() + static_cast<std::ptrdiff_t>(other));
        }
        break;
      }
      default:  // cut short
        b.resize(below(state, b.size()));
        break;
    }
  }
  return b;
}

std::size_t CountOpenDescriptors() {
  std::size_t n = 0;
  if (DIR* dir = opendir("/proc/self/fd")) {
    while (readdir(dir) != nullptr) ++n;
    closedir(dir);
  }
  return n;
}

std::size_t FuzzMutationsFromEnvironment(std::size_t fallback) {
  char const* text = std::getenv("ZORV_FUZZ_MUTATIONS");
  if (text == nullptr || text[0] == '\0') return fallback;
  char* end = nullptr;
  unsigned long long const n = std::strtoull(text, &end, 10);
  return (end != nullptr && *end == '\0') ? static_cast<std::size_t>(n) : fallback;
}

FuzzResult FuzzLoads(std::vector<std::vector<unsigned char>> const& seeds, FuzzLoader const& load,
                     FuzzOptions const& options) {
  FuzzResult result;
  std::string const path = TempPath("fuzz" + options.extension);
  std::size_t const descriptorsBefore = CountOpenDescriptors();
  bool reportedAllocation = false, reportedException = false;
  std::string const hangNote = path + " (the variant is left in place)";
  Watchdog watchdog(options.secondsPerLoad);
  // Thousands of refusals each say why on standard error: quiet them.
  int savedError = -1;
  if (options.quiet) {
    std::fflush(stderr);
    savedError = dup(2);
    int const devNull = open("/dev/null", O_WRONLY);
    if (devNull >= 0) {
      dup2(devNull, 2);
      close(devNull);
    }
  }

  auto keep = [&](std::vector<unsigned char> const& bytes, std::string const& why) {
    std::string const saved =
        TempPath("fuzz-failure-" + std::to_string(result.loads) + options.extension);
    WriteFileBytes(saved, bytes);
    ADD_FAILURE() << why << "; the file is saved as " << saved;
    ++result.failures;
  };

  auto run = [&](std::vector<unsigned char> const& bytes) {
    if (!WriteFileBytes(path, bytes)) {
      keep(bytes, "could not write the variant");
      return;
    }
    ++result.loads;
    watchdog.Start(&hangNote);
    ResetLargestAllocation();
    bool ok = true;
    try {
      if (load(path)) {
        ++result.accepted;
      } else {
        ++result.refused;
      }
    } catch (std::bad_alloc const&) {
      ok = false;
      if (!reportedException) keep(bytes, "std::bad_alloc raised by a load");
      reportedException = true;
    } catch (std::exception const&) {
      ++result.refused;
    } catch (...) {
      ok = false;
      if (!reportedException) keep(bytes, "an exception of no std::exception type");
      reportedException = true;
    }
    watchdog.Stop();
    std::size_t const largest = LargestAllocation();
    if (ok && largest > options.maxAllocationBytes && !reportedAllocation) {
      keep(bytes, "an allocation of " + std::to_string(largest) + " bytes");
      reportedAllocation = true;
    }
  };

  for (std::vector<unsigned char> const& seed : seeds) {
    run(seed);
    if (options.allTruncations) {
      for (std::size_t n = 0; n < seed.size(); ++n) {
        run(std::vector<unsigned char>(seed.begin(),
                                       seed.begin() + static_cast<std::ptrdiff_t>(n)));
      }
    }
  }
  std::uint64_t state = options.seed;
  for (std::size_t k = 0; k < options.mutations && !seeds.empty(); ++k) {
    run(MutateBytes(seeds[k % seeds.size()], state));
  }
  std::remove(path.c_str());
  if (savedError >= 0) {
    std::fflush(stderr);
    dup2(savedError, 2);
    close(savedError);
  }
  std::size_t const descriptorsAfter = CountOpenDescriptors();
  if (descriptorsAfter != descriptorsBefore) {
    ADD_FAILURE() << "open file descriptors: " << descriptorsBefore << " before, "
                  << descriptorsAfter << " after " << result.loads << " loads";
    ++result.failures;
  }
  return result;
}

}  // namespace zorvtest
