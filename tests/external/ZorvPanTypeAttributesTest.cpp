// The attribute groups of the families whose panners are not built yet, on an
// object whose panner is a stand-in: each group appears only for the exact
// `type` (and `subtype`) symbol, takes its defaults through its setter, and
// the handlers answer by type first and by the panner's class second.

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "ZorvHost.h"
#include "ZorvPan.h"
#include "ZorvPanObject.h"

namespace {

using zorvhost::ConsoleLine;
using zorvhost::PanObject;
using zorvhost::Severity;

// A panner of no family: it renders silence and keeps positions.
class StandInPanning : public Zorv::Pan {
 public:
  StandInPanning(unsigned int in, unsigned int out) {
    numInputs = in;
    numOutputs = out;
    sourcePositions.resize(in);
  }
  void Process(float** outputs, float**, unsigned long n, short const*) override {
    for (unsigned int j = 0; j < numOutputs; ++j) {
      for (unsigned long k = 0; k < n; ++k) outputs[j][k] = 0.f;
    }
  }
  void ProcessAdding(float**, float**, unsigned long, short const*) override {}
  void SetSamplerate(float) override {}
  void SetMaxBlockSize(unsigned int) override {}
  void Clear() override {}
  void SetSourcePosition(unsigned int i, nolardsp::CartesianVector const& p, bool) override {
    sourcePositions[i] = p;
  }
  void SetSourcePositions(nolardsp::CartesianVector const*) override {}
  void SetLoudspeakerPositions(nolardsp::CartesianVector const*) override {}
  void SetNumInputs(unsigned int n) override { numInputs = n; }
  void SetNumOutputs(unsigned int n) override { numOutputs = n; }
  void SetInterpolationTime(float) override {}
};

Zorv::Pan* standIn(unsigned int in, unsigned int out, char const*, char const*) {
  return new StandInPanning(in, out);
}

class PanTypeAttributes : public ::testing::Test {
 protected:
  void SetUp() override { zorv_pan_set_factory_for_tests(standIn); }
  void TearDown() override { zorv_pan_set_factory_for_tests(nullptr); }

  std::unique_ptr<PanObject> make(std::string const& box) {
    lines.clear();
    return PanObject::Create("zorv.pan~ @numinputs 2 @numoutputs 4 " + box,
                             [this](Severity s, std::string const& t) {
                               lines.push_back(ConsoleLine{s, t});
                             });
  }

  std::vector<std::string> take() {
    std::vector<std::string> t;
    for (ConsoleLine const& l : lines) t.push_back(l.text);
    lines.clear();
    return t;
  }

  std::vector<ConsoleLine> lines;
};

using Texts = std::vector<std::string>;

bool has(PanObject const& o, char const* attribute) {
  return !o.GetAttribute(attribute).empty();
}

TEST_F(PanTypeAttributes, GroupsFollowTheExactSymbols) {
  struct Case {
    char const* box;
    std::vector<char const*> present;
    std::vector<char const*> absent;
  } const cases[] = {
      {"@type binaural",
       {"listenerposition", "hrtffile", "crossfadetime", "itdtype", "headradius"},
       {"torsoradius", "radius", "encoding", "spread", "cutoff"}},
      {"@type binaural @subtype snowman",
       {"torsoreflection", "torsoradius", "neckheight", "headradius"},
       {"radius", "nearfieldhrtffile"}},
      {"@type binaural @subtype snowmanmodel", {"headradius"}, {"torsoradius", "neckheight"}},
      {"@type binaural @subtype nearfield",
       {"nearfieldhrtffile", "radius", "distanceattenuation", "crossearselection",
        "nfcompensationfilters", "hrtffilters", "gainscorrection", "delayscorrection"},
       {"torsoradius"}},
      {"@type hoa3d", {"encoding", "norm", "hoasorting"}, {"nfchighpass", "hrtffile"}},
      {"@type nfchoa2d", {"encoding", "hoasorting", "nfchighpass", "speakersradius"}, {}},
      {"@type hoa", {}, {"encoding", "hoasorting"}},
      {"@type nfchoa", {}, {"encoding", "nfchighpass"}},
      {"@type subwoofers", {"cutoff"}, {"spread"}},
      {"@type panr", {}, {"spread", "cutoff", "encoding"}},
  };
  for (Case const& c : cases) {
    auto o = make(c.box);
    ASSERT_NE(o, nullptr) << c.box;
    for (char const* a : c.present) EXPECT_TRUE(has(*o, a)) << c.box << ": " << a;
    for (char const* a : c.absent) EXPECT_FALSE(has(*o, a)) << c.box << ": " << a;
  }
}

TEST_F(PanTypeAttributes, DefaultsAreSetThroughTheSetters) {
  auto o = make("@type binaural @subtype nearfield");
  ASSERT_NE(o, nullptr);
  EXPECT_EQ(o->GetAttribute("hrtffile"), Texts{"none"});
  EXPECT_EQ(o->GetAttribute("itdtype"), Texts{"measurement"});
  EXPECT_EQ(o->GetAttribute("listenerposition"), (Texts{"0.", "0.", "0."}));
  EXPECT_EQ(o->GetAttribute("crossfadetime"), Texts{"5."});
  EXPECT_EQ(o->GetAttribute("headradius"), Texts{"0.0875"});
  // "0" lifted by the clip to the smallest radius.
  EXPECT_EQ(o->GetAttribute("radius"), Texts{"0.2"});
  EXPECT_EQ(o->GetAttribute("distanceattenuation"), Texts{"1"});
  EXPECT_EQ(o->GetAttribute("gainscorrection"), Texts{"0"});

  o = make("@type binaural @subtype snowman");
  EXPECT_EQ(o->GetAttribute("torsoreflection"), Texts{"0.3"});
  EXPECT_EQ(o->GetAttribute("torsoradius"), Texts{"0.169"});
  EXPECT_EQ(o->GetAttribute("neckheight"), Texts{"0.053"});

  o = make("@type hoa2d");
  EXPECT_EQ(o->GetAttribute("encoding"), Texts{"SN3D"});
  EXPECT_EQ(o->GetAttribute("norm"), Texts{"SN3D"});
  EXPECT_EQ(o->GetAttribute("hoasorting"), Texts{"IncreasingDegrees"});
  o = make("@type nfchoa3d");
  EXPECT_EQ(o->GetAttribute("nfchighpass"), Texts{"0"});
  EXPECT_EQ(o->GetAttribute("speakersradius"), Texts{"1."});
  o = make("@type subwoofers @cutoff 5");
  EXPECT_EQ(o->GetAttribute("cutoff"), Texts{"10."});
  o->SendMessage("cutoff 80");
  EXPECT_EQ(o->GetAttribute("cutoff"), Texts{"80."});
}

TEST_F(PanTypeAttributes, AStandInIsNotTheFamilysPanner) {
  auto o = make("@type binaural");
  ASSERT_NE(o, nullptr);
  take();
  o->SendMessage("listener 1 0 0");
  EXPECT_EQ(take(), Texts{"couldnt get object"});
  o->SendMessage("load");  // no name: "none", nothing loaded
  EXPECT_EQ(take(), Texts{});
  EXPECT_EQ(o->GetAttribute("hrtffile"), Texts{"none"});
  o->SendMessage("load foo.wav");
  EXPECT_EQ(take(), Texts{"couldnt get object"});
  EXPECT_EQ(o->GetAttribute("hrtffile"), Texts{"foo.wav"});
  o->SendMessage("loadnf foo.near");
  EXPECT_EQ(take(), Texts{"message only supported by binaural nearfield"});
  o->SendMessage("speakers ade 0 1 0 90 1 0 180 1 0 -90 1 0");  // ignored silently
  o->SendMessage("speaker 1 ade 0 1 0");
  EXPECT_EQ(take(), Texts{});
  o->SendMessage("info");
  EXPECT_EQ(take(), (Texts{"message only supported by binaural", "dsp processing is enabled"}));

  o = make("@type hoa3d");
  take();
  o->SendMessage("info");
  EXPECT_EQ(take(), (Texts{"message only supported by hoa", "dsp processing is enabled"}));
  o->SendMessage("encoding N3D");
  EXPECT_EQ(take(), Texts{"couldnt get object : zorv_pan_update_hoaencoding"});

  // An alias matches no symbol: nothing to report.
  o = make("@type hoa");
  take();
  o->SendMessage("info");
  EXPECT_EQ(take(),
            (Texts{"no info available for this type of panning", "dsp processing is enabled"}));

  o = make("@type panr");
  take();
  o->SendMessage("corners 1 2 3 4 5");
  EXPECT_EQ(take(), Texts{"couldnt get object : zorv_pan_corners"});
}

}  // namespace
