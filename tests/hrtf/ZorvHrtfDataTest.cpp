#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "NolarException.h"
#include "NolarSdifUtils.h"
#include "ZorvHrtf.h"
#include "ZorvHrtfTestFiles.h"

namespace {

using nolardsp::eFloat4;
using nolardsp::eFloat8;
using Zorv::Hrtf;
using zorvtest::HrtfFileContents;
using zorvtest::HrtfFrame;
using zorvtest::HrtfMatrix;
using zorvtest::ScratchFile;

constexpr uint32_t kChannels = 2;
double const kNaN = std::numeric_limits<double>::quiet_NaN();

// One point of a hand-made set, as written.
struct WrittenPoint {
  float a, b, c;  // x, y, z or azimuth, elevation, distance
  float itd;
  std::vector<float> coefficients;
};

// A stable section: poles and zeros inside radius 0.9.
void randomBiquads(std::mt19937& rng, std::vector<float>& out, uint32_t length) {
  std::uniform_real_distribution<float> u(-0.9f, 0.9f);
  out.assign(std::size_t(length) * kChannels, 0.f);
  for (uint32_t c = 0; c < kChannels; ++c) {
    float* p = out.data() + std::size_t(c) * length;
    p[0] = 0.5f + 0.5f * std::fabs(u(rng));
    for (uint32_t s = 0; s < (length - 1) / 4; ++s) {
      float const r = 0.9f * std::fabs(u(rng)), w = 3.f * std::fabs(u(rng));
      p[1 + 4 * s] = u(rng);
      p[2 + 4 * s] = 0.8f * u(rng);
      p[3 + 4 * s] = -2.f * r * std::cos(w);
      p[4 + 4 * s] = r * r;
    }
  }
}

std::string loadError(Hrtf& hrtf, std::string const& path) {
  try {
    hrtf.LoadFromFile(path.c_str());
  } catch (nolardsp::Exception const& e) {
    return e.GetMessage();
  }
  return "loaded";
}

// Files written by our SDIF writer load back to exactly the points written:
// FIR and biquad sets, positions as XCAR or XAED, values of 32- and 64-bit
// floats, frames in shuffled order of their IDs.
class HrtfFileRoundTrip : public ::testing::TestWithParam<std::tuple<bool, bool, bool>> {};

TEST_P(HrtfFileRoundTrip, LoadsExactlyThePointsWritten) {
  bool const fir = std::get<0>(GetParam());
  bool const cartesian = std::get<1>(GetParam());
  bool const doubles = std::get<2>(GetParam());
  uint32_t const length = fir ? 32 : 25;
  uint32_t const count = 97;
  std::mt19937 rng(fir * 4 + cartesian * 2 + doubles);
  std::uniform_real_distribution<float> u(-1.f, 1.f);

  std::vector<WrittenPoint> written(count);
  HrtfFileContents file;
  file.Set("FiltersType", fir ? "FIR" : "BiquadCells");
  file.Set("NumPoints", std::to_string(count));
  file.Set("FiltersLength", std::to_string(length));
  for (uint32_t k = 0; k < count; ++k) {
    WrittenPoint& w = written[k];
    if (cartesian) {
      w.a = 2.f * u(rng), w.b = 2.f * u(rng), w.c = 2.f * u(rng);
    } else {
      w.a = 400.f * u(rng), w.b = 120.f * u(rng), w.c = 1.5f + u(rng);
    }
    w.itd = fir ? 0.f : 0.7f * u(rng);
    if (fir) {
      w.coefficients.resize(std::size_t(length) * kChannels);
      for (float& v : w.coefficients) v = u(rng);
    } else {
      randomBiquads(rng, w.coefficients, length);
    }
    HrtfFrame frame{k + 1, {}};
    auto const type = doubles ? eFloat8 : eFloat4;
    frame.matrices.push_back(
        {cartesian ? "XCAR" : "XAED", type, 1, 3, {double(w.a), double(w.b), double(w.c)}});
    if (!fir) frame.matrices.push_back({"XITD", type, 1, 1, {double(w.itd)}});
    frame.matrices.push_back({fir ? "XFIR" : "XIIR", type, kChannels, length,
                              std::vector<double>(w.coefficients.begin(), w.coefficients.end())});
    file.frames.push_back(frame);
  }
  std::shuffle(file.frames.begin(), file.frames.end(), rng);
  ScratchFile const path("roundtrip.hrtf");
  file.Write(path.path);

  Hrtf const hrtf(path.c_str());
  auto const* h = hrtf.GetHrtfHeaderInfos();
  EXPECT_EQ(h->numPoints, count);
  EXPECT_EQ(h->numCoefficients, length);
  EXPECT_EQ(h->filterType, fir ? Zorv::FIR : Zorv::BiquadCells);
  EXPECT_EQ(h->subject, "test head");
  EXPECT_EQ(h->generated, "by a test");
  ASSERT_EQ(hrtf.GetPoints().size(), count);
  for (uint32_t k = 0; k < count; ++k) {
    Zorv::HrtfPoint const& p = hrtf.GetPoints()[k];
    WrittenPoint const& w = written[k];
    nolardsp::CartesianVector const expect =
        cartesian ? nolardsp::CartesianVector(w.a, w.b, w.c)
                  : nolardsp::SdifUtils::AedToCartesian(w.a, w.b, w.c, true);
    EXPECT_EQ(p.position.x, expect.x) << k;
    EXPECT_EQ(p.position.y, expect.y) << k;
    EXPECT_EQ(p.position.z, expect.z) << k;
    EXPECT_EQ(p.itd, w.itd);
    EXPECT_EQ(p.index, k);
    EXPECT_EQ(p.coefficients, w.coefficients) << k;
    // And the search finds each point at its own place.
    EXPECT_EQ(hrtf.GetNearestHrtfPoint(p.position).position.x, p.position.x);
  }
}

INSTANTIATE_TEST_SUITE_P(FilterPositionAndDataType, HrtfFileRoundTrip,
                         ::testing::Combine(::testing::Bool(), ::testing::Bool(),
                                            ::testing::Bool()));

// One small biquad set of three points, valid as written; each refusal below
// changes one thing.
HrtfFileContents threeBiquadPoints() {
  HrtfFileContents file;
  file.Set("FiltersType", "BiquadCells");
  file.Set("NumPoints", "3");
  file.Set("FiltersLength", "5");
  std::vector<double> const filters = {1.0, 0.1, 0.2, -0.5, 0.25, 0.9, 0.0, 0.0, 0.3, 0.02};
  for (uint32_t id = 1; id <= 3; ++id) {
    file.frames.push_back({id,
                           {{"XAED", eFloat4, 1, 3, {-30.0 * id, 0.0, 1.0}},
                            {"XITD", eFloat4, 1, 1, {-0.1 * id}},
                            {"XIIR", eFloat4, 2, 5, filters}}});
  }
  return file;
}

TEST(HrtfFile, SmallDetailsOfTheLayout) {
  ScratchFile const path("details.HRTF");  // upper-case extension
  HrtfFileContents file = threeBiquadPoints();
  file.Set("FiltersType", "Biquads");
  // XCAR after XAED in one frame: the later wins.
  file.frames[1].matrices.push_back({"XCAR", eFloat8, 1, 3, {0.25, 0.5, 0.75}});
  file.Write(path.path);
  Hrtf const hrtf(path.c_str());
  auto const& pts = hrtf.GetPoints();
  ASSERT_EQ(pts.size(), 3u);
  EXPECT_EQ(hrtf.GetHrtfHeaderInfos()->filterType, Zorv::BiquadCells);
  EXPECT_LT(pts[0].position.x, -0.4f);  // azimuth -30: left of the front
  EXPECT_GT(pts[0].position.y, 0.8f);
  EXPECT_EQ(pts[1].position.x, 0.25f);
  EXPECT_EQ(pts[1].position.z, 0.75f);
  EXPECT_FLOAT_EQ(pts[2].itd, -0.3f);
}

// Each fault is refused with its own text, and the set in use stays.
TEST(HrtfFile, RefusalsNameTheFaultAndKeepTheSetInUse) {
  struct Case {
    char const* expect;
    void (*change)(HrtfFileContents&);
  };
  Case const cases[] = {
      {"invalid header ", [](HrtfFileContents& f) { f.Remove("Copyright"); }},
      {"invalid header ", [](HrtfFileContents& f) { f.Set("SamplingRate", "-1"); }},
      {"no HRTF points in ", [](HrtfFileContents& f) { f.Set("NumPoints", "0"); }},
      {"no HRTF points in ", [](HrtfFileContents& f) { f.Set("NumPoints", "many"); }},
      {"a binaural HRTF set needs 2 channels, not 1",
       [](HrtfFileContents& f) {
         f.Set("NumChannels", "1");
         for (auto& fr : f.frames) fr.matrices[2].rows = 1, fr.matrices[2].values.resize(5);
       }},
      {"HRTF filters of length 0 in ",
       [](HrtfFileContents& f) {
         f.Set("FiltersLength", "0");
         for (auto& fr : f.frames) fr.matrices.pop_back();
       }},
      {"invalid number of HRTF frames ? ", [](HrtfFileContents& f) { f.frames.pop_back(); }},
      {"too many HRTF frames ? ", [](HrtfFileContents& f) { f.frames[0].id = 0; }},
      {"too many HRTF frames ? ", [](HrtfFileContents& f) { f.frames[0].id = 4; }},
      {"exception reading XCAR matrix ",
       [](HrtfFileContents& f) {
         f.frames[1].matrices.push_back({"XCAR", eFloat4, 2, 3, {0, 1, 0, 1, 0, 0}});
       }},
      {"Invalid XIIR matrix",
       [](HrtfFileContents& f) {
         f.frames[2].matrices[2] = {"XIIR", eFloat4, 2, 4, std::vector<double>(8, 0.0)};
       }},
      {"XITD matrix with FIR filters ? ", [](HrtfFileContents& f) { f.Set("FiltersType", "FIR"); }},
      {"unexpected XFIR matrix ? ",
       [](HrtfFileContents& f) { f.frames[0].matrices[2].signature = "XFIR"; }},
      {"non-finite position of HRTF point 2",
       [](HrtfFileContents& f) { f.frames[1].matrices[0].values[0] = kNaN; }},
      {"non-finite ITD of HRTF point 3",
       [](HrtfFileContents& f) { f.frames[2].matrices[1].values[0] = 1e300; }},
      {"non-finite coefficient of HRTF point 1",
       [](HrtfFileContents& f) { f.frames[0].matrices[2].values[6] = kNaN; }},
      {"unstable biquad section 1 of channel 2 of HRTF point 1",
       [](HrtfFileContents& f) { f.frames[0].matrices[2].values[9] = 1.0; }},
      {"biquad filters need a gain and 4 values a section",
       [](HrtfFileContents& f) {
         f.Set("FiltersLength", "4");
         for (auto& fr : f.frames) fr.matrices[2] = {"XIIR", eFloat4, 2, 4, std::vector<double>(8)};
       }},
      {"the header declares more points than the file holds",
       [](HrtfFileContents& f) { f.Set("NumPoints", "100000000"); }},
      {"the header declares more filter data than the file holds",
       [](HrtfFileContents& f) { f.Set("FiltersLength", "4000001"); }},
      // A matrix that the frame type does not list is reported by the reader.
      {"error reading file ",
       [](HrtfFileContents& f) {
         f.types += "1MTD XOTH {v}\n";
         f.frames[0].matrices.push_back({"XOTH", eFloat4, 1, 1, {1.0}});
       }},
  };
  Hrtf hrtf("");
  Zorv::HrtfPoint const before = hrtf.GetPoints()[278];
  int n = 0;
  for (Case const& c : cases) {
    HrtfFileContents file = threeBiquadPoints();
    c.change(file);
    ScratchFile const path("refused-" + std::to_string(n++) + ".hrtf");
    file.Write(path.path);
    std::string const text = loadError(hrtf, path.path);
    EXPECT_EQ(text.find(c.expect), 0u) << "got: " << text;
    EXPECT_EQ(hrtf.GetNumPoints(), 710u);
    EXPECT_EQ(hrtf.GetPoints()[278].coefficients, before.coefficients);
    EXPECT_EQ(hrtf.GetNearestHrtfPoint(before.position).index, 278u);
  }

  // Not SDIF at all, and a file cut short.
  ScratchFile const text("not-sdif.hrtf");
  zorvtest::WriteText(text.path, "hello");
  EXPECT_EQ(loadError(hrtf, text.path).find("invalid file "), 0u);
  ScratchFile const cut("cut.hrtf");
  threeBiquadPoints().Write(cut.path);
  std::vector<unsigned char> bytes = zorvtest::ReadFileBytes(cut.path);
  bytes.resize(bytes.size() - 20);
  zorvtest::WriteFileBytes(cut.path, bytes);
  EXPECT_EQ(loadError(hrtf, cut.path).find("error reading file "), 0u);
  EXPECT_EQ(hrtf.GetNumPoints(), 710u);
}

TEST(HrtfFile, AValidFileAfterARefusalLoads) {
  Hrtf hrtf("");
  ScratchFile const path("valid.hrtf");
  threeBiquadPoints().Write(path.path);
  hrtf.LoadFromFile(path.c_str());
  EXPECT_EQ(hrtf.GetNumPoints(), 3u);
  EXPECT_EQ(hrtf.GetNearestHrtfPoint({-1.f, 0.f, 0.f}).index, 2u);  // azimuth -90
}

}  // namespace
