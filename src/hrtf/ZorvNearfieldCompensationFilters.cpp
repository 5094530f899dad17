#include "ZorvNearfieldCompensationFilters.h"

#include <algorithm>
#include <cmath>
#include <exception>
#include <string>
#include <utility>
#include <vector>

#include "NolarException.h"
#include "ZorvNearfieldSphere48000.h"
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
  unsigned int const n = nearfield_sphere_48000_coefficients;
  HrtfHeaderInfos h = header;
  h.hrtfType = NearfieldCompensationFilter;
  h.filterType = BiquadCells;
  h.owner = "zorv";
  h.subject = "rigid sphere of radius 0.0875 m";
  h.copyright = "none";
  h.measurementSet = "point source near a rigid sphere, relative to 2.08 m";
  h.interpolationSet = "none";
  h.symmetrization = "true";
  h.numCoefficients = n;
  h.numChannels = 2;
  h.sampleRate = 48000;
  h.numPoints = nearfield_sphere_48000_rows;
  std::vector<HrtfPoint> pts(h.numPoints);
  for (uint32_t k = 0; k < h.numPoints; ++k) {
    float const* row = nearfield_sphere_48000[k];
    HrtfPoint& p = pts[k];
    p.position = nolardsp::CartesianVector(row[0], row[1], row[2]);
    p.numCoefficients = n;
    p.numChannels = 2;
    p.index = k;
    p.coefficients.assign(row + 3, row + 3 + 2 * n);
  }
  install(std::move(h), std::move(pts), "kemar");
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
