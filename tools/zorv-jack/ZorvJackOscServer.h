#pragma once

#include <lo/lo.h>

#include <functional>
#include <stdexcept>
#include <string>

#include "ZorvJackOscRouter.h"

namespace zorvjack {

// Listens for OSC on a UDP port and hands what the router makes of each
// message to the message thread, which polls Fd() and calls Receive.
//
// Threads: the message thread only; liblo runs no thread of its own here.
class OscServer {
 public:
  using MessageFunction = std::function<void(std::string const& message)>;
  using NoteFunction = std::function<void(std::string const& note)>;

  // Throws std::runtime_error when the port cannot be had.
  OscServer(int port, MessageFunction onMessage, NoteFunction onNote);
  ~OscServer();
  OscServer(OscServer const&) = delete;
  OscServer& operator=(OscServer const&) = delete;

  int Port() const;
  int Fd() const;
  // Handles the datagrams waiting, at most maxMessages of them; returns how
  // many it handled (0: none was waiting).
  int Receive(int maxMessages);

 private:
  static int handler(char const* path, char const* types, lo_arg** argv, int argc,
                     lo_message message, void* self);

  lo_server server = nullptr;
  MessageFunction onMessage;
  NoteFunction onNote;
  OscRouter router;
  bool malformedNoted = false;
};

}  // namespace zorvjack
