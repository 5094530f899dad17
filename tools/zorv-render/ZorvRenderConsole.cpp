#include "ZorvRenderConsole.h"

#include <sstream>

#include "ZorvRenderProgress.h"

namespace zorvrender {
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

std::string FormatObjectLine(std::string const& origin, ConsoleSeverity severity,
                             std::string const& text) {
  std::string line;
  if (!origin.empty()) {
    line = origin + ": ";
  }
  // Some host texts start with the object's name already ("zorv.pan~: doesn't
  // understand ..."); the line names it once.
  std::string const name = "zorv.pan~: ";
  bool const named = text.compare(0, name.size(), name) == 0;
  return line + name + severityWord(severity) + (named ? text.substr(name.size()) : text);
}

Console::Console(std::ostream& out) : out(out) {}

void Console::Object(ConsoleSeverity severity, std::string const& text) {
  if (severity == ConsoleSeverity::Error || severity == ConsoleSeverity::Bug) {
    ++objectErrors;
  }
  std::istringstream lines(text);
  std::string line;
  bool any = false;
  while (std::getline(lines, line)) {
    print(FormatObjectLine(origin, severity, line));
    any = true;
  }
  if (!any) {
    print(FormatObjectLine(origin, severity, ""));
  }
}

void Console::Renderer(ConsoleSeverity severity, std::string const& text) {
  print(std::string("zorv-render: ") + severityWord(severity) + text);
}

void Console::print(std::string const& line) {
  if (progress != nullptr) {
    progress->Clear();
  }
  out << line << '\n';
  out.flush();
  if (progress != nullptr) {
    progress->Redraw();
  }
}

}  // namespace zorvrender
