#pragma once

#include <vector>

#include "ZorvAmplitudePanning.h"

namespace Zorv {

// Distance-based panning: no listening point and no assumption that the
// speakers lie on a circle or a sphere. Each speaker's gain follows the
// inverse of its distance to the source, with constant power per source.
// This base holds the layout and the spread and mute settings; the plane and
// the space versions supply convert.
//
// Threads: setters and convert run on a message thread; convert allocates
// nothing.
class DbapPanning : public AmplitudePanning {
 public:
  // Spread is given in percent and stored as a fraction.
  static float const MinSpreadFactor;  // 0
  static float const MaxSpreadFactor;  // 100

  DbapPanning(unsigned int numInputs, unsigned int numOutputs);
  ~DbapPanning() override;

  void SetSpreadMode(char const* name) override;
  void SetSpreadMode(SpreadingMode const& mode) override;
  // Percent, clamped to 0..100.
  void SetOmniSpreadFactor(float percent) override;
  void SetOmniSpreadFactor(unsigned int source, float percent) override;
  // Three percentages, x y z, each clamped to 0..100.
  void SetDirectionalSpreadFactor(unsigned int source, float* xyz) override;
  void SetDirectionalSpreadFactor(float* xyz) override;

  SpreadingMode GetCurrentSpreadMode() const { return spreadMode; }
  // Sources outside the array (as each version defines it) become silent.
  void MuteSourceOutsideSpeakersHull(bool mute);

 protected:
  // The squared-distance law of the present spread mode for one source, with
  // constant power. planar leaves z out of the omni distances only.
  void computeGains(nolardsp::CartesianVector const& position, unsigned int source, bool planar,
                    float* gains) const;

  std::vector<nolardsp::CartesianVector> speakerPositions;
  nolardsp::CartesianVector barycenter;
  SpreadingMode spreadMode;
  std::vector<float> omniSpread;                             // fraction, per source
  std::vector<nolardsp::CartesianVector> directionalSpread;  // fractions, per source
  bool muteOutside = false;
};

}  // namespace Zorv
