#include "NolarAudioBuffer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <sstream>
#include <vector>

#include "NolarAudioBufferReference.h"
#include "NolarMatrix.h"

namespace {

using nolardsp::AudioBuffer;
using nolardsp::AudioBufferReference;

// An owning buffer whose channel c holds c * 100 + sample index.
void numberSamples(AudioBuffer& b) {
  for (unsigned int c = 0; c < b.GetNumChannels(); ++c) {
    for (unsigned long k = 0; k < b.GetNumSamples(); ++k) {
      b.GetChannel(c)[k] = static_cast<float>(c * 100 + k);
    }
  }
}

TEST(AudioBuffer, OwningBufferLaysChannelsOutInOneBlock) {
  AudioBuffer b(3, 10, true);
  EXPECT_TRUE(b.OwnsData());
  EXPECT_EQ(b.GetChannel(1), b.GetChannel(0) + 10);
  EXPECT_EQ(b.GetChannel(2), b.GetChannel(0) + 20);
  float* before = b.GetChannel(0);
  b.Resize(3, 10);  // same sizes: nothing happens
  EXPECT_EQ(b.GetChannel(0), before);
  b.Resize(2, 50);
  EXPECT_EQ(b.GetNumChannels(), 2u);
  EXPECT_EQ(b.GetChannel(1), b.GetChannel(0) + 50);
  b.Clear();
  for (unsigned int c = 0; c < 2; ++c) {
    for (int k = 0; k < 50; ++k) ASSERT_EQ(b.GetChannel(c)[k], 0.f);
  }
}

TEST(AudioBuffer, NonAllocatingBufferHasNullChannels) {
  AudioBuffer b(4, 16, false);
  EXPECT_FALSE(b.OwnsData());
  for (unsigned int c = 0; c < 4; ++c) EXPECT_EQ(b.GetChannel(c), nullptr);
}

TEST(AudioBuffer, ViewsPointIntoTheCallersChannels) {
  std::vector<float> a(20), b(20);
  float* source[] = {a.data(), b.data()};
  AudioBufferReference empty;
  EXPECT_EQ(empty.GetNumChannels(), 0u);
  EXPECT_EQ(empty.GetChannel(0), nullptr);
  empty.ReferenceExternalData(source, 2, 12, 8);
  EXPECT_EQ(empty.GetChannel(0), a.data() + 8);
  EXPECT_EQ(empty.GetChannel(1), b.data() + 8);
  EXPECT_FALSE(empty.OwnsData());
  empty.Fill(3.f);
  EXPECT_EQ(a[7], 0.f);
  EXPECT_EQ(a[8], 3.f);
  EXPECT_EQ(b[19], 3.f);
  AudioBuffer view(source, 2, 4, 1);
  EXPECT_EQ(view.GetChannel(1), b.data() + 1);
}

TEST(AudioBuffer, AllChannelCountsUpTo1024Work) {
  AudioBuffer b(1024, 2, true);
  b.Fill(1.f);
  EXPECT_EQ(b.GetChannel(1023)[1], 1.f);
  AudioBuffer tooMany(5000, 1, true);  // cut to the table, not written past it
  EXPECT_EQ(tooMany.GetNumChannels(), 1024u);
}

TEST(AudioBuffer, GainZeroClearsEvenWhatAProductWouldNot) {
  AudioBuffer b(2, 4, true);
  b.Fill(std::numeric_limits<float>::quiet_NaN());
  b.ApplyGain(1, 0.f);
  for (int k = 0; k < 4; ++k) EXPECT_EQ(b.GetChannel(1)[k], 0.f);
  b.FillChannel(0, 2.f);
  b.ApplyGain(0, 1.f);
  EXPECT_EQ(b.GetChannel(0)[3], 2.f);
  b.ApplyGain(-0.5f);
  EXPECT_EQ(b.GetChannel(0)[3], -1.f);
}

TEST(AudioBuffer, RampAppliesFromButNeverTo) {
  AudioBuffer b(2, 8, true);
  b.Fill(1.f);
  b.ApplyRamp(0.f, 1.f);
  for (unsigned int c = 0; c < 2; ++c) {
    EXPECT_EQ(b.GetChannel(c)[0], 0.f);
    EXPECT_FLOAT_EQ(b.GetChannel(c)[7], 1.f - 1.f / 8.f);
    for (int k = 1; k < 8; ++k) EXPECT_FLOAT_EQ(b.GetChannel(c)[k], k / 8.f);
  }
  // Equal ends are a gain: 0 clears.
  b.FillChannel(1, std::numeric_limits<float>::quiet_NaN());
  b.ApplyRamp(1, 0.f, 0.f);
  EXPECT_EQ(b.GetChannel(1)[5], 0.f);
}

TEST(AudioBuffer, CopyAndAddClampToBothBuffers) {
  AudioBuffer src(1, 10, true), dst(1, 6, true);
  numberSamples(src);
  dst.Fill(-1.f);
  dst.CopyFrom(0, 0, src, 0, 12, 1.f);  // source offset past the end: nothing
  for (int k = 0; k < 6; ++k) EXPECT_EQ(dst.GetChannel(0)[k], -1.f);
  dst.CopyFrom(0, 2, src, 0, 7, 2.f);  // 3 left in the source, 4 in this buffer
  EXPECT_EQ(dst.GetChannel(0)[1], -1.f);
  EXPECT_EQ(dst.GetChannel(0)[2], 14.f);
  EXPECT_EQ(dst.GetChannel(0)[4], 18.f);
  EXPECT_EQ(dst.GetChannel(0)[5], -1.f);
  dst.AddFrom(0, 4, src, 0, 0, 1.f);  // 2 left in this buffer
  EXPECT_EQ(dst.GetChannel(0)[4], 18.f);
  EXPECT_EQ(dst.GetChannel(0)[5], 0.f);
  dst.AddFrom(0, 9, src, 0, 0, 1.f);  // offset past the end: nothing
  EXPECT_EQ(dst.GetChannel(0)[5], 0.f);
  float const raw[] = {1.f, 2.f};
  dst.CopyFrom(0, 0, raw, 2, 1.f);
  dst.AddFrom(0, 1, raw, 2, 0.5f);
  EXPECT_EQ(dst.GetChannel(0)[0], 1.f);
  EXPECT_EQ(dst.GetChannel(0)[1], 2.5f);
  EXPECT_EQ(dst.GetChannel(0)[2], 15.f);
}

TEST(AudioBuffer, RampedCopiesStartOnFromAndStopShortOfTo) {
  AudioBuffer src(1, 4, true), dst(1, 8, true);
  src.Fill(2.f);
  dst.Fill(1.f);
  dst.CopyFromWithRamp(0, 6, src, 0, 0, 1.f, 0.f);  // clamped to 2 samples
  EXPECT_EQ(dst.GetChannel(0)[5], 1.f);
  EXPECT_EQ(dst.GetChannel(0)[6], 2.f);
  EXPECT_EQ(dst.GetChannel(0)[7], 1.f);
  dst.Fill(1.f);
  dst.AddFromWithRamp(0, 0, src, 0, 0, 0.f, 1.f);  // 4 samples
  EXPECT_EQ(dst.GetChannel(0)[0], 1.f);
  EXPECT_EQ(dst.GetChannel(0)[3], 1.f + 2.f * 0.75f);
  EXPECT_EQ(dst.GetChannel(0)[4], 1.f);
  dst.AddFromWithRamp(0, 0, src, 0, 3, 0.5f, 0.5f);  // equal ends: a plain add
  EXPECT_EQ(dst.GetChannel(0)[0], 2.f);
}

TEST(AudioBuffer, MergeFoldsFiveChannelsIntoTwo) {
  AudioBuffer src(5, 3, true), dst(2, 3, true);
  numberSamples(src);
  dst.Fill(1000.f);  // overwritten, not added to
  dst.MergeFrom(src, 0.5f);
  for (int k = 0; k < 3; ++k) {
    EXPECT_EQ(dst.GetChannel(0)[k], 0.5f * (0 + k) + 0.5f * (200 + k) + 0.5f * (400 + k));
    EXPECT_EQ(dst.GetChannel(1)[k], 0.5f * (100 + k) + 0.5f * (300 + k));
  }
  AudioBuffer none(0, 3, true);
  none.MergeFrom(src, 1.f);  // no channels to fold into: nothing, no crash
}

TEST(AudioBuffer, WholeBufferCopyAndAdd) {
  AudioBuffer src(2, 4, true), dst(2, 4, true);
  numberSamples(src);
  dst.CopyFrom(src, 1.f);
  dst.AddFrom(src, 2.f);
  EXPECT_EQ(dst.GetChannel(1)[3], 3.f * 103.f);
}

TEST(AudioBuffer, PermuteMovesPointersNotSamples) {
  AudioBuffer b(3, 2, true);
  numberSamples(b);
  float* first = b.GetChannel(0);
  unsigned int order[] = {2, 0, 1};
  b.Permute(order);
  EXPECT_EQ(b.GetChannel(1), first);
  EXPECT_EQ(b.GetChannel(0)[1], 201.f);
  EXPECT_EQ(b.GetChannel(2)[0], 100.f);
}

TEST(AudioBuffer, ImpulseAndNoise) {
  AudioBuffer b(2, 4000, true);
  b.Fill(5.f);
  b.Impulse();
  EXPECT_EQ(b.GetChannel(1)[0], 1.f);
  EXPECT_EQ(b.GetChannel(1)[1], 0.f);
  b.FillWithNoise(-0.5f);
  double sum = 0.0;
  float lo = 1.f, hi = -1.f;
  for (unsigned int c = 0; c < 2; ++c) {
    for (int k = 0; k < 4000; ++k) {
      float const v = b.GetChannel(c)[k];
      lo = std::min(lo, v);
      hi = std::max(hi, v);
      sum += v;
    }
  }
  EXPECT_GE(lo, -0.5f);
  EXPECT_LE(hi, 0.5f);
  EXPECT_LT(lo, -0.45f);  // both halves of the range are used
  EXPECT_GT(hi, 0.45f);
  EXPECT_NEAR(sum / 8000.0, 0.0, 0.02);
  EXPECT_EQ(b.SaveAsMatFile("unused.mat"), 0);
}

TEST(AudioBuffer, MatrixRoundTripAndPrinting) {
  AudioBuffer b(3, 4, true);
  numberSamples(b);
  nolardsp::Matrix<float> m;
  b.CopyTo(m);
  ASSERT_EQ(m.GetNumRows(), 3u);
  ASSERT_EQ(m.GetNumColumns(), 4u);
  EXPECT_EQ(m(2, 3), 203.f);
  std::ostringstream direct, viaBuffer;
  m.PrintMatlabLike(direct, 4, "");
  b.PrintMatlabLike(viaBuffer, 4);
  EXPECT_EQ(viaBuffer.str(), direct.str());
  EXPECT_FALSE(viaBuffer.str().empty());
  // Back, into a smaller buffer: only what both have.
  m(1, 0) = -1.f;
  AudioBuffer small(2, 2, true);
  small.Fill(9.f);
  small.CopyFrom(m);
  EXPECT_EQ(small.GetChannel(1)[0], -1.f);
  EXPECT_EQ(small.GetChannel(0)[1], 1.f);
}

}  // namespace
