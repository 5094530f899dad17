#pragma once

#include <string>
#include <vector>

#include "ZorvHrtfHeaderInfos.h"
#include "ZorvHrtfPoint.h"

namespace Zorv {

// Reads a SOFA file of the SimpleFreeFieldHRIR conventions through libmysofa
// into an FIR set: one point per measured direction, in the system's axes and
// in metres as stored; the left and right impulse responses as the two
// channels; the ITD from the file's delays or, where both are 0, estimated from
// the responses. Throws nolardsp::Exception with a text naming the fault.
// Runs at load time; allocates.
class HrtfSofaReader {
 public:
  // sampleRate 0 keeps the file's rate; any other rate from kMinSampleRate to
  // kMaxSampleRate resamples the responses (and delays) to it.
  static void Read(std::string const& path, unsigned int sampleRate, HrtfHeaderInfos& header,
                   std::vector<HrtfPoint>& points);

  static constexpr unsigned int kMinSampleRate = 8000;
  static constexpr unsigned int kMaxSampleRate = 384000;
  // Longest response taken, delays included.
  static constexpr unsigned int kMaxFilterLength = 32768;
  // Most filter values of a whole set (points x taps x 2).
  static constexpr unsigned long long kMaxValues = 1ull << 26;
};

}  // namespace Zorv
