#include "NolarGainMix.h"

namespace nolardsp {

namespace {

// The loops below are written out per group size so that each one is a single
// unit-stride loop over samples with restrict-qualified pointers: the compiler
// turns each into vector code. Ramped groups compute the gain of sample k from
// the start of the run (gain + k * step) rather than by accumulation, which
// keeps the loop free of a carried dependency and the gain on its line.

template <bool Write>
void constant1(float* __restrict o, float const* __restrict a, float ga, long n) {
  for (long k = 0; k < n; ++k) {
    if (Write) {
      o[k] = ga * a[k];
    } else {
      o[k] = o[k] + ga * a[k];
    }
  }
}

template <bool Write>
void constant2(float* __restrict o, float const* __restrict a, float const* __restrict b, float ga,
               float gb, long n) {
  for (long k = 0; k < n; ++k) {
    if (Write) {
      o[k] = ga * a[k] + gb * b[k];
    } else {
      o[k] = o[k] + ga * a[k] + gb * b[k];
    }
  }
}

template <bool Write>
void constant4(float* __restrict o, float const* __restrict a, float const* __restrict b,
               float const* __restrict c, float const* __restrict d, float ga, float gb, float gc,
               float gd, long n) {
  for (long k = 0; k < n; ++k) {
    if (Write) {
      o[k] = ga * a[k] + gb * b[k] + gc * c[k] + gd * d[k];
    } else {
      o[k] = o[k] + ga * a[k] + gb * b[k] + gc * c[k] + gd * d[k];
    }
  }
}

// Ramp lengths are int sample counts, so an int index converts to float in
// vector registers.
template <bool Write>
void ramp1(float* __restrict o, float const* __restrict a, float ga, float sa, int n) {
  for (int k = 0; k < n; ++k) {
    float const fk = static_cast<float>(k);
    if (Write) {
      o[k] = (ga + fk * sa) * a[k];
    } else {
      o[k] = o[k] + (ga + fk * sa) * a[k];
    }
  }
}

template <bool Write>
void ramp2(float* __restrict o, float const* __restrict a, float const* __restrict b, float ga,
           float gb, float sa, float sb, int n) {
  for (int k = 0; k < n; ++k) {
    float const fk = static_cast<float>(k);
    if (Write) {
      o[k] = (ga + fk * sa) * a[k] + (gb + fk * sb) * b[k];
    } else {
      o[k] = o[k] + (ga + fk * sa) * a[k] + (gb + fk * sb) * b[k];
    }
  }
}

template <bool Write>
void ramp4(float* __restrict o, float const* __restrict a, float const* __restrict b,
           float const* __restrict c, float const* __restrict d, float ga, float gb, float gc,
           float gd, float sa, float sb, float sc, float sd, int n) {
  for (int k = 0; k < n; ++k) {
    float const fk = static_cast<float>(k);
    if (Write) {
      o[k] = (ga + fk * sa) * a[k] + (gb + fk * sb) * b[k] + (gc + fk * sc) * c[k] +
             (gd + fk * sd) * d[k];
    } else {
      o[k] = o[k] + (ga + fk * sa) * a[k] + (gb + fk * sb) * b[k] + (gc + fk * sc) * c[k] +
             (gd + fk * sd) * d[k];
    }
  }
}

template <bool Write>
void group(float* o, GainTerm const* t, unsigned int size, long n) {
  bool ramped = false;
  for (unsigned int i = 0; i < size; ++i) ramped = ramped || t[i].step != 0.f;
  if (!ramped) {
    switch (size) {
      case 4:
        constant4<Write>(o, t[0].input, t[1].input, t[2].input, t[3].input, t[0].gain, t[1].gain,
                         t[2].gain, t[3].gain, n);
        return;
      case 2:
        constant2<Write>(o, t[0].input, t[1].input, t[0].gain, t[1].gain, n);
        return;
      default:
        constant1<Write>(o, t[0].input, t[0].gain, n);
        return;
    }
  }
  int const m = static_cast<int>(n);
  switch (size) {
    case 4:
      ramp4<Write>(o, t[0].input, t[1].input, t[2].input, t[3].input, t[0].gain, t[1].gain,
                   t[2].gain, t[3].gain, t[0].step, t[1].step, t[2].step, t[3].step, m);
      return;
    case 2:
      ramp2<Write>(o, t[0].input, t[1].input, t[0].gain, t[1].gain, t[0].step, t[1].step, m);
      return;
    default:
      ramp1<Write>(o, t[0].input, t[0].gain, t[0].step, m);
      return;
  }
}

}  // namespace

void MixGainTerms(float* output, GainTerm const* terms, unsigned int count, unsigned long n,
                  bool overwrite) {
  if (count == 0 || n == 0) return;
  // A ramped run never spans more samples than an int counts: ramp periods
  // are int sample counts. Only standing gains see longer runs.
  long const length = static_cast<long>(n);
  unsigned int done = 0;
  bool write = overwrite;
  while (done < count) {
    unsigned int const left = count - done;
    unsigned int const size = left >= 4 ? 4 : (left >= 2 ? 2 : 1);
    if (write) {
      group<true>(output, terms + done, size, length);
    } else {
      group<false>(output, terms + done, size, length);
    }
    write = false;
    done += size;
  }
}

}  // namespace nolardsp
