#include "NolarGainMatrixMixer.h"

#include <algorithm>
#include <cstring>

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
// into vector code. Several inputs per pass (four, or eight for standing
// gains of paired outputs): an output sample is loaded and stored once per
// pass instead of once per input, and the sum keeps its left-to-right order.

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
void ramp1(float* __restrict o, float const* __restrict a, float ga, float sa, int k0, int n) {
  for (int k = 0; k < n; ++k) {
    float const fk = static_cast<float>(k0 + k);
    if (Write) {
      o[k] = (ga + fk * sa) * a[k];
    } else {
      o[k] = o[k] + (ga + fk * sa) * a[k];
    }
  }
}

template <bool Write>
void ramp2(float* __restrict o, float const* __restrict a, float const* __restrict b, float ga,
           float gb, float sa, float sb, int k0, int n) {
  for (int k = 0; k < n; ++k) {
    float const fk = static_cast<float>(k0 + k);
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
           float gd, float sa, float sb, float sc, float sd, int k0, int n) {
  for (int k = 0; k < n; ++k) {
    float const fk = static_cast<float>(k0 + k);
    if (Write) {
      o[k] = (ga + fk * sa) * a[k] + (gb + fk * sb) * b[k] + (gc + fk * sc) * c[k] +
             (gd + fk * sd) * d[k];
    } else {
      o[k] = o[k] + (ga + fk * sa) * a[k] + (gb + fk * sb) * b[k] + (gc + fk * sc) * c[k] +
             (gd + fk * sd) * d[k];
    }
  }
}

// Two outputs that take the same inputs (a dense matrix) share one pass: each
// input sample is loaded once for both, and the two sums run side by side.
template <bool Write>
void pairConstant1(float* __restrict o, float* __restrict p, float const* __restrict a, float ga,
                   float ha, long n) {
  for (long k = 0; k < n; ++k) {
    if (Write) {
      o[k] = ga * a[k];
      p[k] = ha * a[k];
    } else {
      o[k] = o[k] + ga * a[k];
      p[k] = p[k] + ha * a[k];
    }
  }
}

template <bool Write>
void pairConstant4(float* __restrict o, float* __restrict p, float const* __restrict a,
                   float const* __restrict b, float const* __restrict c, float const* __restrict d,
                   float const* g, float const* h, long n) {
  float const ga = g[0], gb = g[1], gc = g[2], gd = g[3];
  float const ha = h[0], hb = h[1], hc = h[2], hd = h[3];
  for (long k = 0; k < n; ++k) {
    if (Write) {
      o[k] = ga * a[k] + gb * b[k] + gc * c[k] + gd * d[k];
      p[k] = ha * a[k] + hb * b[k] + hc * c[k] + hd * d[k];
    } else {
      o[k] = o[k] + ga * a[k] + gb * b[k] + gc * c[k] + gd * d[k];
      p[k] = p[k] + ha * a[k] + hb * b[k] + hc * c[k] + hd * d[k];
    }
  }
}

template <bool Write>
void pairConstant8(float* __restrict o, float* __restrict p, float const* __restrict a,
                   float const* __restrict b, float const* __restrict c, float const* __restrict d,
                   float const* __restrict e, float const* __restrict f, float const* __restrict g,
                   float const* __restrict h, float const* x, float const* y, long n) {
  float const xa = x[0], xb = x[1], xc = x[2], xd = x[3], xe = x[4], xf = x[5], xg = x[6],
              xh = x[7];
  float const ya = y[0], yb = y[1], yc = y[2], yd = y[3], ye = y[4], yf = y[5], yg = y[6],
              yh = y[7];
  for (long k = 0; k < n; ++k) {
    float const va = a[k], vb = b[k], vc = c[k], vd = d[k];
    float const ve = e[k], vf = f[k], vg = g[k], vh = h[k];
    if (Write) {
      o[k] = xa * va + xb * vb + xc * vc + xd * vd + xe * ve + xf * vf + xg * vg + xh * vh;
      p[k] = ya * va + yb * vb + yc * vc + yd * vd + ye * ve + yf * vf + yg * vg + yh * vh;
    } else {
      o[k] = o[k] + xa * va + xb * vb + xc * vc + xd * vd + xe * ve + xf * vf + xg * vg + xh * vh;
      p[k] = p[k] + ya * va + yb * vb + yc * vc + yd * vd + ye * ve + yf * vf + yg * vg + yh * vh;
    }
  }
}

template <bool Write>
void pairRamp1(float* __restrict o, float* __restrict p, float const* __restrict a, float ga,
               float ha, float sa, float ta, int k0, int n) {
  for (int k = 0; k < n; ++k) {
    float const fk = static_cast<float>(k0 + k);
    if (Write) {
      o[k] = (ga + fk * sa) * a[k];
      p[k] = (ha + fk * ta) * a[k];
    } else {
      o[k] = o[k] + (ga + fk * sa) * a[k];
      p[k] = p[k] + (ha + fk * ta) * a[k];
    }
  }
}

template <bool Write>
void pairRamp4(float* __restrict o, float* __restrict p, float const* __restrict a,
               float const* __restrict b, float const* __restrict c, float const* __restrict d,
               float const* g, float const* h, float const* s, float const* t, int k0, int n) {
  float const ga = g[0], gb = g[1], gc = g[2], gd = g[3];
  float const ha = h[0], hb = h[1], hc = h[2], hd = h[3];
  float const sa = s[0], sb = s[1], sc = s[2], sd = s[3];
  float const ta = t[0], tb = t[1], tc = t[2], td = t[3];
  for (int k = 0; k < n; ++k) {
    float const fk = static_cast<float>(k0 + k);
    float const va = a[k], vb = b[k], vc = c[k], vd = d[k];
    if (Write) {
      o[k] = (ga + fk * sa) * va + (gb + fk * sb) * vb + (gc + fk * sc) * vc + (gd + fk * sd) * vd;
      p[k] = (ha + fk * ta) * va + (hb + fk * tb) * vb + (hc + fk * tc) * vc + (hd + fk * td) * vd;
    } else {
      o[k] = o[k] + (ga + fk * sa) * va + (gb + fk * sb) * vb + (gc + fk * sc) * vc +
             (gd + fk * sd) * vd;
      p[k] = p[k] + (ha + fk * ta) * va + (hb + fk * tb) * vb + (hc + fk * tc) * vc +
             (hd + fk * td) * vd;
    }
  }
}

template <bool Write>
void pairGroup(float* o, float* p, float const* const* in, float const* g, float const* h,
               float const* s, float const* t, unsigned int size, int k0, long n) {
  bool ramped = false;
  if (s != nullptr) {
    for (unsigned int e = 0; e < size; ++e) ramped = ramped || s[e] != 0.f || t[e] != 0.f;
  }
  if (!ramped) {
    if (size == 8) {
      pairConstant8<Write>(o, p, in[0], in[1], in[2], in[3], in[4], in[5], in[6], in[7], g, h, n);
    } else if (size == 4) {
      pairConstant4<Write>(o, p, in[0], in[1], in[2], in[3], g, h, n);
    } else {
      pairConstant1<Write>(o, p, in[0], g[0], h[0], n);
    }
    return;
  }
  int const m = static_cast<int>(n);
  if (size == 8) {
    // Moving gains go four at a time: eight would not fit the registers.
    pairRamp4<Write>(o, p, in[0], in[1], in[2], in[3], g, h, s, t, k0, m);
    pairRamp4<false>(o, p, in[4], in[5], in[6], in[7], g + 4, h + 4, s + 4, t + 4, k0, m);
  } else if (size == 4) {
    pairRamp4<Write>(o, p, in[0], in[1], in[2], in[3], g, h, s, t, k0, m);
  } else {
    pairRamp1<Write>(o, p, in[0], g[0], h[0], s[0], t[0], k0, m);
  }
}

// Sample k of the run is sample k0 + k of the chunk: the inputs are read from
// k0 on and the ramps continue from there, so cutting a chunk into runs does
// not change a single sample. steps is null when every gain stands.
template <bool Write>
void group(float* o, float const* const* in, float const* g, float const* s, unsigned int size,
           int k0, long n) {
  bool ramped = false;
  if (s != nullptr) {
    for (unsigned int e = 0; e < size; ++e) ramped = ramped || s[e] != 0.f;
  }
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
    ramp4<Write>(o, in[0], in[1], in[2], in[3], g[0], g[1], g[2], g[3], s[0], s[1], s[2], s[3], k0,
                 m);
  } else if (size == 2) {
    ramp2<Write>(o, in[0], in[1], g[0], g[1], s[0], s[1], k0, m);
  } else {
    ramp1<Write>(o, in[0], g[0], s[0], k0, m);
  }
}

// Register tiles. For 32 samples at a time the running sums of one or two
// outputs stay in registers while every input passes by, so an output sample
// is loaded and stored once per chunk, not once per group of inputs. The sum
// over the inputs keeps its left-to-right order; the lanes are the compiler's
// portable vectors, lowered to whatever the clone below runs.
typedef float Lanes __attribute__((vector_size(64)));
typedef int IndexLanes __attribute__((vector_size(64)));
int const lanes = 16;
int const vectors = 2;
long const tileLength = 32;

// Outputs o (and p when Pair) over samples [kt, kt + 32) of the run; gains g
// (and h), steps s (and t) used when Ramp, the sample index of the run's
// first sample being k0.
template <bool Pair, bool Ramp>
void tile(float* o, float* p, float* const* inputs, unsigned long offset, unsigned int const* index,
          float const* g, float const* h, float const* s, float const* t, unsigned int count,
          int k0, long kt, bool write) {
  // Loads and stores go through memcpy: runs are not aligned to a tile.
  // Lanes never cross a function boundary, which keeps the calling
  // convention out of it.
  Lanes a[vectors], b[vectors], k[vectors], v;
  IndexLanes const iota = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15};
  for (int q = 0; q < vectors; ++q) {
    // The sample index of each lane as a float, exactly as (float)(k) is.
    k[q] = __builtin_convertvector(iota + (k0 + static_cast<int>(kt) + lanes * q), Lanes);
  }
  unsigned int e = 0;
  if (write) {
    float const* x = inputs[index[0]] + offset + kt;
    for (int q = 0; q < vectors; ++q) {
      std::memcpy(&v, x + lanes * q, sizeof v);
      a[q] = (Ramp ? g[0] + k[q] * s[0] : g[0] - Lanes{}) * v;
      if (Pair) b[q] = (Ramp ? h[0] + k[q] * t[0] : h[0] - Lanes{}) * v;
    }
    e = 1;
  } else {
    for (int q = 0; q < vectors; ++q) {
      std::memcpy(&a[q], o + kt + lanes * q, sizeof v);
      if (Pair) std::memcpy(&b[q], p + kt + lanes * q, sizeof v);
    }
  }
  for (; e < count; ++e) {
    float const* x = inputs[index[e]] + offset + kt;
    float const ge = g[e];
    float const he = Pair ? h[e] : 0.f;
    for (int q = 0; q < vectors; ++q) {
      std::memcpy(&v, x + lanes * q, sizeof v);
      if (Ramp) {
        a[q] = a[q] + (ge + k[q] * s[e]) * v;
        if (Pair) b[q] = b[q] + (he + k[q] * t[e]) * v;
      } else {
        a[q] = a[q] + ge * v;
        if (Pair) b[q] = b[q] + he * v;
      }
    }
  }
  for (int q = 0; q < vectors; ++q) {
    std::memcpy(o + kt + lanes * q, &a[q], sizeof v);
    if (Pair) std::memcpy(p + kt + lanes * q, &b[q], sizeof v);
  }
}

// output (+)= the terms over samples [k0, k0 + n) of the chunk, the first term
// writing when overwrite is set. output points at sample k0; the input of
// term e is inputs[index[e]] + offset, offset including k0.
//
// On x86-64 this is built once per vector width and the widest the processor
// runs is picked at load time. The clones do the same operations in the same
// order, so every processor computes the same samples (defining
// NOLAR_MIX_NO_CLONES builds one version only, to check exactly that).
#if defined(__GNUC__) && defined(__x86_64__) && !defined(NOLAR_MIX_NO_CLONES)
__attribute__((target_clones("avx512f", "avx2", "default"), flatten))
#endif
void mixTerms(float* output, float* const* inputs, unsigned long offset, unsigned int const* index,
              float const* gains, float const* steps, unsigned int count, int k0, long n,
              bool overwrite) {
  long const tiled = n / tileLength * tileLength;
  for (long kt = 0; kt < tiled; kt += tileLength) {
    if (steps != nullptr) {
      tile<false, true>(output, nullptr, inputs, offset, index, gains, nullptr, steps, nullptr,
                        count, k0, kt, overwrite);
    } else {
      tile<false, false>(output, nullptr, inputs, offset, index, gains, nullptr, nullptr, nullptr,
                         count, k0, kt, overwrite);
    }
  }
  // The rest, a few inputs at a time: the same sums.
  output += tiled;
  offset += static_cast<unsigned long>(tiled);
  k0 += static_cast<int>(tiled);
  n -= tiled;
  if (n == 0) return;
  unsigned int done = 0;
  bool write = overwrite;
  float const* in[4];
  while (done < count) {
    unsigned int const left = count - done;
    unsigned int const size = left >= 4 ? 4 : (left >= 2 ? 2 : 1);
    for (unsigned int e = 0; e < size; ++e) in[e] = inputs[index[done + e]] + offset;
    float const* const s = steps != nullptr ? steps + done : nullptr;
    if (write) {
      group<true>(output, in, gains + done, s, size, k0, n);
    } else {
      group<false>(output, in, gains + done, s, size, k0, n);
    }
    write = false;
    done += size;
  }
}

// mixTerms for two outputs with the same index list: gains g and h, steps s
// and t (null when every gain stands). Groups of four and then single terms;
// how terms are grouped never changes a sample, only the loads.
#if defined(__GNUC__) && defined(__x86_64__) && !defined(NOLAR_MIX_NO_CLONES)
__attribute__((target_clones("avx512f", "avx2", "default"), flatten))
#endif
void mixPairTerms(float* output, float* other, float* const* inputs, unsigned long offset,
                  unsigned int const* index, float const* g, float const* h, float const* s,
                  float const* t, unsigned int count, int k0, long n, bool overwrite) {
  long const tiled = n / tileLength * tileLength;
  for (long kt = 0; kt < tiled; kt += tileLength) {
    if (s != nullptr) {
      tile<true, true>(output, other, inputs, offset, index, g, h, s, t, count, k0, kt, overwrite);
    } else {
      tile<true, false>(output, other, inputs, offset, index, g, h, nullptr, nullptr, count, k0, kt,
                        overwrite);
    }
  }
  output += tiled;
  other += tiled;
  offset += static_cast<unsigned long>(tiled);
  k0 += static_cast<int>(tiled);
  n -= tiled;
  if (n == 0) return;
  unsigned int done = 0;
  bool write = overwrite;
  float const* in[8];
  while (done < count) {
    unsigned int const left = count - done;
    unsigned int const size = left >= 8 ? 8 : (left >= 4 ? 4 : 1);
    for (unsigned int e = 0; e < size; ++e) in[e] = inputs[index[done + e]] + offset;
    float const* const sd = s != nullptr ? s + done : nullptr;
    float const* const td = t != nullptr ? t + done : nullptr;
    if (write) {
      pairGroup<true>(output, other, in, g + done, h + done, sd, td, size, k0, n);
    } else {
      pairGroup<false>(output, other, in, g + done, h + done, sd, td, size, k0, n);
    }
    write = false;
    done += size;
  }
}

// Samples per run: every output reads all of a run's inputs, so a run's
// inputs (24 kB) should stay in the first-level cache while the outputs pass.
// Runs are whole register tiles where the block allows.
long runLength(unsigned int numInputs) {
  long const samples = 6144 / static_cast<long>(numInputs > 0 ? numInputs : 1);
  return samples < tileLength ? tileLength : samples / tileLength * tileLength;
}

}  // namespace

GainMatrixMixer::GainMatrixMixer() : numInputs(0), numOutputs(0), standing(true) {}

void GainMatrixMixer::Resize(unsigned int n, unsigned int m) {
  numInputs = n;
  numOutputs = m;
  std::size_t const size = static_cast<std::size_t>(n) * m;
  counts.assign(m, 0);
  index.assign(size, 0);
  start.assign(size, 0.f);
  target.assign(size, 0.f);
  standing = true;
  chunkIndex.assign(size, 0);
  chunkGain.assign(size, 0.f);
  chunkStep.assign(size, 0.f);
  chunkCounts.assign(m, 0);
  pairedWithNext.assign(m, 0);
  packedSamples.assign(static_cast<std::size_t>(n) * static_cast<std::size_t>(runLength(n)), 0.f);
  packedInputs.assign(n, nullptr);
}

void GainMatrixMixer::SetPeriod(float const* startGains, float const* targetGains) {
  unsigned int const n = numInputs, m = numOutputs;
  standing = true;
  for (unsigned int j = 0; j < m; ++j) {
    std::size_t const base = static_cast<std::size_t>(j) * n;
    unsigned int count = 0;
    for (unsigned int i = 0; i < n; ++i) {
      std::size_t const element = static_cast<std::size_t>(i) * m + j;
      float const s = startGains[element];
      float const t = targetGains[element];
      if (s == 0.f && t == 0.f) continue;
      standing = standing && s == t;
      index[base + count] = i;
      start[base + count] = s;
      target[base + count] = t;
      ++count;
    }
    counts[j] = count;
  }
  for (unsigned int j = 0; j < m; ++j) {
    std::size_t const base = static_cast<std::size_t>(j) * n;
    pairedWithNext[j] = j + 1 < m && counts[j] == counts[j + 1] &&
                        std::equal(index.begin() + static_cast<std::ptrdiff_t>(base),
                                   index.begin() + static_cast<std::ptrdiff_t>(base + counts[j]),
                                   index.begin() + static_cast<std::ptrdiff_t>(base + n));
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
  bool const constant = jump || standing;

  // Where the terms of output j stand for this chunk: index, gains, steps
  // (null when every gain stands) and count.
  unsigned int const* idx = index.data();
  float const* gains = jump ? target.data() : start.data();
  float const* steps = nullptr;
  unsigned int const* count = counts.data();
  if (!allActive) {
    // Gather the active entries; inactive inputs are not read at all.
    for (unsigned int j = 0; j < numOutputs; ++j) {
      std::size_t const base = static_cast<std::size_t>(j) * numInputs;
      unsigned int kept = 0;
      for (unsigned int e = 0; e < counts[j]; ++e) {
        if (activeInputs[index[base + e]] == 0) continue;
        chunkIndex[base + kept] = index[base + e];
        chunkGain[base + kept] = start[base + e];
        chunkStep[base + kept] = target[base + e];
        ++kept;
      }
      chunkCounts[j] = kept;
    }
    idx = chunkIndex.data();
    count = chunkCounts.data();
    if (constant) {
      // Standing or jumping: the gains are the targets.
      std::copy(chunkStep.begin(), chunkStep.end(), chunkGain.begin());
      gains = chunkGain.data();
    }
  }
  if (!constant) {
    // The line of every moving element over this chunk. Entries stand back
    // to back per output, so this is one plain loop per output.
    float const* const s = allActive ? start.data() : chunkGain.data();
    float const* const t = allActive ? target.data() : chunkStep.data();
    float* const g = chunkGain.data();
    float* const st = chunkStep.data();
    for (unsigned int j = 0; j < numOutputs; ++j) {
      std::size_t const base = static_cast<std::size_t>(j) * numInputs;
      for (std::size_t e = base; e < base + count[j]; ++e) {
        float const se = s[e];
        float const d = t[e] - se;
        float const g0 = from * d + se;
        float const g1 = to * d + se;
        g[e] = g0;
        st[e] = (g1 - g0) / length;
      }
    }
    gains = g;
    steps = st;
  }

  // The samples, in runs short enough for the inputs to stay in cache. When
  // a chunk takes several runs, each run's active inputs are first copied
  // side by side: hosts lay channels out at power-of-two distances, which
  // puts every input's run in the same few cache sets once runs are far apart.
  long const run = runLength(numInputs);
  long const total = static_cast<long>(c);
  bool const pack = total > run && numOutputs >= 4 && numInputs >= 4;
  for (long k0 = 0; k0 < total; k0 += run) {
    long const n = total - k0 < run ? total - k0 : run;
    float* const* source = inputs;
    unsigned long from = offset + static_cast<unsigned long>(k0);
    if (pack) {
      for (unsigned int i = 0; i < numInputs; ++i) {
        if (activeInputs[i] == 0) continue;
        float* const packed = packedSamples.data() + static_cast<std::size_t>(i) * run;
        Copy(packed, inputs[i] + from, static_cast<unsigned long>(n));
        packedInputs[i] = packed;
      }
      source = packedInputs.data();
      from = 0;
    }
    for (unsigned int j = 0; j < numOutputs; ++j) {
      float* const out = outputs[j] + offset + k0;
      if (count[j] == 0) {
        if (overwrite) Zero(out, static_cast<unsigned long>(n));
        continue;
      }
      std::size_t const base = static_cast<std::size_t>(j) * numInputs;
      float const* const st = steps != nullptr ? steps + base : nullptr;
      if (pairedWithNext[j] != 0) {
        // Same inputs as the next output (filtering inactive inputs keeps
        // them the same), so both are done in one pass.
        std::size_t const next = base + numInputs;
        mixPairTerms(out, outputs[j + 1] + offset + k0, source, from, idx + base, gains + base,
                     gains + next, st, steps != nullptr ? steps + next : nullptr, count[j],
                     static_cast<int>(k0), n, overwrite);
        ++j;
        continue;
      }
      mixTerms(out, source, from, idx + base, gains + base, st, count[j], static_cast<int>(k0), n,
               overwrite);
    }
  }
}

}  // namespace nolardsp
