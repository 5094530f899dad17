#include "ZorvNearfieldCompensationFilters.h"

#include <algorithm>
#include <cmath>
#include <exception>
#include <string>
#include <utility>

#include "NolarException.h"
#include "ZorvSdifHrtfUtils.h"

namespace Zorv {

NearfieldCompensationFilters::NearfieldCompensationFilters(char const* path) {
  header.hrtfType = NearfieldCompensationFilter;
  header.filterType = BiquadCells;
  header.owner = header.subject = header.copyright = "unknown";
  header.spatialInterpolation = header.measurementSet = header.interpolationSet = "unknown";
  header.generated = "unknown";
  header.symmetrization = "true";
  LoadFromFile(path);
}

bool NearfieldCompensationFilters::NamesBuiltInSet(char const* path) {
  std::string const p = path != nullptr ? path : "";
  return p == "kemar" || p == "KEMAR";
}

void NearfieldCompensationFilters::LoadFromFile(char const* path) {
  std::string const p = path != nullptr ? path : "";
  if (p.empty()) return;
  if (NamesBuiltInSet(p.c_str())) {
    LoadDefault();
    return;
  }
  if (!SdifHrtfUtils::CheckFileExtension(p.c_str(), ".near")) {
    NOLAR_THROW("invalid file extension " + p);
  }
  LoadFromNear(p.c_str());
}

void NearfieldCompensationFilters::LoadFromNear(char const* path) {
  std::string const p = path != nullptr ? path : "";
  try {
    LoadFromHRTF(p.c_str());
  } catch (nolardsp::Exception const&) {
    throw;
  } catch (std::exception const& e) {
    NOLAR_THROW(e.what());
  } catch (...) {
    NOLAR_THROW("unknown exception while loading file " + p);
  }
}

void NearfieldCompensationFilters::LoadDefault() {
  NOLAR_THROW("invalid file extension kemar");
}

float NearfieldCompensationFilters::GetMaxDistance() const {
  float largest = 0.f;
  for (HrtfPoint const& point : points) {
    nolardsp::CartesianVector const& q = point.position;
    largest = std::max(largest, std::sqrt(q.x * q.x + q.y * q.y + q.z * q.z));
  }
  return largest;
}

}  // namespace Zorv
