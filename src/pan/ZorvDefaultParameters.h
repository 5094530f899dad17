#pragma once

#include "NolarCartesianVector.h"

namespace Zorv {

// Values the whole system takes for granted.
class ZorvDefaultParameters {
 public:
  static float const MinHLShelfGlobalGaindB;
  static float const MaxHLShelfGlobalGaindB;
  static float const MinHLShelfGaindB;
  static float const MaxHLShelfGaindB;
  static float const MinHLShelfFrequency;
  static float const MaxHLShelfFrequency;
  static float const DefaultHeadRadius;
  static float const DefaultTorsoRadius;
  static float const DefaultNeckHeight;
  // Distance (m) at which the near-field renderer takes measured filters to hold.
  static float const DefaultHRTFMeasurementSphereRadius;
  // Distance (m) at which a source has unit gain.
  static float const sourceReferenceDistance;
  // Smallest radius (m) around the listener in the near-field renderer.
  static float const MinRadius;
  // One metre in front.
  static nolardsp::CartesianVector const DefaultSourcePosition;
};

}  // namespace Zorv
