#include "ZorvPrimedBiquadCascade.h"

#include <algorithm>
#include <cmath>

namespace Zorv {

float const PrimedBiquadCascade::MinDecayRatio = 0.7f;

PrimedBiquadCascade::PrimedBiquadCascade(unsigned int numCascades)
    : nolardsp::BiquadCascade(numCascades) {}

PrimedBiquadCascade::~PrimedBiquadCascade() = default;

float PrimedBiquadCascade::decayRate(unsigned int section) const {
  // Stored negated: -a2 at the fourth place of the section.
  float const a2 = -coefficients[4 * section + 3];
  return 1.f - std::sqrt(std::max(a2, 0.f));
}

void PrimedBiquadCascade::SetState(nolardsp::Filter const& other) {
  auto const* source = dynamic_cast<PrimedBiquadCascade const*>(&other);
  if (source == nullptr || source == this || source->memory.size() != memory.size() ||
      source->IsSilenced() || IsSilenced() || memory.empty()) {
    Clear();
    return;
  }
  // The outgoing history is a good start only if the incoming poles are not
  // much slower: a history that moves quickly on the scale of a slow
  // resonance (a cut-off dropping from 20 kHz to 10 Hz) would set it ringing
  // far above the signal. From silence the transient is bounded by the signal.
  for (unsigned int s = 0; s < GetNumCascades(); ++s) {
    if (decayRate(s) < MinDecayRatio * source->decayRate(s)) {
      Clear();
      return;
    }
  }
  std::copy(source->memory.begin(), source->memory.end(), memory.begin());
  float const from = source->GetGain();
  float const to = GetGain();
  if (from != to) {
    float const scale = from != 0.f ? to / from : 0.f;
    if (std::isfinite(scale)) {
      memory[0] *= scale;
      memory[1] *= scale;
    } else {
      Clear();
    }
  }
}

}  // namespace Zorv
