#pragma once

#include <cstddef>
#include <string>
#include <unordered_set>
#include <vector>

namespace zorvjack {

// One argument of an OSC message: its type tag, and its value as a number
// (tags i h f d) or as text (tags s S). Other tags carry no value here.
struct OscArgument {
  char type = 0;
  double number = 0.;
  std::string text;
};

// Turns OSC messages into the object's messages, as typed in a message box:
//
//   /zorv/message ,s "source 1 aed 30 0 2"  the text itself (several atoms,
//                                            strings and numbers, are joined)
//   /zorv/source/N/aed fff                  source N aed A E D
//   /zorv/source/N/xyz fff                  source N xyz X Y Z
//   /zorv/speaker/N/aed fff, .../xyz fff    speaker N aed A E D, ...
//   /zorv/listener/yaw f                    listener yaw Y
//   /zorv/listener/ypr fff                  listener yaw Y (pitch and roll are
//                                            not used by the object)
//   /zorv/mute/N i                          source N mute 0|1
//
// Numbers may come as any of i h f d. An address it does not know, or known
// arguments of the wrong kind or count, or a number that is not finite, make
// no message: the first time for each address (and type tags) a note says
// why, so that a controller sending a stream of them is answered once.
//
// Threads: the message thread only. Allocates (it works on text).
class OscRouter {
 public:
  struct Result {
    std::string message;             // empty: nothing to send
    std::vector<std::string> notes;  // lines for the console, warnings
  };

  // How many distinct addresses are answered before the router falls silent.
  static constexpr std::size_t MaxAnswered = 256;

  Result Route(std::string const& path, std::vector<OscArgument> const& arguments);

 private:
  void noteOnce(Result& result, std::string const& key, std::string const& text);

  std::unordered_set<std::string> answered;
  bool silenced = false;
  bool pitchAndRollNoted = false;
};

}  // namespace zorvjack
