#include "ZorvJackOscServer.h"

#include <atomic>
#include <cstdint>
#include <cstring>
#include <mutex>
#include <vector>

namespace zorvjack {
namespace {

// liblo reports a bad datagram through a handler without context; the last
// one is kept for the message thread to say once.
std::atomic<int> malformed{0};
std::mutex lastErrorMutex;
std::string lastError;

void onLoError(int, char const* message, char const* where) {
  malformed.fetch_add(1);
  std::lock_guard<std::mutex> lock(lastErrorMutex);
  lastError = std::string(message != nullptr ? message : "error") +
              (where != nullptr ? std::string(" (") + where + ")" : std::string());
}

}  // namespace

OscServer::OscServer(int port, MessageFunction onMessage, NoteFunction onNote)
    : onMessage(std::move(onMessage)), onNote(std::move(onNote)) {
  std::string const portText = std::to_string(port);
  {
    std::lock_guard<std::mutex> lock(lastErrorMutex);
    lastError.clear();
  }
  server = lo_server_new_with_proto(portText.c_str(), LO_UDP, onLoError);
  if (server == nullptr) {
    std::lock_guard<std::mutex> lock(lastErrorMutex);
    throw std::runtime_error("cannot listen for OSC on UDP port " + portText +
                             (lastError.empty() ? std::string() : ": " + lastError) +
                             "; give another with --osc-port, or 0 for none");
  }
  malformed.store(0);
  lo_server_add_method(server, nullptr, nullptr, handler, this);
}

OscServer::~OscServer() {
  if (server != nullptr) lo_server_free(server);
}

int OscServer::Port() const {
  return lo_server_get_port(server);
}

int OscServer::Fd() const {
  return lo_server_get_socket_fd(server);
}

int OscServer::Receive(int maxMessages) {
  int handled = 0;
  while (handled < maxMessages && lo_server_recv_noblock(server, 0) > 0) ++handled;
  if (!malformedNoted && malformed.load() > 0) {
    malformedNoted = true;
    std::lock_guard<std::mutex> lock(lastErrorMutex);
    onNote("OSC: a datagram that is no OSC message was ignored (" + lastError +
           "); further ones are ignored without a word");
  }
  return handled;
}

int OscServer::handler(char const* path, char const* types, lo_arg** argv, int argc, lo_message,
                       void* self) {
  auto* server = static_cast<OscServer*>(self);
  std::vector<OscArgument> arguments(static_cast<std::size_t>(argc > 0 ? argc : 0));
  for (int k = 0; k < argc; ++k) {
    OscArgument& a = arguments[static_cast<std::size_t>(k)];
    a.type = types != nullptr ? types[k] : '?';
    // liblo's arguments point into the datagram, aligned to 4 bytes only:
    // they are copied out rather than read through the union.
    char const* const bytes = reinterpret_cast<char const*>(argv[k]);
    switch (a.type) {
      case 'i': {
        std::int32_t v = 0;
        std::memcpy(&v, bytes, sizeof(v));
        a.number = v;
        break;
      }
      case 'h': {
        std::int64_t v = 0;
        std::memcpy(&v, bytes, sizeof(v));
        a.number = static_cast<double>(v);
        break;
      }
      case 'f': {
        float v = 0.f;
        std::memcpy(&v, bytes, sizeof(v));
        a.number = v;
        break;
      }
      case 'd': {
        double v = 0.;
        std::memcpy(&v, bytes, sizeof(v));
        a.number = v;
        break;
      }
      case 's':
      case 'S':
        a.text = bytes;
        break;
      default:
        break;
    }
  }
  OscRouter::Result const result = server->router.Route(path != nullptr ? path : "", arguments);
  for (auto const& note : result.notes) server->onNote(note);
  if (!result.message.empty()) server->onMessage(result.message);
  return 0;
}

}  // namespace zorvjack
