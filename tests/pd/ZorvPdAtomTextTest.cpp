// Pd atoms as the facade's text: each atom reads back as the same atom, and
// a message reaches the object with the selector and values typed in Pd.

#include "ZorvPdAtomText.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <limits>
#include <string>
#include <vector>

#include "ZorvHost.h"

namespace {

// Pd's symbols come from gensym, which is Pd's; a test makes its own.
struct Symbol {
  explicit Symbol(char const* name) { symbol.s_name = name; }
  t_symbol symbol{};
};

t_atom floatAtom(t_float f) {
  t_atom a;
  a.a_type = A_FLOAT;
  a.a_w.w_float = f;
  return a;
}

t_atom symbolAtom(Symbol& s) {
  t_atom a;
  a.a_type = A_SYMBOL;
  a.a_w.w_symbol = &s.symbol;
  return a;
}

TEST(PdAtomText, WholeNumbersAreIntegerWords) {
  EXPECT_EQ(zorvpd::AtomText(floatAtom(30.f)), "30");
  EXPECT_EQ(zorvpd::AtomText(floatAtom(-100.f)), "-100");
  EXPECT_EQ(zorvpd::AtomText(floatAtom(-0.f)), "0");
  EXPECT_EQ(zorvpd::AtomText(floatAtom(16777216.f)), "16777216");
}

TEST(PdAtomText, OtherNumbersReadBackAsTheSameFloat) {
  std::vector<t_float> const values = {0.1f,
                                       0.7f,
                                       -0.3f,
                                       1.f / 3.f,
                                       1e-8f,
                                       2.5e-3f,
                                       3e38f,
                                       1e15f,
                                       -1e20f,
                                       123456.789f,
                                       std::numeric_limits<float>::denorm_min()};
  for (t_float v : values) {
    std::string const text = zorvpd::AtomText(floatAtom(v));
    EXPECT_EQ(std::strtof(text.c_str(), nullptr), v) << text;
    // A point or an exponent keeps the word a float, unless it is whole.
    if (v != std::trunc(v) || std::fabs(static_cast<double>(v)) >= 1e15) {
      EXPECT_NE(text.find_first_of(".e"), std::string::npos) << text;
    }
  }
  EXPECT_EQ(zorvpd::AtomText(floatAtom(0.1f)), "0.1");
}

TEST(PdAtomText, NonFiniteNumbersBecomeWords) {
  EXPECT_EQ(zorvpd::AtomText(floatAtom(std::numeric_limits<float>::infinity())), "inf");
  EXPECT_EQ(zorvpd::AtomText(floatAtom(-std::numeric_limits<float>::infinity())), "-inf");
  EXPECT_EQ(zorvpd::AtomText(floatAtom(std::numeric_limits<float>::quiet_NaN())), "nan");
}

TEST(PdAtomText, SymbolsThatWouldNotReadBackAreQuoted) {
  Symbol plain("aed"), number("30"), negative("-1"), spaced("two words"), empty(""),
      quote("say \"hi\"");
  EXPECT_EQ(zorvpd::AtomText(symbolAtom(plain)), "aed");
  EXPECT_EQ(zorvpd::AtomText(symbolAtom(number)), "\"30\"");
  EXPECT_EQ(zorvpd::AtomText(symbolAtom(negative)), "\"-1\"");
  EXPECT_EQ(zorvpd::AtomText(symbolAtom(spaced)), "\"two words\"");
  EXPECT_EQ(zorvpd::AtomText(symbolAtom(empty)), "\"\"");
  EXPECT_EQ(zorvpd::AtomText(symbolAtom(quote)), "\"say \\\"hi\\\"\"");
}

TEST(PdAtomText, MessageIsSelectorThenAtoms) {
  Symbol source("source"), aed("aed"), bang("bang");
  t_atom const atoms[] = {floatAtom(1.f), symbolAtom(aed), floatAtom(30.f), floatAtom(0.f),
                          floatAtom(2.5f)};
  EXPECT_EQ(zorvpd::MessageText(&source.symbol, 5, atoms), "source 1 aed 30 0 2.5");
  EXPECT_EQ(zorvpd::MessageText(&bang.symbol, 0, nullptr), "bang");
  EXPECT_EQ(zorvpd::AtomsText(2, atoms), "1 aed");
}

// Through the facade: the values an attribute takes are those typed in Pd,
// and a selector that looks like a number stays a selector.
TEST(PdAtomText, FacadeReadsTheTextAsPdTypedIt) {
  std::vector<zorvhost::ConsoleLine> lines;
  auto object =
      zorvhost::PanObject::Create("@numinputs 1 @numoutputs 4 @type vbap2d",
                                  [&lines](zorvhost::Severity s, std::string const& text) {
                                    lines.push_back({s, text});
                                  });
  ASSERT_NE(object, nullptr);
  Symbol interpolation("interpolationtime");
  t_atom const time = floatAtom(12.3f);
  object->SendMessage(zorvpd::MessageText(&interpolation.symbol, 1, &time));
  std::vector<std::string> const value = object->GetAttribute("interpolationtime");
  ASSERT_EQ(value.size(), 1u);
  EXPECT_EQ(std::strtof(value[0].c_str(), nullptr), 12.3f);

  Symbol number("30");
  lines.clear();
  object->SendMessage(zorvpd::MessageText(&number.symbol, 0, nullptr));
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].severity, zorvhost::Severity::Error);
  EXPECT_NE(lines[0].text.find("\"30\""), std::string::npos) << lines[0].text;
}

}  // namespace
