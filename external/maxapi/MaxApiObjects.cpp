// Classes, methods, instances and the host's creation and message dispatch.

#include <algorithm>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "MaxApiHost.h"

maxapi_console_sink const* maxapi_exchange_current_sink(maxapi_console_sink const* sink);
void maxapi_defer_forget(void* x);
void maxapi_attr_free(maxapi_attr* attr);
void maxapi_dictionary_free(maxapi_dictionary* d);

namespace {

std::mutex& registryMutex() {
  static std::mutex m;
  return m;
}

// The registries are never destroyed: classes live as long as the process,
// and so do abandoned instances, as with the host.
std::vector<maxapi_class*>& allClasses() {
  static auto* classes = new std::vector<maxapi_class*>();
  return *classes;
}

std::map<std::pair<t_symbol*, t_symbol*>, t_class*>& registeredClasses() {
  static auto* classes = new std::map<std::pair<t_symbol*, t_symbol*>, t_class*>();
  return *classes;
}

// Every instance that object_alloc made and object_free has not released. An
// instance whose constructor gave up is abandoned as it stands (the host
// offers no way back), but stays reachable here.
std::set<void*>& liveInstances() {
  static auto* instances = new std::set<void*>();
  return *instances;
}

struct maxapi_box {
  t_object ob;
  long notifications;
};

maxapi_class boxClass{nullptr, 0, maxapi_kind_box, nullptr};

t_object* newBox() {
  auto* box = new maxapi_box();
  box->ob.o_messlist = &boxClass;
  box->ob.o_host = nullptr;
  box->notifications = 0;
  return &box->ob;
}

maxapi_method_entry const* findMethod(t_class* c, t_symbol* name) {
  if (c == nullptr) return nullptr;
  for (maxapi_method_entry const& m : c->c_data->methods) {
    if (m.name == name) return &m;
  }
  return nullptr;
}

bool isInstance(void* x) {
  auto* ob = static_cast<t_object*>(x);
  return ob != nullptr && ob->o_messlist != nullptr && ob->o_messlist->c_kind == maxapi_kind_class;
}

// Sets the sink for lines posted without an object, for one scope.
struct SinkScope {
  explicit SinkScope(maxapi_console_sink const* sink) : saved(maxapi_exchange_current_sink(sink)) {}
  ~SinkScope() { maxapi_exchange_current_sink(saved); }
  maxapi_console_sink const* saved;
};

thread_local maxapi_console_sink const* pendingSink = nullptr;

std::size_t editDistance(std::string const& a, std::string const& b) {
  std::vector<std::size_t> row(b.size() + 1);
  for (std::size_t j = 0; j <= b.size(); ++j) row[j] = j;
  for (std::size_t i = 1; i <= a.size(); ++i) {
    std::size_t diagonal = row[0];
    row[0] = i;
    for (std::size_t j = 1; j <= b.size(); ++j) {
      std::size_t const above = row[j];
      std::size_t const change = diagonal + (a[i - 1] == b[j - 1] ? 0 : 1);
      row[j] = std::min({above + 1, row[j - 1] + 1, change});
      diagonal = above;
    }
  }
  return row[b.size()];
}

// The host tells the user about a box attribute that the object does not
// have, as it tells about a message it does not understand, naming the
// attribute the user most likely meant.
void reportUnknownBoxAttributes(void* x, std::vector<t_symbol*> const& typed) {
  t_symbol* invisible = gensym("invisible");
  for (t_symbol* key : typed) {
    if (maxapi_attr_find(x, key) != nullptr) continue;
    t_symbol* nearest = nullptr;
    std::size_t best = 0;
    for (maxapi_attr* attr : maxapi_attrs_of(x)) {
      std::vector<t_atom> const* hidden = maxapi_attr_property(attr, invisible);
      if (hidden != nullptr && !hidden->empty() && atom_getlong(hidden->data()) != 0) continue;
      std::size_t const distance = editDistance(key->s_name, attr->name->s_name);
      if (nearest == nullptr || distance < best) {
        nearest = attr->name;
        best = distance;
      }
    }
    if (nearest != nullptr) {
      object_error(static_cast<t_object*>(x), "%s: no attribute \"@%s\" (did you mean \"@%s\"?)",
                   object_classname(x)->s_name, key->s_name, nearest->s_name);
    } else {
      object_error(static_cast<t_object*>(x), "%s: no attribute \"@%s\"",
                   object_classname(x)->s_name, key->s_name);
    }
  }
}

}  // namespace

t_class* class_new(C74_CONST char* name, C74_CONST method mnew, C74_CONST method mfree, long size,
                   C74_CONST method, short type, ...) {
  common_symbols_init();
  (void)type;  // the constructor always gets (symbol, count, atoms)
  auto* c = new maxapi_class{gensym(name), 0, maxapi_kind_class, new maxapi_class_data()};
  c->c_data->mnew = mnew;
  c->c_data->mfree = mfree;
  c->c_data->size =
      size < static_cast<long>(sizeof(t_object)) ? static_cast<long>(sizeof(t_object)) : size;
  std::lock_guard<std::mutex> lock(registryMutex());
  allClasses().push_back(c);
  return c;
}

t_max_err class_addmethod(t_class* c, C74_CONST method m, C74_CONST char* name, ...) {
  if (c == nullptr || m == nullptr || name == nullptr) return MAX_ERR_INVALID_PTR;
  maxapi_method_entry entry{gensym(name), m, {}};
  va_list args;
  va_start(args, name);
  for (int i = 0; i < 8; ++i) {
    int const type = va_arg(args, int);
    if (type == A_NOTHING) break;
    entry.types.push_back(static_cast<short>(type));
  }
  va_end(args);
  for (maxapi_method_entry& existing : c->c_data->methods) {
    if (existing.name == entry.name) {
      existing = entry;
      return MAX_ERR_NONE;
    }
  }
  c->c_data->methods.push_back(entry);
  return MAX_ERR_NONE;
}

t_max_err class_register(t_symbol* name_space, t_class* c) {
  if (c == nullptr) return MAX_ERR_INVALID_PTR;
  std::lock_guard<std::mutex> lock(registryMutex());
  auto& classes = registeredClasses();
  auto key = std::make_pair(name_space, c->c_sym);
  if (classes.count(key) != 0) return MAX_ERR_DUPLICATE;
  classes[key] = c;
  return MAX_ERR_NONE;
}

t_symbol* class_nameget(t_class* c) {
  return c != nullptr ? c->c_sym : nullptr;
}

t_class* maxapi_class_find(t_symbol* name_space, t_symbol* name) {
  std::lock_guard<std::mutex> lock(registryMutex());
  auto& classes = registeredClasses();
  auto found = classes.find(std::make_pair(name_space, name));
  return found == classes.end() ? nullptr : found->second;
}

void* object_alloc(t_class* c) {
  if (c == nullptr || c->c_kind != maxapi_kind_class) return nullptr;
  auto* ob = static_cast<t_object*>(std::calloc(1, static_cast<std::size_t>(c->c_data->size)));
  if (ob == nullptr) return nullptr;
  ob->o_messlist = c;
  ob->o_host = new maxapi_instance();
  if (pendingSink != nullptr) ob->o_host->sink = *pendingSink;
  std::lock_guard<std::mutex> lock(registryMutex());
  liveInstances().insert(ob);
  return ob;
}

t_max_err object_free(void* x) {
  if (x == nullptr) return MAX_ERR_INVALID_PTR;
  auto* ob = static_cast<t_object*>(x);
  switch (ob->o_messlist != nullptr ? ob->o_messlist->c_kind : maxapi_kind_class) {
    case maxapi_kind_attribute:
      maxapi_attr_free(reinterpret_cast<maxapi_attr*>(ob));
      return MAX_ERR_NONE;
    case maxapi_kind_dictionary:
      maxapi_dictionary_free(reinterpret_cast<maxapi_dictionary*>(ob));
      return MAX_ERR_NONE;
    case maxapi_kind_box:
      delete reinterpret_cast<maxapi_box*>(ob);
      return MAX_ERR_NONE;
    case maxapi_kind_class:
      break;
  }
  {
    std::lock_guard<std::mutex> lock(registryMutex());
    if (liveInstances().erase(x) == 0) return MAX_ERR_INVALID_PTR;
  }
  t_class* c = ob->o_messlist;
  if (c->c_data->mfree != nullptr) reinterpret_cast<void (*)(void*)>(c->c_data->mfree)(x);
  maxapi_defer_forget(x);
  maxapi_instance* info = ob->o_host;
  if (info != nullptr) {
    if (info->chain != nullptr) info->chain->words.clear();
    for (maxapi_attr* attr : info->attrs) maxapi_attr_free(attr);
    if (info->box != nullptr) object_free(info->box);
    delete info;
  }
  std::free(x);
  return MAX_ERR_NONE;
}

t_symbol* object_classname(void* x) {
  common_symbols_init();
  if (!isInstance(x)) return _sym_nothing;
  return static_cast<t_object*>(x)->o_messlist->c_sym;
}

void* object_method(void* x, t_symbol* s, ...) {
  if (!isInstance(x)) return nullptr;
  maxapi_method_entry const* m = findMethod(static_cast<t_object*>(x)->o_messlist, s);
  if (m == nullptr) return nullptr;
  // Host-only methods take pointer-sized arguments; pass on as many as a
  // method of this family may declare.
  va_list args;
  va_start(args, s);
  void* a[6];
  for (void*& word : a) word = va_arg(args, void*);
  va_end(args);
  typedef void* (*cant_fn)(void*, void*, void*, void*, void*, void*, void*);
  return reinterpret_cast<cant_fn>(m->fn)(x, a[0], a[1], a[2], a[3], a[4], a[5]);
}

t_max_err object_notify(void* x, t_symbol*, void*) {
  auto* ob = static_cast<t_object*>(x);
  if (ob == nullptr || ob->o_messlist != &boxClass) return MAX_ERR_INVALID_PTR;
  reinterpret_cast<maxapi_box*>(ob)->notifications += 1;
  return MAX_ERR_NONE;
}

long maxapi_box_notifications(t_object* box) {
  if (box == nullptr || box->o_messlist != &boxClass) return 0;
  return reinterpret_cast<maxapi_box*>(box)->notifications;
}

void* outlet_new(void* x, C74_CONST char* s) {
  if (!isInstance(x)) return nullptr;
  maxapi_instance* info = static_cast<t_object*>(x)->o_host;
  if (s != nullptr && std::strcmp(s, "signal") == 0) {
    info->signalOutlets += 1;
  } else {
    info->outlets += 1;
  }
  // Stable addresses: outlets are only made in the constructor, and the
  // records are reserved to the largest count a box may have.
  if (info->outletRecords.capacity() < 1024) info->outletRecords.reserve(1024);
  if (info->outletRecords.size() >= info->outletRecords.capacity()) return nullptr;
  info->outletRecords.push_back(0);
  return &info->outletRecords.back();
}

// ---- the host's creation of a box

void* maxapi_object_new(t_class* c, std::vector<t_atom> const& atoms, maxapi_console_sink sink) {
  common_symbols_init();
  if (c == nullptr || c->c_kind != maxapi_kind_class || c->c_data->mnew == nullptr) return nullptr;
  maxapi_console_sink const* sinkPointer = sink ? &sink : nullptr;
  SinkScope scope(sinkPointer);
  std::vector<t_atom> arguments;
  std::vector<t_symbol*> typed;  // the attribute names written in the box
  t_dictionary* d = nullptr;
  std::size_t i = 0;
  auto isAttributeWord = [](t_atom const& a) {
    return a.a_type == A_SYM && a.a_w.w_sym->s_name[0] == '@' && a.a_w.w_sym->s_name[1] != '\0';
  };
  while (i < atoms.size() && !isAttributeWord(atoms[i])) arguments.push_back(atoms[i++]);
  if ((c->c_flags & CLASS_FLAG_NEWDICTIONARY) != 0) {
    d = dictionary_new();
    while (i < atoms.size()) {
      t_symbol* key = gensym(atoms[i].a_w.w_sym->s_name + 1);
      typed.push_back(key);
      std::size_t const first = ++i;
      while (i < atoms.size() && !isAttributeWord(atoms[i])) ++i;
      std::vector<t_atom> values(atoms.begin() + static_cast<long>(first),
                                 atoms.begin() + static_cast<long>(i));
      dictionary_appendatoms(d, key, static_cast<long>(values.size()), values.data());
    }
    for (maxapi_attr* attr : c->c_data->attrs) {
      std::vector<t_atom> const* def = maxapi_attr_property(attr, _sym_default);
      if (def == nullptr || dictionary_hasentry(d, attr->name)) continue;
      std::vector<t_atom> values(*def);
      dictionary_appendatoms(d, attr->name, static_cast<long>(values.size()), values.data());
    }
    t_atom a;
    atom_setobj(&a, d);
    arguments.push_back(a);
  } else {
    arguments.insert(arguments.end(), atoms.begin() + static_cast<long>(i), atoms.end());
  }
  t_object* box = newBox();
  t_symbol* boxSymbol = gensym("#B");
  t_object* savedBox = boxSymbol->s_thing;
  boxSymbol->s_thing = box;
  maxapi_console_sink const* savedPending = pendingSink;
  pendingSink = sinkPointer;
  typedef void* (*new_fn)(t_symbol*, long, t_atom*);
  void* x = nullptr;
  try {
    x = reinterpret_cast<new_fn>(c->c_data->mnew)(c->c_sym, static_cast<long>(arguments.size()),
                                                  arguments.empty() ? nullptr : arguments.data());
  } catch (...) {
    pendingSink = savedPending;
    boxSymbol->s_thing = savedBox;
    if (d != nullptr) object_free(d);
    object_free(box);
    throw;
  }
  pendingSink = savedPending;
  boxSymbol->s_thing = savedBox;
  if (d != nullptr) object_free(d);
  if (x == nullptr || !isInstance(x)) {
    object_free(box);
    return nullptr;
  }
  maxapi_instance* info = static_cast<t_object*>(x)->o_host;
  info->sink = std::move(sink);
  info->box = box;
  reportUnknownBoxAttributes(x, typed);
  return x;
}

// ---- the host's dispatch of a message

void maxapi_not_understood(void* x, t_symbol* selector) {
  object_error(static_cast<t_object*>(x), "%s: doesn't understand \"%s\"",
               object_classname(x)->s_name, selector != nullptr ? selector->s_name : "");
}

void maxapi_object_message(void* x, t_symbol* selector, long argc, t_atom const* argv) {
  common_symbols_init();
  if (!isInstance(x) || selector == nullptr) return;
  auto* ob = static_cast<t_object*>(x);
  SinkScope scope(&ob->o_host->sink);
  if (argc < 0 || argv == nullptr) argc = 0;
  // Methods receive a modifiable copy, as from the host.
  std::vector<t_atom> atoms(argv, argv + argc);
  t_atom* av = atoms.empty() ? nullptr : atoms.data();
  maxapi_method_entry const* m = findMethod(ob->o_messlist, selector);
  if (m != nullptr) {
    short const first = m->types.empty() ? static_cast<short>(A_NOTHING) : m->types[0];
    switch (first) {
      case A_GIMME:
        reinterpret_cast<void (*)(void*, t_symbol*, long, t_atom*)>(m->fn)(x, selector, argc, av);
        return;
      case A_NOTHING:
        reinterpret_cast<void (*)(void*)>(m->fn)(x);
        return;
      case A_SYM:
      case A_DEFSYM:
        reinterpret_cast<void (*)(void*, t_symbol*)>(m->fn)(
            x, argc > 0 && av[0].a_type == A_SYM ? av[0].a_w.w_sym : _sym_nothing);
        return;
      case A_LONG:
      case A_DEFLONG:
        reinterpret_cast<void (*)(void*, t_atom_long)>(m->fn)(x, argc > 0 ? atom_getlong(av) : 0);
        return;
      case A_FLOAT:
      case A_DEFFLOAT:
        reinterpret_cast<void (*)(void*, double)>(m->fn)(x, argc > 0 ? atom_getfloat(av) : 0.);
        return;
      default:
        break;  // host-only: not for messages
    }
  } else {
    maxapi_attr* attr = maxapi_attr_find(x, selector);
    if (attr != nullptr && (attr->flags & (ATTR_SET_OPAQUE | ATTR_SET_OPAQUE_USER)) == 0) {
      object_attr_setvalueof(x, selector, argc, av);
      return;
    }
  }
  maxapi_not_understood(x, selector);
}
