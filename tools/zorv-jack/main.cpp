#include <pthread.h>
#include <unistd.h>

#include <csignal>
#include <iostream>

#include "ZorvHost.h"
#include "ZorvJackApp.h"
#include "ZorvJackCommandLine.h"

namespace {

zorvjack::JackApp* running = nullptr;

// Writes one byte to the message thread's pipe: safe in a handler.
extern "C" void onStop(int) {
  if (running != nullptr) running->Stop();
}

extern "C" void onReport(int) {
  if (running != nullptr) running->RequestReport();
}

void handle(int signal, void (*handler)(int)) {
  struct sigaction action {};
  action.sa_handler = handler;
  sigemptyset(&action.sa_mask);
  action.sa_flags = SA_RESTART;
  sigaction(signal, &action, nullptr);
}

}  // namespace

int main(int argc, char** argv) {
  zorvjack::JackOptions options;
  int const code = zorvjack::ParseCommandLine(argc, argv, options, std::cout, std::cerr);
  if (code >= 0) return code;

  // The host's console goes to standard error; what the panners trace to
  // std::cerr only with --verbose.
  std::streambuf* const standardError =
      options.verbose ? std::cerr.rdbuf() : zorvhost::HideCppErrorStream();
  std::ostream console(standardError);

  zorvjack::JackApp app(options, console);
  running = &app;
  handle(SIGINT, onStop);
  handle(SIGTERM, onStop);
  handle(SIGUSR1, onReport);
  // Standard input closing is no reason to stop; a reader of our output
  // going away is no reason to die.
  std::signal(SIGPIPE, SIG_IGN);

  // JACK's threads, the audio thread among them, are made with these signals
  // blocked, so that they all land on the message thread.
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGINT);
  sigaddset(&signals, SIGTERM);
  sigaddset(&signals, SIGUSR1);
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  int const started = app.Start();
  pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
  if (started >= 0) return started;
  return app.Run(STDIN_FILENO);
}
