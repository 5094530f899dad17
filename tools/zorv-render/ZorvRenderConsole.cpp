#include "ZorvRenderConsole.h"

#include <cstdio>
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

// Distinct lines counted for repeats; past this many, new lines are shown
// without being counted, so that the memory stays bounded.
constexpr size_t countedLines = 4096;

// The length of the UTF-8 sequence at text[at] that is printable, or 0.
size_t printableSequence(std::string const& text, size_t at) {
  auto const byte = [&](size_t i) { return static_cast<unsigned char>(text[i]); };
  unsigned char const lead = byte(at);
  size_t length = 0;
  if (lead >= 0xC2 && lead <= 0xDF) {
    length = 2;
  } else if (lead >= 0xE0 && lead <= 0xEF) {
    length = 3;
  } else if (lead >= 0xF0 && lead <= 0xF4) {
    length = 4;
  } else {
    return 0;
  }
  if (at + length > text.size()) {
    return 0;
  }
  for (size_t i = 1; i < length; ++i) {
    if ((byte(at + i) & 0xC0) != 0x80) {
      return 0;
    }
  }
  // U+0080 to U+009F are the C1 controls.
  if (lead == 0xC2 && byte(at + 1) < 0xA0) {
    return 0;
  }
  return length;
}

}  // namespace

std::string EscapeControlCharacters(std::string const& text) {
  std::string escaped;
  escaped.reserve(text.size());
  size_t at = 0;
  while (at < text.size()) {
    auto const c = static_cast<unsigned char>(text[at]);
    if (c >= 0x20 && c < 0x7F) {
      escaped += static_cast<char>(c);
      ++at;
      continue;
    }
    size_t const length = c >= 0x80 ? printableSequence(text, at) : 0;
    if (length > 0) {
      escaped.append(text, at, length);
      at += length;
      continue;
    }
    char hex[8];
    std::snprintf(hex, sizeof(hex), "\\x%02X", c);
    escaped += hex;
    ++at;
  }
  return escaped;
}

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
  while (std::getline(lines, line) || !any) {
    any = true;
    if (severity != ConsoleSeverity::Post) {
      std::string const key = FormatObjectLine("", severity, line);
      auto found = seen.find(key);
      if (found == seen.end() && seen.size() < countedLines) {
        found = seen.emplace(key, 0).first;
        seenOrder.push_back(key);
      }
      if (found != seen.end() && ++found->second > ShownRepeats) {
        continue;
      }
    }
    print(FormatObjectLine(origin, severity, line));
  }
}

void Console::FlushRepeats() {
  for (auto const& key : seenOrder) {
    unsigned long long& count = seen[key];
    if (count > ShownRepeats) {
      print(key + " ... repeated " + std::to_string(count - ShownRepeats) + " more times");
    }
    count = 0;
  }
}

void Console::Renderer(ConsoleSeverity severity, std::string const& text) {
  print(std::string("zorv-render: ") + severityWord(severity) + text);
}

void Console::print(std::string const& line) {
  if (progress != nullptr) {
    progress->Clear();
  }
  out << EscapeControlCharacters(line) << '\n';
  out.flush();
  if (progress != nullptr) {
    progress->Redraw();
  }
}

}  // namespace zorvrender
