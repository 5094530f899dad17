#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <random>
#include <string>
#include <vector>

#include "NolarBitReversal.h"
#include "NolarException.h"
#include "NolarFFT.h"
#include "NolarRealFFTMac.h"

namespace {

using nolardsp::Complex;

std::vector<std::complex<double>> dft(std::vector<std::complex<double>> const& x, int sign) {
  size_t const n = x.size();
  std::vector<std::complex<double>> X(n);
  for (size_t k = 0; k < n; ++k)
    for (size_t t = 0; t < n; ++t)
      X[k] += x[t] * std::polar(1.0, sign * 2.0 * M_PI * double((k * t) % n) / double(n));
  return X;
}

TEST(RealFFTMac, ForwardIsThePlainDFTAndInverseUndoesIt) {
  std::mt19937 gen(3);
  std::uniform_real_distribution<float> dist(-1.f, 1.f);
  for (unsigned int size : {2u, 4u, 8u, 64u, 512u}) {
    nolardsp::RealFFTMac<float> fft(size);
    ASSERT_EQ(fft.GetSize(), size);
    std::vector<float> x(size);
    for (float& v : x) v = dist(gen);
    std::vector<std::complex<double>> xc(x.begin(), x.end());
    auto const X = dft(xc, -1);
    std::vector<Complex<float>> spectrum(size);
    fft.fft(spectrum.data(), x.data(), 0.5f);
    for (unsigned int k = 0; k < size; ++k) {
      EXPECT_NEAR(spectrum[k].re, X[k].real(), 1e-5 * size) << size << " bin " << k;
      EXPECT_NEAR(spectrum[k].im, X[k].imag(), 1e-5 * size) << size << " bin " << k;
    }
    std::vector<float> back(size);
    fft.ifft(back.data(), spectrum.data());
    for (unsigned int i = 0; i < size; ++i) EXPECT_NEAR(back[i], x[i], 1e-6f);
  }
}

TEST(RealFFTMac, SizesAreRaisedToAPowerOfTwoOfAtLeastTwo) {
  nolardsp::RealFFTMac<float> fft(1);
  EXPECT_EQ(fft.GetSize(), 2u);
  fft.SetSize(600);
  EXPECT_EQ(fft.GetSize(), 1024u);
  EXPECT_EQ(fft.GetLog2Size(), 10u);
  EXPECT_FLOAT_EQ(fft.GetInverseScale(), 1.f / 1024.f);
}

// The scales of each direction multiply the plain sums; the forward sum has
// e^-i, the inverse e^+i.
TEST(FFT, DirectionsAndScalesMatchTheDFT) {
  std::mt19937 gen(4);
  std::uniform_real_distribution<float> dist(-1.f, 1.f);
  for (unsigned int size : {1u, 2u, 16u, 128u}) {
    float const n = static_cast<float>(size);
    nolardsp::FFT<float> fft(size, 0.5f, n, 1.f, 1.f / n);
    std::vector<Complex<float>> data(size);
    std::vector<std::complex<double>> xc(size);
    for (unsigned int i = 0; i < size; ++i) {
      data[i] = {dist(gen), dist(gen)};
      xc[i] = {data[i].re, data[i].im};
    }
    auto const X = dft(xc, -1);
    fft.process(data.data(), nolardsp::FftForward);
    for (unsigned int k = 0; k < size; ++k) {
      EXPECT_NEAR(data[k].re, 0.5 * n * X[k].real(), 1e-4 * n * n);
      EXPECT_NEAR(data[k].im, 0.5 * n * X[k].imag(), 1e-4 * n * n);
    }
    // Back with the plain spectrum: the inverse (scaled by 1 / n) returns x.
    for (unsigned int k = 0; k < size; ++k)
      data[k] = {static_cast<float>(X[k].real()), static_cast<float>(X[k].imag())};
    fft.process(data.data(), nolardsp::FftInverse);
    for (unsigned int i = 0; i < size; ++i) {
      EXPECT_NEAR(data[i].re, xc[i].real(), 1e-5);
      EXPECT_NEAR(data[i].im, xc[i].imag(), 1e-5);
    }
  }
}

TEST(FFT, SizeNotAPowerOfTwoRaisesAndKeepsTheTransform) {
  nolardsp::FFT<float> fft(8);
  try {
    fft.SetSize(12, false);
    FAIL() << "no exception";
  } catch (nolardsp::Exception const& e) {
    EXPECT_EQ(e.GetMessage(), std::string("FFT: size not power of 2"));
  }
  EXPECT_EQ(fft.GetSize(), 8u);
  EXPECT_THROW(nolardsp::FFT<float>(0), nolardsp::Exception);
}

TEST(BitReversal, TableReversesTheIndexBits) {
  nolardsp::BitReversal reversal(8);
  std::vector<unsigned int> table(reversal.GetSize());
  reversal.GetBitReverseTable(table.data());
  EXPECT_EQ(table, (std::vector<unsigned int>{0, 4, 2, 6, 1, 5, 3, 7}));
  reversal.SetSize(1);
  EXPECT_EQ(reversal.GetSize(), 1u);
}

}  // namespace
