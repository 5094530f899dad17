#include "NolarButterworthDesign.h"

#include <algorithm>
#include <cmath>
#include <complex>

namespace nolardsp {

namespace {

using cd = std::complex<double>;

double const pi = 3.14159265358979323846;

// A section in double: numerator 1 + b1 z^-1 + b2 z^-2, denominator likewise.
struct Section {
  double b1;
  double b2;
  double a1;
  double a2;
};

cd response(std::vector<Section> const& sections, cd z) {
  cd const zi = 1.0 / z;
  cd h = 1.0;
  for (Section const& s : sections) {
    h *= (1.0 + zi * (s.b1 + zi * s.b2)) / (1.0 + zi * (s.a1 + zi * s.a2));
  }
  return h;
}

double clampFrequency(double f, double rate) {
  if (!(f >= ButterworthDesign<double>::MinFrequency)) f = ButterworthDesign<double>::MinFrequency;
  double const top = ButterworthDesign<double>::MaxFrequencyRatio * rate;
  return std::min(f, top);
}

}  // namespace

template <typename T>
unsigned int ButterworthDesign<T>::GetNumSections(unsigned int order, unsigned int const* type) {
  unsigned int const t = type != nullptr ? *type : LowPass;
  if (t == BandPass || t == BandStop) return order;
  return (order + 1) / 2;
}

template <typename T>
void ButterworthDesign<T>::GetPoles(std::vector<Complex<T>>& poles, unsigned int order) {
  poles.resize(order);
  for (unsigned int k = 1; k <= order; ++k) {
    double const angle = pi * static_cast<double>(2 * k + order - 1) / (2.0 * order);
    poles[k - 1] = Complex<T>{static_cast<T>(std::cos(angle)), static_cast<T>(std::sin(angle))};
  }
}

template <typename T>
void ButterworthDesign<T>::DigitalDesign(std::vector<T>& result, unsigned int order, T frequency1,
                                         T frequency2, T samplerate, unsigned int const* type) {
  unsigned int t = type != nullptr ? *type : LowPass;
  if (t > BandStop) t = LowPass;
  double rate = static_cast<double>(samplerate);
  if (!(rate > 0.0) || !std::isfinite(rate)) rate = 44100.0;
  unsigned int const numSections = GetNumSections(order, &t);
  result.assign(4 * numSections + 1, T(0));
  result[0] = T(1);
  if (order == 0) return;

  // Prewarped with a design rate of 2: s = 4 (z - 1) / (z + 1).
  auto warp = [rate](double f) { return 4.0 * std::tan(pi * clampFrequency(f, rate) / rate); };
  double const u1 = warp(static_cast<double>(frequency1));
  double centre = u1;
  double bandwidth = 1.0;
  if (t == BandPass || t == BandStop) {
    double lo = u1;
    double hi = warp(static_cast<double>(frequency2));
    if (lo > hi) std::swap(lo, hi);
    if (lo == hi) hi *= 1.01;
    bandwidth = hi - lo;
    centre = std::sqrt(lo * hi);
  }

  // Analogue poles of the transformed prototype.
  std::vector<cd> analogue;
  analogue.reserve(2 * order);
  for (unsigned int k = 1; k <= order; ++k) {
    double const angle = pi * static_cast<double>(2 * k + order - 1) / (2.0 * order);
    cd const p(std::cos(angle), std::sin(angle));
    switch (t) {
      case LowPass:
        analogue.push_back(centre * p);
        break;
      case HighPass:
        analogue.push_back(centre / p);
        break;
      case BandPass:
      case BandStop: {
        cd const half = (t == BandPass ? p * bandwidth : bandwidth / p) * 0.5;
        cd const root = std::sqrt(half * half - centre * centre);
        analogue.push_back(half + root);
        analogue.push_back(half - root);
        break;
      }
      default:
        break;
    }
  }

  // Bilinear transform; split into conjugate pairs (upper half kept) and
  // real poles. A prototype pole and its conjugate give the same |im|, so the
  // split is decided on a tolerance well above rounding.
  std::vector<cd> pairs;
  std::vector<double> reals;
  for (cd const& s : analogue) {
    cd const z = (4.0 + s) / (4.0 - s);
    if (std::abs(z.imag()) <= 1e-12 * std::max(1.0, std::abs(z))) {
      reals.push_back(z.real());
    } else if (z.imag() > 0.0) {
      pairs.push_back(z);
    }
  }
  std::sort(pairs.begin(), pairs.end(),
            [](cd const& a, cd const& b) { return std::abs(a) < std::abs(b); });
  std::sort(reals.begin(), reals.end(),
            [](double a, double b) { return std::abs(a) < std::abs(b); });

  // Numerator of each section, and the point where the gain is 1.
  double nb1 = 0.0;
  double nb2 = 0.0;
  double n1 = 0.0;  // of a first-order section
  cd reference(1.0, 0.0);
  switch (t) {
    case LowPass:
      nb1 = 2.0, nb2 = 1.0, n1 = 1.0;
      break;
    case HighPass:
      nb1 = -2.0, nb2 = 1.0, n1 = -1.0;
      reference = cd(-1.0, 0.0);
      break;
    case BandPass: {
      nb1 = 0.0, nb2 = -1.0;
      double const w = 2.0 * std::atan(centre / 4.0);
      reference = cd(std::cos(w), std::sin(w));
      break;
    }
    default: {
      double const w = 2.0 * std::atan(centre / 4.0);
      nb1 = -2.0 * std::cos(w), nb2 = 1.0;
      break;
    }
  }

  std::vector<Section> sections;
  sections.reserve(numSections);
  // Real poles two by two (the farther from the circle first), an odd one
  // last as a first-order section.
  size_t r = 0;
  for (; r + 1 < reals.size(); r += 2) {
    sections.push_back({nb1, nb2, -(reals[r] + reals[r + 1]), reals[r] * reals[r + 1]});
  }
  for (cd const& p : pairs) {
    sections.push_back({nb1, nb2, -2.0 * p.real(), std::norm(p)});
  }
  if (r < reals.size()) sections.push_back({n1, 0.0, -reals[r], 0.0});
  if (sections.size() != numSections) {
    // Not reached for a finite design; keep the identity rather than a
    // cascade of the wrong size.
    return;
  }

  double const gain = 1.0 / std::abs(response(sections, reference));
  result[0] = static_cast<T>(std::isfinite(gain) ? gain : 0.0);
  for (unsigned int k = 0; k < numSections; ++k) {
    result[4 * k + 1] = static_cast<T>(sections[k].b1);
    result[4 * k + 2] = static_cast<T>(sections[k].b2);
    result[4 * k + 3] = static_cast<T>(sections[k].a1);
    result[4 * k + 4] = static_cast<T>(sections[k].a2);
  }
}

template class ButterworthDesign<float>;
template class ButterworthDesign<double>;

}  // namespace nolardsp
