#pragma once

// The handlers of zorv.pan~'s messages. Most make the same three checks in
// the same order: the `type` symbol as typed in the box, the panner's class,
// then the atoms. A failed check prints one line and changes nothing.
//
// Threads: message side only; none of them is called on the audio thread.
// They call the panner without a lock, as its setters allow.

#include "ZorvPanObject.h"

void zorv_pan_source(zorv_pan_signal_t* x, t_symbol* s, long argc, t_atom* argv);
void zorv_pan_loudspeakers(zorv_pan_signal_t* x, t_symbol* s, long argc, t_atom* argv);
void zorv_pan_loudspeaker(zorv_pan_signal_t* x, t_symbol* s, long argc, t_atom* argv);
void zorv_pan_listener(zorv_pan_signal_t* x, t_symbol* s, long argc, t_atom* argv);
void zorv_pan_corners(zorv_pan_signal_t* x, t_symbol* s, long argc, t_atom* argv);
void zorv_pan_info(zorv_pan_signal_t* x);
void zorv_pan_implementation(zorv_pan_signal_t* x, t_symbol* s, long argc, t_atom* argv);
void zorv_pan_implementation_deferred(zorv_pan_signal_t* x, t_symbol* s, long argc, t_atom* argv);
void zorv_pan_crossfadetype(zorv_pan_signal_t* x, t_symbol* name);
void zorv_pan_load(zorv_pan_signal_t* x, t_symbol* file);
void zorv_pan_load_nf(zorv_pan_signal_t* x, t_symbol* file);

// Shared with the attribute setters.
void zorv_pan_update_spreadomni(zorv_pan_signal_t* x, long index, float value);
void zorv_pan_update_spreadxyz(zorv_pan_signal_t* x, long index, float const* values);
void zorv_pan_update_hrtffile(zorv_pan_signal_t* x);
void zorv_pan_update_nearfieldhrtffile(zorv_pan_signal_t* x);
void zorv_pan_hrtfinfo(zorv_pan_signal_t* x);
// Warns, once after each load or change of rate, when the HRTF set in use is
// made for another sample rate than the running one.
void zorv_pan_check_hrtf_samplerate(zorv_pan_signal_t* x);
