#pragma once

#include <jack/jack.h>

#include <atomic>
#include <stdexcept>
#include <string>
#include <vector>

#include "ZorvHost.h"
#include "ZorvJackPortNames.h"

namespace zorvjack {

// A failure to reach or use the JACK server. The text is complete.
class JackError : public std::runtime_error {
 public:
  enum Kind { NoServer, Other };
  JackError(Kind kind, std::string const& text) : std::runtime_error(text), kind(kind) {}
  Kind GetKind() const { return kind; }

 private:
  Kind kind;
};

// The JACK client that runs one object: one input port per inlet, one output
// port per outlet, and a process callback that runs one block of the object
// per JACK cycle.
//
// Threads. The process callback is the audio thread: it takes no lock,
// allocates nothing, logs nothing and makes no system call; it reads the
// ports and calls the object's ProcessBlock. Everything else (Restart,
// Connect, RenameOutputs and the object's messages) runs on the one message
// thread. JACK's notification callbacks (buffer size, rate, xruns, shutdown)
// only set flags and write one byte to wakeFd, so that the message thread
// wakes up and acts on them.
//
// A change of the buffer size or rate is taken up by Restart on the message
// thread: the audio thread outputs silence from the moment it is flagged
// until the object's chain is rebuilt for the new size.
class AudioClient {
 public:
  // The name of the audio thread (at most 15 characters).
  static constexpr char const* AudioThreadName = "zorv-jack audio";

  // Opens the client (without starting a server) and registers the ports.
  // Throws JackError.
  AudioClient(std::string const& name, zorvhost::PanObject& object, PortNames const& ports,
              int wakeFd);
  ~AudioClient();
  AudioClient(AudioClient const&) = delete;
  AudioClient& operator=(AudioClient const&) = delete;

  // The name the server gave us (it may add a suffix when ours is taken).
  std::string Name() const;
  double Samplerate() const;
  unsigned int BufferSize() const;

  // Rebuilds the object's chain at the server's rate and buffer size; waits
  // for the audio thread to leave the object first. Message thread.
  void Restart();
  // A change of buffer size or rate is waiting for Restart.
  bool RestartPending() const { return restartPending.load(); }

  // Throws JackError.
  void Activate();
  // Connects our inputs from the ports that text selects (or our outputs to
  // them), in order. Returns warnings for the console.
  std::vector<std::string> ConnectInputs(std::string const& text);
  std::vector<std::string> ConnectOutputs(std::string const& text);
  // Gives the output ports new short names (as many as there are ports).
  // Returns a warning, or "".
  std::string RenameOutputs(std::vector<std::string> const& names);

  // Frames processed since activation.
  long long Frames() const { return frames.load(std::memory_order_relaxed); }
  unsigned long long Xruns() const { return xruns.load(std::memory_order_relaxed); }
  // The server went away: the client is dead and its reason is given.
  bool ServerGone() const { return serverGone.load(); }
  std::string ShutdownReason() const;
  // The audio thread, once activated.
  jack_native_thread_t ProcessThread() const;
  std::vector<std::string> InputPortNames() const;
  std::vector<std::string> OutputPortNames() const;

 private:
  static int processCallback(jack_nframes_t nframes, void* arg);
  static int bufferSizeCallback(jack_nframes_t nframes, void* arg);
  static int samplerateCallback(jack_nframes_t nframes, void* arg);
  static int xrunCallback(void* arg);
  static void shutdownCallback(jack_status_t code, char const* reason, void* arg);
  static void threadInitCallback(void* arg);

  void process(jack_nframes_t nframes);
  void wake();
  std::vector<std::string> connect(std::string const& text, bool inputs);
  std::vector<std::string> portNames(std::vector<jack_port_t*> const& ports) const;

  zorvhost::PanObject& object;
  int wakeFd;
  jack_client_t* client = nullptr;
  std::vector<jack_port_t*> inputPorts;
  std::vector<jack_port_t*> outputPorts;
  // The audio thread's view of the ports' buffers, sized once.
  std::vector<float const*> inputBuffers;
  std::vector<float*> outputBuffers;

  // The hand-over between the message thread's Restart and the audio
  // thread: the audio thread raises busy, then looks at ready; Restart lowers
  // ready, then waits for busy to fall. Both in sequentially consistent order,
  // so one of them always sees the other.
  std::atomic<bool> ready{false};
  std::atomic<bool> busy{false};
  std::atomic<unsigned int> chainBlockSize{0};

  std::atomic<bool> activated{false};
  std::atomic<bool> restartPending{false};
  std::atomic<long long> frames{0};
  std::atomic<unsigned long long> xruns{0};
  std::atomic<bool> serverGone{false};
  char shutdownReason[256] = {0};
};

}  // namespace zorvjack
