// The built zorv-jack as a user runs it: exit codes, signals, and a server
// that is missing or goes away.

#include <gtest/gtest.h>

#include "ZorvJackTestSupport.h"

namespace {

using namespace zorvjacktest;

std::string const box = "@numinputs 2 @numoutputs 4 @type vbap2d";

class JackBinaryTest : public ::testing::Test {
 protected:
  std::unique_ptr<Child> run(std::vector<std::string> args, std::string const& serverName) {
    args.insert(args.begin(), ZORV_JACK_BINARY);
    return std::make_unique<Child>(args,
                                   std::vector<std::string>{"JACK_DEFAULT_SERVER=" + serverName,
                                                            "ASAN_OPTIONS=detect_leaks=0"},
                                   err(), true);
  }
  std::string err() const { return dir / "stderr.txt"; }
  std::string errText() const { return ReadFile(err()); }

  TempDir dir;
};

TEST_F(JackBinaryTest, WithoutAServerItSaysHowToStartOne) {
  auto host = run({"-p", "0", box}, "zorvtest_none_" + std::to_string(getpid()));
  EXPECT_EQ(host->WaitExit(), 8);
  EXPECT_NE(errText().find("no JACK server is running"), std::string::npos) << errText();
  EXPECT_NE(errText().find("jackd -d"), std::string::npos) << errText();
}

TEST_F(JackBinaryTest, ABadBoxOrScoreStopsItBeforeTheServer) {
  std::string const none = "zorvtest_none_" + std::to_string(getpid());
  EXPECT_EQ(run({"-p", "0", "@numinputs 1 @numoutputs 2 @type nosuchtype"}, none)->WaitExit(), 3);
  EXPECT_NE(errText().find("makes no object"), std::string::npos) << errText();
  std::ofstream(dir / "bad.txt") << "1 source 1 aed 0 0 1\n0.5 source 1 aed 90 0 1\n";
  EXPECT_EQ(run({"-p", "0", "-s", dir / "bad.txt", box}, none)->WaitExit(), 5);
  EXPECT_NE(errText().find("bad.txt:2: time goes backwards"), std::string::npos) << errText();
  EXPECT_EQ(run({"--osc-port", "70000", box}, none)->WaitExit(), 2);
}

TEST_F(JackBinaryTest, SignalsReportXrunsAndStopItCleanly) {
  JackServer server(dir);
  if (!server.Up()) GTEST_SKIP() << server.Reason();
  auto host = run({"-p", "0", "-n", "signalled", "-i", "system:capture_2,system:capture_1", "-o",
                   "system:playback_", box},
                  server.Name());
  ASSERT_TRUE(WaitUntil([&] { return errText().find("\"signalled\" runs") != std::string::npos; }))
      << errText();
  {
    // Inputs from the listed ports in the list's order; outputs to as many
    // playback ports as the expression finds, in order.
    jack_client_t* probe = OpenClient("watcher", server.Name());
    ASSERT_NE(probe, nullptr);
    auto connected = [probe](char const* a, char const* b) {
      return jack_port_connected_to(jack_port_by_name(probe, a), b) != 0;
    };
    EXPECT_TRUE(connected("signalled:in_1", "system:capture_2"));
    EXPECT_TRUE(connected("signalled:in_2", "system:capture_1"));
    EXPECT_TRUE(connected("signalled:out_1", "system:playback_1"));
    EXPECT_TRUE(connected("signalled:out_2", "system:playback_2"));
    EXPECT_EQ(jack_port_connected(jack_port_by_name(probe, "signalled:out_3")), 0);
    jack_client_close(probe);
  }
  EXPECT_NE(errText().find("selects 2 port(s) for our 4"), std::string::npos) << errText();
  host->Write("source 1 aed 30 0 1\nsource 9 aed 0 0 1\n");
  ASSERT_TRUE(WaitUntil([&] { return errText().find("stdin:2:") != std::string::npos; }))
      << errText();
  EXPECT_NE(errText().find("stdin:2: zorv.pan~: error:"), std::string::npos) << errText();
  host->Signal(SIGUSR1);
  EXPECT_TRUE(WaitUntil([&] { return errText().find("xrun(s) so far") != std::string::npos; }))
      << errText();
  EXPECT_TRUE(host->Running());
  host->Signal(SIGTERM);
  EXPECT_EQ(host->WaitExit(), 0) << errText();
  EXPECT_NE(errText().find("xrun(s) in all"), std::string::npos) << errText();
  // Its ports are gone with it.
  jack_client_t* probe = OpenClient("watcher", server.Name());
  ASSERT_NE(probe, nullptr);
  EXPECT_EQ(jack_port_by_name(probe, "signalled:out_1"), nullptr);
  jack_client_close(probe);
}

TEST_F(JackBinaryTest, AServerThatGoesAwayEndsItWithAnError) {
  JackServer server(dir);
  if (!server.Up()) GTEST_SKIP() << server.Reason();
  auto host = run({"-p", "0", "-n", "orphan", box}, server.Name());
  ASSERT_TRUE(WaitUntil([&] { return errText().find("\"orphan\" runs") != std::string::npos; }))
      << errText();
  server.Stop();
  EXPECT_EQ(host->WaitExit(), 9) << errText();
  EXPECT_NE(errText().find("the JACK server went away"), std::string::npos) << errText();
}

}  // namespace
