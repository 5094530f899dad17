#include "ZorvHOADecoder.h"

#include <cstdio>

namespace Zorv {

using nolardsp::SphericalHarmonic;

std::map<std::string, HOADecoder::HOADecoderType> hoaDecoderTypeMap;

char const* HOADecoder::GetHOADecoderTypeName(HOADecoderType const& type) {
  switch (type) {
    case InPhase:
      return "inphase";
    case MaxRe:
      return "maxre";
    case BasicMaxRe:
      return "basicmaxre";
    case MaxReInPhase:
      return "maxreinphase";
    default:
      return "basic";
  }
}

std::vector<std::string> HOADecoder::GetDecoderInfosText(HOADecoderInfos const& infos,
                                                         char const* label) {
  char const* const l = label != nullptr ? label : "";
  std::vector<std::string> lines;
  char line[512];
  std::snprintf(line, sizeof(line), "%s : order : %d ", l, static_cast<int>(infos.order));
  lines.emplace_back(line);
  std::snprintf(line, sizeof(line), "%s : subtype : %s ", l, infos.subtype.c_str());
  lines.emplace_back(line);
  std::snprintf(line, sizeof(line), "%s : decoding method : %s", l,
                HOADecodingMatrix::GetDecoderMethodName(infos.decoderMethod));
  lines.emplace_back(line);
  std::snprintf(line, sizeof(line), "%s : decoding type : %s", l,
                GetHOADecoderTypeName(infos.decoderType));
  lines.emplace_back(line);
  std::snprintf(line, sizeof(line), "%s : decoding convention : %s", l,
                SphericalHarmonic::GetNormalizationName(infos.normalization));
  lines.emplace_back(line);
  std::snprintf(line, sizeof(line),
                "%s : decoder mode matching conditionning : %.2f dB (%d significant singular "
                "values out of %d)",
                l, static_cast<double>(infos.modeMatchingConditioning),
                static_cast<int>(infos.numSignificantSingularValues),
                static_cast<int>(infos.numSingularValues));
  lines.emplace_back(line);
  std::snprintf(line, sizeof(line), "%s : sorting convention : %s", l,
                SphericalHarmonic::GetSortingName(infos.sorting));
  lines.emplace_back(line);
  return lines;
}

}  // namespace Zorv
