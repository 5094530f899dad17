#include "ZorvJackOscRouter.h"

#include <cmath>
#include <cstdio>
#include <limits>

namespace zorvjack {
namespace {

bool isNumber(OscArgument const& argument) {
  char const t = argument.type;
  return t == 'i' || t == 'h' || t == 'f' || t == 'd';
}

bool isText(OscArgument const& argument) {
  return argument.type == 's' || argument.type == 'S';
}

// A number as the message grammar reads it back: integers as integers,
// floats with as many digits as they carry.
std::string numberText(OscArgument const& argument) {
  char text[64];
  if (argument.type == 'i' || argument.type == 'h') {
    std::snprintf(text, sizeof(text), "%lld", static_cast<long long>(argument.number));
  } else if (argument.type == 'f') {
    std::snprintf(text, sizeof(text), "%.9g", argument.number);
  } else {
    std::snprintf(text, sizeof(text), "%.17g", argument.number);
  }
  return text;
}

std::string typeTags(std::vector<OscArgument> const& arguments) {
  std::string tags = ",";
  for (auto const& argument : arguments) tags += argument.type != 0 ? argument.type : '?';
  return tags;
}

// "/a/b/c" as {"a", "b", "c"}; empty parts kept, so "//" never matches.
std::vector<std::string> split(std::string const& path) {
  std::vector<std::string> parts;
  if (path.empty() || path[0] != '/') return parts;
  std::size_t start = 1;
  while (true) {
    std::size_t const end = path.find('/', start);
    parts.push_back(path.substr(start, end == std::string::npos ? std::string::npos : end - start));
    if (end == std::string::npos) break;
    start = end + 1;
  }
  return parts;
}

// A source or speaker number: plain digits, few enough to be an int. Range
// checks are the object's.
bool isIndex(std::string const& text) {
  if (text.empty() || text.size() > 9) return false;
  for (char c : text) {
    if (c < '0' || c > '9') return false;
  }
  return true;
}

std::string trimmedIndex(std::string const& text) {
  std::size_t first = 0;
  while (first + 1 < text.size() && text[first] == '0') ++first;
  return text.substr(first);
}

}  // namespace

void OscRouter::noteOnce(Result& result, std::string const& key, std::string const& text) {
  if (silenced || answered.count(key) != 0) return;
  if (answered.size() >= MaxAnswered) {
    silenced = true;
    result.notes.push_back("OSC: " + std::to_string(MaxAnswered) +
                           " addresses answered; further unknown addresses and bad arguments "
                           "are ignored without a word");
    return;
  }
  answered.insert(key);
  result.notes.push_back(text);
}

OscRouter::Result OscRouter::Route(std::string const& path,
                                   std::vector<OscArgument> const& arguments) {
  Result result;
  std::vector<std::string> const parts = split(path);
  std::string const tags = typeTags(arguments);

  auto badArguments = [&](char const* expected) {
    noteOnce(result, path + " " + tags,
             "OSC " + path + " " + tags + ": ignored; it takes " + expected +
                 " (this is said once for these type tags)");
    return result;
  };
  auto numbers = [&](std::size_t count) {
    if (arguments.size() != count) return false;
    for (auto const& argument : arguments) {
      if (!isNumber(argument)) return false;
    }
    return true;
  };
  auto finite = [&]() {
    for (auto const& argument : arguments) {
      if (isNumber(argument) && !std::isfinite(argument.number)) return false;
    }
    return true;
  };
  auto join = [&](std::string text, std::size_t first) {
    for (std::size_t k = first; k < arguments.size(); ++k) text += " " + numberText(arguments[k]);
    return text;
  };

  if (parts.size() >= 2 && parts[0] == "zorv") {
    std::string const& what = parts[1];
    if (what == "message" && parts.size() == 2) {
      if (arguments.empty() || !isText(arguments[0])) {
        return badArguments("the message as text (,s), e.g. \"source 1 aed 30 0 2\"");
      }
      if (!finite()) return badArguments("finite numbers");
      std::string text;
      for (auto const& argument : arguments) {
        if (!isText(argument) && !isNumber(argument)) {
          return badArguments("text and numbers only");
        }
        if (!text.empty()) text += ' ';
        text += isText(argument) ? argument.text : numberText(argument);
      }
      result.message = text;
      return result;
    }
    if ((what == "source" || what == "speaker") && parts.size() == 4 && isIndex(parts[2]) &&
        (parts[3] == "aed" || parts[3] == "xyz")) {
      if (!numbers(3)) return badArguments("three numbers (,fff)");
      if (!finite()) return badArguments("finite numbers");
      result.message = join(what + " " + trimmedIndex(parts[2]) + " " + parts[3], 0);
      return result;
    }
    if (what == "listener" && parts.size() == 3 && parts[2] == "yaw") {
      if (!numbers(1)) return badArguments("one number, the yaw in degrees (,f)");
      if (!finite()) return badArguments("a finite number");
      result.message = join("listener yaw", 0);
      return result;
    }
    if (what == "listener" && parts.size() == 3 && parts[2] == "ypr") {
      if (!numbers(3)) return badArguments("yaw, pitch and roll in degrees (,fff)");
      if (!std::isfinite(arguments[0].number)) return badArguments("a finite yaw");
      if (!pitchAndRollNoted) {
        pitchAndRollNoted = true;
        result.notes.push_back(
            "OSC /zorv/listener/ypr: the object turns the listener by yaw only; pitch and roll "
            "are ignored");
      }
      result.message = "listener yaw " + numberText(arguments[0]);
      return result;
    }
    if (what == "mute" && parts.size() == 3 && isIndex(parts[2])) {
      bool const flag =
          arguments.size() == 1 && (arguments[0].type == 'T' || arguments[0].type == 'F');
      if (!flag && !numbers(1)) return badArguments("one number, 1 to mute and 0 to unmute (,i)");
      if (!flag && !finite()) return badArguments("a finite number");
      bool const muted = flag ? arguments[0].type == 'T' : arguments[0].number != 0.;
      result.message = "source " + trimmedIndex(parts[2]) + " mute " + (muted ? "1" : "0");
      return result;
    }
  }
  noteOnce(result, path,
           "OSC " + path +
               ": unknown address (this is said once); zorv-jack answers "
               "/zorv/message, /zorv/source/N/aed|xyz, /zorv/speaker/N/aed|xyz, "
               "/zorv/listener/yaw, /zorv/listener/ypr and /zorv/mute/N");
  return result;
}

}  // namespace zorvjack
