#pragma once

#include <map>
#include <vector>

#include "ZorvAmplitudePanning.h"

namespace Zorv {

// Splits each source between the two speakers nearest to it in azimuth, with
// a sine and cosine law: the pair's gains always have a power of 1, and a
// source on a speaker's azimuth drives that speaker alone. Height and
// distance are ignored. Until the host sends a layout the speakers stand on a
// unit ring, speaker 0 in front and the others clockwise.
//
// Threads: setters and convert run on a message thread; the azimuth map is
// rebuilt (and allocates) only when speakers move.
class AngularPanning : public AmplitudePanning {
 public:
  // Always the panner.
  static Pan* Create(unsigned int numInputs, unsigned int numOutputs);

  AngularPanning(unsigned int numInputs, unsigned int numOutputs);
  ~AngularPanning() override;

  // Speakers of exactly the same azimuth are one entry: the later one
  // renders it. A speaker whose position is not a number is left out.
  void SetLoudspeakerPositions(nolardsp::CartesianVector const* positions) override;

 protected:
  void convert(nolardsp::CartesianVector const& position, float* gains,
               unsigned int source) override;

 private:
  std::vector<nolardsp::CartesianVector> speakerPositions;
  // atan2(y, x) of each speaker, radians, to its output number.
  std::map<float, unsigned int> speakerAngles;
};

}  // namespace Zorv
