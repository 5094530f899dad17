// The attributes that an instance has only for its panning type, and their
// setters. Each group is added when the `type` symbol (and for two groups the
// `subtype` symbol) is exactly the one named: aliases such as "hoa" or
// "dbap2d" get none. Every attribute is then set to its "default" through its
// setter, while `initialized` is still 0.
//
// Threads: message side only.

#include <cmath>
#include <cstddef>
#include <cstdio>
#include <string>

#include "NolarMaxAtoms.h"
#include "ZorvDbapPanning.h"
#include "ZorvDefaultParameters.h"
#include "ZorvPanFamilies.h"
#include "ZorvPanMessages.h"
#include "ZorvPanObject.h"
#include "ZorvPanTypeAttributes.h"

namespace families = zorv_pan_families;

// The defaults of renderers whose classes keep their own copies of them.
namespace {
float const DefaultCrossFadeTime = 5.f;                // milliseconds, filter cross-fade
float const DefaultTorsoReflectionCoefficient = 0.3f;  // snowman model
float const MinCutOffFrequency = 10.f;                 // subwoofers, hertz
float const MaxCutOffFrequency = 20000.f;              // subwoofers, hertz
float const DefaultCutOffFrequency = 125.f;            // subwoofers, hertz
}  // namespace

namespace {

t_object* objectOf(zorv_pan_signal_t* x) {
  return &x->ob.ob.z_ob;
}

bool isType(zorv_pan_signal_t* x, char const* name) {
  return x->type == gensym(name);
}

bool isSubtype(zorv_pan_signal_t* x, char const* name) {
  return x->subtype == gensym(name);
}

// A number by the setters' rule: a long is converted, a float taken, anything
// else counts as 0; so does a value that is not finite.
float numberOf(t_atom const* a) {
  float const v = nolarmax::atom_getnumber(a, 0.f);
  return std::isfinite(v) ? v : 0.f;
}

long flagOf(t_atom const* a) {
  return numberOf(a) != 0.f ? 1 : 0;
}

t_symbol* symbolOf(t_atom const* a) {
  return a->a_type == A_SYM ? a->a_w.w_sym : gensym("");
}

// Builds an instance attribute and its properties.
class Builder {
 public:
  Builder(zorv_pan_signal_t* x, method setter, char const* category)
      : x(x), setter(setter), category(category) {}

  Builder& scalar(char const* name, t_symbol* type, long offset) {
    current = name;
    attr = attr_offset_new(name, type, 0, nullptr, setter, offset);
    object_addattr(x, attr);
    return common();
  }

  Builder& array(char const* name, long size, long countOffset, long offset) {
    current = name;
    attr = attr_offset_array_new(name, _sym_float32, size, 0, nullptr, setter, countOffset, offset);
    object_addattr(x, attr);
    return common();
  }

  Builder& clip(double min, double max, bool useMax = true) {
    attr_addfilter_clip(attr, min, max, 1, useMax ? 1 : 0);
    return *this;
  }

  Builder& property(char const* name, char const* text) {
    object_attr_addattr_parse(objectOf(x), current, name, _sym_symbol, 0, text);
    return *this;
  }

  Builder& label(char const* text) {
    object_attr_addattr_format(objectOf(x), current, "label", _sym_symbol, 0, "s", gensym(text));
    return *this;
  }

  Builder& defaultValue(char const* text) { return property("default", text); }

  Builder& defaultFloat(float value) {
    char text[64];
    std::snprintf(text, sizeof text, "%f", static_cast<double>(value));
    return defaultValue(text);
  }

  // n zeros: "%f" then " %f" for each further one.
  Builder& defaultZeros(long n) {
    std::string text;
    char one[32];
    for (long i = 0; i < n; ++i) {
      std::snprintf(one, sizeof one, i == 0 ? "%f" : " %f", 0.);
      text += one;
    }
    return defaultValue(text.c_str());
  }

  void reset() { nolarmax::ResetAttributeToDefault(objectOf(x), gensym(current), false, true); }

 private:
  Builder& common() {
    if (category != nullptr) property("category", category);
    return *this;
  }

  zorv_pan_signal_t* x;
  method setter;
  char const* category;
  char const* current = "";
  t_object* attr = nullptr;
};

#define ZORV_OFFSET(field) static_cast<long>(offsetof(zorv_pan_signal_t, field))

void addBinaural(zorv_pan_signal_t* x) {
  Builder b(x, reinterpret_cast<method>(zorv_pan_set_attr_binaural), "binaural");
  b.array("listenerposition", 3, ZORV_OFFSET(listenerpositionCount), ZORV_OFFSET(listenerposition))
      .defaultZeros(3)
      .label("listener position")
      .reset();
  b.scalar("hrtffile", _sym_symbol, ZORV_OFFSET(hrtffile))
      .defaultValue("none")
      .label("hrtf file")
      .property("style", "file")
      .reset();
  b.scalar("crossfadetime", _sym_float32, ZORV_OFFSET(crossfadetime))
      .clip(0., 0., false)
      .defaultFloat(DefaultCrossFadeTime)
      .label("filter cross fade time (msec)")
      .reset();
  b.scalar("itdtype", _sym_symbol, ZORV_OFFSET(itdtype))
      .defaultValue("measurement")
      .label("itd type")
      .property("style", "enum")
      .property("enumvals", "basic woodworth measurement larcherjot savioja miller")
      .reset();
  b.scalar("headradius", _sym_float32, ZORV_OFFSET(headradius))
      .clip(0., 0., false)
      .defaultFloat(Zorv::ZorvDefaultParameters::DefaultHeadRadius)
      .label("listener head radius [m]")
      .reset();
}

void addSnowman(zorv_pan_signal_t* x) {
  Builder b(x, reinterpret_cast<method>(zorv_pan_set_attr_binaural), "binaural");
  b.scalar("torsoreflection", _sym_float32, ZORV_OFFSET(torsoreflection))
      .clip(0., 1.)
      .defaultFloat(DefaultTorsoReflectionCoefficient)
      .label("torso reflection coefficient")
      .reset();
  b.scalar("torsoradius", _sym_float32, ZORV_OFFSET(torsoradius))
      .clip(0., 0., false)
      .defaultFloat(Zorv::ZorvDefaultParameters::DefaultTorsoRadius)
      .label("listener torso radius [m]")
      .reset();
  b.scalar("neckheight", _sym_float32, ZORV_OFFSET(neckheight))
      .clip(0., 0., false)
      .defaultFloat(Zorv::ZorvDefaultParameters::DefaultNeckHeight)
      .label("listener neck height [m]")
      .reset();
}

void addNearfield(zorv_pan_signal_t* x) {
  Builder b(x, reinterpret_cast<method>(zorv_pan_set_attr_binaural), "binaural");
  b.scalar("nearfieldhrtffile", _sym_symbol, ZORV_OFFSET(nearfieldhrtffile))
      .defaultValue("none")
      .label("nearfield hrtf file")
      .property("style", "file")
      .reset();
  // The default is the minimum written as a whole number, "0", which the clip
  // lifts back to the minimum.
  char minimum[32];
  std::snprintf(minimum, sizeof minimum, "%ld",
                static_cast<long>(Zorv::ZorvDefaultParameters::MinRadius));
  b.scalar("radius", _sym_float32, ZORV_OFFSET(radius))
      .clip(Zorv::ZorvDefaultParameters::MinRadius, 0., false)
      .defaultValue(minimum)
      .label("radius around listener (m)")
      .property("style", "onoff")
      .reset();
  struct Switch {
    char const* name;
    long offset;
    char const* def;
    char const* label;
  } const switches[] = {
      {"distanceattenuation", ZORV_OFFSET(distanceattenuation), "1", "distance attenuation"},
      {"crossearselection", ZORV_OFFSET(crossearselection), "1", "cross ears hrtf selection"},
      {"nfcompensationfilters", ZORV_OFFSET(nfcompensationfilters), "1",
       "nearfield compensation filters"},
      {"hrtffilters", ZORV_OFFSET(hrtffilters), "1", "hrtf filters"},
      {"gainscorrection", ZORV_OFFSET(gainscorrection), "0",
       "monaural gains correction for distance attenuation"},
      {"delayscorrection", ZORV_OFFSET(delayscorrection), "0", "monaural delays (ITD) correction"},
  };
  for (Switch const& s : switches) {
    b.scalar(s.name, _sym_long, s.offset)
        .clip(0., 1.)
        .defaultValue(s.def)
        .label(s.label)
        .property("style", "onoff")
        .reset();
  }
}

void addHoa(zorv_pan_signal_t* x) {
  Builder b(x, reinterpret_cast<method>(zorv_pan_set_attr_hoa), "hoa");
  b.scalar("encoding", _sym_symbol, ZORV_OFFSET(encoding))
      .defaultValue("SN3D")
      .label("HOA encoding convention")
      .property("style", "enum")
      .property("enumvals", "SN3D N3D SN2D N2D");
  // "norm" is the same attribute under another name.
  b.scalar("norm", _sym_symbol, ZORV_OFFSET(encoding))
      .defaultValue("SN3D")
      .label("HOA encoding convention")
      .property("style", "enum")
      .property("enumvals", "SN3D N3D SN2D N2D")
      .property("alias", "encoding");
  nolarmax::ResetAttributeToDefault(objectOf(x), gensym("encoding"), false, true);
  b.scalar("hoasorting", _sym_symbol, ZORV_OFFSET(hoasorting))
      .defaultValue("IncreasingDegrees")
      .label("HOA sorting of components")
      .property("style", "enum")
      .property("enumvals", "IncreasingDegrees AlternateDegrees")
      .reset();
}

void addNfcHoa(zorv_pan_signal_t* x) {
  Builder b(x, reinterpret_cast<method>(zorv_pan_set_attr_nfchoa), "hoa");
  b.scalar("nfchighpass", _sym_long, ZORV_OFFSET(nfchighpass))
      .clip(0., 1.)
      .defaultValue("0")
      .label("high-pass filtering")
      .property("style", "onoff")
      .reset();
  b.scalar("speakersradius", _sym_float32, ZORV_OFFSET(speakersradius))
      .clip(0.2, 10.)
      .defaultValue("1")
      .label("speakers radius")
      .reset();
}

void addDbap(zorv_pan_signal_t* x) {
  Builder b(x, reinterpret_cast<method>(zorv_pan_set_attr_dbap), "dbap");
  b.scalar("spreadmode", _sym_symbol, ZORV_OFFSET(spreadmode))
      .defaultValue(Zorv::Pan::GetSpreadModeName(Zorv::Pan::DefaultSpreadingMode))
      .label("spread mode")
      .property("style", "enum")
      .property("enumvals", "omni directional")
      .reset();
  b.scalar("muteoutside", _sym_long, ZORV_OFFSET(muteoutside))
      .clip(0., 1.)
      .defaultValue("0")
      .label("mute sources outside speakers hull")
      .property("style", "onoff")
      .reset();
  b.array("spread", ZORV_PAN_MAX_CHANNELS, ZORV_OFFSET(numinputs), ZORV_OFFSET(spread))
      .clip(Zorv::DbapPanning::MinSpreadFactor, Zorv::DbapPanning::MaxSpreadFactor)
      .defaultZeros(x->numinputs)
      .label("omnidirectionnal spread")
      .reset();
  b.array("spreadxyz", ZORV_PAN_MAX_CHANNELS * 3, ZORV_OFFSET(sourcespositionsCount),
          ZORV_OFFSET(spreadxyz))
      .clip(Zorv::DbapPanning::MinSpreadFactor, Zorv::DbapPanning::MaxSpreadFactor)
      .defaultZeros(3 * x->numinputs)
      .label("directionnal spread")
      .reset();
}

void addVbap(zorv_pan_signal_t* x) {
  Builder b(x, reinterpret_cast<method>(zorv_pan_set_attr_vbap), "vbap");
  b.array("spread", ZORV_PAN_MAX_CHANNELS, ZORV_OFFSET(numinputs), ZORV_OFFSET(spread))
      .clip(0., 100.)
      .defaultZeros(x->numinputs)
      .label("spread")
      .reset();
}

void addSubwoofers(zorv_pan_signal_t* x) {
  Builder b(x, reinterpret_cast<method>(zorv_pan_set_attr_subwoofers), nullptr);
  b.scalar("cutoff", _sym_float32, ZORV_OFFSET(cutoff))
      .clip(MinCutOffFrequency, MaxCutOffFrequency)
      .defaultFloat(DefaultCutOffFrequency)
      .label("subwoofers cutoff frequency [Hz]")
      .reset();
}

#undef ZORV_OFFSET

char const* nameOf(t_object* attr) {
  t_symbol* name = attr_getname(attr);
  return name != nullptr ? name->s_name : "";
}

t_max_err unknown(zorv_pan_signal_t* x, t_object* attr) {
  object_error(objectOf(x), "unknown attribute %s", nameOf(attr));
  return -1;
}

t_max_err done(zorv_pan_signal_t* x) {
  nolarmax::NotifyChange(&x->ob);
  return 0;
}

// The values of an array attribute: those the message gives, the stored ones
// past its end.
void readArray(long argc, t_atom* argv, long count, float* values) {
  atom_getfloat_array(argc, argv, count, values);
  for (long i = 0; i < count; ++i) {
    if (!std::isfinite(values[i])) values[i] = 0.f;
  }
}

}  // namespace

void zorv_pan_add_type_attributes(zorv_pan_signal_t* x) {
  if (isType(x, "binaural")) {
    x->speakerspositionsCount = 0;
    x->listenerpositionCount = 3;
    addBinaural(x);
    if (isSubtype(x, "snowman")) addSnowman(x);
    if (isSubtype(x, "nearfield")) addNearfield(x);
  }
  if (isType(x, "hoa2d") || isType(x, "hoa3d") || isType(x, "nfchoa2d") || isType(x, "nfchoa3d")) {
    addHoa(x);
  }
  if (isType(x, "nfchoa2d") || isType(x, "nfchoa3d")) addNfcHoa(x);
  if (isType(x, "dbap")) addDbap(x);
  if (isType(x, "vbap") || isType(x, "vbap2d")) addVbap(x);
  if (isType(x, "subwoofers")) addSubwoofers(x);
}

t_max_err zorv_pan_set_attr_binaural(zorv_pan_signal_t* x, t_object* attr, long argc,
                                     t_atom* argv) {
  if (argc < 1 || argv == nullptr) return 0;
  t_object* ob = objectOf(x);
  t_symbol* const name = attr_getname(attr);
  bool const binaural = isType(x, "binaural");
  bool const nearfield = binaural && isSubtype(x, "nearfield");
  bool const snowman = binaural && isSubtype(x, "snowman");
  Zorv::Pan* panner = x->panner;

  // The switches of the nearfield renderer.
  struct Switch {
    char const* name;
    long* field;
    void (*set)(Zorv::Pan*, bool);
  } const switches[] = {
      {"distanceattenuation", &x->distanceattenuation, families::EnableDistanceAttenuation},
      {"crossearselection", &x->crossearselection, families::EnableCrossEarsHrtfSelection},
      {"nfcompensationfilters", &x->nfcompensationfilters, families::EnableNearfieldFilters},
      {"gainscorrection", &x->gainscorrection, families::EnableGainsCorrection},
      {"delayscorrection", &x->delayscorrection, families::EnableDelaysCorrection},
      {"hrtffilters", &x->hrtffilters, families::EnableHrtfFilters},
  };
  for (Switch const& s : switches) {
    if (name != gensym(s.name)) continue;
    *s.field = flagOf(argv);
    if (nearfield) {
      if (!families::IsBinauralNearfield(panner)) {
        object_bug(ob, "couldnt get object");
      } else {
        s.set(panner, *s.field != 0);
        if (s.field == &x->delayscorrection) zorv_pan_update_sourcespositions(x, -1);
      }
    }
    return done(x);
  }

  if (name == gensym("hrtffile")) {
    x->hrtffile = symbolOf(argv);
    zorv_pan_update_hrtffile(x);
  } else if (name == gensym("nearfieldhrtffile")) {
    x->nearfieldhrtffile = symbolOf(argv);
    zorv_pan_update_nearfieldhrtffile(x);
  } else if (name == gensym("radius")) {
    x->radius = numberOf(argv);
    if (isSubtype(x, "nearfield")) {
      if (!families::IsBinauralNearfield(panner)) {
        object_bug(ob, "couldnt get object");
      } else {
        families::SetMinimumRadiusAroundListener(panner, x->radius);
      }
    }
  } else if (name == gensym("crossfadetime")) {
    x->crossfadetime = numberOf(argv);
    if (!binaural) {
      object_error(ob, "message only supported by binaural");
    } else if (!families::IsBinaural(panner)) {
      object_bug(ob, "couldnt get object");
    } else {
      families::SetFilterCrossFadeTime(panner, x->crossfadetime);
    }
  } else if (name == gensym("itdtype")) {
    x->itdtype = symbolOf(argv);
    if (!binaural) {
      object_error(ob, "message only supported by binaural nearfield");
    } else if (!families::IsBinaural(panner)) {
      object_bug(ob, "couldnt get object");
    } else {
      // An unknown name falls back silently to the type in force.
      x->itdtype = gensym(families::SetITDType(panner, x->itdtype->s_name));
    }
  } else if (name == gensym("listenerposition")) {
    float values[3] = {x->listenerposition[0], x->listenerposition[1], x->listenerposition[2]};
    readArray(argc, argv, 3, values);
    for (int k = 0; k < 3; ++k) x->listenerposition[k] = values[k];
    if (!binaural) {
      object_error(ob, "message only supported for binaural rendering");
    } else if (!families::IsBinaural(panner)) {
      object_bug(ob, "couldnt get object");
    } else {
      families::SetListenerPosition(panner,
                                    nolardsp::CartesianVector(values[0], values[1], values[2]));
    }
  } else if (name == gensym("headradius")) {
    x->headradius = numberOf(argv);
    if (!binaural) {
      object_error(ob, "message only supported by binaural");
    } else if (!families::IsBinaural(panner)) {
      object_bug(ob, "couldnt get object");
    } else {
      families::SetListenerHeadRadius(panner, x->headradius);
    }
  } else if (name == gensym("torsoradius") || name == gensym("neckheight")) {
    bool const torso = name == gensym("torsoradius");
    float const value = numberOf(argv);
    (torso ? x->torsoradius : x->neckheight) = value;
    if (!snowman) {
      object_error(ob, "message only supported by binaural");
    } else if (!families::IsBinauralSnowman(panner)) {
      object_bug(ob, "couldnt get object");
    } else if (torso) {
      families::SetListenerTorsoRadius(panner, value);
    } else {
      families::SetListenerNeckHeight(panner, value);
    }
  } else if (name == gensym("torsoreflection")) {
    x->torsoreflection = numberOf(argv);
    if (!snowman) {
      object_error(ob, "message only supported by binaural snowman");
    } else if (!families::IsBinauralSnowman(panner)) {
      object_bug(ob, "couldnt get object");
    } else {
      families::SetTorsoReflectionCoefficient(panner, x->torsoreflection);
    }
  } else {
    return unknown(x, attr);
  }
  return done(x);
}

t_max_err zorv_pan_set_attr_hoa(zorv_pan_signal_t* x, t_object* attr, long argc, t_atom* argv) {
  if (argc < 1 || argv == nullptr) return 0;
  t_object* ob = objectOf(x);
  t_symbol* const name = attr_getname(attr);
  bool const encoding = name == gensym("encoding") || name == gensym("norm");
  if (!encoding && name != gensym("hoasorting")) return unknown(x, attr);

  t_symbol* const tried = symbolOf(argv);
  t_symbol*& field = encoding ? x->encoding : x->hoasorting;
  field = tried;
  bool const hoa = isType(x, "hoa2d") || isType(x, "hoa3d");
  bool const nfc = isType(x, "nfchoa2d") || isType(x, "nfchoa3d");
  if (!hoa && !nfc) {
    object_error(ob, "message only supported by hoa : %s", x->type->s_name);
  } else if (hoa ? !families::IsHoa(x->panner) : !families::IsNfcHoa(x->panner)) {
    object_error(ob, "couldnt get object : %s",
                 encoding ? "zorv_pan_update_hoaencoding" : "zorv_pan_update_hoasorting");
  } else {
    char const* inForce = encoding ? families::SetEncodingNormalization(x->panner, tried->s_name)
                                   : families::SetSorting(x->panner, tried->s_name);
    t_symbol* const readBack = gensym(inForce);
    if (readBack != tried && x->initialized != 0) {
      object_warn(ob, encoding ? "invalid hoa encoding %s" : "invalid hoa sorting %s",
                  tried->s_name);
    }
    field = readBack;
  }
  return done(x);
}

t_max_err zorv_pan_set_attr_nfchoa(zorv_pan_signal_t* x, t_object* attr, long argc, t_atom* argv) {
  if (argc < 1 || argv == nullptr) return 0;
  t_object* ob = objectOf(x);
  t_symbol* const name = attr_getname(attr);
  bool const highpass = name == gensym("nfchighpass");
  if (highpass) {
    x->nfchighpass = flagOf(argv);
  } else if (name == gensym("speakersradius")) {
    x->speakersradius = numberOf(argv);
  } else {
    return unknown(x, attr);
  }
  if (!isType(x, "nfchoa2d") && !isType(x, "nfchoa3d")) {
    object_error(ob, "message only supported by hoa : %s ", x->type->s_name);
  } else if (!families::IsNfcHoa(x->panner)) {
    object_bug(ob, "couldnt get object : %s",
               highpass ? "zorv_pan_update_nfchighpass" : "zorv_pan_update_nfcradius");
  } else if (highpass) {
    families::UseHighPassFilters(x->panner, x->nfchighpass != 0);
  } else {
    families::SetSpeakerRadius(x->panner, x->speakersradius);
  }
  return done(x);
}

t_max_err zorv_pan_set_attr_dbap(zorv_pan_signal_t* x, t_object* attr, long argc, t_atom* argv) {
  if (argc < 1 || argv == nullptr) return 0;
  t_object* ob = objectOf(x);
  t_symbol* const name = attr_getname(attr);
  bool const dbap = isType(x, "dbap");
  if (name == gensym("spreadmode")) {
    t_symbol* const tried = symbolOf(argv);
    x->spreadmode = tried;
    if (!dbap) {
      object_error(ob, "message only supported by dbap");
    } else if (!families::IsDbap(x->panner)) {
      object_error(ob, "couldnt get object : %s", "zorv_pan_update_spreadmode");
    } else {
      families::SetDbapSpreadMode(x->panner, tried->s_name);
      t_symbol* const readBack = gensym(families::GetDbapSpreadModeName(x->panner));
      if (readBack != tried && x->initialized != 0) {
        object_warn(ob, "invalid spreadmode %s", tried->s_name);
      }
      x->spreadmode = readBack;
    }
  } else if (name == gensym("muteoutside")) {
    x->muteoutside = flagOf(argv);
    if (!dbap) {
      object_error(ob, "message only supported by dbap");
    } else if (!families::IsDbap(x->panner)) {
      object_error(ob, "couldnt get object");
    } else {
      families::MuteSourceOutsideSpeakersHull(x->panner, x->muteoutside != 0);
    }
  } else if (name == gensym("spread")) {
    float values[ZORV_PAN_MAX_CHANNELS];
    for (long i = 0; i < x->numinputs; ++i) values[i] = x->spread[i];
    readArray(argc, argv, x->numinputs, values);
    for (long i = 0; i < x->numinputs; ++i) zorv_pan_update_spreadomni(x, i, values[i]);
  } else if (name == gensym("spreadxyz")) {
    float values[ZORV_PAN_MAX_CHANNELS * 3];
    for (long i = 0; i < 3 * x->numinputs; ++i) values[i] = x->spreadxyz[i];
    readArray(argc, argv, 3 * x->numinputs, values);
    for (long i = 0; i < x->numinputs; ++i) zorv_pan_update_spreadxyz(x, i, values + 3 * i);
  } else {
    return unknown(x, attr);
  }
  return done(x);
}

t_max_err zorv_pan_set_attr_vbap(zorv_pan_signal_t* x, t_object* attr, long argc, t_atom* argv) {
  if (argc < 1 || argv == nullptr) return 0;
  if (attr_getname(attr) != gensym("spread")) return unknown(x, attr);
  float values[ZORV_PAN_MAX_CHANNELS];
  for (long i = 0; i < x->numinputs; ++i) values[i] = x->spread[i];
  readArray(argc, argv, x->numinputs, values);
  for (long i = 0; i < x->numinputs; ++i) zorv_pan_update_spreadomni(x, i, values[i]);
  return done(x);
}

t_max_err zorv_pan_set_attr_subwoofers(zorv_pan_signal_t* x, t_object* attr, long argc,
                                       t_atom* argv) {
  if (argc < 1 || argv == nullptr) return 0;
  t_object* ob = objectOf(x);
  if (attr_getname(attr) != gensym("cutoff")) return unknown(x, attr);
  x->cutoff = numberOf(argv);
  if (!isType(x, "subwoofers")) {
    object_error(ob, "message only supported by subwoofers : %s ", x->type->s_name);
  } else if (!families::IsSubwoofers(x->panner)) {
    object_bug(ob, "couldnt get object : %s", "zorv_pan_update_subwoofers");
  } else {
    families::SetCutOffFrequency(x->panner, x->cutoff);
  }
  return done(x);
}
