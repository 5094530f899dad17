// The class attributes of zorv.pan~ and their setter.

#include <cstddef>

#include "ZorvAmplitudePanning.h"
#include "ZorvPanObject.h"

namespace {

method const setter = reinterpret_cast<method>(zorv_pan_set_attr);

void addLong(t_class* c, char const* name, long offset, char const* def, char const* label,
             long min, long max) {
  t_object* attr = attr_offset_new(name, _sym_long, 0, nullptr, setter, offset);
  class_addattr(c, attr);
  attr_addfilter_clip(attr, min, max, 1, 1);
  class_attr_addattr_parse(c, name, "default", _sym_long, 0, def);
  class_attr_addattr_format(c, name, "label", _sym_symbol, 0, "s", gensym(label));
  class_attr_addattr_format(c, name, "minvalue", _sym_long, 0, "l", static_cast<t_atom_long>(min));
  class_attr_addattr_format(c, name, "maxvalue", _sym_long, 0, "l", static_cast<t_atom_long>(max));
}

void addSymbol(t_class* c, char const* name, long offset, char const* def, char const* label,
               char const* enumvals) {
  class_addattr(c, attr_offset_new(name, _sym_symbol, 0, nullptr, setter, offset));
  class_attr_addattr_parse(c, name, "default", _sym_symbol, 0, def);
  class_attr_addattr_format(c, name, "label", _sym_symbol, 0, "s", gensym(label));
  class_attr_addattr_parse(c, name, "style", _sym_symbol, 0, "enum");
  class_attr_addattr_parse(c, name, "enumvals", _sym_symbol, 0, enumvals);
}

void addPositions(t_class* c, char const* name, long countOffset, long offset, char const* label) {
  class_addattr(c, attr_offset_array_new(name, _sym_float32, ZORV_PAN_MAX_CHANNELS * 3, 0, nullptr,
                                         setter, countOffset, offset));
  class_attr_addattr_format(c, name, "label", _sym_symbol, 0, "s", gensym(label));
  class_attr_addattr_parse(c, name, "units", _sym_symbol, 0, "xyz");
}

// A number by the setters' rule: a long is converted, a float taken, anything
// else counts as 0.
double numberOf(t_atom const* a) {
  if (a->a_type == A_LONG || a->a_type == A_FLOAT) return atom_getfloat(a);
  return 0.;
}

long channelCount(t_atom const* a) {
  long const v = static_cast<long>(numberOf(a));
  if (v < 1) return 1;
  return v > ZORV_PAN_MAX_CHANNELS ? ZORV_PAN_MAX_CHANNELS : v;
}

// While initialized is 0 a structural attribute is only stored; after, the
// same value passes silently and a different one is refused.
bool refuseStructuralChange(zorv_pan_signal_t* x, bool differs, char const* what) {
  if (x->initialized == 0 || !differs) return false;
  object_error(&x->ob.ob.z_ob, "could not dynamically change %s", what);
  return true;
}

}  // namespace

void zorv_pan_add_class_attributes(t_class* c) {
  addLong(c, "numinputs", offsetof(zorv_pan_signal_t, numinputs), "1", "number of input channels",
          1, ZORV_PAN_MAX_CHANNELS);
  addLong(c, "numoutputs", offsetof(zorv_pan_signal_t, numoutputs), "4",
          "number of output channels", 1, ZORV_PAN_MAX_CHANNELS);
  addSymbol(c, "type", offsetof(zorv_pan_signal_t, type), "angular", "panning type",
            Zorv::Pan::GetListOfAvailablePanType(" "));
  addSymbol(c, "subtype", offsetof(zorv_pan_signal_t, subtype), "direct", "panning subtype",
            "direct early diffuse nearfield sh sphericalheadmodel snowman continuous");
  addPositions(c, "sourcespositions", offsetof(zorv_pan_signal_t, sourcespositionsCount),
               offsetof(zorv_pan_signal_t, sourcespositions), "sources positions");
  addPositions(c, "speakerspositions", offsetof(zorv_pan_signal_t, speakerspositionsCount),
               offsetof(zorv_pan_signal_t, speakerspositions), "speakers positions");

  char const* const name = "interpolationtime";
  t_object* attr = attr_offset_new(name, _sym_float32, 0, nullptr, setter,
                                   offsetof(zorv_pan_signal_t, interpolationtime));
  class_addattr(c, attr);
  attr_addfilter_clip(attr, 0., 200., 1, 1);
  // The ramp time a box gets unless it says otherwise: the gain-matrix panners' own.
  class_attr_addattr_format(c, name, "default", _sym_float32, 0, "f",
                            static_cast<double>(Zorv::AmplitudePanning::DefaultInterpolationTime));
  class_attr_addattr_format(c, name, "label", _sym_symbol, 0, "s",
                            gensym("interpolation time (ramp and delay lines)"));
  class_attr_addattr_parse(c, name, "minvalue", _sym_float32, 0, "0.");
  class_attr_addattr_parse(c, name, "maxvalue", _sym_float32, 0, "200.");

  // The order of display.
  char const* const ordered[] = {"numinputs", "numoutputs",       "type",
                                 "subtype",   "sourcespositions", "interpolationtime"};
  t_atom_long order = 1;
  for (char const* attribute : ordered) {
    class_attr_addattr_format(c, attribute, "order", _sym_long, 0, "l", order++);
  }
}

t_max_err zorv_pan_set_attr(zorv_pan_signal_t* x, t_object* attr, long argc, t_atom* argv) {
  if (argc < 1 || argv == nullptr) return 0;
  zorv_symbols_table const& s = zorv_symbols;
  t_symbol* const name = attr_getname(attr);

  if (name == s.numinputs) {
    long const value = channelCount(argv);
    if (refuseStructuralChange(x, value != x->numinputs, "number of inputs")) return -1;
    x->numinputs = value;
    x->sourcespositionsCount = 3 * value;
  } else if (name == s.numoutputs) {
    long const value = channelCount(argv);
    if (refuseStructuralChange(x, value != x->numoutputs, "number of outputs")) return -1;
    x->numoutputs = value;
    x->speakerspositionsCount = x->type == s.binaural ? 0 : 3 * value;
  } else if (name == s.type) {
    t_symbol* const value = atom_getsym(argv);
    if (refuseStructuralChange(x, value != x->type, "pan type")) return -1;
    x->type = value;
  } else if (name == s.subtype) {
    t_symbol* const value = atom_getsym(argv);
    if (refuseStructuralChange(x, value != x->subtype, "pan subtype")) return -1;
    x->subtype = value;
  } else if (name == s.sourcespositions) {
    // A short list changes the leading values only.
    atom_getfloat_array(argc, argv, x->sourcespositionsCount, x->sourcespositions);
    zorv_pan_update_sourcespositions(x, -1);
    zorv_pan_warn_if_silent_layout(x);
  } else if (name == s.speakerspositions) {
    atom_getfloat_array(argc, argv, x->speakerspositionsCount, x->speakerspositions);
    zorv_pan_update_speakerspositions(x);
  } else if (name == s.interpolationtime) {
    x->interpolationtime = static_cast<float>(numberOf(argv));
    if (x->panner != nullptr) x->panner->SetInterpolationTime(x->interpolationtime);
  } else {
    object_error(&x->ob.ob.z_ob, "unknown attribute %s", name != nullptr ? name->s_name : "");
    return -1;
  }
  nolarmax::NotifyChange(&x->ob);
  return 0;
}
