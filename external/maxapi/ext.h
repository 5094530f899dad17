#pragma once

// The part of the host's programming interface that our objects use: symbols,
// atoms, classes, methods, objects, outlets, the console, deferred calls and
// file search. The names and call shapes are the host's, so an object written
// against these headers builds unchanged against the host's own headers.
//
// Threads: everything here runs on the message side. gensym, the console and
// the deferred queue are safe to call from several message threads at once.
// Nothing here may be called from a perform routine.

#include <cstddef>
#include <cstdint>

#define C74_CONST const

typedef long t_atom_long;
typedef double t_atom_float;
typedef long t_max_err;
typedef std::intptr_t t_int;
typedef std::intptr_t t_ptr_int;
typedef unsigned int t_fourcc;
typedef char* t_ptr;

enum e_max_errorcodes {
  MAX_ERR_NONE = 0,
  MAX_ERR_GENERIC = -1,
  MAX_ERR_INVALID_PTR = -2,
  MAX_ERR_DUPLICATE = -3,
  MAX_ERR_OUT_OF_MEM = -4,
};

// A routine as the host stores it; always cast back to its real shape before
// it is called. Objects cast their routines to it when they register them:
// that is the idiom of this interface, so the compiler's warning about such
// casts is off in every file that includes it.
typedef void* (*method)(void*, ...);
#if defined(__GNUC__)
#pragma GCC diagnostic ignored "-Wcast-function-type"
#endif

struct maxapi_class_data;
struct maxapi_instance;
struct t_symbol;

// A class as objects see it: its name and flags; the rest is the host's.
typedef struct maxapi_class {
  struct t_symbol* c_sym;
  long c_flags;  // CLASS_FLAG_NEWDICTIONARY: the constructor gets the box dictionary
  int c_kind;
  struct maxapi_class_data* c_data;
} t_class;

// The header every object starts with.
typedef struct t_object {
  t_class* o_messlist;
  struct maxapi_instance* o_host;
} t_object;

typedef struct t_symbol {
  char* s_name;
  t_object* s_thing;
} t_symbol;

enum e_max_atomtypes {
  A_NOTHING = 0,
  A_LONG,
  A_FLOAT,
  A_SYM,
  A_OBJ,
  A_DEFLONG,
  A_DEFFLOAT,
  A_DEFSYM,
  A_GIMME,
  A_CANT,
  A_SEMI,
  A_COMMA,
  A_DOLLAR,
  A_DOLLSYM,
  A_GIMMEBACK,
};

union word {
  t_atom_long w_long;
  t_atom_float w_float;
  t_symbol* w_sym;
  t_object* w_obj;
};

typedef struct t_atom {
  short a_type;
  union word a_w;
} t_atom;

// Flags of class_new.
#define CLASS_FLAG_NEWDICTIONARY 0x00010000L

// Interned symbol: one pointer per text for the life of the process.
t_symbol* gensym(C74_CONST char* s);

t_atom_long atom_getlong(C74_CONST t_atom* a);
t_atom_float atom_getfloat(C74_CONST t_atom* a);
t_symbol* atom_getsym(C74_CONST t_atom* a);
t_max_err atom_setlong(t_atom* a, t_atom_long b);
t_max_err atom_setfloat(t_atom* a, double b);
t_max_err atom_setsym(t_atom* a, C74_CONST t_symbol* b);
t_max_err atom_setobj(t_atom* a, void* b);
long atom_gettype(C74_CONST t_atom* a);
// The atoms as text, blank-separated ("30." for a whole float). *text is
// allocated (sysmem_newptr) when null; the caller frees it with sysmem_freeptr.
t_max_err atom_gettext(long ac, C74_CONST t_atom* av, long* textsize, char** text, long flags);
// Reads min(ac, count) values; entries past ac keep their values.
t_max_err atom_getfloat_array(long ac, C74_CONST t_atom* av, long count, float* vals);
t_max_err atom_getlong_array(long ac, C74_CONST t_atom* av, long count, t_atom_long* vals);

t_class* class_new(C74_CONST char* name, C74_CONST method mnew, C74_CONST method mfree, long size,
                   C74_CONST method mmenu, short type, ...);
// The argument types follow the name and end with 0 (A_NOTHING).
t_max_err class_addmethod(t_class* c, C74_CONST method m, C74_CONST char* name, ...);
t_max_err class_register(t_symbol* name_space, t_class* c);
t_symbol* class_nameget(t_class* c);

// Zero-filled instance of a class, or null.
void* object_alloc(t_class* c);
// Calls the class's free routine, then releases the instance.
t_max_err object_free(void* x);
t_symbol* object_classname(void* x);
// Calls a method registered under s with pointer-sized arguments.
void* object_method(void* x, t_symbol* s, ...);
// Tells x (usually the object's box) that the sender has changed; s is the
// host's common symbol "modified".
t_max_err object_notify(void* x, t_symbol* s, void* data);

void* outlet_new(void* x, C74_CONST char* s);

// The console, in four severities, printf-style.
void object_post(t_object* x, C74_CONST char* s, ...);
void object_warn(t_object* x, C74_CONST char* s, ...);
void object_error(t_object* x, C74_CONST char* s, ...);
void object_bug(t_object* x, C74_CONST char* s, ...);
void post(C74_CONST char* fmt, ...);
void error(C74_CONST char* fmt, ...);

// Runs fn(ob, sym, argc, argv) later, on the message side; the atoms are
// copied. See the facade for when "later" is.
void* defer_medium(void* ob, method fn, t_symbol* sym, short argc, t_atom* argv);
void* defer_low(void* ob, method fn, t_symbol* sym, short argc, t_atom* argv);

// File search. locatefile_extended finds name as given (absolute or relative
// to the working folder), then in the search folders, in the order they were
// added. On success it returns 0, sets *outvol to the folder's path id and
// reduces name to its last component; path_toabsolutesystempath joins them.
#define MAX_PATH_CHARS 2048
#define MAX_FILENAME_CHARS 512
short locatefile_extended(char* name, short* outvol, t_fourcc* outtype,
                          C74_CONST t_fourcc* filetypelist, short numtypes);
short path_toabsolutesystempath(short in_path, C74_CONST char* in_filename, char* out_filename);

void* sysmem_newptr(long size);
void* sysmem_newptrclear(long size);
void sysmem_freeptr(void* ptr);
void* getbytes(long size);
void freebytes(void* ptr, long size);

// The host's table of common symbols.
typedef struct t_common_symbols_table {
  t_symbol* s_nothing;
  t_symbol* s_long;
  t_symbol* s_float32;
  t_symbol* s_float64;
  t_symbol* s_symbol;
  t_symbol* s_atom;
  t_symbol* s_char;
  t_symbol* s_object;
  t_symbol* s_modified;
  t_symbol* s_box;
  t_symbol* s_signal;
  t_symbol* s_dsp;
  t_symbol* s_assist;
  t_symbol* s_label;
  t_symbol* s_default;
  t_symbol* s_style;
  t_symbol* s_order;
  t_symbol* s_category;
  t_symbol* s_invisible;
  t_symbol* s_enumvals;
  t_symbol* s_description;
  t_symbol* s_min;
  t_symbol* s_max;
  t_symbol* s_units;
} t_common_symbols_table;

extern t_common_symbols_table* _common_symbols;
void common_symbols_init(void);

#define _sym_nothing (_common_symbols->s_nothing)
#define _sym_long (_common_symbols->s_long)
#define _sym_float32 (_common_symbols->s_float32)
#define _sym_float64 (_common_symbols->s_float64)
#define _sym_symbol (_common_symbols->s_symbol)
#define _sym_atom (_common_symbols->s_atom)
#define _sym_char (_common_symbols->s_char)
#define _sym_object (_common_symbols->s_object)
#define _sym_modified (_common_symbols->s_modified)
#define _sym_box (_common_symbols->s_box)
#define _sym_signal (_common_symbols->s_signal)
#define _sym_dsp (_common_symbols->s_dsp)
#define _sym_assist (_common_symbols->s_assist)
#define _sym_label (_common_symbols->s_label)
#define _sym_default (_common_symbols->s_default)
#define _sym_style (_common_symbols->s_style)
#define _sym_order (_common_symbols->s_order)
#define _sym_category (_common_symbols->s_category)
#define _sym_invisible (_common_symbols->s_invisible)
#define _sym_enumvals (_common_symbols->s_enumvals)
#define _sym_description (_common_symbols->s_description)
#define _sym_min (_common_symbols->s_min)
#define _sym_max (_common_symbols->s_max)
#define _sym_units (_common_symbols->s_units)

// The kinds of an "assist" request.
#define ASSIST_INLET 1
#define ASSIST_OUTLET 2
