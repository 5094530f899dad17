#pragma once

#include <jack/jack.h>

#include <atomic>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

namespace zorvhost {
class PanObject;
}

namespace zorvjack {

class AudioClient;
class Console;
class LineReader;
class OscServer;
class ScorePlayer;

// Everything the command line can say.
struct JackOptions {
  std::string boxText;
  std::string name = "zorv";
  std::string connectIn;
  std::string connectOut;
  std::vector<std::string> messages;
  std::string score;
  int oscPort = 7000;  // 0: no OSC
  bool quiet = false;
  bool verbose = false;
};

// The host's exit codes; those it shares with the offline renderer have the
// same numbers.
enum JackExitCode : int {
  JackExitSuccess = 0,
  JackExitUsage = 2,
  JackExitBadBox = 3,
  JackExitBadScore = 5,
  JackExitNoServer = 8,    // no JACK server to talk to at start
  JackExitServerGone = 9,  // the server went away while we ran
  JackExitJack = 10,       // the server refused us something else
  JackExitOsc = 11,        // the OSC port cannot be had
};

// One run of the host. Start makes the object and the JACK client and
// starts the audio; Run is the message thread: it waits on standard input,
// OSC, the score's clock and JACK's notifications, and sends the object its
// messages one at a time, until Stop or until the server goes away.
class JackApp {
 public:
  JackApp(JackOptions options, std::ostream& err);
  ~JackApp();
  JackApp(JackApp const&) = delete;
  JackApp& operator=(JackApp const&) = delete;

  // Returns -1 when the host is running, else the exit code (the reason is
  // on the console).
  int Start();
  // Reads messages from inputFd (standard input; -1 for none) until Stop.
  // Returns the exit code. Ports are closed when it returns.
  int Run(int inputFd);

  // Both may be called from a signal handler or any thread: they write one
  // byte to the message thread's wake-up pipe.
  void Stop();
  void RequestReport();

  // After Start, for the curious (and the tests).
  std::string ClientName() const;
  std::vector<std::string> InputPorts() const;
  std::vector<std::string> OutputPorts() const;
  jack_native_thread_t ProcessThread() const;
  unsigned long long Xruns() const;
  int OscPort() const;
  // Messages sent to the object so far, from every source.
  unsigned long long MessagesSent() const { return messagesSent.load(); }

 private:
  int start();
  void send(std::string const& message, std::string const& origin);
  void followSorting();
  void report(char const* when);
  void readInput(int fd, bool& open);
  int pollTimeoutMs() const;

  JackOptions options;
  std::unique_ptr<Console> console;
  int wakePipe[2] = {-1, -1};
  std::unique_ptr<zorvhost::PanObject> object;
  std::unique_ptr<AudioClient> audio;
  std::unique_ptr<OscServer> osc;
  std::unique_ptr<ScorePlayer> score;
  std::unique_ptr<LineReader> lines;
  std::string type;
  std::string sorting;
  std::atomic<unsigned long long> messagesSent{0};
  unsigned long long inputLines = 0;
  unsigned long long xrunsAtEnd = 0;
};

}  // namespace zorvjack
