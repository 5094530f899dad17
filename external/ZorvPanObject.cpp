#include "ZorvPanObject.h"

#include <cstdio>
#include <vector>

#include "NolarConstants.h"
#include "ZorvNullPanning.h"
#include "ZorvPanFamilies.h"
#include "ZorvPanMessages.h"
#include "ZorvSpeakers.h"

t_class* zorv_pan_class = nullptr;

namespace {

Zorv::Pan* factory(unsigned int numInputs, unsigned int numOutputs, char const* type,
                   char const* subtype) {
  return Zorv::Pan::Factory(numInputs, numOutputs, type, subtype);
}

zorv_pan_factory_function panFactory = factory;

struct zorv_pan_message {
  char const* name;
  method routine;
  short type;  // A_NOTHING, A_SYM, A_GIMME or A_CANT
};

// The messages, in order of registration. Handlers of further messages take
// their place in this table, in the order the object documents them.
zorv_pan_message const zorv_pan_messages[] = {
    {"generatexml", reinterpret_cast<method>(nolarmax::generatexml), A_NOTHING},
    {"version", reinterpret_cast<method>(nolarmax::postversion), A_NOTHING},
    {"postattributes", reinterpret_cast<method>(nolarmax::postattributes), A_GIMME},
    {"getvalueof", reinterpret_cast<method>(nolarmax::nolarmax_getvalueof), A_CANT},
    {"setvalueof", reinterpret_cast<method>(nolarmax::nolarmax_setvalueof), A_CANT},
    {"preset", reinterpret_cast<method>(nolarmax::nolarmax_preset), A_NOTHING},
    {"recallpreset", reinterpret_cast<method>(nolarmax::nolarmax_recallpreset), A_GIMME},
    {"postdspstatus", reinterpret_cast<method>(zorv_pan_postdspstatus), A_NOTHING},
    {"source", reinterpret_cast<method>(zorv_pan_source), A_GIMME},
    {"loudspeakers", reinterpret_cast<method>(zorv_pan_loudspeakers), A_GIMME},
    {"speakers", reinterpret_cast<method>(zorv_pan_loudspeakers), A_GIMME},
    {"loudspeaker", reinterpret_cast<method>(zorv_pan_loudspeaker), A_GIMME},
    {"speaker", reinterpret_cast<method>(zorv_pan_loudspeaker), A_GIMME},
    {"info", reinterpret_cast<method>(zorv_pan_info), A_NOTHING},
    {"clear", reinterpret_cast<method>(zorv_pan_clear), A_NOTHING},
    {"corners", reinterpret_cast<method>(zorv_pan_corners), A_GIMME},
    {"implementation", reinterpret_cast<method>(zorv_pan_implementation), A_GIMME},
    {"crossfadetype", reinterpret_cast<method>(zorv_pan_crossfadetype), A_SYM},
    {"listener", reinterpret_cast<method>(zorv_pan_listener), A_GIMME},
    {"load", reinterpret_cast<method>(zorv_pan_load), A_SYM},
    {"read", reinterpret_cast<method>(zorv_pan_load), A_SYM},
    {"loadnf", reinterpret_cast<method>(zorv_pan_load_nf), A_SYM},
    {"loadNF", reinterpret_cast<method>(zorv_pan_load_nf), A_SYM},
    {"dsp", reinterpret_cast<method>(zorv_pan_dsp), A_CANT},
    {"assist", reinterpret_cast<method>(zorv_pan_assist), A_CANT},
};

void notifyChange(zorv_pan_signal_t* x) {
  nolarmax::NotifyChange(&x->ob);
}

}  // namespace

void zorv_pan_set_factory_for_tests(zorv_pan_factory_function f) {
  panFactory = f != nullptr ? f : factory;
}

void zorv_pan_main(void) {
  common_symbols_init();
  zorv_common_symbols_init();
  nolarmax_common_symbols_init();

  t_class* c = class_new("zorv.pan~", reinterpret_cast<method>(zorv_pan_new),
                         reinterpret_cast<method>(zorv_pan_free),
                         static_cast<long>(sizeof(zorv_pan_signal_t)), nullptr, A_GIMME, 0);
  c->c_flags |= CLASS_FLAG_NEWDICTIONARY;

  nolarmax::AddDocumentationAndOptionAttributes(
      c, "Panner", "Generic multiple inputs panner with different panning methods", 4, 4, 0,
      "Nov 15 2011", "zorv.pan, zorv.pansig~");

  for (zorv_pan_message const& m : zorv_pan_messages) {
    nolarmax::AddMessage(c, m.name, m.routine, m.type);
  }

  zorv_pan_add_class_attributes(c);

  class_dspinit(c);
  class_register(gensym("box"), c);
  zorv_pan_class = c;
}

void* zorv_pan_new(t_symbol*, long argc, t_atom* argv) {
  auto* x = static_cast<zorv_pan_signal_t*>(object_alloc(zorv_pan_class));
  if (x == nullptr) return nullptr;
  t_object* ob = &x->ob.ob.z_ob;

  x->ob.box = gensym("#B")->s_thing;
  x->panner = nullptr;
  x->initialized = 0;

  t_dictionary* d = object_dictionaryarg(argc, argv);
  if (d == nullptr) {
    object_bug(ob, "couldnt process dictionnary");
    return nullptr;
  }

  // All four run, so that every bad entry is reported.
  bool parsed = nolarmax::attr_dictionary_process_long(ob, d, zorv_symbols.numinputs);
  parsed = nolarmax::attr_dictionary_process_long(ob, d, zorv_symbols.numoutputs) && parsed;
  parsed = nolarmax::attr_dictionary_process_sym(ob, d, zorv_symbols.type) && parsed;
  parsed = nolarmax::attr_dictionary_process_sym(ob, d, zorv_symbols.subtype) && parsed;
  if (!parsed) {
    object_error(ob, "error parsing dictionary");
    return nullptr;
  }

  x->panner =
      panFactory(static_cast<unsigned int>(x->numinputs), static_cast<unsigned int>(x->numoutputs),
                 x->type->s_name, x->subtype->s_name);
  if (x->panner == nullptr) {
    object_bug(ob, "couldnt create object (zorv_pan_initialize)");
    object_error(ob, "couldnt create object (zorv_pan_new)");
    return nullptr;
  }
  bool const unsupported =
      dynamic_cast<Zorv::NullPanning*>(x->panner) != nullptr || x->type == zorv_symbols.null;
  if (unsupported) {
    object_error(ob, "Unsupported panning configuration");
    x->type = zorv_symbols.null;
  }

  for (long i = 0; i < x->numinputs; ++i) {
    x->sourceEnabled[i] = 1;
    x->activeInputs[i] = 1;
  }
  // Such a configuration makes no object; the instance is left as it stands.
  if (unsupported) return nullptr;

  zorv_pan_add_type_attributes(x);
  x->initialized = 1;

  // From here every setter acts on the panner, so values typed in the box
  // reach it.
  attr_dictionary_process(x, d);

  // Defaults come after the box's values and replace any it gave.
  zorv_pan_initialize_speakers_positions(x);
  Zorv::Speakers::GetRegularlySpaced(x->sourcespositions, static_cast<unsigned int>(x->numinputs));
  zorv_pan_update_sourcespositions(x, -1);

  nolarmax::CreateDspInletsAndOutlets(&x->ob, x->numinputs, x->numoutputs, true);
  return x;
}

void zorv_pan_free(zorv_pan_signal_t* x) {
  if (x == nullptr) return;
  // Out of the chain first, so that no block runs on a dead panner.
  nolarmax::RemoveFromDspChain(&x->ob);
  delete x->panner;
  x->panner = nullptr;
}

void zorv_pan_initialize_speakers_positions(zorv_pan_signal_t* x) {
  unsigned int const n = static_cast<unsigned int>(x->numoutputs);
  nolardsp::CartesianVector const* layout = Zorv::Speakers::GetDefaultForChannels(n);
  if (layout != nullptr) {
    for (unsigned int j = 0; j < n; ++j) {
      x->speakerspositions[3 * j + 0] = layout[j].x;
      x->speakerspositions[3 * j + 1] = layout[j].y;
      x->speakerspositions[3 * j + 2] = layout[j].z;
    }
  } else {
    Zorv::Speakers::GetRegularlySpaced(x->speakerspositions, n);
  }
  zorv_pan_update_speakerspositions(x);
}

void zorv_pan_update_sourcespositions(zorv_pan_signal_t* x, long index) {
  if (x->panner != nullptr) {
    long const first = index == -1 ? 0 : index;
    long const last = index == -1 ? x->numinputs : index + 1;
    for (long i = first; i < last && i >= 0 && i < x->numinputs; ++i) {
      float const* p = x->sourcespositions + 3 * i;
      x->panner->SetSourcePosition(static_cast<unsigned int>(i),
                                   nolardsp::CartesianVector(p[0], p[1], p[2]), false);
    }
  }
  notifyChange(x);
}

void zorv_pan_update_speakerspositions(zorv_pan_signal_t* x) {
  if (x->numoutputs <= 0) return;
  if (x->panner != nullptr) {
    std::vector<nolardsp::CartesianVector> positions(static_cast<std::size_t>(x->numoutputs));
    for (long j = 0; j < x->numoutputs; ++j) {
      float const* p = x->speakerspositions + 3 * j;
      positions[static_cast<std::size_t>(j)] = nolardsp::CartesianVector(p[0], p[1], p[2]);
    }
    x->panner->SetLoudspeakerPositions(positions.data());
  }
  notifyChange(x);
}

// A flat ring, a line or coincident speakers: the method is silent by design
// there, so say so rather than leave the user with no sound. Said when sound
// is expected (DSP starts, a source is placed), not while a layout is being
// built: a box starts on the default flat ring before its layout arrives.
// Said at every DSP start, but once only for a run of source placements (a
// glide sends hundreds) until the layout surrounds the listener again.
void zorv_pan_warn_if_silent_layout(zorv_pan_signal_t* x, bool always) {
  if (x->panner == nullptr) return;
  if (!zorv_pan_families::HasNoSpeakerTriplet(x->panner)) {
    x->silentLayoutWarned = 0;
    return;
  }
  if (x->silentLayoutWarned != 0 && !always) return;
  x->silentLayoutWarned = 1;
  object_warn(&x->ob.ob.z_ob,
              "the speakers form no triplet around the listener: sources stay silent until "
              "the layout spans three dimensions");
}

void zorv_pan_dsp(zorv_pan_signal_t* x, t_signal** sp, short* count) {
  if (x->panner == nullptr || sp == nullptr || sp[0] == nullptr) return;
  long const n = sp[0]->s_n;
  x->panner->Configure(static_cast<float>(sys_getsr()), static_cast<unsigned int>(n), true);
  zorv_pan_check_hrtf_samplerate(x);
  for (long i = 0; i < x->numinputs; ++i) {
    x->inputConnected[i] = count[i] != 0 ? 1 : 0;
    x->activeInputs[i] = static_cast<short>(x->inputConnected[i] & x->sourceEnabled[i]);
    x->inputs[i] = sp[i]->s_vec;
  }
  for (long j = 0; j < x->numoutputs; ++j) x->outputs[j] = sp[x->numinputs + j]->s_vec;
  zorv_pan_warn_if_silent_layout(x, true);
  dsp_add(zorv_pan_perform, 2, x, n);
}

// Audio thread: at most four tests and one virtual call; allocates nothing.
t_int* zorv_pan_perform(t_int* w) {
  auto* x = reinterpret_cast<zorv_pan_signal_t*>(w[1]);
  unsigned long const n = static_cast<unsigned long>(w[2]);
  Zorv::Pan* panner = x->panner;
  if (panner != nullptr) {
    if (x->ob.mute == 1 || x->ob.ob.z_disabled != 0) {
      panner->Mute(x->outputs, n);
    } else if (x->ob.bypass == 1) {
      // Every input counts here, connected or not.
      panner->Bypass(x->outputs, x->inputs, n, nolardsp::allActiveInputs);
    } else {
      panner->Process(x->outputs, x->inputs, n, x->activeInputs);
    }
  }
  return w + 3;
}

void zorv_pan_assist(zorv_pan_signal_t* x, void*, long m, unsigned long a, char* s) {
  if (s == nullptr) return;
  // The host's assist buffer holds 512 characters.
  std::size_t const size = 512;
  if (m == ASSIST_INLET) {
    if (a < static_cast<unsigned long>(x->numinputs)) std::snprintf(s, size, "input%lu", a + 1);
  } else if (m == ASSIST_OUTLET) {
    if (a < static_cast<unsigned long>(x->numoutputs)) {
      std::snprintf(s, size, "output%lu", a + 1);
    } else if (a == static_cast<unsigned long>(x->numoutputs)) {
      std::snprintf(s, size, "dumpout");
    }
  }
}

void zorv_pan_clear(zorv_pan_signal_t* x) {
  if (x->panner != nullptr) x->panner->Clear();
}

void zorv_pan_postdspstatus(zorv_pan_signal_t* x) {
  nolarmax::postdspstatus(&x->ob);
}
