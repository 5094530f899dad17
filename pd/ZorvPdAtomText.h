#pragma once

// Pd atoms as the text that the facade reads: the box text of a new object and
// the text of a message. Uses Pd's types only, no Pd function.
//
// Threads: any; allocates (it builds strings), so never on the audio path.

#include <m_pd.h>

#include <string>

namespace zorvpd {

// One atom as a word the facade reads back as the same atom. Pd has floats
// only: a whole number becomes an integer word ("30"), as a Max message box
// hands it; any other number the shortest word that reads back as the same
// 32-bit float ("0.1", "1e+20"). A symbol that the facade would split or read
// as a number ("30", "two words", "") is quoted.
std::string AtomText(t_atom const& atom);

// The atoms as words separated by single spaces.
std::string AtomsText(int argc, t_atom const* argv);

// A message: the selector, then the atoms ("source 1 aed 30 0 2").
std::string MessageText(t_symbol const* selector, int argc, t_atom const* argv);

}  // namespace zorvpd
