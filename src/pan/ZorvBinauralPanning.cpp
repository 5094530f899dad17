#include "ZorvBinauralPanning.h"

#include <algorithm>
#include <cmath>
#include <map>

#include "ZorvDefaultParameters.h"
#include "ZorvHrtf.h"

namespace Zorv {

BinauralPanning::ITDType const BinauralPanning::DefaultItdType =
    BinauralPanning::ITDFromMeasurement;

namespace {

// Every word a user or a saved patch may give; filled once, on first use.
std::map<std::string, BinauralPanning::ITDType> const& itdTypeMap() {
  static std::map<std::string, BinauralPanning::ITDType> const map = {
      {"basic", BinauralPanning::SphericalHeadBasicModel},
      {"BasicModel", BinauralPanning::SphericalHeadBasicModel},
      {"SphericalHeadBasicModel", BinauralPanning::SphericalHeadBasicModel},
      {"woodworth", BinauralPanning::SphericalHeadWoodworthModel},
      {"WoodworthModel", BinauralPanning::SphericalHeadWoodworthModel},
      {"SphericalHeadWoodworthModel", BinauralPanning::SphericalHeadWoodworthModel},
      {"measurement", BinauralPanning::ITDFromMeasurement},
      {"ITDFromMeasurement", BinauralPanning::ITDFromMeasurement},
      {"larcherjot", BinauralPanning::LarcherJotModel},
      {"larchetjot", BinauralPanning::LarcherJotModel},
      {"LarcherJotModel", BinauralPanning::LarcherJotModel},
      {"Woodworth3d", BinauralPanning::LarcherJotModel},
      {"woodworth3d", BinauralPanning::LarcherJotModel},
      {"woodworth3D", BinauralPanning::LarcherJotModel},
      {"savioja", BinauralPanning::SaviojaModel},
      {"SaviojaModel", BinauralPanning::SaviojaModel},
      {"miller", BinauralPanning::MillerModel},
      {"MillerModel", BinauralPanning::MillerModel},
      {"NoITD", BinauralPanning::NoITD},
      {"none", BinauralPanning::NoITD},
  };
  return map;
}

float const halfPi = 1.5707964f;
// Milliseconds per metre of path difference, halved: 1000 / (2 * 340).
float const msPerMetreHalved = 1.4705882f;

// Path lengths around a sphere to the left and right ear, in radii, for an
// azimuth in radians (0 in front, positive to the right).
void woodworthPaths(float a, float& left, float& right) {
  if (a > halfPi) {
    left = std::sin(a) + 1.f;
    right = a - 2.1415927f;
  } else if (a >= -halfPi) {
    left = 1.f + a;
    right = 1.f - std::sin(a);
  } else {
    left = std::sin(a) + 1.f;
    right = a + 4.141593f;
  }
}

}  // namespace

BinauralPanning::BinauralPanning()
    : listenerYaw(0.f),
      itdType(DefaultItdType),
      headRadius(ZorvDefaultParameters::DefaultHeadRadius) {
  numOutputs = 2;
}

BinauralPanning::~BinauralPanning() = default;

nolardsp::CartesianVector BinauralPanning::relativePosition(
    nolardsp::CartesianVector const& p) const {
  nolardsp::CartesianVector r(p.x - listenerPosition.x, p.y - listenerPosition.y,
                              p.z - listenerPosition.z);
  // An exact zero skips the rotation: a yaw of 360 degrees still turns, by
  // the rounding of its sine.
  if (listenerYaw != 0.f) {
    float const c = std::cos(listenerYaw);
    float const s = std::sin(listenerYaw);
    float const x = c * r.x - s * r.y;
    float const y = c * r.y + s * r.x;
    r.x = x;
    r.y = y;
  }
  return r;
}

void BinauralPanning::SetSourcePosition(unsigned int index,
                                        nolardsp::CartesianVector const& position,
                                        bool immediately) {
  if (index >= sourcePositions.size() || index >= sourceRelativePositions.size()) return;
  sourcePositions[index] = position;
  sourceRelativePositions[index] = relativePosition(position);
  setSourceRelativePosition(index, sourceRelativePositions[index], immediately);
}

void BinauralPanning::SetSourcePositions(nolardsp::CartesianVector const* positions) {
  for (unsigned int i = 0; i < numInputs; ++i) SetSourcePosition(i, positions[i], false);
}

void BinauralPanning::SetLoudspeakerPositions(nolardsp::CartesianVector const*) {}

void BinauralPanning::SetNumOutputs(unsigned int) {}

void BinauralPanning::SetNumInputs(unsigned int n) {
  numInputs = n;
  sourcePositions.resize(n, ZorvDefaultParameters::DefaultSourcePosition);
  sourceRelativePositions.resize(n, nolardsp::CartesianVector(0.f, 0.f, 0.f));
}

void BinauralPanning::SetListenerPosition(nolardsp::CartesianVector const& position) {
  listenerPosition = position;
  forceUpdate(false);
}

void BinauralPanning::SetListenerYaw(float degrees) {
  listenerYaw = degrees * 0.017453292f;
  forceUpdate(false);
}

void BinauralPanning::SetITDType(ITDType type) {
  if (type == itdType) return;
  itdType = type;
  forgetLastPoints();
  forceUpdate(false);
}

void BinauralPanning::SetITDType(char const* name) {
  SetITDType(GetITDType(name));
}

void BinauralPanning::GetCurrentITDType(std::string& name) const {
  name = GetITDTypeName(itdType);
}

void BinauralPanning::SetFIRFiltersImplementationMethod(char const* name) {
  SetFIRFiltersImplementationMethod(nolardsp::Filter::GetFIRImplementation(name));
}

BinauralPanning::ITDType BinauralPanning::GetITDType(char const* name) {
  if (name == nullptr) return ITDFromMeasurement;
  auto const& map = itdTypeMap();
  auto const found = map.find(name);
  return found == map.end() ? ITDFromMeasurement : found->second;
}

char const* BinauralPanning::GetITDTypeName(ITDType type) {
  switch (type) {
    case SphericalHeadBasicModel:
      return "basic";
    case SphericalHeadWoodworthModel:
      return "woodworth";
    case LarcherJotModel:
      return "larchetjot";
    case SaviojaModel:
      return "savioja";
    case MillerModel:
      return "miller";
    case NoITD:
      return "none";
    default:
      return "measurement";
  }
}

void BinauralPanning::ComputeMonauralDelays(ITDType type, nolardsp::CartesianVector const& p,
                                            HrtfPoint const& point, float r, float& left,
                                            float& right) {
  ComputeMonauralDelays(type, p, point.itd, r, left, right);
}

void BinauralPanning::ComputeMonauralDelays(ITDType type, nolardsp::CartesianVector const& p,
                                            float pointItd, float r, float& left, float& right) {
  if (type == NoITD) {
    left = 1.f;
    right = 1.f;
    return;
  }
  float const x = p.x, y = p.y, z = p.z;
  float const D = std::sqrt(x * x + y * y + z * z);
  float a0 = 270.f - 57.29578f * std::atan2(y, x);
  if (a0 >= 360.f) a0 -= 360.f;
  if (a0 < 0.f) a0 += 360.f;
  float const a = (a0 - 180.f) * 0.017453292f;
  float const e = D > 0.f ? std::asin(std::max(-1.f, std::min(1.f, z / D))) : 0.f;
  float const K = msPerMetreHalved;

  // Half the ITD in milliseconds, positive when the left ear is the far one.
  float h = 0.f;
  switch (type) {
    case SphericalHeadBasicModel: {
      float const d = std::max(r, D);
      float const t = 2.f * std::sin(-a) * r * d;
      float const s = r * r + d * d;
      h = (std::sqrt(std::max(0.f, s - t)) - std::sqrt(std::max(0.f, s + t))) * K;
      break;
    }
    case SphericalHeadWoodworthModel: {
      float pl, pr;
      woodworthPaths(a, pl, pr);
      h = r * K * (pl - pr);
      break;
    }
    case LarcherJotModel: {
      float const u = std::sin(a) * std::cos(e);
      h = (std::asin(std::max(-1.f, std::min(1.f, u))) + u) * K * r;
      break;
    }
    case SaviojaModel: {
      float pl, pr;
      woodworthPaths(a, pl, pr);
      h = std::cos(e) * K * r * (pl - pr);
      break;
    }
    case MillerModel: {
      float const d = std::max(r, D);
      float const b = std::asin(std::max(-1.f, std::min(1.f, std::sin(a) * std::cos(e))));
      float const T = std::sqrt(std::max(0.f, d * d - r * r));
      float const A = d > 0.f ? std::acos(std::max(-1.f, std::min(1.f, r / d))) : 0.f;
      float const S = std::sin(b);
      float const leftDirect = std::sqrt(std::max(0.f, r * r + d * d + 2.f * S * r * d));
      float const rightDirect = std::sqrt(std::max(0.f, r * r + d * d - 2.f * S * r * d));
      float const leftPath = T > leftDirect ? leftDirect : r * (b + halfPi - A) + T;
      float const rightPath = T > rightDirect ? rightDirect : r * (halfPi - b - A) + T;
      h = (leftPath - rightPath) * K;
      break;
    }
    default:
      h = 0.5f * pointItd;
      break;
  }
  // A position or radius out of every range (infinite, NaN) gives no ITD
  // rather than a delay the lines cannot follow.
  if (!std::isfinite(h)) h = 0.f;

  float const m = std::fabs(h);
  if (m < 1.f) {
    left = 1.f + h;
    right = 1.f - h;
  } else {
    left = m + h;
    right = m - h;
  }
}

void BinauralPanning::getMonauralDelays(nolardsp::CartesianVector const& position,
                                        HrtfPoint const& point, float& left, float& right) const {
  ComputeMonauralDelays(itdType, position, point, headRadius, left, right);
}

void BinauralPanning::getMonauralDelays(nolardsp::CartesianVector const& position, Hrtf* hrtf,
                                        float& left, float& right) const {
  if (itdType != ITDFromMeasurement) {
    ComputeMonauralDelays(itdType, position, 0.f, headRadius, left, right);
  } else if (hrtf == nullptr) {
    left = 0.f;
    right = 0.f;
  } else {
    getMonauralDelays(position, hrtf->GetNearestHrtfPoint(position), left, right);
  }
}

}  // namespace Zorv
