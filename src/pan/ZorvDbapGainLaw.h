#pragma once

#include "NolarCartesianVector.h"

namespace Zorv {

// The gain law of distance-based panning: each speaker's gain follows the
// inverse of its distance to the source, and the gains of one source have
// constant power. Pure functions on the caller's buffers: they allocate
// nothing and may run wherever a position is rendered.
class DbapGainLaw {
 public:
  // Omni spread: each squared distance is pulled towards the source's squared
  // distance to the barycenter by the fraction spread (0 to 1); at 1 every
  // speaker has the same gain. planar leaves z out of both distances.
  static void Omni(nolardsp::CartesianVector const& source,
                   nolardsp::CartesianVector const* speakers, unsigned int numSpeakers,
                   nolardsp::CartesianVector const& barycenter, float spread, bool planar,
                   float* gains);

  // Directional spread: each axis of the distance shrinks by its fraction
  // (0 to 1); at 1 that axis no longer counts. Always three-dimensional.
  static void Directional(nolardsp::CartesianVector const& source,
                          nolardsp::CartesianVector const* speakers, unsigned int numSpeakers,
                          nolardsp::CartesianVector const& spread, float* gains);

  // The attenuation of a source outside the plane hull: (|B - C| + 1) /
  // (|B - P| + 1), with C the hull vertex nearest to it. Not clamped: just
  // outside the hull, next to a vertex farther out, it is above 1.
  static float OutsideHullFactor(nolardsp::CartesianVector const& source,
                                 nolardsp::CartesianVector const& barycenter,
                                 nolardsp::CartesianVector const& closestVertex);

  // The amplitude weights of the blend between distance-based panning inside
  // the array (radius R) and vector-based panning outside it: pure
  // distance-based below 0.7 R, pure vector-based above 1.3 R, linear between.
  // Returns which of the two need computing: 1 vector-based only, 2 both,
  // 3 distance-based only.
  static int BlendWeights(float distance, float radius, float& vectorBased, float& distanceBased);
};

}  // namespace Zorv
