#include <gtest/gtest.h>

#include <cstdlib>
#include <iostream>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "NolarException.h"
#include "ZorvHrtf.h"
#include "ZorvHrtf2bKemar44100.h"
#include "ZorvHrtfTestFiles.h"

// Damaged files of every kind the loader takes: each load either gives a
// usable set or a clean refusal (nolardsp::Exception), never a crash, a hang or
// another exception; the set in use stays whole either way. Run under the
// sanitizers by `make test-asan`; ZORV_FUZZ_ITERATIONS scales the rounds.
namespace {

using Zorv::Hrtf;
using zorvtest::ScratchFile;

int iterations(int base) {
  char const* env = std::getenv("ZORV_FUZZ_ITERATIONS");
  int const scale = env != nullptr ? std::max(1, std::atoi(env)) : 1;
  return base * scale;
}

// Overwrites, flips, truncates or repeats bytes; more often near the start,
// where the headers and sizes are.
std::vector<unsigned char> damage(std::vector<unsigned char> bytes, std::mt19937& rng) {
  if (bytes.empty()) return bytes;
  int const edits = 1 + static_cast<int>(rng() % 4);
  for (int e = 0; e < edits && !bytes.empty(); ++e) {
    std::size_t const span = (rng() % 2) ? std::min<std::size_t>(bytes.size(), 4096) : bytes.size();
    std::size_t const at = rng() % span;
    switch (rng() % 6) {
      case 0:
        bytes[at] = static_cast<unsigned char>(rng());
        break;
      case 1:
        bytes[at] ^= static_cast<unsigned char>(1u << (rng() % 8));
        break;
      case 2:
        bytes.resize(at);
        break;
      case 3:
        for (std::size_t i = at; i < std::min(bytes.size(), at + 4); ++i) bytes[i] = 0xFF;
        break;
      case 4:
        for (std::size_t i = at; i < std::min(bytes.size(), at + 4); ++i) bytes[i] = 0x00;
        break;
      default:
        bytes.insert(bytes.begin() + static_cast<std::ptrdiff_t>(at), bytes.begin(),
                     bytes.begin() + static_cast<std::ptrdiff_t>(std::min(at, std::size_t(16))));
        break;
    }
  }
  return bytes;
}

// Loads every damaged variant into one set that starts as the built-in one.
void fuzz(std::vector<unsigned char> const& valid, std::string const& name, int rounds,
          unsigned seed) {
  std::mt19937 rng(seed);
  Hrtf hrtf("");
  ScratchFile const path(name);
  int loaded = 0, refused = 0;
  std::streambuf* const saved = std::cerr.rdbuf();
  std::ostringstream sink;
  std::cerr.rdbuf(sink.rdbuf());  // every refusal prints its text
  for (int i = 0; i < rounds; ++i) {
    zorvtest::WriteFileBytes(path.path, damage(valid, rng));
    try {
      hrtf.LoadFromFile(path.c_str());
      ++loaded;
    } catch (nolardsp::Exception const&) {
      ++refused;
    } catch (...) {
      std::cerr.rdbuf(saved);
      FAIL() << "round " << i << ": an exception of another kind";
    }
    sink.str("");
    // Whatever happened, the set in use is whole and searchable.
    ASSERT_GT(hrtf.GetNumPoints(), 0u);
    ASSERT_EQ(hrtf.GetPoints().size(), hrtf.GetNumPoints());
    hrtf.GetNearestHrtfPoint({0.f, 1.f, 0.f});
  }
  std::cerr.rdbuf(saved);
  EXPECT_EQ(loaded + refused, rounds);
  EXPECT_GT(refused, 0);  // the damage reached the checks
}

TEST(HrtfFuzz, DamagedHrtfFiles) {
  zorvtest::HrtfFileContents file;
  file.Set("FiltersType", "BiquadCells");
  file.Set("NumPoints", "4");
  file.Set("FiltersLength", "5");
  for (uint32_t id = 1; id <= 4; ++id) {
    file.frames.push_back({id,
                           {{"XAED", nolardsp::eFloat4, 1, 3, {90.0 * id, 10.0, 1.0}},
                            {"XITD", nolardsp::eFloat8, 1, 1, {0.1}},
                            {"XIIR",
                             nolardsp::eFloat4,
                             2,
                             5,
                             {1.0, 0.1, 0.2, -0.5, 0.25, 0.9, 0.0, 0.0, 0.3, 0.02}}}});
  }
  ScratchFile const valid("valid.hrtf");
  file.Write(valid.path);
  fuzz(zorvtest::ReadFileBytes(valid.path), "damaged.hrtf", iterations(600), 1);
}

TEST(HrtfFuzz, DamagedCollFiles) {
  std::ostringstream out;
  out.imbue(std::locale::classic());
  for (int r = 0; r < 710; ++r) {
    out << (r + 1) << ",";
    for (int c = 0; c < 26; ++c) out << " " << Zorv::hrtf_2b_KEMAR_44100[r][c];
    out << ";\n";
  }
  std::string const text = out.str();
  fuzz(std::vector<unsigned char>(text.begin(), text.end()), "damaged-44100.coll", iterations(150),
       2);
}

TEST(HrtfFuzz, DamagedSofaFiles) {
  std::vector<unsigned char> const kemar =
      zorvtest::ReadFileBytes("/usr/share/libmysofa/MIT_KEMAR_normal_pinna.sofa");
  if (kemar.empty()) GTEST_SKIP() << "no KEMAR SOFA file (Debian package libmysofa1)";
  fuzz(kemar, "damaged.sofa", iterations(12), 3);
}

}  // namespace
