#pragma once

#include <vector>

#include "NolarCartesianVector.h"

namespace Zorv {

// The geometry of vector-based panning on a sphere of speakers: the speakers
// are split into non-overlapping triangles (triplets), each with the inverse
// of the matrix of its three directions, and a direction is rendered by the
// triplet in which its gains are best.
//
// Threads: everything runs on the thread that sets positions. Triangulating
// allocates (cost of order n^3, and n^4 for the crossing test), and happens
// only when the layout changes; AddGains allocates nothing once the triplets
// are up to date.
class VectorBasedTriangulation {
 public:
  struct LoudSpeaker {
    unsigned int index = 0;  // place in the layout, and so the output channel
    nolardsp::CartesianVector position;
  };

  struct Triplet {
    float inverse[9] = {};            // row by row
    unsigned short speakers[3] = {};  // ascending
  };

  // Starts with a ring of speakers alternately 45 degrees above and below the
  // horizon; triangulates lazily, on the first AddGains.
  explicit VectorBasedTriangulation(unsigned int numSpeakers);

  // numSpeakers positions, used as given (not normalised: the thresholds
  // below assume directions near unit length). Triangulates at once.
  void SetLoudspeakerPositions(nolardsp::CartesianVector const* positions);

  // Zeroes numSpeakers gains and adds the raw triplet gains of p, or of p and
  // twelve rotated copies when spread (degrees) is not 0. Not normalised.
  void AddGains(nolardsp::CartesianVector const& p, float spreadDegrees, float* gains);

  // Constant power: the squares sum to 1 (0 stays 0).
  static void NormalizePower(float* gains, unsigned int n);
  // Each gain becomes sqrt(gain / sum of squares). A slightly negative gain
  // left by find_triplet would give a NaN: it becomes 0.
  static void NormalizeIntensity(float* gains, unsigned int n);

  unsigned int GetNumSpeakers() const { return static_cast<unsigned int>(speakers.size()); }
  std::vector<LoudSpeaker> const& GetSpeakers() const { return speakers; }
  // Triangulates first if needed.
  std::vector<Triplet> const& GetTriplets();

  // The triplet step: raw gains of p on the best triplet, with gains below
  // -0.01 set to 0; all zero when no triplet is usable.
  void find_triplet(nolardsp::CartesianVector const& p, float* gains3,
                    unsigned int* indices3) const;

 private:
  void choose_triplets();
  void compute_matrices();
  float vol_p_side_lgth(unsigned int i, unsigned int j, unsigned int k) const;
  bool lines_intersect(unsigned int i, unsigned int j, unsigned int k, unsigned int l) const;
  bool any_ls_inside_triplet(unsigned int i, unsigned int j, unsigned int k) const;
  void addDirection(nolardsp::CartesianVector const& p, float* gains) const;
  void update();

  bool tripletsDirty = true;
  std::vector<Triplet> triplets;
  std::vector<LoudSpeaker> speakers;
};

}  // namespace Zorv
