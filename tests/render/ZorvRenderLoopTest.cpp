#include "ZorvRenderLoop.h"

#include <gtest/gtest.h>

#include <sstream>

#include "ZorvRenderError.h"
#include "ZorvRenderTestSupport.h"

namespace zorvrender {
namespace {

using zorvrendertest::FakeObject;
using zorvrendertest::MemorySink;
using zorvrendertest::MemorySource;

void ignoreConsole(ConsoleSeverity, std::string const&) {}

std::vector<float> ramp(size_t n) {
  std::vector<float> values(n);
  for (size_t k = 0; k < n; ++k) {
    values[k] = static_cast<float>(k + 1);
  }
  return values;
}

struct LoopRun {
  std::unique_ptr<FakeObject> object;
  std::unique_ptr<MemorySink> sink;
  RenderReport report;
};

LoopRun render(unsigned int blockSize, bool exact, std::vector<TimedMessage> const& messages,
               long long numFrames = 200, size_t inputFrames = 150) {
  LoopRun run;
  run.object = std::make_unique<FakeObject>(2, 2, ignoreConsole);
  MemorySource source({ramp(inputFrames)}, 1000.);
  std::vector<Source*> sources{&source};
  ConnectInlets(*run.object, sources);
  run.sink = std::make_unique<MemorySink>(2);
  RenderSettings settings;
  settings.samplerate = 1000.;
  settings.blockSize = blockSize;
  settings.numFrames = numFrames;
  settings.exact = exact;
  run.report = Render(*run.object, sources, *run.sink, messages, settings, RenderHooks());
  return run;
}

TEST(RenderLoopTest, StreamsTheInputPadsWithSilenceAndLeavesUnfedInletsUnconnected) {
  LoopRun const run = render(64, false, {});
  EXPECT_EQ(run.object->samplerate, 1000.);
  EXPECT_EQ(run.object->blockSize, 64u);
  EXPECT_EQ(run.object->blocks, (std::vector<unsigned int>{64, 64, 64, 8}));
  EXPECT_EQ(run.object->connected, (std::vector<bool>{true, false}));
  ASSERT_EQ(run.sink->channels[0].size(), 200u);
  for (size_t k = 0; k < 200; ++k) {
    ASSERT_EQ(run.sink->channels[0][k], k < 150 ? static_cast<float>(k + 1) : 0.f) << k;
    ASSERT_EQ(run.sink->channels[1][k], 0.f) << k;
  }
  EXPECT_EQ(run.report.frames, 200);
  EXPECT_FALSE(run.report.stopped);
}

TEST(RenderLoopTest, MessagesGoBeforeTheBlockThatHoldsTheirSample) {
  std::vector<TimedMessage> const messages{
      {0, "gain 2", "s:1"}, {64, "gain 3", "s:2"}, {100, "gain 4", "s:3"}, {100, "x", "s:4"}};
  LoopRun const run = render(64, false, messages);
  ASSERT_EQ(run.object->messages.size(), 4u);
  EXPECT_EQ(run.object->messages[0].first, 0);
  EXPECT_EQ(run.object->messages[1].first, 64);
  EXPECT_EQ(run.object->messages[2].first, 64);  // sample 100 lies in the block from 64
  EXPECT_EQ(run.object->messages[3].first, 64);
  EXPECT_EQ(run.object->messages[3].second, "x");
  EXPECT_EQ(run.sink->channels[0][63], 2.f * 64.f);
  EXPECT_EQ(run.sink->channels[0][64], 4.f * 65.f);
}

TEST(RenderLoopTest, ExactTimingSplitsTheBlockAtTheMessage) {
  std::vector<TimedMessage> const messages{
      {0, "gain 2", "s:1"}, {100, "gain 4", "s:2"}, {100, "gain 5", "s:3"}, {130, "gain 6", "s:4"}};
  LoopRun const run = render(64, true, messages);
  EXPECT_EQ(run.object->blocks, (std::vector<unsigned int>{64, 36, 28, 2, 62, 8}));
  EXPECT_EQ(run.object->messages[1].first, 100);
  EXPECT_EQ(run.object->messages[2].first, 100);
  EXPECT_EQ(run.object->messages[3].first, 130);
  EXPECT_EQ(run.sink->channels[0][99], 2.f * 100.f);
  EXPECT_EQ(run.sink->channels[0][100], 5.f * 101.f);
  EXPECT_EQ(run.sink->channels[0][129], 5.f * 130.f);
  EXPECT_EQ(run.sink->channels[0][130], 6.f * 131.f);
}

TEST(RenderLoopTest, OutputDoesNotDependOnTheBlockSizeWhenMessagesFallOnBoundaries) {
  std::vector<TimedMessage> const messages{{0, "gain 2", "s:1"}, {128, "gain 3", "s:2"}};
  LoopRun const reference = render(1, false, messages);
  for (unsigned int blockSize : {7u, 64u, 128u, 4096u}) {
    LoopRun const other = render(blockSize, true, messages);
    EXPECT_EQ(other.sink->channels, reference.sink->channels) << blockSize;
  }
}

TEST(RenderLoopTest, MessagesAtOrAfterTheEndAreCountedNotSent) {
  LoopRun const run = render(64, false, {{199, "gain 2", "s:1"}, {200, "gain 3", "s:2"}});
  EXPECT_EQ(run.report.messagesSent, 1u);
  EXPECT_EQ(run.report.messagesAfterEnd, 1u);
}

// The samples at which the messages of a score come out, with their texts.
std::vector<std::pair<long long, std::string>> taken(std::string const& text,
                                                     unsigned int blockSize, bool exact,
                                                     long long end = 1000) {
  ScoreReader reader(text, "s.txt");
  ScoreMessages messages(reader, 1000., blockSize, exact);
  std::vector<std::pair<long long, std::string>> result;
  TimedMessage message;
  for (long long block = 0; block < end; block += blockSize) {
    while (messages.Take(block + blockSize, message)) {
      result.emplace_back(message.sample, message.text);
      EXPECT_EQ(message.origin.rfind("s.txt:", 0), 0u);
    }
  }
  return result;
}

TEST(RenderLoopTest, AGlideSpeaksAtItsStartEveryBlockAndItsEndInOrderWithOtherLines) {
  using Taken = std::vector<std::pair<long long, std::string>>;
  // 10 to 30 ms at 1 kHz, blocks of 8: at 10, at the blocks from 16 to 24,
  // and at 30; the plain line at 20 comes after the glide's word at 16 and
  // before the one at 24.
  EXPECT_EQ(taken("0.01..0.03 g 0 -> 20\n0.02 plain\n", 8, false),
            (Taken{{10, "g 0"}, {16, "g 6"}, {20, "plain"}, {24, "g 14"}, {30, "g 20"}}));
  // Sample by sample with exact timing.
  Taken const exact = taken("0.01..0.013 g 0 -> 3\n", 8, true);
  EXPECT_EQ(exact, (Taken{{10, "g 0"}, {11, "g 1"}, {12, "g 2"}, {13, "g 3"}}));
  // A glide of no length is its final value, once; two glides interleave.
  EXPECT_EQ(taken("0.005..0.005 g 0 -> 1\n", 8, false), (Taken{{5, "g 1"}}));
  EXPECT_EQ(taken("0..0.016 a 0 -> 2\n0..0.016 b 0 -> 4\n", 8, false),
            (Taken{{0, "a 0"}, {0, "b 0"}, {8, "a 1"}, {8, "b 2"}, {16, "a 2"}, {16, "b 4"}}));
}

TEST(RenderLoopTest, PrerollSendsTheMessagesOfTimeZeroAndWritesNothingOfIt) {
  struct SettlingObject : FakeObject {
    using FakeObject::FakeObject;
    long long SettleFrames(double) const override { return 100; }
  } object(1, 1, ignoreConsole);
  MemorySource source({ramp(100)}, 1000.);
  std::vector<Source*> sources{&source};
  MemorySink sink(1);
  RenderSettings settings;
  settings.samplerate = 1000.;
  settings.blockSize = 64;
  settings.numFrames = 100;
  settings.preroll = true;
  std::vector<TimedMessage> const messages{{0, "gain 2", "s:1"}, {64, "gain 3", "s:2"}};
  RenderReport const report = Render(object, sources, sink, messages, settings, RenderHooks());
  EXPECT_EQ(report.prerollFrames, 100);
  // The message of time 0 before the pre-roll, which runs on silence in
  // blocks no longer than the block size; the next message in the render.
  EXPECT_EQ(object.messages,
            (std::vector<std::pair<long long, std::string>>{{0, "gain 2"}, {164, "gain 3"}}));
  EXPECT_EQ(object.blocks, (std::vector<unsigned int>{64, 36, 64, 36}));
  ASSERT_EQ(sink.channels[0].size(), 100u);
  EXPECT_EQ(sink.channels[0][0], 2.f * 1.f);
  EXPECT_EQ(sink.channels[0][64], 3.f * 65.f);
}

TEST(RenderLoopTest, StopEndsTheRenderAfterTheMessage) {
  FakeObject object(1, 1, ignoreConsole);
  MemorySource source({ramp(1000)}, 1000.);
  std::vector<Source*> sources{&source};
  MemorySink sink(1);
  RenderSettings settings;
  settings.samplerate = 1000.;
  settings.numFrames = 1000;
  RenderHooks hooks;
  std::vector<std::string> origins;
  hooks.beforeMessage = [&origins](std::string const& origin) { origins.push_back(origin); };
  hooks.stop = [&object]() { return object.gain == 7.f; };
  RenderReport const report = Render(
      object, sources, sink, {{10, "gain 2", "a:1"}, {300, "gain 7", "a:2"}}, settings, hooks);
  EXPECT_TRUE(report.stopped);
  EXPECT_EQ(origins, (std::vector<std::string>{"a:1", "a:2"}));
  EXPECT_EQ(sink.channels[0].size(), 256u);
}

TEST(RenderLoopTest, ChannelsFillInletsInOrderAndTheOneTooManyIsNamed) {
  FakeObject object(3, 1, ignoreConsole);
  MemorySource stereo({{0.f}, {0.f}}, 1000., "stereo.wav");
  MemorySource mono({{0.f}}, 1000., "mono.wav");
  ConnectInlets(object, {&stereo, &mono});
  EXPECT_EQ(object.connected, (std::vector<bool>{true, true, true}));
  try {
    ConnectInlets(object, {&mono, &stereo, &mono});
    FAIL() << "no error";
  } catch (RenderError const& error) {
    EXPECT_EQ(error.Code(), ExitBadInput);
    EXPECT_EQ(
        std::string(error.what()).rfind("mono.wav: 1 channels, but only 0 of the 3 inlets", 0), 0u);
  }
}

TEST(RenderLoopTest, TimesBecomeTheNearestSample) {
  EXPECT_EQ(SecondsToSample(0.1, 48000.), 4800);
  EXPECT_EQ(SecondsToSample(1. / 3., 48000.), 16000);
  EXPECT_EQ(SecondsToSample(0.512, 48000.), 24576);
  EXPECT_EQ(SecondsToSample(1e300, 48000.), std::numeric_limits<long long>::max());
  std::istringstream text("0.5 a\n1 b\n");
  auto const timed = TimeScore(Score::Parse(text, "m.txt"), 48000.);
  ASSERT_EQ(timed.size(), 2u);
  EXPECT_EQ(timed[1].sample, 48000);
  EXPECT_EQ(timed[1].origin, "m.txt:2");
}

}  // namespace
}  // namespace zorvrender
