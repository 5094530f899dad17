#pragma once

// The built-in HRTF set: a biquad model of the MIT KEMAR measurements (normal pinna,
// 48000 Hz), measured by Bill Gardner and Keith Martin at the MIT Media Lab in 1994.
// "This data is Copyright 1994 by the MIT Media Laboratory. It is provided free with no
// restrictions on use, provided the authors are cited when the data is used in any
// research or commercial application."
//
// Generated from /usr/share/libmysofa/MIT_KEMAR_normal_pinna.sofa (Debian libmysofa1)
// by: /usr/bin/python3 tools/hrtf-fit/fit_kemar.py --rate 48000, resampled to 48000 Hz
// Do not edit by hand: see tools/hrtf-fit/README.md.
//
// 710 rows, ring by ring from elevation -40 to 90 degrees, each ring from the front
// towards the left. One ear only, the left: column 0 its delay in ms around 1.0,
// column 1 the gain, columns 2..25 six sections b1, b2, a1, a2 (monic numerator and
// denominator), minimum phase, diffuse-field equalised. Read-only: shared by every
// thread without a lock.

namespace Zorv {

extern float const hrtf_2b_KEMAR_48000[710][26];

}  // namespace Zorv
