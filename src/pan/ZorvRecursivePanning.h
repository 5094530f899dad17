#pragma once

#include "ZorvAmplitudePanning.h"

namespace Zorv {

// Arrays of 4, 5, 6, 7, 8 or 12 speakers driven through the square mapping:
// a source becomes a point of the square whose corners stand for four
// corners of the array, and the four corner weights are split, step by step,
// into more channels. Each split turns a pair of neighbouring values into two
// outer values and a middle one, so the weights keep summing to 1; the gains
// are their square roots, of constant power wherever the source is.
//
// Outputs run clockwise from the front left corner. The corners are the
// azimuths (degrees, 0 in front, positive clockwise) of the front left,
// front right, back right and back left corners of the array, by default
// -45, 45, 135, -135.
//
// Threads: setters and convert run on a message thread and allocate nothing.
class RecursivePanning : public AmplitudePanning {
 public:
  // A NullPanning unless numOutputs is 4, 5, 6, 7, 8 or 12. Every source
  // starts in front, at (0, 1, 0).
  static Pan* Create(unsigned int numInputs, unsigned int numOutputs);

  RecursivePanning(unsigned int numInputs, unsigned int numOutputs);
  ~RecursivePanning() override;

  // Copies four azimuths in degrees. Nothing is rendered again: the change is
  // heard at each source's next position.
  void SetCorners(float const* four);
  float const* GetCorners() const { return corners; }

  // The corners become the azimuths of the array's corner speakers (with 12
  // speakers, the directions half way between two neighbours), then every
  // source is rendered again.
  void SetLoudspeakerPositions(nolardsp::CartesianVector const* positions) override;

  // Eight weights of a point of the square, clockwise from the front left
  // corner: front left, front centre, front right, right, back right, back
  // centre, back left, left. They sum to 1 anywhere in the square.
  static void panr8(float x, float y, float* out);
  // Twelve weights, the eight of panr8 split once more at the front and at
  // the back: front left corner (0), front right corner (4), back right
  // corner (6) and back left corner (10), with the sides on 5 and 11. They
  // sum to 1 anywhere in the square.
  static void panr12(float x, float y, float* out);

 protected:
  void convert(nolardsp::CartesianVector const& position, float* gains,
               unsigned int source) override;

 private:
  // Azimuths in degrees: front left, front right, back right, back left.
  float corners[4];
};

}  // namespace Zorv
