// Compensation sets: .near files written by our SDIF writer load back
// exactly, names are checked without regard to case, and files of the wrong
// kind or shape are refused with a text.

#include <gtest/gtest.h>
#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include "NolarException.h"
#include "ZorvHrtfSdifFileWriter.h"
#include "ZorvNearfieldCompensationFilters.h"

namespace {

using nolardsp::CartesianVector;
using Zorv::NearfieldCompensationFilters;

// A set made in memory, to be written by the SDIF writer.
class MemorySet : public Zorv::HrtfData {
 public:
  MemorySet(Zorv::HrtfHeaderInfos h, std::vector<Zorv::HrtfPoint> p) {
    install(std::move(h), std::move(p), "memory");
  }
  void LoadFromFile(char const*) override {}
};

std::string tempPath(std::string const& name) {
  return ::testing::TempDir() + std::to_string(getpid()) + "-" + name;
}

// Points on rings in the horizontal plane, each a gain and one biquad
// section per ear.
MemorySet makeSet(std::vector<float> const& radii, Zorv::HrtfType type) {
  Zorv::HrtfHeaderInfos h;
  h.hrtfType = type;
  h.filterType = Zorv::BiquadCells;
  h.numChannels = 2;
  h.numCoefficients = 5;
  h.sampleRate = 48000;
  h.owner = "zorv tests";
  std::vector<Zorv::HrtfPoint> points;
  for (float r : radii) {
    for (int a = 0; a < 8; ++a) {
      Zorv::HrtfPoint p;
      float const angle = 0.785398163f * static_cast<float>(a);
      p.position = CartesianVector(r * std::sin(angle), r * std::cos(angle), 0.f);
      p.numChannels = 2;
      p.numCoefficients = 5;
      p.index = static_cast<uint32_t>(points.size());
      p.coefficients = {1.f + r,       0.1f * r, -0.2f, -0.5f * r, 0.25f,
                        1.f / (1 + r), 0.f,      0.3f,  0.1f,      0.2f * r};
      points.push_back(p);
    }
  }
  h.numPoints = static_cast<uint32_t>(points.size());
  return MemorySet(h, points);
}

TEST(NearfieldCompensationFilters, ANearFileOfOurWriterLoadsBackExactly) {
  MemorySet const set = makeSet({0.25f, 0.5f, 1.f}, Zorv::NearfieldCompensationFilter);
  std::string const path = tempPath("round-trip.NEAR");
  Zorv::HrtfSdifFileWriter::Write(set, path, "test");
  NearfieldCompensationFilters loaded(path.c_str());
  Zorv::HrtfHeaderInfos const& h = *loaded.GetHrtfHeaderInfos();
  EXPECT_EQ(h.hrtfType, Zorv::NearfieldCompensationFilter);
  EXPECT_EQ(h.numPoints, 24u);
  EXPECT_EQ(h.owner, "zorv tests");
  ASSERT_EQ(loaded.GetPoints().size(), set.GetPoints().size());
  for (std::size_t k = 0; k < set.GetPoints().size(); ++k) {
    Zorv::HrtfPoint const& a = set.GetPoints()[k];
    Zorv::HrtfPoint const& b = loaded.GetPoints()[k];
    EXPECT_EQ(a.coefficients, b.coefficients) << k;
    EXPECT_EQ(a.position.x, b.position.x);
    EXPECT_EQ(a.position.y, b.position.y);
    EXPECT_EQ(a.position.z, b.position.z);
  }
  EXPECT_FLOAT_EQ(loaded.GetMaxDistance(), 1.f);
  std::remove(path.c_str());
}

TEST(NearfieldCompensationFilters, OtherNamesAndBrokenFilesAreRefused) {
  // The empty path loads nothing: no points, and a maximum distance of 0.
  NearfieldCompensationFilters empty("");
  EXPECT_EQ(empty.GetNumPoints(), 0u);
  EXPECT_EQ(empty.GetMaxDistance(), 0.f);
  EXPECT_EQ(empty.GetHrtfHeaderInfos()->symmetrization, "true");
  try {
    NearfieldCompensationFilters wrong("set.hrtf");
    FAIL();
  } catch (nolardsp::Exception const& e) {
    EXPECT_NE(std::string(e.what()).find("invalid file extension set.hrtf"), std::string::npos);
  }
  EXPECT_THROW(NearfieldCompensationFilters("/nonexistent/set.near"), nolardsp::Exception);
  std::string const garbage = tempPath("garbage.near");
  std::FILE* f = std::fopen(garbage.c_str(), "wb");
  std::fputs("SDIF this is not a set", f);
  std::fclose(f);
  EXPECT_THROW(NearfieldCompensationFilters(garbage.c_str()), nolardsp::Exception);
  std::remove(garbage.c_str());
}

}  // namespace

namespace {

// The built-in set by its names, and written out as a .near file by our
// writer: it loads back exactly.
TEST(NearfieldCompensationFilters, TheBuiltInSetRoundTripsThroughANearFile) {
  NearfieldCompensationFilters builtIn("kemar");
  EXPECT_EQ(builtIn.GetHrtfHeaderInfos()->hrtfType, Zorv::NearfieldCompensationFilter);
  EXPECT_EQ(builtIn.GetHrtfHeaderInfos()->filterType, Zorv::BiquadCells);
  EXPECT_EQ(builtIn.GetHrtfHeaderInfos()->numChannels, 2u);
  EXPECT_GT(builtIn.GetNumPoints(), 0u);
  EXPECT_NEAR(builtIn.GetMaxDistance(), 2.f, 1e-5f);
  EXPECT_EQ(NearfieldCompensationFilters("KEMAR").GetNumPoints(), builtIn.GetNumPoints());
  std::string const path = tempPath("built-in.near");
  Zorv::HrtfSdifFileWriter::Write(builtIn, path, "test");
  NearfieldCompensationFilters loaded(path.c_str());
  ASSERT_EQ(loaded.GetNumPoints(), builtIn.GetNumPoints());
  for (std::size_t k = 0; k < builtIn.GetPoints().size(); ++k) {
    EXPECT_EQ(loaded.GetPoints()[k].coefficients, builtIn.GetPoints()[k].coefficients) << k;
  }
  std::remove(path.c_str());
}

}  // namespace
