// The headphone renderers through the object, driven by the facade as every
// front end drives it, and checked against the KEMAR measurements read here
// with libmysofa.

#include <gtest/gtest.h>
#include <mysofa.h>
#include <unistd.h>

#include <cmath>
#include <complex>
#include <cstdio>
#include <fstream>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "ZorvHost.h"
#include "ZorvHrtf.h"
#include "ZorvHrtf2bKemar44100.h"
#include "ZorvHrtfItdEstimator.h"
#include "ZorvHrtfSdifFileWriter.h"
#include "ZorvPanObject.h"

namespace {

using zorvhost::PanObject;
using zorvhost::Severity;

double const pi = 3.14159265358979323846;
char const* const kemarSofa = "/usr/share/libmysofa/MIT_KEMAR_normal_pinna.sofa";

struct Pair {
  std::vector<double> left, right;
};

// The measured responses of the direction nearest to a user's azimuth
// (clockwise from the front) and elevation, at the file's rate (44.1 kHz).
class Measurements {
 public:
  Measurements() {
    int err = 0;
    hrtf = mysofa_load(kemarSofa, &err);
    if (hrtf == nullptr) return;
    mysofa_tocartesian(hrtf);
    // The receiver on the +y side of the file's axes (x front, y left) is
    // the left ear.
    leftReceiver = hrtf->ReceiverPosition.values[1] > 0.f ? 0 : 1;
  }
  ~Measurements() {
    if (hrtf != nullptr) mysofa_free(hrtf);
  }
  bool ok() const { return hrtf != nullptr; }

  Pair at(double azimuthDeg, double elevationDeg, double* foundCosine = nullptr) const {
    double const a = azimuthDeg * pi / 180., e = elevationDeg * pi / 180.;
    // The file's axes: x front, y left, z up.
    double const want[3] = {std::cos(e) * std::cos(a), -std::cos(e) * std::sin(a), std::sin(e)};
    unsigned int best = 0;
    double bestCos = -2.;
    for (unsigned int m = 0; m < hrtf->M; ++m) {
      float const* p = hrtf->SourcePosition.values + 3 * m;
      double const n = std::sqrt(double(p[0]) * p[0] + double(p[1]) * p[1] + double(p[2]) * p[2]);
      double const c = (p[0] * want[0] + p[1] * want[1] + p[2] * want[2]) / n;
      if (c > bestCos) {
        bestCos = c;
        best = m;
      }
    }
    if (foundCosine != nullptr) *foundCosine = bestCos;
    Pair pair;
    unsigned int const n = hrtf->N;
    float const* ir = hrtf->DataIR.values + static_cast<std::size_t>(best) * hrtf->R * n;
    pair.left.assign(ir + leftReceiver * n, ir + (leftReceiver + 1) * n);
    pair.right.assign(ir + (1 - leftReceiver) * n, ir + (2 - leftReceiver) * n);
    return pair;
  }

 private:
  MYSOFA_HRTF* hrtf = nullptr;
  unsigned int leftReceiver = 0;
};

// Lag of the right ear behind the left (positive: the left ear is later,
// the source is on the right), from the peak of the cross-correlation refined
// by a parabola, in samples. Both ears first go through the same low-pass at
// 1.5 kHz (two second-order Butterworth sections): the ear takes the ITD from
// the low frequencies, and above them the correlation of a dummy head's
// responses jumps between lobes.
std::vector<double> lowPassed(std::vector<double> const& x, double rate) {
  double const w = 2. * pi * 1500. / rate;
  double const alpha = std::sin(w) / (2. * std::sqrt(0.5));
  double const a0 = 1. + alpha;
  double const b0 = (1. - std::cos(w)) / 2. / a0, b1 = (1. - std::cos(w)) / a0, b2 = b0;
  double const a1 = -2. * std::cos(w) / a0, a2 = (1. - alpha) / a0;
  std::vector<double> y = x;
  for (int pass = 0; pass < 2; ++pass) {
    double x1 = 0., x2 = 0., y1 = 0., y2 = 0.;
    for (double& v : y) {
      double const out = b0 * v + b1 * x1 + b2 * x2 - a1 * y1 - a2 * y2;
      x2 = x1;
      x1 = v;
      y2 = y1;
      y1 = out;
      v = out;
    }
  }
  return y;
}

double lagOf(Pair const& p, double rate) {
  std::vector<double> const left = lowPassed(p.left, rate), right = lowPassed(p.right, rate);
  int const n = static_cast<int>(std::min(left.size(), right.size()));
  int const maxLag = 96;
  double best = -1e300;
  int bestLag = 0;
  std::vector<double> c(2 * maxLag + 1);
  for (int lag = -maxLag; lag <= maxLag; ++lag) {
    double s = 0.;
    for (int k = 0; k < n; ++k) {
      int const j = k - lag;
      if (j >= 0 && j < n) s += left[k] * right[j];
    }
    c[lag + maxLag] = s;
    if (s > best) {
      best = s;
      bestLag = lag;
    }
  }
  int const i = bestLag + maxLag;
  if (i == 0 || i == 2 * maxLag) return bestLag;
  double const a = c[i - 1], b = c[i], d = c[i + 1];
  double const den = a - 2. * b + d;
  return den == 0. ? bestLag : bestLag + 0.5 * (a - d) / den;
}

// The ITD in seconds as the sets define it: the cross-correlation of the two
// ears below 1.5 kHz, by the estimator that made the built-in set's delays.
double itdOf(Pair const& p, double rate) {
  std::vector<float> const l(p.left.begin(), p.left.end()), r(p.right.begin(), p.right.end());
  return 1e-3 * Zorv::HrtfItdEstimator::EstimateMilliseconds(l.data(), r.data(),
                                                             std::min(l.size(), r.size()), rate);
}

// Energy of a response in the octave band around fc, from its spectrum on
// a fine grid of frequencies.
double bandEnergy(std::vector<double> const& x, double fc, double rate) {
  double e = 0.;
  double const lo = fc / std::sqrt(2.), hi = fc * std::sqrt(2.);
  double const step = 10.;
  for (double f = lo; f < hi; f += step) {
    std::complex<double> s = 0.;
    std::complex<double> const w = std::exp(std::complex<double>(0., -2. * pi * f / rate));
    std::complex<double> z = 1.;
    for (double v : x) {
      s += v * z;
      z *= w;
    }
    e += std::norm(s);
  }
  return e;
}

class BinauralObjectTest : public ::testing::Test {
 protected:
  void SetUp() override {
    zorv_pan_set_factory_for_tests(nullptr);
    zorvhost::TakeConsole();
  }

  std::unique_ptr<PanObject> make(std::string const& box) {
    console.clear();
    return PanObject::Create("zorv.pan~ " + box, [this](Severity s, std::string const& text) {
      console.push_back({s, text});
    });
  }

  std::vector<std::string> texts(Severity s) const {
    std::vector<std::string> out;
    for (auto const& l : console) {
      if (l.severity == s) out.push_back(l.text);
    }
    return out;
  }

  // The response of a one-source object to an impulse, once every change has
  // settled (delays glide over 30 ms, filters fade over 5 ms).
  static Pair impulse(PanObject& pan, double rate, unsigned int length = 1024) {
    unsigned int const block = 64;
    std::vector<float> in(block, 0.f), l(block), r(block);
    float const* ins[] = {in.data()};
    float* outs[] = {l.data(), r.data()};
    for (int b = 0; b < static_cast<int>(0.1 * rate / block); ++b) pan.ProcessBlock(ins, outs);
    Pair p;
    in[0] = 1.f;
    while (p.left.size() < length) {
      pan.ProcessBlock(ins, outs);
      p.left.insert(p.left.end(), l.begin(), l.end());
      p.right.insert(p.right.end(), r.begin(), r.end());
      in[0] = 0.f;
    }
    return p;
  }

  std::vector<zorvhost::ConsoleLine> console;
};

TEST_F(BinauralObjectTest, BoxesOfTheThreeRenderers) {
  EXPECT_NE(make("@numinputs 4 @numoutputs 2 @type binaural"), nullptr);
  EXPECT_NE(make("@numinputs 4 @numoutputs 2 @type binaural @subtype early"), nullptr);
  EXPECT_NE(make("@numinputs 2 @numoutputs 2 @type binaural @subtype diffuse"), nullptr);
  for (char const* box : {"@numinputs 1 @numoutputs 2 @type binaural @subtype diffuse",
                          "@numinputs 2 @numoutputs 3 @type binaural",
                          "@numinputs 2 @numoutputs 1 @type binaural @subtype early"}) {
    EXPECT_EQ(make(box), nullptr) << box;
    EXPECT_EQ(texts(Severity::Error),
              std::vector<std::string>{"Unsupported panning configuration"});
  }
}

// On the grid of the measurements, at their rate: the interaural time
// difference within 30 us and octave-band level differences within 2.5 dB
// from 500 Hz to 8 kHz, for azimuths up to 90 degrees either side. One place
// is known to miss by a little: the far ear's 4 kHz octave 20 degrees below
// the horizon and 75 to 90 degrees aside, where the six sections of the
// built-in set keep a notch 2.6 to 2.9 dB shallower than measured; there 3 dB.
TEST_F(BinauralObjectTest, DirectMatchesTheMeasuredItdAndIld) {
  Measurements kemar;
  if (!kemar.ok()) GTEST_SKIP() << "no " << kemarSofa;
  double const rate = 44100.;
  int directions = 0;
  for (double elevation : {0., -20., 30.}) {
    for (double azimuth = -90.; azimuth <= 90.; azimuth += 15.) {
      double cosine = 0.;
      Pair const measured = kemar.at(azimuth, elevation, &cosine);
      if (cosine < 0.99999) continue;  // not a measured direction
      ++directions;
      auto pan = make("@numinputs 1 @numoutputs 2 @type binaural");
      ASSERT_NE(pan, nullptr);
      pan->StartDsp(rate, 64);
      char message[96];
      std::snprintf(message, sizeof message, "source 1 aed %g %g 1", azimuth, elevation);
      pan->SendMessage(message);
      Pair const rendered = impulse(*pan, rate);
      SCOPED_TRACE(::testing::Message() << "azimuth " << azimuth << " elevation " << elevation);
      EXPECT_NEAR(itdOf(rendered, rate) * 1e6, itdOf(measured, rate) * 1e6, 30.);
      for (double fc : {500., 1000., 2000., 4000., 8000.}) {
        double const ildRendered = 10. * std::log10(bandEnergy(rendered.left, fc, rate) /
                                                    bandEnergy(rendered.right, fc, rate));
        double const ildMeasured = 10. * std::log10(bandEnergy(measured.left, fc, rate) /
                                                    bandEnergy(measured.right, fc, rate));
        bool const knownMiss = elevation == -20. && std::fabs(azimuth) >= 75. && fc == 4000.;
        EXPECT_NEAR(ildRendered, ildMeasured, knownMiss ? 3. : 2.5) << fc << " Hz";
      }
    }
  }
  EXPECT_GE(directions, 30);
}

TEST_F(BinauralObjectTest, ASourceOnTheRightIsLouderAndEarlierThere) {
  auto pan = make("@numinputs 1 @numoutputs 2 @type binaural");
  ASSERT_NE(pan, nullptr);
  pan->StartDsp(44100., 64);
  pan->SendMessage("source 1 aed 90 0 1");
  Pair const p = impulse(*pan, 44100.);
  double el = 0., er = 0.;
  for (double v : p.left) el += v * v;
  for (double v : p.right) er += v * v;
  EXPECT_GT(er, 4. * el);
  EXPECT_GT(lagOf(p, 44100.), 10.);  // the left ear some 0.3 ms later
}

// Turning the head 90 degrees clockwise puts a source in front on the left.
TEST_F(BinauralObjectTest, ListenerYawTurnsTheScene) {
  auto turned = make("@numinputs 1 @numoutputs 2 @type binaural");
  auto side = make("@numinputs 1 @numoutputs 2 @type binaural");
  ASSERT_NE(turned, nullptr);
  ASSERT_NE(side, nullptr);
  for (auto* p : {turned.get(), side.get()}) p->StartDsp(48000., 64);
  turned->SendMessage("source 1 aed 0 0 1");
  turned->SendMessage("listener yaw 90");
  side->SendMessage("source 1 aed -90 0 1");
  Pair const a = impulse(*turned, 48000.), b = impulse(*side, 48000.);
  for (std::size_t k = 0; k < a.left.size(); ++k) {
    ASSERT_NEAR(a.left[k], b.left[k], 1e-5) << k;
    ASSERT_NEAR(a.right[k], b.right[k], 1e-5) << k;
  }
}

// A SOFA set is an FIR set, and so is the .hrtf file that zorv-hrtf writes
// from it: the rendered impulse is the measured pair at the stereo level of a
// binaural sum.
TEST_F(BinauralObjectTest, SofaAndFirHrtfSetsRenderTheMeasuredResponses) {
  Measurements kemar;
  if (!kemar.ok()) GTEST_SKIP() << "no " << kemarSofa;
  std::string const converted = ::testing::TempDir() + std::to_string(getpid()) + "-kemar-fir.hrtf";
  Zorv::HrtfSdifFileWriter::Write(Zorv::Hrtf(kemarSofa, 44100), converted, "zorv-hrtf");
  for (std::string const& file : {std::string(kemarSofa), converted}) {
    auto pan = make("@numinputs 1 @numoutputs 2 @type binaural");
    ASSERT_NE(pan, nullptr);
    pan->StartDsp(44100., 64);
    pan->SendMessage("load " + file);
    EXPECT_TRUE(texts(Severity::Error).empty()) << file;
    EXPECT_TRUE(texts(Severity::Warning).empty()) << file;
    for (double azimuth : {0., 40., -115., 180.}) {
      char message[64];
      std::snprintf(message, sizeof message, "source 1 aed %g 10 1.3", azimuth);
      pan->SendMessage(message);
      Pair const rendered = impulse(*pan, 44100., 1024);
      Pair const measured = kemar.at(azimuth, 10.);
      for (std::size_t k = 0; k < measured.left.size(); ++k) {
        ASSERT_NEAR(rendered.left[k], 0.70710677 * measured.left[k], 1e-5) << azimuth << " " << k;
        ASSERT_NEAR(rendered.right[k], 0.70710677 * measured.right[k], 1e-5) << azimuth << " " << k;
      }
      for (std::size_t k = measured.left.size(); k < rendered.left.size(); ++k) {
        ASSERT_NEAR(rendered.left[k], 0., 1e-6);
      }
    }
  }
  std::remove(converted.c_str());
}

TEST_F(BinauralObjectTest, LoadRefusesWhatTheRendererCannotUse) {
  std::string const dir = ::testing::TempDir() + std::to_string(getpid()) + "-";
  std::string const shb = dir + "basis.shb", wav = dir + "voice.wav";
  for (std::string const& f : {shb, wav}) std::ofstream(f) << "not a set\n";
  auto pan = make("@numinputs 1 @numoutputs 2 @type binaural");
  ASSERT_NE(pan, nullptr);
  pan->SendMessage("load " + shb);
  EXPECT_EQ(texts(Severity::Error), std::vector<std::string>{"Error loading file " + shb});
  EXPECT_EQ(pan->GetAttribute("hrtffile"), std::vector<std::string>{"none"});
  console.clear();
  pan->SendMessage("load " + wav);
  EXPECT_EQ(texts(Severity::Error),
            std::vector<std::string>{"Can only load from coll, hrtf or sofa files"});
  console.clear();
  pan->SendMessage("read kemar");
  EXPECT_EQ(texts(Severity::Post), std::vector<std::string>{"Loaded hrtf from kemar"});
  // "early" has no set to load.
  auto early = make("@numinputs 1 @numoutputs 2 @type binaural @subtype early");
  early->SendMessage("load kemar");
  EXPECT_EQ(texts(Severity::Error), std::vector<std::string>{"Error loading file kemar"});
  for (std::string const& f : {shb, wav}) std::remove(f.c_str());
}

// The set's report, and a set made for another rate than the running one,
// said once.
TEST_F(BinauralObjectTest, InfoAndTheRateOfTheSet) {
  auto pan = make("@numinputs 1 @numoutputs 2 @type binaural");
  ASSERT_NE(pan, nullptr);
  pan->StartDsp(44100., 64);
  console.clear();
  pan->SendMessage("info");
  std::vector<std::string> const posts = texts(Severity::Post);
  ASSERT_GE(posts.size(), 13u);
  EXPECT_EQ(posts[0], "Hrtf : owner : MIT ");
  EXPECT_EQ(posts[4], "Hrtf : filter type : BiquadCells");
  EXPECT_EQ(posts[9], "Hrtf : coefficients : 25");
  EXPECT_EQ(posts[11], "Hrtf : sampling rate : 44100");
  EXPECT_EQ(posts[12], "Hrtf : points : 710");

  auto early = make("@numinputs 1 @numoutputs 2 @type binaural @subtype early");
  early->SendMessage("info");
  EXPECT_EQ(texts(Severity::Warning), std::vector<std::string>{"no hrtf info available"});

  // A .coll file of the 44.1 kHz table, played at 48 kHz.
  std::string const coll =
      ::testing::TempDir() + std::to_string(getpid()) + "-set-KEMAR-44100.coll";
  {
    std::ofstream f(coll);
    for (int row = 0; row < 710; ++row) {
      f << row + 1 << ",";
      for (int c = 0; c < 26; ++c) f << " " << Zorv::hrtf_2b_KEMAR_44100[row][c];
      f << ";\n";
    }
  }
  pan->StartDsp(48000., 64);
  console.clear();
  pan->SendMessage("load " + coll);
  EXPECT_EQ(texts(Severity::Warning),
            std::vector<std::string>{"the hrtf set is made for 44100 Hz and runs at 48000 Hz: its "
                                     "cues are shifted by a factor of 1.0884"});
  console.clear();
  pan->StartDsp(48000., 64);
  pan->StartDsp(44100., 64);
  EXPECT_TRUE(texts(Severity::Warning).empty());
  std::remove(coll.c_str());
}

// Every name the attribute reads back is taken again, meaning the same: a
// saved patch comes back as it was.
TEST_F(BinauralObjectTest, ItdTypeSurvivesASaveAndReload) {
  for (char const* name : {"basic", "woodworth", "measurement", "larcherjot", "Woodworth3d",
                           "savioja", "miller", "NoITD"}) {
    auto pan = make(std::string("@numinputs 1 @numoutputs 2 @type binaural @itdtype ") + name);
    ASSERT_NE(pan, nullptr);
    std::vector<std::string> const saved = pan->GetAttribute("itdtype");
    ASSERT_EQ(saved.size(), 1u);
    auto again = make("@numinputs 1 @numoutputs 2 @type binaural @itdtype " + saved[0]);
    EXPECT_EQ(again->GetAttribute("itdtype"), saved) << name;
    for (auto* p : {pan.get(), again.get()}) {
      p->StartDsp(48000., 64);
      p->SendMessage("source 1 aed 60 10 0.5");
    }
    Pair const a = impulse(*pan, 48000.), b = impulse(*again, 48000.);
    EXPECT_EQ(a.left, b.left) << name;
    EXPECT_EQ(a.right, b.right) << name;
  }
}

// A change of model is heard at once by a source that does not move.
TEST_F(BinauralObjectTest, ItdTypeAndHeadRadiusAreHeardAtOnce) {
  auto pan = make("@numinputs 1 @numoutputs 2 @type binaural @itdtype woodworth");
  ASSERT_NE(pan, nullptr);
  pan->StartDsp(48000., 64);
  pan->SendMessage("source 1 aed 90 0 1");
  double const small = lagOf(impulse(*pan, 48000.), 48000.);
  pan->SendMessage("headradius 0.15");
  double const large = lagOf(impulse(*pan, 48000.), 48000.);
  // r/c (pi/2 + 1) at 48 kHz: 31.8 samples for 0.0875 m, 54.5 for 0.15 m;
  // the filters' own delay difference comes on top of both alike.
  EXPECT_NEAR(large - small, (0.15 - 0.0875) / 340. * (pi / 2. + 1.) * 48000., 1.5);
  pan->SendMessage("itdtype NoITD");
  EXPECT_NEAR(lagOf(impulse(*pan, 48000.), 48000.), small - 0.0875 / 340. * (pi / 2. + 1.) * 48000.,
              1.5);
}

// A muted or unconnected input of "early" leaves silence, not its last block.
TEST_F(BinauralObjectTest, EarlyOutputsAreAlwaysWritten) {
  auto pan = make("@numinputs 1 @numoutputs 2 @type binaural @subtype early");
  ASSERT_NE(pan, nullptr);
  pan->StartDsp(48000., 32);
  std::vector<float> in(32, 0.5f), l(32), r(32);
  float const* ins[] = {in.data()};
  float* outs[] = {l.data(), r.data()};
  for (int b = 0; b < 10; ++b) pan->ProcessBlock(ins, outs);
  EXPECT_NE(l[31], 0.f);
  pan->SendMessage("source 1 mute 1");
  pan->ProcessBlock(ins, outs);
  EXPECT_EQ(l, std::vector<float>(32, 0.f));
  EXPECT_EQ(r, std::vector<float>(32, 0.f));
}

}  // namespace

namespace {

class NearSet : public Zorv::HrtfData {
 public:
  explicit NearSet(Zorv::HrtfType type) {
    Zorv::HrtfHeaderInfos h;
    h.hrtfType = type;
    h.filterType = Zorv::BiquadCells;
    h.numChannels = 2;
    h.numCoefficients = 5;
    h.sampleRate = 44100;
    h.owner = "zorv tests";
    h.numPoints = 4;
    std::vector<Zorv::HrtfPoint> points(4);
    for (uint32_t k = 0; k < 4; ++k) {
      points[k].position = nolardsp::CartesianVector(0.3f * (k % 2 ? 1.f : -1.f), 0.3f, 0.f);
      points[k].numChannels = 2;
      points[k].numCoefficients = 5;
      points[k].index = k;
      points[k].coefficients = {2.f, 0.f, 0.f, 0.f, 0.f, 0.5f, 0.f, 0.f, 0.f, 0.f};
    }
    install(std::move(h), std::move(points), "memory");
  }
  void LoadFromFile(char const*) override {}
};

}  // namespace

// "loadnf": the object's texts for each way a file can fail, the set in use
// kept, and the compensation set in the "info" report once loaded.
TEST_F(BinauralObjectTest, NearfieldLoadsCompensationSetsWithTheObjectsTexts) {
  std::string const dir = ::testing::TempDir() + std::to_string(getpid()) + "-";
  std::string const good = dir + "good.near", kind = dir + "kind.near", bad = dir + "bad.near";
  Zorv::HrtfSdifFileWriter::Write(NearSet(Zorv::NearfieldCompensationFilter), good, "test");
  Zorv::HrtfSdifFileWriter::Write(NearSet(Zorv::Binaural), kind, "test");
  std::ofstream(bad) << "not a set\n";

  auto direct = make("@numinputs 1 @numoutputs 2 @type binaural");
  direct->SendMessage("loadnf " + good);
  EXPECT_EQ(texts(Severity::Error),
            std::vector<std::string>{"message only supported by binaural nearfield"});

  auto pan = make("@numinputs 1 @numoutputs 2 @type binaural @subtype nearfield");
  ASSERT_NE(pan, nullptr);
  EXPECT_EQ(pan->GetAttribute("radius"), std::vector<std::string>{"0.2"});
  pan->SendMessage("info");
  EXPECT_EQ(texts(Severity::Error), std::vector<std::string>{"couldnt get hrtf info"});
  console.clear();
  pan->SendMessage("loadnf " + good);
  EXPECT_EQ(texts(Severity::Post),
            std::vector<std::string>{"Loaded nearfield compensation filters from " + good});
  console.clear();
  pan->SendMessage("loadnf " + kind);
  EXPECT_EQ(texts(Severity::Error),
            std::vector<std::string>{"Error loading compensation filters from " + kind});
  console.clear();
  pan->SendMessage("loadnf " + bad);
  ASSERT_EQ(texts(Severity::Error).size(), 1u);
  EXPECT_NE(texts(Severity::Error)[0].find(bad), std::string::npos);
  console.clear();
  pan->SendMessage("loadnf KEMAR");
  EXPECT_EQ(texts(Severity::Post),
            std::vector<std::string>{"Loaded nearfield compensation filters from kemar"});
  pan->SendMessage("loadnf " + good);
  console.clear();
  pan->SendMessage("loadnf " + dir + "voice.wav");
  EXPECT_EQ(texts(Severity::Error).size(), 1u);
  console.clear();
  pan->SendMessage("info");
  std::vector<std::string> const posts = texts(Severity::Post);
  ASSERT_GE(posts.size(), 26u);
  EXPECT_EQ(posts[13], "Nearfield filter : owner : zorv tests ");
  EXPECT_EQ(posts[16], "Nearfield filter : hrtf type : NearfieldCompensationFilter");
  EXPECT_EQ(posts[25], "Nearfield filter : points : 4");
  // The attributes reach the renderer and every output stays finite.
  for (char const* m :
       {"radius 0", "gainscorrection 1", "delayscorrection 1", "crossearselection 0",
        "hrtffilters 0", "nfcompensationfilters 0", "distanceattenuation 0", "headradius 0.5",
        "source 1 xyz 0 0 0", "source 1 xyz 0.5 0 0"}) {
    pan->SendMessage(m);
  }
  EXPECT_EQ(pan->GetAttribute("radius"), std::vector<std::string>{"0.2"});
  Pair const p = impulse(*pan, 44100.);
  for (std::size_t k = 0; k < p.left.size(); ++k) {
    ASSERT_TRUE(std::isfinite(p.left[k]) && std::isfinite(p.right[k]));
  }
  for (std::string const& f : {good, kind, bad}) std::remove(f.c_str());
}
