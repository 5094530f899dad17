#pragma once

#include "ZorvHrtfData.h"

namespace Zorv {

// The filters by which the near-field renderer corrects the level and colour
// of a source close to the head: one filter pair (left ear, right ear) per
// position inside the measurement sphere, looked up by nearest position.
// Loaded off the audio thread; read only after that.
class NearfieldCompensationFilters : public HrtfData {
 public:
  // The header says NearfieldCompensationFilter, biquads, symmetrized; then
  // LoadFromFile(path). Leaves by nolardsp::Exception if the load fails.
  explicit NearfieldCompensationFilters(char const* path);

  // The empty path does nothing; a ".near" file (any case) is read as an SDIF
  // set; "kemar" or "KEMAR" is the built-in set (a rigid sphere the size of
  // the dummy head's); any other path throws "invalid file extension ...".
  void LoadFromFile(char const* path) override;
  void LoadFromNear(char const* path);
  void LoadDefault();

  // The largest distance of a point from the centre; 0 with no points.
  float GetMaxDistance() const;

  // True for the names of the built-in set.
  static bool NamesBuiltInSet(char const* path);
};

}  // namespace Zorv
