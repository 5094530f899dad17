#pragma once

#include <map>
#include <string>
#include <vector>

#include "NolarComplex.h"

namespace nolardsp {

// Complex spherical harmonics and the names of the conventions that every
// ambisonic and spherical-harmonic class of the system shares.
//
// A component is named by its degree l (0 up to the order) and its index m
// (-l to l). In a table of all components up to an order, (order + 1)^2
// entries, (l, m) is at place l^2 + l + m.
//
// Angles: theta is the colatitude (0 straight up), phi the azimuth measured
// anticlockwise from the x axis, both in radians.
//
// Stateless apart from the two name maps, which are process-wide and filled
// at their first use without a lock: call the name look-ups from one thread
// (the host's main thread) first.
class SphericalHarmonic {
 public:
  enum Normalization : unsigned int {
    Unnormalized = 0,
    SchmidtSeminormalized3D = 1,
    SchmidtSeminormalized2D = 2,
    FullyNormalized3D = 3,
    FullyNormalized2D = 4,
    GaussNormalization = 5,
  };

  enum Sorting : unsigned int {
    IncreasingDegrees = 0,
    AlternateDegrees = 1,
  };

  static Sorting const DefaultSorting;

  // An unknown name is not an error: it enters the map with value 0, and 0
  // comes back. Callers that must refuse a name compare it first.
  static Normalization GetNormalization(char const* name);
  // The canonical name; empty above the last value.
  static char const* GetNormalizationName(Normalization const& normalization);
  // Same rule as GetNormalization.
  static Sorting GetSorting(char const* name);
  // "AlternateDegrees" for 1, "IncreasingDegrees" for everything else.
  static char const* GetSortingName(Sorting const& sorting);

  // Every component up to the order, at place l^2 + l + m; out is resized.
  // Not for GaussNormalization, which has no table: the entries are then 0.
  template <typename T>
  static void SphericalHarmonics(std::vector<Complex<T>>& out, unsigned int order, T theta, T phi,
                                 Normalization const& normalization);
  // One component; (0, 0) when |m| exceeds l.
  template <typename T>
  static Complex<T> SphericalHarmonics(unsigned int l, int m, T theta, T phi,
                                       Normalization const& normalization);
  // The table above, in the order of the sorting: IncreasingDegrees is the
  // table as it stands, AlternateDegrees gives each degree as (l, l), (l, -l),
  // (l, l - 1), (l, -(l - 1)), ..., (l, 1), (l, -1), (l, 0).
  template <typename T>
  static void SphericalHarmonicsBasis(std::vector<Complex<T>>& out, unsigned int order, T theta,
                                      T phi, Normalization const& normalization,
                                      Sorting const& sorting);

  // The index m of the k-th component of a degree (k in [0, 2l]) in the
  // AlternateDegrees order.
  static int AlternateDegreesIndex(unsigned int l, unsigned int k) {
    if (k >= 2 * l) return 0;
    int const magnitude = static_cast<int>(l - k / 2);
    return (k % 2 == 0) ? magnitude : -magnitude;
  }

  // The scale c of one component under a normalisation: what multiplies the
  // Legendre value (taken as Unnormalized for Unnormalized, as SN3D for all
  // the others). In double, whatever the precision of the caller.
  static double ScaleFactor(unsigned int l, int m, Normalization const& normalization);

 private:
  static void initNormalizationMap(std::map<std::string, Normalization>& map);
  static void initSortingMap(std::map<std::string, Sorting>& map);
};

}  // namespace nolardsp
