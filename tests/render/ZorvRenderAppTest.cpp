#include "ZorvRenderApp.h"

#include <gtest/gtest.h>

#include <sstream>

#include "ZorvRenderCommandLine.h"
#include "ZorvRenderError.h"
#include "ZorvRenderTestSupport.h"

namespace zorvrender {
namespace {

using zorvrendertest::FakeObject;
using zorvrendertest::TempDir;

// Boxes for the scripted object: "@numinputs N @numoutputs M"; "@type bad"
// makes none, as an unknown panning type does.
std::unique_ptr<RenderObject> makeFake(std::string const& box, ConsoleFunction console) {
  if (box.find("@type bad") != std::string::npos) {
    console(ConsoleSeverity::Error, "Unsupported panning configuration");
    return nullptr;
  }
  unsigned int inlets = 1;
  unsigned int outlets = 2;
  std::istringstream words(box);
  for (std::string word; words >> word;) {
    if (word == "@numinputs") {
      words >> inlets;
    } else if (word == "@numoutputs") {
      words >> outlets;
    }
  }
  return std::make_unique<FakeObject>(inlets, outlets, console);
}

class RenderAppTest : public ::testing::Test {
 protected:
  void SetUp() override {
    options.boxText = "@numinputs 2 @numoutputs 2";
    options.output = dir / "out.wav";
    options.quiet = true;
    zorvrendertest::WriteAudio(dir / "dc.wav", {std::vector<float>(1000, 0.5f)}, 48000);
    std::remove((dir / "out.wav").c_str());
  }

  int run() {
    err.str("");
    return RunRender(options, makeFake, err);
  }

  // A failed render names what went wrong and leaves no file but the inputs.
  void expectFailure(int code, std::string const& text) {
    auto const before = dir.Names();
    EXPECT_EQ(run(), code);
    EXPECT_NE(err.str().find(text), std::string::npos) << err.str();
    auto names = dir.Names();
    EXPECT_EQ(names, before) << "left behind: " << names.size() - before.size() << " file(s)";
    EXPECT_EQ(names.count("out.wav"), 0u);
  }

  TempDir dir;
  RenderOptions options;
  std::ostringstream err;
};

TEST_F(RenderAppTest, RendersAndWritesOneChannelPerOutlet) {
  options.inputs = {dir / "dc.wav"};
  options.tail = 0.01;
  options.quiet = false;
  ASSERT_EQ(run(), ExitSuccess) << err.str();
  auto const audio = zorvrendertest::ReadAudio(dir / "out.wav");
  EXPECT_EQ(audio.samplerate, 48000);
  ASSERT_EQ(audio.channels.size(), 2u);
  ASSERT_EQ(audio.channels[0].size(), 1480u);
  EXPECT_EQ(audio.channels[0][999], 0.5f);
  EXPECT_EQ(audio.channels[0][1000], 0.f);
  EXPECT_EQ(audio.channels[1][0], 0.f);  // the second inlet is not connected
  EXPECT_EQ(err.str().rfind("zorv-render: wrote " + dir / "out.wav" + ": 2 channel(s)", 0), 0u)
      << err.str();
}

TEST_F(RenderAppTest, ConsoleLinesNameTheScoreLineAndDoNotStopTheRender) {
  zorvrendertest::WriteText(dir / "moves.txt", "0 gain 2\n\n0.01 fail\n0.5 late\n");
  options.inputs = {dir / "dc.wav"};
  options.score = dir / "moves.txt";
  options.messages = {"hello", "gain 3"};
  ASSERT_EQ(run(), ExitSuccess) << err.str();
  EXPECT_EQ(err.str(),
            "zorv.pan~: hello\n" + dir / "moves.txt" +
                ":3: zorv.pan~: error: fail: no such message\n"
                "zorv-render: warning: " +
                dir / "moves.txt" +
                ": 1 message(s) fall at or after the end (0.0208 s) and were not sent\n");
  auto const audio = zorvrendertest::ReadAudio(dir / "out.wav");
  EXPECT_EQ(audio.channels[0][0], 1.f);
}

TEST_F(RenderAppTest, StrictMakesAnObjectErrorEndTheRender) {
  zorvrendertest::WriteText(dir / "moves.txt", "0.01 fail\n");
  options.inputs = {dir / "dc.wav"};
  options.score = dir / "moves.txt";
  options.strict = true;
  expectFailure(ExitObjectError, "zorv-render: error: the object reported an error and --strict");
  options.score.clear();
  options.messages = {"fail"};
  expectFailure(ExitObjectError, "zorv.pan~: error: fail: no such message");
}

TEST_F(RenderAppTest, ABoxThatMakesNoObject) {
  options.inputs = {dir / "dc.wav"};
  options.boxText = "@type bad";
  expectFailure(ExitBadBox,
                "zorv.pan~: error: Unsupported panning configuration\n"
                "zorv-render: error: the box \"@type bad\" makes no object\n");
  options.boxText = "vbap2d @numinputs 2";
  expectFailure(ExitBadBox, "\"vbap2d\" is not an attribute");
}

TEST_F(RenderAppTest, UnreadableAndMalformedInputs) {
  options.inputs = {dir / "missing.wav"};
  expectFailure(ExitBadInput, "zorv-render: error: " + dir / "missing.wav" +
                                  ": cannot read this input: System error");
  zorvrendertest::WriteText(dir / "text.wav", "this is not audio, whatever its name says\n");
  options.inputs = {dir / "text.wav"};
  expectFailure(ExitBadInput,
                "zorv-render: error: " + dir / "text.wav" + ": cannot read this input");
}

TEST_F(RenderAppTest, SampleRatesThatDisagreeNameTheFiles) {
  zorvrendertest::WriteAudio(dir / "slow.wav", {std::vector<float>(10, 0.f)}, 44100);
  options.inputs = {dir / "dc.wav", dir / "slow.wav"};
  expectFailure(ExitBadInput, "sample rates differ: " + dir / "dc.wav" + " is at 48000 Hz, " +
                                  dir / "slow.wav" + " at 44100 Hz");
  options.inputs = {dir / "slow.wav"};
  options.samplerate = 48000.;
  expectFailure(ExitBadInput, "sample rates differ: " + dir / "slow.wav" +
                                  " is at 44100 Hz, not the 48000 Hz given with --samplerate");
}

TEST_F(RenderAppTest, MoreChannelsThanInletsNamesTheFile) {
  zorvrendertest::WriteAudio(dir / "stereo.wav", {std::vector<float>(10), std::vector<float>(10)},
                             48000);
  options.inputs = {dir / "dc.wav", dir / "stereo.wav"};
  expectFailure(ExitBadInput, "zorv-render: error: " + dir / "stereo.wav" +
                                  ": 2 channels, but only 1 of the 2 inlets are left for it");
}

TEST_F(RenderAppTest, ScoreLinesThatDoNotParse) {
  options.inputs = {dir / "dc.wav"};
  options.score = dir / "moves.txt";
  zorvrendertest::WriteText(dir / "moves.txt", "0 gain 1\nsoon gain 2\n");
  expectFailure(ExitBadScore, "zorv-render: error: " + dir / "moves.txt" + ":2: bad time \"soon\"");
  zorvrendertest::WriteText(dir / "moves.txt", "0.5 gain 1\n0.25 gain 2\n");
  expectFailure(ExitBadScore, "zorv-render: error: " + dir / "moves.txt" +
                                  ":2: time goes backwards: 0.25 after 0.5");
}

TEST_F(RenderAppTest, AnOutputThatCannotBeWritten) {
  options.inputs = {dir / "dc.wav"};
  options.output = dir / "no/such/folder/out.wav";
  expectFailure(ExitBadOutput, "zorv-render: error: " + options.output +
                                   ": cannot write the output: No such file or directory");
  options.output = dir / "out.ogg";
  expectFailure(ExitBadOutput, "unknown output type \".ogg\"");
}

TEST_F(RenderAppTest, AnInterruptedRenderLeavesNothing) {
  options.inputs = {dir / "dc.wav"};
  auto const before = dir.Names();
  EXPECT_EQ(RunRender(options, makeFake, err, []() { return true; }), ExitInterrupted);
  EXPECT_EQ(dir.Names(), before);
}

TEST_F(RenderAppTest, DemoNeedsNoInputAndLengthNeedsSomething) {
  options.demo = true;
  options.boxText = "@numinputs 1 @numoutputs 8";
  options.duration = 0.5;
  ASSERT_EQ(run(), ExitSuccess) << err.str();
  auto const audio = zorvrendertest::ReadAudio(dir / "out.wav");
  ASSERT_EQ(audio.channels.size(), 8u);
  EXPECT_EQ(audio.channels[0].size(), 24000u);
  // The built-in score reaches the object with its own name on each line.
  EXPECT_NE(err.str().find("demo score:3: zorv.pan~: interpolationtime 50"), std::string::npos);

  std::remove((dir / "out.wav").c_str());
  options.demo = false;
  options.duration = -1.;
  expectFailure(ExitUsage, "nothing sets the length");
}

// argv as the shell would hand it over.
int parse(std::vector<char const*> args, RenderOptions& options, std::string* errText = nullptr) {
  args.insert(args.begin(), "zorv-render");
  std::ostringstream out, err;
  int const code = ParseCommandLine(static_cast<int>(args.size()), args.data(), options, out, err);
  if (errText != nullptr) {
    *errText = err.str();
  }
  return code;
}

TEST(CommandLineTest, RepeatedOptionsKeepTheirOrderAndTheBoxMayComeInWords) {
  RenderOptions options;
  ASSERT_EQ(parse({"-i", "a.wav", "-m", "source 1 aed 30 0 2", "--input", "b.wav", "-m",
                   "interpolationtime 50", "-o", "out.wav", "-b", "4096", "--exact", "zorv.pan~",
                   "@numinputs 2", "@type", "vbap2d"},
                  options),
            -1);
  EXPECT_EQ(options.inputs, (std::vector<std::string>{"a.wav", "b.wav"}));
  EXPECT_EQ(options.messages,
            (std::vector<std::string>{"source 1 aed 30 0 2", "interpolationtime 50"}));
  EXPECT_EQ(options.boxText, "zorv.pan~ @numinputs 2 @type vbap2d");
  EXPECT_EQ(options.blockSize, 4096u);
  EXPECT_TRUE(options.exact);
  EXPECT_FALSE(options.strict);
  EXPECT_LT(options.duration, 0.);
}

TEST(CommandLineTest, MistakesAreUsageErrors) {
  std::string err;
  for (auto const& args : std::vector<std::vector<char const*>>{
           {"-o", "x.wav"},                                   // no box
           {"@numinputs 1"},                                  // no output
           {"-o", "x.wav", "-b", "0", "@numinputs 1"},        // block too small
           {"-o", "x.wav", "-b", "4097", "@numinputs 1"},     // block too large
           {"-o", "x.wav", "--bits", "8", "@numinputs 1"},    // no such depth
           {"-o", "x.wav", "-d", "-1", "@numinputs 1"},       // negative length
           {"-o", "x.wav", "--demo", "-i", "a.wav", "@n 1"},  // two sources of sound
       }) {
    RenderOptions options;
    EXPECT_EQ(parse(args, options, &err), ExitUsage) << args.size();
    EXPECT_FALSE(err.empty());
  }
  RenderOptions options;
  EXPECT_EQ(parse({"--help"}, options), ExitSuccess);
}

}  // namespace
}  // namespace zorvrender
