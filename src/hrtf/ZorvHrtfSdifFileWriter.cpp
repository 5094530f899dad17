#include "ZorvHrtfSdifFileWriter.h"

#include <vector>

#include "NolarSdifTypes.h"
#include "NolarSdifWriter.h"

namespace Zorv {

void HrtfSdifFileWriter::Write(HrtfData const& set, std::string const& path,
                               std::string const& author) {
  using nolardsp::SdifStringToSignature;
  HrtfHeaderInfos const& h = *set.GetHrtfHeaderInfos();
  bool const fir = h.filterType == FIR;
  nolardsp::SdifWriter w(path);
  w.WriteGeneralHeader();
  w.WriteTypes(
      "1MTD XCAR {x, y, z}\n1MTD XAED {azimuth, elevation, distance}\n1MTD XITD {itd}\n"
      "1MTD XIIR {coefficients}\n1MTD XFIR {coefficients}\n"
      "1FTD HRTF {XCAR cartesian; XAED spherical; XITD delay; XIIR biquads; XFIR impulse;}\n");
  w.WriteNameValueTable({{"TableName", "HrtfInfos"},
                         {"Author", author},
                         {"Owner", h.owner},
                         {"Subject", h.subject},
                         {"Generated", h.generated},
                         {"Copyright", h.copyright},
                         {"SamplingRate", std::to_string(h.sampleRate)},
                         {"DataType", GetHrtfTypeName(h.hrtfType)},
                         {"FiltersType", GetHrtfFilterTypeName(h.filterType)},
                         {"NumChannels", std::to_string(h.numChannels)},
                         {"NumPoints", std::to_string(h.numPoints)},
                         {"FiltersLength", std::to_string(h.numCoefficients)},
                         {"MeasurementSet", h.measurementSet},
                         {"InterpolationSet", h.interpolationSet},
                         {"Symmetrization", h.symmetrization},
                         {"SpatialInterpolation", h.spatialInterpolation}});
  std::vector<double> values;
  for (HrtfPoint const& p : set.GetPoints()) {
    w.BeginFrame(SdifStringToSignature("HRTF"), 0.0, p.index + 1);
    double const xyz[3] = {p.position.x, p.position.y, p.position.z};
    w.WriteMatrix(SdifStringToSignature("XCAR"), nolardsp::eFloat4, 1, 3, xyz);
    if (!fir) {
      double const itd = p.itd;
      w.WriteMatrix(SdifStringToSignature("XITD"), nolardsp::eFloat4, 1, 1, &itd);
    }
    values.assign(p.coefficients.begin(), p.coefficients.end());
    w.WriteMatrix(SdifStringToSignature(fir ? "XFIR" : "XIIR"), nolardsp::eFloat4, p.numChannels,
                  p.numCoefficients, values);
    w.EndFrame();
  }
  w.Close();
}

}  // namespace Zorv
