#pragma once

// The toolbox shared by every signal object of this family: the leading part
// of their records, the documentation and option attributes, dictionary
// helpers, the DSP inlets and outlets, and a few console reports.
//
// Threads: message side only.

#include "ext.h"
#include "ext_obex.h"
#include "z_dsp.h"

namespace nolarmax {

// The leading part of every signal object's record.
struct _NolarMspObject {
  t_pxobject ob;  // z_disabled: the host's switch; z_misc: 1 (no in-place vectors)
  t_object* box;  // the box bound to "#B" when the object was made
  t_symbol* classdescription;
  t_symbol* classdigest;
  t_symbol* externalversion;
  t_symbol* classseealso;
  long mute;
  long bypass;
};

// Registers classdigest, classdescription, externalversion, mute, bypass and
// classseealso, in that order. The documentation texts stand in the "label"
// property of hidden symbol attributes.
void AddDocumentationAndOptionAttributes(t_class* c, char const* digest, char const* description,
                                         int major, int minor, int patch, char const* buildDate,
                                         char const* seeAlso);

// Sets the attribute key from the dictionary entry of the same name. False,
// with a console line, when the entry is missing or of another kind.
bool attr_dictionary_process_long(t_object* x, t_dictionary* d, t_symbol* key);
bool attr_dictionary_process_sym(t_object* x, t_dictionary* d, t_symbol* key);

// Sets an attribute to its "default" property through its setter.
t_max_err ResetAttributeToDefault(t_object* x, t_symbol* name, bool notify, bool useSetter);

// numInputs signal inlets and numOutputs signal outlets.
void CreateDspInletsAndOutlets(_NolarMspObject* x, long numInputs, long numOutputs, bool noInPlace);
void RemoveFromDspChain(_NolarMspObject* x);

// Finds a file by name (as given, then in the search folders); the full path,
// or an empty text.
bool FindFile(char const* name, char* fullPath, long fullPathSize);

// "version" and "postdspstatus".
void postversion(_NolarMspObject* x);
void postdspstatus(_NolarMspObject* x);

// "postattributes [name]": one console line "name : values" per attribute the
// user sees (all of them without a name).
void postattributes(_NolarMspObject* x, t_symbol* s, long argc, t_atom* argv);

// The host's attribute store: every attribute that is neither invisible nor
// opaque, as one list of groups "name count values...", in the order of
// registration. getvalueof allocates *argv (sysmem_newptr) when it is null.
t_max_err nolarmax_getvalueof(_NolarMspObject* x, long* argc, t_atom** argv);
t_max_err nolarmax_setvalueof(_NolarMspObject* x, long argc, t_atom* argv);

// Registers a message with class_addmethod and keeps its name and argument
// type (A_NOTHING, A_SYM, A_LONG, A_FLOAT, A_GIMME or A_CANT) for the
// reference document.
void AddMessage(t_class* c, char const* name, method routine, short type);

// "generatexml": writes the reference document "<class name>.maxref.xml" into
// the current folder: the class's texts, its messages with their arguments,
// and the attributes the user sees with their types, ranges and labels.
void generatexml(_NolarMspObject* x);

// "preset": stores the values of the attributes the user sees (as
// nolarmax_getvalueof lists them) in the host's preset store.
void nolarmax_preset(_NolarMspObject* x);
// "recallpreset [name count values...]": sets the attributes from the list,
// or, without one, from what "preset" stored.
void nolarmax_recallpreset(_NolarMspObject* x, t_symbol* s, long argc, t_atom* argv);

// Tells the box that the object has changed.
void NotifyChange(_NolarMspObject* x);

}  // namespace nolarmax

void nolarmax_common_symbols_init(void);
