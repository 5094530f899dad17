// The built binary as a new user meets it: files that must not be lost, stops
// by signal, long scores, the start of a render, glides and the console.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <fstream>

#include "ZorvRenderTestSupport.h"

extern char** environ;

namespace {

using zorvrendertest::Audio;
using zorvrendertest::Outcome;
using zorvrendertest::ReadText;
using zorvrendertest::TempDir;

constexpr int rate = 48000;
std::string const quad = "@numinputs 1 @numoutputs 4 @interpolationtime 20 @type vbap2d";

bool contains(std::string const& text, std::string const& part) {
  return text.find(part) != std::string::npos;
}

class RenderUserTest : public ::testing::Test {
 protected:
  void SetUp() override {
#ifndef ZORV_RENDER_BINARY
    GTEST_SKIP() << "zorv-render is not built";
#endif
    zorvrendertest::WriteAudio(dir / "in.wav", {std::vector<float>(4800, 0.5f)}, rate);
  }

  Outcome run(std::vector<std::string> const& args) {
#ifdef ZORV_RENDER_BINARY
    return zorvrendertest::runRender(errDir, args);
#else
    (void)args;
    return {};
#endif
  }

  TempDir dir;
  TempDir errDir;  // standard error is kept here, out of the folder under test
};

// ---- data safety

TEST_F(RenderUserTest, AnOutputThatIsAnInputByAnyPathIsRefusedBeforeAnythingIsWritten) {
  std::string const before = ReadText(dir / "in.wav");
  ASSERT_EQ(symlink((dir / "in.wav").c_str(), (dir / "link.wav").c_str()), 0);
  ASSERT_EQ(link((dir / "in.wav").c_str(), (dir / "hard.wav").c_str()), 0);
  ASSERT_EQ(chdir(dir.path.c_str()), 0);
  for (std::string const& output :
       {std::string("./in.wav"), dir / "in.wav", dir / "link.wav", dir / "hard.wav"}) {
    Outcome const outcome = run({"-i", "in.wav", "-o", output, quad});
    EXPECT_EQ(outcome.code, 2) << output;
    EXPECT_TRUE(contains(outcome.err, "is the same file as the input in.wav")) << outcome.err;
    EXPECT_EQ(ReadText(dir / "in.wav"), before) << output;
  }
  // The score too.
  zorvrendertest::WriteText(dir / "moves.txt", "0 interpolationtime 10\n");
  Outcome const outcome = run({"-s", "moves.txt", "-d", "0.1", "-o", "moves.txt", quad});
  EXPECT_EQ(outcome.code, 2);
  EXPECT_EQ(dir.Names(), (std::set<std::string>{"in.wav", "link.wav", "hard.wav", "moves.txt"}));
  ASSERT_EQ(chdir("/"), 0);
}

TEST_F(RenderUserTest, AWriteProtectedOutputIsKeptAndALinkIsWrittenThrough) {
  zorvrendertest::WriteText(dir / "keep.wav", "precious");
  ASSERT_EQ(chmod((dir / "keep.wav").c_str(), 0444), 0);
  Outcome outcome = run({"-i", dir / "in.wav", "-o", dir / "keep.wav", quad});
  EXPECT_EQ(outcome.code, 6);
  EXPECT_TRUE(contains(outcome.err, "exists and is write-protected: not replaced")) << outcome.err;
  EXPECT_TRUE(contains(outcome.err, "was not replaced: the older file of that name is left"));
  EXPECT_EQ(ReadText(dir / "keep.wav"), "precious");

  // Through a link, even one whose target is yet to be made.
  ASSERT_EQ(symlink("target.wav", (dir / "out.wav").c_str()), 0);
  outcome = run({"-q", "-i", dir / "in.wav", "-o", dir / "out.wav", quad});
  ASSERT_EQ(outcome.code, 0) << outcome.err;
  struct stat status {};
  ASSERT_EQ(lstat((dir / "out.wav").c_str(), &status), 0);
  EXPECT_TRUE(S_ISLNK(status.st_mode));
  EXPECT_EQ(zorvrendertest::ReadAudio(dir / "target.wav").channels.size(), 4u);
  EXPECT_EQ(dir.Names(), (std::set<std::string>{"in.wav", "keep.wav", "out.wav", "target.wav"}));
}

TEST_F(RenderUserTest, AFailedRenderSaysTheOlderFileIsLeftAndNamesAtTheLengthLimitWork) {
  zorvrendertest::WriteText(dir / "out.wav", "older");
  Outcome outcome = run({"-i", dir / "in.wav", "-o", dir / "out.wav", "@type nosuchtype"});
  EXPECT_EQ(outcome.code, 3);
  EXPECT_TRUE(contains(outcome.err, dir / "out.wav" +
                                        " was not replaced: the older file of that name is left "
                                        "as it was"))
      << outcome.err;
  EXPECT_EQ(ReadText(dir / "out.wav"), "older");

  std::string const longest = std::string(251, 'a') + ".wav";  // 255 bytes, the usual limit
  outcome = run({"-q", "-i", dir / "in.wav", "-o", dir / longest, quad});
  EXPECT_EQ(outcome.code, 0) << outcome.err;
  EXPECT_EQ(dir.Names().count(longest), 1u);

  outcome = run({"-i", dir / "in.wav", "-o", dir / "noextension", quad});
  EXPECT_EQ(outcome.code, 6);
  EXPECT_TRUE(contains(outcome.err,
                       "no extension to tell the output's type: end the name in "
                       ".wav .aif .aiff .flac .w64 .caf or .rf64"))
      << outcome.err;
}

#ifdef ZORV_RENDER_BINARY
// The renderer with its score on a pipe that the test holds open, so that it
// waits for the next line with its output half written.
class Running {
 public:
  Running(TempDir const& dir, std::string const& scoreLines) {
    int ends[2];
    EXPECT_EQ(pipe(ends), 0);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[0], 0);
    posix_spawn_file_actions_addclose(&actions, ends[1]);
    posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
    std::string const out = dir / "out.wav";
    std::vector<std::string> words{
        ZORV_RENDER_BINARY,          "-q", "-s", "/dev/stdin", "-d", "1000", "-o", out,
        "@numinputs 1 @numoutputs 8"};
    std::vector<char*> argv;
    for (auto& word : words) argv.push_back(word.data());
    argv.push_back(nullptr);
    EXPECT_EQ(posix_spawn(&pid, argv[0], &actions, nullptr, argv.data(), environ), 0);
    posix_spawn_file_actions_destroy(&actions);
    close(ends[0]);
    writer = ends[1];
    EXPECT_EQ(write(writer, scoreLines.data(), scoreLines.size()),
              static_cast<ssize_t>(scoreLines.size()));
  }
  ~Running() {
    if (writer >= 0) close(writer);
  }

  // Waits until the renderer has written this many bytes of audio.
  void WaitForWritten(long long bytes) const {
    for (;;) {
      std::ifstream io("/proc/" + std::to_string(pid) + "/io");
      std::string key;
      long long value = 0;
      while (io >> key >> value) {
        if (key == "wchar:" && value >= bytes) return;
      }
      if (!io.eof() && key.empty()) return;  // no /proc entry: it ended
      sched_yield();
    }
  }

  int Stop(int signal) {
    kill(pid, signal);
    int status = 0;
    waitpid(pid, &status, 0);
    if (WIFEXITED(status)) return WEXITSTATUS(status);
    return WIFSIGNALED(status) ? -WTERMSIG(status) : -1000;
  }

  pid_t pid = -1;
  int writer = -1;
};
#endif

TEST_F(RenderUserTest, StopSignalsAndKillLeaveNoFileVisibleOrHidden) {
#ifdef ZORV_RENDER_BINARY
  for (int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGPIPE, SIGKILL}) {
    TempDir folder;
    // Two seconds of eight channels rendered, then a wait for the next line.
    Running render(folder, "0 interpolationtime 10\n2 interpolationtime 20\n");
    render.WaitForWritten(2LL * rate * 8 * 4);
    int const code = render.Stop(signal);
    EXPECT_EQ(code, signal == SIGKILL ? -SIGKILL : 130) << strsignal(signal);
    EXPECT_TRUE(folder.Names().empty()) << strsignal(signal) << " left " << *folder.Names().begin();
  }
#endif
}

TEST_F(RenderUserTest, AScoreOfAnyLengthIsReadInBoundedMemory) {
#ifdef __SANITIZE_ADDRESS__
  GTEST_SKIP() << "the address sanitizer keeps freed memory in quarantine";
#endif
#ifdef ZORV_RENDER_BINARY
  // About 25 MB of score in 250000 lines: a renderer that held them whole
  // would need more than twice that; streamed, the process stays near its
  // size without a score.
  {
    std::ofstream score(dir / "long.txt");
    std::string const padding(64, '-');
    for (int line = 0; line < 250000; ++line) {
      score << line / 100000 << ".0 interpolationtime " << 10 + line % 7 << " # " << padding
            << '\n';
    }
  }
  pid_t const pid = fork();
  ASSERT_GE(pid, 0);
  if (pid == 0) {
    int const null = open("/dev/null", O_WRONLY);
    dup2(null, 2);
    execl(ZORV_RENDER_BINARY, ZORV_RENDER_BINARY, "-q", "-s", (dir / "long.txt").c_str(), "-d", "4",
          "-o", (dir / "out.wav").c_str(), "@numinputs 1 @numoutputs 2", nullptr);
    _exit(127);
  }
  int status = 0;
  rusage usage{};
  ASSERT_EQ(wait4(pid, &status, 0, &usage), pid);
  ASSERT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 0);
  EXPECT_LT(usage.ru_maxrss, 24 * 1024) << "peak resident size in KiB";
#endif
}

// ---- what is read

TEST_F(RenderUserTest, InputsThatLookWrongAreRefusedOrNamed) {
  // A byte-order mark before the first line is not part of the time.
  zorvrendertest::WriteText(dir / "bom.txt",
                            "\xEF\xBB\xBF"
                            "0 interpolationtime 10\n");
  Outcome outcome =
      run({"-q", "--strict", "-s", dir / "bom.txt", "-d", "0.1", "-o", dir / "out.wav", quad});
  EXPECT_EQ(outcome.code, 0) << outcome.err;
  zorvrendertest::WriteText(dir / "hex.txt", "0x10 interpolationtime 10\n");
  outcome = run({"-s", dir / "hex.txt", "-d", "0.1", "-o", dir / "out.wav", quad});
  EXPECT_EQ(outcome.code, 5);
  EXPECT_TRUE(contains(outcome.err, "hex.txt:1: bad time \"0x10\"")) << outcome.err;
  outcome = run({"-d", "nan", "-o", dir / "out.wav", quad});
  EXPECT_EQ(outcome.code, 2) << outcome.err;

  zorvrendertest::WriteAudio(dir / "fast.wav", {std::vector<float>(10, 0.f)}, 20000000);
  outcome = run({"-i", dir / "fast.wav", "-o", dir / "out.wav", quad});
  EXPECT_EQ(outcome.code, 4);
  EXPECT_TRUE(contains(outcome.err, "is outside what --samplerate takes")) << outcome.err;

  zorvrendertest::WriteAudio(dir / "wide.wav", std::vector<std::vector<float>>(3, {0.f}), rate);
  outcome = run({"-i", dir / "wide.wav", "-o", dir / "out.wav", quad});
  EXPECT_EQ(outcome.code, 4);
  EXPECT_TRUE(contains(outcome.err, "raise @numinputs, at most 128,")) << outcome.err;

  // A file cut short: rendered, with a warning that names it.
  std::string const whole = ReadText(dir / "in.wav");
  zorvrendertest::WriteText(dir / "cut.wav", whole.substr(0, whole.size() / 2));
  outcome = run({"-q", "-i", dir / "cut.wav", "-o", dir / "out.wav", quad});
  EXPECT_EQ(outcome.code, 0) << outcome.err;
  EXPECT_TRUE(contains(outcome.err, "zorv-render: warning: " + dir / "cut.wav" +
                                        ": the header promises more audio than the file holds"))
      << outcome.err;
}

// ---- the start of a render, glides, the summary

TEST_F(RenderUserTest, TheFirstSampleOfADcRenderIsTheSettledGain) {
  // The interpolation time set at 0 by the score lengthens the pre-roll.
  zorvrendertest::WriteText(dir / "moves.txt", "0 interpolationtime 50\n");
  for (unsigned int block : {1u, 64u, 4096u}) {
    Outcome const outcome =
        run({"-q", "--strict", "-b", std::to_string(block), "-i", dir / "in.wav", "-m",
             "source 1 aed -45 0 1", "-s", dir / "moves.txt", "-o", dir / "out.wav", quad});
    ASSERT_EQ(outcome.code, 0) << outcome.err;
    Audio const audio = zorvrendertest::ReadAudio(dir / "out.wav");
    ASSERT_EQ(audio.channels[0].size(), 4800u);
    for (auto const& channel : audio.channels) {
      for (float sample : channel) ASSERT_EQ(sample, channel[0]) << "block " << block;
    }
    EXPECT_EQ(audio.channels[0][0], 0.5f);
  }
  Outcome const outcome = run({"-q", "--no-preroll", "-i", dir / "in.wav", "-m",
                               "source 1 aed -45 0 1", "-o", dir / "out.wav", quad});
  ASSERT_EQ(outcome.code, 0) << outcome.err;
  Audio const raw = zorvrendertest::ReadAudio(dir / "out.wav");
  EXPECT_EQ(raw.channels[0][0], 0.f);  // the object's own fade-in
  EXPECT_EQ(raw.channels[0][4799], 0.5f);
}

TEST_F(RenderUserTest, AGlideMovesTheSourceSmoothlyFromOneSpeakerToTheNext) {
  zorvrendertest::WriteAudio(dir / "long.wav", {std::vector<float>(rate, 0.5f)}, rate);
  zorvrendertest::WriteText(dir / "glide.txt", "0.1..0.6 source 1 aed -45 0 1 -> 45 0 1\n");
  for (char const* timing : {"", "--exact"}) {
    std::vector<std::string> args{
        "-q", "--strict",        "-i", dir / "long.wav", "-m", "source 1 aed -45 0 1",
        "-s", dir / "glide.txt", "-o", dir / "out.wav",  quad};
    if (*timing != '\0') args.insert(args.begin(), timing);
    Outcome const outcome = run(args);
    ASSERT_EQ(outcome.code, 0) << outcome.err;
    Audio const audio = zorvrendertest::ReadAudio(dir / "out.wav");
    auto const& first = audio.channels[0];
    auto const& second = audio.channels[1];
    EXPECT_EQ(first[4000], 0.5f);
    EXPECT_EQ(second[4000], 0.f);
    EXPECT_NEAR(first[rate - 1], 0.f, 1e-6) << timing;
    EXPECT_NEAR(second[rate - 1], 0.5f, 1e-6) << timing;
    // The move is gradual: no sample changes by more than a twentieth of the
    // level, and half way the two speakers share the source.
    for (size_t k = 1; k < first.size(); ++k) {
      ASSERT_LT(std::fabs(first[k] - first[k - 1]), 0.025f) << timing << " at " << k;
      ASSERT_LT(std::fabs(second[k] - second[k - 1]), 0.025f) << timing << " at " << k;
    }
    size_t const middle = static_cast<size_t>(0.35 * rate) + 960;  // a period late
    EXPECT_NEAR(first[middle], second[middle], 0.03f) << timing;
  }
}

TEST_F(RenderUserTest, TheSummaryGivesThePeakAndTheClippedSamples) {
  Outcome outcome = run({"--bits", "16", "-i", dir / "in.wav", "-m", "source 1 aed -45 0 1", "-o",
                         dir / "out.wav", quad});
  ASSERT_EQ(outcome.code, 0) << outcome.err;
  EXPECT_TRUE(contains(outcome.err, "WAV, 16-bit, peak -6.0 dBFS, 0 clipped;")) << outcome.err;
  zorvrendertest::WriteAudio(dir / "loud.wav", {std::vector<float>(4800, 1.5f)}, rate);
  outcome = run({"--bits", "16", "-i", dir / "loud.wav", "-m", "source 1 aed -45 0 1", "-o",
                 dir / "out.wav", quad});
  ASSERT_EQ(outcome.code, 0) << outcome.err;
  EXPECT_TRUE(contains(outcome.err, "zorv-render: warning: " + dir / "out.wav" +
                                        ": 4800 sample(s) went beyond full scale and were "
                                        "clipped"))
      << outcome.err;
  EXPECT_TRUE(contains(outcome.err, "peak 3.5 dBFS, 4800 clipped;")) << outcome.err;
}

// ---- the console

TEST_F(RenderUserTest, TheConsoleIsQuietSafeForTheTerminalAndCountsRepeats) {
  // The ring panner's trace shows only with --verbose.
  Outcome outcome = run({"-q", "-d", "0.01", "-o", dir / "out.wav", quad});
  EXPECT_EQ(outcome.err, "");
  outcome = run({"-q", "--verbose", "-d", "0.01", "-o", dir / "out.wav", quad});
  EXPECT_TRUE(contains(outcome.err, "SetOmniSpreadFactor = 0")) << outcome.err;

  // No escape sequence reaches the terminal.
  outcome =
      run({"-q", "-d", "0.01", "-m", "\x1b[2J\x1b]0;title\x07 1", "-o", dir / "out.wav", quad});
  EXPECT_EQ(outcome.err.find('\x1b'), std::string::npos) << outcome.err;
  EXPECT_TRUE(contains(outcome.err, "\\x1B[2J\\x1B]0;title\\x07")) << outcome.err;

  // One mistake over many lines: three shown, the rest counted.
  std::string score;
  for (int line = 0; line < 133; ++line) score += "0.001 nosuchmessage 1\n";
  zorvrendertest::WriteText(dir / "repeat.txt", score);
  outcome = run({"-q", "-s", dir / "repeat.txt", "-d", "0.01", "-o", dir / "out.wav", quad});
  EXPECT_EQ(outcome.code, 0);
  std::string const line = "zorv.pan~: error: doesn't understand \"nosuchmessage\"";
  EXPECT_EQ(outcome.err, dir / "repeat.txt:1: " + line + "\n" + dir / "repeat.txt:2: " + line +
                             "\n" + dir / "repeat.txt:3: " + line + "\n" + line +
                             " ... repeated 130 more times\n");
}

TEST_F(RenderUserTest, AVectorBasedBoxWithItsLayoutInAMessageSaysNothing) {
  std::string const octahedron = "speakers xyz 1 0 0 -1 0 0 0 1 0 0 -1 0 0 0 1 0 0 -1";
  for (char const* type : {"vbap", "vbip"}) {
    std::string const box = std::string("@numinputs 1 @numoutputs 6 @type ") + type;
    Outcome outcome = run({"-q", "-d", "0.01", "-m", octahedron, "-o", dir / "out.wav", box});
    EXPECT_EQ(outcome.code, 0);
    EXPECT_EQ(outcome.err, "") << type;
    // On the default flat ring the render is silent, and the user is told.
    outcome = run({"-q", "-d", "0.01", "-o", dir / "out.wav", box});
    EXPECT_TRUE(contains(outcome.err, "the speakers form no triplet")) << outcome.err;
  }
  // A typing mistake in the box is named with what was meant.
  Outcome const outcome =
      run({"-q", "-d", "0.01", "-o", dir / "out.wav", "@numinputs 1 @typ vbap2d"});
  EXPECT_TRUE(contains(outcome.err, "no attribute \"@typ\" (did you mean \"@type\"?)"))
      << outcome.err;
}

}  // namespace
