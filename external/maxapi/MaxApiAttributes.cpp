// Attributes, their properties and filters, and dictionaries.

#include <cmath>
#include <cstdarg>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "MaxApiHost.h"

namespace {

maxapi_class attributeClass{nullptr, 0, maxapi_kind_attribute, nullptr};
maxapi_class dictionaryClass{nullptr, 0, maxapi_kind_dictionary, nullptr};

maxapi_attr* asAttr(void* x) {
  auto* ob = static_cast<t_object*>(x);
  if (ob == nullptr || ob->o_messlist != &attributeClass) return nullptr;
  return reinterpret_cast<maxapi_attr*>(ob);
}

maxapi_dictionary* asDictionary(void const* d) {
  auto* ob = static_cast<t_object const*>(d);
  if (ob == nullptr || ob->o_messlist != &dictionaryClass) return nullptr;
  return reinterpret_cast<maxapi_dictionary*>(const_cast<t_object*>(ob));
}

bool isInstance(void* x) {
  auto* ob = static_cast<t_object*>(x);
  return ob != nullptr && ob->o_messlist != nullptr && ob->o_messlist->c_kind == maxapi_kind_class;
}

maxapi_attr* newAttr(char const* name, t_symbol const* type, long flags, method mget, method mset,
                     long offset, long size, long offsetcount) {
  common_symbols_init();
  auto* attr = new maxapi_attr();
  attr->ob.o_messlist = &attributeClass;
  attr->ob.o_host = nullptr;
  attr->name = gensym(name);
  attr->type = const_cast<t_symbol*>(type != nullptr ? type : _sym_long);
  attr->flags = flags;
  attr->getter = mget;
  attr->setter = mset;
  attr->offset = offset;
  attr->size = size < 1 ? 1 : size;
  attr->offsetcount = offsetcount;
  attr->clip = false;
  attr->clipmin = 0.;
  attr->clipmax = 0.;
  attr->usemin = 0;
  attr->usemax = 0;
  return attr;
}

void setProperty(maxapi_attr* attr, t_symbol* property, std::vector<t_atom> values) {
  for (auto& entry : attr->properties) {
    if (entry.first == property) {
      entry.second = std::move(values);
      return;
    }
  }
  attr->properties.emplace_back(property, std::move(values));
}

std::vector<t_atom> formatAtoms(char const* fmt, va_list args) {
  std::vector<t_atom> values;
  for (char const* f = fmt; f != nullptr && *f != '\0'; ++f) {
    t_atom a;
    switch (*f) {
      case 'l':
      case 'i':
        atom_setlong(&a, va_arg(args, t_atom_long));
        break;
      case 'f':
      case 'd':
        atom_setfloat(&a, va_arg(args, double));
        break;
      case 's':
        atom_setsym(&a, va_arg(args, t_symbol*));
        break;
      default:
        continue;
    }
    values.push_back(a);
  }
  return values;
}

char* fieldOf(void* x, maxapi_attr const* attr) {
  return static_cast<char*>(x) + attr->offset;
}

long elementCount(void* x, maxapi_attr const* attr) {
  if (attr->offsetcount < 0) return 1;
  t_atom_long n = 0;
  std::memcpy(&n, static_cast<char*>(x) + attr->offsetcount, sizeof n);
  if (n < 0) return 0;
  return n > attr->size ? attr->size : static_cast<long>(n);
}

// The plain setter: writes the field (or fields) by the attribute's type.
t_max_err plainSet(void* x, maxapi_attr const* attr, long argc, t_atom const* argv) {
  if (argc <= 0 || argv == nullptr) return MAX_ERR_NONE;
  long const n = attr->offsetcount < 0 ? 1 : (argc < attr->size ? argc : attr->size);
  char* field = fieldOf(x, attr);
  for (long i = 0; i < n; ++i) {
    t_atom const* a = argv + i;
    if (attr->type == _sym_long) {
      t_atom_long const v = atom_getlong(a);
      std::memcpy(field + i * static_cast<long>(sizeof v), &v, sizeof v);
    } else if (attr->type == _sym_float32) {
      float const v = static_cast<float>(atom_getfloat(a));
      std::memcpy(field + i * static_cast<long>(sizeof v), &v, sizeof v);
    } else if (attr->type == _sym_float64) {
      double const v = atom_getfloat(a);
      std::memcpy(field + i * static_cast<long>(sizeof v), &v, sizeof v);
    } else if (attr->type == _sym_symbol) {
      t_symbol* const v = atom_getsym(a);
      std::memcpy(field + i * static_cast<long>(sizeof v), &v, sizeof v);
    } else if (attr->type == _sym_char) {
      char const v = static_cast<char>(atom_getlong(a));
      field[i] = v;
    } else if (attr->type == _sym_atom) {
      std::memcpy(field + i * static_cast<long>(sizeof(t_atom)), a, sizeof(t_atom));
    }
  }
  if (attr->offsetcount >= 0) {
    t_atom_long const count = n;
    std::memcpy(static_cast<char*>(x) + attr->offsetcount, &count, sizeof count);
  }
  return MAX_ERR_NONE;
}

std::vector<t_atom> plainGet(void* x, maxapi_attr const* attr) {
  long const n = elementCount(x, attr);
  std::vector<t_atom> values(static_cast<std::size_t>(n));
  char const* field = fieldOf(x, attr);
  for (long i = 0; i < n; ++i) {
    t_atom* a = &values[static_cast<std::size_t>(i)];
    if (attr->type == _sym_long) {
      t_atom_long v;
      std::memcpy(&v, field + i * static_cast<long>(sizeof v), sizeof v);
      atom_setlong(a, v);
    } else if (attr->type == _sym_float32) {
      float v;
      std::memcpy(&v, field + i * static_cast<long>(sizeof v), sizeof v);
      atom_setfloat(a, v);
    } else if (attr->type == _sym_float64) {
      double v;
      std::memcpy(&v, field + i * static_cast<long>(sizeof v), sizeof v);
      atom_setfloat(a, v);
    } else if (attr->type == _sym_symbol) {
      t_symbol* v;
      std::memcpy(&v, field + i * static_cast<long>(sizeof v), sizeof v);
      atom_setsym(a, v != nullptr ? v : _sym_nothing);
    } else if (attr->type == _sym_char) {
      atom_setlong(a, field[i]);
    } else if (attr->type == _sym_atom) {
      std::memcpy(a, field + i * static_cast<long>(sizeof(t_atom)), sizeof(t_atom));
    } else {
      atom_setlong(a, 0);
    }
  }
  return values;
}

std::vector<t_atom> getValue(void* x, maxapi_attr const* attr) {
  if (attr->getter == nullptr) return plainGet(x, attr);
  long ac = 0;
  t_atom* av = nullptr;
  typedef t_max_err (*get_fn)(void*, t_object*, long*, t_atom**);
  reinterpret_cast<get_fn>(attr->getter)(x, const_cast<t_object*>(&attr->ob), &ac, &av);
  std::vector<t_atom> values;
  if (av != nullptr && ac > 0) values.assign(av, av + ac);
  sysmem_freeptr(av);
  return values;
}

// Hands out values as object_attr_getvalueof promises: into the caller's
// atoms when it gave some, else into new memory.
t_max_err giveAtoms(std::vector<t_atom> const& values, long* argc, t_atom** argv) {
  if (argc == nullptr || argv == nullptr) return MAX_ERR_INVALID_PTR;
  if (*argv == nullptr || *argc <= 0) {
    *argv = static_cast<t_atom*>(
        sysmem_newptr(static_cast<long>((values.empty() ? 1 : values.size()) * sizeof(t_atom))));
    *argc = static_cast<long>(values.size());
  } else if (*argc > static_cast<long>(values.size())) {
    *argc = static_cast<long>(values.size());
  }
  for (long i = 0; i < *argc; ++i) (*argv)[i] = values[static_cast<std::size_t>(i)];
  return MAX_ERR_NONE;
}

}  // namespace

void maxapi_attr_free(maxapi_attr* attr) {
  delete attr;
}

void maxapi_dictionary_free(maxapi_dictionary* d) {
  delete d;
}

t_object* attr_offset_new(C74_CONST char* name, C74_CONST t_symbol* type, long flags,
                          C74_CONST method mget, C74_CONST method mset, long offset) {
  if (name == nullptr) return nullptr;
  return &newAttr(name, type, flags, mget, mset, offset, 1, -1)->ob;
}

t_object* attr_offset_array_new(C74_CONST char* name, t_symbol* type, long size, long flags,
                                method mget, method mset, long offsetcount, long offset) {
  if (name == nullptr) return nullptr;
  return &newAttr(name, type, flags, mget, mset, offset, size, offsetcount)->ob;
}

t_max_err class_addattr(t_class* c, t_object* attr) {
  maxapi_attr* a = asAttr(attr);
  if (c == nullptr || c->c_kind != maxapi_kind_class || a == nullptr) return MAX_ERR_INVALID_PTR;
  for (maxapi_attr*& existing : c->c_data->attrs) {
    if (existing->name == a->name) {
      maxapi_attr_free(existing);
      existing = a;
      return MAX_ERR_NONE;
    }
  }
  c->c_data->attrs.push_back(a);
  return MAX_ERR_NONE;
}

t_object* class_attr_get(t_class* x, t_symbol* attrname) {
  if (x == nullptr || x->c_kind != maxapi_kind_class) return nullptr;
  for (maxapi_attr* a : x->c_data->attrs) {
    if (a->name == attrname) return &a->ob;
  }
  return nullptr;
}

t_max_err object_addattr(void* x, t_object* attr) {
  maxapi_attr* a = asAttr(attr);
  if (!isInstance(x) || a == nullptr) return MAX_ERR_INVALID_PTR;
  auto& attrs = static_cast<t_object*>(x)->o_host->attrs;
  for (maxapi_attr*& existing : attrs) {
    if (existing->name == a->name) {
      maxapi_attr_free(existing);
      existing = a;
      return MAX_ERR_NONE;
    }
  }
  attrs.push_back(a);
  return MAX_ERR_NONE;
}

t_max_err object_deleteattr(void* x, t_symbol* attrname) {
  if (!isInstance(x)) return MAX_ERR_INVALID_PTR;
  auto& attrs = static_cast<t_object*>(x)->o_host->attrs;
  for (auto it = attrs.begin(); it != attrs.end(); ++it) {
    if ((*it)->name == attrname) {
      maxapi_attr_free(*it);
      attrs.erase(it);
      return MAX_ERR_NONE;
    }
  }
  return MAX_ERR_GENERIC;
}

maxapi_attr* maxapi_attr_find(void* x, t_symbol* name) {
  if (!isInstance(x)) return nullptr;
  auto* ob = static_cast<t_object*>(x);
  for (maxapi_attr* a : ob->o_host->attrs) {
    if (a->name == name) return a;
  }
  return asAttr(class_attr_get(ob->o_messlist, name));
}

std::vector<maxapi_attr*> maxapi_attrs_of(void* x) {
  std::vector<maxapi_attr*> attrs;
  if (!isInstance(x)) return attrs;
  auto* ob = static_cast<t_object*>(x);
  attrs = ob->o_messlist->c_data->attrs;
  for (maxapi_attr* a : ob->o_host->attrs) {
    bool shadows = false;
    for (maxapi_attr*& existing : attrs) {
      if (existing->name == a->name) {
        existing = a;
        shadows = true;
      }
    }
    if (!shadows) attrs.push_back(a);
  }
  return attrs;
}

t_object* object_attr_get(void* x, t_symbol* attrname) {
  maxapi_attr* a = maxapi_attr_find(x, attrname);
  return a != nullptr ? &a->ob : nullptr;
}

t_symbol* attr_getname(t_object* attr) {
  maxapi_attr* a = asAttr(attr);
  return a != nullptr ? a->name : nullptr;
}

t_max_err object_attr_getnames(void* x, long* argc, t_symbol*** argv) {
  if (argc == nullptr || argv == nullptr) return MAX_ERR_INVALID_PTR;
  std::vector<maxapi_attr*> const attrs = maxapi_attrs_of(x);
  *argc = static_cast<long>(attrs.size());
  *argv = static_cast<t_symbol**>(
      sysmem_newptr(static_cast<long>((attrs.empty() ? 1 : attrs.size()) * sizeof(t_symbol*))));
  for (std::size_t i = 0; i < attrs.size(); ++i) (*argv)[i] = attrs[i]->name;
  return MAX_ERR_NONE;
}

long object_attr_getflags(void* x, t_symbol* attrname) {
  maxapi_attr* a = maxapi_attr_find(x, attrname);
  return a != nullptr ? a->flags : 0;
}

std::vector<t_atom> const* maxapi_attr_property(maxapi_attr const* attr, t_symbol* property) {
  if (attr == nullptr) return nullptr;
  for (auto const& entry : attr->properties) {
    if (entry.first == property) return &entry.second;
  }
  return nullptr;
}

t_max_err class_attr_addattr_parse(t_class* c, C74_CONST char* attrname, C74_CONST char* attrname2,
                                   C74_CONST t_symbol*, long, C74_CONST char* parsestr) {
  maxapi_attr* a = asAttr(class_attr_get(c, gensym(attrname)));
  if (a == nullptr || attrname2 == nullptr) return MAX_ERR_GENERIC;
  setProperty(a, gensym(attrname2), maxapi_parse_atoms(parsestr));
  return MAX_ERR_NONE;
}

t_max_err class_attr_addattr_format(t_class* c, C74_CONST char* attrname, C74_CONST char* attrname2,
                                    C74_CONST t_symbol*, long, C74_CONST char* fmt, ...) {
  maxapi_attr* a = asAttr(class_attr_get(c, gensym(attrname)));
  if (a == nullptr || attrname2 == nullptr) return MAX_ERR_GENERIC;
  va_list args;
  va_start(args, fmt);
  std::vector<t_atom> values = formatAtoms(fmt, args);
  va_end(args);
  setProperty(a, gensym(attrname2), std::move(values));
  return MAX_ERR_NONE;
}

t_max_err object_attr_addattr_parse(t_object* x, C74_CONST char* attrname,
                                    C74_CONST char* attrname2, C74_CONST t_symbol*, long,
                                    C74_CONST char* parsestr) {
  maxapi_attr* a = maxapi_attr_find(x, gensym(attrname));
  if (a == nullptr || attrname2 == nullptr) return MAX_ERR_GENERIC;
  setProperty(a, gensym(attrname2), maxapi_parse_atoms(parsestr));
  return MAX_ERR_NONE;
}

t_max_err object_attr_addattr_format(t_object* x, C74_CONST char* attrname,
                                     C74_CONST char* attrname2, C74_CONST t_symbol*, long,
                                     C74_CONST char* fmt, ...) {
  maxapi_attr* a = maxapi_attr_find(x, gensym(attrname));
  if (a == nullptr || attrname2 == nullptr) return MAX_ERR_GENERIC;
  va_list args;
  va_start(args, fmt);
  std::vector<t_atom> values = formatAtoms(fmt, args);
  va_end(args);
  setProperty(a, gensym(attrname2), std::move(values));
  return MAX_ERR_NONE;
}

t_max_err object_attr_attr_getvalueof(void* x, t_symbol* attrname, t_symbol* attrname2, long* argc,
                                      t_atom** argv) {
  maxapi_attr* attr = maxapi_attr_find(x, attrname);
  std::vector<t_atom> const* values = maxapi_attr_property(attr, attrname2);
  if (values == nullptr && attr != nullptr && attrname2 != nullptr) {
    std::vector<t_atom> own(1);
    if (attrname2 == gensym("type")) {
      atom_setsym(own.data(), attr->type);
      return giveAtoms(own, argc, argv);
    }
    if (attrname2 == gensym("size")) {
      atom_setlong(own.data(), attr->size);
      return giveAtoms(own, argc, argv);
    }
  }
  if (values == nullptr) return MAX_ERR_GENERIC;
  return giveAtoms(*values, argc, argv);
}

t_max_err attr_addfilter_clip(void* x, double min, double max, long usemin, long usemax) {
  maxapi_attr* a = asAttr(x);
  if (a == nullptr) return MAX_ERR_INVALID_PTR;
  a->clip = true;
  a->clipmin = min;
  a->clipmax = max;
  a->usemin = usemin;
  a->usemax = usemax;
  return MAX_ERR_NONE;
}

t_max_err object_attr_setvalueof(void* x, t_symbol* s, long argc, C74_CONST t_atom* argv) {
  common_symbols_init();
  maxapi_attr* attr = maxapi_attr_find(x, s);
  if (attr == nullptr) return MAX_ERR_GENERIC;
  if (argc < 0 || argv == nullptr) argc = 0;
  std::vector<t_atom> values(argv, argv + argc);
  if (attr->clip) {
    bool const floating = attr->type == _sym_float32 || attr->type == _sym_float64;
    for (t_atom& a : values) {
      // A float attribute holds floats: a long is converted before the clip,
      // so that 0 on a clip of 0.2 gives 0.2, not 1.
      if (floating && a.a_type == A_LONG) atom_setfloat(&a, static_cast<double>(a.a_w.w_long));
      if (a.a_type == A_LONG) {
        double const v = static_cast<double>(a.a_w.w_long);
        if (attr->usemin && v < attr->clipmin)
          a.a_w.w_long = static_cast<t_atom_long>(std::ceil(attr->clipmin));
        if (attr->usemax && v > attr->clipmax)
          a.a_w.w_long = static_cast<t_atom_long>(std::floor(attr->clipmax));
      } else if (a.a_type == A_FLOAT) {
        double& v = a.a_w.w_float;
        if (!(v == v)) v = attr->usemin ? attr->clipmin : (attr->usemax ? attr->clipmax : 0.);
        if (attr->usemin && v < attr->clipmin) v = attr->clipmin;
        if (attr->usemax && v > attr->clipmax) v = attr->clipmax;
      }
    }
  }
  t_atom* av = values.empty() ? nullptr : values.data();
  if (attr->setter != nullptr) {
    typedef t_max_err (*set_fn)(void*, t_object*, long, t_atom*);
    return reinterpret_cast<set_fn>(attr->setter)(x, &attr->ob, argc, av);
  }
  return plainSet(x, attr, argc, av);
}

t_max_err object_attr_getvalueof(void* x, t_symbol* s, long* argc, t_atom** argv) {
  common_symbols_init();
  maxapi_attr* attr = maxapi_attr_find(x, s);
  if (attr == nullptr) return MAX_ERR_GENERIC;
  return giveAtoms(getValue(x, attr), argc, argv);
}

t_atom_long object_attr_getlong(void* x, t_symbol* s) {
  maxapi_attr* attr = maxapi_attr_find(x, s);
  if (attr == nullptr) return 0;
  std::vector<t_atom> const values = getValue(x, attr);
  return values.empty() ? 0 : atom_getlong(&values[0]);
}

t_atom_float object_attr_getfloat(void* x, t_symbol* s) {
  maxapi_attr* attr = maxapi_attr_find(x, s);
  if (attr == nullptr) return 0.;
  std::vector<t_atom> const values = getValue(x, attr);
  return values.empty() ? 0. : atom_getfloat(&values[0]);
}

t_symbol* object_attr_getsym(void* x, t_symbol* s) {
  common_symbols_init();
  maxapi_attr* attr = maxapi_attr_find(x, s);
  if (attr == nullptr) return _sym_nothing;
  std::vector<t_atom> const values = getValue(x, attr);
  return values.empty() ? _sym_nothing : atom_getsym(&values[0]);
}

// ---- dictionaries

t_dictionary* dictionary_new(void) {
  auto* d = new maxapi_dictionary();
  d->ob.o_messlist = &dictionaryClass;
  d->ob.o_host = nullptr;
  return d;
}

t_max_err dictionary_appendatoms(t_dictionary* d, t_symbol* key, long argc, t_atom* argv) {
  maxapi_dictionary* dict = asDictionary(d);
  if (dict == nullptr || key == nullptr) return MAX_ERR_INVALID_PTR;
  std::vector<t_atom> values;
  if (argc > 0 && argv != nullptr) values.assign(argv, argv + argc);
  for (auto& entry : dict->entries) {
    if (entry.first == key) {
      entry.second = std::move(values);
      return MAX_ERR_NONE;
    }
  }
  dict->entries.emplace_back(key, std::move(values));
  return MAX_ERR_NONE;
}

t_max_err dictionary_appendlong(t_dictionary* d, t_symbol* key, t_atom_long value) {
  t_atom a;
  atom_setlong(&a, value);
  return dictionary_appendatoms(d, key, 1, &a);
}

t_max_err dictionary_appendfloat(t_dictionary* d, t_symbol* key, double value) {
  t_atom a;
  atom_setfloat(&a, value);
  return dictionary_appendatoms(d, key, 1, &a);
}

t_max_err dictionary_appendsym(t_dictionary* d, t_symbol* key, t_symbol* value) {
  t_atom a;
  atom_setsym(&a, value);
  return dictionary_appendatoms(d, key, 1, &a);
}

namespace {
std::vector<t_atom> const* entryOf(t_dictionary const* d, t_symbol* key) {
  maxapi_dictionary* dict = asDictionary(d);
  if (dict == nullptr) return nullptr;
  for (auto const& entry : dict->entries) {
    if (entry.first == key) return &entry.second;
  }
  return nullptr;
}
}  // namespace

long dictionary_hasentry(C74_CONST t_dictionary* d, t_symbol* key) {
  return entryOf(d, key) != nullptr ? 1 : 0;
}

long dictionary_getentrycount(C74_CONST t_dictionary* d) {
  maxapi_dictionary* dict = asDictionary(d);
  return dict != nullptr ? static_cast<long>(dict->entries.size()) : 0;
}

t_max_err dictionary_getlong(C74_CONST t_dictionary* d, t_symbol* key, t_atom_long* value) {
  std::vector<t_atom> const* values = entryOf(d, key);
  if (values == nullptr || value == nullptr || values->empty()) return MAX_ERR_GENERIC;
  t_atom const& a = values->front();
  if (a.a_type != A_LONG && a.a_type != A_FLOAT) return MAX_ERR_GENERIC;
  *value = atom_getlong(&a);
  return MAX_ERR_NONE;
}

t_max_err dictionary_getfloat(C74_CONST t_dictionary* d, t_symbol* key, double* value) {
  std::vector<t_atom> const* values = entryOf(d, key);
  if (values == nullptr || value == nullptr || values->empty()) return MAX_ERR_GENERIC;
  t_atom const& a = values->front();
  if (a.a_type != A_LONG && a.a_type != A_FLOAT) return MAX_ERR_GENERIC;
  *value = atom_getfloat(&a);
  return MAX_ERR_NONE;
}

t_max_err dictionary_getsym(C74_CONST t_dictionary* d, t_symbol* key, t_symbol** value) {
  std::vector<t_atom> const* values = entryOf(d, key);
  if (values == nullptr || value == nullptr || values->empty()) return MAX_ERR_GENERIC;
  if (values->front().a_type != A_SYM) return MAX_ERR_GENERIC;
  *value = values->front().a_w.w_sym;
  return MAX_ERR_NONE;
}

t_max_err dictionary_getatoms(C74_CONST t_dictionary* d, t_symbol* key, long* argc, t_atom** argv) {
  std::vector<t_atom> const* values = entryOf(d, key);
  if (values == nullptr || argc == nullptr || argv == nullptr) return MAX_ERR_GENERIC;
  *argc = static_cast<long>(values->size());
  *argv = const_cast<t_atom*>(values->data());
  return MAX_ERR_NONE;
}

t_dictionary* object_dictionaryarg(long ac, t_atom* av) {
  if (av == nullptr) return nullptr;
  for (long i = 0; i < ac; ++i) {
    if (av[i].a_type == A_OBJ && asDictionary(av[i].a_w.w_obj) != nullptr) {
      return asDictionary(av[i].a_w.w_obj);
    }
  }
  return nullptr;
}

t_max_err attr_dictionary_process(void* x, t_dictionary* d) {
  if (!isInstance(x) || asDictionary(d) == nullptr) return MAX_ERR_INVALID_PTR;
  for (maxapi_attr* attr : maxapi_attrs_of(x)) {
    if ((attr->flags & (ATTR_SET_OPAQUE | ATTR_SET_OPAQUE_USER)) != 0) continue;
    std::vector<t_atom> const* values = entryOf(d, attr->name);
    if (values == nullptr || values->empty()) continue;
    std::vector<t_atom> copy(*values);
    object_attr_setvalueof(x, attr->name, static_cast<long>(copy.size()), copy.data());
  }
  return MAX_ERR_NONE;
}

t_max_err preset_store_atoms(t_object* x, long argc, C74_CONST t_atom* argv) {
  if (x == nullptr || x->o_host == nullptr) return MAX_ERR_INVALID_PTR;
  if (argc < 0 || (argc > 0 && argv == nullptr)) return MAX_ERR_GENERIC;
  x->o_host->preset.assign(argv, argv + argc);
  x->o_host->hasPreset = true;
  return MAX_ERR_NONE;
}

t_max_err preset_recall_atoms(t_object* x, long* argc, t_atom** argv) {
  if (x == nullptr || x->o_host == nullptr || argc == nullptr || argv == nullptr) {
    return MAX_ERR_INVALID_PTR;
  }
  if (!x->o_host->hasPreset) return MAX_ERR_GENERIC;
  std::vector<t_atom> const& stored = x->o_host->preset;
  *argc = static_cast<long>(stored.size());
  *argv = static_cast<t_atom*>(
      sysmem_newptr(static_cast<long>((stored.empty() ? 1 : stored.size()) * sizeof(t_atom))));
  for (std::size_t i = 0; i < stored.size(); ++i) (*argv)[i] = stored[i];
  return MAX_ERR_NONE;
}
