#include "ZorvJackAudioClient.h"

#include <pthread.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>

#include "ZorvJackPortSelection.h"

#if defined(__SSE__) || defined(__x86_64__)
#include <xmmintrin.h>
#endif

namespace zorvjack {
namespace {

void silent(char const*) {}

// JACK's own errors, on one line each, after ours have said what failed.
// JACK may report from the audio thread: no allocation here.
void jackError(char const* text) {
  char line[512];
  int const length = std::snprintf(line, sizeof(line), "zorv-jack: jack: %s\n", text);
  if (length <= 0) return;
  std::size_t const size = static_cast<std::size_t>(length) < sizeof(line)
                               ? static_cast<std::size_t>(length)
                               : sizeof(line) - 1;
  ssize_t const written = ::write(STDERR_FILENO, line, size);
  (void)written;
}

std::string serverName() {
  char const* name = std::getenv("JACK_DEFAULT_SERVER");
  return name != nullptr && *name != '\0' ? name : "default";
}

}  // namespace

AudioClient::AudioClient(std::string const& name, zorvhost::PanObject& object,
                         PortNames const& ports, int wakeFd)
    : object(object), wakeFd(wakeFd) {
  // JACK explains a missing server in several lines of its own; ours says it
  // once, with what to do.
  jack_set_error_function(silent);
  jack_set_info_function(silent);
  jack_status_t status{};
  client = jack_client_open(name.c_str(), JackNoStartServer, &status);
  jack_set_error_function(jackError);
  if (client == nullptr) {
    if ((status & JackServerFailed) != 0 || (status & JackServerError) != 0) {
      throw JackError(JackError::NoServer,
                      "no JACK server is running (server \"" + serverName() +
                          "\"). Start one first, e.g. \"jackd -d alsa -d hw:0\" for a sound "
                          "card or \"jackd -d dummy\" without one (or with QjackCtl), or run "
                          "under PipeWire's JACK through \"pw-jack zorv-jack ...\"");
    }
    if ((status & JackNameNotUnique) != 0) {
      throw JackError(JackError::Other, "the JACK client name \"" + name + "\" is taken");
    }
    throw JackError(JackError::Other, "the JACK server refused the client \"" + name +
                                          "\" (status " + std::to_string(static_cast<int>(status)) +
                                          ")");
  }
  auto add = [this](std::string const& port, unsigned long flags) {
    jack_port_t* p = jack_port_register(client, port.c_str(), JACK_DEFAULT_AUDIO_TYPE, flags, 0);
    if (p == nullptr) {
      // The destructor will not run: the client is closed here.
      jack_client_close(client);
      client = nullptr;
      throw JackError(JackError::Other, "cannot register the port " + port);
    }
    return p;
  };
  for (auto const& port : ports.inputs) inputPorts.push_back(add(port, JackPortIsInput));
  for (auto const& port : ports.outputs) {
    outputPorts.push_back(add(port, JackPortIsOutput | JackPortIsTerminal));
  }
  inputBuffers.assign(inputPorts.size(), nullptr);
  outputBuffers.assign(outputPorts.size(), nullptr);
  jack_set_process_callback(client, processCallback, this);
  jack_set_buffer_size_callback(client, bufferSizeCallback, this);
  jack_set_sample_rate_callback(client, samplerateCallback, this);
  jack_set_xrun_callback(client, xrunCallback, this);
  jack_set_thread_init_callback(client, threadInitCallback, this);
  jack_on_info_shutdown(client, shutdownCallback, this);
}

AudioClient::~AudioClient() {
  if (client == nullptr) return;
  // A client whose server went away is closed without a word to it.
  if (activated.load() && !serverGone.load()) jack_deactivate(client);
  jack_client_close(client);
}

std::string AudioClient::Name() const {
  return jack_get_client_name(client);
}

double AudioClient::Samplerate() const {
  return static_cast<double>(jack_get_sample_rate(client));
}

unsigned int AudioClient::BufferSize() const {
  return static_cast<unsigned int>(jack_get_buffer_size(client));
}

void AudioClient::Restart() {
  restartPending.store(false);
  ready.store(false);
  // One process cycle at most; the audio thread never waits on us.
  while (busy.load()) std::this_thread::sleep_for(std::chrono::microseconds(50));
  unsigned int const size = BufferSize();
  object.StartDsp(Samplerate(), size);
  chainBlockSize.store(size);
  ready.store(true);
}

void AudioClient::Activate() {
  if (jack_activate(client) != 0) {
    throw JackError(JackError::Other, "the JACK server would not activate the client");
  }
  activated.store(true);
}

std::vector<std::string> AudioClient::ConnectInputs(std::string const& text) {
  return connect(text, true);
}

std::vector<std::string> AudioClient::ConnectOutputs(std::string const& text) {
  return connect(text, false);
}

std::vector<std::string> AudioClient::connect(std::string const& text, bool inputs) {
  std::vector<std::string> warnings;
  std::string const option = inputs ? "--connect-in" : "--connect-out";
  std::string const own = Name() + ":";
  std::vector<std::string> candidates;
  if (char const** names = jack_get_ports(client, nullptr, JACK_DEFAULT_AUDIO_TYPE,
                                          inputs ? JackPortIsOutput : JackPortIsInput)) {
    for (char const** name = names; *name != nullptr; ++name) {
      if (std::strncmp(*name, own.c_str(), own.size()) != 0) candidates.emplace_back(*name);
    }
    jack_free(names);
  }
  std::string error;
  std::vector<std::string> const selected = SelectPorts(text, candidates, error);
  if (!error.empty()) return {option + ": " + error};
  std::vector<jack_port_t*> const& ours = inputs ? inputPorts : outputPorts;
  if (selected.empty()) {
    return {option + " \"" + text + "\": no " + (inputs ? "output" : "input") +
            " port of the server matches; nothing connected"};
  }
  if (selected.size() != ours.size()) {
    warnings.push_back(option + " \"" + text + "\" selects " + std::to_string(selected.size()) +
                       " port(s) for our " + std::to_string(ours.size()) +
                       "; the first ones are paired in order");
  }
  for (std::size_t k = 0; k < selected.size() && k < ours.size(); ++k) {
    char const* mine = jack_port_name(ours[k]);
    int const result = inputs ? jack_connect(client, selected[k].c_str(), mine)
                              : jack_connect(client, mine, selected[k].c_str());
    if (result != 0 && result != EEXIST) {
      warnings.push_back(option + ": cannot connect " + mine + (inputs ? " from " : " to ") +
                         selected[k]);
    }
  }
  return warnings;
}

std::string AudioClient::RenameOutputs(std::vector<std::string> const& names) {
  if (names.size() != outputPorts.size()) return "";
  // Through names of their own first, so that no two ports ever share one.
  for (std::size_t j = 0; j < outputPorts.size(); ++j) {
    std::string const temporary = "renaming_" + std::to_string(j);
    if (jack_port_rename(client, outputPorts[j], temporary.c_str()) != 0) {
      return "cannot rename the output ports";
    }
  }
  for (std::size_t j = 0; j < outputPorts.size(); ++j) {
    if (jack_port_rename(client, outputPorts[j], names[j].c_str()) != 0) {
      return "cannot rename the output port to " + names[j];
    }
  }
  return "";
}

std::string AudioClient::ShutdownReason() const {
  return serverGone.load() ? std::string(shutdownReason) : std::string();
}

jack_native_thread_t AudioClient::ProcessThread() const {
  return jack_client_thread_id(client);
}

std::vector<std::string> AudioClient::portNames(std::vector<jack_port_t*> const& ports) const {
  std::vector<std::string> names;
  for (jack_port_t* port : ports) names.emplace_back(jack_port_name(port));
  return names;
}

std::vector<std::string> AudioClient::InputPortNames() const {
  return portNames(inputPorts);
}

std::vector<std::string> AudioClient::OutputPortNames() const {
  return portNames(outputPorts);
}

// Audio thread: no lock, no allocation, no system call, no log.
void AudioClient::process(jack_nframes_t nframes) {
  busy.store(true);
  for (std::size_t i = 0; i < inputPorts.size(); ++i) {
    inputBuffers[i] = static_cast<float const*>(jack_port_get_buffer(inputPorts[i], nframes));
  }
  for (std::size_t j = 0; j < outputPorts.size(); ++j) {
    outputBuffers[j] = static_cast<float*>(jack_port_get_buffer(outputPorts[j], nframes));
  }
  if (ready.load() && nframes > 0 && nframes <= chainBlockSize.load(std::memory_order_relaxed)) {
    object.ProcessBlock(inputBuffers.data(), outputBuffers.data(), nframes);
  } else {
    for (float* out : outputBuffers) std::memset(out, 0, nframes * sizeof(float));
  }
  busy.store(false);
  frames.fetch_add(nframes, std::memory_order_relaxed);
}

void AudioClient::wake() {
  char const byte = 'j';
  ssize_t const written = ::write(wakeFd, &byte, 1);
  (void)written;  // a full pipe has woken the reader already
}

int AudioClient::processCallback(jack_nframes_t nframes, void* arg) {
  static_cast<AudioClient*>(arg)->process(nframes);
  return 0;
}

int AudioClient::bufferSizeCallback(jack_nframes_t nframes, void* arg) {
  auto* self = static_cast<AudioClient*>(arg);
  if (nframes != self->chainBlockSize.load()) {
    self->restartPending.store(true);
    self->wake();
  }
  return 0;
}

int AudioClient::samplerateCallback(jack_nframes_t, void* arg) {
  auto* self = static_cast<AudioClient*>(arg);
  if (self->ready.load()) {
    self->restartPending.store(true);
    self->wake();
  }
  return 0;
}

int AudioClient::xrunCallback(void* arg) {
  static_cast<AudioClient*>(arg)->xruns.fetch_add(1, std::memory_order_relaxed);
  return 0;
}

// Written as a signal handler: it copies the reason by hand and writes one
// byte.
void AudioClient::shutdownCallback(jack_status_t, char const* reason, void* arg) {
  auto* self = static_cast<AudioClient*>(arg);
  std::size_t k = 0;
  if (reason != nullptr) {
    for (; k + 1 < sizeof(self->shutdownReason) && reason[k] != '\0'; ++k) {
      self->shutdownReason[k] = reason[k];
    }
  }
  self->shutdownReason[k] = '\0';
  self->serverGone.store(true);
  self->wake();
}

// On the audio thread, once: denormals are flushed there as in the host, so
// that decaying filters cost no more than the rest; and the thread gets a
// name that "top -H" shows.
void AudioClient::threadInitCallback(void*) {
  pthread_setname_np(pthread_self(), AudioThreadName);
#if defined(__SSE__) || defined(__x86_64__)
  _mm_setcsr(_mm_getcsr() | 0x8040u);
#endif
}

}  // namespace zorvjack
