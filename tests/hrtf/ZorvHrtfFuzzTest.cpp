#include <gtest/gtest.h>

#include <locale>
#include <sstream>
#include <string>
#include <vector>

#include "ZorvFuzzHarness.h"
#include "ZorvHrtf.h"
#include "ZorvHrtf2bKemar44100.h"
#include "ZorvHrtfTestFiles.h"

// libmysofa, which this suite does not build, leaks a little of its own on
// some damaged SOFA files; the leak checker of the sanitizer build is told so
// (it looks this hook up by name in the program).
extern "C" char const* __lsan_default_suppressions() {
  return "leak:libmysofa.so\n";
}

// Damaged files of every kind the loader takes, through the shared harness:
// each load either gives a usable set or a clean refusal (nolardsp::Exception),
// never a crash, a hang, a huge allocation, an open file left behind or
// another exception; a refused load leaves the set in use whole. Run under the
// sanitizers by `make test-asan`; ZORV_FUZZ_MUTATIONS (make fuzz) scales the
// rounds.
namespace {

using Zorv::Hrtf;

// Loads into a set that starts as the built-in one, as a renderer's does.
bool loadInto(Hrtf& hrtf, std::string const& path) {
  try {
    hrtf.LoadFromFile(path.c_str());
  } catch (...) {
    // Whatever was refused, the set in use is whole and searchable.
    EXPECT_GT(hrtf.GetNumPoints(), 0u);
    EXPECT_EQ(hrtf.GetPoints().size(), hrtf.GetNumPoints());
    hrtf.GetNearestHrtfPoint({0.f, 1.f, 0.f});
    throw;
  }
  hrtf.GetNearestHrtfPoint({0.f, 1.f, 0.f});
  return hrtf.GetNumPoints() > 0;
}

zorvtest::FuzzResult fuzz(std::vector<unsigned char> const& seed, char const* extension,
                          std::size_t mutations, bool allTruncations) {
  zorvtest::FuzzOptions options;
  options.extension = extension;
  options.mutations = zorvtest::FuzzMutationsFromEnvironment(mutations);
  options.allTruncations = allTruncations;
  Hrtf hrtf("");
  zorvtest::FuzzResult const r = zorvtest::FuzzLoads(
      {seed}, [&hrtf](std::string const& path) { return loadInto(hrtf, path); }, options);
  EXPECT_EQ(r.failures, 0u);
  EXPECT_GT(r.refused, 0u);  // the damage reached the checks
  return r;
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
  zorvtest::ScratchFile const valid("valid.hrtf");
  file.Write(valid.path);
  zorvtest::FuzzResult const r = fuzz(zorvtest::ReadFileBytes(valid.path), ".hrtf", 1500, true);
  EXPECT_GT(r.accepted, 0u);
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
  fuzz(std::vector<unsigned char>(text.begin(), text.end()), ".coll", 150, false);
}

TEST(HrtfFuzz, DamagedSofaFiles) {
  std::vector<unsigned char> const kemar =
      zorvtest::ReadFileBytes("/usr/share/libmysofa/MIT_KEMAR_normal_pinna.sofa");
  if (kemar.empty()) GTEST_SKIP() << "no KEMAR SOFA file (Debian package libmysofa1)";
  fuzz(kemar, ".sofa", 12, false);
}

}  // namespace
