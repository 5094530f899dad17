#pragma once

#include "NolarBiquadCascade.h"

namespace Zorv {

// A biquad cascade that, when it takes over from another cascade of its class
// and size, starts from that cascade's signal history instead of from
// silence. A cross-fade between two designs that differ a little (a cut-off
// moved by a few hertz) then begins with both filters already near their
// settled output; from silence, a low cut-off rings for longer than the
// one-block warm-up and the ringing is heard through the fade.
//
// The inputs remembered by the first section carry the overall gain of the
// outgoing set; they are rescaled to the incoming one. The outputs
// remembered are those of the outgoing design, the closest estimate at hand.
// When a section's poles decay much more slowly than before (a cut-off
// moved down by more than about a third), that estimate sets off a larger
// transient than silence does, and the incoming cascade starts from silence.
//
// Threads: SetState runs on the audio thread at the start of a fade and
// allocates nothing.
class PrimedBiquadCascade : public nolardsp::BiquadCascade {
 public:
  // A section whose pole radius r gives 1 - r below this share of the
  // outgoing section's starts the cascade from silence.
  static float const MinDecayRatio;

  explicit PrimedBiquadCascade(unsigned int numCascades = 1);
  ~PrimedBiquadCascade() override;

  // Copies the history of another PrimedBiquadCascade of the same size;
  // anything else clears it.
  void SetState(nolardsp::Filter const& other) override;

 private:
  // 1 - r for the section's poles (r = sqrt(a2) for a complex pair).
  float decayRate(unsigned int section) const;
};

}  // namespace Zorv
