#pragma once

// What the host's tests share: a private JACK server with the dummy driver, a
// test client that feeds constants and records what comes back, the host as
// a child process, and references from the offline renderer.

#include <arpa/inet.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <jack/jack.h>
#include <netinet/in.h>
#include <signal.h>
#include <sndfile.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace zorvjacktest {

// Waits for a condition, looking again every few milliseconds, for at most
// the timeout. Returns whether it came true.
inline bool WaitUntil(std::function<bool()> const& condition, double timeoutSeconds = 20.) {
  auto const deadline = std::chrono::steady_clock::now() +
                        std::chrono::milliseconds(static_cast<long>(timeoutSeconds * 1000.));
  while (!condition()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return true;
}

// A child process with its own environment additions; its standard input is
// a pipe (or /dev/null), its standard error goes to a file.
class Child {
 public:
  Child(std::vector<std::string> const& args, std::vector<std::string> const& environment,
        std::string const& errPath, bool withInput) {
    int pipeFds[2] = {-1, -1};
    if (withInput && pipe(pipeFds) != 0) throw std::runtime_error("pipe failed");
    pid = fork();
    if (pid < 0) throw std::runtime_error("fork failed");
    if (pid == 0) {
      setpgid(0, 0);
      // A test that dies leaves no server or host behind.
      prctl(PR_SET_PDEATHSIG, SIGTERM);
      int const in = withInput ? pipeFds[0] : open("/dev/null", O_RDONLY);
      dup2(in, STDIN_FILENO);
      int const out = open("/dev/null", O_WRONLY);
      dup2(out, STDOUT_FILENO);
      int const err = open(errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
      dup2(err, STDERR_FILENO);
      if (withInput) close(pipeFds[1]);
      for (auto const& variable : environment) putenv(const_cast<char*>(variable.c_str()));
      std::vector<char*> argv;
      for (auto const& arg : args) argv.push_back(const_cast<char*>(arg.c_str()));
      argv.push_back(nullptr);
      execv(argv[0], argv.data());
      _exit(127);
    }
    if (withInput) {
      close(pipeFds[0]);
      input = pipeFds[1];
    }
  }
  ~Child() {
    if (input >= 0) close(input);
    if (pid > 0 && !exited) {
      kill(pid, SIGKILL);
      waitpid(pid, nullptr, 0);
    }
  }
  void Write(std::string const& text) {
    ssize_t const written = write(input, text.data(), text.size());
    (void)written;
  }
  void Signal(int signal) { kill(pid, signal); }
  bool Running() {
    poll();
    return !exited;
  }
  // The exit code, or -1 when it did not exit in time (or died of a signal,
  // 128 + the signal then).
  int WaitExit(double timeoutSeconds = 20.) {
    if (!WaitUntil([this] { return !Running(); }, timeoutSeconds)) return -1;
    return code;
  }
  pid_t Pid() const { return pid; }

 private:
  void poll() {
    if (exited) return;
    int status = 0;
    if (waitpid(pid, &status, WNOHANG) == pid) {
      exited = true;
      code = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }
  }
  pid_t pid = -1;
  int input = -1;
  bool exited = false;
  int code = -1;
};

inline std::string ReadFile(std::string const& path) {
  std::ifstream file(path);
  std::stringstream text;
  text << file.rdbuf();
  return text.str();
}

// A folder of one test's own.
class TempDir {
 public:
  TempDir() {
    std::string pattern = "/tmp/zorv-jack-test.XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
    path = pattern;
  }
  ~TempDir() {
    if (std::system(("rm -rf '" + path + "'").c_str()) != 0) {
      // A leftover folder in /tmp is harmless.
    }
  }
  std::string operator/(std::string const& name) const { return path + "/" + name; }
  std::string path;
};

inline void Silent(char const*) {}

inline jack_client_t* OpenClient(std::string const& name, std::string const& server) {
  // Probing a server that is not up yet is not worth JACK's lines.
  jack_set_error_function(Silent);
  jack_set_info_function(Silent);
  jack_status_t status{};
  return jack_client_open(name.c_str(),
                          static_cast<jack_options_t>(JackNoStartServer | JackServerName), &status,
                          server.c_str());
}

// jackd under a name of its own, with the dummy driver and no real-time
// scheduling: it needs no sound card and no privileges.
class JackServer {
 public:
  explicit JackServer(TempDir const& dir, unsigned int period = 64) {
    // Named after the test and the build: a server that ends while a client
    // still holds on leaves its entry in JACK's registry of servers (which
    // has room for a few), and the next server of the same name takes it
    // back.
    static int count = 0;
    auto const* test = ::testing::UnitTest::GetInstance()->current_test_info();
    std::string const key =
        std::string(ZORV_BINARY_DIR) + "/" +
        (test != nullptr ? std::string(test->test_suite_name()) + "." + test->name()
                         : std::string()) +
        "/" + std::to_string(count++);
    std::size_t const digest = std::hash<std::string>{}(key) % 0x100000000u;
    char hash[32];
    std::snprintf(hash, sizeof(hash), "%08zx", digest);
    name = std::string("zorvtest_") + hash;
    // A server of that name that answers already is not ours to use.
    if (jack_client_t* stranger = OpenClient("probe", name)) {
      jack_client_close(stranger);
      reason = "a JACK server named " + name + " is running already";
      return;
    }
#ifdef ZORV_JACKD
    std::string const jackd = ZORV_JACKD;
#else
    std::string const jackd;
#endif
    if (jackd.empty() || access(jackd.c_str(), X_OK) != 0) {
      reason = "jackd is not installed (Debian: jackd2)";
      return;
    }
    log = dir / "jackd.log";
    process = std::make_unique<Child>(
        std::vector<std::string>{jackd, "-n", name, "--no-realtime", "-d", "dummy", "-r", "48000",
                                 "-p", std::to_string(period)},
        std::vector<std::string>{}, log, false);
    bool const up = WaitUntil(
        [this] {
          if (!process->Running()) return true;
          if (jack_client_t* probe = OpenClient("probe", name)) {
            jack_client_close(probe);
            return true;
          }
          return false;
        },
        20.);
    if (!up || !process->Running()) {
      reason = "jackd did not start: " + ReadFile(log);
      process.reset();
    }
  }
  ~JackServer() {
    Stop();
  }
  bool Up() const {
    return process != nullptr;
  }
  std::string const& Reason() const {
    return reason;
  }
  std::string const& Name() const {
    return name;
  }
  void Stop() {
    if (!process) return;
    process->Signal(SIGTERM);
    if (process->WaitExit(10.) < 0) process->Signal(SIGKILL);
    process.reset();
  }

 private:
  std::string name;
  std::string log;
  std::string reason;
  std::unique_ptr<Child> process;
};

// A JACK client of the test: outputs a constant on each of its sources and
// keeps, for each recorded channel, its last sample and whether any sample
// was not finite. Its process callback allocates nothing.
class TestClient {
 public:
  TestClient(std::string const& server, unsigned int numSources, unsigned int numRecorded)
      : last(numRecorded), levels(numSources) {
    client = OpenClient("tester", server);
    if (client == nullptr) throw std::runtime_error("the test client cannot open");
    for (unsigned int i = 0; i < numSources; ++i) {
      sources.push_back(jack_port_register(client, ("source_" + std::to_string(i + 1)).c_str(),
                                           JACK_DEFAULT_AUDIO_TYPE, JackPortIsOutput, 0));
    }
    for (unsigned int j = 0; j < numRecorded; ++j) {
      recorded.push_back(jack_port_register(client, ("record_" + std::to_string(j + 1)).c_str(),
                                            JACK_DEFAULT_AUDIO_TYPE, JackPortIsInput, 0));
    }
    jack_set_process_callback(client, process, this);
    jack_activate(client);
  }
  ~TestClient() {
    jack_deactivate(client);
    jack_client_close(client);
  }
  void SetLevel(unsigned int source, float level) { levels[source].store(level); }
  // Connects source i to the i-th of inputs and the j-th of outputs to
  // recorder j.
  bool Connect(std::vector<std::string> const& inputs, std::vector<std::string> const& outputs) {
    bool ok = true;
    for (std::size_t i = 0; i < inputs.size() && i < sources.size(); ++i) {
      ok = ok && jack_connect(client, jack_port_name(sources[i]), inputs[i].c_str()) == 0;
    }
    for (std::size_t j = 0; j < outputs.size() && j < recorded.size(); ++j) {
      ok = ok && jack_connect(client, outputs[j].c_str(), jack_port_name(recorded[j])) == 0;
    }
    return ok;
  }
  std::vector<float> Last() const {
    std::vector<float> values;
    for (auto const& value : last) values.push_back(value.load());
    return values;
  }
  long long Cycles() const { return cycles.load(); }
  long long NonFinite() const { return nonFinite.load(); }
  jack_client_t* Client() const { return client; }
  std::string PortName(unsigned int recorder) const { return jack_port_name(recorded[recorder]); }

 private:
  static int process(jack_nframes_t n, void* arg) {
    auto* self = static_cast<TestClient*>(arg);
    for (std::size_t i = 0; i < self->sources.size(); ++i) {
      auto* out = static_cast<float*>(jack_port_get_buffer(self->sources[i], n));
      float const level = self->levels[i].load();
      for (jack_nframes_t k = 0; k < n; ++k) out[k] = level;
    }
    for (std::size_t j = 0; j < self->recorded.size(); ++j) {
      auto const* in = static_cast<float const*>(jack_port_get_buffer(self->recorded[j], n));
      for (jack_nframes_t k = 0; k < n; ++k) {
        if (!std::isfinite(in[k])) self->nonFinite.fetch_add(1);
      }
      if (n > 0) self->last[j].store(in[n - 1]);
    }
    self->cycles.fetch_add(1);
    return 0;
  }

  jack_client_t* client = nullptr;
  std::vector<jack_port_t*> sources;
  std::vector<jack_port_t*> recorded;
  std::vector<std::atomic<float>> last;
  std::vector<std::atomic<float>> levels;
  std::atomic<long long> cycles{0};
  std::atomic<long long> nonFinite{0};
};

// A UDP port on 127.0.0.1 that nobody holds now.
inline int FreeUdpPort() {
  int const fd = socket(AF_INET, SOCK_DGRAM, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = 0;
  bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof(address));
  socklen_t length = sizeof(address);
  getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length);
  close(fd);
  return ntohs(address.sin_port);
}

// The outlets of the offline renderer at the end of each step, for the same
// box: step k holds the messages of steps 0 to k (the options' -m messages
// come first), each step a quarter of a second long, with a constant level
// on every inlet.
inline std::vector<std::vector<float>> RenderSteps(TempDir const& dir, std::string const& box,
                                                   std::vector<std::string> const& before,
                                                   std::vector<std::string> const& steps,
                                                   unsigned int numInlets, float level) {
  int const rate = 48000;
  long long const stepFrames = rate / 4;
  long long const frames = stepFrames * static_cast<long long>(steps.size());
  std::string const input = dir / "constant.wav";
  SF_INFO info{};
  info.channels = static_cast<int>(numInlets);
  info.samplerate = rate;
  info.format = SF_FORMAT_WAV | SF_FORMAT_FLOAT;
  SNDFILE* file = sf_open(input.c_str(), SFM_WRITE, &info);
  std::vector<float> samples(static_cast<std::size_t>(frames) * numInlets, level);
  sf_writef_float(file, samples.data(), frames);
  sf_close(file);

  std::string const score = dir / "steps.txt";
  {
    std::ofstream text(score);
    for (std::size_t k = 0; k < steps.size(); ++k) {
      if (!steps[k].empty()) text << 0.25 * static_cast<double>(k) << " " << steps[k] << "\n";
    }
  }
  std::string const output = dir / "reference.wav";
  std::vector<std::string> args = {
      ZORV_RENDER_BINARY, "-q", "-i", input, "-s", score, "-o", output};
  for (auto const& message : before) {
    args.push_back("-m");
    args.push_back(message);
  }
  args.push_back(box);
  Child render(args, {}, dir / "render.txt", false);
  if (render.WaitExit(60.) != 0) {
    throw std::runtime_error("zorv-render failed: " + ReadFile(dir / "render.txt"));
  }
  SF_INFO read{};
  SNDFILE* out = sf_open(output.c_str(), SFM_READ, &read);
  if (out == nullptr) throw std::runtime_error("no reference written");
  std::vector<float> all(static_cast<std::size_t>(read.frames * read.channels));
  sf_readf_float(out, all.data(), read.frames);
  sf_close(out);
  std::vector<std::vector<float>> result;
  for (std::size_t k = 0; k < steps.size(); ++k) {
    // Well after the step's ramps, and before the block that takes the next
    // step's message (a message goes before the block that holds its time).
    long long const at = stepFrames * static_cast<long long>(k + 1) - 1024;
    std::vector<float> row;
    for (int c = 0; c < read.channels; ++c) {
      row.push_back(all[static_cast<std::size_t>(at * read.channels + c)]);
    }
    result.push_back(row);
  }
  return result;
}

inline bool Near(std::vector<float> const& a, std::vector<float> const& b, float tolerance) {
  if (a.size() != b.size()) return false;
  for (std::size_t k = 0; k < a.size(); ++k) {
    if (!(std::fabs(a[k] - b[k]) <= tolerance)) return false;
  }
  return true;
}

inline std::string Show(std::vector<float> const& values) {
  std::ostringstream out;
  for (float v : values) out << v << " ";
  return out.str();
}

}  // namespace zorvjacktest
