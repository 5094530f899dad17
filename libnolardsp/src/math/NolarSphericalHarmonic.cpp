#include "NolarSphericalHarmonic.h"

#include <cmath>

#include "NolarGamma.h"
#include "NolarLegendre.h"
#include "NolarLegendreRecurrence.h"

namespace nolardsp {

SphericalHarmonic::Sorting const SphericalHarmonic::DefaultSorting =
    SphericalHarmonic::IncreasingDegrees;

namespace {

// Process-wide; filled at the first look-up.
std::map<std::string, SphericalHarmonic::Normalization> normalizationMap;
std::map<std::string, SphericalHarmonic::Sorting> sortingMap;

char const* const normalizationNames[] = {"Unnormalized", "SN3D", "SN2D",
                                          "N3D",          "N2D",  "GaussNormalization"};

// k!, as a running product while that is exact enough, then from the gamma
// function.
double factorial(unsigned int k) {
  if (k > 33) return Gamma::GammaFunction(static_cast<double>(k) + 1.);
  double product = 1.;
  for (unsigned int i = 2; i <= k; ++i) product *= static_cast<double>(i);
  return product;
}

// sqrt(2 mu + 1) mu! 2^mu / sqrt((2 mu + 1)!), the 2-D factor. The factorials
// overflow a double past mu = 84 (gamma of 172 and above answers the largest
// double); the same value is then the square root of
// the product of 2k / (2k - 1) for k from 1 to mu.
double twoDimensionalFactor(unsigned int mu) {
  double const direct = std::sqrt(static_cast<double>(2 * mu + 1)) * factorial(mu) *
                        std::ldexp(1., static_cast<int>(mu)) / std::sqrt(factorial(2 * mu + 1));
  if (std::isfinite(direct) && mu <= 84) return direct;
  double product = 1.;
  for (unsigned int k = 1; k <= mu; ++k) {
    product *= static_cast<double>(2 * k) / static_cast<double>(2 * k - 1);
  }
  return std::sqrt(product);
}

template <typename T>
Complex<T> fromLegendre(T legendreValue, double scale, int m, T phi) {
  T const v = static_cast<T>(scale) * legendreValue;
  T const a = static_cast<T>(m < 0 ? -m : m) * phi;
  if (m == 0) return Complex<T>{v, T(0)};
  T const c = v * std::cos(a);
  T const s = v * std::sin(a);
  return m > 0 ? Complex<T>{c, s} : Complex<T>{c, -s};
}

}  // namespace

void SphericalHarmonic::initNormalizationMap(std::map<std::string, Normalization>& map) {
  map["Unnormalized"] = Unnormalized;
  map["SchmidtSeminormalized3D"] = SchmidtSeminormalized3D;
  map["SN3D"] = SchmidtSeminormalized3D;
  map["sn3d"] = SchmidtSeminormalized3D;
  map["SchmidtSeminormalized2D"] = SchmidtSeminormalized2D;
  map["SN2D"] = SchmidtSeminormalized2D;
  map["sn2d"] = SchmidtSeminormalized2D;
  map["FullyNormalized3D"] = FullyNormalized3D;
  map["N3D"] = FullyNormalized3D;
  map["n3d"] = FullyNormalized3D;
  map["FullyNormalized2D"] = FullyNormalized2D;
  map["N2D"] = FullyNormalized2D;
  map["n2d"] = FullyNormalized2D;
  map["GaussNormalization"] = GaussNormalization;
}

void SphericalHarmonic::initSortingMap(std::map<std::string, Sorting>& map) {
  map["IncreasingDegrees"] = IncreasingDegrees;
  map["increasingdegrees"] = IncreasingDegrees;
  map["AlternateDegrees"] = AlternateDegrees;
  map["alternatedegrees"] = AlternateDegrees;
}

SphericalHarmonic::Normalization SphericalHarmonic::GetNormalization(char const* name) {
  if (normalizationMap.empty()) initNormalizationMap(normalizationMap);
  // Indexing adds an unknown name with value 0.
  return normalizationMap[name != nullptr ? name : ""];
}

char const* SphericalHarmonic::GetNormalizationName(Normalization const& normalization) {
  unsigned int const v = normalization;
  return v <= GaussNormalization ? normalizationNames[v] : "";
}

SphericalHarmonic::Sorting SphericalHarmonic::GetSorting(char const* name) {
  if (sortingMap.empty()) initSortingMap(sortingMap);
  return sortingMap[name != nullptr ? name : ""];
}

char const* SphericalHarmonic::GetSortingName(Sorting const& sorting) {
  return sorting == AlternateDegrees ? "AlternateDegrees" : "IncreasingDegrees";
}

double SphericalHarmonic::ScaleFactor(unsigned int l, int m, Normalization const& normalization) {
  unsigned int const mu = static_cast<unsigned int>(m < 0 ? -m : m);
  switch (normalization) {
    case Unnormalized:
      // 0.07957747 is 1 / (4 pi) as the single-precision constant it has
      // always been.
      return std::sqrt(static_cast<double>(2 * l + 1) * 0.07957747 /
                       legendre::FactorialRatio(l, mu));
    case SchmidtSeminormalized2D:
      return mu == 0 ? 1. : 0.70710677 * twoDimensionalFactor(mu);
    case FullyNormalized3D:
      // By |m|, not by l: only the components with |m| = l carry the full
      // factor; (l, 0) stays as in SN3D.
      return std::sqrt(static_cast<double>(2 * mu + 1));
    case FullyNormalized2D:
      return mu == 0 ? 1. : twoDimensionalFactor(mu);
    default:
      return 1.;
  }
}

template <typename T>
void SphericalHarmonic::SphericalHarmonics(std::vector<Complex<T>>& out, unsigned int order,
                                           T theta, T phi, Normalization const& normalization) {
  std::size_t const size = static_cast<std::size_t>(order + 1) * (order + 1);
  if (normalization == GaussNormalization) {
    out.assign(size, Complex<T>{T(0), T(0)});
    return;
  }
  // Message-thread work (filter-set loading); the table is a temporary.
  std::vector<T> table;
  Normalization const legendreForm =
      normalization == Unnormalized ? Unnormalized : SchmidtSeminormalized3D;
  Legendre<T>::AssociatedLegendreFunctions(table, order, std::cos(theta), legendreForm);
  out.resize(size);
  for (unsigned int l = 0; l <= order; ++l) {
    for (int m = -static_cast<int>(l); m <= static_cast<int>(l); ++m) {
      unsigned int const place = legendre::Place(l, m);
      out[place] = fromLegendre(table[place], ScaleFactor(l, m, normalization), m, phi);
    }
  }
}

template <typename T>
Complex<T> SphericalHarmonic::SphericalHarmonics(unsigned int l, int m, T theta, T phi,
                                                 Normalization const& normalization) {
  unsigned int const mu = static_cast<unsigned int>(m < 0 ? -m : m);
  if (mu > l) return Complex<T>{T(0), T(0)};
  if (normalization == GaussNormalization) return fromLegendre(T(1), 1., m, phi);
  Normalization const legendreForm =
      normalization == Unnormalized ? Unnormalized : SchmidtSeminormalized3D;
  T value = Legendre<T>::AssociatedLegendreFunctions(l, static_cast<int>(mu), std::cos(theta),
                                                     legendreForm);
  if (m < 0 && mu % 2 == 1) value = -value;
  return fromLegendre(value, ScaleFactor(l, m, normalization), m, phi);
}

template <typename T>
void SphericalHarmonic::SphericalHarmonicsBasis(std::vector<Complex<T>>& out, unsigned int order,
                                                T theta, T phi, Normalization const& normalization,
                                                Sorting const& sorting) {
  SphericalHarmonics(out, order, theta, phi, normalization);
  if (sorting != AlternateDegrees) return;
  // Within each degree, from the place order to the alternate one.
  std::vector<Complex<T>> degree;
  for (unsigned int l = 1; l <= order; ++l) {
    degree.assign(out.begin() + l * l, out.begin() + (l + 1) * (l + 1));
    for (unsigned int k = 0; k <= 2 * l; ++k) {
      out[l * l + k] =
          degree[static_cast<std::size_t>(static_cast<int>(l) + AlternateDegreesIndex(l, k))];
    }
  }
}

template void SphericalHarmonic::SphericalHarmonics<float>(std::vector<Complex<float>>&,
                                                           unsigned int, float, float,
                                                           Normalization const&);
template void SphericalHarmonic::SphericalHarmonics<double>(std::vector<Complex<double>>&,
                                                            unsigned int, double, double,
                                                            Normalization const&);
template Complex<float> SphericalHarmonic::SphericalHarmonics<float>(unsigned int, int, float,
                                                                     float, Normalization const&);
template Complex<double> SphericalHarmonic::SphericalHarmonics<double>(unsigned int, int, double,
                                                                       double,
                                                                       Normalization const&);
template void SphericalHarmonic::SphericalHarmonicsBasis<float>(std::vector<Complex<float>>&,
                                                                unsigned int, float, float,
                                                                Normalization const&,
                                                                Sorting const&);
template void SphericalHarmonic::SphericalHarmonicsBasis<double>(std::vector<Complex<double>>&,
                                                                 unsigned int, double, double,
                                                                 Normalization const&,
                                                                 Sorting const&);

}  // namespace nolardsp
