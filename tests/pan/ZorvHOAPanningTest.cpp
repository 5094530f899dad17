// The ambisonic encoders as panners: channel counts, conventions, the signal
// after the ramp, and the reports.

#include "ZorvHOAPanning.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "NolarConstants.h"
#include "ZorvAmbisonicPanning.h"
#include "ZorvHOA2DPanning.h"
#include "ZorvHOA3DPanning.h"
#include "ZorvHOADecoder.h"
#include "ZorvNullPanning.h"
#include "ZorvPan.h"
#include "ZorvTestAllocationCounter.h"
#include "ZorvTestSphericalHarmonicReference.h"
#include "ZorvUserAngles.h"

namespace {

using nolardsp::CartesianVector;
using SH = nolardsp::SphericalHarmonic;
using Zorv::HOAPanning;
using Zorv::Pan;

std::unique_ptr<Pan> make(char const* type, unsigned int inputs, unsigned int outputs) {
  return std::unique_ptr<Pan>(Pan::Factory(inputs, outputs, type, "direct"));
}

bool isNull(Pan const* p) {
  return dynamic_cast<Zorv::NullPanning const*>(p) != nullptr;
}

unsigned int orderOf(Pan const* p) {
  auto const* hoa = dynamic_cast<HOAPanning const*>(p);
  return hoa != nullptr ? hoa->GetOrder() : 999u;
}

// A source given as the user gives it: degrees, azimuth 0 in front and
// growing clockwise, elevation up.
CartesianVector userDirection(float azimuthDegrees, float elevationDegrees, float distance) {
  float const a = Zorv::UserAzimuthToInternal(azimuthDegrees);
  float const e = elevationDegrees * 0.017453292f;
  return CartesianVector(distance * std::cos(e) * std::cos(a), distance * std::cos(e) * std::sin(a),
                         distance * std::sin(e));
}

// Runs a DC of 1 on input 0 (the others silent) until well past two ramp
// periods, and returns the last sample of every output.
std::vector<float> settledOutputs(Pan& pan, unsigned int inputs, unsigned int outputs) {
  unsigned int const block = 64;
  pan.Configure(48000.f, block, true);
  std::vector<std::vector<float>> in(inputs, std::vector<float>(block, 0.f));
  std::fill(in[0].begin(), in[0].end(), 1.f);
  std::vector<std::vector<float>> out(outputs, std::vector<float>(block, 0.f));
  std::vector<float*> ins, outs;
  for (auto& c : in) ins.push_back(c.data());
  for (auto& c : out) outs.push_back(c.data());
  for (int b = 0; b < 80; ++b) {
    pan.Process(outs.data(), ins.data(), block, nolardsp::allActiveInputs);
  }
  std::vector<float> last(outputs);
  for (unsigned int j = 0; j < outputs; ++j) last[j] = out[j][block - 1];
  return last;
}

// The components of a 3-D vector in a sorting.
std::vector<std::pair<unsigned int, int>> layout3D(unsigned int order, SH::Sorting sorting) {
  std::vector<std::pair<unsigned int, int>> lm;
  for (unsigned int l = 0; l <= order; ++l) {
    if (sorting == SH::AlternateDegrees) {
      for (int m : zorvtest::AlternateOrder(l)) lm.emplace_back(l, m);
    } else {
      for (int m = -static_cast<int>(l); m <= static_cast<int>(l); ++m) lm.emplace_back(l, m);
    }
  }
  return lm;
}

TEST(HOAPanningCreate, OrderFollowsTheNumberOfOutputs) {
  struct Case {
    char const* type;
    unsigned int outputs;
    unsigned int order;  // 999: no panner
  };
  Case const cases[] = {{"hoa3d", 4, 1},    {"hoa3d", 9, 2},   {"hoa3d", 16, 3},
                        {"hoa3D", 25, 4},   {"hoa", 36, 5},    {"ambisonic", 64, 7},
                        {"hoa3d", 8, 999},  {"hoa3d", 1, 999}, {"hoa3d", 0, 999},
                        {"hoa3d", 15, 999}, {"hoa2d", 1, 0},   {"hoa2d", 3, 1},
                        {"hoa2D", 5, 2},    {"hoa2d", 7, 3},   {"hoa2d", 4, 999},
                        {"hoa2d", 0, 999},  {"hoa2d", 53, 26}};
  for (Case const& c : cases) {
    auto const pan = make(c.type, 2, c.outputs);
    if (c.order == 999) {
      EXPECT_TRUE(isNull(pan.get())) << c.type << " " << c.outputs;
    } else {
      ASSERT_FALSE(isNull(pan.get())) << c.type << " " << c.outputs;
      EXPECT_EQ(orderOf(pan.get()), c.order) << c.type << " " << c.outputs;
      EXPECT_EQ(pan->GetNumOutputs(), c.outputs);
    }
  }
  // Counts near the top of the range are answered at once, not by a long
  // search for their square root.
  for (unsigned int outputs : {4294967295u, 4294967291u}) {
    EXPECT_TRUE(isNull(std::unique_ptr<Pan>(Zorv::HOA3DPanning::Create(1, outputs)).get()))
        << outputs;
  }
  for (unsigned int outputs : {0u, 1u, 2u, 5u, 9u}) {
    EXPECT_TRUE(isNull(make("bformat", 1, outputs).get())) << outputs;
  }
  EXPECT_NE(dynamic_cast<Zorv::AmbisonicPanning*>(make("bformat", 1, 3).get()), nullptr);
  EXPECT_NE(dynamic_cast<Zorv::AmbisonicPanning*>(make("bformat", 1, 4).get()), nullptr);
}

TEST(HOAPanningCreate, DefaultsAreSemiNormalisedInIncreasingDegrees) {
  auto const three = make("hoa3d", 1, 9);
  auto const two = make("hoa2d", 1, 5);
  HOAPanning::HOAPannerInfos infos;
  dynamic_cast<HOAPanning&>(*three).GetPannerInfos(infos);
  EXPECT_EQ(infos.order, 2u);
  EXPECT_EQ(infos.normalization, SH::SchmidtSeminormalized3D);
  EXPECT_EQ(infos.sorting, SH::IncreasingDegrees);
  dynamic_cast<HOAPanning&>(*two).GetPannerInfos(infos);
  EXPECT_EQ(infos.order, 2u);
  EXPECT_EQ(infos.normalization, SH::SchmidtSeminormalized2D);
  EXPECT_EQ(infos.sorting, SH::IncreasingDegrees);
}

// The whole path: a DC input, a source placed with the user's angles, the
// ramp, and the outputs equal to the encoding vector of that direction in the
// selected convention.
TEST(HOA3DPanningSignal, DcSettlesOnTheEncodingVectorOfTheUserDirection) {
  struct Direction {
    float azimuth, elevation;
  };
  Direction const directions[] = {{30.f, 20.f}, {-135.f, -40.f}, {90.f, 0.f}, {0.f, 89.f}};
  for (char const* normalization : {"SN3D", "N3D"}) {
    for (char const* sorting : {"IncreasingDegrees", "AlternateDegrees"}) {
      for (Direction const& d : directions) {
        auto const pan = make("hoa3d", 2, 16);
        auto& hoa = dynamic_cast<HOAPanning&>(*pan);
        hoa.SetEncodingNormalization(normalization);
        hoa.SetSorting(sorting);
        pan->SetSourcePosition(0, userDirection(d.azimuth, d.elevation, 2.5f), false);
        pan->SetSourcePosition(1, userDirection(-d.azimuth, 0.f, 1.f), false);
        std::vector<float> const out = settledOutputs(*pan, 2, 16);
        // The user's clockwise azimuth a is the anticlockwise 90 - a from x.
        double const phi = (90. - d.azimuth) * 3.14159265358979323846 / 180.;
        double const theta = (90. - d.elevation) * 3.14159265358979323846 / 180.;
        auto const lm = layout3D(3, SH::GetSorting(sorting));
        for (unsigned int j = 0; j < 16; ++j) {
          double const want = zorvtest::RealReference(lm[j].first, lm[j].second, theta, phi,
                                                      SH::GetNormalization(normalization));
          EXPECT_NEAR(out[j], want, 2e-5)
              << normalization << " " << sorting << " az " << d.azimuth << " channel " << j;
        }
      }
    }
  }
}

TEST(HOA3DPanningSignal, FirstOrderFollowsTheUserAzimuthClockwise) {
  auto const pan = make("hoa3d", 1, 4);
  // In front: (1,-1) is the front-back component here, (1,1) left-right.
  pan->SetSourcePosition(0, userDirection(0.f, 0.f, 1.f), false);
  std::vector<float> out = settledOutputs(*pan, 1, 4);
  EXPECT_NEAR(out[0], 1.f, 1e-6f);
  EXPECT_NEAR(out[1], 1.f, 1e-6f);
  EXPECT_NEAR(out[3], 0.f, 1e-6f);
  // 90 degrees clockwise is the right, the x axis.
  pan->SetSourcePosition(0, userDirection(90.f, 0.f, 1.f), false);
  out = settledOutputs(*pan, 1, 4);
  EXPECT_NEAR(out[1], 0.f, 1e-6f);
  EXPECT_NEAR(out[3], 1.f, 1e-6f);
  pan->SetSourcePosition(0, userDirection(-90.f, 0.f, 1.f), false);
  out = settledOutputs(*pan, 1, 4);
  EXPECT_NEAR(out[3], -1.f, 1e-6f);
}

TEST(HOAPanningSettings, NormalisationsThatDoNotFitTheDimensionFallBack) {
  auto const three = make("hoa3d", 1, 4);
  auto const two = make("hoa2d", 1, 3);
  auto& h3 = dynamic_cast<HOAPanning&>(*three);
  auto& h2 = dynamic_cast<HOAPanning&>(*two);
  struct Case {
    SH::Normalization given, kept3D, kept2D;
  };
  Case const cases[] = {
      {SH::Unnormalized, SH::SchmidtSeminormalized3D, SH::SchmidtSeminormalized2D},
      {SH::SchmidtSeminormalized3D, SH::SchmidtSeminormalized3D, SH::SchmidtSeminormalized2D},
      {SH::SchmidtSeminormalized2D, SH::SchmidtSeminormalized3D, SH::SchmidtSeminormalized2D},
      {SH::FullyNormalized3D, SH::FullyNormalized3D, SH::SchmidtSeminormalized2D},
      {SH::FullyNormalized2D, SH::SchmidtSeminormalized3D, SH::FullyNormalized2D},
      {SH::GaussNormalization, SH::SchmidtSeminormalized3D, SH::SchmidtSeminormalized2D},
      {static_cast<SH::Normalization>(9), SH::SchmidtSeminormalized3D,
       SH::SchmidtSeminormalized2D}};
  for (Case const& c : cases) {
    h3.SetEncodingNormalization(c.given);
    h2.SetEncodingNormalization(c.given);
    EXPECT_EQ(h3.GetEncodingNormalization(), c.kept3D) << c.given;
    EXPECT_EQ(h2.GetEncodingNormalization(), c.kept2D) << c.given;
  }
  h3.SetEncodingNormalization("n3d");
  EXPECT_EQ(h3.GetEncodingNormalization(), SH::FullyNormalized3D);
  h3.SetEncodingNormalization("no such name");
  EXPECT_EQ(h3.GetEncodingNormalization(), SH::SchmidtSeminormalized3D);
  h2.SetEncodingNormalization("FullyNormalized2D");
  EXPECT_EQ(h2.GetEncodingNormalization(), SH::FullyNormalized2D);
  h2.SetSorting("alternatedegrees");
  EXPECT_EQ(h2.GetSorting(), SH::AlternateDegrees);
  h2.SetSorting("ACN");
  EXPECT_EQ(h2.GetSorting(), SH::IncreasingDegrees);
}

// A setter re-renders the sources at once: the next gains change without a
// new position.
TEST(HOAPanningSettings, SettersRerenderEverySource) {
  auto const pan = make("hoa2d", 2, 5);
  auto& hoa = dynamic_cast<HOAPanning&>(*pan);
  auto const& gains = dynamic_cast<Zorv::AmplitudePanning&>(*pan);
  pan->SetSourcePosition(1, CartesianVector(0.f, 1.f, 0.f), false);
  // SN2D, increasing: (0,0), (1,-1), (1,1), (2,-2), (2,2) at azimuth pi/2.
  float const sn2d[5] = {1.f, 1.f, 0.f, 0.f, -1.f};
  for (unsigned int j = 0; j < 5; ++j) EXPECT_NEAR(gains.GetNextGains()[5 + j], sn2d[j], 1e-6f);
  hoa.SetEncodingNormalization(SH::FullyNormalized2D);
  hoa.SetSorting("AlternateDegrees");
  float const s = std::sqrt(2.f);
  float const n2dAlternate[5] = {1.f, 0.f, s, -s, 0.f};
  for (unsigned int j = 0; j < 5; ++j) {
    EXPECT_NEAR(gains.GetNextGains()[5 + j], n2dAlternate[j], 1e-6f);
  }
}

TEST(HOA2DPanningSignal, ElevatedSourcesAreNotProjected) {
  auto const pan = make("hoa2d", 1, 7);
  auto const& gains = dynamic_cast<Zorv::AmplitudePanning&>(*pan);
  float const e = 0.6f;
  pan->SetSourcePosition(0, CartesianVector(std::cos(e), 0.f, std::sin(e)), false);
  // (l, l) at azimuth 0 carries cos(e)^l, the sin(theta)^l of the direction.
  for (unsigned int l = 1; l <= 3; ++l) {
    EXPECT_NEAR(gains.GetNextGains()[2 * l], std::pow(std::cos(e), static_cast<float>(l)), 1e-6f);
    EXPECT_NEAR(gains.GetNextGains()[2 * l - 1], 0.f, 1e-6f);
  }
  auto const omni = make("hoa2d", 1, 1);
  omni->SetSourcePosition(0, CartesianVector(-1.f, 3.f, 2.f), false);
  EXPECT_EQ(dynamic_cast<Zorv::AmplitudePanning&>(*omni).GetNextGains()[0], 1.f);
}

// Orders above the single-precision limit are computed in double; both sides
// of each limit agree with the direct formula.
TEST(HOAPanningPrecision, BothSidesOfTheDoublePrecisionLimitsAreAccurate) {
  CartesianVector const p(0.3f, -0.8f, 0.2f);
  double const r = std::sqrt(0.09 + 0.64 + 0.04);
  double const theta = std::acos(0.2 / r);
  double const phi = std::atan2(-0.8, 0.3);
  for (unsigned int outputs : {51u, 53u}) {
    auto const pan = make("hoa2d", 1, outputs);
    pan->SetSourcePosition(0, p, false);
    float const* g = dynamic_cast<Zorv::AmplitudePanning&>(*pan).GetNextGains();
    unsigned int const order = (outputs - 1) / 2;
    EXPECT_NEAR(g[0], 1.f, 1e-6f);
    for (unsigned int l = 1; l <= order; ++l) {
      int const m = static_cast<int>(l);
      EXPECT_NEAR(g[2 * l - 1], zorvtest::RealReference(l, -m, theta, phi, 2), 2e-5) << l;
      EXPECT_NEAR(g[2 * l], zorvtest::RealReference(l, m, theta, phi, 2), 2e-5) << l;
    }
  }
  for (unsigned int outputs : {441u, 484u}) {
    auto const pan = make("hoa3d", 1, outputs);
    ASSERT_EQ(orderOf(pan.get()), outputs == 441u ? 20u : 21u);
    pan->SetSourcePosition(0, p, false);
    float const* g = dynamic_cast<Zorv::AmplitudePanning&>(*pan).GetNextGains();
    auto const lm = layout3D(outputs == 441u ? 20 : 21, SH::IncreasingDegrees);
    for (std::size_t k = 0; k < lm.size(); k += 7) {
      EXPECT_NEAR(g[k], zorvtest::RealReference(lm[k].first, lm[k].second, theta, phi, 1), 5e-5)
          << lm[k].first << " " << lm[k].second;
    }
  }
}

TEST(AmbisonicPanning, FixedScaleFactors) {
  auto const three = make("bformat", 1, 3);
  auto const four = make("bformat", 1, 4);
  auto const next = [](Pan& p) { return dynamic_cast<Zorv::AmplitudePanning&>(p).GetNextGains(); };
  three->SetSourcePosition(0, CartesianVector(0.f, 0.f, 1.f), false);
  EXPECT_NEAR(next(*three)[0], 1.f, 1e-6f);
  EXPECT_NEAR(next(*three)[1], 0.f, 1e-6f);
  EXPECT_NEAR(next(*three)[2], 0.f, 1e-6f);
  three->SetSourcePosition(0, CartesianVector(1.f, 0.f, 0.f), false);
  EXPECT_NEAR(next(*three)[0], 0.57735f, 1e-5f);
  EXPECT_FLOAT_EQ(next(*three)[1], 0.8164966f);
  EXPECT_NEAR(next(*three)[2], 0.f, 1e-7f);
  four->SetSourcePosition(0, CartesianVector(0.f, 0.f, 0.f), false);
  float const origin[4] = {0.57735026f, 1.4142135f, 0.f, 0.f};
  for (int j = 0; j < 4; ++j) EXPECT_FLOAT_EQ(next(*four)[j], origin[j]);
  four->SetSourcePosition(0, CartesianVector(0.f, 3.f, -3.f), false);
  EXPECT_NEAR(next(*four)[1], 0.f, 1e-6f);
  EXPECT_NEAR(next(*four)[2], 1.f, 1e-6f);
  EXPECT_NEAR(next(*four)[3], -1.f, 1e-6f);

  // The three-channel set keeps the sum of squares at 1 at every elevation.
  std::mt19937 random(3);
  std::uniform_real_distribution<float> u(-4.f, 4.f);
  for (int i = 0; i < 200; ++i) {
    three->SetSourcePosition(0, CartesianVector(u(random), u(random), u(random)), false);
    float const* g = next(*three);
    EXPECT_NEAR(g[0] * g[0] + g[1] * g[1] + g[2] * g[2], 1.f, 2e-6f);
  }
}

TEST(HOAPanningRobustness, PositionsThatAreNotFiniteGiveSilenceAndNoNaN) {
  float const nan = std::nanf("");
  float const inf = HUGE_VALF;
  CartesianVector const bad[] = {{nan, 0.f, 0.f}, {0.f, inf, 0.f}, {0.f, 0.f, -inf}};
  CartesianVector const tiny(0.f, 0.f, 1e-20f);
  for (auto const& [type, outputs] : {std::pair<char const*, unsigned int>{"hoa3d", 16},
                                      {"hoa2d", 7},
                                      {"bformat", 3},
                                      {"bformat", 4}}) {
    auto const pan = make(type, 1, outputs);
    float const* g = dynamic_cast<Zorv::AmplitudePanning&>(*pan).GetNextGains();
    for (CartesianVector const& p : bad) {
      pan->SetSourcePosition(0, p, false);
      for (unsigned int j = 0; j < outputs; ++j) EXPECT_EQ(g[j], 0.f) << type << " " << j;
    }
    pan->SetSourcePosition(0, tiny, false);
    for (unsigned int j = 0; j < outputs; ++j) EXPECT_TRUE(std::isfinite(g[j])) << type;
  }
}

TEST(HOAPanningRealTime, ConvertAndProcessAllocateNothing) {
  auto const pan = make("hoa3d", 4, 64);
  unsigned int const block = 64;
  pan->Configure(48000.f, block, true);
  std::vector<std::vector<float>> in(4, std::vector<float>(block, 0.5f));
  std::vector<std::vector<float>> out(64, std::vector<float>(block));
  std::vector<float*> ins, outs;
  for (auto& c : in) ins.push_back(c.data());
  for (auto& c : out) outs.push_back(c.data());
  pan->SetSourcePosition(0, CartesianVector(1.f, 2.f, 3.f), false);
  auto const two = make("hoa2d", 1, 51);
  two->SetSourcePosition(0, CartesianVector(1.f, 2.f, 3.f), false);
  zorvtest::AllocationCounter counter;
  for (int b = 0; b < 40; ++b) {
    pan->SetSourcePosition(static_cast<unsigned int>(b % 4),
                           CartesianVector(std::cos(0.1f * b), std::sin(0.1f * b), 0.3f), false);
    two->SetSourcePosition(0, CartesianVector(std::cos(0.1f * b), std::sin(0.1f * b), 0.f), false);
    pan->Process(outs.data(), ins.data(), block, nolardsp::allActiveInputs);
  }
  EXPECT_EQ(counter.Count(), 0u);
}

TEST(HOAReports, PannerAndDecoderInfoTexts) {
  auto const pan = make("hoa3d", 1, 16);
  auto& hoa = dynamic_cast<HOAPanning&>(*pan);
  hoa.SetEncodingNormalization(SH::FullyNormalized3D);
  hoa.SetSorting("AlternateDegrees");
  HOAPanning::HOAPannerInfos infos;
  hoa.GetPannerInfos(infos);
  EXPECT_EQ(HOAPanning::GetPannerInfosText(infos, "HOA"),
            (std::vector<std::string>{"HOA : order : 3 ", "HOA : encoding convention : N3D",
                                      "HOA : sorting convention : AlternateDegrees"}));

  Zorv::HOADecoder::HOADecoderInfos decoder;
  decoder.order = 2;
  decoder.decoderMethod = Zorv::HOADecodingMatrix::EnergyPreserving;
  decoder.decoderType = Zorv::HOADecoder::MaxRe;
  decoder.subtype = "3d";
  decoder.normalization = SH::FullyNormalized3D;
  decoder.modeMatchingConditioning = 3.14159f;
  decoder.numSingularValues = 9;
  decoder.numSignificantSingularValues = 8;
  EXPECT_EQ(Zorv::HOADecoder::GetDecoderInfosText(decoder, "NFC-HOA"),
            (std::vector<std::string>{
                "NFC-HOA : order : 2 ", "NFC-HOA : subtype : 3d ",
                "NFC-HOA : decoding method : energypreserving", "NFC-HOA : decoding type : maxre",
                "NFC-HOA : decoding convention : N3D",
                "NFC-HOA : decoder mode matching conditionning : 3.14 dB (8 significant singular "
                "values out of 9)",
                "NFC-HOA : sorting convention : IncreasingDegrees"}));

  char const* const types[] = {"basic", "inphase", "maxre", "basicmaxre", "maxreinphase", "basic"};
  for (unsigned int t = 0; t < 6; ++t) {
    EXPECT_STREQ(
        Zorv::HOADecoder::GetHOADecoderTypeName(static_cast<Zorv::HOADecoder::HOADecoderType>(t)),
        types[t]);
  }
  char const* const methods[] = {"projection", "pseudoinverse", "energypreserving",
                                 "pseudoinverse"};
  for (unsigned int m = 0; m < 4; ++m) {
    EXPECT_STREQ(Zorv::HOADecodingMatrix::GetDecoderMethodName(
                     static_cast<Zorv::HOADecodingMatrix::DecoderMethod>(m)),
                 methods[m]);
  }
  EXPECT_EQ(Zorv::HOADecodingMatrix::DefaultSorting, SH::DefaultSorting);
  EXPECT_TRUE(Zorv::hoaDecoderTypeMap.empty());
  EXPECT_TRUE(Zorv::hoaDecoderMethodsMap.empty());
}

}  // namespace
