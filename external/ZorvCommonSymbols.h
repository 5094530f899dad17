#pragma once

// Pre-made symbols. The object tests `type` and `subtype` by comparing symbol
// pointers against these, so a name matches only as the user typed it: an
// alias such as "hoa" builds a panner but matches none of them.

#include "ext.h"

struct zorv_symbols_table {
  // Panning types, canonical names.
  t_symbol* binaural;
  t_symbol* xy;
  t_symbol* ms;
  t_symbol* ab;
  t_symbol* surround;
  t_symbol* panr;
  t_symbol* angular;
  t_symbol* vbap2d;
  t_symbol* vbap;
  t_symbol* vbip;
  t_symbol* dbap;
  t_symbol* dbap3d;
  t_symbol* bformat;
  t_symbol* hoa2d;
  t_symbol* hoa3d;
  t_symbol* vdbap;
  t_symbol* nfchoa2d;
  t_symbol* nfchoa3d;
  t_symbol* subwoofers;
  t_symbol* null;
  // Subtypes.
  t_symbol* direct;
  t_symbol* early;
  t_symbol* diffuse;
  t_symbol* nearfield;
  t_symbol* sh;
  t_symbol* sphericalheadmodel;
  t_symbol* snowman;
  t_symbol* continuous;
  // Attributes of the class.
  t_symbol* numinputs;
  t_symbol* numoutputs;
  t_symbol* type;
  t_symbol* subtype;
  t_symbol* sourcespositions;
  t_symbol* speakerspositions;
  t_symbol* interpolationtime;
};

extern zorv_symbols_table zorv_symbols;

// Fills zorv_symbols; once per process, at class registration.
void zorv_common_symbols_init(void);
