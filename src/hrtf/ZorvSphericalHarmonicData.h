#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "NolarComplex.h"

namespace Zorv {

// The spherical-harmonic form of an HRTF set: for each ear, a matrix of
// (maxOrder + 1)^2 rows (one a harmonic, in the library's default sorting)
// by numFrequencyBins columns. A row of harmonics of a direction times the
// matrix is the ear's spectrum there: the plain discrete Fourier transform of
// a filter of numFrequencyBins taps.
struct SphericalHarmonicData {
  struct Info {
    std::string owner;
    std::string subject;
    std::string copyright;
    uint32_t hrtfType = 0;
    uint32_t filterType = 5;     // spherical-harmonic coefficients
    uint32_t normalization = 1;  // as SphericalHarmonic::Normalization
    uint32_t maxOrder = 0;
    uint32_t numFrequencyBins = 0;
    uint32_t numChannels = 0;
    uint32_t samplingRate = 0;
    uint32_t numPoints = 0;  // directions of the set it was made from
  };

  // Row after row, numHarmonics() x numFrequencyBins each.
  std::vector<nolardsp::Complex<float>> sphericalBasisLeft;
  std::vector<nolardsp::Complex<float>> sphericalBasisRight;
  Info info;

  unsigned int numHarmonics() const { return (info.maxOrder + 1) * (info.maxOrder + 1); }
};

}  // namespace Zorv
