#pragma once

// The host's side of our Max API layer: the records behind t_class, attributes,
// dictionaries and instances, and what the host itself does with them (parse
// box text, build the box dictionary, call a class's constructor, dispatch a
// message, build and run the perform chain, route the console, run deferred
// calls). Objects never include this; the facade and the layer's tests do.
//
// Threads: message side, except maxapi_chain_run, which is the audio thread's
// and allocates nothing.

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "ext.h"
#include "ext_obex.h"
#include "z_dsp.h"

enum maxapi_kind {
  maxapi_kind_class,
  maxapi_kind_attribute,
  maxapi_kind_dictionary,
  maxapi_kind_box
};

enum maxapi_severity { maxapi_post = 0, maxapi_warning = 1, maxapi_error = 2, maxapi_bug = 3 };

typedef std::function<void(int severity, std::string const& text)> maxapi_console_sink;

typedef std::vector<std::pair<t_symbol*, std::vector<t_atom>>> maxapi_entries;

struct maxapi_method_entry {
  t_symbol* name;
  method fn;
  std::vector<short> types;
};

struct maxapi_attr {
  t_object ob;
  t_symbol* name;
  t_symbol* type;
  long flags;
  method getter;
  method setter;
  long offset;
  long size;         // largest element count; 1 for a scalar
  long offsetcount;  // offset of the count word, or -1 for a scalar
  bool clip;
  double clipmin;
  double clipmax;
  long usemin;
  long usemax;
  maxapi_entries properties;  // in the order they were added
};

struct maxapi_class_data {
  method mnew = nullptr;
  method mfree = nullptr;
  long size = 0;
  bool dsp = false;
  std::vector<maxapi_method_entry> methods;
  std::vector<maxapi_attr*> attrs;
};

struct maxapi_dictionary {
  t_object ob;
  maxapi_entries entries;
};

// The perform chain of one object: routine words followed by their arguments,
// as dsp_add appends them.
struct maxapi_chain {
  std::vector<t_int> words;
};

// What the host keeps for each instance, besides its record.
struct maxapi_instance {
  maxapi_console_sink sink;
  std::vector<maxapi_attr*> attrs;  // owned
  long signalInlets = 0;
  long signalOutlets = 0;
  long outlets = 0;
  std::vector<char> outletRecords;  // one byte per outlet: outlet_new answers their addresses
  t_object* box = nullptr;          // owned
  maxapi_chain* chain = nullptr;    // the chain the object's perform routines are in
  std::vector<t_atom> preset;       // the preset store's list for this object
  bool hasPreset = false;
};

// Splits text into atoms as a message box does: whole numbers are longs,
// numbers with a point or an exponent are floats, anything else is a symbol;
// double quotes make one symbol of their contents.
std::vector<t_atom> maxapi_parse_atoms(char const* text);
// An atom as the host shows it: "30", "30.", "0.5", "angular".
std::string maxapi_atom_text(t_atom const& a);

t_class* maxapi_class_find(t_symbol* name_space, t_symbol* name);
maxapi_attr* maxapi_attr_find(void* x, t_symbol* name);
// The instance's attributes: the class's in order of registration, then its own.
std::vector<maxapi_attr*> maxapi_attrs_of(void* x);
// A property of an attribute, or null.
std::vector<t_atom> const* maxapi_attr_property(maxapi_attr const* attr, t_symbol* property);

// The host's creation of a box: with the class's dictionary flag, the words
// "@name values..." become the box dictionary, every class attribute not typed
// in it gets its "default" property, and the constructor receives the leading
// words followed by the dictionary. Console lines posted meanwhile go to sink
// (or the process-wide console when it is empty). Returns the object or null;
// an object that refused to exist is left as it stands, as the host does.
void* maxapi_object_new(t_class* c, std::vector<t_atom> const& atoms, maxapi_console_sink sink);

// The host's dispatch of a message: a registered method by name (A_GIMME,
// A_SYM, no arguments, one long or float), then an attribute of that name
// (through its filter and setter), otherwise the console error of
// maxapi_not_understood. Host-only (A_CANT) methods are not reachable.
void maxapi_object_message(void* x, t_symbol* selector, long argc, t_atom const* argv);
// The host's words for a message an object does not know.
void maxapi_not_understood(void* x, t_symbol* selector);

// Calls the object's "dsp" method with its signal records (inlets, then
// outlets) and connection counts, collecting dsp_add into chain. False if the
// object has no "dsp" method.
bool maxapi_dsp_build(void* x, maxapi_chain& chain, t_signal** signals, short* counts);
// Runs every routine of the chain once. Audio thread; allocates nothing.
void maxapi_chain_run(maxapi_chain const& chain);

void maxapi_set_samplerate(double sr);
void maxapi_set_blocksize(int n);

// Runs the calls deferred for x (all of them when x is null), oldest first;
// calls deferred meanwhile wait for the next time.
void maxapi_defer_run(void* x);

// Lines posted by objects without a sink, oldest first, since the last call.
std::vector<std::pair<int, std::string>> maxapi_console_take();
void maxapi_console_write(t_object* x, int severity, char const* text);

// A folder that locatefile_extended searches.
void maxapi_add_search_path(char const* folder);

// Number of object_notify calls received by a box.
long maxapi_box_notifications(t_object* box);
