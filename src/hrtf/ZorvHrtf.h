#pragma once

#include <vector>

#include "NolarCartesianVector.h"
#include "ZorvHrtfData.h"
#include "ZorvHrtfInfo.h"

namespace Zorv {

// Head-related filters: the built-in set, a .hrtf (SDIF) file, a .coll text
// file or a SOFA file (SimpleFreeFieldHRIR). An Hrtf that exists is always
// complete: the constructor loads at once and leaves by nolardsp::Exception if
// the load fails. A failed LoadFromFile on an existing object leaves its set as
// it was.
class Hrtf : public HrtfData {
 public:
  // sampleRate: the rate the renderer runs at, or 0 for no preference. It picks
  // the built-in table (48000 has its own; every other rate gets the 44100 one)
  // and the rate SOFA responses are resampled to; .hrtf and .coll files are
  // taken as they are.
  explicit Hrtf(char const* path, unsigned int sampleRate = 0);

  // By the extension, case ignored: ".coll", ".hrtf", ".sofa"; any other path,
  // the empty one and "kemar" included, is the built-in set.
  void LoadFromFile(char const* path) override;
  void LoadFromFile(char const* path, unsigned int sampleRate);

  void LoadFromColl(char const* path, HrtfInfo const* info);
  // Through libmysofa; sampleRate 0 keeps the file's own rate.
  void LoadFromSofa(char const* path, unsigned int sampleRate);
  // The built-in set at 44100 Hz.
  void LoadDefault();
  // The built-in set fitted at sampleRate where there is one (44100, 48000),
  // otherwise the 44100 one; the header's sampleRate says which.
  void LoadDefault(unsigned int sampleRate);

  void GetPointsPositions(std::vector<nolardsp::CartesianVector>& out) const;

  // Rates that have a built-in table of their own.
  static bool HasBuiltInSetAt(unsigned int sampleRate);
  // True if LoadFromFile reads path as a file (.coll, .hrtf, .sofa) rather
  // than taking the built-in set.
  static bool IsHrtfFilePath(char const* path);
};

}  // namespace Zorv
