#include "ZorvRenderDemo.h"

#include <gtest/gtest.h>

#include <cmath>
#include <sstream>

#include "ZorvRenderLoop.h"
#include "ZorvRenderProgress.h"
#include "ZorvRenderScore.h"

namespace zorvrender {
namespace {

TEST(DemoTest, TheSourceIsAudibleEverySecondAndTheSameInAnyBlocks) {
  DemoSource whole(48000.);
  ASSERT_EQ(whole.NumFrames(), static_cast<long long>(DemoSeconds * 48000.));
  std::vector<float> samples(static_cast<size_t>(whole.NumFrames()));
  float* channel = samples.data();
  EXPECT_EQ(whole.Read(&channel, static_cast<unsigned int>(samples.size())), samples.size());

  float peak = 0.f;
  for (size_t second = 0; second < 8; ++second) {
    double energy = 0.;
    for (size_t k = second * 48000; k < (second + 1) * 48000; ++k) {
      ASSERT_TRUE(std::isfinite(samples[k]));
      energy += static_cast<double>(samples[k]) * samples[k];
      peak = std::max(peak, std::fabs(samples[k]));
    }
    EXPECT_GT(std::sqrt(energy / 48000.), 0.02) << "second " << second;
  }
  EXPECT_LT(peak, 1.f);
  // Faded at both ends, so the render starts and stops without a click.
  EXPECT_EQ(samples.front(), 0.f);
  EXPECT_LT(std::fabs(samples.back()), 1e-3f);

  DemoSource blocks(48000.);
  std::vector<float> piece(777);
  float* out = piece.data();
  for (size_t done = 0; done < samples.size();) {
    unsigned int const got = blocks.Read(&out, 777);
    ASSERT_GT(got, 0u);
    for (unsigned int k = 0; k < got; ++k) {
      ASSERT_EQ(piece[k], samples[done + k]) << done + k;
    }
    done += got;
  }
  EXPECT_EQ(blocks.Read(&out, 777), 0u);
}

TEST(DemoTest, TheScoreGoesOnceAroundWithinTheSound) {
  std::istringstream text(DemoScoreText());
  Score const score = Score::Parse(text, "demo score");
  ASSERT_GT(score.Entries().size(), 100u);
  EXPECT_EQ(score.Entries()[0].message, "interpolationtime 50");
  double previousAzimuth = -1000.;
  double turned = 0.;
  for (size_t i = 1; i < score.Entries().size(); ++i) {
    auto const& entry = score.Entries()[i];
    EXPECT_LT(entry.seconds, DemoSeconds);
    std::istringstream words(entry.message);
    std::string selector;
    double x = 0., y = 0., z = 1.;
    words >> selector >> x >> y >> z;
    ASSERT_EQ(selector, "sourcespositions") << entry.message;
    EXPECT_NEAR(std::hypot(x, y), 1., 1e-5);
    EXPECT_EQ(z, 0.);
    double const azimuth = std::atan2(x, y) * 180. / 3.141592653589793;  // clockwise from y
    if (previousAzimuth > -1000.) {
      double step = azimuth - previousAzimuth;
      step += step < -180. ? 360. : 0.;
      EXPECT_GT(step, 0.);  // clockwise, small steps
      EXPECT_LT(step, 5.);
      turned += step;
    }
    previousAzimuth = azimuth;
  }
  EXPECT_NEAR(turned, 360., 5.);
}

TEST(ProgressBarTest, ShowsPositionElapsedTimeAndSpeed) {
  EXPECT_EQ(ProgressBar::Format(24000, 96000, 48000., 0.05),
            "[#######-----------------------]  25%  0.5 / 2.0 s  elapsed 0.1 s  10.0x real time");
  EXPECT_EQ(ProgressBar::Format(0, 96000, 48000., 0.),
            "[------------------------------]   0%  0.0 / 2.0 s");
  EXPECT_EQ(ProgressBar::Format(0, 0, 48000., 0.),
            "[##############################] 100%  0.0 / 0.0 s");
}

// On headphones the source passes in front, on both sides, behind and above,
// in small steps, one metre away.
TEST(DemoTest, TheHeadphoneScoreVisitsFrontSidesBackAndTop) {
  EXPECT_TRUE(IsHeadphonesBox("@numinputs 1 @numoutputs 2 @type binaural"));
  EXPECT_TRUE(IsHeadphonesBox("@type binaural @subtype direct"));
  EXPECT_FALSE(IsHeadphonesBox("@numinputs 1 @numoutputs 8 @type vbap2d"));
  EXPECT_FALSE(IsHeadphonesBox("@type binaurals"));
  std::istringstream text(DemoHeadphonesScoreText());
  Score const score = Score::Parse(text, "demo score");
  ASSERT_GT(score.Entries().size(), 200u);
  bool front = false, right = false, back = false, left = false, top = false;
  double px = 0., py = 1., pz = 0.;
  for (size_t i = 1; i < score.Entries().size(); ++i) {
    auto const& entry = score.Entries()[i];
    EXPECT_LT(entry.seconds, DemoHeadphonesSeconds);
    std::istringstream words(entry.message);
    std::string selector;
    double x = 0., y = 0., z = 0.;
    words >> selector >> x >> y >> z;
    ASSERT_EQ(selector, "sourcespositions") << entry.message;
    EXPECT_NEAR(std::sqrt(x * x + y * y + z * z), 1., 1e-5);
    EXPECT_LT(std::sqrt((x - px) * (x - px) + (y - py) * (y - py) + (z - pz) * (z - pz)), 0.1);
    px = x, py = y, pz = z;
    front = front || y > 0.99;
    right = right || x > 0.99;
    back = back || y < -0.99;
    left = left || x < -0.99;
    top = top || z > 0.99;
  }
  EXPECT_TRUE(front && right && back && left && top);
}

}  // namespace
}  // namespace zorvrender
