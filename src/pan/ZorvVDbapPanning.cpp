#include "ZorvVDbapPanning.h"

#include <cmath>

#include "NolarException.h"
#include "NolarGeometry.h"
#include "ZorvDbapGainLaw.h"
#include "ZorvDbapPanning3D.h"
#include "ZorvNullPanning.h"
#include "ZorvVbapPanning.h"

namespace Zorv {

namespace {
// The factory's answer as the concrete class asked for, or an exception.
template <class T>
std::unique_ptr<T> makeInner(unsigned int numInputs, unsigned int numOutputs, char const* type) {
  std::unique_ptr<Pan> made(Pan::Factory(numInputs, numOutputs, type, "direct"));
  T* inner = dynamic_cast<T*>(made.get());
  if (inner == nullptr) NOLAR_THROW("vdbap: couldnt build the inner panner");
  made.release();
  return std::unique_ptr<T>(inner);
}
}  // namespace

Pan* VDbapPanning::Create(unsigned int numInputs, unsigned int numOutputs) {
  if (numOutputs <= 2) return new NullPanning();
  return new VDbapPanning(numInputs, numOutputs);
}

VDbapPanning::VDbapPanning(unsigned int numInputs, unsigned int numOutputs)
    : AmplitudePanning(numInputs, numOutputs),
      speakerPositions(numOutputs),
      dbap(makeInner<DbapPanning3D>(numInputs, numOutputs, "dbap3d")),
      vbap(makeInner<VbapPanning>(numInputs, numOutputs, "vbap3d")),
      vbapGains(static_cast<std::size_t>(numInputs) * numOutputs, 0.f),
      dbapGains(static_cast<std::size_t>(numInputs) * numOutputs, 0.f) {
  std::vector<nolardsp::CartesianVector> const origin(numOutputs);
  SetLoudspeakerPositions(origin.data());
}

VDbapPanning::~VDbapPanning() = default;

void VDbapPanning::SetLoudspeakerPositions(nolardsp::CartesianVector const* positions) {
  if (positions == nullptr) return;
  for (std::size_t k = 0; k < speakerPositions.size(); ++k) speakerPositions[k] = positions[k];
  nolardsp::ComputeBarycenter(speakerPositions, barycenter);
  radius = nolardsp::GetRadiusOfTheLargestSphereEncompassing(speakerPositions, barycenter);
  dbap->SetLoudspeakerPositions(positions);
  vbap->SetLoudspeakerPositions(positions);
  forceUpdate(false);
}

void VDbapPanning::convert(nolardsp::CartesianVector const& position, float* gains,
                           unsigned int source) {
  if (!nolardsp::IsFinite(position) || source >= numInputs) {
    for (unsigned int k = 0; k < numOutputs; ++k) gains[k] = 0.f;
    return;
  }
  float const dx = position.x - barycenter.x;
  float const dy = position.y - barycenter.y;
  float const dz = position.z - barycenter.z;
  float const d = std::sqrt(dx * dx + dy * dy + dz * dz);
  float v = 0.f, b = 0.f;
  int const which = DbapGainLaw::BlendWeights(d, radius, v, b);
  float* const vbapRow = &vbapGains[static_cast<std::size_t>(numOutputs) * source];
  float* const dbapRow = &dbapGains[static_cast<std::size_t>(numOutputs) * source];
  if (which != 3) vbap->convert(position, vbapRow, source);
  if (which != 1) dbap->convert(position, dbapRow, source);
  for (unsigned int k = 0; k < numOutputs; ++k) gains[k] = v * vbapRow[k] + b * dbapRow[k];
}

bool VDbapPanning::InnerLayoutHasNoTriplet() {
  return vbap->GetTriplets().empty();
}

}  // namespace Zorv
