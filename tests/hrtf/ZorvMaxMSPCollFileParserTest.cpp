#include "ZorvMaxMSPCollFileParser.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <locale>
#include <sstream>
#include <string>

#include "NolarException.h"
#include "ZorvHrtf.h"
#include "ZorvHrtf2bKemar44100.h"
#include "ZorvHrtfTestFiles.h"

namespace {

using Zorv::Hrtf;
using Zorv::MaxMSPCollFileParser;
using zorvtest::ScratchFile;

// The built-in table as a .coll file: "index, delay gain b1 b2 a1 a2 ...;".
std::string kemarColl(int dropRow = -1, int shortRow = -1) {
  std::ostringstream out;
  out.imbue(std::locale::classic());
  out.precision(9);
  for (int r = 0; r < 710; ++r) {
    if (r == dropRow) continue;
    out << (r + 1) << ",";
    int const columns = r == shortRow ? 20 : 26;
    for (int c = 0; c < columns; ++c) out << " " << Zorv::hrtf_2b_KEMAR_44100[r][c];
    out << ";" << (r % 3 == 0 ? "\r\n" : "\n");
  }
  return out.str();
}

std::string loadError(Hrtf& hrtf, std::string const& path) {
  try {
    hrtf.LoadFromFile(path.c_str());
  } catch (nolardsp::Exception const& e) {
    return e.GetMessage();
  }
  return "loaded";
}

TEST(MaxMSPCollFileParser, TakesRowsInOrderAndSkipsTheRest) {
  std::istringstream in(
      "  1, 0.5 2 3;  \n"
      "\n"
      "2, 4 5 6 7;\n"  // stops at the 3 columns of row 1
      "4, 1 1 1;\n"    // not 3: dropped
      "3 4 5 6;\n"     // no comma
      "3, 8 9\n"       // no semicolon
      "x, 1 2 3;\n"    // no index
      "3, 10;\r"       // fewer is allowed
      "4, -1.5e2 0 0;");
  MaxMSPCollFileParser const coll(in);
  EXPECT_EQ(coll.numColumns, 3u);
  EXPECT_EQ(coll.numRows, 4u);
  EXPECT_EQ(coll.rows.at(1), (std::vector<float>{0.5f, 2.f, 3.f}));
  EXPECT_EQ(coll.rows.at(2), (std::vector<float>{4.f, 5.f, 6.f}));
  EXPECT_EQ(coll.rows.at(3), (std::vector<float>{10.f}));
  EXPECT_EQ(coll.rows.at(4), (std::vector<float>{-150.f, 0.f, 0.f}));
}

TEST(MaxMSPCollFileParser, FileNamesCarrySubjectAndRate) {
  EXPECT_EQ(MaxMSPCollFileParser::GetSamplingRateFromCollFileName("set-kemar-48000.coll", 0),
            48000u);
  EXPECT_EQ(MaxMSPCollFileParser::GetSamplingRateFromCollFileName("set.coll", 7), 7u);
  EXPECT_EQ(MaxMSPCollFileParser::GetSamplingRateFromCollFileName("a-b-c.coll", 7), 7u);
  // The subject runs from behind the first '-' for as many characters as
  // stand before it: a display text only.
  EXPECT_EQ(MaxMSPCollFileParser::GetSubjectFromCollFilename("hrtf-kemar-44100.coll", "?"), "kema");
  EXPECT_EQ(MaxMSPCollFileParser::GetSubjectFromCollFilename("nodash.coll", "?"), "?");
}

// A .coll file written from the built-in table loads to the built-in set,
// also when the process's locale writes numbers with a decimal comma.
TEST(HrtfColl, BuiltInTableAsCollLoadsEqualToTheDefault) {
  struct CommaDecimal : std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
  };
  std::locale const previous =
      std::locale::global(std::locale(std::locale::classic(), new CommaDecimal));
  ScratchFile const path("hrtf-kemar-44100.coll");
  zorvtest::WriteText(path.path, kemarColl());
  Hrtf const* loaded = nullptr;
  EXPECT_NO_THROW(loaded = new Hrtf(path.c_str()));
  std::locale::global(previous);
  ASSERT_NE(loaded, nullptr);
  Hrtf const builtIn("");
  ASSERT_EQ(loaded->GetNumPoints(), 710u);
  auto const* h = loaded->GetHrtfHeaderInfos();
  EXPECT_EQ(h->sampleRate, 44100u);
  EXPECT_EQ(h->owner, "NOLAR");
  EXPECT_EQ(h->numCoefficients, 25u);
  for (std::size_t k = 0; k < 710; ++k) {
    auto const& a = loaded->GetPoints()[k];
    auto const& b = builtIn.GetPoints()[k];
    ASSERT_EQ(a.coefficients, b.coefficients) << k;
    EXPECT_EQ(a.itd, b.itd);
    EXPECT_EQ(a.position.x, b.position.x);
    EXPECT_EQ(a.position.y, b.position.y);
    EXPECT_EQ(a.position.z, b.position.z);
  }
  delete loaded;
}

TEST(HrtfColl, RefusalsKeepTheSetInUse) {
  Hrtf hrtf("", 48000);
  auto const before = hrtf.GetPoints()[100].coefficients;
  struct Case {
    std::string text;
    char const* expect;
  };
  Case const cases[] = {
      {kemarColl(300), "not enough measures"},  // a row missing: the rest is dropped
      {kemarColl(-1, 500), "too few numbers in row 501"},
      {"1, 1 2 3;\n2, 4 5 6;\n", "the number of coefficients doesn't match"},
  };
  int n = 0;
  for (Case const& c : cases) {
    ScratchFile const path("refused-" + std::to_string(n++) + ".COLL");
    zorvtest::WriteText(path.path, c.text);
    EXPECT_EQ(loadError(hrtf, path.path).find(c.expect), 0u) << c.expect;
    EXPECT_EQ(hrtf.GetHrtfHeaderInfos()->sampleRate, 48000u);
    EXPECT_EQ(hrtf.GetPoints()[100].coefficients, before);
  }
  EXPECT_EQ(loadError(hrtf, "/nonexistent/folder/set.coll").find("can't open the file "), 0u);
}

}  // namespace
