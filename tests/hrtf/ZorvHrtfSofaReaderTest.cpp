#include "ZorvHrtfSofaReader.h"

#include <gtest/gtest.h>
#include <mysofa.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "NolarException.h"
#include "ZorvHrtf.h"
#include "ZorvHrtfSdifFileWriter.h"
#include "ZorvHrtfTestFiles.h"

namespace {

using Zorv::Hrtf;
using zorvtest::ScratchFile;

constexpr char const* kKemarSofa = "/usr/share/libmysofa/MIT_KEMAR_normal_pinna.sofa";

struct SofaFree {
  void operator()(MYSOFA_HRTF* h) const { mysofa_free(h); }
};

std::unique_ptr<MYSOFA_HRTF, SofaFree> loadRaw(float rate = 0.f) {
  int err = 0;
  std::unique_ptr<MYSOFA_HRTF, SofaFree> h(mysofa_load(kKemarSofa, &err));
  if (h && rate > 0.f) mysofa_resample(h.get(), rate);
  return h;
}

std::string loadError(Hrtf& hrtf, std::string const& path) {
  try {
    hrtf.LoadFromFile(path.c_str());
  } catch (nolardsp::Exception const& e) {
    return e.GetMessage();
  }
  return "loaded";
}

class HrtfSofa : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!loadRaw()) GTEST_SKIP() << kKemarSofa << " is missing (Debian package libmysofa1)";
  }
};

// The KEMAR file: receiver 0 is at +y (SOFA's left), azimuths grow
// counter-clockwise and positions are in metres (1.4 m). Its taps reach the
// set unchanged, through a .hrtf file too, bit for bit; the ITDs, estimated
// from the responses since the file's delays are 0, agree with the built-in
// table's, which the same method made.
TEST_F(HrtfSofa, KemarLoadsAsAnFirSetAndSurvivesTheRoundTripThroughAHrtfFile) {
  auto const raw = loadRaw();
  Hrtf const sofa(kKemarSofa);
  auto const* h = sofa.GetHrtfHeaderInfos();
  ASSERT_EQ(h->numPoints, 710u);
  EXPECT_EQ(h->filterType, Zorv::FIR);
  EXPECT_EQ(h->numCoefficients, 512u);
  EXPECT_EQ(h->sampleRate, 44100u);
  EXPECT_EQ(h->subject, "KEMAR, normal pinna");

  ScratchFile const path("kemar.hrtf");
  Zorv::HrtfSdifFileWriter::Write(sofa, path.path, "test");
  Hrtf const again(path.c_str());
  ASSERT_EQ(again.GetNumPoints(), 710u);

  Hrtf const builtIn("");
  for (std::size_t k = 0; k < 710; ++k) {
    float const* ir = raw->DataIR.values + k * 2 * 512;
    for (Hrtf const* set : {&sofa, &again}) {
      auto const& p = set->GetPoints()[k];
      ASSERT_EQ(std::memcmp(p.coefficients.data(), ir, 2 * 512 * sizeof(float)), 0) << k;
      EXPECT_EQ(p.position.x, sofa.GetPoints()[k].position.x);
    }
    auto const& p = sofa.GetPoints()[k];
    // Same direction as the built-in point, 1.4 m out.
    EXPECT_NEAR(p.position.x, 1.4f * builtIn.GetPoints()[k].position.x, 1e-5f) << k;
    EXPECT_NEAR(p.position.y, 1.4f * builtIn.GetPoints()[k].position.y, 1e-5f) << k;
    EXPECT_NEAR(p.position.z, 1.4f * builtIn.GetPoints()[k].position.z, 1e-5f) << k;
    EXPECT_NEAR(p.itd, builtIn.GetPoints()[k].itd, 0.002f) << k;
  }
}

// At another rate libmysofa resamples on open: 512 taps at 44100 Hz become
// 558 at 48000, the same taps as libmysofa's own resampling.
TEST_F(HrtfSofa, ResamplesToTheRunningRate) {
  auto const raw = loadRaw(48000.f);
  ASSERT_EQ(raw->N, 558u);
  Hrtf const sofa(kKemarSofa, 48000);
  auto const* h = sofa.GetHrtfHeaderInfos();
  EXPECT_EQ(h->sampleRate, 48000u);
  ASSERT_EQ(h->numCoefficients, 558u);
  EXPECT_EQ(std::memcmp(sofa.GetPoints()[278].coefficients.data(),
                        raw->DataIR.values + 278 * 2 * 558, 2 * 558 * sizeof(float)),
            0);
  EXPECT_LT(sofa.GetPoints()[278].itd, -0.65f);  // 90 degrees left
  EXPECT_GT(sofa.GetPoints()[314].itd, 0.65f);
}

TEST_F(HrtfSofa, UnreadableOrNonConformingFilesAreRefused) {
  Hrtf hrtf("");
  auto const before = hrtf.GetPoints()[5].coefficients;
  ScratchFile const text("text.sofa");
  zorvtest::WriteText(text.path, "not a SOFA file at all");
  EXPECT_EQ(loadError(hrtf, text.path).find("couldnt read SOFA file "), 0u);
  EXPECT_EQ(loadError(hrtf, "/nonexistent.sofa").find("couldnt read SOFA file "), 0u);
  // The KEMAR file cut in half.
  std::vector<unsigned char> bytes = zorvtest::ReadFileBytes(kKemarSofa);
  bytes.resize(bytes.size() / 2);
  ScratchFile const cut("cut.SOFA");
  zorvtest::WriteFileBytes(cut.path, bytes);
  EXPECT_NE(loadError(hrtf, cut.path), "loaded");
  // Rates that cannot be resampled to.
  Zorv::Hrtf other("");
  try {
    other.LoadFromSofa(kKemarSofa, 100);
    ADD_FAILURE() << "loaded at 100 Hz";
  } catch (nolardsp::Exception const& e) {
    EXPECT_EQ(e.GetMessage().find("couldnt resample SOFA file to 100 Hz"), 0u);
  }
  EXPECT_EQ(hrtf.GetNumPoints(), 710u);
  EXPECT_EQ(hrtf.GetHrtfHeaderInfos()->filterType, Zorv::BiquadCells);
  EXPECT_EQ(hrtf.GetPoints()[5].coefficients, before);
}

}  // namespace
