#pragma once

// Small readers and reports over lists of atoms, shared by the objects of this
// family. Message side only; nothing here allocates except post_error_message,
// which builds one console line.

#include "ext.h"

namespace nolarmax {

// One letter per atom: f a float, i or l a long, n a long or a float, s a
// symbol. False if the pattern is longer than the count, if an atom differs,
// or on any other letter. An empty pattern is true; atoms past the pattern are
// not looked at.
bool CheckAtomsFormat(char const* pattern, t_atom const* atoms, unsigned int count);

// The atom's value as a float, or the default when it is neither a long nor a
// float.
float atom_getnumber(t_atom const* atom, float defaultValue);

// object_error "text : atoms", the atoms written one after another ("%ld " for
// a long, "%f " for a float, the symbol's text and a blank for a symbol).
void post_error_message(t_object* x, long count, t_atom const* atoms, char const* text);

}  // namespace nolarmax
