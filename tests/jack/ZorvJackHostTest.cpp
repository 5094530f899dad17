// The whole host inside the test's process, against a private JACK server:
// moves by OSC, standard input and a score, checked against the offline
// renderer; a flood of OSC messages of every form; a change of buffer size.

#include <gtest/gtest.h>
#include <lo/lo.h>

#include <dlfcn.h>
#include <pthread.h>

#include <random>

#include "ZorvHost.h"
#include "ZorvJackApp.h"
#include "ZorvJackOscRouter.h"
#include "ZorvJackTestSupport.h"
#include "ZorvTestAllocationCounter.h"

// Locks taken on one watched thread: the audio thread must take none, or
// the message thread could make it wait. Calls from this program (the host's
// code and the inline std::mutex) bind to this definition.
namespace {
std::atomic<bool> lockWatching{false};
pthread_t lockWatched{};
std::atomic<long long> lockCount{0};
std::atomic<int (*)(pthread_mutex_t*)> realLock{nullptr};
}  // namespace

extern "C" int pthread_mutex_lock(pthread_mutex_t* mutex) {
  auto real = realLock.load();
  if (real == nullptr) {
    real = reinterpret_cast<int (*)(pthread_mutex_t*)>(dlsym(RTLD_NEXT, "pthread_mutex_lock"));
    realLock.store(real);
  }
  if (lockWatching.load() && pthread_equal(pthread_self(), lockWatched) != 0) {
    lockCount.fetch_add(1);
  }
  return real(mutex);
}

namespace {

using namespace zorvjacktest;

constexpr float level = 0.5f;

// The host running on its own thread, with a pipe for its standard input and
// its console kept in memory.
class RunningHost {
 public:
  RunningHost(zorvjack::JackOptions const& options, std::string const& server)
      : app(options, console) {
    setenv("JACK_DEFAULT_SERVER", server.c_str(), 1);
    if (pipe(inputPipe) != 0) throw std::runtime_error("pipe failed");
    started = app.Start();
    if (started < 0) thread = std::thread([this] { code = app.Run(inputPipe[0]); });
  }
  ~RunningHost() { Stop(); }
  int Stop() {
    if (thread.joinable()) {
      app.Stop();
      thread.join();
    }
    for (int& fd : inputPipe) {
      if (fd >= 0) close(fd);
      fd = -1;
    }
    return code;
  }
  void Type(std::string const& line) {
    std::string const text = line + "\n";
    ssize_t const written = write(inputPipe[1], text.data(), text.size());
    (void)written;
  }
  // Read only once the host has stopped.
  std::string Console() const { return console.str(); }

  std::ostringstream console;
  zorvjack::JackApp app;
  int started = -1;
  int code = -1;

 private:
  int inputPipe[2] = {-1, -1};
  std::thread thread;
};

class JackHostTest : public ::testing::Test {
 protected:
  void SetUp() override {
    server = std::make_unique<JackServer>(dir);
    if (!server->Up()) GTEST_SKIP() << server->Reason();
    oscPort = FreeUdpPort();
    address = lo_address_new("127.0.0.1", std::to_string(oscPort).c_str());
  }
  void TearDown() override {
    if (address != nullptr) lo_address_free(address);
  }

  zorvjack::JackOptions options(std::string const& box) const {
    zorvjack::JackOptions o;
    o.boxText = box;
    o.oscPort = oscPort;
    o.quiet = true;
    return o;
  }

  // Starts the host and the test client, connected, feeding the constant.
  void start(zorvjack::JackOptions const& o) {
    host = std::make_unique<RunningHost>(o, server->Name());
    ASSERT_LT(host->started, 0) << host->console.str();
    tester = std::make_unique<TestClient>(
        server->Name(), 1, static_cast<unsigned int>(host->app.OutputPorts().size()));
    tester->SetLevel(0, level);
    ASSERT_TRUE(tester->Connect(host->app.InputPorts(), host->app.OutputPorts()));
  }

  // Waits until the recorded outlets hold the expected values; a message
  // given with it is sent by OSC again now and then, in case the datagram was
  // lost.
  void expectOutputs(std::vector<float> const& expected, std::string const& what,
                     std::function<void()> const& resend = {}) {
    int polls = 0;
    bool const reached = WaitUntil([&] {
      if (resend && ++polls % 40 == 0) resend();
      return Near(tester->Last(), expected, 1e-5f);
    });
    EXPECT_TRUE(reached) << what << ": expected " << Show(expected) << "got "
                         << Show(tester->Last());
  }

  TempDir dir;
  std::unique_ptr<JackServer> server;
  int oscPort = 0;
  lo_address address = nullptr;
  std::unique_ptr<RunningHost> host;
  std::unique_ptr<TestClient> tester;
};

TEST_F(JackHostTest, MovesByOscStandardInputAndScoreGiveTheRenderersGains) {
  std::string const box = "@numinputs 1 @numoutputs 8 @type vbap2d";
  // Each step: the message as the object gets it, and how the host gets it.
  struct Step {
    std::string message;
    std::function<void()> send;
  };
  lo_address const a = address;
  auto const type = [this](std::string const& line) { return [this, line] { host->Type(line); }; };
  std::vector<Step> const steps = {
      {"source 1 aed 45 0 1", {}},  // from the score, at 0 s
      {"source 1 aed 30 0 2", [a] { lo_send(a, "/zorv/source/1/aed", "fff", 30.f, 0.f, 2.f); }},
      {"source 1 aed -100 0 1", type("source 1 aed -100 0 1")},
      {"source 1 xyz 1 1 0", [a] { lo_send(a, "/zorv/message", "s", "source 1 xyz 1 1 0"); }},
      {"source 1 xyz 0 -1 0", [a] { lo_send(a, "/zorv/source/1/xyz", "fff", 0.f, -1.f, 0.f); }},
      {"speaker 6 aed 150 0 1", [a] { lo_send(a, "/zorv/speaker/6/aed", "fff", 150.f, 0.f, 1.f); }},
      {"source 1 mute 1", [a] { lo_send(a, "/zorv/mute/1", "i", 1); }},
      {"source 1 mute 0", type("source 1 mute 0")},
  };
  std::vector<std::string> messages;
  for (auto const& step : steps) messages.push_back(step.message);
  std::vector<std::string> const before = {"interpolationtime 5"};
  auto const reference = RenderSteps(dir, box, before, messages, 1, level);

  std::string const score = dir / "score.txt";
  std::ofstream(score) << "# the start\n0 " << steps[0].message << "\n";
  zorvjack::JackOptions o = options(box);
  o.messages = before;
  o.score = score;
  start(o);
  if (HasFatalFailure()) return;
  EXPECT_EQ(host->app.OutputPorts().front(), host->app.ClientName() + ":out_1");

  for (std::size_t k = 0; k < steps.size(); ++k) {
    if (k > 0) {
      ASSERT_FALSE(Near(reference[k], reference[k - 1], 1e-4f)) << "step " << k;
    }
    bool const byOsc = steps[k].send && k != 2 && k != 7;
    if (steps[k].send) steps[k].send();
    expectOutputs(reference[k], steps[k].message, byOsc ? steps[k].send : std::function<void()>());
  }
  EXPECT_EQ(tester->NonFinite(), 0);
  EXPECT_EQ(host->Stop(), 0);
}

TEST_F(JackHostTest, ListenerYawTurnsABinauralScene) {
  std::string const box = "@numinputs 1 @numoutputs 2 @type binaural";
  bool const binaural =
      zorvhost::PanObject::Create(box, [](zorvhost::Severity, std::string const&) {}) != nullptr;
  if (!binaural) {
    GTEST_SKIP() << "this build makes no binaural object yet";
  }
  std::vector<std::string> const messages = {"source 1 aed 90 0 2", "listener yaw 90",
                                             "listener yaw -45"};
  auto const reference = RenderSteps(dir, box, {}, messages, 1, level);
  zorvjack::JackOptions o = options(box);
  o.messages = {messages[0]};
  start(o);
  if (HasFatalFailure()) return;
  EXPECT_EQ(host->app.OutputPorts().back(), host->app.ClientName() + ":right");
  expectOutputs(reference[0], "a source on the right");
  ASSERT_FALSE(Near(reference[0], reference[1], 1e-4f)) << "the yaw changes nothing";
  auto const yaw = [this] { lo_send(address, "/zorv/listener/yaw", "f", 90.f); };
  yaw();
  expectOutputs(reference[1], "facing the source", yaw);
  auto const ypr = [this] { lo_send(address, "/zorv/listener/ypr", "fff", -45.f, 20.f, 5.f); };
  ypr();
  expectOutputs(reference[2], "turned by yaw alone", ypr);
  EXPECT_EQ(host->Stop(), 0);
}

// A datagram that is no OSC message at all, or is cut short.
void sendRaw(int fd, sockaddr_in const& to, std::string const& bytes) {
  sendto(fd, bytes.data(), bytes.size(), 0, reinterpret_cast<sockaddr const*>(&to), sizeof(to));
}

TEST_F(JackHostTest, AFloodOfOscMessagesOfEveryFormLeavesTheAudioThreadAlone) {
  std::string const box = "@numinputs 1 @numoutputs 8 @type vbap2d";
  std::vector<std::string> const steps = {"source 1 aed 10 0 1", "source 1 aed 135 0 1"};
  auto const reference = RenderSteps(dir, box, {}, steps, 1, level);
  zorvjack::JackOptions o = options(box);
  o.messages = {steps[0]};
  start(o);
  if (HasFatalFailure()) return;
  expectOutputs(reference[0], "before the flood");

  long long const cyclesBefore = tester->Cycles();
  unsigned long long const xrunsBefore = host->app.Xruns();
  unsigned long long sent = 0;
  {
    zorvtest::AllocationCounter onAudioThread(host->app.ProcessThread());
    lockWatched = host->app.ProcessThread();
    lockCount.store(0);
    lockWatching.store(true);
    int const raw = socket(AF_INET, SOCK_DGRAM, 0);
    sockaddr_in to{};
    to.sin_family = AF_INET;
    to.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    to.sin_port = htons(static_cast<uint16_t>(oscPort));
    std::mt19937 random(24);
    std::uniform_real_distribution<float> angle(-400.f, 400.f);
    float const nan = std::nanf("");
    float const inf = std::numeric_limits<float>::infinity();
    for (int k = 0; k < 100000; ++k) {
      float const x = angle(random);
      switch (k % 16) {
        case 0:
          lo_send(address, "/zorv/source/1/aed", "fff", x, x / 8.f, 1.f + std::fabs(x) / 100.f);
          break;
        case 1:
          lo_send(address, "/zorv/source/1/xyz", "fff", x, -x, 0.f);
          break;
        case 2:
          lo_send(address, "/zorv/speaker/3/aed", "fff", x, 0.f, 1.f);
          break;
        case 3:
          lo_send(address, "/zorv/listener/ypr", "fff", x, 1.f, 2.f);
          break;
        case 4:
          lo_send(address, "/zorv/mute/1", "i", k % 3 == 0 ? 1 : 0);
          break;
        case 5:
          lo_send(address, "/zorv/message", "s", "source 1 aed 1e38 1e38 1e38");
          break;
        case 6:
          lo_send(address, "/zorv/source/1/aed", "fff", nan, inf, -inf);
          break;
        case 7:
          lo_send(address, "/zorv/source/99999/aed", "ddd", 1e300, -1e300, 1e-300);
          break;
        case 8:
          lo_send(address, "/zorv/source/1/aed", "sss", "a", "b", "c");
          break;
        case 9:
          lo_send(address, "/zorv/source/1/aed", "i", 3);
          break;
        case 10:
          lo_send(address, ("/zorv/unknown/" + std::to_string(k)).c_str(), "f", x);
          break;
        case 11:
          lo_send(address, "/zorv/message", "s", "source 1 aed nan inf -inf");
          break;
        case 12:
          lo_send(address, "/zorv/speaker/0/xyz", "hhh", int64_t{1} << 62, int64_t{-1}, int64_t{0});
          break;
        case 13:
          sendRaw(raw, to, std::string("\xff\x00garbage", 9));
          break;
        case 14:
          sendRaw(raw, to, std::string("/zorv/source/1/aed\0\0,fff\0\0\0\0\x3f", 29));
          break;
        default:
          lo_send(address, "/zorv/mute/1", "i", 0);
          break;
      }
      ++sent;
    }
    close(raw);
    // One last move must land: it is sent again until it does, as the flood
    // may have filled the socket's buffer.
    auto const last = [this] { lo_send(address, "/zorv/source/1/aed", "fff", 135.f, 0.f, 1.f); };
    lo_send(address, "/zorv/mute/1", "i", 0);
    last();
    expectOutputs(reference[1], "after the flood", [&] {
      lo_send(address, "/zorv/mute/1", "i", 0);
      last();
    });
    EXPECT_EQ(onAudioThread.Count(), 0u) << "allocations on the audio thread";
    lockWatching.store(false);
    EXPECT_EQ(lockCount.load(), 0) << "locks taken on the audio thread";
  }
  long long const cycles = tester->Cycles() - cyclesBefore;
  unsigned long long const xruns = host->app.Xruns() - xrunsBefore;
  EXPECT_EQ(tester->NonFinite(), 0);
  EXPECT_EQ(host->Stop(), 0);
  RecordProperty("messages_sent", std::to_string(sent));
  RecordProperty("messages_handled", std::to_string(host->app.MessagesSent()));
  RecordProperty("cycles", std::to_string(cycles));
  RecordProperty("xruns", std::to_string(xruns));
  std::cout << sent << " datagrams sent, " << host->app.MessagesSent()
            << " messages reached the object; " << xruns << " xruns in " << cycles
            << " cycles during the flood\n";
  // The xruns are reported, not judged: without real-time scheduling on a
  // busy machine the dummy driver counts its own (a late timer, a client
  // thread woken late), whatever the messages do. What messages could do to
  // the audio thread is make it wait, on a lock or in the allocator, and both
  // are counted above on that very thread.

  // Each unknown address is answered once, up to the limit; the object
  // answers each bad message it gets, as it does in any host.
  std::string const text = host->Console();
  std::size_t unknown = 0;
  for (std::size_t at = text.find("unknown address"); at != std::string::npos;
       at = text.find("unknown address", at + 1)) {
    ++unknown;
  }
  EXPECT_GE(unknown, 1u);
  EXPECT_LE(unknown, zorvjack::OscRouter::MaxAnswered);
}

TEST_F(JackHostTest, FollowsAChangeOfBufferSize) {
  std::string const box = "@numinputs 1 @numoutputs 8 @type vbap2d";
  std::vector<std::string> const steps = {"source 1 aed -60 0 1", "source 1 aed 100 0 1"};
  auto const reference = RenderSteps(dir, box, {}, steps, 1, level);
  zorvjack::JackOptions o = options(box);
  o.quiet = false;
  o.messages = {steps[0]};
  start(o);
  if (HasFatalFailure()) return;
  expectOutputs(reference[0], "at 64 frames");
  ASSERT_EQ(jack_set_buffer_size(tester->Client(), 256), 0);
  auto const move = [this] { lo_send(address, "/zorv/source/1/aed", "fff", 100.f, 0.f, 1.f); };
  move();
  expectOutputs(reference[1], "at 256 frames", move);
  EXPECT_EQ(tester->NonFinite(), 0);
  EXPECT_EQ(host->Stop(), 0);
  EXPECT_NE(host->Console().find("now runs at 256 frames"), std::string::npos) << host->Console();
}

}  // namespace
