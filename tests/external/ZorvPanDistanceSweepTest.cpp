// A source swept from the listener's centre out to ten thousand kilometres,
// in several directions, through every method that renders onto speakers or
// ambisonic components: no method may put out more power than its own law
// allows at any distance, so that a trajectory through the centre is never
// heard as a blast.
//
// The power of a source is the sum of the squares of its gains, read at the
// outlets as the settled answer to a constant input of 1.

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "ZorvHost.h"
#include "ZorvHrtf.h"
#include "ZorvSphericalHarmonicFit.h"
#include "ZorvSphericalHarmonicManager.h"

namespace {

using zorvhost::PanObject;

// The power of a source at MinRadius in the same direction: the bound of a
// law whose power falls with distance.
double const AtMinRadius = -1.0;

struct Sweep {
  char const* box;  // after "zorv.pan~ @numinputs 1"
  // The largest power one source may have, or AtMinRadius.
  double figure;
  // A message that gives the method its data, when it has none of its own.
  std::string (*setup)() = nullptr;
  // The least power of the loudest direction on a layout that surrounds the
  // listener.
  double heard = 0.1;
};

// The KEMAR measurements fitted on spherical harmonics of order 10, written
// once for the run.
std::string loadKemarHarmonics() {
  static std::string const path = [] {
    std::string const p = ::testing::TempDir() + std::to_string(getpid()) + "-sweep.shb";
    Zorv::Hrtf const set("/usr/share/libmysofa/MIT_KEMAR_normal_pinna.sofa");
    Zorv::SphericalHarmonicManager::Write(Zorv::SphericalHarmonicFit::Fit(set, 10, 1e-3, 0).data,
                                          p);
    return p;
  }();
  return "load " + path;
}

// One line per method and channel count. A method that lands later adds its
// line here, with its own figure.
Sweep const sweeps[] = {
    // Constant power.
    {"@type angular @numoutputs 8", 1.0},
    {"@type vbap2d @numoutputs 8", 1.0},
    {"@type vbap @numoutputs 8", 1.0},
    {"@type dbap @numoutputs 8", 1.0},
    {"@type dbap3d @numoutputs 8", 1.0},
    {"@type vdbap @numoutputs 8", 1.0},
    {"@type xy @numoutputs 2", 1.0},
    {"@type ms @numoutputs 2", 1.0},
    {"@type surround @numoutputs 3", 1.0},
    {"@type surround @numoutputs 4", 1.0},
    {"@type panr @numoutputs 4", 1.0},
    {"@type panr @numoutputs 5", 1.0},
    {"@type panr @numoutputs 6", 1.0},
    {"@type panr @numoutputs 7", 1.0},
    {"@type panr @numoutputs 8", 1.0},
    {"@type panr @numoutputs 12", 1.0},
    // The intensity law: its power falls as 1 / distance down to MinRadius
    // and stays there.
    {"@type vbip @numoutputs 8", AtMinRadius},
    // Encodings, whatever the direction: W, X, Y holds 1; W, X, Y, Z holds
    // 1/3 + 3 * 2 * (1/3); SN3D holds 1 per degree; SN2D holds 1 per degree
    // on the horizon and less above it.
    {"@type bformat @numoutputs 3", 1.0},
    {"@type bformat @numoutputs 4", 7.0 / 3.0},
    {"@type hoa2d @numoutputs 5", 3.0},
    {"@type hoa3d @numoutputs 9", 3.0},
    {"@type hoa3d @numoutputs 16", 4.0},
    // The diffuse mix of one input: entries of +-0.5 / sqrt(M) on M outputs.
    {"@type vbap @subtype diffuse @numoutputs 8", 0.25},
    {"@type nfchoa3d @subtype diffuse @numoutputs 5", 0.25},
    // Subwoofers: a low pass of gain 1 at DC (to within 0.005 dB as designed
    // in float), then the ring law over the subwoofers, or the one channel of
    // the sum.
    {"@type subwoofers @numoutputs 4", 1.001},
    {"@type subwoofers @numoutputs 1", 1.001},
    // Headphones: these renderers have no distance law, so a source keeps its
    // direction's level at any distance. The built-in set passes at most
    // about 1.22 of the power of a constant (a source at the side); the
    // interaural-delay renderer's gains 0.7071 +- w, |w| <= 0.35, at most
    // 1 + 2 * 0.35^2.
    {"@type binaural @numoutputs 2", 1.25},
    {"@type binaural @subtype early @numoutputs 2", 1.245},
    // The head models pass a constant whole to each ear (their shadow filters
    // are shelves of gain 1 at DC, and the snowman's torso reflection takes
    // its share from the direct sound).
    {"@type binaural @subtype sphericalheadmodel @numoutputs 2", 2.0},
    {"@type binaural @subtype snowman @numoutputs 2", 2.0},
    // The near-field renderer has one: its gain grows as 2.08 m over the
    // distance and stops at the minimum radius, 10.4 times; each ear takes
    // its own point of the built-in set, which passes at most about 1.22 of
    // the power of a constant.
    {"@type binaural @subtype nearfield @numoutputs 2", 1.25 * 10.4 * 10.4},
    // The continuous renderer's pair of gains sums to at most 1.1 (one
    // speaker at 1, the quiet one held at 0.1): 1.1^2 times the set's 1.22.
    {"@type binaural @subtype continuous @numoutputs 2", 1.48},
    // The spherical-harmonic fit of the measured KEMAR filters, order 10: the
    // measurements hold little at 0 Hz (their loudspeaker gives none), and a
    // constant keeps some 0.0006 of its power.
    {"@type binaural @subtype sh @numoutputs 2", 1e-3, loadKemarHarmonics, 1e-4},
};

// Drives one object with a constant 1 on its single inlet.
class Probe {
 public:
  explicit Probe(std::string const& box) {
    object = PanObject::Create("zorv.pan~ @numinputs 1 " + box, [](auto, auto const&) {});
    if (object == nullptr) return;
    object->SendMessage("interpolationtime 0");
    object->StartDsp(48000., block);
    in.assign(block, 1.f);
    out.assign(object->NumOutlets(), std::vector<float>(block));
    for (auto& c : out) outPointers.push_back(c.data());
  }

  bool Made() const { return object != nullptr; }
  unsigned int NumOutputs() const { return object->NumOutlets(); }
  void Send(std::string const& message) { object->SendMessage(message); }

  double PowerAt(double x, double y, double z) {
    char text[128];
    std::snprintf(text, sizeof text, "source 1 xyz %.9g %.9g %.9g", x, y, z);
    object->SendMessage(text);
    float const* inPointer = in.data();
    // Long enough for every ramp, glide and fade of a zero interpolation time.
    for (int b = 0; b < 4; ++b) object->ProcessBlock(&inPointer, outPointers.data());
    double power = 0.0;
    for (auto const& c : out) power += static_cast<double>(c.back()) * c.back();
    return power;
  }

 private:
  static unsigned int const block = 256;
  std::unique_ptr<PanObject> object;
  std::vector<float> in;
  std::vector<std::vector<float>> out;
  std::vector<float*> outPointers;
};

// n points spread over the unit sphere (a Fibonacci lattice), as one
// "speakers xyz" message.
std::string sphereLayout(unsigned int n) {
  std::string message = "speakers xyz";
  double const golden = 2.399963229728653;
  for (unsigned int k = 0; k < n; ++k) {
    double const z = 1.0 - (2.0 * k + 1.0) / n;
    double const r = std::sqrt(1.0 - z * z);
    char point[96];
    std::snprintf(point, sizeof point, " %.7f %.7f %.7f", r * std::cos(golden * k),
                  r * std::sin(golden * k), z);
    message += point;
  }
  return message;
}

class DistanceSweep : public ::testing::TestWithParam<Sweep> {};

TEST_P(DistanceSweep, NoDistanceGivesMorePowerThanTheLawAllows) {
  double const distances[] = {0.0, 1e-6, 1e-3, 0.05, 0.2, 1.0, 10.0, 1e4, 1e7};
  double const minRadius = 0.2;
  // Unit directions; the second is the one the system gives the origin.
  double const directions[][3] = {{0.0, 1.0, 0.0},         {1.0, 0.0, 0.0},     {0.0, 0.0, 1.0},
                                  {-0.3, -0.8, -0.52},     {0.6, -0.2, 0.7746}, {-0.98, 0.2, 0.0},
                                  {0.5774, 0.5774, 0.5774}};
  Sweep const& sweep = GetParam();
  for (bool threeD : {false, true}) {
    Probe probe(sweep.box);
    ASSERT_TRUE(probe.Made()) << sweep.box;
    if (sweep.setup != nullptr) probe.Send(sweep.setup());
    if (threeD) probe.Send(sphereLayout(probe.NumOutputs()));
    double const atOrigin = probe.PowerAt(minRadius, 0.0, 0.0);
    double loudest = 0.0;
    for (auto const& d : directions) {
      double const norm = std::sqrt(d[0] * d[0] + d[1] * d[1] + d[2] * d[2]);
      double const ux = d[0] / norm, uy = d[1] / norm, uz = d[2] / norm;
      double const atMinRadius = probe.PowerAt(minRadius * ux, minRadius * uy, minRadius * uz);
      for (double r : distances) {
        double const power = probe.PowerAt(r * ux, r * uy, r * uz);
        std::string const where = std::string(sweep.box) + (threeD ? ", sphere layout" : "") +
                                  ", direction " + std::to_string(ux) + " " + std::to_string(uy) +
                                  " " + std::to_string(uz) + ", distance " + std::to_string(r);
        ASSERT_TRUE(std::isfinite(power)) << where;
        loudest = std::max(loudest, power);
        if (sweep.figure != AtMinRadius) {
          EXPECT_LE(power, sweep.figure * (1.0 + 1e-4)) << where;
          continue;
        }
        // Inside MinRadius the source sounds as at MinRadius (the centre in
        // the origin's direction); beyond it the power only falls.
        double const held = r == 0.0 ? atOrigin : atMinRadius;
        if (r <= minRadius) {
          EXPECT_NEAR(power, held, 1e-4 * held + 1e-9) << where;
        } else {
          EXPECT_LE(power, atMinRadius * (1.0 + 1e-4)) << where;
        }
      }
    }
    // The sweep means something only where the method sounds: every one does
    // on a layout that surrounds the listener.
    if (threeD) {
      EXPECT_GT(loudest, sweep.heard) << sweep.box;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Methods, DistanceSweep, ::testing::ValuesIn(sweeps),
                         [](::testing::TestParamInfo<Sweep> const& info) {
                           std::string name;
                           for (char const* c = info.param.box; *c != '\0'; ++c) {
                             if (std::isalnum(static_cast<unsigned char>(*c))) name += *c;
                           }
                           return name;
                         });

}  // namespace
