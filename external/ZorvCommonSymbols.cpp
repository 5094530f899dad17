#include "ZorvCommonSymbols.h"

zorv_symbols_table zorv_symbols;

void zorv_common_symbols_init(void) {
  zorv_symbols_table& s = zorv_symbols;
  s.binaural = gensym("binaural");
  s.xy = gensym("xy");
  s.ms = gensym("ms");
  s.ab = gensym("ab");
  s.surround = gensym("surround");
  s.panr = gensym("panr");
  s.angular = gensym("angular");
  s.vbap2d = gensym("vbap2d");
  s.vbap = gensym("vbap");
  s.vbip = gensym("vbip");
  s.dbap = gensym("dbap");
  s.dbap3d = gensym("dbap3d");
  s.bformat = gensym("bformat");
  s.hoa2d = gensym("hoa2d");
  s.hoa3d = gensym("hoa3d");
  s.vdbap = gensym("vdbap");
  s.nfchoa2d = gensym("nfchoa2d");
  s.nfchoa3d = gensym("nfchoa3d");
  s.subwoofers = gensym("subwoofers");
  s.null = gensym("null");
  s.direct = gensym("direct");
  s.early = gensym("early");
  s.diffuse = gensym("diffuse");
  s.nearfield = gensym("nearfield");
  s.sh = gensym("sh");
  s.sphericalheadmodel = gensym("sphericalheadmodel");
  s.snowman = gensym("snowman");
  s.continuous = gensym("continuous");
  s.numinputs = gensym("numinputs");
  s.numoutputs = gensym("numoutputs");
  s.type = gensym("type");
  s.subtype = gensym("subtype");
  s.sourcespositions = gensym("sourcespositions");
  s.speakerspositions = gensym("speakerspositions");
  s.interpolationtime = gensym("interpolationtime");
}
