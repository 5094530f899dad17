#include "ZorvPdAtomText.h"

#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace zorvpd {

namespace {

// Whole numbers up to this size print exactly as integers; larger ones take
// the float form, whose exponent keeps them floats.
constexpr double largestIntegerWord = 1e15;

std::string floatText(t_float value) {
  double const v = value;
  if (std::isnan(v)) return "nan";
  if (std::isinf(v)) return v > 0 ? "inf" : "-inf";
  char buffer[64];
  if (v == std::trunc(v) && std::fabs(v) < largestIntegerWord) {
    std::snprintf(buffer, sizeof buffer, "%.0f", v == 0. ? 0. : v);
    return buffer;
  }
  for (int precision = 6; precision <= 9; ++precision) {
    std::snprintf(buffer, sizeof buffer, "%.*g", precision, v);
    if (std::strtof(buffer, nullptr) == value) break;
  }
  std::string text(buffer);
  if (text.find_first_of(".e") == std::string::npos) text += '.';
  return text;
}

bool needsQuotes(char const* name) {
  if (name[0] == '\0' || std::strchr("0123456789+-.", name[0]) != nullptr) return true;
  for (char const* c = name; *c != '\0'; ++c) {
    if (*c == '"' || *c == '\\' || std::isspace(static_cast<unsigned char>(*c))) return true;
  }
  return false;
}

std::string symbolText(t_symbol const* symbol) {
  char const* name = symbol != nullptr && symbol->s_name != nullptr ? symbol->s_name : "";
  if (!needsQuotes(name)) return name;
  std::string text = "\"";
  for (char const* c = name; *c != '\0'; ++c) {
    if (*c == '"' || *c == '\\') text += '\\';
    text += *c;
  }
  text += '"';
  return text;
}

}  // namespace

std::string AtomText(t_atom const& atom) {
  switch (atom.a_type) {
    case A_FLOAT:
      return floatText(atom.a_w.w_float);
    case A_SYMBOL:
      return symbolText(atom.a_w.w_symbol);
    case A_POINTER:
      return "pointer";
    default:
      // Separators and unresolved dollars do not reach an object's methods.
      return "\"\"";
  }
}

std::string AtomsText(int argc, t_atom const* argv) {
  std::string text;
  for (int i = 0; i < argc && argv != nullptr; ++i) {
    if (i > 0) text += ' ';
    text += AtomText(argv[i]);
  }
  return text;
}

std::string MessageText(t_symbol const* selector, int argc, t_atom const* argv) {
  std::string text = symbolText(selector);
  if (argc > 0) text += ' ' + AtomsText(argc, argv);
  return text;
}

}  // namespace zorvpd
