#include "ZorvDbapPanning.h"

#include "NolarGeometry.h"
#include "ZorvDbapGainLaw.h"
#include "ZorvSpeakers.h"

namespace Zorv {

float const DbapPanning::MinSpreadFactor = 0.f;
float const DbapPanning::MaxSpreadFactor = 100.f;

namespace {
// Percent to a fraction in [0, 1]; anything that is not a number counts as 0.
float spreadFraction(float percent) {
  if (!(percent >= DbapPanning::MinSpreadFactor)) percent = DbapPanning::MinSpreadFactor;
  if (percent > DbapPanning::MaxSpreadFactor) percent = DbapPanning::MaxSpreadFactor;
  return percent * 0.01f;
}
}  // namespace

DbapPanning::DbapPanning(unsigned int numInputs, unsigned int numOutputs)
    : AmplitudePanning(numInputs, numOutputs),
      speakerPositions(numOutputs),
      spreadMode(Pan::DefaultSpreadingMode),
      omniSpread(numInputs, 0.f),
      directionalSpread(numInputs) {
  // A unit ring, speaker 0 in front and the others clockwise, until the host
  // sends a layout.
  if (numOutputs > 0) Speakers::GetRegularlySpaced(&speakerPositions[0].x, numOutputs);
}

DbapPanning::~DbapPanning() = default;

void DbapPanning::SetSpreadMode(char const* name) {
  SetSpreadMode(Pan::GetSpreadMode(name));
}

void DbapPanning::SetSpreadMode(SpreadingMode const& mode) {
  spreadMode = mode;
  forceUpdate(false);
}

void DbapPanning::SetOmniSpreadFactor(float percent) {
  for (unsigned int s = 0; s < omniSpread.size(); ++s) SetOmniSpreadFactor(s, percent);
}

void DbapPanning::SetOmniSpreadFactor(unsigned int source, float percent) {
  if (source >= omniSpread.size()) return;
  omniSpread[source] = spreadFraction(percent);
  forceUpdate(false);
}

void DbapPanning::SetDirectionalSpreadFactor(unsigned int source, float* xyz) {
  if (source >= directionalSpread.size() || xyz == nullptr) return;
  directionalSpread[source] = nolardsp::CartesianVector(
      spreadFraction(xyz[0]), spreadFraction(xyz[1]), spreadFraction(xyz[2]));
  forceUpdate(false);
}

void DbapPanning::SetDirectionalSpreadFactor(float* xyz) {
  for (unsigned int s = 0; s < directionalSpread.size(); ++s) SetDirectionalSpreadFactor(s, xyz);
}

void DbapPanning::MuteSourceOutsideSpeakersHull(bool mute) {
  muteOutside = mute;
  forceUpdate(false);
}

void DbapPanning::computeGains(nolardsp::CartesianVector const& position, unsigned int source,
                               bool planar, float* gains) const {
  unsigned int const n = static_cast<unsigned int>(speakerPositions.size());
  if (spreadMode == Pan::Directional) {
    nolardsp::CartesianVector const spread =
        source < directionalSpread.size() ? directionalSpread[source] : nolardsp::CartesianVector();
    DbapGainLaw::Directional(position, speakerPositions.data(), n, spread, gains);
  } else {
    float const spread = source < omniSpread.size() ? omniSpread[source] : 0.f;
    DbapGainLaw::Omni(position, speakerPositions.data(), n, barycenter, spread, planar, gains);
  }
}

}  // namespace Zorv
