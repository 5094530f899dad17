// Symbols, atoms, memory, the console, deferred calls and file search.

#include <cctype>
#include <cerrno>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <filesystem>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

#include "MaxApiHost.h"

namespace {

std::mutex& symbolMutex() {
  static std::mutex m;
  return m;
}

// Symbols live as long as the process; the table keeps them reachable.
std::unordered_map<std::string, std::unique_ptr<t_symbol>>& symbolTable() {
  static std::unordered_map<std::string, std::unique_ptr<t_symbol>> table;
  return table;
}

}  // namespace

t_symbol* gensym(C74_CONST char* s) {
  if (s == nullptr) s = "";
  std::lock_guard<std::mutex> lock(symbolMutex());
  auto& table = symbolTable();
  auto found = table.find(s);
  if (found != table.end()) return found->second.get();
  auto sym = std::make_unique<t_symbol>();
  auto inserted = table.emplace(std::string(s), std::move(sym));
  t_symbol* result = inserted.first->second.get();
  // The key's storage never moves for the life of the entry.
  result->s_name = const_cast<char*>(inserted.first->first.c_str());
  result->s_thing = nullptr;
  return result;
}

namespace {
t_common_symbols_table commonSymbols;
}

t_common_symbols_table* _common_symbols = &commonSymbols;

void common_symbols_init(void) {
  static std::once_flag once;
  std::call_once(once, [] {
    t_common_symbols_table& t = commonSymbols;
    t.s_nothing = gensym("");
    t.s_long = gensym("long");
    t.s_float32 = gensym("float32");
    t.s_float64 = gensym("float64");
    t.s_symbol = gensym("symbol");
    t.s_atom = gensym("atom");
    t.s_char = gensym("char");
    t.s_object = gensym("object");
    t.s_modified = gensym("modified");
    t.s_box = gensym("box");
    t.s_signal = gensym("signal");
    t.s_dsp = gensym("dsp");
    t.s_assist = gensym("assist");
    t.s_label = gensym("label");
    t.s_default = gensym("default");
    t.s_style = gensym("style");
    t.s_order = gensym("order");
    t.s_category = gensym("category");
    t.s_invisible = gensym("invisible");
    t.s_enumvals = gensym("enumvals");
    t.s_description = gensym("description");
    t.s_min = gensym("min");
    t.s_max = gensym("max");
    t.s_units = gensym("units");
  });
}

// ---- atoms

t_atom_long atom_getlong(C74_CONST t_atom* a) {
  if (a == nullptr) return 0;
  if (a->a_type == A_LONG) return a->a_w.w_long;
  if (a->a_type == A_FLOAT) {
    double const v = a->a_w.w_float;
    if (!(v == v)) return 0;
    if (v >= 9.2e18) return static_cast<t_atom_long>(9.2e18);
    if (v <= -9.2e18) return static_cast<t_atom_long>(-9.2e18);
    return static_cast<t_atom_long>(v);
  }
  return 0;
}

t_atom_float atom_getfloat(C74_CONST t_atom* a) {
  if (a == nullptr) return 0.;
  if (a->a_type == A_FLOAT) return a->a_w.w_float;
  if (a->a_type == A_LONG) return static_cast<t_atom_float>(a->a_w.w_long);
  return 0.;
}

t_symbol* atom_getsym(C74_CONST t_atom* a) {
  common_symbols_init();
  if (a != nullptr && a->a_type == A_SYM && a->a_w.w_sym != nullptr) return a->a_w.w_sym;
  return _sym_nothing;
}

t_max_err atom_setlong(t_atom* a, t_atom_long b) {
  if (a == nullptr) return MAX_ERR_INVALID_PTR;
  a->a_type = A_LONG;
  a->a_w.w_long = b;
  return MAX_ERR_NONE;
}

t_max_err atom_setfloat(t_atom* a, double b) {
  if (a == nullptr) return MAX_ERR_INVALID_PTR;
  a->a_type = A_FLOAT;
  a->a_w.w_float = b;
  return MAX_ERR_NONE;
}

t_max_err atom_setsym(t_atom* a, C74_CONST t_symbol* b) {
  if (a == nullptr) return MAX_ERR_INVALID_PTR;
  a->a_type = A_SYM;
  a->a_w.w_sym = const_cast<t_symbol*>(b);
  return MAX_ERR_NONE;
}

t_max_err atom_setobj(t_atom* a, void* b) {
  if (a == nullptr) return MAX_ERR_INVALID_PTR;
  a->a_type = A_OBJ;
  a->a_w.w_obj = static_cast<t_object*>(b);
  return MAX_ERR_NONE;
}

long atom_gettype(C74_CONST t_atom* a) {
  return a == nullptr ? static_cast<long>(A_NOTHING) : a->a_type;
}

t_max_err atom_getfloat_array(long ac, C74_CONST t_atom* av, long count, float* vals) {
  if (vals == nullptr || (av == nullptr && ac > 0)) return MAX_ERR_INVALID_PTR;
  long const n = ac < count ? ac : count;
  for (long i = 0; i < n; ++i) vals[i] = static_cast<float>(atom_getfloat(av + i));
  return MAX_ERR_NONE;
}

t_max_err atom_getlong_array(long ac, C74_CONST t_atom* av, long count, t_atom_long* vals) {
  if (vals == nullptr || (av == nullptr && ac > 0)) return MAX_ERR_INVALID_PTR;
  long const n = ac < count ? ac : count;
  for (long i = 0; i < n; ++i) vals[i] = atom_getlong(av + i);
  return MAX_ERR_NONE;
}

// ---- memory

void* sysmem_newptr(long size) {
  return std::malloc(size > 0 ? static_cast<std::size_t>(size) : 1);
}

void* sysmem_newptrclear(long size) {
  return std::calloc(size > 0 ? static_cast<std::size_t>(size) : 1, 1);
}

void sysmem_freeptr(void* ptr) {
  std::free(ptr);
}

void* getbytes(long size) {
  return sysmem_newptr(size);
}

void freebytes(void* ptr, long) {
  sysmem_freeptr(ptr);
}

// ---- text

namespace {

bool looksNumeric(std::string const& t, bool& isFloat) {
  std::size_t i = 0;
  if (i < t.size() && (t[i] == '-' || t[i] == '+')) ++i;
  std::size_t digits = 0;
  while (i < t.size() && std::isdigit(static_cast<unsigned char>(t[i]))) ++i, ++digits;
  isFloat = false;
  if (i < t.size() && t[i] == '.') {
    isFloat = true;
    ++i;
    while (i < t.size() && std::isdigit(static_cast<unsigned char>(t[i]))) ++i, ++digits;
  }
  if (digits == 0) return false;
  if (i < t.size() && (t[i] == 'e' || t[i] == 'E')) {
    isFloat = true;
    ++i;
    if (i < t.size() && (t[i] == '-' || t[i] == '+')) ++i;
    std::size_t expDigits = 0;
    while (i < t.size() && std::isdigit(static_cast<unsigned char>(t[i]))) ++i, ++expDigits;
    if (expDigits == 0) return false;
  }
  return i == t.size();
}

t_atom atomFromWord(std::string const& t) {
  t_atom a;
  bool isFloat = false;
  if (looksNumeric(t, isFloat)) {
    if (!isFloat) {
      errno = 0;
      long long const v = std::strtoll(t.c_str(), nullptr, 10);
      if (errno == 0) {
        atom_setlong(&a, static_cast<t_atom_long>(v));
        return a;
      }
    }
    double const v = std::strtod(t.c_str(), nullptr);
    if (std::isfinite(v)) {
      atom_setfloat(&a, v);
      return a;
    }
  }
  atom_setsym(&a, gensym(t.c_str()));
  return a;
}

}  // namespace

std::vector<t_atom> maxapi_parse_atoms(char const* text) {
  std::vector<t_atom> atoms;
  if (text == nullptr) return atoms;
  std::size_t i = 0;
  std::size_t const n = std::strlen(text);
  while (i < n) {
    while (i < n && std::isspace(static_cast<unsigned char>(text[i]))) ++i;
    if (i >= n) break;
    if (text[i] == '"') {
      std::string word;
      ++i;
      while (i < n && text[i] != '"') {
        if (text[i] == '\\' && i + 1 < n) ++i;
        word += text[i++];
      }
      if (i < n) ++i;
      t_atom a;
      atom_setsym(&a, gensym(word.c_str()));
      atoms.push_back(a);
      continue;
    }
    std::string word;
    while (i < n && !std::isspace(static_cast<unsigned char>(text[i]))) {
      if (text[i] == '\\' && i + 1 < n) ++i;
      word += text[i++];
    }
    atoms.push_back(atomFromWord(word));
  }
  return atoms;
}

std::string maxapi_atom_text(t_atom const& a) {
  char buffer[64];
  switch (a.a_type) {
    case A_LONG:
      std::snprintf(buffer, sizeof buffer, "%ld", static_cast<long>(a.a_w.w_long));
      return buffer;
    case A_FLOAT: {
      double const v = a.a_w.w_float;
      if (!std::isfinite(v)) return v != v ? "nan" : (v > 0 ? "inf" : "-inf");
      // The shortest text that reads back as the same 32-bit float.
      for (int precision = 6; precision <= 9; ++precision) {
        std::snprintf(buffer, sizeof buffer, "%.*g", precision, v);
        if (static_cast<float>(std::strtod(buffer, nullptr)) == static_cast<float>(v)) break;
      }
      std::string text(buffer);
      if (text.find_first_of(".e") == std::string::npos) text += '.';
      return text;
    }
    case A_SYM:
      return a.a_w.w_sym != nullptr ? a.a_w.w_sym->s_name : "";
    case A_OBJ:
      return "<object>";
    default:
      return "";
  }
}

t_max_err atom_gettext(long ac, C74_CONST t_atom* av, long* textsize, char** text, long) {
  if (textsize == nullptr || text == nullptr || (av == nullptr && ac > 0)) {
    return MAX_ERR_INVALID_PTR;
  }
  std::string joined;
  for (long i = 0; i < ac; ++i) {
    if (i > 0) joined += ' ';
    joined += maxapi_atom_text(av[i]);
  }
  long const size = static_cast<long>(joined.size()) + 1;
  if (*text == nullptr) {
    *text = static_cast<char*>(sysmem_newptr(size));
    *textsize = size;
  } else if (*textsize < size) {
    joined.resize(*textsize > 0 ? static_cast<std::size_t>(*textsize - 1) : 0);
  }
  if (*textsize > 0) std::memcpy(*text, joined.c_str(), joined.size() + 1);
  return MAX_ERR_NONE;
}

// ---- console

namespace {

std::mutex& consoleMutex() {
  static std::mutex m;
  return m;
}

std::vector<std::pair<int, std::string>>& consoleLines() {
  static std::vector<std::pair<int, std::string>> lines;
  return lines;
}

}  // namespace

namespace {
// The sink of the object being created or messaged on this thread, for lines
// posted without an object. Internal to this file: an extern thread_local
// leaves a weak reference to its initialiser in every module that links the
// layer, a name of ours in the module's dynamic symbol table.
thread_local maxapi_console_sink const* currentSink = nullptr;
}  // namespace

maxapi_console_sink const* maxapi_exchange_current_sink(maxapi_console_sink const* sink) {
  maxapi_console_sink const* previous = currentSink;
  currentSink = sink;
  return previous;
}

void maxapi_console_write(t_object* x, int severity, char const* text) {
  maxapi_console_sink const* sink = currentSink;
  if (x != nullptr && x->o_host != nullptr) sink = &x->o_host->sink;
  if (sink != nullptr && *sink) {
    (*sink)(severity, text);
    return;
  }
  std::lock_guard<std::mutex> lock(consoleMutex());
  consoleLines().emplace_back(severity, text);
}

std::vector<std::pair<int, std::string>> maxapi_console_take() {
  std::lock_guard<std::mutex> lock(consoleMutex());
  std::vector<std::pair<int, std::string>> lines;
  lines.swap(consoleLines());
  return lines;
}

namespace {

void writeFormatted(t_object* x, int severity, char const* format, va_list args) {
  char buffer[2048];
  std::vsnprintf(buffer, sizeof buffer, format != nullptr ? format : "", args);
  maxapi_console_write(x, severity, buffer);
}

}  // namespace

#define MAXAPI_POST(object, severity, format)       \
  do {                                              \
    va_list args;                                   \
    va_start(args, format);                         \
    writeFormatted(object, severity, format, args); \
    va_end(args);                                   \
  } while (0)

void object_post(t_object* x, C74_CONST char* s, ...) {
  MAXAPI_POST(x, maxapi_post, s);
}

void object_warn(t_object* x, C74_CONST char* s, ...) {
  MAXAPI_POST(x, maxapi_warning, s);
}

void object_error(t_object* x, C74_CONST char* s, ...) {
  MAXAPI_POST(x, maxapi_error, s);
}

void object_bug(t_object* x, C74_CONST char* s, ...) {
  MAXAPI_POST(x, maxapi_bug, s);
}

void post(C74_CONST char* fmt, ...) {
  MAXAPI_POST(nullptr, maxapi_post, fmt);
}

void error(C74_CONST char* fmt, ...) {
  MAXAPI_POST(nullptr, maxapi_error, fmt);
}

// ---- deferred calls

namespace {

struct DeferredCall {
  void* ob;
  method fn;
  t_symbol* sym;
  std::vector<t_atom> atoms;
};

std::mutex& deferMutex() {
  static std::mutex m;
  return m;
}

std::deque<DeferredCall>& deferQueue() {
  static std::deque<DeferredCall> queue;
  return queue;
}

}  // namespace

void* defer_medium(void* ob, method fn, t_symbol* sym, short argc, t_atom* argv) {
  if (fn == nullptr) return nullptr;
  DeferredCall call{ob, fn, sym, {}};
  if (argc > 0 && argv != nullptr) call.atoms.assign(argv, argv + argc);
  std::lock_guard<std::mutex> lock(deferMutex());
  deferQueue().push_back(std::move(call));
  return nullptr;
}

void* defer_low(void* ob, method fn, t_symbol* sym, short argc, t_atom* argv) {
  return defer_medium(ob, fn, sym, argc, argv);
}

void maxapi_defer_run(void* x) {
  std::vector<DeferredCall> due;
  {
    std::lock_guard<std::mutex> lock(deferMutex());
    auto& queue = deferQueue();
    for (auto it = queue.begin(); it != queue.end();) {
      if (x == nullptr || it->ob == x) {
        due.push_back(std::move(*it));
        it = queue.erase(it);
      } else {
        ++it;
      }
    }
  }
  typedef void (*deferred_fn)(void*, t_symbol*, short, t_atom*);
  for (DeferredCall& call : due) {
    reinterpret_cast<deferred_fn>(call.fn)(call.ob, call.sym, static_cast<short>(call.atoms.size()),
                                           call.atoms.empty() ? nullptr : call.atoms.data());
  }
}

// Called when an object goes: its pending calls go with it.
void maxapi_defer_forget(void* x) {
  std::lock_guard<std::mutex> lock(deferMutex());
  auto& queue = deferQueue();
  for (auto it = queue.begin(); it != queue.end();) {
    it = it->ob == x ? queue.erase(it) : it + 1;
  }
}

// ---- file search

namespace {

std::mutex& pathMutex() {
  static std::mutex m;
  return m;
}

std::vector<std::string>& searchFolders() {
  static std::vector<std::string> folders;
  return folders;
}

// Path ids handed out by locatefile_extended: id - 1 indexes this table.
std::vector<std::string>& pathTable() {
  static std::vector<std::string> paths;
  return paths;
}

short pathId(std::string const& folder) {
  auto& paths = pathTable();
  for (std::size_t i = 0; i < paths.size(); ++i) {
    if (paths[i] == folder) return static_cast<short>(i + 1);
  }
  paths.push_back(folder);
  return static_cast<short>(paths.size());
}

bool isRegularFile(std::filesystem::path const& p) {
  std::error_code ec;
  return std::filesystem::is_regular_file(p, ec);
}

}  // namespace

void maxapi_add_search_path(char const* folder) {
  if (folder == nullptr) return;
  std::lock_guard<std::mutex> lock(pathMutex());
  searchFolders().emplace_back(folder);
}

short locatefile_extended(char* name, short* outvol, t_fourcc* outtype, C74_CONST t_fourcc*,
                          short) {
  if (name == nullptr || name[0] == '\0') return 1;
  namespace fs = std::filesystem;
  std::lock_guard<std::mutex> lock(pathMutex());
  fs::path const given(name);
  fs::path found;
  if (isRegularFile(given)) {
    std::error_code ec;
    found = fs::absolute(given, ec);
    if (ec) return 1;
  } else if (!given.is_absolute()) {
    for (std::string const& folder : searchFolders()) {
      fs::path const candidate = fs::path(folder) / given;
      if (isRegularFile(candidate)) {
        found = candidate;
        break;
      }
    }
  }
  if (found.empty()) return 1;
  std::string const file = found.filename().string();
  if (file.size() >= MAX_FILENAME_CHARS) return 1;
  if (outvol != nullptr) *outvol = pathId(found.parent_path().string());
  if (outtype != nullptr) *outtype = 0;
  std::memcpy(name, file.c_str(), file.size() + 1);
  return 0;
}

short path_toabsolutesystempath(short in_path, C74_CONST char* in_filename, char* out_filename) {
  if (in_filename == nullptr || out_filename == nullptr) return 1;
  std::lock_guard<std::mutex> lock(pathMutex());
  auto const& paths = pathTable();
  if (in_path < 1 || static_cast<std::size_t>(in_path) > paths.size()) return 1;
  std::string const full =
      (std::filesystem::path(paths[static_cast<std::size_t>(in_path - 1)]) / in_filename).string();
  if (full.size() >= MAX_PATH_CHARS) return 1;
  std::memcpy(out_filename, full.c_str(), full.size() + 1);
  return 0;
}
