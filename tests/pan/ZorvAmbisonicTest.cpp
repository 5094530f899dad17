// Encoding vectors in 2-D and 3-D against the direct formulas of
// tests/support/ZorvTestSphericalHarmonicReference.h, for every normalisation
// and sorting, and the conversions between conventions.

#include "ZorvAmbisonic.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

#include "ZorvTestAllocationCounter.h"
#include "ZorvTestSphericalHarmonicReference.h"

namespace {

using nolardsp::CartesianVector;
using SH = nolardsp::SphericalHarmonic;

double const pi = 3.14159265358979323846;

// Random positions at random distances, the poles, the horizon and the origin.
std::vector<CartesianVector> positions() {
  std::vector<CartesianVector> p = {{0.f, 0.f, 1.f},   {0.f, 0.f, -2.f}, {1.f, 0.f, 0.f},
                                    {0.f, 1.f, 0.f},   {-3.f, 0.f, 0.f}, {0.f, 0.f, 0.f},
                                    {0.5f, -0.5f, 0.f}};
  std::mt19937 random(11);
  std::normal_distribution<float> g(0.f, 1.f);
  std::uniform_real_distribution<float> r(0.1f, 5.f);
  for (int i = 0; i < 24; ++i) {
    float const x = g(random), y = g(random), z = g(random);
    float const k = r(random) / std::sqrt(x * x + y * y + z * z);
    p.emplace_back(k * x, k * y, k * z);
  }
  return p;
}

// The direction in double, as the encoders take it: the origin faces x.
void direction(CartesianVector const& p, double& theta, double& phi) {
  double const r = std::sqrt(double(p.x) * p.x + double(p.y) * p.y + double(p.z) * p.z);
  phi = std::atan2(double(p.y), double(p.x));
  theta = r > 0. ? std::acos(std::fmax(-1., std::fmin(1., p.z / r))) : pi / 2;
}

// The (l, m) of each entry of a 3-D vector.
std::vector<std::pair<unsigned int, int>> layout3D(unsigned int order, SH::Sorting sorting) {
  std::vector<std::pair<unsigned int, int>> lm;
  for (unsigned int l = 0; l <= order; ++l) {
    if (sorting == SH::AlternateDegrees) {
      for (int m : zorvtest::AlternateOrder(l)) lm.emplace_back(l, m);
    } else {
      for (int m = -static_cast<int>(l); m <= static_cast<int>(l); ++m) lm.emplace_back(l, m);
    }
  }
  return lm;
}

std::vector<std::pair<unsigned int, int>> layout2D(unsigned int order, SH::Sorting sorting) {
  std::vector<std::pair<unsigned int, int>> lm = {{0u, 0}};
  int const first = sorting == SH::AlternateDegrees ? 1 : -1;
  for (unsigned int l = 1; l <= order; ++l) {
    lm.emplace_back(l, first * static_cast<int>(l));
    lm.emplace_back(l, -first * static_cast<int>(l));
  }
  return lm;
}

template <typename T>
class AmbisonicTest : public ::testing::Test {};
using Precisions = ::testing::Types<float, double>;
TYPED_TEST_SUITE(AmbisonicTest, Precisions);

TYPED_TEST(AmbisonicTest, ThreeDimensionalVectorsMatchTheDirectFormula) {
  using T = TypeParam;
  unsigned int const order = 10;
  std::vector<T> v;
  for (unsigned int n = 1; n <= 4; ++n) {
    // The float direction is rounded; its error grows with the degree.
    double const tolerance = (sizeof(T) == 4 ? 5e-5 : (n == 2 ? 5e-8 : 1e-10)) * (n == 3 ? 5. : 2.);
    for (SH::Sorting sorting : {SH::IncreasingDegrees, SH::AlternateDegrees}) {
      auto const lm = layout3D(order, sorting);
      for (CartesianVector const& p : positions()) {
        Zorv::Ambisonic<T>::AmbisonicEncodingVector(v, order, p, static_cast<SH::Normalization>(n),
                                                    sorting);
        ASSERT_EQ(v.size(), 121u);
        double theta, phi;
        direction(p, theta, phi);
        for (std::size_t k = 0; k < lm.size(); ++k) {
          EXPECT_NEAR(v[k], zorvtest::RealReference(lm[k].first, lm[k].second, theta, phi, n),
                      tolerance)
              << "n " << n << " sorting " << sorting << " l " << lm[k].first << " m "
              << lm[k].second << " at " << p.x << " " << p.y << " " << p.z;
        }
      }
    }
  }
}

TYPED_TEST(AmbisonicTest, TwoDimensionalVectorsMatchTheDirectFormula) {
  using T = TypeParam;
  unsigned int const order = 20;
  std::vector<T> v;
  for (unsigned int n = 1; n <= 4; ++n) {
    double const tolerance = (sizeof(T) == 4 ? 5e-5 : (n == 2 ? 5e-8 : 1e-10)) * (n == 3 ? 7. : 2.);
    for (SH::Sorting sorting : {SH::IncreasingDegrees, SH::AlternateDegrees}) {
      auto const lm = layout2D(order, sorting);
      for (CartesianVector const& p : positions()) {
        Zorv::Ambisonic<T>::AmbisonicEncodingVector2D(v, order, p,
                                                      static_cast<SH::Normalization>(n), sorting);
        ASSERT_EQ(v.size(), 41u);
        double theta, phi;
        direction(p, theta, phi);
        for (std::size_t k = 0; k < lm.size(); ++k) {
          EXPECT_NEAR(v[k], zorvtest::RealReference(lm[k].first, lm[k].second, theta, phi, n),
                      tolerance)
              << "n " << n << " l " << lm[k].first << " m " << lm[k].second;
        }
      }
    }
  }
}

// On the circle, N2D is orthonormal and SN2D has power 1/2 off the omni.
TEST(AmbisonicTest, TwoDimensionalNormsOnTheCircle) {
  unsigned int const order = 20;
  unsigned int const size = 2 * order + 1;
  unsigned int const points = 64;
  for (SH::Normalization n : {SH::SchmidtSeminormalized2D, SH::FullyNormalized2D}) {
    std::vector<double> gram(size * size, 0.);
    std::vector<double> v;
    for (unsigned int k = 0; k < points; ++k) {
      double const a = 2. * pi * k / points;
      Zorv::Ambisonic<double>::AmbisonicEncodingVector2D(
          v, order, CartesianVector(float(std::cos(a)), float(std::sin(a)), 0.f), n,
          SH::IncreasingDegrees);
      for (unsigned int i = 0; i < size; ++i) {
        for (unsigned int j = 0; j < size; ++j) gram[i * size + j] += v[i] * v[j] / points;
      }
    }
    for (unsigned int i = 0; i < size; ++i) {
      for (unsigned int j = 0; j < size; ++j) {
        double const diagonal = (i == 0 || n == SH::FullyNormalized2D) ? 1. : 0.5;
        // Directions are rounded to float.
        EXPECT_NEAR(gram[i * size + j], i == j ? diagonal : 0., 2e-6) << i << " " << j;
      }
    }
  }
}

// Converting a vector from one convention to another with the scale factors
// of the conventions (their ratios, and the permutation of the sorting) gives the
// encoder's own vector in the other convention, and converting back restores
// the first.
TEST(AmbisonicTest, ConversionsBetweenConventionsRoundTrip) {
  unsigned int const order = 6;
  auto const increasing = layout3D(order, SH::IncreasingDegrees);
  auto const alternate = layout3D(order, SH::AlternateDegrees);
  std::vector<double> a, b, converted, back;
  for (CartesianVector const& p : positions()) {
    for (unsigned int from = 1; from <= 4; ++from) {
      for (unsigned int to = 1; to <= 4; ++to) {
        auto const nFrom = static_cast<SH::Normalization>(from);
        auto const nTo = static_cast<SH::Normalization>(to);
        Zorv::Ambisonic<double>::AmbisonicEncodingVector(a, order, p, nFrom, SH::IncreasingDegrees);
        Zorv::Ambisonic<double>::AmbisonicEncodingVector(b, order, p, nTo, SH::AlternateDegrees);
        // From (nFrom, increasing) to (nTo, alternate) and back.
        converted.assign(b.size(), 0.);
        for (std::size_t k = 0; k < alternate.size(); ++k) {
          unsigned int const l = alternate[k].first;
          int const m = alternate[k].second;
          unsigned int const mu = static_cast<unsigned int>(std::abs(m));
          converted[k] = a[l * l + l + m] * zorvtest::ScaleReference(mu, to) /
                         zorvtest::ScaleReference(mu, from);
          EXPECT_NEAR(converted[k], b[k], 1e-7) << from << " -> " << to;
        }
        back.assign(a.size(), 0.);
        for (std::size_t k = 0; k < alternate.size(); ++k) {
          unsigned int const l = alternate[k].first;
          int const m = alternate[k].second;
          unsigned int const mu = static_cast<unsigned int>(std::abs(m));
          back[l * l + l + m] =
              converted[k] * zorvtest::ScaleReference(mu, from) / zorvtest::ScaleReference(mu, to);
        }
        for (std::size_t k = 0; k < increasing.size(); ++k) EXPECT_NEAR(back[k], a[k], 1e-12);
      }
    }
  }
}

TEST(AmbisonicTest, SortingsHoldTheSameValuesBitForBit) {
  std::vector<float> a, b;
  for (CartesianVector const& p : positions()) {
    for (SH::Normalization n : {SH::SchmidtSeminormalized3D, SH::FullyNormalized3D}) {
      Zorv::Ambisonic<float>::AmbisonicEncodingVector(a, 7, p, n, SH::IncreasingDegrees);
      Zorv::Ambisonic<float>::AmbisonicEncodingVector(b, 7, p, n, SH::AlternateDegrees);
      auto const lm = layout3D(7, SH::AlternateDegrees);
      for (std::size_t k = 0; k < lm.size(); ++k) {
        unsigned int const l = lm[k].first;
        EXPECT_EQ(b[k], a[l * l + l + lm[k].second]);
      }
    }
  }
}

TEST(AmbisonicTest, KnownFirstOrderVectors) {
  std::vector<float> v;
  auto const encode = [&v](CartesianVector const& p, SH::Normalization n, SH::Sorting s) {
    Zorv::Ambisonic<float>::AmbisonicEncodingVector(v, 1, p, n, s);
    return v;
  };
  auto const near = [](std::vector<float> const& got, std::vector<float> const& want) {
    ASSERT_EQ(got.size(), want.size());
    for (std::size_t k = 0; k < want.size(); ++k) EXPECT_NEAR(got[k], want[k], 1e-6f) << k;
  };
  SH::Normalization const sn3d = SH::SchmidtSeminormalized3D;
  near(encode({1.f, 0.f, 0.f}, sn3d, SH::IncreasingDegrees), {1.f, 0.f, 0.f, 1.f});
  near(encode({0.f, 1.f, 0.f}, sn3d, SH::IncreasingDegrees), {1.f, 1.f, 0.f, 0.f});
  near(encode({1.f, 0.f, 0.f}, sn3d, SH::AlternateDegrees), {1.f, 1.f, 0.f, 0.f});
  near(encode({0.f, 0.f, 0.f}, sn3d, SH::IncreasingDegrees), {1.f, 0.f, 0.f, 1.f});
  near(encode({0.f, 0.f, 0.f}, sn3d, SH::AlternateDegrees), {1.f, 1.f, 0.f, 0.f});
  // N3D as defined here scales by sqrt(2|m| + 1): (1, 0) is as in SN3D.
  near(encode({0.f, 0.f, 4.f}, SH::FullyNormalized3D, SH::IncreasingDegrees), {1.f, 0.f, 1.f, 0.f});
  near(encode({0.f, -2.f, 0.f}, SH::FullyNormalized3D, SH::IncreasingDegrees),
       {1.f, -std::sqrt(3.f), 0.f, 0.f});
  // Any other sorting: zeros.
  near(encode({1.f, 0.f, 0.f}, sn3d, static_cast<SH::Sorting>(2)), {0.f, 0.f, 0.f, 0.f});

  Zorv::Ambisonic<float>::AmbisonicEncodingVector(v, 0, {0.3f, 0.2f, 0.1f}, sn3d,
                                                  SH::IncreasingDegrees);
  ASSERT_EQ(v.size(), 1u);
  EXPECT_EQ(v[0], 1.f);
  Zorv::Ambisonic<float>::AmbisonicEncodingVector2D(
      v, 0, {0.3f, 0.2f, 0.1f}, SH::SchmidtSeminormalized2D, SH::AlternateDegrees);
  ASSERT_EQ(v.size(), 1u);
  EXPECT_EQ(v[0], 1.f);
}

TEST(AmbisonicTest, StraightUpOnlyZonalComponentsSound) {
  std::vector<float> v;
  std::vector<float> elsewhere;
  Zorv::Ambisonic<float>::AmbisonicEncodingVector(
      v, 10, {0.f, 0.f, 1.f}, SH::SchmidtSeminormalized3D, SH::IncreasingDegrees);
  for (unsigned int l = 0; l <= 10; ++l) {
    for (int m = -static_cast<int>(l); m <= static_cast<int>(l); ++m) {
      if (m != 0) {
        EXPECT_EQ(v[l * l + l + m], 0.f);
      }
    }
  }
  // (l, 0) is at its largest there.
  for (CartesianVector const& p : positions()) {
    Zorv::Ambisonic<float>::AmbisonicEncodingVector(elsewhere, 10, p, SH::SchmidtSeminormalized3D,
                                                    SH::IncreasingDegrees);
    for (unsigned int l = 0; l <= 10; ++l) {
      EXPECT_LE(std::fabs(elsewhere[l * l + l]), v[l * l + l] + 1e-6f);
    }
  }
}

TEST(AmbisonicTest, EncodingWithCapacityInPlaceAllocatesNothing) {
  std::vector<float> v;
  std::vector<float> w;
  Zorv::Ambisonic<float>::AmbisonicEncodingVector(
      v, 7, {1.f, 2.f, 3.f}, SH::SchmidtSeminormalized3D, SH::IncreasingDegrees);
  Zorv::Ambisonic<float>::AmbisonicEncodingVector2D(
      w, 25, {1.f, 2.f, 3.f}, SH::SchmidtSeminormalized2D, SH::AlternateDegrees);
  zorvtest::AllocationCounter counter;
  Zorv::Ambisonic<float>::AmbisonicEncodingVector(v, 7, {-1.f, 2.f, 0.f}, SH::FullyNormalized3D,
                                                  SH::IncreasingDegrees);
  Zorv::Ambisonic<float>::AmbisonicEncodingVector(v, 7, {-1.f, 2.f, 0.f}, SH::FullyNormalized3D,
                                                  SH::AlternateDegrees);
  Zorv::Ambisonic<float>::AmbisonicEncodingVector2D(w, 25, {-1.f, 2.f, 0.f}, SH::FullyNormalized2D,
                                                    SH::IncreasingDegrees);
  EXPECT_EQ(counter.Count(), 0u);
}

}  // namespace
