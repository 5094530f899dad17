#pragma once

// The signal object zorv.pan~: numinputs sources in, numoutputs channels out,
// one panner chosen at creation by `type` and `subtype`.
//
// Threads: the audio thread runs zorv_pan_perform only; everything else runs
// on the host's message threads. There is no lock: setters write into the
// panner directly, and the panner takes the values up at a safe moment.

#include "NolarMaxObject.h"
#include "ZorvCommonSymbols.h"
#include "ZorvPan.h"
#include "ext.h"
#include "ext_obex.h"
#include "z_dsp.h"

// Most channels a box may have; the vector tables are larger on purpose.
#define ZORV_PAN_MAX_CHANNELS 128
#define ZORV_PAN_VECTOR_TABLE_SIZE 256

struct zorv_pan_signal_t {
  nolarmax::_NolarMspObject ob;

  float* inputs[ZORV_PAN_VECTOR_TABLE_SIZE];   // set by zorv_pan_dsp below numinputs
  float* outputs[ZORV_PAN_VECTOR_TABLE_SIZE];  // set by zorv_pan_dsp below numoutputs
  short inputConnected[ZORV_PAN_VECTOR_TABLE_SIZE];
  Zorv::Pan* panner;  // owned; never replaced after creation
  char initialized;   // 0 until the panner and the per-type attributes exist
  long speakerspositionsCount;
  long sourcespositionsCount;
  float listenerposition[3];
  long listenerpositionCount;
  long numinputs;
  long numoutputs;
  t_symbol* type;     // as typed in the box
  t_symbol* subtype;  // as typed in the box
  float sourcespositions[ZORV_PAN_MAX_CHANNELS * 3];
  float interpolationtime;
  float speakerspositions[ZORV_PAN_MAX_CHANNELS * 3];

  // Binaural.
  t_symbol* hrtffile;
  float crossfadetime;
  t_symbol* itdtype;
  float headradius;
  float torsoreflection;
  float torsoradius;
  float neckheight;
  t_symbol* nearfieldhrtffile;
  float radius;
  long distanceattenuation;
  long crossearselection;
  long nfcompensationfilters;
  long hrtffilters;
  long gainscorrection;
  long delayscorrection;

  // Higher-order ambisonics.
  t_symbol* encoding;
  t_symbol* hoasorting;

  // Spread.
  t_symbol* spreadmode;
  float spread[ZORV_PAN_MAX_CHANNELS];
  float spreadxyz[ZORV_PAN_MAX_CHANNELS * 3];
  long muteoutside;

  short sourceEnabled[ZORV_PAN_MAX_CHANNELS];  // 0 once muted by "source <n> mute 1"
  short activeInputs[ZORV_PAN_MAX_CHANNELS];   // inputConnected & sourceEnabled

  long nfchighpass;
  float speakersradius;
  float cutoff;

  // 1 once a source placed on a layout without a triplet was warned about; 0
  // again as soon as the layout surrounds the listener.
  char silentLayoutWarned;
};

extern t_class* zorv_pan_class;

// Registers the class; once per process.
void zorv_pan_main(void);

void* zorv_pan_new(t_symbol* s, long argc, t_atom* argv);
void zorv_pan_free(zorv_pan_signal_t* x);
void zorv_pan_dsp(zorv_pan_signal_t* x, t_signal** sp, short* count);
t_int* zorv_pan_perform(t_int* w);
void zorv_pan_assist(zorv_pan_signal_t* x, void* b, long m, unsigned long a, char* s);
void zorv_pan_clear(zorv_pan_signal_t* x);
void zorv_pan_postdspstatus(zorv_pan_signal_t* x);

// Registers the class attributes (numinputs ... interpolationtime).
void zorv_pan_add_class_attributes(t_class* c);
// The setter of the class attributes: 0 when handled, -1 for a refused value.
t_max_err zorv_pan_set_attr(zorv_pan_signal_t* x, t_object* attr, long argc, t_atom* argv);

// Sends source positions to the panner: one (index) or all (-1), ramped.
void zorv_pan_update_sourcespositions(zorv_pan_signal_t* x, long index);
// Warns when the panner is vector-based and its speakers form no triplet, so
// that every source is silent.
void zorv_pan_warn_if_silent_layout(zorv_pan_signal_t* x, bool always = false);
void zorv_pan_update_speakerspositions(zorv_pan_signal_t* x);
void zorv_pan_initialize_speakers_positions(zorv_pan_signal_t* x);
// Adds the attributes of the instance's panning type.
void zorv_pan_add_type_attributes(zorv_pan_signal_t* x);

// The panner maker used by zorv_pan_new: Pan::Factory unless a test put its
// own in place. Null restores Pan::Factory.
typedef Zorv::Pan* (*zorv_pan_factory_function)(unsigned int numInputs, unsigned int numOutputs,
                                                char const* type, char const* subtype);
void zorv_pan_set_factory_for_tests(zorv_pan_factory_function factory);
