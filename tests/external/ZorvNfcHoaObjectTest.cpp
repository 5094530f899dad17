// The near-field compensated encoders through the object, driven by the
// facade: against the plain encoder, against the physics of a close source,
// and under a source dragged to the centre.

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "ZorvHost.h"
#include "ZorvPanObject.h"
#include "ZorvTestSphericalHarmonicReference.h"

namespace {

using zorvhost::PanObject;
using zorvhost::Severity;
double const pi = 3.14159265358979323846;

class NfcHoaObjectTest : public ::testing::Test {
 protected:
  void SetUp() override {
    zorv_pan_set_factory_for_tests(nullptr);
    zorvhost::TakeConsole();
  }

  std::unique_ptr<PanObject> make(std::string const& box) {
    console.clear();
    return PanObject::Create(
        box, [this](Severity, std::string const& text) { console.push_back(text); });
  }

  std::vector<std::string> console;
};

// Runs blocks of the signal given by source(sample index) on inlet 0 and
// returns each outlet's signal over the last `keep` samples.
template <typename Source>
std::vector<std::vector<float>> run(PanObject& pan, unsigned int block, unsigned int blocks,
                                    unsigned int keep, Source source) {
  std::vector<std::vector<float>> in(pan.NumInlets(), std::vector<float>(block, 0.f));
  std::vector<std::vector<float>> out(pan.NumOutlets(), std::vector<float>(block));
  std::vector<std::vector<float>> kept(pan.NumOutlets());
  std::vector<float const*> ip;
  std::vector<float*> op;
  for (auto& v : in) ip.push_back(v.data());
  for (auto& v : out) op.push_back(v.data());
  for (unsigned int b = 0; b < blocks; ++b) {
    for (unsigned int k = 0; k < block; ++k) in[0][k] = source(b * block + k);
    pan.ProcessBlock(ip.data(), op.data());
    if ((blocks - b) * block <= keep) {
      for (size_t j = 0; j < out.size(); ++j)
        kept[j].insert(kept[j].end(), out[j].begin(), out[j].end());
    }
  }
  return kept;
}

// A source at the speaker radius is the plain encoding, once the gains have
// settled, at the rate of construction and after a change of rate (both sides
// of every near-field filter are redesigned for the new rate).
TEST_F(NfcHoaObjectTest, SourceAtTheSpeakerRadiusIsThePlainEncodingAtEveryRate) {
  for (double rate : {44100.0, 48000.0, 96000.0}) {
    auto const nfc = make("zorv.pan~ @numinputs 1 @numoutputs 16 @type nfchoa3d");
    auto const hoa = make("zorv.pan~ @numinputs 1 @numoutputs 16 @type hoa3d");
    ASSERT_NE(nfc, nullptr);
    ASSERT_NE(hoa, nullptr);
    for (PanObject* pan : {nfc.get(), hoa.get()}) {
      pan->StartDsp(rate, 64);
      pan->SendMessage("sourcespositions 0 1 0");
    }
    std::mt19937 rng(7);
    std::uniform_real_distribution<float> noise(-1.f, 1.f);
    std::vector<float> signal(64 * 200);
    for (float& v : signal) v = noise(rng);
    auto source = [&](unsigned int k) { return signal[k]; };
    auto const a = run(*nfc, 64, 200, 64 * 100, source);
    auto const b = run(*hoa, 64, 200, 64 * 100, source);
    for (size_t j = 0; j < a.size(); ++j) {
      for (size_t k = 0; k < a[j].size(); ++k) {
        ASSERT_NEAR(a[j][k], b[j][k], 1e-5)
            << "rate " << rate << " outlet " << j << " sample " << k;
      }
    }
  }
}

std::complex<double> hankel(unsigned int m, double x) {
  std::complex<double> const e = std::exp(std::complex<double>(0.0, x));
  std::complex<double> h0 = std::complex<double>(0.0, -1.0) * e / x;
  std::complex<double> h1 = -(x + std::complex<double>(0.0, 1.0)) / (x * x) * e;
  if (m == 0) return h0;
  for (unsigned int n = 1; n < m; ++n) {
    std::complex<double> const h2 = (2.0 * n + 1.0) / x * h1 - h0;
    h0 = h1;
    h1 = h2;
  }
  return h1;
}

// rho = 0.5 m inside speakers at 1 m: each component of degree l carries the
// encoding gain times |h_l(k rho) h_0(k R) / (h_0(k rho) h_l(k R))|.
TEST_F(NfcHoaObjectTest, CloseSourceGivesEachComponentTheNearFieldRatio) {
  double const rate = 48000.0, f = 150.0, rho = 0.5, R = 1.0;
  auto const pan = make("zorv.pan~ @numinputs 1 @numoutputs 16 @type nfchoa3d");
  ASSERT_NE(pan, nullptr);
  pan->StartDsp(rate, 64);
  double const x = 0.3, y = 0.2, z = -0.15;
  double const norm = std::sqrt(x * x + y * y + z * z);
  double const px = x / norm * rho, py = y / norm * rho, pz = z / norm * rho;
  pan->SendMessage("sourcespositions " + std::to_string(px) + " " + std::to_string(py) + " " +
                   std::to_string(pz));
  // 320 samples per period; keep 30 periods.
  unsigned int const keep = 9600;
  auto const out = run(*pan, 64, 1500, keep,
                       [&](unsigned int k) { return float(std::sin(2.0 * pi * f * k / rate)); });
  double const theta = std::acos(pz / rho);
  double const phi = std::atan2(py, px);
  double const kw = 2.0 * rate * std::tan(pi * f / rate) / 340.0;
  unsigned int j = 0;
  for (unsigned int l = 0; l <= 3; ++l) {
    double const ratio = std::abs(hankel(l, kw * rho) * hankel(0, kw * R) /
                                  (hankel(0, kw * rho) * hankel(l, kw * R)));
    for (int m = -static_cast<int>(l); m <= static_cast<int>(l); ++m, ++j) {
      double const gain = std::fabs(zorvtest::RealReference(l, m, theta, phi, 1));
      double s = 0.0, c = 0.0;
      for (unsigned int k = 0; k < keep; ++k) {
        double const w = 2.0 * pi * f * (1500 * 64 - keep + k) / rate;
        s += out[j][k] * std::sin(w);
        c += out[j][k] * std::cos(w);
      }
      double const amplitude = 2.0 * std::hypot(s, c) / keep;
      if (gain < 0.05) {
        EXPECT_NEAR(amplitude, gain * ratio, 2e-3) << "l " << l << " m " << m;
        continue;
      }
      EXPECT_NEAR(20.0 * std::log10(amplitude / (gain * ratio)), 0.0, 0.05)
          << "l " << l << " m " << m << " ratio " << ratio;
    }
  }
}

// Speakers at 10 m and a source dragged to the centre: the boost of the high
// degrees would overflow in float; it is held and every output stays finite.
TEST_F(NfcHoaObjectTest, SourceDraggedToTheCentreStaysFinite) {
  for (char const* box : {"zorv.pan~ @numinputs 1 @numoutputs 53 @type nfchoa2d",
                          "zorv.pan~ @numinputs 1 @numoutputs 36 @type nfchoa3d @nfchighpass 1"}) {
    auto const pan = make(box);
    ASSERT_NE(pan, nullptr) << box;
    pan->StartDsp(48000.0, 64);
    pan->SendMessage("speakersradius 10");
    std::vector<std::vector<float>> in(1, std::vector<float>(64, 1.f));
    std::vector<std::vector<float>> out(pan->NumOutlets(), std::vector<float>(64));
    std::vector<float const*> ip{in[0].data()};
    std::vector<float*> op;
    for (auto& v : out) op.push_back(v.data());
    for (int b = 0; b < 400; ++b) {
      float const r = std::max(0.f, 5.f - 0.05f * b);
      pan->SendMessage("sourcespositions " + std::to_string(r) + " 0 0");
      for (unsigned int k = 0; k < 64; ++k) in[0][k] = (b / 4) % 2 == 0 ? 1.f : -1.f;
      pan->ProcessBlock(ip.data(), op.data());
      for (auto& o : out) {
        for (float v : o) ASSERT_TRUE(std::isfinite(v)) << box << " block " << b;
      }
    }
  }
}

TEST_F(NfcHoaObjectTest, AttributesAndReport) {
  auto const pan =
      make("zorv.pan~ @numinputs 2 @numoutputs 9 @type nfchoa3d @encoding N3D @speakersradius 2");
  ASSERT_NE(pan, nullptr);
  EXPECT_EQ(pan->GetAttribute("speakersradius"), std::vector<std::string>{"2."});
  console.clear();
  pan->SendMessage("info");
  ASSERT_GE(console.size(), 3u);
  EXPECT_EQ(std::vector<std::string>(console.begin(), console.begin() + 3),
            (std::vector<std::string>{"NFC-HOA : order : 2 ", "NFC-HOA : encoding convention : N3D",
                                      "NFC-HOA : sorting convention : IncreasingDegrees"}));
  console.clear();
  pan->SendMessage("encoding SN2D");
  EXPECT_EQ(console, std::vector<std::string>{"invalid hoa encoding SN2D"});

  console.clear();
  pan->SendMessage("nfchighpass 1");
  pan->SendMessage("speakersradius 0.1");
  EXPECT_TRUE(console.empty());
  EXPECT_EQ(pan->GetAttribute("nfchighpass"), std::vector<std::string>{"1"});
  EXPECT_EQ(pan->GetAttribute("speakersradius"), std::vector<std::string>{"0.2"});
}

}  // namespace
