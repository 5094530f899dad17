#include "ZorvReverbPanning.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <random>
#include <vector>

#include "ZorvShuffle.h"
#include "ZorvTestAllocationCounter.h"

namespace {

using nolardsp::CartesianVector;
using nolardsp::Matrix;
using Zorv::Pan;
using Zorv::ReverbPanning;

// Blocks of signals for one panner.
struct Signals {
  Signals(unsigned int n, unsigned int m, unsigned int length)
      : in(n, std::vector<float>(length)), out(m, std::vector<float>(length)) {
    for (auto& c : in) ins.push_back(c.data());
    for (auto& c : out) outs.push_back(c.data());
  }
  std::vector<std::vector<float>> in, out;
  std::vector<float*> ins, outs;
};

TEST(Shuffle, TablesForTheUsualCountsARotationOtherwise) {
  std::vector<unsigned int> p;
  Zorv::Shuffle::GetPermutationForChannels(p, 5);
  EXPECT_EQ(p, (std::vector<unsigned int>{1, 2, 3, 4, 0}));
  Zorv::Shuffle::GetPermutationForChannels(p, 16);
  EXPECT_EQ(p, (std::vector<unsigned int>{11, 15, 12, 10, 0, 4, 13, 3, 7, 9, 14, 8, 6, 2, 1, 5}));
  // Every table is a permutation of its channels.
  for (unsigned int n : {4u, 6u, 8u, 12u, 16u, 1u, 7u}) {
    Zorv::Shuffle::GetPermutationForChannels(p, n);
    std::vector<bool> seen(n, false);
    for (unsigned int v : p) {
      ASSERT_LT(v, n);
      seen[v] = true;
    }
    for (unsigned int k = 0; k < n; ++k) EXPECT_TRUE(seen[k]) << n << " " << k;
  }
}

TEST(ReverbPanning, FourByFourMixesEveryInputIntoEveryOutput) {
  Matrix<float> const r = ReverbPanning::ComputeReverbMixingMatrix(4, 4);
  ASSERT_EQ(r.GetNumRows(), 4u);
  ASSERT_EQ(r.GetNumColumns(), 4u);
  double squares = 0.0;
  for (unsigned int i = 0; i < 4; ++i) {
    for (unsigned int j = 0; j < 4; ++j) {
      EXPECT_NEAR(std::fabs(r(i, j)), 0.5f, 1e-6f) << i << " " << j;
      squares += static_cast<double>(r(i, j)) * r(i, j);
    }
  }
  // 0.25 before the factor of 4 inputs, whose square multiplies it by 16.
  EXPECT_NEAR(squares, 0.25 * 16.0, 1e-5);
  // The four rows are orthogonal: four uncorrelated inputs stay so.
  for (unsigned int a = 0; a < 4; ++a) {
    for (unsigned int b = a + 1; b < 4; ++b) {
      float dot = 0.f;
      for (unsigned int j = 0; j < 4; ++j) dot += r(a, j) * r(b, j);
      EXPECT_NEAR(dot, 0.f, 1e-6f);
    }
  }
}

TEST(ReverbPanning, AnyCountsGiveAFiniteMatrix) {
  for (unsigned int n : {0u, 1u, 2u, 3u, 6u, 128u}) {
    for (unsigned int m : {0u, 1u, 2u, 5u, 12u, 16u, 128u}) {
      Matrix<float> const r = ReverbPanning::ComputeReverbMixingMatrix(n, m);
      EXPECT_EQ(r.GetNumRows(), n);
      if (n > 0) {
        EXPECT_EQ(r.GetNumColumns(), m);
      }
      for (unsigned int i = 0; i < r.GetNumRows(); ++i) {
        for (unsigned int j = 0; j < r.GetNumColumns(); ++j) {
          ASSERT_TRUE(std::isfinite(r(i, j))) << n << " " << m;
          EXPECT_NE(r(i, j), 0.f) << n << " " << m;
        }
      }
    }
  }
}

TEST(ReverbPanning, FactoryBuildsItForAnyTypeButBinaural) {
  for (char const* type : {"vbap", "nfchoa3d", "panr", "foo", "null", "hoa"}) {
    std::unique_ptr<Pan> p(Pan::Factory(3, 5, type, "diffuse"));
    EXPECT_NE(dynamic_cast<ReverbPanning*>(p.get()), nullptr) << type;
  }
  std::unique_ptr<Pan> p(Pan::Factory(3, 2, "binaural", "diffuse"));
  EXPECT_EQ(dynamic_cast<ReverbPanning*>(p.get()), nullptr);
}

// Uncorrelated noise in, and over one second the output covariance is the
// matrix's own R^T R. Positions, speakers and the inputs' flags change none
// of it, and the blocks allocate nothing.
TEST(ReverbPanning, OutputCovarianceIsTheMatrixOwnWhateverTheFlagsAndPositions) {
  unsigned int const n = 6, m = 8, block = 480, blocks = 100;
  std::unique_ptr<Pan> p(ReverbPanning::Create(n, m));
  p->Configure(48000.f, block, true);
  p->SetInterpolationTime(0.f);
  Matrix<float> const r = ReverbPanning::ComputeReverbMixingMatrix(n, m);
  std::vector<CartesianVector> speakers(m, CartesianVector(3.f, 0.f, 0.f));
  p->SetSourcePosition(0, CartesianVector(5.f, 5.f, 5.f), true);
  p->SetLoudspeakerPositions(speakers.data());
  Signals s(n, m, block);
  std::mt19937 rng(7);
  std::normal_distribution<float> noise(0.f, 1.f);
  short const someMuted[6] = {0, 1, 0, 1, 0, 0};
  std::vector<double> covariance(m * m, 0.0);
  // Let the gains settle before measuring.
  p->Process(s.outs.data(), s.ins.data(), block, someMuted);
  {
    zorvtest::AllocationCounter counter;
    for (unsigned int b = 0; b < blocks; ++b) {
      for (auto& c : s.in) {
        for (float& v : c) v = noise(rng);
      }
      p->Process(s.outs.data(), s.ins.data(), block, someMuted);
      for (unsigned int a = 0; a < m; ++a) {
        for (unsigned int c = 0; c < m; ++c) {
          double sum = 0.0;
          for (unsigned int k = 0; k < block; ++k) sum += s.out[a][k] * s.out[c][k];
          covariance[a * m + c] += sum;
        }
      }
    }
    EXPECT_EQ(counter.Count(), 0u);
  }
  for (unsigned int a = 0; a < m; ++a) {
    for (unsigned int c = 0; c < m; ++c) {
      double expected = 0.0;
      for (unsigned int i = 0; i < n; ++i) expected += static_cast<double>(r(i, a)) * r(i, c);
      // Each entry is a mean of 48000 products whose spread is about the
      // output's variance: a standard error below 0.5 % of the largest.
      EXPECT_NEAR(covariance[a * m + c] / (block * blocks), expected, 0.03) << a << " " << c;
    }
  }
}

// The gains ramp in from silence when the panner is made: no click at the
// first block, the whole mix a few ramp times later.
TEST(ReverbPanning, GainsRampInOnCreation) {
  unsigned int const n = 4, m = 4, block = 64;
  std::unique_ptr<Pan> p(ReverbPanning::Create(n, m));
  p->Configure(48000.f, block, true);
  Matrix<float> const r = ReverbPanning::ComputeReverbMixingMatrix(n, m);
  Signals s(n, m, block);
  s.in[0].assign(block, 1.f);
  std::vector<float> trace;
  for (int b = 0; b < 100; ++b) {
    p->Process(s.outs.data(), s.ins.data(), block, nolardsp::allActiveInputs);
    trace.insert(trace.end(), s.out[0].begin(), s.out[0].end());
  }
  EXPECT_EQ(trace.front(), 0.f);
  EXPECT_NEAR(trace.back(), r(0, 0), 1e-6f);
  // A ramp, not a step: no two samples differ by more than a ramp step.
  float largestStep = 0.f;
  for (std::size_t k = 1; k < trace.size(); ++k) {
    largestStep = std::fmax(largestStep, std::fabs(trace[k] - trace[k - 1]));
  }
  EXPECT_LT(largestStep, std::fabs(r(0, 0)) / 100.f);
}

}  // namespace
