#include "NolarSignalMatrix.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "NolarConstants.h"
#include "NolarMatrix.h"
#include "ZorvTestAllocationCounter.h"

namespace {

using nolardsp::SignalMatrix;

struct Channels {
  std::vector<std::vector<float>> data;
  std::vector<float*> p;
  Channels(unsigned int n, std::size_t length, float value)
      : data(n, std::vector<float>(length, value)) {
    for (auto& c : data) p.push_back(c.data());
  }
  float** at(std::size_t offset) {
    for (std::size_t i = 0; i < data.size(); ++i) p[i] = data[i].data() + offset;
    return p.data();
  }
};

TEST(SignalMatrix, AGainSetAtCreationIsHeardFromTheSecondCycle) {
  SignalMatrix m(1, 1);
  EXPECT_EQ(m.GetRampLength(), 1323);
  m.SetGain(0, 0, 1.f);
  Channels in(1, 3000, 1.f), out(1, 3000, 0.f);
  for (std::size_t done = 0; done < 3000; done += 100) {
    m.Process(out.at(done), in.at(done), std::min<std::size_t>(100, 3000 - done),
              nolardsp::allActiveInputs);
  }
  auto const& o = out.data[0];
  for (int k = 0; k <= 1323; ++k) ASSERT_EQ(o[k], 0.f) << k;
  for (int k = 1324; k < 2646; ++k) ASSERT_NEAR(o[k], (k - 1323) / 1323.f, 1e-6f) << k;
  for (int k = 2646; k < 3000; ++k) ASSERT_EQ(o[k], 1.f) << k;
}

TEST(SignalMatrix, OnlyTheLastGainSetInACycleIsRampedTo) {
  SignalMatrix m(1, 1);
  Channels in(1, 2700, 1.f), out(1, 2700, 0.f);
  m.Process(out.at(0), in.at(0), 100, nolardsp::allActiveInputs);
  m.SetGain(0, 0, 4.f);
  m.SetGain(0, 0, 0.5f);
  m.Process(out.at(100), in.at(100), 2600, nolardsp::allActiveInputs);
  EXPECT_NEAR(out.data[0][1323 + 1322], 0.5f * 1322.f / 1323.f, 1e-6f);
  EXPECT_EQ(out.data[0][2646], 0.5f);
}

TEST(SignalMatrix, ALongBlockIsSplitAtEveryBoundary) {
  SignalMatrix m(2, 1);
  m.Configure(1000.f, 64, true);
  m.SetRampTime(10.f);
  ASSERT_EQ(m.GetRampLength(), 10);
  m.SetGain(0, 0, 1.f);
  m.SetGain(1, 0, -1.f);
  Channels in(2, 45, 1.f), out(1, 45, 9.f);
  in.data[1].assign(45, 0.5f);
  m.Process(out.at(0), in.at(0), 45, nolardsp::allActiveInputs);
  auto const& o = out.data[0];
  for (int k = 0; k < 10; ++k) EXPECT_EQ(o[k], 0.f) << k;
  for (int k = 10; k < 20; ++k) EXPECT_NEAR(o[k], 0.5f * (k - 10) / 10.f, 1e-6f) << k;
  for (int k = 20; k < 45; ++k) EXPECT_EQ(o[k], 0.5f) << k;
  EXPECT_EQ(m.GetRampPosition(), 5);
}

TEST(SignalMatrix, InactiveInputsStopTheCycleInProcessButNotInProcessAdding) {
  SignalMatrix m(2, 2);
  m.SetGains(1.f);
  Channels in(2, 64, 1.f), out(2, 64, 3.f);
  short const none[] = {0, 0};
  m.Process(out.at(0), in.at(0), 64, none);
  for (auto const& c : out.data) {
    for (float v : c) ASSERT_EQ(v, 0.f);
  }
  EXPECT_EQ(m.GetRampPosition(), 0);
  out.data.assign(2, std::vector<float>(64, 3.f));
  m.ProcessAdding(out.at(0), in.at(0), 64, none);
  for (auto const& c : out.data) {
    for (float v : c) ASSERT_EQ(v, 3.f);
  }
  EXPECT_EQ(m.GetRampPosition(), 64);
}

TEST(SignalMatrix, ProcessAddingRampsUpRampsDownAndSkipsOnlyZeroToZero) {
  SignalMatrix m(2, 3);
  m.Configure(1000.f, 64, true);
  m.SetRampTime(10.f);
  m.SetGain(0, 0, 1.f);  // output 0 from input 0: 0 -> 1, then 1 -> 0
  m.SetGain(1, 1, 1.f);  // output 1 from input 1 only
  Channels in(2, 30, 1.f), out(3, 30, 0.f);
  // Input 1 carries NaN: every output it has a zero-to-zero gain to must stay clean.
  in.data[1].assign(30, std::numeric_limits<float>::quiet_NaN());
  m.ProcessAdding(out.at(0), in.at(0), 10, nolardsp::allActiveInputs);  // first cycle
  m.SetGain(0, 0, 0.f);
  m.ProcessAdding(out.at(10), in.at(10), 20, nolardsp::allActiveInputs);
  auto const& o = out.data[0];
  for (int k = 10; k < 20; ++k) EXPECT_NEAR(o[k], (k - 10) / 10.f, 1e-6f) << k;
  for (int k = 20; k < 30; ++k) EXPECT_NEAR(o[k], 1.f - (k - 20) / 10.f, 1e-6f) << k;
  for (int k = 0; k < 30; ++k) {
    ASSERT_FALSE(std::isnan(out.data[0][k])) << k;
    ASSERT_EQ(out.data[2][k], 0.f) << k;
  }
  EXPECT_TRUE(std::isnan(out.data[1][15]));
}

TEST(SignalMatrix, ACycleShortenedUnderThePositionEndsAtOnceAndEverySampleIsWritten) {
  SignalMatrix m(1, 1);
  Channels in(1, 1000, 1.f), out(1, 1000, 0.f);
  m.Process(out.at(0), in.at(0), 1000, nolardsp::allActiveInputs);
  m.SetGain(0, 0, 1.f);
  m.SetRampTime(10.f);  // 441 < 1000
  out.data[0].assign(1000, std::numeric_limits<float>::quiet_NaN());
  m.Process(out.at(0), in.at(0), 1000, nolardsp::allActiveInputs);
  EXPECT_EQ(out.data[0][0], 0.f);
  EXPECT_NEAR(out.data[0][100], 100.f / 441.f, 1e-6f);
  for (int k = 441; k < 1000; ++k) ASSERT_EQ(out.data[0][k], 1.f) << k;
  // A cycle of no length: blocks still end, gains follow at once.
  m.SetRampTime(0.f);
  m.SetGain(0, 0, 2.f);
  m.Process(out.at(0), in.at(0), 1000, nolardsp::allActiveInputs);
  for (int k = 0; k < 1000; ++k) ASSERT_EQ(out.data[0][k], 2.f) << k;
}

TEST(SignalMatrix, ARateChangeKeepsTimesAndClearKeepsGains) {
  SignalMatrix m(1, 1);
  m.SetGain(0, 0, 1.f);
  Channels in(1, 3000, 1.f), out(1, 3000, 0.f);
  m.Process(out.at(0), in.at(0), 3000, nolardsp::allActiveInputs);
  m.Configure(88200.f, 64, false);
  EXPECT_EQ(m.GetRampLength(), 2646);
  EXPECT_NEAR(m.GetRampPosition(), 2 * (3000 - 2 * 1323), 1);
  EXPECT_EQ(m.GetStartGains()[0], 1.f);
  EXPECT_EQ(m.GetTargetGains()[0], 1.f);
  m.SetGain(5, 0, 1.f);  // out of range: ignored
  EXPECT_EQ(m.GetNextGain(0, 0), 1.f);
}

TEST(SignalMatrix, GainsFromAMatrixAreInputRowsByOutputColumns) {
  SignalMatrix m(2, 3);
  m.SetGains(0.5f);
  nolardsp::Matrix<float> g(2, 2, 0.f);
  g(1, 0) = 3.f;
  g(0, 1) = 2.f;
  m.SetGains(g);
  EXPECT_EQ(m.GetNextGain(1, 0), 3.f);
  EXPECT_EQ(m.GetNextGain(0, 1), 2.f);
  EXPECT_EQ(m.GetNextGain(0, 0), 0.f);
  EXPECT_EQ(m.GetNextGain(1, 2), 0.5f);  // outside the matrix: kept
}

TEST(SignalMatrix, BlocksAllocateNothing) {
  SignalMatrix m(6, 5);
  Channels in(6, 512, 0.5f), out(5, 512, 0.f);
  for (unsigned int i = 0; i < 6; ++i) m.SetGain(i, i % 5, 0.25f * i);
  short const some[] = {0, 1, 1, 0, 1, 1};
  zorvtest::AllocationCounter counter;
  for (int b = 0; b < 10; ++b) {
    m.Process(out.at(0), in.at(0), 512, b % 2 ? some : nolardsp::allActiveInputs);
    m.ProcessAdding(out.at(0), in.at(0), 512, some);
  }
  EXPECT_EQ(counter.Count(), 0u);
}

}  // namespace
