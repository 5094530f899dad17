// The coordinate grammar: every keyword on a typical point, the keywords that
// keep coordinates applied to a known present position, the readers' console
// texts, and lists that must change nothing.

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "MaxApiHost.h"
#include "NolarMaxAtoms.h"
#include "ZorvCoordinates.h"

namespace {

using nolardsp::CartesianVector;

using Lines = std::vector<std::pair<int, std::string>>;

double const degree = 3.14159265358979323846 / 180.0;

std::vector<t_atom> atomsOf(char const* text) {
  return maxapi_parse_atoms(text);
}

// A point from the user's angles, computed in double the direct way: azimuth
// clockwise from the front, elevation up.
CartesianVector user(double azimuth, double elevation, double distance) {
  double const a = azimuth * degree;
  double const e = elevation * degree;
  return CartesianVector(static_cast<float>(distance * std::sin(a) * std::cos(e)),
                         static_cast<float>(distance * std::cos(a) * std::cos(e)),
                         static_cast<float>(distance * std::sin(e)));
}

void expectNear(CartesianVector const& got, CartesianVector const& want, char const* what) {
  EXPECT_NEAR(got.x, want.x, 2e-5) << what;
  EXPECT_NEAR(got.y, want.y, 2e-5) << what;
  EXPECT_NEAR(got.z, want.z, 2e-5) << what;
}

void expectSame(CartesianVector const& got, CartesianVector const& want) {
  EXPECT_EQ(got.x, want.x);
  EXPECT_EQ(got.y, want.y);
  EXPECT_EQ(got.z, want.z);
}

// The console since the last call, as (severity, text).
std::vector<std::pair<int, std::string>> console() {
  return maxapi_console_take();
}

class Coordinates : public ::testing::Test {
 protected:
  void SetUp() override { console(); }
};

struct KeywordCase {
  char const* message;  // keyword and numbers
  CartesianVector present;
  CartesianVector expected;
};

CartesianVector const P(1.f, 2.f, 0.5f);
float const horizontal = std::sqrt(5.f);  // of P
float const radiusP = std::sqrt(5.25f);

std::vector<KeywordCase> keywordCases() {
  return {
      {"xyz 1 2 3", P, {1.f, 2.f, 3.f}},
      {"xy 1 -2", P, {1.f, -2.f, 0.f}},
      {"x++ 0.5", P, {1.5f, 2.f, 0.5f}},
      {"y++ -1", P, {1.f, 1.f, 0.5f}},
      {"z++ 2", P, {1.f, 2.f, 2.5f}},
      {"ade 30 2 0", P, user(30, 0, 2)},
      {"aed 30 0 2", P, user(30, 0, 2)},
      {"aed -120 40 3", P, user(-120, 40, 3)},
      {"ae -90 45", P, user(-90, 45, 1)},
      {"ad 90 3", P, user(90, 0, 3)},
      {"az 180", P, user(180, 0, 1)},
      // Radius and elevation of P kept.
      {"azim 90", P, {horizontal, 0.f, 0.5f}},
      {"azim++ 90", P, {2.f, -1.f, 0.5f}},
      {"azim++ -90", P, {-2.f, 1.f, 0.5f}},
      {"elev 0", P, {radiusP / horizontal, 2.f * radiusP / horizontal, 0.f}},
      {"elev++ 10", {0.f, 1.f, 0.f}, user(0, -10, 1)},
      {"elev++ -30", {0.f, 2.f, 0.f}, user(0, 30, 2)},
      {"dist 4", {0.f, 2.f, 0.f}, {0.f, 4.f, 0.f}},
      {"dist -4", {0.f, 2.f, 0.f}, {0.f, 4.f, 0.f}},
      {"dist 0", {0.f, 2.f, 0.f}, {0.f, 0.00001f, 0.f}},
      {"dist++ 1", {0.f, 2.f, 0.f}, {0.f, 3.f, 0.f}},
      {"dist++ -5", {0.f, 2.f, 0.f}, {0.f, 0.00001f, 0.f}},
      {"zorv3 30 2 10", P, user(-30, 10, 2)},
      {"wfs 30 2", P, user(-30, 0, 2)},
      {"x 5", P, {5.f, 2.f, 0.5f}},
      {"y -5", P, {1.f, -5.f, 0.5f}},
      {"z 5", P, {1.f, 2.f, 5.f}},
      // Wrap-around and the grammar's own folding.
      {"ade 390 1 0", P, user(30, 0, 1)},
      {"ade -180 1 0", P, user(180, 0, 1)},
      {"ade 0 -2 0", P, {0.f, -2.f, 0.f}},
      {"ade 90 -1 30", P, user(-90, -30, 1)},
      {"aed 0 100 1", P, user(180, -10, 1)},
      {"aed 0 -100 1", P, user(180, 10, 1)},
      {"aed 10 370 1", P, user(10, 10, 1)},
      {"elev 100", {0.f, 1.f, 0.f}, user(0, -10, 1)},
      {"elev -100", {0.f, 1.f, 0.f}, user(0, 10, 1)},
      {"ad 0 -2", P, {0.f, -2.f, 0.f}},
      // Huge distances are positions like any other.
      {"ade 0 100000 0", P, {0.f, 100000.f, 0.f}},
      // A single-coordinate keyword on the origin keeps the origin.
      {"azim 30", {0.f, 0.f, 0.f}, {0.f, 0.f, 0.f}},
  };
}

TEST_F(Coordinates, EveryKeywordReadsItsPoint) {
  for (KeywordCase const& c : keywordCases()) {
    std::vector<t_atom> atoms = atomsOf(c.message);
    CoordinatesFormat format;
    unsigned int stride = 0;
    ASSERT_TRUE(CoordinatesFormatLookUp(atoms[0].a_w.w_sym, format, stride)) << c.message;
    EXPECT_EQ(static_cast<std::size_t>(stride), atoms.size() - 1) << c.message;
    CartesianVector p = c.present;
    ASSERT_TRUE(atoms2coordinates(p, format, static_cast<int>(atoms.size() - 1), atoms.data() + 1))
        << c.message;
    float const tolerance = 2e-5f * std::max(1.f, c.expected.radius());
    EXPECT_NEAR(p.x, c.expected.x, tolerance) << c.message;
    EXPECT_NEAR(p.y, c.expected.y, tolerance) << c.message;
    EXPECT_NEAR(p.z, c.expected.z, tolerance) << c.message;
  }
}

TEST_F(Coordinates, AllTwentyOneKeywordsInTheirOrder) {
  char const* const names[] = {"xyz",  "xy",     "x++",   "y++",  "z++",    "ade",  "aed",
                               "ae",   "ad",     "az",    "azim", "azim++", "elev", "elev++",
                               "dist", "dist++", "zorv3", "wfs",  "x",      "y",    "z"};
  unsigned int const strides[] = {3, 2, 1, 1, 1, 3, 3, 2, 2, 1, 1, 1, 1, 1, 1, 1, 3, 2, 1, 1, 1};
  for (int f = 0; f < 21; ++f) {
    CoordinatesFormat format;
    unsigned int stride = 0;
    ASSERT_TRUE(CoordinatesFormatLookUp(gensym(names[f]), format, stride)) << names[f];
    EXPECT_EQ(format, static_cast<CoordinatesFormat>(f)) << names[f];
    EXPECT_EQ(stride, strides[f]) << names[f];
    EXPECT_STREQ(CoordinatesFormatName(format), names[f]);
  }
  CoordinatesFormat format;
  unsigned int stride = 0;
  EXPECT_FALSE(CoordinatesFormatLookUp(gensym("XYZ"), format, stride));
  EXPECT_FALSE(CoordinatesFormatLookUp(gensym("aze"), format, stride));
}

TEST_F(Coordinates, BadListsAreRefusedAndChangeNothing) {
  t_atom nan[3];
  t_atom inf[3];
  for (int i = 0; i < 3; ++i) {
    atom_setfloat(nan + i, i == 1 ? std::numeric_limits<double>::quiet_NaN() : 1.);
    atom_setfloat(inf + i, i == 2 ? std::numeric_limits<double>::infinity() : 1.);
  }
  std::vector<t_atom> tooFew = atomsOf("1 2");
  std::vector<t_atom> symbol = atomsOf("1 foo 2");
  std::vector<t_atom> overflow = atomsOf("1e39 0 0");  // a double, but no float
  std::vector<t_atom> big = atomsOf("3e38");
  struct Bad {
    CoordinatesFormat format;
    int count;
    t_atom const* atoms;
    char const* what;
  } const cases[] = {
      {CoordinatesFormatXYZ, 2, tooFew.data(), "too few numbers"},
      {CoordinatesFormatXYZ, 3, symbol.data(), "a symbol for a number"},
      {CoordinatesFormatAzim, 0, nullptr, "an empty list"},
      {CoordinatesFormatXYZ, 3, nan, "NaN"},
      {CoordinatesFormatADE, 3, nan, "NaN"},
      {CoordinatesFormatXYZ, 3, inf, "infinity"},
      {CoordinatesFormatAED, 3, inf, "infinite distance"},
      {CoordinatesFormatXYZ, 3, overflow.data(), "past the float range"},
      {static_cast<CoordinatesFormat>(21), 3, tooFew.data(), "format 21"},
      {static_cast<CoordinatesFormat>(-1), 3, tooFew.data(), "format -1"},
  };
  for (Bad const& c : cases) {
    CartesianVector p = P;
    EXPECT_FALSE(atoms2coordinates(p, c.format, c.count, c.atoms)) << c.what;
    expectSame(p, P);
  }
  // A sum past the float range is refused too.
  CartesianVector p(3e38f, 0.f, 0.f);
  EXPECT_FALSE(atoms2coordinates(p, CoordinatesFormatXPlusPlus, 1, big.data()));
  EXPECT_EQ(p.x, 3e38f);
  // atoms2coordinates itself reports nothing.
  EXPECT_TRUE(console().empty());
}

TEST_F(Coordinates, ExtraAtomsAreNotLookedAt) {
  std::vector<t_atom> atoms = atomsOf("1 2 3 foo");
  CartesianVector p;
  EXPECT_TRUE(atoms2coordinates(p, CoordinatesFormatXYZ, 4, atoms.data()));
  expectSame(p, CartesianVector(1.f, 2.f, 3.f));
}

TEST_F(Coordinates, WriterGivesWhatTheReaderTakes) {
  CartesianVector const point = user(-60, 20, 3);
  CoordinatesFormat const readable[] = {CoordinatesFormatXYZ, CoordinatesFormatADE,
                                        CoordinatesFormatAED, CoordinatesFormatZorv3};
  for (CoordinatesFormat format : readable) {
    t_atom atoms[3];
    ASSERT_TRUE(coordinates2atoms(point, format, 3, atoms)) << format;
    CartesianVector back;
    ASSERT_TRUE(atoms2coordinates(back, format, 3, atoms)) << format;
    expectNear(back, point, CoordinatesFormatName(format));
  }
  t_atom atoms[3];
  ASSERT_TRUE(coordinates2atoms(point, CoordinatesFormatADE, 3, atoms));
  EXPECT_NEAR(atom_getfloat(atoms + 0), -60., 1e-4);
  EXPECT_NEAR(atom_getfloat(atoms + 1), 3., 1e-5);
  EXPECT_NEAR(atom_getfloat(atoms + 2), 20., 1e-4);
  ASSERT_TRUE(coordinates2atoms(point, CoordinatesFormatAE, 3, atoms));
  EXPECT_NEAR(atom_getfloat(atoms + 1), 20., 1e-4);
  ASSERT_TRUE(coordinates2atoms(point, CoordinatesFormatAZ, 3, atoms));
  EXPECT_NEAR(atom_getfloat(atoms + 0), -60., 1e-4);
  // "wfs" writes the mirrored azimuth in [0, 360).
  ASSERT_TRUE(coordinates2atoms(user(30, 0, 2), CoordinatesFormatWFS, 3, atoms));
  EXPECT_NEAR(atom_getfloat(atoms + 0), 330., 1e-3);
  EXPECT_NEAR(atom_getfloat(atoms + 1), 2., 1e-5);
  // Behind is -180; the origin has elevation 0.
  ASSERT_TRUE(coordinates2atoms(CartesianVector(0.f, -1.f, 0.f), CoordinatesFormatAD, 3, atoms));
  EXPECT_EQ(atom_getfloat(atoms + 0), -180.);
  ASSERT_TRUE(coordinates2atoms(CartesianVector(), CoordinatesFormatAED, 3, atoms));
  EXPECT_EQ(atom_getfloat(atoms + 1), 0.);
  for (int f : {2, 3, 4, 10, 11, 12, 13, 14, 15, 18, 19, 20, 21}) {
    EXPECT_FALSE(coordinates2atoms(point, static_cast<CoordinatesFormat>(f), 3, atoms)) << f;
  }
}

// What a reader said: its result, the position and the console.
struct Reading {
  bool ok;
  unsigned int index;
  CartesianVector position;
  std::vector<std::pair<int, std::string>> lines;
};

Reading readSource(char const* text, CartesianVector present = P) {
  std::vector<t_atom> atoms = atomsOf(text);
  Reading r{false, 99, present, {}};
  r.ok = get_source_coordinates_from_atoms(nullptr, 4, static_cast<long>(atoms.size()),
                                           atoms.data(), r.index, r.position);
  r.lines = console();
  return r;
}

std::pair<int, std::string> errorLine(char const* text) {
  return {maxapi_error, text};
}
std::pair<int, std::string> warningLine(char const* text) {
  return {maxapi_warning, text};
}

TEST_F(Coordinates, SourceReaderRefusesWithItsTexts) {
  struct Case {
    char const* message;
    std::pair<int, std::string> line;
  } const cases[] = {
      {"1 xyz 1 2", errorLine("not enough source coordinates. expected 3 coordinates")},
      {"0 xyz 0 1 0", errorLine("invalid source index 0")},
      {"5 xyz 0 1 0", errorLine("invalid source index 5")},
      {"-3 xyz 0 1 0", errorLine("invalid source index -3")},
      {"1 foo 1 2 3", errorLine("unknown coordinate type foo")},
      {"1 xyz 1 bar 3", errorLine("error reading source coordinates")},
      {"1 zorv3 foo", errorLine("error reading source coordinates")},
      {"1 zorv3", errorLine("error reading source coordinates")},
      {"1 azim", errorLine("not enough source coordinates. expected 1 coordinates")},
  };
  for (Case const& c : cases) {
    Reading const r = readSource(c.message);
    EXPECT_FALSE(r.ok) << c.message;
    expectSame(r.position, P);
    ASSERT_FALSE(r.lines.empty()) << c.message;
    EXPECT_EQ(r.lines.back(), c.line) << c.message;
  }
}

TEST_F(Coordinates, SourceReaderReadsAndWarns) {
  Reading r = readSource("3 aed 30 0 2");
  EXPECT_TRUE(r.ok);
  EXPECT_EQ(r.index, 2u);
  expectNear(r.position, user(30, 0, 2), "aed");
  EXPECT_TRUE(r.lines.empty());

  r = readSource("1 xyz 1 2 3 4");
  EXPECT_TRUE(r.ok);
  expectSame(r.position, CartesianVector(1.f, 2.f, 3.f));
  ASSERT_EQ(r.lines.size(), 1u);
  EXPECT_EQ(r.lines[0],
            warningLine("too many source coordinates. only 3 coordinates will be read"));

  r = readSource("2 -90 2 0");
  EXPECT_TRUE(r.ok);
  expectNear(r.position, user(-90, 0, 2), "default ade");
  ASSERT_EQ(r.lines.size(), 1u);
  EXPECT_EQ(r.lines[0], warningLine("using default coordinate type (ade)"));

  // The one-number "zorv3" turns left, the longer forms turn right.
  CartesianVector const front(0.f, 1.f, 0.f);
  r = readSource("1 zorv3 30", front);
  EXPECT_TRUE(r.ok);
  expectNear(r.position, user(-30, 0, 1), "zorv3 one number");
  r = readSource("1 zorv3 30 1", front);
  expectNear(r.position, user(30, 0, 1), "zorv3 two numbers");
  r = readSource("1 zorv3 30 2 10", front);
  expectNear(r.position, user(30, 10, 2), "zorv3 three numbers");
  // The two-number form keeps the present elevation.
  r = readSource("1 zorv3 -45 3", user(0, 20, 1));
  expectNear(r.position, user(-45, 20, 3), "zorv3 keeps elevation");
  r = readSource("1 az 30", user(0, 20, 3));
  expectNear(r.position, user(30, 0, 1), "az");
  r = readSource("1 azim 30", user(0, 20, 3));
  expectNear(r.position, user(30, 20, 3), "azim");
  r = readSource("1 dist 0", user(40, 20, 3));
  EXPECT_NEAR(r.position.radius(), 0.00001f, 1e-9);
}

TEST_F(Coordinates, SourceReaderRefusesNonFiniteNumbers) {
  for (char const* keyword : {"xyz", "zorv3"}) {
    t_atom atoms[5];
    atom_setlong(atoms, 1);
    atom_setsym(atoms + 1, gensym(keyword));
    atom_setfloat(atoms + 2, 1.);
    atom_setfloat(atoms + 3, std::numeric_limits<double>::quiet_NaN());
    atom_setfloat(atoms + 4, 1.);
    unsigned int index = 0;
    CartesianVector p = P;
    EXPECT_FALSE(get_source_coordinates_from_atoms(nullptr, 4, 5, atoms, index, p)) << keyword;
    expectSame(p, P);
    atom_setfloat(atoms + 2, std::numeric_limits<double>::infinity());
    atom_setfloat(atoms + 3, 1.);
    EXPECT_FALSE(get_source_coordinates_from_atoms(nullptr, 4, 5, atoms, index, p)) << keyword;
    expectSame(p, P);
    EXPECT_FALSE(get_source_coordinates_from_atoms(nullptr, 4, 3, atoms, index, p)) << keyword;
    expectSame(p, P);
  }
  console();
}

TEST_F(Coordinates, SpeakersReader) {
  struct Case {
    char const* message;
    bool ok;
    std::vector<std::pair<int, std::string>> lines;
  } const cases[] = {
      {"ade 30 1 0 -30 1 0", true, {}},
      {"30 1 0 -30 1 0", true, {warningLine("using default coordinate type (ade)")}},
      {"ade 30 1 0 -30 1 0 90",
       true,
       {warningLine("too many loudspeakers positions. only 2 positions will be read")}},
      {"ade 30 1 0",
       false,
       {errorLine("not enough loudspeakers positions. expected 2 loudspeakers positions")}},
      {"foo 1 2 3 4 5 6", false, {errorLine("unknown coordinate type")}},
      {"xyz 1 2 3 4 bar 6", false, {errorLine("error reading 1 th speaker position")}},
      {"",
       false,
       {warningLine("using default coordinate type (ade)"),
        errorLine("not enough loudspeakers positions. expected 2 loudspeakers positions")}},
  };
  for (Case const& c : cases) {
    std::vector<t_atom> atoms = atomsOf(c.message);
    CartesianVector points[2] = {P, P};
    EXPECT_EQ(get_speakers_coordinates_from_atoms(nullptr, 2, static_cast<long>(atoms.size()),
                                                  atoms.data(), points),
              c.ok)
        << c.message;
    EXPECT_EQ(console(), c.lines) << c.message;
    if (c.ok) {
      expectNear(points[0], user(30, 0, 1), c.message);
      expectNear(points[1], user(-30, 0, 1), c.message);
    }
  }
  // Single-coordinate keywords act on the present positions.
  std::vector<t_atom> atoms = atomsOf("dist 2 3");
  CartesianVector points[2] = {user(10, 0, 1), user(-10, 0, 1)};
  ASSERT_TRUE(get_speakers_coordinates_from_atoms(nullptr, 2, 3, atoms.data(), points));
  expectNear(points[0], user(10, 0, 2), "dist");
  expectNear(points[1], user(-10, 0, 3), "dist");
}

TEST_F(Coordinates, SpeakerAndListenerReaders) {
  struct Case {
    char const* message;
    bool ok;
    std::pair<int, std::string> line;
  } const speaker[] = {
      {"2 ade 30 1 0", true, {}},
      {"3 ade 30 1 0", false, errorLine("invalid speaker index 3")},
      {"0 ade 30 1 0", false, errorLine("invalid speaker index 0")},
      {"1 ade 30 1", false, errorLine("invalid speaker message")},
      {"1 ade 30 1 0 5", true,
       warningLine("too many loudspeakers positions. only 1 position will be read")},
      {"1 what 30 1 0", false, errorLine("unknown coordinate type")},
      {"1 xyz 1 2 x", false, errorLine("error reading speaker position")},
  };
  for (Case const& c : speaker) {
    std::vector<t_atom> atoms = atomsOf(c.message);
    CartesianVector p;
    unsigned int index = 7;
    EXPECT_EQ(get_speaker_coordinates_from_atoms(nullptr, 2, static_cast<long>(atoms.size()),
                                                 atoms.data(), p, index),
              c.ok)
        << c.message;
    std::vector<std::pair<int, std::string>> lines = console();
    if (!c.line.second.empty()) {
      ASSERT_EQ(lines.size(), 1u) << c.message;
      EXPECT_EQ(lines[0], c.line);
    }
    if (c.ok) {
      EXPECT_EQ(index, atoms[0].a_w.w_long - 1u);
      expectNear(p, user(30, 0, 1), c.message);
    }
  }
  Case const listener[] = {
      {"xyz 1 2 3", true, {}},
      {"xyz 1 2", false, errorLine("invalid listener message")},
      {"xyz 1 2 3 4", true,
       warningLine("too many listener positions. only 1 position will be read")},
      {"nowhere 1 2 3", false, errorLine("unknown coordinate type")},
      {"xyz 1 foo 3", false, errorLine("error reading listener position")},
  };
  for (Case const& c : listener) {
    std::vector<t_atom> atoms = atomsOf(c.message);
    CartesianVector p = P;
    EXPECT_EQ(get_listener_coordinates_from_atoms(nullptr, static_cast<long>(atoms.size()),
                                                  atoms.data(), p),
              c.ok)
        << c.message;
    std::vector<std::pair<int, std::string>> lines = console();
    if (!c.line.second.empty()) {
      ASSERT_EQ(lines.size(), 1u) << c.message;
      EXPECT_EQ(lines[0], c.line);
    }
    expectSame(p, c.ok ? CartesianVector(1.f, 2.f, 3.f) : P);
  }
}

TEST_F(Coordinates, PointsReaderReadsWholePoints) {
  std::vector<t_atom> atoms = atomsOf("xy 1 2 3 4 5");
  CartesianVector points[4];
  unsigned int n = 9;
  EXPECT_TRUE(get_points_coordinates_from_atoms(nullptr, 4, 6, atoms.data(), points, n));
  EXPECT_EQ(n, 2u);
  expectSame(points[1], CartesianVector(3.f, 4.f, 0.f));
  EXPECT_TRUE(console().empty());
  EXPECT_TRUE(get_points_coordinates_from_atoms(nullptr, 1, 6, atoms.data(), points, n));
  EXPECT_EQ(n, 1u);
  EXPECT_EQ(console(),
            Lines{warningLine("too many point positions. only 1 positions will be read")});
  atoms = atomsOf("bad 1 2");
  EXPECT_FALSE(get_points_coordinates_from_atoms(nullptr, 4, 3, atoms.data(), points, n));
  EXPECT_EQ(n, 0u);
  EXPECT_EQ(console(), Lines{errorLine("unknown coordinate type")});
}

TEST_F(Coordinates, KeywordOfAnAttribute) {
  CoordinatesFormat format;
  unsigned int stride = 0;
  t_symbol* canonical = nullptr;
  EXPECT_TRUE(
      get_coordinates_format_and_stride(gensym("azim++"), nullptr, format, stride, canonical));
  EXPECT_EQ(format, CoordinatesFormatAzimPlusPlus);
  EXPECT_EQ(stride, 1u);
  EXPECT_EQ(canonical, gensym("azim++"));
  EXPECT_TRUE(console().empty());
  // The text names "ade", the format given is "aed".
  EXPECT_FALSE(
      get_coordinates_format_and_stride(gensym("foo"), nullptr, format, stride, canonical));
  EXPECT_EQ(format, CoordinatesFormatAED);
  EXPECT_EQ(stride, 3u);
  EXPECT_EQ(canonical, gensym("aed"));
  EXPECT_EQ(
      console(),
      Lines{warningLine("unknown coordinate type: foo. using default coordinate type (ade)")});
}

TEST_F(Coordinates, AtomPatternsAndNumbers) {
  std::vector<t_atom> atoms = atomsOf("1 2.5 foo");
  EXPECT_TRUE(nolarmax::CheckAtomsFormat("", atoms.data(), 0));
  EXPECT_TRUE(nolarmax::CheckAtomsFormat("lfs", atoms.data(), 3));
  EXPECT_TRUE(nolarmax::CheckAtomsFormat("inS", atoms.data(), 3) == false);
  EXPECT_TRUE(nolarmax::CheckAtomsFormat("nn", atoms.data(), 3));
  EXPECT_FALSE(nolarmax::CheckAtomsFormat("nnn", atoms.data(), 3));
  EXPECT_FALSE(nolarmax::CheckAtomsFormat("f", atoms.data(), 3));
  EXPECT_FALSE(nolarmax::CheckAtomsFormat("nns", atoms.data(), 2));
  EXPECT_EQ(nolarmax::atom_getnumber(&atoms[0], -1.f), 1.f);
  EXPECT_EQ(nolarmax::atom_getnumber(&atoms[1], -1.f), 2.5f);
  EXPECT_EQ(nolarmax::atom_getnumber(&atoms[2], -1.f), -1.f);
  nolarmax::post_error_message(nullptr, 3, atoms.data(), "unknown source message");
  EXPECT_EQ(console(), Lines{errorLine("unknown source message : 1 2.500000 foo ")});
}

TEST_F(Coordinates, ShelfAndReverbLists) {
  float g = 0.f, l = 0.f, m = 0.f, h = 0.f, f1 = 100.f, f2 = 5000.f;
  std::vector<t_atom> atoms = atomsOf("hlshelf -100 -6 0 40 5 30000");
  ASSERT_TRUE(atoms2hlshelf(g, l, m, h, f1, f2, static_cast<long>(atoms.size()), atoms.data()));
  EXPECT_EQ(g, -60.f);
  EXPECT_EQ(l, -6.f);
  EXPECT_EQ(h, 30.f);
  EXPECT_EQ(f1, 20.f);
  EXPECT_EQ(f2, 20000.f);
  atoms = atomsOf("3 1 2 3 200 4000");
  ASSERT_TRUE(atoms2hlshelf(g, l, m, h, f1, f2, 6, atoms.data()));
  EXPECT_EQ(g, 3.f);
  EXPECT_EQ(f2, 4000.f);
  atoms = atomsOf("freqs 300 3000");
  ASSERT_TRUE(atoms2hlshelf(g, l, m, h, f1, f2, 3, atoms.data()));
  EXPECT_EQ(f1, 300.f);
  EXPECT_EQ(g, 3.f);  // untouched
  atoms = atomsOf("gains 1 2 3 4");
  ASSERT_TRUE(atoms2hlshelf(g, l, m, h, f1, f2, 5, atoms.data()));
  EXPECT_EQ(h, 4.f);
  for (char const* bad : {"gains 1 2 3", "freqs 1 x", "params 1 2 3 4 5", "1 2 3 4 5 x", ""}) {
    atoms = atomsOf(bad);
    EXPECT_FALSE(atoms2hlshelf(g, l, m, h, f1, f2, static_cast<long>(atoms.size()), atoms.data()))
        << bad;
  }
  EXPECT_EQ(f1, 300.f);

  float fields[6] = {0, 0, 0, 0, 0, 0};
  atoms = atomsOf("times 1 2 3 4");
  ASSERT_TRUE(atoms2reverb(fields, 5, atoms.data()));
  atoms = atomsOf("freqs 5 6");
  ASSERT_TRUE(atoms2reverb(fields, 3, atoms.data()));
  for (int i = 0; i < 6; ++i) EXPECT_EQ(fields[i], static_cast<float>(i + 1));
  atoms = atomsOf("times 1 2 3");
  EXPECT_FALSE(atoms2reverb(fields, 4, atoms.data()));
  EXPECT_FALSE(atoms2reverb(fields, 0, nullptr));
}

}  // namespace
