#pragma once

// Attributes and dictionaries, with the host's names and call shapes.
//
// An attribute reads and writes one field of the object's record (or an array
// of fields with a count word), optionally through a custom setter and getter,
// and carries named properties ("label", "default", "order", ...). Setting a
// value goes filter first (clip), then the setter. Threads: message side only.

#include "ext.h"

// Attribute flags.
#define ATTR_FLAGS_NONE 0x0000
#define ATTR_GET_OPAQUE 0x0001
#define ATTR_SET_OPAQUE 0x0002
#define ATTR_GET_OPAQUE_USER 0x0100
#define ATTR_SET_OPAQUE_USER 0x0200

typedef struct maxapi_dictionary t_dictionary;

// Custom accessors: t_max_err set(t_object* x, t_object* attr, long ac,
// t_atom* av) and t_max_err get(t_object* x, t_object* attr, long* ac,
// t_atom** av).
t_object* attr_offset_new(C74_CONST char* name, C74_CONST t_symbol* type, long flags,
                          C74_CONST method mget, C74_CONST method mset, long offset);
// size is the largest element count; offsetcount the offset of the long that
// holds the present count.
t_object* attr_offset_array_new(C74_CONST char* name, t_symbol* type, long size, long flags,
                                method mget, method mset, long offsetcount, long offset);
t_max_err class_addattr(t_class* c, t_object* attr);
t_object* class_attr_get(t_class* x, t_symbol* attrname);
// Adds an attribute to one instance only (on top of the class's).
t_max_err object_addattr(void* x, t_object* attr);
t_max_err object_deleteattr(void* x, t_symbol* attrname);
// The attribute of that name (the instance's first, then the class's).
t_object* object_attr_get(void* x, t_symbol* attrname);
t_symbol* attr_getname(t_object* attr);
// The names of all attributes of x, in the order of registration (the class's,
// then the instance's); *argv is allocated, the caller frees it.
t_max_err object_attr_getnames(void* x, long* argc, t_symbol*** argv);
long object_attr_getflags(void* x, t_symbol* attrname);

// Properties ("attributes of attributes"). parsestr is split like box text;
// fmt is one letter per value: l or i (long), f or d (double), s (symbol).
t_max_err class_attr_addattr_parse(t_class* c, C74_CONST char* attrname, C74_CONST char* attrname2,
                                   C74_CONST t_symbol* type, long flags, C74_CONST char* parsestr);
t_max_err class_attr_addattr_format(t_class* c, C74_CONST char* attrname, C74_CONST char* attrname2,
                                    C74_CONST t_symbol* type, long flags, C74_CONST char* fmt, ...);
t_max_err object_attr_addattr_parse(t_object* x, C74_CONST char* attrname,
                                    C74_CONST char* attrname2, C74_CONST t_symbol* type, long flags,
                                    C74_CONST char* parsestr);
t_max_err object_attr_addattr_format(t_object* x, C74_CONST char* attrname,
                                     C74_CONST char* attrname2, C74_CONST t_symbol* type,
                                     long flags, C74_CONST char* fmt, ...);
// A property's value; *argv is allocated (sysmem_newptr) when null, and the
// caller frees it with sysmem_freeptr.
t_max_err object_attr_attr_getvalueof(void* x, t_symbol* attrname, t_symbol* attrname2, long* argc,
                                      t_atom** argv);

// Besides the properties added by the class, every attribute answers "type"
// (its type symbol) and "size" (its largest element count) here.

// Every value set on the attribute is clipped first.
t_max_err attr_addfilter_clip(void* x, double min, double max, long usemin, long usemax);

t_max_err object_attr_setvalueof(void* x, t_symbol* s, long argc, C74_CONST t_atom* argv);
// As object_attr_attr_getvalueof: *argv is allocated when null and *argc 0.
t_max_err object_attr_getvalueof(void* x, t_symbol* s, long* argc, t_atom** argv);
t_atom_long object_attr_getlong(void* x, t_symbol* s);
t_atom_float object_attr_getfloat(void* x, t_symbol* s);
t_symbol* object_attr_getsym(void* x, t_symbol* s);

// The host's preset store: one list of atoms kept for each object, written
// when the object answers "preset" and read back when it is recalled.
t_max_err preset_store_atoms(t_object* x, long argc, C74_CONST t_atom* argv);
// *argv is allocated (sysmem_newptr); an error when nothing is stored.
t_max_err preset_recall_atoms(t_object* x, long* argc, t_atom** argv);

// Dictionaries: ordered keys, each with a list of atoms. Freed with object_free.
t_dictionary* dictionary_new(void);
t_max_err dictionary_appendlong(t_dictionary* d, t_symbol* key, t_atom_long value);
t_max_err dictionary_appendfloat(t_dictionary* d, t_symbol* key, double value);
t_max_err dictionary_appendsym(t_dictionary* d, t_symbol* key, t_symbol* value);
t_max_err dictionary_appendatoms(t_dictionary* d, t_symbol* key, long argc, t_atom* argv);
long dictionary_hasentry(C74_CONST t_dictionary* d, t_symbol* key);
long dictionary_getentrycount(C74_CONST t_dictionary* d);
// A number entry (long or float, converted); an error for anything else.
t_max_err dictionary_getlong(C74_CONST t_dictionary* d, t_symbol* key, t_atom_long* value);
t_max_err dictionary_getfloat(C74_CONST t_dictionary* d, t_symbol* key, double* value);
// A symbol entry; an error for anything else.
t_max_err dictionary_getsym(C74_CONST t_dictionary* d, t_symbol* key, t_symbol** value);
// The entry's atoms, owned by the dictionary.
t_max_err dictionary_getatoms(C74_CONST t_dictionary* d, t_symbol* key, long* argc, t_atom** argv);

// The dictionary a dictionary constructor receives in its arguments, or null.
t_dictionary* object_dictionaryarg(long ac, t_atom* av);
// Sets every attribute of x that has an entry in d, in the order in which the
// attributes were registered (the class's, then the instance's).
t_max_err attr_dictionary_process(void* x, t_dictionary* d);
