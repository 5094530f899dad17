#include "ZorvDefaultParameters.h"

namespace Zorv {

float const ZorvDefaultParameters::MinHLShelfGlobalGaindB = -60.f;
float const ZorvDefaultParameters::MaxHLShelfGlobalGaindB = 10.f;
float const ZorvDefaultParameters::MinHLShelfGaindB = -30.f;
float const ZorvDefaultParameters::MaxHLShelfGaindB = 30.f;
float const ZorvDefaultParameters::MinHLShelfFrequency = 20.f;
float const ZorvDefaultParameters::MaxHLShelfFrequency = 20000.f;
float const ZorvDefaultParameters::DefaultHeadRadius = 0.0875f;
float const ZorvDefaultParameters::DefaultTorsoRadius = 0.169f;
float const ZorvDefaultParameters::DefaultNeckHeight = 0.053f;
float const ZorvDefaultParameters::DefaultHRTFMeasurementSphereRadius = 2.08f;
float const ZorvDefaultParameters::sourceReferenceDistance = 1.f;
float const ZorvDefaultParameters::MinRadius = 0.2f;
nolardsp::CartesianVector const ZorvDefaultParameters::DefaultSourcePosition(0.f, 1.f, 0.f);

}  // namespace Zorv
