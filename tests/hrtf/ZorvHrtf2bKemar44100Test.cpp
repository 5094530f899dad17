#include "ZorvHrtf2bKemar44100.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <string>

namespace {

constexpr std::size_t kRows = 710;
constexpr std::size_t kColumns = 26;
constexpr int kSections = 6;
// The fitter keeps every pole and zero within a radius of 0.995; float rounding
// of the coefficients may move a root a little, never to the unit circle.
constexpr double kMaxRadius = 0.999;

// Largest root modulus of z^2 + c1 z + c2.
double largestRootRadius(double c1, double c2) {
  double const disc = c1 * c1 - 4.0 * c2;
  if (disc < 0.0) return std::sqrt(c2);  // complex pair: |z|^2 = c2
  double const s = std::sqrt(disc);
  return std::max(std::fabs(-c1 + s), std::fabs(-c1 - s)) * 0.5;
}

TEST(Hrtf2bKemar44100, HasTheShapeOfTheGrid) {
  EXPECT_EQ(sizeof(Zorv::hrtf_2b_KEMAR_44100) / sizeof(Zorv::hrtf_2b_KEMAR_44100[0]), kRows);
  EXPECT_EQ(sizeof(Zorv::hrtf_2b_KEMAR_44100[0]) / sizeof(float), kColumns);
}

TEST(Hrtf2bKemar44100, EveryValueIsFiniteAndEveryGainPositive) {
  for (std::size_t r = 0; r < kRows; ++r) {
    for (std::size_t c = 0; c < kColumns; ++c) {
      ASSERT_TRUE(std::isfinite(Zorv::hrtf_2b_KEMAR_44100[r][c])) << "row " << r << " col " << c;
    }
    EXPECT_GT(Zorv::hrtf_2b_KEMAR_44100[r][1], 0.0f) << "row " << r;
  }
}

// The renderer cross-fades between neighbouring rows, so every section must be
// stable and minimum phase on its own, with a margin to the unit circle.
TEST(Hrtf2bKemar44100, EverySectionIsStableAndMinimumPhase) {
  double worst = 0.0;
  for (std::size_t r = 0; r < kRows; ++r) {
    float const* row = Zorv::hrtf_2b_KEMAR_44100[r];
    for (int s = 0; s < kSections; ++s) {
      float const* q = row + 2 + 4 * s;
      double const zeros = largestRootRadius(q[0], q[1]);
      double const poles = largestRootRadius(q[2], q[3]);
      EXPECT_LT(zeros, kMaxRadius) << "zeros of row " << r << " section " << s;
      EXPECT_LT(poles, kMaxRadius) << "poles of row " << r << " section " << s;
      worst = std::max({worst, zeros, poles});
    }
  }
  RecordProperty("largest_root_radius", std::to_string(worst));
}

TEST(Hrtf2bKemar44100, RootCheckRejectsWhatItShould) {
  EXPECT_DOUBLE_EQ(largestRootRadius(0.0, 1.0), 1.0);     // poles on the unit circle
  EXPECT_DOUBLE_EQ(largestRootRadius(-2.0, 1.0), 1.0);    // double root at z = 1
  EXPECT_DOUBLE_EQ(largestRootRadius(0.5, -1.5), 1.5);    // real roots 1 and -1.5
  EXPECT_NEAR(largestRootRadius(-1.8, 0.81), 0.9, 1e-6);  // double root at 0.9
}

TEST(Hrtf2bKemar44100, DelaysStayNearTheBaseAndTheFrontsHoldIt) {
  for (std::size_t r = 0; r < kRows; ++r) {
    float const d = Zorv::hrtf_2b_KEMAR_44100[r][0];
    EXPECT_GE(d, 0.5f) << "row " << r;
    EXPECT_LE(d, 1.5f) << "row " << r;
  }
  EXPECT_EQ(Zorv::hrtf_2b_KEMAR_44100[0][0], 1.0f);    // -40 degrees, front
  EXPECT_EQ(Zorv::hrtf_2b_KEMAR_44100[260][0], 1.0f);  // 0 degrees, front
  EXPECT_EQ(Zorv::hrtf_2b_KEMAR_44100[709][0], 1.0f);  // zenith
}

// Row 278 is 90 degrees to the left at elevation 0: the left ear is the near
// one, so its delay is below the base and its mirror's (row 314) above.
TEST(Hrtf2bKemar44100, TheLeftEarLeadsOnTheLeft) {
  float const left = Zorv::hrtf_2b_KEMAR_44100[278][0];
  float const mirror = Zorv::hrtf_2b_KEMAR_44100[314][0];
  EXPECT_LT(left, 0.7f);
  EXPECT_EQ(left + mirror, 2.0f);
  EXPECT_GT(Zorv::hrtf_2b_KEMAR_44100[278][1], Zorv::hrtf_2b_KEMAR_44100[314][1]);
}

}  // namespace
