#pragma once

// The setters of the per-type attributes: 0 when handled, -1 for a rejected
// value. Message side only.

#include "ZorvPanObject.h"

t_max_err zorv_pan_set_attr_binaural(zorv_pan_signal_t* x, t_object* attr, long argc, t_atom* argv);
t_max_err zorv_pan_set_attr_hoa(zorv_pan_signal_t* x, t_object* attr, long argc, t_atom* argv);
t_max_err zorv_pan_set_attr_nfchoa(zorv_pan_signal_t* x, t_object* attr, long argc, t_atom* argv);
t_max_err zorv_pan_set_attr_dbap(zorv_pan_signal_t* x, t_object* attr, long argc, t_atom* argv);
t_max_err zorv_pan_set_attr_vbap(zorv_pan_signal_t* x, t_object* attr, long argc, t_atom* argv);
t_max_err zorv_pan_set_attr_subwoofers(zorv_pan_signal_t* x, t_object* attr, long argc,
                                       t_atom* argv);
