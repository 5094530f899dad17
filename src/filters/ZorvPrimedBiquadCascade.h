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
//
// Threads: SetState runs on the audio thread at the start of a fade and
// allocates nothing.
class PrimedBiquadCascade : public nolardsp::BiquadCascade {
 public:
  explicit PrimedBiquadCascade(unsigned int numCascades = 1);
  ~PrimedBiquadCascade() override;

  // Copies the history of another PrimedBiquadCascade of the same size;
  // anything else clears it.
  void SetState(nolardsp::Filter const& other) override;
};

}  // namespace Zorv
