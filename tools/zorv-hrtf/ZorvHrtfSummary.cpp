#include "ZorvHrtfSummary.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <iomanip>
#include <limits>

namespace zorvhrtf {

void PrintSummary(std::ostream& out, char const* path, Zorv::HrtfData const& set, bool listPoints) {
  Zorv::HrtfHeaderInfos const& h = *set.GetHrtfHeaderInfos();
  out << path << "\n"
      << "  owner                  : " << h.owner << "\n"
      << "  subject                : " << h.subject << "\n"
      << "  copyright              : " << h.copyright << "\n"
      << "  hrtf type              : " << Zorv::GetHrtfTypeName(h.hrtfType) << "\n"
      << "  filter type            : " << Zorv::GetHrtfFilterTypeName(h.filterType) << "\n"
      << "  symmetrization         : " << h.symmetrization << "\n"
      << "  spatial interpolation  : " << h.spatialInterpolation << "\n"
      << "  measurement set        : " << h.measurementSet << "\n"
      << "  interpolation set      : " << h.interpolationSet << "\n"
      << "  generated              : " << h.generated << "\n"
      << "  sampling rate          : " << h.sampleRate << " Hz\n"
      << "  channels               : " << h.numChannels << "\n"
      << "  filter length          : " << h.numCoefficients << " coefficients per channel\n"
      << "  points                 : " << h.numPoints << "\n";
  float itdLo = std::numeric_limits<float>::infinity(), itdHi = -itdLo;
  float rLo = itdLo, rHi = -itdLo;
  for (Zorv::HrtfPoint const& p : set.GetPoints()) {
    itdLo = std::min(itdLo, p.itd);
    itdHi = std::max(itdHi, p.itd);
    float const r = std::sqrt(p.position.x * p.position.x + p.position.y * p.position.y +
                              p.position.z * p.position.z);
    rLo = std::min(rLo, r);
    rHi = std::max(rHi, r);
  }
  out << std::fixed << std::setprecision(4) << "  itd                    : " << itdLo << " to "
      << itdHi << " ms (left minus right; negative: the left ear leads)\n"
      << "  distance               : " << rLo << " to " << rHi << "\n";
  if (!listPoints) return;
  out << "  point      x        y        z        itd (ms)\n";
  for (Zorv::HrtfPoint const& p : set.GetPoints()) {
    char line[128];
    std::snprintf(line, sizeof(line), "  %5u  %8.4f %8.4f %8.4f  %8.4f\n", p.index, p.position.x,
                  p.position.y, p.position.z, p.itd);
    out << line;
  }
}

}  // namespace zorvhrtf
