#pragma once

namespace nolardsp {

// One input's share of one output over a run of samples: sample k of the run
// is input[k] times (gain + k * step). A standing gain has step exactly 0, so
// it is applied exactly.
struct GainTerm {
  float const* input;
  float gain;
  float step;
};

// The inner loop of every gain matrix (AmplitudePanning, SignalMatrix).
//
// For k in [0, n): output[k] (+)= sum over the terms, in the given order, of
// (terms[t].gain + k * terms[t].step) * terms[t].input[k]. With overwrite the
// first term writes the output instead of adding to it. The sum is formed
// strictly left to right, term after term, exactly as a series of MulAdd
// passes would form it; the terms are only taken four at a time so that an
// output sample is loaded and stored once per four inputs rather than once per
// input. The output must not overlap any input.
//
// Audio thread; allocates nothing.
void MixGainTerms(float* output, GainTerm const* terms, unsigned int count, unsigned long n,
                  bool overwrite);

}  // namespace nolardsp
