#include "ZorvHOAPanning.h"

#include <cmath>
#include <cstdio>

namespace Zorv {

using nolardsp::SphericalHarmonic;

namespace {

std::string format(char const* pattern, char const* label, char const* text) {
  char line[256];
  std::snprintf(line, sizeof(line), pattern, label, text);
  return line;
}

}  // namespace

HOAPanning::HOAPanning(unsigned int numInputs, unsigned int numOutputs, unsigned int order_)
    : AmplitudePanning(numInputs, numOutputs),
      order(order_),
      normalization(SphericalHarmonic::SchmidtSeminormalized3D),
      sorting(SphericalHarmonic::DefaultSorting) {}

HOAPanning::~HOAPanning() = default;

void HOAPanning::SetEncodingNormalization(char const* name) {
  SetEncodingNormalization(SphericalHarmonic::GetNormalization(name));
}

void HOAPanning::SetSorting(char const* name) {
  sorting = SphericalHarmonic::GetSorting(name);
  forceUpdate(false);
}

void HOAPanning::GetPannerInfos(HOAPannerInfos& infos) const {
  infos.order = order;
  infos.normalization = normalization;
  infos.sorting = sorting;
}

std::vector<std::string> HOAPanning::GetPannerInfosText(HOAPannerInfos const& infos,
                                                        char const* label) {
  char const* const l = label != nullptr ? label : "";
  char line[256];
  std::snprintf(line, sizeof(line), "%s : order : %d ", l, static_cast<int>(infos.order));
  return {
      line,
      format("%s : encoding convention : %s", l,
             SphericalHarmonic::GetNormalizationName(infos.normalization)),
      format("%s : sorting convention : %s", l, SphericalHarmonic::GetSortingName(infos.sorting))};
}

bool HOAPanning::zeroIfNotFinite(nolardsp::CartesianVector const& p, float* gains,
                                 unsigned int count) {
  if (std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z)) return false;
  for (unsigned int k = 0; k < count; ++k) gains[k] = 0.f;
  return true;
}

}  // namespace Zorv
