// The object's messages and per-type attributes, driven through the facade as
// every front end drives it: positions reach the panner and the outputs, bad
// messages print their line and change nothing, attributes exist only for the
// types that own them.

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "ZorvAmplitudePanning.h"
#include "ZorvHost.h"
#include "ZorvPan.h"
#include "ZorvSpeakers.h"

namespace {

using zorvhost::ConsoleLine;
using zorvhost::PanObject;
using zorvhost::Severity;

double const degree = 3.14159265358979323846 / 180.0;
unsigned int const blockSize = 64;
double const samplerate = 48000.;

// An object with its own console and signal buffers; every inlet carries DC
// of 1 unless a test changes it.
class Box {
 public:
  explicit Box(std::string const& text) {
    object = PanObject::Create(text, [this](Severity s, std::string const& line) {
      lines.push_back(ConsoleLine{s, line});
    });
    if (object == nullptr) return;
    in.assign(object->NumInlets(), std::vector<float>(blockSize, 1.f));
    out.assign(object->NumOutlets(), std::vector<float>(blockSize, 0.f));
    for (auto& v : in) inPointers.push_back(v.data());
    for (auto& v : out) outPointers.push_back(v.data());
  }

  void Start() { object->StartDsp(samplerate, blockSize); }

  // Runs enough blocks for any ramp of up to 200 ms to settle.
  void Settle(int blocks = 200) {
    for (int b = 0; b < blocks; ++b) object->ProcessBlock(inPointers.data(), outPointers.data());
  }

  // The last sample of each outlet.
  std::vector<float> Last() const {
    std::vector<float> v;
    for (auto const& o : out) v.push_back(o.back());
    return v;
  }

  std::vector<ConsoleLine> Take() {
    std::vector<ConsoleLine> taken;
    taken.swap(lines);
    return taken;
  }

  std::vector<float> Floats(char const* attribute) const {
    std::vector<float> v;
    for (std::string const& t : object->GetAttribute(attribute)) v.push_back(std::stof(t));
    return v;
  }

  std::unique_ptr<PanObject> object;
  std::vector<std::vector<float>> in;
  std::vector<std::vector<float>> out;
  std::vector<float const*> inPointers;
  std::vector<float*> outPointers;
  std::vector<ConsoleLine> lines;
};

ConsoleLine error(std::string const& text) {
  return ConsoleLine{Severity::Error, text};
}

std::string describe(std::vector<ConsoleLine> const& lines) {
  std::string s;
  for (ConsoleLine const& l : lines)
    s += "[" + std::to_string(static_cast<int>(l.severity)) + "] " + l.text + "\n";
  return s;
}

bool contains(std::vector<ConsoleLine> const& lines, ConsoleLine const& line) {
  for (ConsoleLine const& l : lines) {
    if (l.severity == line.severity && l.text == line.text) return true;
  }
  return false;
}

nolardsp::CartesianVector user(double azimuth, double elevation, double distance) {
  double const a = azimuth * degree;
  double const e = elevation * degree;
  return nolardsp::CartesianVector(static_cast<float>(distance * std::sin(a) * std::cos(e)),
                                   static_cast<float>(distance * std::cos(a) * std::cos(e)),
                                   static_cast<float>(distance * std::sin(e)));
}

// The gains a panner of that type gives one source at position, with the
// given speaker layout.
std::vector<float> gainsOf(char const* type, std::vector<nolardsp::CartesianVector> const& speakers,
                           nolardsp::CartesianVector const& position) {
  std::unique_ptr<Zorv::Pan> pan(
      Zorv::Pan::Factory(1, static_cast<unsigned int>(speakers.size()), type, "direct"));
  auto* amplitude = dynamic_cast<Zorv::AmplitudePanning*>(pan.get());
  if (amplitude == nullptr) return {};
  pan->SetLoudspeakerPositions(speakers.data());
  pan->SetSourcePosition(0, position, false);
  return std::vector<float>(amplitude->GetNextGains(), amplitude->GetNextGains() + speakers.size());
}

std::vector<nolardsp::CartesianVector> defaultLayout(unsigned int n) {
  nolardsp::CartesianVector const* layout = Zorv::Speakers::GetDefaultForChannels(n);
  return std::vector<nolardsp::CartesianVector>(layout, layout + n);
}

void expectGains(std::vector<float> const& got, std::vector<float> const& want) {
  ASSERT_EQ(got.size(), want.size());
  for (std::size_t j = 0; j < got.size(); ++j) EXPECT_NEAR(got[j], want[j], 1e-6) << "output " << j;
}

TEST(PanMessages, SourceMessageMovesTheSourceToThePannersGains) {
  Box box("zorv.pan~ @numinputs 1 @numoutputs 4 @type vbap2d");
  ASSERT_NE(box.object, nullptr) << describe(box.Take());
  box.Start();
  box.Settle();
  expectGains(box.Last(), gainsOf("vbap2d", defaultLayout(4), user(0, 0, 1)));

  box.object->SendMessage("source 1 aed 30 0 2");
  EXPECT_TRUE(box.Take().empty());
  box.Settle();
  expectGains(box.Last(), gainsOf("vbap2d", defaultLayout(4), user(30, 0, 2)));
  std::vector<float> const stored = box.Floats("sourcespositions");
  ASSERT_EQ(stored.size(), 3u);
  EXPECT_NEAR(stored[0], 1.f, 1e-5);
  EXPECT_NEAR(stored[1], std::sqrt(3.f), 1e-5);

  // A keyword that keeps coordinates works from the present position.
  box.object->SendMessage("source 1 azim++ 60");
  box.Settle();
  expectGains(box.Last(), gainsOf("vbap2d", defaultLayout(4), user(90, 0, 2)));
}

TEST(PanMessages, BadSourceMessagesPrintTheirLineAndChangeNothing) {
  Box box("zorv.pan~ @numinputs 4 @numoutputs 4 @type vbap2d");
  ASSERT_NE(box.object, nullptr);
  box.Start();
  box.object->SendMessage("source 1 aed -40 0 1");
  box.Settle();
  box.Take();
  std::vector<float> const before = box.Last();
  std::vector<std::string> const positions = box.object->GetAttribute("sourcespositions");

  struct Case {
    char const* message;
    ConsoleLine line;
  } const cases[] = {
      {"source 0 xyz 0 1 0", error("invalid source index 0")},
      {"source 9 xyz 0 1 0", error("invalid source index 9")},
      {"source 1 0 1 0", error("unknown source message : 1 0 1 0 ")},
      {"source", error("unknown source message : ")},
      {"source foo", error("unknown source message : foo ")},
      {"source 1 xyz 1 2", error("not enough source coordinates. expected 3 coordinates")},
      {"source 1 xyz 1 2", error("unknown source message : 1 xyz 1 2 ")},
      {"source 1 foo 1 2 3", error("unknown coordinate type foo")},
      {"source 1 xyz 1 nan 3", error("error reading source coordinates")},
      {"source 1 ade 0 1e39 0", error("error reading source coordinates")},
      {"source 1 azim inf", error("error reading source coordinates")},
      {"source 1 spreadxyz 1 2 3", error("message only supported by dbap")},
      {"source 1 spreadxyz 1 2", error("invalid spreadxyz message")},
      {"source 1 mute", error("unknown source message : 1 mute ")},
  };
  for (Case const& c : cases) {
    box.object->SendMessage(c.message);
    std::vector<ConsoleLine> const lines = box.Take();
    EXPECT_TRUE(contains(lines, c.line)) << c.message << "\n" << describe(lines);
    EXPECT_EQ(box.object->GetAttribute("sourcespositions"), positions) << c.message;
  }
  box.Settle();
  EXPECT_EQ(box.Last(), before);
}

TEST(PanMessages, SpeakersMessagesReplaceTheLayout) {
  Box box("zorv.pan~ @numinputs 1 @numoutputs 4 @type vbap2d");
  ASSERT_NE(box.object, nullptr);
  box.Start();
  box.object->SendMessage("source 1 aed 20 0 1");
  box.object->SendMessage("speakers aed 0 0 1 90 0 1 180 0 1 -90 0 1");
  EXPECT_TRUE(box.Take().empty());
  box.Settle();
  std::vector<nolardsp::CartesianVector> const layout = {user(0, 0, 1), user(90, 0, 1),
                                                         user(180, 0, 1), user(-90, 0, 1)};
  expectGains(box.Last(), gainsOf("vbap2d", layout, user(20, 0, 1)));
  std::vector<std::string> const stored = box.object->GetAttribute("speakerspositions");
  ASSERT_EQ(stored.size(), 12u);

  // A failed message leaves everything as it was.
  for (char const* bad : {"speakers aed 0 0 1 90 0 1", "loudspeakers foo 1 2 3",
                          "speakers xyz 1 2 3 4 5 6 7 8 9 10 11 x", "speaker 5 ade 0 1 0",
                          "speaker 1 ade 0 1", "speakers"}) {
    box.object->SendMessage(bad);
    EXPECT_FALSE(box.Take().empty()) << bad;
    EXPECT_EQ(box.object->GetAttribute("speakerspositions"), stored) << bad;
  }

  // One speaker starts from the origin: "azim" keeps it there.
  box.object->SendMessage("speaker 2 azim 30");
  std::vector<float> v = box.Floats("speakerspositions");
  EXPECT_EQ(v[3], 0.f);
  EXPECT_EQ(v[4], 0.f);
  EXPECT_EQ(v[5], 0.f);
  box.object->SendMessage("loudspeaker 2 ade 30 1 0");
  v = box.Floats("speakerspositions");
  EXPECT_NEAR(v[3], 0.5f, 1e-6);
  EXPECT_NEAR(v[4], std::sqrt(3.f) / 2.f, 1e-6);
}

TEST(PanMessages, SourceMuteFollowsTheConnectedInputs) {
  Box box("zorv.pan~ @numinputs 2 @numoutputs 4 @type vbap2d");
  ASSERT_NE(box.object, nullptr);
  box.object->SendMessage("source 1 aed -45 0 1");  // all on output 1
  box.object->SendMessage("source 2 aed 45 0 1");   // all on output 2
  box.Start();
  box.Settle();
  EXPECT_NEAR(box.Last()[0], 1.f, 1e-6);
  EXPECT_NEAR(box.Last()[1], 1.f, 1e-6);

  box.object->SendMessage("source 1 mute 5");  // counts as 1
  box.Settle(2);
  EXPECT_NEAR(box.Last()[0], 0.f, 1e-6);
  EXPECT_NEAR(box.Last()[1], 1.f, 1e-6);
  box.object->SendMessage("source 1 mute -1");  // counts as 0, at once
  box.Settle(2);
  EXPECT_NEAR(box.Last()[0], 1.f, 1e-6);

  // An unconnected input stays silent whatever "mute 0" says, also after the
  // chain is rebuilt.
  box.object->SetInletConnected(1, false);
  box.Start();
  box.object->SendMessage("source 2 mute 0");
  box.Settle(2);
  EXPECT_NEAR(box.Last()[1], 0.f, 1e-6);
  box.object->SendMessage("source 2 mute 1");
  box.object->SetInletConnected(1, true);
  box.Start();
  box.Settle(2);
  EXPECT_NEAR(box.Last()[1], 0.f, 1e-6);  // muted by message
  box.object->SendMessage("source 2 mute 0");
  box.Settle(2);
  EXPECT_NEAR(box.Last()[1], 1.f, 1e-6);
  EXPECT_TRUE(box.Take().empty());
}

TEST(PanMessages, InfoAnswersByTypeSymbol) {
  for (char const* type : {"vbap2d", "dbap", "dbap2d", "vbap", "hoa"}) {
    Box box(std::string("zorv.pan~ @numinputs 1 @numoutputs 8 @type ") + type);
    if (box.object == nullptr) continue;  // a method not built yet
    box.Take();
    box.object->SendMessage("info");
    std::vector<ConsoleLine> const lines = box.Take();
    ASSERT_EQ(lines.size(), 2u) << type << "\n" << describe(lines);
    EXPECT_EQ(lines[0].text, "no info available for this type of panning");
    EXPECT_EQ(lines[1].text, "dsp processing is enabled");
  }
}

TEST(PanMessages, BoxAttributesReachThePanner) {
  // The same move, with the default ramp and with 50 ms: 40 ms after the move
  // only the shorter ramp has arrived.
  auto outputAfter = [](char const* box, double milliseconds) {
    Box b(box);
    b.Start();
    b.Settle();
    b.object->SendMessage("source 1 aed 90 0 1");
    int const blocks = static_cast<int>(milliseconds * 0.001 * samplerate / blockSize);
    b.Settle(blocks);
    return b.Last();
  };
  std::vector<float> const fast =
      outputAfter("zorv.pan~ @numinputs 1 @numoutputs 4 @type vbap2d", 40.);
  std::vector<float> const slow =
      outputAfter("zorv.pan~ @numinputs 1 @numoutputs 4 @type vbap2d @interpolationtime 50", 40.);
  std::vector<float> const target = gainsOf("vbap2d", defaultLayout(4), user(90, 0, 1));
  expectGains(fast, target);
  EXPECT_GT(std::fabs(slow[0] - target[0]), 1e-3);

  Box box("zorv.pan~ @numinputs 2 @numoutputs 4 @type vbap2d @interpolationtime 50");
  EXPECT_EQ(box.object->GetAttribute("interpolationtime"), std::vector<std::string>{"50."});
}

TEST(PanMessages, StructuralAttributesAreRefusedAfterCreation) {
  Box box("zorv.pan~ @numinputs 2 @numoutputs 4 @type vbap2d");
  ASSERT_NE(box.object, nullptr);
  box.Take();
  struct Case {
    char const* message;
    char const* attribute;
    char const* text;
  } const cases[] = {
      {"numinputs 3", "numinputs", "could not dynamically change number of inputs"},
      {"numoutputs 8", "numoutputs", "could not dynamically change number of outputs"},
      {"type dbap", "type", "could not dynamically change pan type"},
      {"subtype nearfield", "subtype", "could not dynamically change pan subtype"},
  };
  for (Case const& c : cases) {
    std::vector<std::string> const before = box.object->GetAttribute(c.attribute);
    box.object->SendMessage(c.message);
    std::vector<ConsoleLine> const lines = box.Take();
    ASSERT_EQ(lines.size(), 1u) << c.message;
    EXPECT_EQ(lines[0].text, c.text);
    EXPECT_EQ(box.object->GetAttribute(c.attribute), before);
  }
  box.object->SendMessage("numinputs 2");
  box.object->SendMessage("type vbap2d");
  EXPECT_TRUE(box.Take().empty());
  EXPECT_EQ(box.object->NumInlets(), 2u);
}

TEST(PanMessages, AttributeGroupsFollowTheExactTypeSymbol) {
  Box vbap2d("zorv.pan~ @numinputs 3 @numoutputs 4 @type vbap2d");
  EXPECT_EQ(vbap2d.Floats("spread"), (std::vector<float>{0.f, 0.f, 0.f}));
  EXPECT_TRUE(vbap2d.object->GetAttribute("spreadmode").empty());

  Box dbap("zorv.pan~ @numinputs 2 @numoutputs 4 @type dbap");
  EXPECT_EQ(dbap.object->GetAttribute("spreadmode"), std::vector<std::string>{"omni"});
  EXPECT_EQ(dbap.object->GetAttribute("muteoutside"), std::vector<std::string>{"0"});
  EXPECT_EQ(dbap.Floats("spread").size(), 2u);
  EXPECT_EQ(dbap.Floats("spreadxyz").size(), 6u);
  EXPECT_TRUE(dbap.Take().empty()) << describe(dbap.lines);

  for (char const* alias : {"dbap2d", "dbap3d", "vdbap", "vbip"}) {
    Box other(std::string("zorv.pan~ @numinputs 2 @numoutputs 8 @type ") + alias);
    ASSERT_NE(other.object, nullptr) << alias;
    EXPECT_TRUE(other.object->GetAttribute("spread").empty()) << alias;
    EXPECT_TRUE(other.object->GetAttribute("spreadmode").empty()) << alias;
    other.object->SendMessage("source 1 spread 50");
    EXPECT_TRUE(contains(other.Take(), error("message only supported by dbap or vbap"))) << alias;
  }
}

TEST(PanMessages, SpreadReachesTheStoreClipped) {
  Box dbap("zorv.pan~ @numinputs 2 @numoutputs 4 @type dbap");
  dbap.object->SendMessage("source 2 spread 500");
  dbap.object->SendMessage("source 1 spreadxyz 10 -5 200");
  EXPECT_EQ(dbap.Floats("spread"), (std::vector<float>{0.f, 100.f}));
  EXPECT_EQ(dbap.Floats("spreadxyz"), (std::vector<float>{10.f, 0.f, 100.f, 0.f, 0.f, 0.f}));
  dbap.object->SendMessage("spread 20 30");
  EXPECT_EQ(dbap.Floats("spread"), (std::vector<float>{20.f, 30.f}));
  dbap.object->SendMessage("spreadmode directional");
  EXPECT_EQ(dbap.object->GetAttribute("spreadmode"), std::vector<std::string>{"directional"});
  dbap.object->SendMessage("spreadmode foo");
  std::vector<ConsoleLine> const lines = dbap.Take();
  EXPECT_TRUE(contains(lines, ConsoleLine{Severity::Warning, "invalid spreadmode foo"}))
      << describe(lines);
  // The attribute shows the mode in force: the panner takes an unknown name
  // as omnidirectional.
  EXPECT_EQ(dbap.object->GetAttribute("spreadmode"), std::vector<std::string>{"omni"});

  Box vbap("zorv.pan~ @numinputs 2 @numoutputs 8 @type vbap");
  ASSERT_NE(vbap.object, nullptr);
  vbap.object->SendMessage("source 1 spread 45");
  EXPECT_EQ(vbap.Floats("spread"), (std::vector<float>{45.f, 0.f}));
}

TEST(PanMessages, MessagesOfOtherFamiliesAreRefusedByType) {
  Box box("zorv.pan~ @numinputs 1 @numoutputs 4 @type vbap2d");
  ASSERT_NE(box.object, nullptr);
  box.Take();
  struct Case {
    char const* message;
    char const* text;
  } const cases[] = {
      {"listener 1 0 0", "message only supported for binaural panning : 1 0 0 "},
      {"listener yaw 90", "message only supported for binaural panning : yaw 90 "},
      {"corners 1 2 3 4", "message only supported by panr : 1 2 3 4 "},
      {"load foo.hrtf", "message only supported by binaural"},
      {"read kemar", "message only supported by binaural"},
      {"loadnf foo.near", "message only supported by binaural nearfield"},
      {"loadNF", "message only supported by binaural nearfield"},
      {"crossfadetype linear", "message only supported by binaural"},
      {"implementation fft", "message only supported by binaural"},
  };
  for (Case const& c : cases) {
    box.object->SendMessage(c.message);
    std::vector<ConsoleLine> const lines = box.Take();
    ASSERT_EQ(lines.size(), 1u) << c.message << "\n" << describe(lines);
    EXPECT_EQ(lines[0].severity, Severity::Error) << c.message;
    EXPECT_EQ(lines[0].text, c.text) << c.message;
  }
  // "implementation" without a symbol does nothing at all.
  box.object->SendMessage("implementation 3");
  EXPECT_TRUE(box.Take().empty());
}

}  // namespace

namespace {

TEST(PanMessagesHoa, EncodingAndSortingReachThePannerAndShowWhatIsInForce) {
  Box box("zorv.pan~ @numinputs 1 @numoutputs 9 @type hoa3d @encoding N3D");
  if (box.object == nullptr) GTEST_SKIP() << describe(box.Take());
  EXPECT_TRUE(box.Take().empty()) << describe(box.lines);
  EXPECT_EQ(box.object->GetAttribute("encoding"), std::vector<std::string>{"N3D"});
  box.object->SendMessage("encoding foo");
  std::vector<ConsoleLine> lines = box.Take();
  EXPECT_TRUE(contains(lines, ConsoleLine{Severity::Warning, "invalid hoa encoding foo"}))
      << describe(lines);
  std::vector<std::string> const inForce = box.object->GetAttribute("encoding");
  EXPECT_NE(inForce, std::vector<std::string>{"foo"});
  box.object->SendMessage("norm SN3D");
  EXPECT_EQ(box.object->GetAttribute("encoding"), std::vector<std::string>{"SN3D"});
  box.object->SendMessage("hoasorting AlternateDegrees");
  EXPECT_EQ(box.object->GetAttribute("hoasorting"), std::vector<std::string>{"AlternateDegrees"});

  box.Take();
  box.object->SendMessage("info");
  lines = box.Take();
  ASSERT_EQ(lines.size(), 4u) << describe(lines);
  EXPECT_EQ(lines[0].text, "HOA : order : 2 ");
  EXPECT_EQ(lines[1].text, "HOA : encoding convention : SN3D");
  EXPECT_EQ(lines[2].text, "HOA : sorting convention : AlternateDegrees");
  EXPECT_EQ(lines[3].text, "dsp processing is enabled");

  // The alias builds the same panner but matches no symbol.
  Box alias("zorv.pan~ @numinputs 1 @numoutputs 9 @type hoa");
  ASSERT_NE(alias.object, nullptr);
  EXPECT_TRUE(alias.object->GetAttribute("encoding").empty());
  alias.Take();
  alias.object->SendMessage("info");
  lines = alias.Take();
  ASSERT_FALSE(lines.empty());
  EXPECT_EQ(lines[0].text, "no info available for this type of panning");
}

}  // namespace

namespace {

TEST(PanMessages, VectorBasedPannersWarnWhenASilentLayoutWouldBeHeard) {
  std::string const warning =
      "the speakers form no triplet around the listener: sources stay silent until the layout "
      "spans three dimensions";
  ConsoleLine const line{Severity::Warning, warning};
  for (char const* type : {"vbap", "vbip", "vdbap"}) {
    // The default six speakers are a flat ring, but the user's layout is yet
    // to come: nothing said at creation.
    Box box(std::string("zorv.pan~ @numinputs 1 @numoutputs 6 @type ") + type);
    ASSERT_NE(box.object, nullptr) << type;
    EXPECT_FALSE(contains(box.Take(), line)) << type;
    // Placing a source, or starting DSP, on the flat ring: told.
    box.object->SendMessage("source 1 aed 30 0 2");
    EXPECT_TRUE(contains(box.Take(), line)) << type;
    // A glide places the source again and again: told once, not each time.
    box.object->SendMessage("source 1 aed 35 0 2");
    EXPECT_FALSE(contains(box.Take(), line)) << type;
    box.Start();
    EXPECT_TRUE(contains(box.Take(), line)) << type;
    // An octahedron surrounds the listener: silence on the console.
    box.object->SendMessage("speakers xyz 1 0 0 -1 0 0 0 1 0 0 -1 0 0 0 1 0 0 -1");
    box.object->SendMessage("source 1 aed 30 0 2");
    box.Start();
    EXPECT_FALSE(contains(box.Take(), line)) << type;
    // Building a flat layout says nothing until a source is placed on it.
    box.object->SendMessage("speakers aed 0 0 1 60 0 1 120 0 1 180 0 1 -120 0 1 -60 0 1");
    EXPECT_FALSE(contains(box.Take(), line)) << type;
    box.object->SendMessage("sourcespositions 0 1 0");
    EXPECT_TRUE(contains(box.Take(), line)) << type;
  }
  // Other methods have no triplets to lose and say nothing about it.
  Box ring("zorv.pan~ @numinputs 1 @numoutputs 6 @type vbap2d");
  ASSERT_NE(ring.object, nullptr);
  ring.object->SendMessage("source 1 aed 30 0 2");
  ring.Start();
  EXPECT_FALSE(contains(ring.Take(), line));
}

}  // namespace
