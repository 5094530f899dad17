#include "ZorvVectorBasedTriangulation.h"

#include <cmath>
#include <cstdint>

#include "NolarGeometry.h"
#include "ZorvUserAngles.h"

namespace Zorv {

using nolardsp::CartesianVector;

namespace {

CartesianVector cross(CartesianVector const& a, CartesianVector const& b) {
  return CartesianVector(a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x);
}

float dot(CartesianVector const& a, CartesianVector const& b) {
  return a.x * b.x + a.y * b.y + a.z * b.z;
}

CartesianVector normalised(CartesianVector v) {
  float const length = v.radius();
  if (length > 0.f) {
    v.x /= length;
    v.y /= length;
    v.z /= length;
  }
  return v;
}

float rowDot(float const* row, CartesianVector const& p) {
  return row[0] * p.x + row[1] * p.y + row[2] * p.z;
}

// The smallest determinant, relative to the product of the three lengths,
// that is still inverted: three directions that close to a plane through the
// origin (or with one of them at the centre) span no usable triplet, and
// their inverse would hold values of any size.
double const minimumVolume = 1e-6;

// Whether the matrix of rows a, b, c is singular or nearly so. In double
// precision, so that speakers near the float range cannot overflow the test.
bool nearlySingular(CartesianVector const& a, CartesianVector const& b, CartesianVector const& c) {
  double const ax = a.x, ay = a.y, az = a.z;
  double const bx = b.x, by = b.y, bz = b.z;
  double const cx = c.x, cy = c.y, cz = c.z;
  double const det = ax * (by * cz - bz * cy) + ay * (bz * cx - bx * cz) + az * (bx * cy - by * cx);
  double const lengths = std::sqrt(ax * ax + ay * ay + az * az) *
                         std::sqrt(bx * bx + by * by + bz * bz) *
                         std::sqrt(cx * cx + cy * cy + cz * cz);
  return !(std::fabs(det) > minimumVolume * lengths);
}

// The inverse of the matrix whose rows are a, b, c; all zero when singular or
// nearly so, or when the inverse does not fit in float. The values themselves
// stay in float: triplets that share a speaker give it the same gain, and the
// triplet choice depends on how those equal gains round.
void invert(CartesianVector const& a, CartesianVector const& b, CartesianVector const& c,
            float* inverse) {
  CartesianVector const bc = cross(b, c);
  float const det = dot(a, bc);
  bool singular = det == 0.f || nearlySingular(a, b, c);
  if (!singular) {
    CartesianVector const ca = cross(c, a);
    CartesianVector const ab = cross(a, b);
    CartesianVector const rows[3] = {bc, ca, ab};
    for (int r = 0; r < 3; ++r) {
      inverse[3 * r + 0] = rows[r].x / det;
      inverse[3 * r + 1] = rows[r].y / det;
      inverse[3 * r + 2] = rows[r].z / det;
    }
    for (int m = 0; m < 9; ++m) {
      if (!std::isfinite(inverse[m])) singular = true;
    }
  }
  if (singular) {
    for (int m = 0; m < 9; ++m) inverse[m] = 0.f;
  }
}

}  // namespace

VectorBasedTriangulation::VectorBasedTriangulation(unsigned int numSpeakers)
    : speakers(numSpeakers) {
  float const step = numSpeakers > 0 ? 360.f / static_cast<float>(numSpeakers) : 0.f;
  for (unsigned int i = 0; i < numSpeakers; ++i) {
    float const a = WrapDegrees360(270.f - static_cast<float>(i) * step);
    float const h = (a - 180.f) * 0.017453292f;
    float const e = 0.7853982f * std::pow(-1.f, static_cast<float>(i));
    speakers[i].index = i;
    speakers[i].position =
        CartesianVector(std::cos(e) * std::cos(h), std::cos(e) * std::sin(h), std::sin(e));
  }
}

void VectorBasedTriangulation::SetLoudspeakerPositions(CartesianVector const* positions) {
  for (unsigned int i = 0; i < speakers.size(); ++i) {
    speakers[i].index = i;
    speakers[i].position = positions[i];
  }
  tripletsDirty = true;
  update();
}

std::vector<VectorBasedTriangulation::Triplet> const& VectorBasedTriangulation::GetTriplets() {
  if (tripletsDirty) update();
  return triplets;
}

void VectorBasedTriangulation::update() {
  choose_triplets();
  compute_matrices();
  tripletsDirty = false;
}

float VectorBasedTriangulation::vol_p_side_lgth(unsigned int i, unsigned int j,
                                                unsigned int k) const {
  CartesianVector const& a = speakers[i].position;
  CartesianVector const& b = speakers[j].position;
  CartesianVector const& c = speakers[k].position;
  float const volume = std::fabs(dot(normalised(cross(a, b)), c));
  float const sides = std::fabs(nolardsp::angle(a, b)) + std::fabs(nolardsp::angle(a, c)) +
                      std::fabs(nolardsp::angle(b, c));
  if (!(sides > 1e-5f)) return 0.f;
  return volume / sides;
}

bool VectorBasedTriangulation::lines_intersect(unsigned int i, unsigned int j, unsigned int k,
                                               unsigned int l) const {
  using nolardsp::angle;
  CartesianVector const& pi = speakers[i].position;
  CartesianVector const& pj = speakers[j].position;
  CartesianVector const& pk = speakers[k].position;
  CartesianVector const& pl = speakers[l].position;
  CartesianVector const n1 = normalised(cross(pi, pj));
  CartesianVector const n2 = normalised(cross(pk, pl));
  CartesianVector const v = normalised(cross(n1, n2));
  CartesianVector const w(-v.x, -v.y, -v.z);

  float const ij = angle(pi, pj), kl = angle(pk, pl);
  float const iv = angle(pi, v), vj = angle(v, pj);
  float const iw = angle(pi, w), wj = angle(w, pj);
  float const kv = angle(pk, v), vl = angle(v, pl);
  float const kw = angle(pk, w), wl = angle(w, pl);

  // A crossing point on a speaker is not a crossing.
  float const ends[8] = {iv, vj, kv, vl, iw, wj, kw, wl};
  for (float e : ends) {
    if (!(std::fabs(e) > 0.01f)) return false;
  }
  if (!(std::fabs(ij - iv - vj) > 0.01f) && !(std::fabs(kl - kv - vl) > 0.01f)) return true;
  if (!(std::fabs(ij - iw - wj) > 0.01f) && !(std::fabs(kl - kw - wl) > 0.01f)) return true;
  return false;
}

bool VectorBasedTriangulation::any_ls_inside_triplet(unsigned int i, unsigned int j,
                                                     unsigned int k) const {
  float inverse[9];
  invert(speakers[i].position, speakers[j].position, speakers[k].position, inverse);
  for (unsigned int s = 0; s < speakers.size(); ++s) {
    if (s == i || s == j || s == k) continue;
    CartesianVector const& p = speakers[s].position;
    if (rowDot(inverse, p) >= -0.001f && rowDot(inverse + 3, p) >= -0.001f &&
        rowDot(inverse + 6, p) >= -0.001f) {
      return true;
    }
  }
  return false;
}

void VectorBasedTriangulation::choose_triplets() {
  unsigned int const n = static_cast<unsigned int>(speakers.size());
  triplets.clear();
  if (n < 3) return;

  std::vector<std::int32_t> connections(static_cast<std::size_t>(n) * n, 0);
  auto conn = [&](unsigned int a, unsigned int b) -> std::int32_t& {
    return connections[static_cast<std::size_t>(a) * n + b];
  };
  struct Side {
    float distance = 100000.f;
    unsigned int first = 0;
    unsigned int second = 0;
  };
  std::size_t const tableSize = static_cast<std::size_t>(n) * (n - 1) / 2;
  std::vector<Side> table(tableSize);
  std::size_t usable = tableSize;

  for (unsigned int i = 0; i < n; ++i) {
    for (unsigned int j = i + 1; j < n; ++j) {
      for (unsigned int k = j + 1; k < n; ++k) {
        if (vol_p_side_lgth(i, j, k) > 0.01f) {
          conn(i, j) = conn(j, i) = 1;
          conn(i, k) = conn(k, i) = 1;
          conn(j, k) = conn(k, j) = 1;
          Triplet t;
          t.speakers[0] = static_cast<unsigned short>(i);
          t.speakers[1] = static_cast<unsigned short>(j);
          t.speakers[2] = static_cast<unsigned short>(k);
          triplets.push_back(t);
        }
      }
    }
  }

  // Sides by ascending length; a side as long as earlier ones goes before them.
  for (unsigned int i = 0; i < n; ++i) {
    for (unsigned int j = i + 1; j < n; ++j) {
      if (conn(i, j) != 1) {
        --usable;
        continue;
      }
      float const d = std::fabs(nolardsp::angle(speakers[i].position, speakers[j].position));
      std::size_t p = 0;
      while (p < usable && d > table[p].distance) ++p;
      if (p >= usable) continue;
      for (std::size_t q = usable - 1; q > p; --q) table[q] = table[q - 1];
      table[p] = Side{d, i, j};
    }
  }

  // A shorter side removes every longer side that crosses it. Sides already
  // removed, or never made, need no test: marking them changes nothing.
  for (std::size_t t = 0; t < usable; ++t) {
    unsigned int const f = table[t].first;
    unsigned int const s = table[t].second;
    if (conn(f, s) != 1) continue;
    for (unsigned int j = 0; j < n; ++j) {
      if (j == f || j == s) continue;
      for (unsigned int k = j + 1; k < n; ++k) {
        if (k == f || k == s || conn(j, k) != 1) continue;
        if (lines_intersect(f, s, j, k)) conn(j, k) = conn(k, j) = -1;
      }
    }
  }

  std::size_t kept = 0;
  for (std::size_t t = 0; t < triplets.size(); ++t) {
    unsigned int const i = triplets[t].speakers[0];
    unsigned int const j = triplets[t].speakers[1];
    unsigned int const k = triplets[t].speakers[2];
    if (conn(i, j) == -1 || conn(i, k) == -1 || conn(j, k) == -1) continue;
    if (any_ls_inside_triplet(i, j, k)) continue;
    triplets[kept++] = triplets[t];
  }
  triplets.resize(kept);
}

void VectorBasedTriangulation::compute_matrices() {
  for (Triplet& t : triplets) {
    invert(speakers[t.speakers[0]].position, speakers[t.speakers[1]].position,
           speakers[t.speakers[2]].position, t.inverse);
  }
}

void VectorBasedTriangulation::find_triplet(CartesianVector const& p, float* gains3,
                                            unsigned int* indices3) const {
  float best = -100000.f;
  unsigned int worstCount = 3;
  bool chosen = false;
  for (Triplet const& t : triplets) {
    float const g[3] = {rowDot(t.inverse, p), rowDot(t.inverse + 3, p), rowDot(t.inverse + 6, p)};
    float m = g[0];
    if (g[1] < m) m = g[1];
    if (g[2] < m) m = g[2];
    unsigned int const c = (g[0] < -0.01f) + (g[1] < -0.01f) + (g[2] < -0.01f);
    if (m > best && c <= worstCount) {
      for (int q = 0; q < 3; ++q) {
        gains3[q] = g[q];
        indices3[q] = speakers[t.speakers[q]].index;
      }
      best = m;
      worstCount = c;
      chosen = true;
    }
  }
  if (!chosen) {
    for (int q = 0; q < 3; ++q) {
      gains3[q] = 0.f;
      indices3[q] = 0;
    }
    return;
  }
  for (int q = 0; q < 3; ++q) {
    if (gains3[q] < -0.01f) gains3[q] = 0.f;
  }
}

void VectorBasedTriangulation::addDirection(CartesianVector const& p, float* gains) const {
  float g[3];
  unsigned int idx[3];
  find_triplet(p, g, idx);
  for (int q = 0; q < 3; ++q) gains[idx[q]] += g[q];
}

void VectorBasedTriangulation::AddGains(CartesianVector const& p, float spreadDegrees,
                                        float* gains) {
  if (tripletsDirty) update();
  for (std::size_t k = 0; k < speakers.size(); ++k) gains[k] = 0.f;
  if (speakers.empty()) return;
  if (spreadDegrees == 0.f) {
    addDirection(p, gains);
    return;
  }
  float const a = 0.017453292f * spreadDegrees;
  float const angles[4] = {a, -a, 0.5f * a, -0.5f * a};
  addDirection(p, gains);
  for (float r : angles) {
    float const c = std::cos(r), t = std::sin(r);
    addDirection(CartesianVector(c * p.x - t * p.y, c * p.y + t * p.x, p.z), gains);
  }
  for (float r : angles) {
    float const c = std::cos(r), t = std::sin(r);
    addDirection(CartesianVector(p.x, c * p.y - t * p.z, c * p.z + t * p.y), gains);
  }
  for (float r : angles) {
    float const c = std::cos(r), t = std::sin(r);
    addDirection(CartesianVector(c * p.x - t * p.z, p.y, c * p.z + t * p.x), gains);
  }
}

void VectorBasedTriangulation::NormalizePower(float* gains, unsigned int n) {
  // The sum of squares in double: raw gains of a source a hair from the
  // centre are so small that their squares vanish in float, and the gains
  // were then scaled far past 1.
  double sum = 0.0;
  for (unsigned int k = 0; k < n; ++k) sum += static_cast<double>(gains[k]) * gains[k];
  if (!(sum > 0.0) || !std::isfinite(sum)) {
    // No direction, no triplet, or gains past any range: silence for this
    // source rather than noise on the outputs.
    for (unsigned int k = 0; k < n; ++k) gains[k] = 0.f;
    return;
  }
  double const scale = 1.0 / std::sqrt(sum);
  for (unsigned int k = 0; k < n; ++k) gains[k] = static_cast<float>(gains[k] * scale);
}

void VectorBasedTriangulation::NormalizeIntensity(float* gains, unsigned int n) {
  float sum = 1e-20f;
  for (unsigned int k = 0; k < n; ++k) sum += gains[k] * gains[k];
  for (unsigned int k = 0; k < n; ++k) {
    float const ratio = gains[k] / sum;
    gains[k] = ratio > 0.f ? std::sqrt(ratio) : 0.f;
  }
}

}  // namespace Zorv
