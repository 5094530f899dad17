#include "NolarGainMatrixMixer.h"

#include "NolarVectorOperations.h"

// No fused multiply-add in this file: every sample is the same whichever
// vector width runs it, whatever the block size, on every processor.
#if defined(__clang__)
#pragma clang fp contract(off)
#elif defined(__GNUC__)
#pragma GCC optimize("fp-contract=off")
#endif

namespace nolardsp {

namespace {

// The sample loops, written out per group size so that each is a single
// unit-stride loop with restrict-qualified pointers that the compiler turns
// into vector code. Four inputs per pass: an output sample is loaded and
// stored once per four inputs instead of once per input, and the sum keeps
// its left-to-right order.

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

// Ramped chunks never exceed a period, whose length is an int, so the sample
// index converts to float inside vector registers.
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
void group(float* o, float const* const* in, float const* g, float const* s, unsigned int size,
           long n) {
  bool ramped = false;
  for (unsigned int e = 0; e < size; ++e) ramped = ramped || s[e] != 0.f;
  if (!ramped) {
    if (size == 4) {
      constant4<Write>(o, in[0], in[1], in[2], in[3], g[0], g[1], g[2], g[3], n);
    } else if (size == 2) {
      constant2<Write>(o, in[0], in[1], g[0], g[1], n);
    } else {
      constant1<Write>(o, in[0], g[0], n);
    }
    return;
  }
  int const m = static_cast<int>(n);
  if (size == 4) {
    ramp4<Write>(o, in[0], in[1], in[2], in[3], g[0], g[1], g[2], g[3], s[0], s[1], s[2], s[3], m);
  } else if (size == 2) {
    ramp2<Write>(o, in[0], in[1], g[0], g[1], s[0], s[1], m);
  } else {
    ramp1<Write>(o, in[0], g[0], s[0], m);
  }
}

// output (+)= the terms, first one writing when overwrite is set.
//
// On x86-64 this is built once per vector width and the widest the processor
// runs is picked at load time. The clones do the same operations in the same
// order (no fused multiply-add), so every processor computes the same samples.
#if defined(__GNUC__) && defined(__x86_64__)
__attribute__((target_clones("avx512f", "avx2", "default"), flatten))
#endif
void mixTerms(float* output, float const* const* inputs, float const* gains, float const* steps,
              unsigned int count, long n, bool overwrite) {
  unsigned int done = 0;
  bool write = overwrite;
  while (done < count) {
    unsigned int const left = count - done;
    unsigned int const size = left >= 4 ? 4 : (left >= 2 ? 2 : 1);
    if (write) {
      group<true>(output, inputs + done, gains + done, steps + done, size, n);
    } else {
      group<false>(output, inputs + done, gains + done, steps + done, size, n);
    }
    write = false;
    done += size;
  }
}

}  // namespace

GainMatrixMixer::GainMatrixMixer() : numInputs(0), numOutputs(0) {}

void GainMatrixMixer::Resize(unsigned int n, unsigned int m) {
  numInputs = n;
  numOutputs = m;
  std::size_t const size = static_cast<std::size_t>(n) * m;
  counts.assign(m, 0);
  index.assign(size, 0);
  start.assign(size, 0.f);
  target.assign(size, 0.f);
  chunkInputs.assign(n, nullptr);
  chunkIndex.assign(n, 0);
  chunkGain.assign(n, 0.f);
  chunkStep.assign(n, 0.f);
}

void GainMatrixMixer::SetPeriod(float const* startGains, float const* targetGains) {
  unsigned int const n = numInputs, m = numOutputs;
  for (unsigned int j = 0; j < m; ++j) {
    std::size_t const base = static_cast<std::size_t>(j) * n;
    unsigned int count = 0;
    for (unsigned int i = 0; i < n; ++i) {
      std::size_t const element = static_cast<std::size_t>(i) * m + j;
      float const s = startGains[element];
      float const t = targetGains[element];
      if (s == 0.f && t == 0.f) continue;
      index[base + count] = i;
      start[base + count] = s;
      target[base + count] = t;
      ++count;
    }
    counts[j] = count;
  }
}

void GainMatrixMixer::Mix(float** outputs, float* const* inputs, unsigned long offset,
                          unsigned long c, int position, float oneOverLength,
                          short const* activeInputs, bool overwrite, bool jump) {
  if (c == 0) return;
  bool allActive = true;
  for (unsigned int i = 0; i < numInputs && allActive; ++i) allActive = activeInputs[i] != 0;
  float const length = static_cast<float>(c);
  float const from = static_cast<float>(position) * oneOverLength;
  float const to = (static_cast<float>(position) + length) * oneOverLength;
  float* const gain = chunkGain.data();
  float* const step = chunkStep.data();
  for (unsigned int j = 0; j < numOutputs; ++j) {
    std::size_t const base = static_cast<std::size_t>(j) * numInputs;
    unsigned int const* idx = index.data() + base;
    float const* s = start.data() + base;
    float const* t = target.data() + base;
    unsigned int count = counts[j];
    if (!allActive) {
      // Gather the active ones; the rest are not read at all.
      unsigned int kept = 0;
      for (unsigned int e = 0; e < count; ++e) {
        if (activeInputs[idx[e]] == 0) continue;
        chunkIndex[kept] = idx[e];
        gain[kept] = s[e];
        step[kept] = t[e];
        ++kept;
      }
      count = kept;
      idx = chunkIndex.data();
      s = gain;
      t = step;
    }
    if (count == 0) {
      if (overwrite) Zero(outputs[j] + offset, c);
      continue;
    }
    for (unsigned int e = 0; e < count; ++e) chunkInputs[e] = inputs[idx[e]] + offset;
    if (jump) {
      for (unsigned int e = 0; e < count; ++e) {
        gain[e] = t[e];
        step[e] = 0.f;
      }
    } else {
      // In place is fine: entry e reads s[e] and t[e] before writing them.
      for (unsigned int e = 0; e < count; ++e) {
        float const se = s[e];
        float const d = t[e] - se;
        float const g0 = from * d + se;
        float const g1 = to * d + se;
        gain[e] = g0;
        step[e] = (g1 - g0) / length;
      }
    }
    mixTerms(outputs[j] + offset, chunkInputs.data(), gain, step, count, static_cast<long>(c),
             overwrite);
  }
}

}  // namespace nolardsp
