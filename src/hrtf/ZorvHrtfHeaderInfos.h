#pragma once

#include <cstdint>
#include <string>

namespace Zorv {

// What an HRTF file holds. Kept apart from BinauralPanning::HRTFFilterType,
// whose values are numbered differently.
enum HrtfType : uint32_t {
  Binaural = 0,
  NearfieldCompensationFilter = 1,
  BinauralToTransauralShufflerSymmetric = 2,
  BinauralToTransauralShufflerAsymmetric = 3,
  BinauralToTransauralRecursiveSymmetric = 4,
  BinauralToTransauralRecursiveAsymmetric = 5,
  BinauralToTransauralFeedForwardSymmetric = 6,
  BinauralToTransauralFeedForwardAsymmetric = 7,
  BinauralToTransauralLeastSquares = 8,
};

enum HrtfFilterType : uint32_t {
  BiquadCells = 0,
  FIR = 1,
  FFT = 2,
  MultiChannel = 3,
  ARMA = 4,
  SH_COEFF = 5,
};

// Text to value. An unknown text writes one line to the error stream and gives
// the first value (Binaural, BiquadCells): a misspelled header word in a file
// means the first row of the table. Never throws.
HrtfType GetHrtfType(std::string const& text);
HrtfFilterType GetHrtfFilterType(std::string const& text);
// Value to text; the empty string for a value out of range.
std::string GetHrtfTypeName(HrtfType type);
std::string GetHrtfFilterTypeName(HrtfFilterType type);

// The descriptive header of an HRTF set.
struct HrtfHeaderInfos {
  std::string owner;
  std::string subject;
  std::string copyright;
  HrtfType hrtfType = Binaural;
  HrtfFilterType filterType = BiquadCells;
  std::string symmetrization;
  std::string spatialInterpolation;
  std::string measurementSet;
  std::string interpolationSet;
  uint32_t numCoefficients = 0;
  uint32_t numChannels = 0;
  uint32_t sampleRate = 0;
  uint32_t numPoints = 0;
  std::string generated;
};

}  // namespace Zorv
