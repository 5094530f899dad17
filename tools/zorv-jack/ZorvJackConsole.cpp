#include "ZorvJackConsole.h"

#include <sstream>

#include "ZorvRenderConsole.h"

namespace zorvjack {
namespace {

char const* severityWord(ConsoleSeverity severity) {
  switch (severity) {
    case ConsoleSeverity::Warning:
      return "warning: ";
    case ConsoleSeverity::Error:
      return "error: ";
    case ConsoleSeverity::Bug:
      return "bug: ";
    case ConsoleSeverity::Post:
      break;
  }
  return "";
}

}  // namespace

Console::Console(std::ostream& out, bool quiet) : out(out), quiet(quiet) {}

void Console::SetOrigin(std::string const& newOrigin) {
  std::lock_guard<std::mutex> lock(mutex);
  origin = newOrigin;
}

void Console::Object(ConsoleSeverity severity, std::string const& text) {
  std::lock_guard<std::mutex> lock(mutex);
  std::istringstream lines(text);
  std::string line;
  bool any = false;
  while (std::getline(lines, line)) {
    print(zorvrender::FormatObjectLine(origin, severity, line));
    any = true;
  }
  if (!any) print(zorvrender::FormatObjectLine(origin, severity, ""));
}

void Console::Host(ConsoleSeverity severity, std::string const& text) {
  if (quiet && severity == ConsoleSeverity::Post) return;
  std::lock_guard<std::mutex> lock(mutex);
  print(std::string("zorv-jack: ") + severityWord(severity) + text);
}

void Console::Report(std::string const& text) {
  std::lock_guard<std::mutex> lock(mutex);
  print("zorv-jack: " + text);
}

void Console::print(std::string const& line) {
  out << line << '\n';
  out.flush();
}

}  // namespace zorvjack
