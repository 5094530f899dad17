#pragma once

#include <string>

#include "ZorvSphericalHarmonicData.h"

namespace Zorv {

// Reads and writes .shb files: SDIF, with a name-value table
// "SphericalHarmonicInfos" (Owner, Subject, Copyright, HrtfType, FilterType,
// Normalization, MaxOrder, NumFrequencyBins, NumChannels, SamplingRate,
// NumPoints), then one frame "XSHB" per ear (stream 1 the left ear, 2 the
// right) holding one matrix "XSHC" of (MaxOrder + 1)^2 rows by
// 2 NumFrequencyBins columns: real and imaginary part of each bin in turn.
//
// Not for the audio thread.
class SphericalHarmonicManager : public SphericalHarmonicData {
 public:
  // Largest order a file may declare.
  static unsigned int const MaxOrder;  // 40
  // Largest number of bins a file may declare.
  static unsigned int const MaxFrequencyBins;  // 65536

  // The empty path gives an object without data (no channels).
  explicit SphericalHarmonicManager(char const* path);

  // A path ending in ".shb", any case: reads it whole, or raises
  // nolardsp::Exception and keeps what was there. Any other path: nothing.
  void LoadFromFile(char const* path);

  // Raises nolardsp::Exception if the file cannot be written or the data is
  // not whole (two channels, both matrices of the declared size).
  static void Write(SphericalHarmonicData const& data, std::string const& path);

  Info const& GetSphericalHarmonicInfo() const { return info; }
};

}  // namespace Zorv
