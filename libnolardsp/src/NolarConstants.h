#pragma once

#include <cfloat>

// Numeric constants shared by every translation unit of the signal library.
namespace nolardsp {

// Careful: the base-10 logarithm of 2, not a base-2 logarithm. Level and octave
// conversions elsewhere depend on exactly this value.
static float const Log2 = 0.30102999566398119521f;
static float const ln2 = 0.69314718055994530942f;
static float const ln10 = 2.30258509299404568402f;
static double const one_over_ln2 = 1.0 / 0.69314718055994530942;
static double const epsilon_double = DBL_EPSILON;  // 2^-52
static float const epsilon_float = FLT_EPSILON;    // 2^-23
static float const NumericLimitFloat = FLT_MAX;
static double const NumericLimitDouble = DBL_MAX;

// Largest channel count an AudioBuffer holds, and the length of allActiveInputs.
static unsigned int const MaxChannels = 1024;

// One entry per input, all 1: what a caller passes when it does not know which
// inputs carry signal.
extern short const allActiveInputs[MaxChannels];

}  // namespace nolardsp
