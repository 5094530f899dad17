#include "ZorvPan.h"

#include <exception>
#include <map>

#include "ZorvAmbisonicPanning.h"
#include "ZorvAngularPanning.h"
#include "ZorvBinauralPanningContinuous.h"
#include "ZorvBinauralPanningDirect.h"
#include "ZorvBinauralPanningIACC.h"
#include "ZorvBinauralPanningITD.h"
#include "ZorvBinauralPanningNearfield.h"
#include "ZorvBinauralPanningSnowmanModel.h"
#include "ZorvBinauralPanningSphericalHarmonics.h"
#include "ZorvBinauralPanningSphericalHeadModel.h"
#include "ZorvDbapPanning2D.h"
#include "ZorvDbapPanning3D.h"
#include "ZorvHOA2DPanning.h"
#include "ZorvHOA3DPanning.h"
#include "ZorvNFCHOAPanning2D.h"
#include "ZorvNFCHOAPanning3D.h"
#include "ZorvNullPanning.h"
#include "ZorvRecursivePanning.h"
#include "ZorvReverbPanning.h"
#include "ZorvStereoABPanning.h"
#include "ZorvStereoMSPanning.h"
#include "ZorvStereoXYPanning.h"
#include "ZorvSubwoofersPanning.h"
#include "ZorvSurroundPanning.h"
#include "ZorvVDbapPanning.h"
#include "ZorvVbap2DPanning.h"
#include "ZorvVbapPanning.h"
#include "ZorvVbipPanning.h"

namespace Zorv {

Pan::SpreadingMode const Pan::DefaultSpreadingMode = Pan::Omnidirectional;

namespace {

// Canonical names first in each row; "null" is not in the map.
std::map<std::string, Pan::Type> const& panTypeMap() {
  static std::map<std::string, Pan::Type> const map = {
      {"binaural", Pan::Binaural},
      {"xy", Pan::XY},
      {"ms", Pan::MS},
      {"ab", Pan::AB},
      {"surround", Pan::Surround},
      {"panr", Pan::Panr},
      {"angular", Pan::Angular},
      {"vbap2d", Pan::Vbap2D},
      {"vbap", Pan::Vbap},
      {"vbap3d", Pan::Vbap},
      {"vbip", Pan::Vbip},
      {"vbip3d", Pan::Vbip},
      {"dbap", Pan::Dbap},
      {"dbap2d", Pan::Dbap},
      {"dbap3d", Pan::Dbap3D},
      {"bformat", Pan::BFormat},
      {"hoa2d", Pan::HOA2D},
      {"hoa2D", Pan::HOA2D},
      {"hoa3d", Pan::HOA3D},
      {"hoa3D", Pan::HOA3D},
      {"hoa", Pan::HOA3D},
      {"ambisonic", Pan::HOA3D},
      {"vdbap", Pan::VDbap},
      {"nfchoa2d", Pan::NFCHOA2D},
      {"nfchoa2D", Pan::NFCHOA2D},
      {"nfchoa3d", Pan::NFCHOA3D},
      {"nfchoa3D", Pan::NFCHOA3D},
      {"nfchoa", Pan::NFCHOA3D},
      {"subwoofers", Pan::Subwoofers},
      {"subwoofer", Pan::Subwoofers},
      {"lfe", Pan::Subwoofers},
  };
  return map;
}

std::map<std::string, Pan::SubType> const& panSubTypeMap() {
  static std::map<std::string, Pan::SubType> const map = {
      {"direct", Pan::Direct},
      {"early", Pan::Early},
      {"diffuse", Pan::Diffuse},
      {"nearfield", Pan::Nearfield},
      {"sphericalharmonics", Pan::SphericalHarmonics},
      {"sh", Pan::SphericalHarmonics},
      {"sphericalheadmodel", Pan::SphericalHeadModel},
      {"snowmanmodel", Pan::SnowmanModel},
      {"snowman", Pan::SnowmanModel},
      {"continuous", Pan::Continuous},
  };
  return map;
}

std::map<std::string, Pan::SpreadingMode> const& spreadTypeMap() {
  static std::map<std::string, Pan::SpreadingMode> const map = {
      {"omni", Pan::Omnidirectional},
      {"directional", Pan::Directional},
      {"xyz", Pan::Directional},
  };
  return map;
}

char const* const typeNames[] = {"binaural", "xy",       "ms",       "ab",         "surround",
                                 "panr",     "angular",  "vbap2d",   "vbap",       "vbip",
                                 "dbap",     "dbap3d",   "bformat",  "hoa2d",      "hoa3d",
                                 "vdbap",    "nfchoa2d", "nfchoa3d", "subwoofers", "null"};

Pan* nullPanning() {
  return new NullPanning();
}

// Every method the system knows, by class: the one place where a panner class
// is wired in.
Pan* createByClass(unsigned int numInputs, unsigned int numOutputs, Pan::Type type,
                   Pan::SubType subtype) {
  if (subtype == Pan::Diffuse) {
    if (type == Pan::Binaural) return BinauralPanningIACC::Create(numInputs, numOutputs);
    return ReverbPanning::Create(numInputs, numOutputs);
  }
  if (type == Pan::Binaural) {
    switch (subtype) {
      case Pan::Early:
        return BinauralPanningITD::Create(numInputs, numOutputs);
      case Pan::Nearfield:
        return BinauralPanningNearfield::Create(numInputs, numOutputs);
      case Pan::SphericalHarmonics:
        return BinauralPanningSphericalHarmonics::Create(numInputs, numOutputs);
      case Pan::SphericalHeadModel:
        return BinauralPanningSphericalHeadModel::Create(numInputs, numOutputs);
      case Pan::SnowmanModel:
        return BinauralPanningSnowmanModel::Create(numInputs, numOutputs);
      case Pan::Continuous:
        return BinauralPanningContinuous::Create(numInputs, numOutputs);
      default:
        return BinauralPanningDirect::Create(numInputs, numOutputs);
    }
  }
  switch (type) {
    case Pan::XY:
      return StereoXYPanning::Create(numInputs, numOutputs);
    case Pan::MS:
      return StereoMSPanning::Create(numInputs, numOutputs);
    case Pan::AB:
      return StereoABPanning::Create(numInputs, numOutputs);
    case Pan::Surround:
      return SurroundPanning::Create(numInputs, numOutputs);
    case Pan::Panr:
      return RecursivePanning::Create(numInputs, numOutputs);
    case Pan::Angular:
      return AngularPanning::Create(numInputs, numOutputs);
    case Pan::Vbap2D:
      return Vbap2DPanning::Create(numInputs, numOutputs);
    case Pan::Dbap:
      return DbapPanning2D::Create(numInputs, numOutputs);
    case Pan::Dbap3D:
      return DbapPanning3D::Create(numInputs, numOutputs);
    case Pan::BFormat:
      return AmbisonicPanning::Create(numInputs, numOutputs);
    case Pan::HOA2D:
      return HOA2DPanning::Create(numInputs, numOutputs);
    case Pan::HOA3D:
      return HOA3DPanning::Create(numInputs, numOutputs);
    case Pan::VDbap:
      return VDbapPanning::Create(numInputs, numOutputs);
    case Pan::NFCHOA2D:
      return NFCHOAPanning2D::Create(numInputs, numOutputs);
    case Pan::NFCHOA3D:
      return NFCHOAPanning3D::Create(numInputs, numOutputs);
    case Pan::Subwoofers:
      return SubwoofersPanning::Create(numInputs, numOutputs);
    default:
      return nullPanning();
  }
}

// The vector-based 3-D panners are built outside the guard: an exception from
// them reaches the caller.
Pan* createUnguarded(unsigned int numInputs, unsigned int numOutputs, Pan::Type type) {
  if (type == Pan::Vbap) return VbapPanning::Create(numInputs, numOutputs);
  return VbipPanning::Create(numInputs, numOutputs);
}

}  // namespace

Pan::Pan() : SignalProcessing(1, 1, DefaultSampleRate, 512) {}

Pan::~Pan() = default;

void Pan::SetSpreadMode(char const*) {}
void Pan::SetSpreadMode(SpreadingMode const&) {}
void Pan::SetOmniSpreadFactor(float) {}
void Pan::SetOmniSpreadFactor(unsigned int, float) {}
void Pan::SetDirectionalSpreadFactor(unsigned int, float*) {}
void Pan::SetDirectionalSpreadFactor(float*) {}

void Pan::forceUpdate(bool immediately) {
  for (unsigned int i = 0; i < numInputs && i < sourcePositions.size(); ++i) {
    SetSourcePosition(i, sourcePositions[i], immediately);
  }
}

Pan* Pan::Factory(unsigned int numInputs, unsigned int numOutputs, Type type, SubType subtype) {
  bool const viaSubtype = subtype == Diffuse || (type == Binaural && subtype != Direct);
  if (!viaSubtype && type >= Null) return nullPanning();
  if (!viaSubtype && (type == Vbap || type == Vbip)) {
    return createUnguarded(numInputs, numOutputs, type);
  }
  try {
    return createByClass(numInputs, numOutputs, type, subtype);
  } catch (...) {
    return nullPanning();
  }
}

Pan* Pan::Factory(unsigned int numInputs, unsigned int numOutputs, char const* type,
                  char const* subtype) {
  Type t = Null;
  SubType s = Direct;
  LookUpType(type, t);
  LookUpSubType(subtype, s);
  return Factory(numInputs, numOutputs, t, s);
}

bool Pan::LookUpType(char const* name, Type& type) {
  if (name == nullptr) return false;
  auto const& map = panTypeMap();
  auto const found = map.find(name);
  if (found == map.end()) return false;
  type = found->second;
  return true;
}

bool Pan::LookUpSubType(char const* name, SubType& subtype) {
  if (name == nullptr) return false;
  auto const& map = panSubTypeMap();
  auto const found = map.find(name);
  if (found == map.end()) return false;
  subtype = found->second;
  return true;
}

char const* Pan::GetTypeName(Type type) {
  return static_cast<unsigned int>(type) < Null ? typeNames[type] : "null";
}

Pan::SpreadingMode Pan::GetSpreadMode(char const* name) {
  if (name == nullptr) return Omnidirectional;
  auto const& map = spreadTypeMap();
  auto const found = map.find(name);
  return found == map.end() ? Omnidirectional : found->second;
}

char const* Pan::GetSpreadModeName(SpreadingMode const& mode) {
  return mode == Directional ? "directional" : "omni";
}

void Pan::GetListOfAvailablePanType(std::vector<std::string>& names) {
  names.resize(Null + 1);
  for (unsigned int i = 0; i <= Null; ++i) names[i] = typeNames[i];
}

char const* Pan::GetListOfAvailablePanType(char const* separator) {
  static std::string const list = [separator] {
    std::string joined;
    for (unsigned int i = 0; i <= Null; ++i) {
      if (i > 0) joined += separator;
      joined += typeNames[i];
    }
    return joined;
  }();
  return list.c_str();
}

}  // namespace Zorv
