#include "ZorvHrtfData.h"

#include <cmath>
#include <utility>

#include "NolarException.h"

namespace Zorv {

namespace {

bool isFinite(nolardsp::CartesianVector const& p) {
  return std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z);
}

// 1 + a1 z^-1 + a2 z^-2 has both roots strictly inside the unit circle.
bool isStableSection(float a1, float a2) {
  return std::fabs(a2) < 1.f && std::fabs(a1) < 1.f + a2;
}

}  // namespace

HrtfData::~HrtfData() = default;

HrtfPoint const& HrtfData::GetNearestHrtfPoint(nolardsp::CartesianVector const& position) const {
  static HrtfPoint const none;
  nolardsp::KdTree<3>::Point query;
  query.x[0] = position.x;
  query.x[1] = position.y;
  query.x[2] = position.z;
  int32_t const k = kdTree.GetNearestPointIndex(query);
  if (k < 0 || static_cast<std::size_t>(k) >= points.size()) return none;
  return points[static_cast<std::size_t>(k)];
}

namespace {

void indexPositions(std::vector<HrtfPoint> const& points, nolardsp::KdTree<3>& tree) {
  std::vector<nolardsp::CartesianVector> positions(points.size());
  for (std::size_t i = 0; i < points.size(); ++i) positions[i] = points[i].position;
  tree.SetPositions(positions.data(), static_cast<unsigned int>(positions.size()));
}

}  // namespace

void HrtfData::buildKdTree() {
  indexPositions(points, kdTree);
}

void HrtfData::checkUsable(HrtfHeaderInfos const& h, std::vector<HrtfPoint> const& pts,
                           std::string const& path) {
  if (h.numPoints == 0 || pts.empty()) NOLAR_THROW("no HRTF points in " + path);
  if (pts.size() != h.numPoints) NOLAR_THROW("invalid number of HRTF points ? " + path);
  if (h.hrtfType == Binaural && h.numChannels != 2) {
    NOLAR_THROW("a binaural HRTF set needs 2 channels, not " + std::to_string(h.numChannels) +
                ": " + path);
  }
  if (h.numChannels == 0) NOLAR_THROW("HRTF set with no channel: " + path);
  if (h.numCoefficients == 0) NOLAR_THROW("HRTF filters of length 0 in " + path);
  bool const biquads = h.filterType == BiquadCells;
  if (biquads && (h.numCoefficients - 1) % 4 != 0) {
    NOLAR_THROW("biquad filters need a gain and 4 values a section, not " +
                std::to_string(h.numCoefficients) + " coefficients: " + path);
  }
  std::size_t const values = std::size_t(h.numCoefficients) * h.numChannels;
  for (std::size_t i = 0; i < pts.size(); ++i) {
    HrtfPoint const& p = pts[i];
    std::string const which = "HRTF point " + std::to_string(i + 1) + " in " + path;
    if (!isFinite(p.position)) NOLAR_THROW("non-finite position of " + which);
    if (!std::isfinite(p.itd)) NOLAR_THROW("non-finite ITD of " + which);
    if (p.coefficients.size() != values || p.numCoefficients != h.numCoefficients ||
        p.numChannels != h.numChannels) {
      NOLAR_THROW("filters of the wrong size in " + which);
    }
    for (float const v : p.coefficients) {
      if (!std::isfinite(v)) NOLAR_THROW("non-finite coefficient of " + which);
    }
    if (!biquads) continue;
    for (uint32_t c = 0; c < h.numChannels; ++c) {
      float const* cell = p.coefficients.data() + std::size_t(c) * h.numCoefficients + 1;
      for (uint32_t s = 0; s < (h.numCoefficients - 1) / 4; ++s, cell += 4) {
        if (!isStableSection(cell[2], cell[3])) {
          NOLAR_THROW("unstable biquad section " + std::to_string(s + 1) + " of channel " +
                      std::to_string(c + 1) + " of " + which);
        }
      }
    }
  }
}

void HrtfData::LoadFromHRTF(char const* path) {
  NOLAR_THROW("invalid file " + std::string(path == nullptr ? "" : path));
}

void HrtfData::install(HrtfHeaderInfos&& newHeader, std::vector<HrtfPoint>&& newPoints,
                       std::string const& path) {
  checkUsable(newHeader, newPoints, path);
  nolardsp::KdTree<3> tree;  // built before anything is replaced
  indexPositions(newPoints, tree);
  header = std::move(newHeader);
  points = std::move(newPoints);
  kdTree = std::move(tree);
}

}  // namespace Zorv
