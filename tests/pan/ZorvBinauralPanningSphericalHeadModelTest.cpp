// The spherical head: each ear against the sound field on a rigid sphere, the
// time difference against Woodworth's path lengths.

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <string>
#include <vector>

#include "NolarException.h"
#include "ZorvBinauralPanningSphericalHeadModel.h"
#include "ZorvTestAllocationCounter.h"

namespace {

using nolardsp::CartesianVector;
using Zorv::BinauralPanning;
using Zorv::BinauralPanningSphericalHeadModel;

double const pi = 3.14159265358979323846;
double const c = 340.;
float const rate = 48000.f;

// Pressure on the surface of a rigid sphere of radius a, at angle gamma from
// the direction the plane wave comes from, relative to the free field at the
// centre: |sum (2m + 1) i^m P_m(cos theta) / h'_m(ka)| / (ka)^2, h_m the
// spherical Hankel function of the first kind and theta = pi - gamma the angle
// from the direction the wave travels in.
double rigidSphere(double frequency, double a, double gamma) {
  double const x = 2. * pi * frequency * a / c;
  int const terms = static_cast<int>(x) + 40;
  std::complex<double> sum = 0.;
  std::complex<double> im = 1.;
  auto h = [x](int m) {
    return std::complex<double>(std::sph_bessel(m, x), std::sph_neumann(m, x));
  };
  std::complex<double> previous = h(0);
  for (int m = 0; m < terms; ++m) {
    std::complex<double> const current = m == 0 ? previous : h(m);
    std::complex<double> const next = h(m + 1);
    // h'_0 = -h_1; h'_m = h_{m-1} - (m + 1) / x h_m.
    std::complex<double> const derivative =
        m == 0 ? -next : previous - static_cast<double>(m + 1) / x * current;
    if (!std::isfinite(std::abs(derivative))) break;
    sum += static_cast<double>(2 * m + 1) * im * std::legendre(m, -std::cos(gamma)) / derivative;
    im *= std::complex<double>(0., 1.);
    previous = current;
  }
  return std::abs(sum) / (x * x);
}

double dB(double v) {
  return 20. * std::log10(v);
}

// Source in the horizontal plane, azimuth in degrees, 0 in front, positive to
// the right (x right, y front).
CartesianVector atAzimuth(double degrees, double distance = 2.) {
  double const a = degrees * pi / 180.;
  return CartesianVector(static_cast<float>(distance * std::sin(a)),
                         static_cast<float>(distance * std::cos(a)), 0.f);
}

struct Render {
  std::vector<float> left, right;
};

// Feeds an impulse at sample 0 and keeps `length` samples of both ears.
Render impulse(BinauralPanningSphericalHeadModel& pan, unsigned int length = 1024) {
  unsigned int const block = 64;
  std::vector<float> in(block, 0.f), l(block), r(block);
  float* outs[2] = {l.data(), r.data()};
  float* ins[1] = {in.data()};
  short const active[1] = {1};
  Render out;
  in[0] = 1.f;
  for (unsigned int done = 0; done < length; done += block) {
    pan.Process(outs, ins, block, active);
    in[0] = 0.f;
    out.left.insert(out.left.end(), l.begin(), l.end());
    out.right.insert(out.right.end(), r.begin(), r.end());
  }
  return out;
}

Render impulseAt(CartesianVector const& p, float radius = 0.0875f) {
  BinauralPanningSphericalHeadModel pan(1, 2, radius);
  pan.Configure(rate, 64, true);
  pan.SetSourcePosition(0, p, true);
  return impulse(pan);
}

double magnitudeAt(std::vector<float> const& h, double frequency) {
  std::complex<double> s = 0.;
  for (std::size_t k = 0; k < h.size(); ++k) {
    s += static_cast<double>(h[k]) * std::polar(1., -2. * pi * frequency * k / rate);
  }
  return std::abs(s);
}

// Where the response first reaches half its peak, between samples.
double onset(std::vector<float> const& h) {
  float peak = 0.f;
  for (float v : h) peak = std::max(peak, std::fabs(v));
  for (std::size_t k = 1; k < h.size(); ++k) {
    if (std::fabs(h[k]) >= 0.5f * peak) {
      double const a = std::fabs(h[k - 1]);
      double const b = std::fabs(h[k]);
      return static_cast<double>(k) - (b - 0.5 * peak) / std::max(1e-12, b - a);
    }
  }
  return -1.;
}

double woodworthSamples(double radius, double degrees) {
  double const t = degrees * pi / 180.;
  return radius / c * (t + std::sin(t)) * rate;
}

TEST(BinauralPanningSphericalHeadModel, TheReferenceSphereIsTransparentAtLowFrequencies) {
  // The series itself: a sphere small against the wave leaves it as it is,
  // and at high frequencies the ear facing the wave gets the pressure doubled.
  for (double g : {0., 1., 2., 3.}) EXPECT_NEAR(dB(rigidSphere(20., 0.0875, g)), 0., 0.05);
  EXPECT_NEAR(dB(rigidSphere(20000., 0.0875, 0.)), 6., 1.);
}

TEST(BinauralPanningSphericalHeadModel, EachEarFollowsTheRigidSphere) {
  double worstLow = 0.;
  double worstHigh = 0.;
  for (double azimuth = 0.; azimuth <= 180.; azimuth += 15.) {
    Render const r = impulseAt(atAzimuth(azimuth));
    double const toward = azimuth * pi / 180.;
    // Angle between the direction of the source and each ear's axis.
    double const right = std::acos(std::sin(toward));
    double const left = pi - right;
    for (int ear = 0; ear < 2; ++ear) {
      std::vector<float> const& h = ear == 0 ? r.left : r.right;
      double const gamma = ear == 0 ? left : right;
      SCOPED_TRACE(::testing::Message() << "azimuth " << azimuth << " ear " << ear);
      for (double f = 100.; f < 1000.; f += 50.) {
        double const e = dB(magnitudeAt(h, f)) - dB(rigidSphere(f, 0.0875, gamma));
        worstLow = std::max(worstLow, std::fabs(e));
        // The sphere's bright spot: at the point opposite the source the waves
        // round both sides in phase and the level comes back near 1 kHz, a
        // bump a first-order shelf cannot follow. Within 20 degrees of that
        // point it may miss by up to 3 dB from 850 Hz on.
        bool const brightSpot = gamma > pi * 160. / 180. && f >= 850.;
        EXPECT_LT(std::fabs(e), brightSpot ? 3.0 : 2.5) << f << " Hz";
      }
      if (gamma > pi / 6. + 1e-9) continue;
      for (double f = 1000.; f <= 12000.; f += 250.) {
        double const e = dB(magnitudeAt(h, f)) - dB(rigidSphere(f, 0.0875, gamma));
        worstHigh = std::max(worstHigh, std::fabs(e));
        EXPECT_LT(std::fabs(e), 1.5) << f << " Hz";
      }
    }
  }
  RecordProperty("worstBelow1kHz", std::to_string(worstLow));
  RecordProperty("worstFacingUpTo12kHz", std::to_string(worstHigh));
}

TEST(BinauralPanningSphericalHeadModel, TheTimeDifferenceIsWoodworthsForEveryHeadRadius) {
  for (float radius : {0.07f, 0.0875f, 0.1f}) {
    for (double azimuth : {0., 30., 60., 90.}) {
      Render const r = impulseAt(atAzimuth(azimuth), radius);
      double const itd = onset(r.left) - onset(r.right);
      EXPECT_NEAR(itd, woodworthSamples(radius, azimuth), 1.)
          << "radius " << radius << " azimuth " << azimuth;
    }
  }
}

// The box applies its default ITD type, "measurement", after the panner is
// made; the model keeps its own time difference under that name.
TEST(BinauralPanningSphericalHeadModel, TheMeasuredTypeIsTheModelsOwnDelay) {
  BinauralPanningSphericalHeadModel pan(1, 2);
  pan.Configure(rate, 64, true);
  pan.SetITDType("measurement");
  EXPECT_EQ(pan.GetCurrentITDType(), BinauralPanning::ITDFromMeasurement);
  pan.SetSourcePosition(0, atAzimuth(90.), true);
  Render const r = impulse(pan);
  EXPECT_NEAR(onset(r.left) - onset(r.right), woodworthSamples(0.0875, 90.), 1.);
  // Other types act as named: none puts both ears at the same time.
  pan.SetITDType("NoITD");
  pan.SetSourcePosition(0, atAzimuth(90.), true);
  pan.Clear();
  Render const flat = impulse(pan);
  EXPECT_NEAR(onset(flat.left) - onset(flat.right), 0., 0.5);
}

// A new radius moves the ears of a source at rest in the block that follows;
// once the delays have glided the time difference has the new size.
TEST(BinauralPanningSphericalHeadModel, AHeadRadiusChangeIsHeardAtOnce) {
  BinauralPanningSphericalHeadModel pan(1, 2);
  BinauralPanningSphericalHeadModel same(1, 2);
  for (auto* p : {&pan, &same}) {
    p->Configure(rate, 64, true);
    p->SetSourcePosition(0, atAzimuth(60.), true);
  }
  std::vector<float> in(64), l(64), r(64), l2(64), r2(64);
  float* ins[1] = {in.data()};
  float* outs[2] = {l.data(), r.data()};
  float* outs2[2] = {l2.data(), r2.data()};
  short const active[1] = {1};
  long long n = 0;
  auto block = [&]() {
    for (float& v : in)
      v = static_cast<float>(std::sin(2. * pi * 3000. * static_cast<double>(n++) / rate));
    pan.Process(outs, ins, 64, active);
    same.Process(outs2, ins, 64, active);
  };
  for (int b = 0; b < 20; ++b) block();
  pan.SetListenerHeadRadius(0.1f);
  block();
  double diff = 0.;
  for (int k = 0; k < 64; ++k) diff = std::max(diff, static_cast<double>(std::fabs(l[k] - l2[k])));
  EXPECT_GT(diff, 1e-3);
  for (int b = 0; b < 40; ++b) block();  // the glide and the fade are over
  pan.Clear();
  Render const after = impulse(pan);
  EXPECT_NEAR(onset(after.left) - onset(after.right), woodworthSamples(0.1, 60.), 1.);
}

TEST(BinauralPanningSphericalHeadModel, EdgesOfTheGeometry) {
  BinauralPanningSphericalHeadModel pan(1, 2);
  pan.Configure(rate, 64, true);
  pan.SetListenerHeadRadius(0.f);
  EXPECT_FLOAT_EQ(pan.GetListenerHeadRadius(), 0.01f);
  pan.SetListenerHeadRadius(std::nanf(""));
  EXPECT_FLOAT_EQ(pan.GetListenerHeadRadius(), 0.01f);
  EXPECT_THROW(pan.LoadFromFile("any.sofa"), nolardsp::Exception);
  EXPECT_EQ(pan.GetHrtfHeaderInfos(), nullptr);

  // A source at the centre of the head, at an ear, and beyond a float's square:
  // every sample finite and no louder than the shelf's 6 dB.
  float const inf = std::numeric_limits<float>::infinity();
  for (float radius : {0.01f, 0.0875f, 1e30f}) {
    pan.SetListenerHeadRadius(radius);
    for (CartesianVector p :
         {CartesianVector(0.f, 0.f, 0.f), CartesianVector(radius, 0.f, 0.f),
          CartesianVector(1.5e38f, -1.5e38f, 1e30f), CartesianVector(inf, std::nanf(""), -inf)}) {
      pan.SetSourcePosition(0, p, false);
      Render const r = impulse(pan, 256);
      for (std::vector<float> const* v : {&r.left, &r.right}) {
        for (float s : *v) {
          ASSERT_TRUE(std::isfinite(s));
          ASSERT_LE(std::fabs(s), 2.01f);
        }
      }
    }
  }
}

TEST(BinauralPanningSphericalHeadModel, ProcessAllocatesNothing) {
  unsigned int const sources = 8, block = 64;
  BinauralPanningSphericalHeadModel pan(sources, 2);
  pan.Configure(rate, block, true);
  std::vector<std::vector<float>> in(sources, std::vector<float>(block, 0.25f));
  std::vector<float> l(block), r(block);
  std::vector<float*> ins;
  for (auto& v : in) ins.push_back(v.data());
  float* outs[2] = {l.data(), r.data()};
  std::vector<short> active(sources, 1);
  for (int b = 0; b < 50; ++b) {
    for (unsigned int i = 0; i < sources; ++i)
      pan.SetSourcePosition(i, atAzimuth(7. * b + 40. * i), false);
    zorvtest::AllocationCounter counter;
    pan.Process(outs, ins.data(), block, active.data());
    ASSERT_EQ(counter.Count(), 0u);
  }
}

}  // namespace
