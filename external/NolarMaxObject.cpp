#include "NolarMaxObject.h"

#include <cstddef>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace nolarmax {

namespace {

// Opaque to the user for both get and set.
long const documentationFlags = ATTR_GET_OPAQUE_USER | ATTR_SET_OPAQUE_USER;

void addDocumentation(t_class* c, char const* name, long offset, t_symbol* label) {
  class_addattr(c,
                attr_offset_new(name, _sym_symbol, documentationFlags, nullptr, nullptr, offset));
  class_attr_addattr_format(c, name, "label", _sym_symbol, 0, "s", label);
  class_attr_addattr_parse(c, name, "invisible", _sym_long, 0, "1");
  class_attr_addattr_parse(c, name, "category", _sym_symbol, 0, "documentation");
}

void addOption(t_class* c, char const* name, long offset, char const* label,
               char const* description) {
  t_object* attr = attr_offset_new(name, _sym_long, 0, nullptr, nullptr, offset);
  class_addattr(c, attr);
  attr_addfilter_clip(attr, 0, 1, 1, 1);
  class_attr_addattr_parse(c, name, "maxvalue", _sym_long, 0, "1");
  class_attr_addattr_parse(c, name, "minvalue", _sym_long, 0, "0");
  class_attr_addattr_parse(c, name, "default", _sym_long, 0, "0");
  class_attr_addattr_parse(c, name, "style", _sym_symbol, 0, "onoff");
  class_attr_addattr_parse(c, name, "category", _sym_symbol, 0, "options");
  class_attr_addattr_format(c, name, "label", _sym_symbol, 0, "s", gensym(label));
  class_attr_addattr_format(c, name, "description", _sym_symbol, 0, "s", gensym(description));
}

}  // namespace

void AddDocumentationAndOptionAttributes(t_class* c, char const* digest, char const* description,
                                         int major, int minor, int patch, char const* buildDate,
                                         char const* seeAlso) {
  common_symbols_init();
  char version[128];
  std::snprintf(version, sizeof version, "%d.%d.%d (Build %s)", major, minor, patch, buildDate);
  addDocumentation(c, "classdigest", offsetof(_NolarMspObject, classdigest), gensym(digest));
  addDocumentation(c, "classdescription", offsetof(_NolarMspObject, classdescription),
                   gensym(description));
  addDocumentation(c, "externalversion", offsetof(_NolarMspObject, externalversion),
                   gensym(version));
  addOption(c, "mute", offsetof(_NolarMspObject, mute), "mute dsp",
            "enables/disables signal processing. ensures zero signals out when muted");
  addOption(c, "bypass", offsetof(_NolarMspObject, bypass), "bypass dsp",
            "bypasses signal processing. behavior depends on the number of inlets/outlets");
  addDocumentation(c, "classseealso", offsetof(_NolarMspObject, classseealso), gensym(seeAlso));
}

bool attr_dictionary_process_long(t_object* x, t_dictionary* d, t_symbol* key) {
  if (!dictionary_hasentry(d, key)) {
    object_error(x, "dictionary dont have entry for %s", key->s_name);
    return false;
  }
  t_atom_long value = 0;
  if (dictionary_getlong(d, key, &value) != MAX_ERR_NONE) {
    object_error(x, "error getting long value from dict for entry %s", key->s_name);
    return false;
  }
  t_atom a;
  atom_setlong(&a, value);
  object_attr_setvalueof(x, key, 1, &a);
  return true;
}

bool attr_dictionary_process_sym(t_object* x, t_dictionary* d, t_symbol* key) {
  if (!dictionary_hasentry(d, key)) {
    object_error(x, "dictionary dont have entry for %s", key->s_name);
    return false;
  }
  t_symbol* value = nullptr;
  if (dictionary_getsym(d, key, &value) != MAX_ERR_NONE) {
    object_error(x, "error getting sym value from dict for entry \"%s\"", key->s_name);
    return false;
  }
  t_atom a;
  atom_setsym(&a, value);
  object_attr_setvalueof(x, key, 1, &a);
  return true;
}

t_max_err ResetAttributeToDefault(t_object* x, t_symbol* name, bool notify, bool useSetter) {
  long argc = 0;
  t_atom* argv = nullptr;
  if (object_attr_attr_getvalueof(x, name, _sym_default, &argc, &argv) != MAX_ERR_NONE) {
    return MAX_ERR_GENERIC;
  }
  t_max_err err = MAX_ERR_NONE;
  if (useSetter) err = object_attr_setvalueof(x, name, argc, argv);
  sysmem_freeptr(argv);
  if (notify) NotifyChange(reinterpret_cast<_NolarMspObject*>(x));
  return err;
}

void CreateDspInletsAndOutlets(_NolarMspObject* x, long numInputs, long numOutputs,
                               bool noInPlace) {
  z_dsp_setup(&x->ob, numInputs);
  for (long i = 0; i < numOutputs; ++i) outlet_new(x, "signal");
  if (noInPlace) x->ob.z_misc = Z_NO_INPLACE;
}

void RemoveFromDspChain(_NolarMspObject* x) {
  z_dsp_free(&x->ob);
}

bool FindFile(char const* name, char* fullPath, long fullPathSize) {
  if (fullPath == nullptr || fullPathSize < 1) return false;
  fullPath[0] = '\0';
  if (name == nullptr) return false;
  char file[MAX_PATH_CHARS];
  std::snprintf(file, sizeof file, "%s", name);
  short path = 0;
  t_fourcc type = 0;
  if (locatefile_extended(file, &path, &type, nullptr, 0) != 0) return false;
  char full[MAX_PATH_CHARS];
  if (path_toabsolutesystempath(path, file, full) != 0) return false;
  if (static_cast<long>(std::strlen(full)) >= fullPathSize) return false;
  std::memcpy(fullPath, full, std::strlen(full) + 1);
  return true;
}

void postversion(_NolarMspObject* x) {
  long argc = 0;
  t_atom* argv = nullptr;
  auto* ob = reinterpret_cast<t_object*>(x);
  if (object_attr_attr_getvalueof(ob, gensym("externalversion"), _sym_label, &argc, &argv) ==
      MAX_ERR_NONE) {
    if (argc > 0) {
      object_post(ob, "%s version %s", object_classname(ob)->s_name, atom_getsym(argv)->s_name);
    }
    sysmem_freeptr(argv);
  }
}

void postdspstatus(_NolarMspObject* x) {
  auto* ob = reinterpret_cast<t_object*>(x);
  if (x->mute == 1 || x->ob.z_disabled != 0) {
    object_post(ob, "dsp processing is muted");
  } else if (x->bypass == 1) {
    object_post(ob, "dsp processing is bypassed");
  } else {
    object_post(ob, "dsp processing is enabled");
  }
}

namespace {

bool userSees(t_object* x, t_symbol* name) {
  long argc = 0;
  t_atom* argv = nullptr;
  bool invisible = false;
  if (object_attr_attr_getvalueof(x, name, _sym_invisible, &argc, &argv) == MAX_ERR_NONE) {
    invisible = argc > 0 && atom_getlong(argv) != 0;
    sysmem_freeptr(argv);
  }
  return !invisible;
}

// The names of the attributes the user sees, in the order of registration.
std::vector<t_symbol*> visibleAttributes(t_object* x) {
  std::vector<t_symbol*> names;
  long argc = 0;
  t_symbol** argv = nullptr;
  if (object_attr_getnames(x, &argc, &argv) != MAX_ERR_NONE) return names;
  long const opaque =
      ATTR_GET_OPAQUE | ATTR_SET_OPAQUE | ATTR_GET_OPAQUE_USER | ATTR_SET_OPAQUE_USER;
  for (long i = 0; i < argc; ++i) {
    if ((object_attr_getflags(x, argv[i]) & opaque) == 0 && userSees(x, argv[i])) {
      names.push_back(argv[i]);
    }
  }
  sysmem_freeptr(argv);
  return names;
}

std::vector<t_atom> valueOf(t_object* x, t_symbol* name) {
  long argc = 0;
  t_atom* argv = nullptr;
  std::vector<t_atom> values;
  if (object_attr_getvalueof(x, name, &argc, &argv) == MAX_ERR_NONE) {
    values.assign(argv, argv + argc);
    sysmem_freeptr(argv);
  }
  return values;
}

}  // namespace

void postattributes(_NolarMspObject* x, t_symbol*, long argc, t_atom* argv) {
  auto* ob = reinterpret_cast<t_object*>(x);
  std::vector<t_symbol*> names;
  if (argc > 0 && argv != nullptr && argv[0].a_type == A_SYM) {
    if (object_attr_get(ob, argv[0].a_w.w_sym) == nullptr) {
      object_error(ob, "unknown attribute %s", argv[0].a_w.w_sym->s_name);
      return;
    }
    names.push_back(argv[0].a_w.w_sym);
  } else {
    names = visibleAttributes(ob);
  }
  for (t_symbol* name : names) {
    std::vector<t_atom> values = valueOf(ob, name);
    long size = 0;
    char* text = nullptr;
    atom_gettext(static_cast<long>(values.size()), values.data(), &size, &text, 0);
    object_post(ob, "%s : %s", name->s_name, text != nullptr ? text : "");
    sysmem_freeptr(text);
  }
}

t_max_err nolarmax_getvalueof(_NolarMspObject* x, long* argc, t_atom** argv) {
  if (argc == nullptr || argv == nullptr) return MAX_ERR_INVALID_PTR;
  auto* ob = reinterpret_cast<t_object*>(x);
  std::vector<t_atom> list;
  for (t_symbol* name : visibleAttributes(ob)) {
    std::vector<t_atom> values = valueOf(ob, name);
    t_atom head[2];
    atom_setsym(head, name);
    atom_setlong(head + 1, static_cast<t_atom_long>(values.size()));
    list.insert(list.end(), head, head + 2);
    list.insert(list.end(), values.begin(), values.end());
  }
  if (*argv == nullptr || *argc <= 0) {
    *argv = static_cast<t_atom*>(
        sysmem_newptr(static_cast<long>((list.empty() ? 1 : list.size()) * sizeof(t_atom))));
    *argc = static_cast<long>(list.size());
  } else if (*argc > static_cast<long>(list.size())) {
    *argc = static_cast<long>(list.size());
  }
  for (long i = 0; i < *argc; ++i) (*argv)[i] = list[static_cast<std::size_t>(i)];
  return MAX_ERR_NONE;
}

t_max_err nolarmax_setvalueof(_NolarMspObject* x, long argc, t_atom* argv) {
  if (argv == nullptr) return argc > 0 ? MAX_ERR_INVALID_PTR : MAX_ERR_NONE;
  auto* ob = reinterpret_cast<t_object*>(x);
  long i = 0;
  // A malformed group ends the list; the groups before it are applied.
  while (i + 1 < argc && argv[i].a_type == A_SYM && argv[i + 1].a_type == A_LONG) {
    t_symbol* name = argv[i].a_w.w_sym;
    t_atom_long const count = argv[i + 1].a_w.w_long;
    if (count < 0 || count > argc - i - 2) return MAX_ERR_GENERIC;
    if (object_attr_get(ob, name) != nullptr) {
      object_attr_setvalueof(ob, name, static_cast<long>(count), argv + i + 2);
    }
    i += 2 + static_cast<long>(count);
  }
  return i == argc ? MAX_ERR_NONE : MAX_ERR_GENERIC;
}

namespace {

struct MessageEntry {
  std::string name;
  short type;
};

std::mutex& messagesMutex() {
  static std::mutex m;
  return m;
}

// The messages of every class, in order of registration; as long-lived as
// the classes.
std::map<t_class*, std::vector<MessageEntry>>& classMessages() {
  static auto* messages = new std::map<t_class*, std::vector<MessageEntry>>();
  return *messages;
}

std::string xmlEscaped(std::string const& text) {
  std::string out;
  for (char c : text) {
    switch (c) {
      case '&':
        out += "&amp;";
        break;
      case '<':
        out += "&lt;";
        break;
      case '>':
        out += "&gt;";
        break;
      case '"':
        out += "&quot;";
        break;
      default:
        out += c;
    }
  }
  return out;
}

std::string atomsText(std::vector<t_atom> const& values) {
  long size = 0;
  char* text = nullptr;
  atom_gettext(static_cast<long>(values.size()), values.data(), &size, &text, 0);
  std::string result = text != nullptr ? text : "";
  sysmem_freeptr(text);
  return result;
}

// A property of an attribute as text; "" when it has none.
std::string propertyText(t_object* x, t_symbol* name, char const* property) {
  long argc = 0;
  t_atom* argv = nullptr;
  if (object_attr_attr_getvalueof(x, name, gensym(property), &argc, &argv) != MAX_ERR_NONE) {
    return "";
  }
  std::string const text = atomsText(std::vector<t_atom>(argv, argv + argc));
  sysmem_freeptr(argv);
  return text;
}

char const* argumentsOf(short type) {
  switch (type) {
    case A_SYM:
    case A_DEFSYM:
      return "symbol";
    case A_LONG:
    case A_DEFLONG:
      return "int";
    case A_FLOAT:
    case A_DEFFLOAT:
      return "float";
    case A_GIMME:
      return "list";
    default:
      return "";
  }
}

}  // namespace

void AddMessage(t_class* c, char const* name, method routine, short type) {
  class_addmethod(c, routine, name, type, 0);
  std::lock_guard<std::mutex> lock(messagesMutex());
  std::vector<MessageEntry>& entries = classMessages()[c];
  for (MessageEntry& entry : entries) {
    if (entry.name == name) {
      entry.type = type;
      return;
    }
  }
  entries.push_back(MessageEntry{name, type});
}

void generatexml(_NolarMspObject* x) {
  auto* ob = reinterpret_cast<t_object*>(x);
  std::string const className = object_classname(ob)->s_name;
  std::string const fileName = className + ".maxref.xml";
  std::ofstream out(fileName);
  out << "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n";
  out << "<reference name=\"" << xmlEscaped(className) << "\" version=\""
      << xmlEscaped(propertyText(ob, gensym("externalversion"), "label")) << "\">\n";
  out << "  <digest>" << xmlEscaped(propertyText(ob, gensym("classdigest"), "label"))
      << "</digest>\n";
  out << "  <description>" << xmlEscaped(propertyText(ob, gensym("classdescription"), "label"))
      << "</description>\n";
  out << "  <seealso>" << xmlEscaped(propertyText(ob, gensym("classseealso"), "label"))
      << "</seealso>\n";

  std::vector<MessageEntry> messages;
  {
    std::lock_guard<std::mutex> lock(messagesMutex());
    auto found = classMessages().find(ob->o_messlist);
    if (found != classMessages().end()) messages = found->second;
  }
  out << "  <messages>\n";
  for (MessageEntry const& m : messages) {
    if (m.type == A_CANT) continue;  // the host's own calls, not messages
    out << "    <message name=\"" << xmlEscaped(m.name) << "\" arguments=\"" << argumentsOf(m.type)
        << "\"/>\n";
  }
  out << "  </messages>\n";

  out << "  <attributes>\n";
  for (t_symbol* name : visibleAttributes(ob)) {
    out << "    <attribute name=\"" << xmlEscaped(name->s_name) << "\" type=\""
        << xmlEscaped(propertyText(ob, name, "type")) << "\" size=\""
        << xmlEscaped(propertyText(ob, name, "size")) << "\"";
    for (char const* property :
         {"minvalue", "maxvalue", "default", "units", "style", "enumvals", "category"}) {
      std::string const value = propertyText(ob, name, property);
      if (!value.empty()) out << " " << property << "=\"" << xmlEscaped(value) << "\"";
    }
    out << ">\n";
    out << "      <label>" << xmlEscaped(propertyText(ob, name, "label")) << "</label>\n";
    std::string const description = propertyText(ob, name, "description");
    if (!description.empty()) {
      out << "      <description>" << xmlEscaped(description) << "</description>\n";
    }
    out << "    </attribute>\n";
  }
  out << "  </attributes>\n";
  out << "</reference>\n";
  out.close();
  if (!out) {
    object_error(ob, "couldnt write %s", fileName.c_str());
    return;
  }
  object_post(ob, "wrote %s", fileName.c_str());
}

void nolarmax_preset(_NolarMspObject* x) {
  long argc = 0;
  t_atom* argv = nullptr;
  if (nolarmax_getvalueof(x, &argc, &argv) != MAX_ERR_NONE) return;
  preset_store_atoms(reinterpret_cast<t_object*>(x), argc, argv);
  sysmem_freeptr(argv);
}

void nolarmax_recallpreset(_NolarMspObject* x, t_symbol*, long argc, t_atom* argv) {
  auto* ob = reinterpret_cast<t_object*>(x);
  if (argc > 0 && argv != nullptr) {
    if (nolarmax_setvalueof(x, argc, argv) != MAX_ERR_NONE) {
      object_error(ob, "recallpreset: the list is not \"name count values...\" throughout");
    }
    return;
  }
  long count = 0;
  t_atom* stored = nullptr;
  if (preset_recall_atoms(ob, &count, &stored) != MAX_ERR_NONE) {
    object_error(ob, "recallpreset: no preset stored");
    return;
  }
  nolarmax_setvalueof(x, count, stored);
  sysmem_freeptr(stored);
}

void NotifyChange(_NolarMspObject* x) {
  if (x != nullptr && x->box != nullptr) object_notify(x->box, _sym_modified, nullptr);
}

}  // namespace nolarmax

void nolarmax_common_symbols_init(void) {
  common_symbols_init();
}
