// The object's life cycle and block routine, driven through the facade as
// every front end drives it.

#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "MaxApiHost.h"
#include "ZorvHost.h"
#include "ZorvNullPanning.h"
#include "ZorvPan.h"
#include "ZorvPanObject.h"
#include "ZorvSpeakers.h"
#include "ZorvTestAllocationCounter.h"

namespace {

using zorvhost::ConsoleLine;
using zorvhost::PanObject;
using zorvhost::Severity;

// A panner whose output is easy to predict: output j is (j + 1) times the sum
// of the active inputs. It records what the object asks of it.
class RecordingPanning : public Zorv::Pan {
 public:
  RecordingPanning(unsigned int in, unsigned int out) : lastActive(in, -1) {
    numInputs = in;
    numOutputs = out;
    sourcePositions.resize(in);
  }
  ~RecordingPanning() override;

  void Process(float** outputs, float** inputs, unsigned long n, short const* active) override {
    ++processCalls;
    lastBlock = n;
    for (unsigned int i = 0; i < numInputs; ++i) lastActive[i] = active[i];
    for (unsigned int j = 0; j < numOutputs; ++j) {
      for (unsigned long k = 0; k < n; ++k) {
        float sum = 0.f;
        for (unsigned int i = 0; i < numInputs; ++i) {
          if (active[i] != 0) sum += inputs[i][k];
        }
        outputs[j][k] = static_cast<float>(j + 1) * sum;
      }
    }
  }
  void ProcessAdding(float**, float**, unsigned long, short const*) override {}
  void SetSamplerate(float sr) override { samplerate = sr; }
  void SetMaxBlockSize(unsigned int n) override { maxBlockSize = n; }
  void Clear() override { ++clears; }
  void SetSourcePosition(unsigned int index, nolardsp::CartesianVector const& p, bool) override {
    sourcePositions[index] = p;
    ++sourceUpdates;
  }
  void SetSourcePositions(nolardsp::CartesianVector const*) override {}
  void SetLoudspeakerPositions(nolardsp::CartesianVector const* p) override {
    speakers.assign(p, p + numOutputs);
    ++speakerUpdates;
  }
  void SetNumInputs(unsigned int n) override { numInputs = n; }
  void SetNumOutputs(unsigned int n) override { numOutputs = n; }
  void SetInterpolationTime(float ms) override { interpolationTime = ms; }

  std::vector<short> lastActive;
  std::vector<nolardsp::CartesianVector> speakers;
  unsigned long lastBlock = 0;
  int processCalls = 0;
  int clears = 0;
  int sourceUpdates = 0;
  int speakerUpdates = 0;
  float interpolationTime = -1.f;
};

RecordingPanning* lastPanner = nullptr;
bool lastPannerDeleted = false;

RecordingPanning::~RecordingPanning() {
  if (lastPanner == this) lastPannerDeleted = true;
}

// "recording" builds the panner above; "nopanner" makes the factory fail with
// null; every other name goes to Pan::Factory.
Zorv::Pan* testFactory(unsigned int in, unsigned int out, char const* type, char const* subtype) {
  if (std::strcmp(type, "recording") == 0) {
    lastPanner = new RecordingPanning(in, out);
    lastPannerDeleted = false;
    return lastPanner;
  }
  if (std::strcmp(type, "nopanner") == 0) return nullptr;
  if (std::strcmp(type, "throwing") == 0) throw std::runtime_error("no speakers hull");
  return Zorv::Pan::Factory(in, out, type, subtype);
}

class PanObjectTest : public ::testing::Test {
 protected:
  void SetUp() override {
    zorv_pan_set_factory_for_tests(testFactory);
    zorvhost::TakeConsole();
  }
  void TearDown() override { zorv_pan_set_factory_for_tests(nullptr); }

  std::unique_ptr<PanObject> make(std::string const& box) {
    lines.clear();
    return PanObject::Create(box, [this](Severity s, std::string const& text) {
      lines.push_back(ConsoleLine{s, text});
    });
  }

  std::vector<std::string> texts() const {
    std::vector<std::string> t;
    for (ConsoleLine const& l : lines) t.push_back(l.text);
    return t;
  }

  std::vector<ConsoleLine> lines;
};

using Texts = std::vector<std::string>;

TEST_F(PanObjectTest, BoxThatCannotBeBuiltMakesNoObjectAndSaysWhy) {
  // Through the real factory: channel counts that the method cannot serve.
  zorv_pan_set_factory_for_tests(nullptr);
  for (char const* box :
       {"@type vbap2d @numoutputs 1", "zorv.pan~ @type vbap @numoutputs 2",
        "@numinputs 2 @numoutputs 8 @type hoa3d", "@type binaural @numoutputs 3"}) {
    EXPECT_EQ(make(box), nullptr) << box;
    ASSERT_EQ(lines.size(), 1u) << box;
    EXPECT_EQ(lines[0].severity, Severity::Error);
    EXPECT_EQ(lines[0].text, "Unsupported panning configuration");
  }
}

TEST_F(PanObjectTest, UnknownTypeAndNullTypeAreUnsupported) {
  for (char const* box : {"@type foo", "@type null", "@type null @subtype diffuse"}) {
    EXPECT_EQ(make(box), nullptr) << box;
    EXPECT_EQ(texts(), Texts{"Unsupported panning configuration"}) << box;
  }
}

TEST_F(PanObjectTest, FactoryWithoutAnswerReportsABugAndAnError) {
  EXPECT_EQ(make("@type nopanner"), nullptr);
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(lines[0].severity, Severity::Bug);
  EXPECT_EQ(lines[0].text, "couldnt create object (zorv_pan_initialize)");
  EXPECT_EQ(lines[1].severity, Severity::Error);
  EXPECT_EQ(lines[1].text, "couldnt create object (zorv_pan_new)");
}

TEST_F(PanObjectTest, ExceptionFromAPannerMakesNoObjectAndSaysWhy) {
  EXPECT_EQ(make("@type throwing"), nullptr);
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].severity, Severity::Bug);
  EXPECT_EQ(lines[0].text, "no speakers hull");
}

TEST_F(PanObjectTest, BadDictionaryEntriesAreAllReported) {
  EXPECT_EQ(make("@numinputs foo @type recording"), nullptr);
  EXPECT_EQ(texts(), (Texts{"error getting long value from dict for entry numinputs",
                            "error parsing dictionary"}));
  EXPECT_EQ(make("@numoutputs @type 3"), nullptr);
  EXPECT_EQ(texts(), (Texts{"error getting long value from dict for entry numoutputs",
                            "error getting sym value from dict for entry \"type\"",
                            "error parsing dictionary"}));
}

TEST_F(PanObjectTest, UntypedAttributesTakeTheirDefaults) {
  auto pan = make("@type recording");
  ASSERT_NE(pan, nullptr);
  EXPECT_TRUE(lines.empty());
  EXPECT_EQ(pan->NumInlets(), 1u);
  EXPECT_EQ(pan->NumOutlets(), 4u);
  EXPECT_EQ(pan->GetAttribute("numinputs"), Texts{"1"});
  EXPECT_EQ(pan->GetAttribute("numoutputs"), Texts{"4"});
  EXPECT_EQ(pan->GetAttribute("type"), Texts{"recording"});
  EXPECT_EQ(pan->GetAttribute("subtype"), Texts{"direct"});
  EXPECT_EQ(pan->GetAttribute("interpolationtime"), Texts{"30."});
  EXPECT_EQ(pan->GetAttribute("mute"), Texts{"0"});
  EXPECT_EQ(pan->GetAttribute("bypass"), Texts{"0"});
  EXPECT_TRUE(pan->GetAttribute("nosuchattribute").empty());
  EXPECT_EQ(lastPanner->interpolationTime, 30.f);
}

TEST_F(PanObjectTest, BoxTextReadsIntsFloatsAndSymbolsWithOrWithoutTheClassName) {
  for (char const* box :
       {"zorv.pan~ @numinputs 3 @numoutputs 2. @type recording @interpolationtime 50",
        "@numinputs 3 @numoutputs 2.7 @type recording @interpolationtime 50"}) {
    auto pan = make(box);
    ASSERT_NE(pan, nullptr) << box;
    EXPECT_EQ(pan->NumInlets(), 3u);
    EXPECT_EQ(pan->NumOutlets(), 2u);
    EXPECT_EQ(pan->GetAttribute("interpolationtime"), Texts{"50."});
    EXPECT_EQ(lastPanner->interpolationTime, 50.f);
    EXPECT_EQ(lastPanner->GetNumInputs(), 3u);
  }
}

TEST_F(PanObjectTest, ChannelCountsAndInterpolationTimeAreClipped) {
  struct Case {
    char const* box;
    unsigned int inlets;
    unsigned int outlets;
    char const* interpolation;
  };
  for (Case const& c : {Case{"@numinputs 300 @type recording", 128, 4, "30."},
                        Case{"@numinputs 0 @numoutputs 129 @type recording", 1, 128, "30."},
                        Case{"@numinputs -5 @numoutputs 0 @type recording", 1, 1, "30."},
                        Case{"@type recording @interpolationtime 500", 1, 4, "200."},
                        Case{"@type recording @interpolationtime -3.5", 1, 4, "0."}}) {
    auto pan = make(c.box);
    ASSERT_NE(pan, nullptr) << c.box;
    EXPECT_EQ(pan->NumInlets(), c.inlets) << c.box;
    EXPECT_EQ(pan->NumOutlets(), c.outlets) << c.box;
    EXPECT_EQ(pan->GetAttribute("numinputs"), Texts{std::to_string(c.inlets)});
    EXPECT_EQ(pan->GetAttribute("sourcespositions").size(), 3u * c.inlets);
    EXPECT_EQ(pan->GetAttribute("speakerspositions").size(), 3u * c.outlets);
    EXPECT_EQ(pan->GetAttribute("interpolationtime"), Texts{c.interpolation}) << c.box;
  }
  // The clip holds for messages as well.
  auto pan = make("@type recording");
  pan->SendMessage("interpolationtime 1000");
  EXPECT_EQ(lastPanner->interpolationTime, 200.f);
  pan->SendMessage("mute 5");
  EXPECT_EQ(pan->GetAttribute("mute"), Texts{"1"});
}

TEST_F(PanObjectTest, DefaultLayoutReplacesPositionsGivenInTheBox) {
  auto pan = make(
      "@numinputs 2 @numoutputs 4 @type recording @speakerspositions 9 9 9 9 9 9 "
      "@sourcespositions 5 5 5 5 5 5");
  ASSERT_NE(pan, nullptr);
  nolardsp::CartesianVector const* quad = Zorv::Speakers::GetDefaultForChannels(4);
  ASSERT_EQ(lastPanner->speakers.size(), 4u);
  for (unsigned int j = 0; j < 4; ++j) {
    EXPECT_EQ(lastPanner->speakers[j].x, quad[j].x);
    EXPECT_EQ(lastPanner->speakers[j].y, quad[j].y);
  }
  float expected[6];
  Zorv::Speakers::GetRegularlySpaced(expected, 2);
  auto const& sources = lastPanner->GetSourcePositions();
  EXPECT_FLOAT_EQ(sources[0].x, expected[0]);
  EXPECT_FLOAT_EQ(sources[0].y, expected[1]);
  EXPECT_FLOAT_EQ(sources[1].x, expected[3]);
  EXPECT_FLOAT_EQ(sources[1].y, expected[4]);
  EXPECT_NEAR(sources[0].y, 1.f, 1e-6f);  // source 1 straight ahead

  // Beyond 8 channels the speakers lie evenly on the unit circle.
  auto wide = make("@numoutputs 12 @type recording");
  float ring[36];
  Zorv::Speakers::GetRegularlySpaced(ring, 12);
  ASSERT_EQ(lastPanner->speakers.size(), 12u);
  EXPECT_EQ(lastPanner->speakers[3].x, ring[9]);
  EXPECT_EQ(lastPanner->speakers[3].y, ring[10]);
}

TEST_F(PanObjectTest, StructuralAttributesRefuseChangesAfterCreation) {
  auto pan = make("@numinputs 2 @type recording");
  ASSERT_NE(pan, nullptr);
  lines.clear();
  pan->SendMessage("numinputs 2");
  pan->SendMessage("numoutputs 4");
  pan->SendMessage("type recording");
  EXPECT_TRUE(lines.empty());
  pan->SendMessage("numinputs 3");
  pan->SendMessage("numoutputs 8");
  pan->SendMessage("type vbap");
  pan->SendMessage("subtype early");
  EXPECT_EQ(texts(), (Texts{"could not dynamically change number of inputs",
                            "could not dynamically change number of outputs",
                            "could not dynamically change pan type",
                            "could not dynamically change pan subtype"}));
  EXPECT_EQ(pan->GetAttribute("numinputs"), Texts{"2"});
  EXPECT_EQ(pan->GetAttribute("type"), Texts{"recording"});
}

TEST_F(PanObjectTest, PositionAttributesReachThePanner) {
  auto pan = make("@numinputs 2 @type recording");
  pan->SendMessage("sourcespositions 1 2 3 4 5 6");
  auto const& sources = lastPanner->GetSourcePositions();
  EXPECT_EQ(sources[1].x, 4.f);
  EXPECT_EQ(sources[1].z, 6.f);
  // A short list changes the leading values and reads nothing past its end.
  pan->SendMessage("sourcespositions 7");
  EXPECT_EQ(sources[0].x, 7.f);
  EXPECT_EQ(sources[0].y, 2.f);
  EXPECT_EQ(pan->GetAttribute("sourcespositions"), (Texts{"7.", "2.", "3.", "4.", "5.", "6."}));
  int const before = lastPanner->speakerUpdates;
  pan->SendMessage("speakerspositions 0 1 0");
  EXPECT_EQ(lastPanner->speakerUpdates, before + 1);
  EXPECT_EQ(lastPanner->speakers[0].y, 1.f);
}

TEST_F(PanObjectTest, UnknownMessageAnswersOnTheConsoleAndChangesNothing) {
  auto pan = make("@numinputs 2 @type recording");
  lines.clear();
  std::vector<std::vector<std::string>> before;
  for (char const* a : {"numinputs", "interpolationtime", "sourcespositions", "mute"}) {
    before.push_back(pan->GetAttribute(a));
  }
  pan->SendMessage("frobnicate 1 2 3");
  pan->SendMessage("dsp");                // host-only
  pan->SendMessage("classdigest hello");  // hidden from the user
  pan->SendMessage("12");
  EXPECT_EQ(texts(), (Texts{"zorv.pan~: doesn't understand \"frobnicate\"",
                            "zorv.pan~: doesn't understand \"dsp\"",
                            "zorv.pan~: doesn't understand \"classdigest\"",
                            "zorv.pan~: doesn't understand \"int\""}));
  for (ConsoleLine const& l : lines) EXPECT_EQ(l.severity, Severity::Error);
  std::size_t k = 0;
  for (char const* a : {"numinputs", "interpolationtime", "sourcespositions", "mute"}) {
    EXPECT_EQ(pan->GetAttribute(a), before[k++]) << a;
  }
}

TEST_F(PanObjectTest, PostattributesShowsWhatTheUserSees) {
  auto pan = make("@numinputs 2 @type recording @interpolationtime 12.5");
  lines.clear();
  pan->SendMessage("postattributes interpolationtime");
  pan->SendMessage("postattributes nosuch");
  EXPECT_EQ(texts(), (Texts{"interpolationtime : 12.5", "unknown attribute nosuch"}));
  lines.clear();
  pan->SendMessage("postattributes");
  Texts const all = texts();
  ASSERT_EQ(all.size(), 9u);  // mute, bypass and the seven signal attributes
  EXPECT_EQ(all[0], "mute : 0");
  EXPECT_EQ(all[2], "numinputs : 2");
  EXPECT_EQ(all[4], "type : recording");
}

TEST_F(PanObjectTest, AttributeStoreRoundTripsThroughGetvalueofAndSetvalueof) {
  auto registered = make("@type recording");  // the class exists from here on
  auto* a = static_cast<zorv_pan_signal_t*>(maxapi_object_new(
      zorv_pan_class, maxapi_parse_atoms("@numinputs 2 @type recording @interpolationtime 50"),
      maxapi_console_sink()));
  auto* b = static_cast<zorv_pan_signal_t*>(maxapi_object_new(
      zorv_pan_class, maxapi_parse_atoms("@numinputs 2 @type recording"), maxapi_console_sink()));
  ASSERT_NE(a, nullptr);
  ASSERT_NE(b, nullptr);
  t_atom m;
  atom_setlong(&m, 1);
  object_attr_setvalueof(a, gensym("mute"), 1, &m);
  a->sourcespositions[4] = 0.25f;

  long argc = 0;
  t_atom* argv = nullptr;
  ASSERT_EQ(nolarmax::nolarmax_getvalueof(&a->ob, &argc, &argv), MAX_ERR_NONE);
  // name and count for nine attributes, then the values: mute, bypass, four
  // structural, 2 x 3 source and 4 x 3 speaker coordinates, interpolation.
  EXPECT_EQ(argc, 2 * 9 + 6 + 6 + 12 + 1);
  EXPECT_EQ(nolarmax::nolarmax_setvalueof(&b->ob, argc, argv), MAX_ERR_NONE);
  sysmem_freeptr(argv);
  EXPECT_EQ(b->ob.mute, 1);
  EXPECT_EQ(b->interpolationtime, 50.f);
  EXPECT_EQ(b->sourcespositions[4], 0.25f);
  // A malformed list stops where it breaks.
  t_atom bad[3];
  atom_setsym(bad, gensym("bypass"));
  atom_setlong(bad + 1, 5);
  atom_setlong(bad + 2, 1);
  EXPECT_NE(nolarmax::nolarmax_setvalueof(&b->ob, 3, bad), MAX_ERR_NONE);
  EXPECT_EQ(b->ob.bypass, 0);
  object_free(a);
  object_free(b);
}

TEST_F(PanObjectTest, PresetStoresAndRecallpresetRestoresTheAttributes) {
  auto pan = make("@numinputs 2 @type recording @interpolationtime 12.5");
  pan->SendMessage("recallpreset");
  EXPECT_EQ(texts(), Texts{"recallpreset: no preset stored"});
  pan->SendMessage("source 2 xyz 0.5 0.25 0");
  pan->SendMessage("preset");
  auto const sources = pan->GetAttribute("sourcespositions");
  pan->SendMessage("interpolationtime 80");
  pan->SendMessage("bypass 1");
  pan->SendMessage("source 2 xyz 3 3 3");
  lines.clear();
  pan->SendMessage("recallpreset");
  EXPECT_EQ(texts(), Texts{});
  EXPECT_EQ(pan->GetAttribute("interpolationtime"), Texts{"12.5"});
  EXPECT_EQ(pan->GetAttribute("bypass"), Texts{"0"});
  EXPECT_EQ(pan->GetAttribute("sourcespositions"), sources);
  // A list in the message is recalled as it stands; a broken one is refused
  // from where it breaks.
  pan->SendMessage("recallpreset interpolationtime 1 40. mute 1");
  EXPECT_EQ(pan->GetAttribute("interpolationtime"), Texts{"40."});
  EXPECT_EQ(texts(), Texts{"recallpreset: the list is not \"name count values...\" throughout"});
}

TEST_F(PanObjectTest, GeneratexmlWritesTheReferenceDocumentIntoTheCurrentFolder) {
  char folder[] = "/tmp/zorv-xml.XXXXXX";
  ASSERT_NE(mkdtemp(folder), nullptr);
  char previous[4096];
  ASSERT_NE(getcwd(previous, sizeof previous), nullptr);
  ASSERT_EQ(chdir(folder), 0);
  auto pan = make("@numinputs 2 @type recording");
  pan->SendMessage("generatexml");
  std::ifstream file("zorv.pan~.maxref.xml");
  std::stringstream text;
  text << file.rdbuf();
  std::remove("zorv.pan~.maxref.xml");
  EXPECT_EQ(chdir(previous), 0);
  rmdir(folder);
  EXPECT_EQ(texts(), Texts{"wrote zorv.pan~.maxref.xml"});
  std::string const xml = text.str();
  for (char const* part :
       {"<reference name=\"zorv.pan~\" version=\"4.4.0 (Build Nov 15 2011)\">",
        "<digest>Panner</digest>", "<message name=\"source\" arguments=\"list\"/>",
        "<message name=\"crossfadetype\" arguments=\"symbol\"/>",
        "<message name=\"clear\" arguments=\"\"/>",
        "<attribute name=\"numinputs\" type=\"long\" size=\"1\" minvalue=\"1\" "
        "maxvalue=\"128\" default=\"1\">",
        "<label>number of input channels</label>",
        "<attribute name=\"sourcespositions\" type=\"float32\" size=\"384\" units=\"xyz\">",
        "<label>interpolation time (ramp and delay lines)</label>"}) {
    EXPECT_NE(xml.find(part), std::string::npos) << part << "\n" << xml;
  }
  // Host-only calls are not messages; hidden attributes are not shown.
  EXPECT_EQ(xml.find("\"dsp\""), std::string::npos);
  EXPECT_EQ(xml.find("classdigest"), std::string::npos);
}

TEST_F(PanObjectTest, ABoxAttributeTheObjectLacksIsNamedWithTheNearestOne) {
  auto pan = make("@numinputs 2 @typ recording @interpolatontime 20");
  ASSERT_NE(pan, nullptr);
  EXPECT_EQ(texts(), (Texts{"zorv.pan~: no attribute \"@typ\" (did you mean \"@type\"?)",
                            "zorv.pan~: no attribute \"@interpolatontime\" (did you mean "
                            "\"@interpolationtime\"?)"}));
  for (ConsoleLine const& l : lines) EXPECT_EQ(l.severity, Severity::Error);
  // Attributes of the type are known once the object has them.
  zorv_pan_set_factory_for_tests(nullptr);
  auto hoa = make("@numoutputs 7 @type hoa2d @encoding SN2D");
  ASSERT_NE(hoa, nullptr);
  EXPECT_EQ(texts(), Texts{});
}

TEST_F(PanObjectTest, LinesOfObjectsWithoutASinkGoToTheProcessConsole) {
  EXPECT_EQ(PanObject::Create("@type foo"), nullptr);
  auto pan = PanObject::Create("@type recording");
  pan->SendMessage("postdspstatus");
  std::vector<ConsoleLine> console = zorvhost::TakeConsole();
  ASSERT_EQ(console.size(), 2u);
  EXPECT_EQ(console[0].text, "Unsupported panning configuration");
  EXPECT_EQ(console[1].severity, Severity::Post);
  EXPECT_EQ(console[1].text, "dsp processing is enabled");
  EXPECT_TRUE(zorvhost::TakeConsole().empty());
  // An object with a sink keeps its lines to itself.
  auto quiet = make("@type recording");
  quiet->SendMessage("postdspstatus");
  EXPECT_EQ(lines.size(), 1u);
  EXPECT_TRUE(zorvhost::TakeConsole().empty());
}

// Two inputs, four outputs, 64-sample blocks, inputs of constant value.
class PanObjectBlockTest : public PanObjectTest {
 protected:
  void start(std::string const& box, unsigned int block = 64) {
    pan = make(box);
    ASSERT_NE(pan, nullptr);
    blockSize = block;
    in.assign(pan->NumInlets(), std::vector<float>(block));
    out.assign(pan->NumOutlets(), std::vector<float>(block, 7.f));
    for (std::size_t i = 0; i < in.size(); ++i) {
      for (unsigned int k = 0; k < block; ++k) in[i][k] = static_cast<float>(i + 1) + 0.01f * k;
    }
    pan->StartDsp(48000., block);
  }

  void run(unsigned int n = 0) {
    std::vector<float const*> ip;
    std::vector<float*> op;
    for (auto& v : in) ip.push_back(v.data());
    for (auto& v : out) {
      std::fill(v.begin(), v.end(), 7.f);
      op.push_back(v.data());
    }
    pan->ProcessBlock(ip.data(), op.data(), n);
  }

  bool isZero(std::vector<float> const& v) const {
    for (unsigned int k = 0; k < blockSize; ++k) {
      if (v[k] != 0.f) return false;
    }
    return true;
  }

  std::unique_ptr<PanObject> pan;
  unsigned int blockSize = 0;
  std::vector<std::vector<float>> in;
  std::vector<std::vector<float>> out;
};

TEST_F(PanObjectTest, BlockBeforeDspIsSilent) {
  auto pan = make("@numoutputs 2 @type recording");
  std::vector<float> a(8, 1.f), b(8, 7.f), c(8, 7.f);
  float const* ip[] = {a.data()};
  float* op[] = {b.data(), c.data()};
  pan->ProcessBlock(ip, op, 8);
  EXPECT_EQ(b, std::vector<float>(8, 0.f));
  EXPECT_EQ(c, std::vector<float>(8, 0.f));
  EXPECT_EQ(lastPanner->processCalls, 0);
}

TEST_F(PanObjectBlockTest, DspConfiguresThePannerAndProcessRunsOnActiveInputs) {
  start("@numinputs 2 @numoutputs 4 @type recording");
  EXPECT_EQ(lastPanner->GetSamplerate(), 48000.f);
  EXPECT_EQ(lastPanner->GetMaxBlockSize(), 64u);
  run();
  EXPECT_EQ(lastPanner->processCalls, 1);
  EXPECT_EQ(lastPanner->lastBlock, 64u);
  EXPECT_EQ(lastPanner->lastActive, (std::vector<short>{1, 1}));
  EXPECT_FLOAT_EQ(out[3][10], 4.f * (in[0][10] + in[1][10]));
}

TEST_F(PanObjectBlockTest, ConnectionsCountFromTheNextDsp) {
  start("@numinputs 2 @numoutputs 4 @type recording");
  pan->SetInletConnected(1, false);
  run();
  EXPECT_EQ(lastPanner->lastActive, (std::vector<short>{1, 1}));
  pan->StartDsp(48000., 64);
  run();
  EXPECT_EQ(lastPanner->lastActive, (std::vector<short>{1, 0}));
  EXPECT_FLOAT_EQ(out[1][5], 2.f * in[0][5]);
  pan->SetInletConnected(1, true);
  pan->SetInletConnected(0, false);
  pan->SetInletConnected(99, false);  // no such inlet: ignored
  pan->StartDsp(48000., 64);
  run();
  EXPECT_EQ(lastPanner->lastActive, (std::vector<short>{0, 1}));
}

TEST_F(PanObjectBlockTest, MuteWinsOverBypassAndDisableCountsAsMute) {
  start("@numinputs 2 @numoutputs 4 @type recording @mute 1 @bypass 1");
  run();
  for (auto const& o : out) EXPECT_TRUE(isZero(o));
  pan->SendMessage("mute 0");
  pan->SetDisabled(true);
  run();
  for (auto const& o : out) EXPECT_TRUE(isZero(o));
  EXPECT_EQ(lastPanner->processCalls, 0);
  lines.clear();
  pan->SendMessage("postdspstatus");
  pan->SetDisabled(false);
  pan->SendMessage("postdspstatus");
  pan->SendMessage("bypass 0");
  pan->SendMessage("postdspstatus");
  EXPECT_EQ(texts(), (Texts{"dsp processing is muted", "dsp processing is bypassed",
                            "dsp processing is enabled"}));
}

TEST_F(PanObjectBlockTest, BypassCopiesCommonChannelsWhateverTheActiveFlags) {
  start("@numinputs 2 @numoutputs 4 @type recording @bypass 1");
  pan->SetInletConnected(1, false);
  pan->StartDsp(48000., 64);
  run();
  EXPECT_EQ(out[0], in[0]);
  EXPECT_EQ(out[1], in[1]);  // unconnected, copied all the same
  EXPECT_TRUE(isZero(out[2]));
  EXPECT_TRUE(isZero(out[3]));
  EXPECT_EQ(lastPanner->processCalls, 0);

  start("@numinputs 4 @numoutputs 2 @type recording @bypass 1");
  run();
  EXPECT_EQ(out[0], in[0]);
  EXPECT_EQ(out[1], in[1]);
}

TEST_F(PanObjectBlockTest, ShorterBlockRunsThePannerOnThatManySamples) {
  start("@numinputs 2 @numoutputs 4 @type recording");
  run(10);
  EXPECT_EQ(lastPanner->lastBlock, 10u);
  EXPECT_FLOAT_EQ(out[0][9], in[0][9] + in[1][9]);
  EXPECT_EQ(out[0][10], 7.f);  // the caller's samples past the block are left alone
  run();
  EXPECT_EQ(lastPanner->lastBlock, 64u);
}

TEST_F(PanObjectBlockTest, OneBlockAllocatesNothing) {
  start("@numinputs 8 @numoutputs 8 @type recording");
  std::vector<float const*> ip;
  std::vector<float*> op;
  for (auto& v : in) ip.push_back(v.data());
  for (auto& v : out) op.push_back(v.data());
  pan->ProcessBlock(ip.data(), op.data());  // warm
  std::size_t count = 0;
  {
    zorvtest::AllocationCounter counter;
    pan->ProcessBlock(ip.data(), op.data());
    pan->ProcessBlock(ip.data(), op.data(), 17);
    pan->SendMessage("bypass 1");
    count = counter.Count();
  }
  EXPECT_GT(count, 0u);  // the counter sees the message side's allocations
  {
    zorvtest::AllocationCounter counter;
    pan->ProcessBlock(ip.data(), op.data());
    EXPECT_EQ(counter.Count(), 0u);
  }
  EXPECT_EQ(out[0], in[0]);
}

TEST_F(PanObjectBlockTest, ClearReachesThePannerAndFreeDeletesIt) {
  start("@type recording");
  int const clears = lastPanner->clears;
  pan->SendMessage("clear");
  EXPECT_EQ(lastPanner->clears, clears + 1);
  pan.reset();
  EXPECT_TRUE(lastPannerDeleted);
}

TEST(PanObjectAssist, NamesInletsOutletsAndTheDumpoutPlace) {
  auto x = std::make_unique<zorv_pan_signal_t>();
  std::memset(static_cast<void*>(x.get()), 0, sizeof(zorv_pan_signal_t));
  x->numinputs = 2;
  x->numoutputs = 3;
  char text[512];
  zorv_pan_assist(x.get(), nullptr, ASSIST_INLET, 1, text);
  EXPECT_STREQ(text, "input2");
  zorv_pan_assist(x.get(), nullptr, ASSIST_OUTLET, 0, text);
  EXPECT_STREQ(text, "output1");
  zorv_pan_assist(x.get(), nullptr, ASSIST_OUTLET, 3, text);
  EXPECT_STREQ(text, "dumpout");
  std::strcpy(text, "unchanged");
  zorv_pan_assist(x.get(), nullptr, ASSIST_INLET, 2, text);
  EXPECT_STREQ(text, "unchanged");
}

}  // namespace
