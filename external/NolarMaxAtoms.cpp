#include "NolarMaxAtoms.h"

#include <cstdio>
#include <string>

namespace nolarmax {

bool CheckAtomsFormat(char const* pattern, t_atom const* atoms, unsigned int count) {
  if (pattern == nullptr) return true;
  for (unsigned int i = 0; pattern[i] != '\0'; ++i) {
    if (i >= count || atoms == nullptr) return false;
    short const type = atoms[i].a_type;
    switch (pattern[i]) {
      case 'f':
        if (type != A_FLOAT) return false;
        break;
      case 'i':
      case 'l':
        if (type != A_LONG) return false;
        break;
      case 'n':
        if (type != A_LONG && type != A_FLOAT) return false;
        break;
      case 's':
        if (type != A_SYM) return false;
        break;
      default:
        return false;
    }
  }
  return true;
}

float atom_getnumber(t_atom const* atom, float defaultValue) {
  if (atom == nullptr) return defaultValue;
  if (atom->a_type == A_LONG) return static_cast<float>(atom->a_w.w_long);
  if (atom->a_type == A_FLOAT) return static_cast<float>(atom->a_w.w_float);
  return defaultValue;
}

void post_error_message(t_object* x, long count, t_atom const* atoms, char const* text) {
  std::string list;
  char number[400];  // "%f" of the largest double
  for (long i = 0; i < count && atoms != nullptr; ++i) {
    t_atom const& a = atoms[i];
    if (a.a_type == A_LONG) {
      std::snprintf(number, sizeof number, "%ld ", static_cast<long>(a.a_w.w_long));
      list += number;
    } else if (a.a_type == A_FLOAT) {
      std::snprintf(number, sizeof number, "%f ", a.a_w.w_float);
      list += number;
    } else if (a.a_type == A_SYM && a.a_w.w_sym != nullptr) {
      list += a.a_w.w_sym->s_name;
      list += ' ';
    }
  }
  object_error(x, "%s : %s", text != nullptr ? text : "", list.c_str());
}

}  // namespace nolarmax
