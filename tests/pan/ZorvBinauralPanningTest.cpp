// The listener, relative positions and the ITD models shared by the
// headphone renderers, against formulas written here in double precision.

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "ZorvBinauralPanning.h"
#include "ZorvHrtfPoint.h"

namespace {

using nolardsp::CartesianVector;
using Zorv::BinauralPanning;

double const pi = 3.14159265358979323846;
double const speedOfSound = 340.;

// Azimuth from the front, clockwise, and elevation, radians. A position on
// the vertical axis has no azimuth; the models take the one of atan2(0, 0),
// which is the right side.
void directionOf(CartesianVector const& p, double& a, double& e) {
  double const x = p.x, y = p.y, z = p.z;
  double const d = std::sqrt(x * x + y * y + z * z);
  a = x == 0. && y == 0. ? pi / 2. : std::atan2(x, y);
  e = d > 0. ? std::asin(z / d) : 0.;
}

// The ITD in milliseconds (left ear's delay minus the right's) of each model.
double referenceItd(BinauralPanning::ITDType type, CartesianVector const& p, double r,
                    double pointItd) {
  double a, e;
  directionOf(p, a, e);
  double const x = p.x, y = p.y, z = p.z;
  double const D = std::sqrt(x * x + y * y + z * z);
  double const ms = 1000. / speedOfSound;
  switch (type) {
    case BinauralPanning::SphericalHeadBasicModel: {
      // Straight paths from a source in the horizontal plane at distance d to
      // ears at -r and +r on the x axis.
      double const d = std::max(r, D);
      double const sx = d * std::sin(a), sy = d * std::cos(a);
      double const left = std::hypot(sx + r, sy), right = std::hypot(sx - r, sy);
      return (left - right) * ms;
    }
    case BinauralPanning::SphericalHeadWoodworthModel: {
      // r/c (theta + sin theta) on the lateral angle of the horizontal
      // direction: the back mirrors the front.
      double const theta = std::asin(std::sin(a));
      return r * ms * (theta + std::sin(theta));
    }
    case BinauralPanning::SaviojaModel: {
      double const theta = std::asin(std::sin(a));
      return std::cos(e) * r * ms * (theta + std::sin(theta));
    }
    case BinauralPanning::LarcherJotModel: {
      // The same law on the lateral angle of the direction in three dimensions.
      double const theta = std::asin(std::sin(a) * std::cos(e));
      return r * ms * (theta + std::sin(theta));
    }
    case BinauralPanning::MillerModel: {
      double const d = std::max(r, D);
      double const b = std::asin(std::sin(a) * std::cos(e));
      double const T = std::sqrt(std::max(0., d * d - r * r));
      double const A = std::acos(r / d);
      double const S = std::sin(b);
      double const ld = std::sqrt(r * r + d * d + 2. * S * r * d);
      double const rd = std::sqrt(r * r + d * d - 2. * S * r * d);
      double const left = T > ld ? ld : r * (b + pi / 2. - A) + T;
      double const right = T > rd ? rd : r * (pi / 2. - b - A) + T;
      return (left - right) * ms;
    }
    case BinauralPanning::NoITD:
      return 0.;
    default:
      return pointItd;
  }
}

std::vector<CartesianVector> testPositions() {
  std::vector<CartesianVector> positions = {
      {0.f, 0.f, 0.f},   {0.f, 1.f, 0.f},     {1.f, 0.f, 0.f},   {-1.f, 0.f, 0.f},
      {0.f, -1.f, 0.f},  {0.f, 0.f, 1.f},     {0.f, 0.f, -2.f},  {0.03f, 0.02f, 0.f},
      {0.5f, -3.f, 1.f}, {-2.f, -0.5f, 0.7f}, {1e-3f, 0.f, 0.f}, {0.f, -1.f, 1e-6f}};
  for (int k = 0; k < 36; ++k) {
    double const az = k * 10. * pi / 180.;
    double const el = ((k % 7) - 3) * 25. * pi / 180.;
    double const d = 0.05 + 0.4 * (k % 5);
    positions.emplace_back(static_cast<float>(d * std::cos(el) * std::sin(az)),
                           static_cast<float>(d * std::cos(el) * std::cos(az)),
                           static_cast<float>(d * std::sin(el)));
  }
  return positions;
}

TEST(BinauralItdModels, EveryModelGivesItsFormulaWithinOneMicrosecond) {
  BinauralPanning::ITDType const types[] = {BinauralPanning::SphericalHeadBasicModel,
                                            BinauralPanning::SphericalHeadWoodworthModel,
                                            BinauralPanning::ITDFromMeasurement,
                                            BinauralPanning::LarcherJotModel,
                                            BinauralPanning::SaviojaModel,
                                            BinauralPanning::MillerModel};
  for (float const r : {0.0875f, 0.07f, 0.12f}) {
    for (auto const type : types) {
      for (CartesianVector const& p : testPositions()) {
        float left = 0.f, right = 0.f;
        BinauralPanning::ComputeMonauralDelays(type, p, 0.4f, r, left, right);
        double const expected = referenceItd(type, p, r, 0.4);
        SCOPED_TRACE(::testing::Message() << BinauralPanning::GetITDTypeName(type) << " r " << r
                                          << " at " << p.x << " " << p.y << " " << p.z);
        EXPECT_NEAR(left - right, expected, 1e-3);
        // A base of 1 ms each side keeps both lines away from zero.
        EXPECT_GE(right, 0.f);
        EXPECT_GE(left, 0.f);
        EXPECT_NEAR(left + right, 2.f, 1e-5f);
      }
    }
  }
}

TEST(BinauralItdModels, DelaysOfAMeasuredItdAndOfNone) {
  float left = 0.f, right = 0.f;
  CartesianVector const side(1.f, 0.f, 0.f);
  BinauralPanning::ComputeMonauralDelays(BinauralPanning::ITDFromMeasurement, side, 0.5f, 0.0875f,
                                         left, right);
  EXPECT_FLOAT_EQ(left, 1.25f);
  EXPECT_FLOAT_EQ(right, 0.75f);
  // Beyond 2 ms the near ear reaches 0 and the far one takes the whole ITD.
  Zorv::HrtfPoint point;
  point.itd = 3.f;
  BinauralPanning::ComputeMonauralDelays(BinauralPanning::ITDFromMeasurement, side, point, 0.0875f,
                                         left, right);
  EXPECT_FLOAT_EQ(left, 3.f);
  EXPECT_FLOAT_EQ(right, 0.f);
  BinauralPanning::ComputeMonauralDelays(BinauralPanning::NoITD, side, 3.f, 0.0875f, left, right);
  EXPECT_EQ(left, 1.f);
  EXPECT_EQ(right, 1.f);
  // A position out of every range has no ITD rather than a NaN delay.
  float const inf = std::numeric_limits<float>::infinity();
  for (auto const type :
       {BinauralPanning::SphericalHeadBasicModel, BinauralPanning::MillerModel,
        BinauralPanning::LarcherJotModel, BinauralPanning::SphericalHeadWoodworthModel}) {
    BinauralPanning::ComputeMonauralDelays(type, CartesianVector(inf, std::nanf(""), 1.f), 0.f,
                                           0.0875f, left, right);
    EXPECT_TRUE(std::isfinite(left) && std::isfinite(right));
  }
}

// Each name the renderer gives back is read as the same model, so a saved
// patch comes back as it was; the model's other words are accepted too.
TEST(BinauralItdModels, NamesReadBackAsTheSameModel) {
  for (int t = 0; t <= 6; ++t) {
    auto const type = static_cast<BinauralPanning::ITDType>(t);
    EXPECT_EQ(BinauralPanning::GetITDType(BinauralPanning::GetITDTypeName(type)), type);
  }
  EXPECT_STREQ(BinauralPanning::GetITDTypeName(BinauralPanning::LarcherJotModel), "larchetjot");
  EXPECT_STREQ(BinauralPanning::GetITDTypeName(BinauralPanning::NoITD), "none");
  struct Alias {
    char const* name;
    BinauralPanning::ITDType type;
  } const aliases[] = {{"SphericalHeadBasicModel", BinauralPanning::SphericalHeadBasicModel},
                       {"WoodworthModel", BinauralPanning::SphericalHeadWoodworthModel},
                       {"ITDFromMeasurement", BinauralPanning::ITDFromMeasurement},
                       {"larcherjot", BinauralPanning::LarcherJotModel},
                       {"woodworth3D", BinauralPanning::LarcherJotModel},
                       {"SaviojaModel", BinauralPanning::SaviojaModel},
                       {"MillerModel", BinauralPanning::MillerModel},
                       {"NoITD", BinauralPanning::NoITD},
                       {"Woodworth", BinauralPanning::ITDFromMeasurement},
                       {"", BinauralPanning::ITDFromMeasurement}};
  for (Alias const& a : aliases) EXPECT_EQ(BinauralPanning::GetITDType(a.name), a.type) << a.name;
}

// A renderer that records what the base hands it.
class RecordingPanning : public BinauralPanning {
 public:
  explicit RecordingPanning(unsigned int n) { SetNumInputs(n); }
  void Process(float**, float**, unsigned long, short const*) override {}
  void ProcessAdding(float**, float**, unsigned long, short const*) override {}
  void SetSamplerate(float) override {}
  void SetMaxBlockSize(unsigned int) override {}
  void Clear() override {}
  void SetInterpolationTime(float) override {}
  bool LoadFromFile(char const*) override { return false; }
  void SetFilterCrossFadeTime(float) override {}
  void SetCrossFadeType(char const*) override {}
  void SetFIRFiltersImplementationMethod(nolardsp::Filter::FIRImplementation) override {}
  using BinauralPanning::SetFIRFiltersImplementationMethod;
  void SetListenerHeadRadius(float metres) override { headRadius = metres; }
  Zorv::HrtfHeaderInfos const* GetHrtfHeaderInfos() const override { return nullptr; }

  struct Call {
    unsigned int index;
    CartesianVector position;
  };
  std::vector<Call> calls;
  int forgotten = 0;

 protected:
  void setSourceRelativePosition(unsigned int index, CartesianVector const& position,
                                 bool) override {
    calls.push_back({index, position});
  }
  void forgetLastPoints() override { ++forgotten; }
};

TEST(BinauralListener, SourcesAreSeenFromTheListenersPlaceAndYaw) {
  RecordingPanning p(2);
  EXPECT_EQ(p.GetSourcePositions()[0].y, 1.f);  // new sources start one metre in front
  p.SetSourcePosition(0, CartesianVector(0.f, 2.f, 0.5f), false);
  ASSERT_EQ(p.calls.size(), 1u);
  EXPECT_EQ(p.calls[0].position.y, 2.f);

  // Turning the head 90 degrees clockwise puts a source in front on the left;
  // every source is rendered again, in order.
  p.calls.clear();
  p.SetListenerYaw(90.f);
  ASSERT_EQ(p.calls.size(), 2u);
  EXPECT_EQ(p.calls[0].index, 0u);
  EXPECT_NEAR(p.calls[0].position.x, -2.f, 1e-6);
  EXPECT_NEAR(p.calls[0].position.y, 0.f, 1e-6);
  EXPECT_EQ(p.calls[0].position.z, 0.5f);

  // The listener's place is taken away before the turn.
  p.SetListenerYaw(0.f);
  p.calls.clear();
  p.SetListenerPosition(CartesianVector(1.f, 1.f, 0.f));
  ASSERT_EQ(p.calls.size(), 2u);
  EXPECT_EQ(p.calls[0].position.x, -1.f);
  EXPECT_EQ(p.calls[0].position.y, 1.f);
  // An exact zero turns nothing; a whole turn goes through the rotation.
  p.SetListenerPosition(CartesianVector(0.f, 0.f, 0.f));
  p.calls.clear();
  p.SetListenerYaw(360.f);
  EXPECT_NE(p.calls[0].position.x, 0.f);
  EXPECT_NEAR(p.calls[0].position.x, 0.f, 1e-5);
}

TEST(BinauralListener, AChangeOfModelRendersEverySourceAgainFromScratch) {
  RecordingPanning p(3);
  p.SetITDType("measurement");  // no change: nothing happens
  EXPECT_TRUE(p.calls.empty());
  EXPECT_EQ(p.forgotten, 0);
  p.SetITDType("woodworth");
  EXPECT_EQ(p.forgotten, 1);
  EXPECT_EQ(p.calls.size(), 3u);
  std::string name;
  p.SetITDType("NoITD");
  p.GetCurrentITDType(name);
  EXPECT_EQ(name, "none");
  // The loudspeaker operations mean nothing here.
  p.SetNumOutputs(8);
  EXPECT_EQ(p.GetNumOutputs(), 2u);
}

}  // namespace
