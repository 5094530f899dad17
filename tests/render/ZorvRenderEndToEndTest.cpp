// The built binary, run as a user runs it: real object, real files.

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cmath>
#include <fstream>
#include <sstream>

#include "ZorvRenderTestSupport.h"

namespace {

using zorvrendertest::Audio;
using zorvrendertest::TempDir;

struct Outcome {
  int code = -1;
  std::string err;
};

#ifdef ZORV_RENDER_BINARY
std::string quote(std::string const& word) {
  std::string quoted = "'";
  for (char c : word) {
    quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
  }
  return quoted + "'";
}

// A box the object refuses leaves its half-made instance abandoned, as a host
// does; a sanitizer build must not count that as the renderer's leak.
enum class Creation { MustSucceed, MayFail };

Outcome runRender(TempDir const& dir, std::vector<std::string> const& args,
                  Creation creation = Creation::MustSucceed) {
  std::string command = quote(ZORV_RENDER_BINARY);
  if (creation == Creation::MayFail) {
    command = "ASAN_OPTIONS=\"$ASAN_OPTIONS:detect_leaks=0\" " + command;
  }
  for (auto const& arg : args) {
    command += " " + quote(arg);
  }
  std::string const errPath = dir / "stderr.txt";
  command += " </dev/null >/dev/null 2>" + quote(errPath);
  Outcome outcome;
  int const status = std::system(command.c_str());
  outcome.code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  std::ifstream errFile(errPath);
  std::stringstream text;
  text << errFile.rdbuf();
  outcome.err = text.str();
  std::remove(errPath.c_str());
  return outcome;
}
#endif

// 48 kHz, 20 ms ramps: a period of 960 samples. The move comes at 0.512 s,
// sample 24576, a boundary of blocks of 1, 64 and 4096 alike.
constexpr int rate = 48000;
constexpr long long rampLength = 960;
constexpr long long moveAt = 24576;
constexpr float level = 0.5f;

// The source moves either by the coordinate grammar or by the attribute that
// holds every source's x y z; the first needs the grammar in the object.
struct Scene {
  std::string type;
  std::string start;
  std::string move;
};

std::ostream& operator<<(std::ostream& out, Scene const& scene) {
  return out << scene.type << " by \"" << scene.move << "\"";
}

class RenderEndToEndTest : public ::testing::TestWithParam<Scene> {
 protected:
  void SetUp() override {
#ifndef ZORV_RENDER_BINARY
    GTEST_SKIP() << "zorv-render is not built: the object's library is not there yet";
#else
    box = "@numinputs 1 @numoutputs 4 @interpolationtime 20 @type " + GetParam().type;
    zorvrendertest::WriteAudio(dir / "dc.wav", {std::vector<float>(rate, level)}, rate);
    zorvrendertest::WriteText(dir / "moves.txt",
                              "# to the next speaker, clockwise\n0.512 " + GetParam().move + "\n");
    // The render needs a panner of this type and the coordinate grammar; until
    // both are in the object these tests wait. Any other refusal is a failure.
    Outcome probe =
        runRender(dir, {"-q", "-d", "0.01", "-o", dir / "probe.wav", box}, Creation::MayFail);
    if (probe.code == 3 &&
        probe.err.find("Unsupported panning configuration") != std::string::npos) {
      GTEST_SKIP() << "no " << GetParam().type << " panner yet: " << probe.err;
    }
    ASSERT_EQ(probe.code, 0) << probe.err;
    probe = runRender(dir, {"-q", "--strict", "-d", "0.01", "-m", GetParam().start, "-o",
                            dir / "probe.wav", box});
    if (probe.code == 7 && probe.err.find("doesn't understand \"source\"") != std::string::npos) {
      GTEST_SKIP() << "the object does not take \"source\" messages yet: " << probe.err;
    }
    ASSERT_EQ(probe.code, 0) << probe.err;
#endif
  }

  Audio render(unsigned int blockSize) {
    std::string const out = dir / ("out" + std::to_string(blockSize) + ".wav");
#ifdef ZORV_RENDER_BINARY
    Outcome const outcome =
        runRender(dir, {"-q", "--strict", "-b", std::to_string(blockSize), "-i", dir / "dc.wav",
                        "-m", GetParam().start, "-s", dir / "moves.txt", "-o", out, box});
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    // The ring panner echoes every spread it is given, the defaults of its
    // spread attribute at creation included; nothing else may be said.
    std::string err = outcome.err;
    std::string const echo = "SetOmniSpreadFactor = 0\n";
    for (std::size_t at = err.find(echo); at != std::string::npos; at = err.find(echo)) {
      err.erase(at, echo.size());
    }
    EXPECT_EQ(err, "");
#endif
    return zorvrendertest::ReadAudio(out);
  }

  TempDir dir;
  std::string box;
};

// The quad ring stands at -45, 45, 135, -135 degrees: the source starts on
// speaker 1 and moves onto speaker 2, a quarter turn. Whatever the panning law,
// the gains after are the gains before turned by one speaker, and they glide.
TEST_P(RenderEndToEndTest, TheSourceMovesToTheNextSpeakerWithoutSteps) {
  Audio const audio = render(64);
  ASSERT_EQ(audio.samplerate, rate);
  ASSERT_EQ(audio.channels.size(), 4u);
  ASSERT_EQ(audio.channels[0].size(), static_cast<size_t>(rate));

  // Settled from two periods after each change to the next change.
  long long const before = moveAt - 1;
  long long const after = rate - 1;
  for (size_t j = 0; j < 4; ++j) {
    auto const& channel = audio.channels[j];
    for (long long k = 2 * rampLength; k < moveAt; ++k) {
      ASSERT_EQ(channel[k], channel[before]) << "output " << j + 1 << " moves at " << k;
    }
    for (long long k = moveAt + 2 * rampLength; k < rate; ++k) {
      ASSERT_EQ(channel[k], channel[after]) << "output " << j + 1 << " moves at " << k;
    }
    EXPECT_NEAR(audio.channels[(j + 1) % 4][after], channel[before], 1e-6) << j;
  }
  if (GetParam().type == "vbap2d") {
    // On a speaker, the pair law gives that speaker alone.
    EXPECT_NEAR(audio.channels[0][before], level, 1e-6);
    EXPECT_NEAR(audio.channels[1][after], level, 1e-6);
    EXPECT_NEAR(audio.channels[1][before], 0.f, 1e-6);
    EXPECT_NEAR(audio.channels[0][after], 0.f, 1e-6);
  } else {
    // The loudest output is the one under the source.
    EXPECT_GT(audio.channels[0][before], audio.channels[1][before]);
    EXPECT_GT(audio.channels[1][after], audio.channels[0][after]);
  }

  // No step anywhere: a gain changes by at most its whole swing over a period.
  float largestStep = 0.f;
  for (auto const& channel : audio.channels) {
    for (size_t k = 1; k < channel.size(); ++k) {
      largestStep = std::max(largestStep, std::fabs(channel[k] - channel[k - 1]));
    }
  }
  EXPECT_GT(largestStep, 0.f);
  EXPECT_LE(largestStep, 1.01f * level / static_cast<float>(rampLength));
}

TEST_P(RenderEndToEndTest, BlockSizesAgreeExactlyWhereGainsStandAndToRoundingWhileTheyMove) {
  Audio const reference = render(4096);
  for (unsigned int blockSize : {1u, 64u}) {
    Audio const audio = render(blockSize);
    ASSERT_EQ(audio.channels.size(), reference.channels.size());
    for (size_t j = 0; j < audio.channels.size(); ++j) {
      auto const& a = audio.channels[j];
      auto const& b = reference.channels[j];
      ASSERT_EQ(a.size(), b.size());
      for (size_t k = 0; k < a.size(); ++k) {
        long long const sample = static_cast<long long>(k);
        bool const standing =
            (sample >= 2 * rampLength && sample < moveAt) || sample >= moveAt + 2 * rampLength;
        if (standing) {
          ASSERT_EQ(a[k], b[k]) << "block " << blockSize << ", output " << j + 1 << ", " << k;
        } else {
          ASSERT_NEAR(a[k], b[k], 1e-4)
              << "block " << blockSize << ", output " << j + 1 << ", " << k;
        }
      }
    }
  }
}

// From -45 to 45 degrees, one metre away.
Scene const byAttribute{"", "sourcespositions -0.70710678 0.70710678 0",
                        "sourcespositions 0.70710678 0.70710678 0"};
Scene const byGrammar{"", "source 1 aed -45 0 1", "source 1 aed 45 0 1"};

Scene with(std::string const& type, Scene scene) {
  scene.type = type;
  return scene;
}

INSTANTIATE_TEST_SUITE_P(GainMatrixPanners, RenderEndToEndTest,
                         ::testing::Values(with("vbap2d", byAttribute), with("dbap", byAttribute),
                                           with("vbap2d", byGrammar), with("dbap", byGrammar)),
                         [](::testing::TestParamInfo<Scene> const& info) {
                           return info.param.type + (info.param.move.rfind("source ", 0) == 0
                                                         ? "ByGrammar"
                                                         : "ByAttribute");
                         });

// Through the real object: a box it refuses, and a bad score line, each with
// its message, its exit code and no output.
class RenderEndToEndFailureTest : public ::testing::Test {
 protected:
  void SetUp() override {
#ifndef ZORV_RENDER_BINARY
    GTEST_SKIP() << "zorv-render is not built: the object's library is not there yet";
#endif
  }
  TempDir dir;
};

TEST_F(RenderEndToEndFailureTest, AnUnknownTypeMakesNoObject) {
#ifdef ZORV_RENDER_BINARY
  Outcome const outcome = runRender(
      dir, {"-d", "0.1", "-o", dir / "out.wav", "zorv.pan~ @type nosuchtype"}, Creation::MayFail);
  EXPECT_EQ(outcome.code, 3);
  EXPECT_EQ(outcome.err,
            "zorv.pan~: error: Unsupported panning configuration\n"
            "zorv-render: error: the box \"@type nosuchtype\" makes no object\n");
  EXPECT_TRUE(dir.Names().empty());
#endif
}

TEST_F(RenderEndToEndFailureTest, UsageMistakesAndBadScoresStopBeforeAnythingIsWritten) {
#ifdef ZORV_RENDER_BINARY
  Outcome outcome = runRender(dir, {"-b", "0", "-d", "0.1", "-o", dir / "out.wav", "@numinputs 1"});
  EXPECT_EQ(outcome.code, 2);
  EXPECT_NE(outcome.err.find("--blocksize"), std::string::npos) << outcome.err;
  zorvrendertest::WriteText(dir / "moves.txt",
                            "1 interpolationtime 10\n0.5 interpolationtime 20\n");
  outcome = runRender(dir, {"-s", dir / "moves.txt", "-d", "2", "-o", dir / "out.wav", ""});
  EXPECT_EQ(outcome.code, 5);
  EXPECT_EQ(outcome.err,
            "zorv-render: error: " + dir / "moves.txt" + ":2: time goes backwards: 0.5 after 1\n");
  EXPECT_EQ(dir.Names(), (std::set<std::string>{"moves.txt"}));
#endif
}

}  // namespace

// The headphone demo at blocks of 1 and 16 (where every fade of 5 ms is a
// whole number of blocks) sounds as at 512, to its last second: no fade is
// left hanging and no block is left unwritten.
TEST_F(RenderEndToEndFailureTest, TheHeadphoneDemoSoundsAlikeAtEveryBlockSize) {
#ifdef ZORV_RENDER_BINARY
  std::vector<std::vector<double>> levels;
  for (unsigned int block : {512u, 16u, 1u}) {
    std::string const out = dir / ("demo" + std::to_string(block) + ".wav");
    Outcome const outcome =
        runRender(dir, {"-q", "--strict", "--demo", "-d", "4", "-b", std::to_string(block), "-o",
                        out, "@numinputs 1 @numoutputs 2 @type binaural"});
    ASSERT_EQ(outcome.code, 0) << outcome.err;
    Audio const audio = zorvrendertest::ReadAudio(out);
    ASSERT_EQ(audio.channels.size(), 2u);
    std::vector<double> level;
    for (auto const& channel : audio.channels) {
      for (std::size_t second = 0; second + 1 <= channel.size() / 48000; ++second) {
        double sum = 0.;
        for (std::size_t k = second * 48000; k < (second + 1) * 48000; ++k) {
          ASSERT_TRUE(std::isfinite(channel[k]));
          sum += double(channel[k]) * channel[k];
        }
        level.push_back(std::sqrt(sum / 48000.));
      }
    }
    levels.push_back(level);
  }
  for (std::size_t i = 0; i < levels[0].size(); ++i) {
    EXPECT_GT(levels[0][i], 0.03) << i;
    EXPECT_NEAR(levels[1][i], levels[0][i], 0.01 * levels[0][i]) << i;
    EXPECT_NEAR(levels[2][i], levels[0][i], 0.01 * levels[0][i]) << i;
  }
#endif
}
