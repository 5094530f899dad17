#include "ZorvJackApp.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <sstream>

#include "ZorvHost.h"
#include "ZorvJackAudioClient.h"
#include "ZorvJackConsole.h"
#include "ZorvJackLineReader.h"
#include "ZorvJackOscServer.h"
#include "ZorvJackPortNames.h"
#include "ZorvJackScorePlayer.h"
#include "ZorvRenderBoxText.h"
#include "ZorvRenderError.h"
#include "ZorvRenderScore.h"

namespace zorvjack {
namespace {

ConsoleSeverity severityOf(zorvhost::Severity severity) {
  switch (severity) {
    case zorvhost::Severity::Warning:
      return ConsoleSeverity::Warning;
    case zorvhost::Severity::Error:
      return ConsoleSeverity::Error;
    case zorvhost::Severity::Bug:
      return ConsoleSeverity::Bug;
    case zorvhost::Severity::Post:
      break;
  }
  return ConsoleSeverity::Post;
}

std::string firstOf(std::vector<std::string> const& values) {
  return values.empty() ? std::string() : values.front();
}

// How many OSC datagrams are handled before the other sources get a turn.
constexpr int OscBatch = 256;

}  // namespace

JackApp::JackApp(JackOptions opts, std::ostream& err)
    : options(std::move(opts)),
      console(std::make_unique<Console>(err, options.quiet)),
      lines(std::make_unique<LineReader>()) {
  if (pipe2(wakePipe, O_CLOEXEC | O_NONBLOCK) != 0) {
    wakePipe[0] = wakePipe[1] = -1;
  }
}

JackApp::~JackApp() {
  // The client goes first: its audio thread uses the object.
  audio.reset();
  osc.reset();
  object.reset();
  for (int fd : wakePipe) {
    if (fd >= 0) close(fd);
  }
}

void JackApp::Stop() {
  char const byte = 'q';
  ssize_t const written = ::write(wakePipe[1], &byte, 1);
  (void)written;
}

void JackApp::RequestReport() {
  char const byte = 'r';
  ssize_t const written = ::write(wakePipe[1], &byte, 1);
  (void)written;
}

int JackApp::Start() {
  try {
    return start();
  } catch (zorvrender::RenderError const& error) {
    console->SetOrigin("");
    console->Host(ConsoleSeverity::Error, error.what());
    return error.Code() == zorvrender::ExitBadScore ? JackExitBadScore : JackExitBadBox;
  } catch (JackError const& error) {
    console->SetOrigin("");
    console->Host(ConsoleSeverity::Error, error.what());
    return error.GetKind() == JackError::NoServer ? JackExitNoServer : JackExitJack;
  }
}

int JackApp::start() {
  if (wakePipe[0] < 0) {
    console->Host(ConsoleSeverity::Error, "cannot make a pipe for the message thread");
    return JackExitJack;
  }
  std::string const boxText = zorvrender::NormaliseBoxText(options.boxText);
  // Everything that can be checked before the server is checked first.
  zorvrender::Score parsed;
  if (!options.score.empty()) parsed = zorvrender::Score::Read(options.score);

  object = zorvhost::PanObject::Create(
      boxText, [this](zorvhost::Severity severity, std::string const& text) {
        console->Object(severityOf(severity), text);
      });
  if (!object) {
    console->Host(ConsoleSeverity::Error, "the box \"" + boxText + "\" makes no object");
    return JackExitBadBox;
  }
  type = firstOf(object->GetAttribute("type"));
  sorting = firstOf(object->GetAttribute("hoasorting"));
  PortNames const names = MakePortNames(type, object->NumInlets(), object->NumOutlets(), sorting);

  if (options.oscPort > 0) {
    try {
      osc = std::make_unique<OscServer>(
          options.oscPort, [this](std::string const& message) { send(message, "osc"); },
          [this](std::string const& note) { console->Host(ConsoleSeverity::Warning, note); });
    } catch (std::runtime_error const& error) {
      console->Host(ConsoleSeverity::Error, error.what());
      return JackExitOsc;
    }
  }

  audio = std::make_unique<AudioClient>(options.name, *object, names, wakePipe[1]);
  for (auto const& message : options.messages) send(message, "-m");
  audio->Restart();
  double const rate = audio->Samplerate();
  score = std::make_unique<ScorePlayer>(zorvrender::TimeScore(parsed, rate));
  audio->Activate();

  std::vector<std::string> warnings;
  if (!options.connectIn.empty()) warnings = audio->ConnectInputs(options.connectIn);
  if (!options.connectOut.empty()) {
    for (auto& w : audio->ConnectOutputs(options.connectOut)) warnings.push_back(w);
  }
  for (auto const& w : warnings) console->Host(ConsoleSeverity::Warning, w);

  std::ostringstream summary;
  summary << "JACK client \"" << audio->Name() << "\" runs \"" << boxText << "\" ("
          << object->NumInlets() << " in, " << object->NumOutlets() << " out) at " << rate
          << " Hz, " << audio->BufferSize() << " frames; ";
  if (osc) {
    summary << "OSC on UDP port " << osc->Port() << ", ";
  }
  summary << "messages on standard input";
  console->Host(ConsoleSeverity::Post, summary.str());
  return -1;
}

void JackApp::send(std::string const& message, std::string const& origin) {
  console->SetOrigin(origin);
  object->SendMessage(message);
  console->SetOrigin("");
  messagesSent.fetch_add(1);
  followSorting();
}

// The ports of a higher-order set are named after their components, whose
// order a message may change.
void JackApp::followSorting() {
  if (sorting.empty() || !audio) return;
  std::string const now = firstOf(object->GetAttribute("hoasorting"));
  if (now == sorting) return;
  sorting = now;
  PortNames const names = MakePortNames(type, object->NumInlets(), object->NumOutlets(), sorting);
  std::string const warning = audio->RenameOutputs(names.outputs);
  if (!warning.empty()) console->Host(ConsoleSeverity::Warning, warning);
}

void JackApp::report(char const* when) {
  unsigned long long const xruns = audio ? audio->Xruns() : 0;
  std::string const text = std::to_string(xruns) + " xrun(s) " + when;
  if (std::string(when) == "so far" || !options.quiet || xruns > 0) console->Report(text);
}

int JackApp::pollTimeoutMs() const {
  long long const frames = score ? score->FramesUntilNext(audio->Frames()) : -1;
  if (frames < 0) return -1;
  double const ms = 1000. * static_cast<double>(frames) / audio->Samplerate();
  // The audio clock may stall or run slow: look again at least every 100 ms.
  return ms < 1. ? (frames > 0 ? 1 : 0) : (ms > 100. ? 100 : static_cast<int>(ms));
}

void JackApp::readInput(int fd, bool& open) {
  char buffer[4096];
  ssize_t const count = ::read(fd, buffer, sizeof(buffer));
  if (count < 0 && (errno == EINTR || errno == EAGAIN)) return;
  std::vector<LineReader::Line> got;
  if (count <= 0) {
    open = false;
    got = lines->Finish();
  } else {
    got = lines->Feed(buffer, static_cast<std::size_t>(count));
  }
  for (auto const& line : got) {
    ++inputLines;
    std::string const origin = "stdin:" + std::to_string(inputLines);
    if (line.truncated) {
      console->Host(ConsoleSeverity::Warning, origin + ": a line longer than " +
                                                  std::to_string(LineReader::DefaultMaxLength) +
                                                  " bytes was ignored");
      continue;
    }
    if (line.text.find_first_not_of(" \t") == std::string::npos) continue;
    send(line.text, origin);
  }
}

int JackApp::Run(int inputFd) {
  bool inputOpen = inputFd >= 0;
  int code = JackExitSuccess;
  bool running = true;
  while (running) {
    pollfd fds[3];
    nfds_t count = 0;
    fds[count++] = {wakePipe[0], POLLIN, 0};
    int const inputIndex = inputOpen ? static_cast<int>(count) : -1;
    if (inputOpen) fds[count++] = {inputFd, POLLIN, 0};
    int const oscIndex = osc ? static_cast<int>(count) : -1;
    if (osc) fds[count++] = {osc->Fd(), POLLIN, 0};

    int const ready = poll(fds, count, pollTimeoutMs());
    if (ready < 0 && errno != EINTR) {
      console->Host(ConsoleSeverity::Error, "poll failed");
      code = JackExitJack;
      break;
    }

    if (ready > 0 && (fds[0].revents & POLLIN) != 0) {
      char bytes[64];
      ssize_t n = 0;
      while ((n = ::read(wakePipe[0], bytes, sizeof(bytes))) > 0) {
        for (ssize_t k = 0; k < n; ++k) {
          if (bytes[k] == 'q') running = false;
          if (bytes[k] == 'r') report("so far");
        }
      }
    }
    if (audio->ServerGone()) {
      std::string const reason = audio->ShutdownReason();
      console->Host(
          ConsoleSeverity::Error,
          "the JACK server went away" + (reason.empty() ? "" : " (" + reason + ")") + "; stopping");
      code = JackExitServerGone;
      break;
    }
    if (audio->RestartPending()) {
      audio->Restart();
      console->Host(
          ConsoleSeverity::Post,
          "the object now runs at " + std::to_string(audio->BufferSize()) + " frames per cycle");
    }
    if (!running) break;

    for (auto const& timed : score->Due(audio->Frames())) send(timed.text, timed.origin);
    if (inputIndex >= 0 && (fds[inputIndex].revents & (POLLIN | POLLHUP | POLLERR)) != 0) {
      readInput(inputFd, inputOpen);
    }
    if (oscIndex >= 0 && (fds[oscIndex].revents & POLLIN) != 0) osc->Receive(OscBatch);
  }
  report(code == JackExitSuccess ? "in all" : "before the server went away");
  xrunsAtEnd = audio->Xruns();
  audio.reset();
  return code;
}

std::string JackApp::ClientName() const {
  return audio ? audio->Name() : std::string();
}

std::vector<std::string> JackApp::InputPorts() const {
  return audio ? audio->InputPortNames() : std::vector<std::string>();
}

std::vector<std::string> JackApp::OutputPorts() const {
  return audio ? audio->OutputPortNames() : std::vector<std::string>();
}

jack_native_thread_t JackApp::ProcessThread() const {
  return audio->ProcessThread();
}

unsigned long long JackApp::Xruns() const {
  return audio ? audio->Xruns() : xrunsAtEnd;
}

int JackApp::OscPort() const {
  return osc ? osc->Port() : 0;
}

}  // namespace zorvjack
