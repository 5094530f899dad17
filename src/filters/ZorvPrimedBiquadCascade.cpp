#include "ZorvPrimedBiquadCascade.h"

#include <algorithm>
#include <cmath>

namespace Zorv {

PrimedBiquadCascade::PrimedBiquadCascade(unsigned int numCascades)
    : nolardsp::BiquadCascade(numCascades) {}

PrimedBiquadCascade::~PrimedBiquadCascade() = default;

void PrimedBiquadCascade::SetState(nolardsp::Filter const& other) {
  auto const* source = dynamic_cast<PrimedBiquadCascade const*>(&other);
  if (source == nullptr || source == this || source->memory.size() != memory.size() ||
      source->IsSilenced() || IsSilenced() || memory.empty()) {
    Clear();
    return;
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
