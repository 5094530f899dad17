#include "ZorvHrtf.h"

#include <cctype>
#include <cstring>
#include <exception>
#include <fstream>
#include <functional>
#include <string>
#include <utility>

#include "NolarException.h"
#include "NolarSdifUtils.h"
#include "ZorvHrtf2bKemar44100.h"
#include "ZorvHrtf2bKemar48000.h"
#include "ZorvHrtfInfoBinauralBiquadFullSphere.h"
#include "ZorvHrtfSofaReader.h"
#include "ZorvMaxMSPCollFileParser.h"
#include "ZorvSdifHrtfUtils.h"

namespace Zorv {

namespace {

std::string safePath(char const* path) {
  return path == nullptr ? std::string() : std::string(path);
}

bool endsWithIgnoreCase(std::string const& text, char const* suffix) {
  return SdifHrtfUtils::CheckFileExtension(text.c_str(), suffix);
}

// One row of a grid table: delay, then numCoefficients values; null if the
// table has no such row.
using RowSource = std::function<float const*(uint32_t row)>;

// Expands a one-ear table on the grid of info into a two-ear set. Point j of
// a ring of n lies at azimuth j x -360 / n (from the front towards the left);
// its left ear is row j, its right ear the row of the mirror point
// (n - j) mod n, since the right ear here hears what the left ear hears there.
std::vector<HrtfPoint> expandGrid(HrtfInfo const& info, uint32_t numPoints,
                                  uint32_t numCoefficients, RowSource const& rowAt,
                                  std::string const& path) {
  std::vector<HrtfPoint> points(numPoints);
  uint32_t k = 0;
  for (uint32_t ring = 0; ring < info.numElevations && ring < info.azimuthCounts.size(); ++ring) {
    int32_t const n = info.azimuthCounts[ring];
    int32_t const offset = info.ringOffsets[ring];
    float const e =
        static_cast<float>(static_cast<int32_t>(ring) * info.elevationStep + info.minElevation);
    for (int32_t j = 0; j < n; ++j, ++k) {
      int32_t const m = (n - j) % n;
      float const* left = rowAt(static_cast<uint32_t>(offset + j));
      float const* right = rowAt(static_cast<uint32_t>(offset + m));
      if (k >= numPoints || left == nullptr || right == nullptr) {
        NOLAR_THROW("the grid does not match the table: " + path);
      }
      HrtfPoint& p = points[k];
      p.numCoefficients = numCoefficients;
      p.numChannels = 2;
      p.index = k;
      float const a = static_cast<float>(j) * -360.f / static_cast<float>(n);
      p.position = nolardsp::SdifUtils::AedToCartesian(a, e, 1.f, true);
      p.itd = left[0] - right[0];
      p.coefficients.resize(2 * std::size_t(numCoefficients));
      std::copy(left + 1, left + 1 + numCoefficients, p.coefficients.begin());
      std::copy(right + 1, right + 1 + numCoefficients, p.coefficients.begin() + numCoefficients);
    }
  }
  if (k != numPoints) NOLAR_THROW("the grid does not match the table: " + path);
  return points;
}

}  // namespace

Hrtf::Hrtf(char const* path, unsigned int sampleRate) {
  LoadFromFile(path, sampleRate);
}

void Hrtf::LoadFromFile(char const* path) {
  LoadFromFile(path, 0);
}

bool Hrtf::IsHrtfFilePath(char const* path) {
  std::string const p = safePath(path);
  return endsWithIgnoreCase(p, ".coll") || endsWithIgnoreCase(p, ".hrtf") ||
         endsWithIgnoreCase(p, ".sofa");
}

void Hrtf::LoadFromFile(char const* path, unsigned int sampleRate) {
  std::string const p = safePath(path);
  if (endsWithIgnoreCase(p, ".coll")) {
    HrtfInfoBinauralBiquadFullSphere const info;
    LoadFromColl(p.c_str(), &info);
  } else if (endsWithIgnoreCase(p, ".hrtf")) {
    LoadFromHRTF(p.c_str());
  } else if (endsWithIgnoreCase(p, ".sofa")) {
    LoadFromSofa(p.c_str(), sampleRate);
  } else {
    LoadDefault(sampleRate);
  }
  // Every load above installs a checked and indexed set, or throws.
}

bool Hrtf::HasBuiltInSetAt(unsigned int sampleRate) {
  return sampleRate == 44100 || sampleRate == 48000;
}

void Hrtf::LoadDefault() {
  LoadDefault(44100);
}

void Hrtf::LoadDefault(unsigned int sampleRate) {
  HrtfInfoBinauralBiquadFullSphere const info;
  bool const at48k = sampleRate == 48000;
  float const(*table)[26] = at48k ? hrtf_2b_KEMAR_48000 : hrtf_2b_KEMAR_44100;
  unsigned int const rate = at48k ? 48000 : 44100;
  uint32_t const numPoints = info.GetNumPoints();

  HrtfHeaderInfos h;
  h.owner = "MIT";
  h.subject = "KEMAR";
  h.copyright = "MIT";
  h.measurementSet = "unknown";
  h.interpolationSet = "none";
  h.hrtfType = Binaural;
  h.filterType = BiquadCells;
  h.symmetrization = "unknown";
  h.spatialInterpolation = "unknown";
  h.numChannels = 2;
  h.sampleRate = rate;
  h.numCoefficients = info.rowLength - 1;
  h.numPoints = numPoints;
  std::vector<HrtfPoint> pts = expandGrid(
      info, numPoints, h.numCoefficients,
      [table, numPoints](uint32_t row) -> float const* {
        return row < numPoints ? table[row] : nullptr;
      },
      "kemar");
  install(std::move(h), std::move(pts), "kemar");
}

void Hrtf::LoadFromColl(char const* path, HrtfInfo const* info) {
  std::string const p = safePath(path);
  try {
    if (info == nullptr) NOLAR_THROW("no grid for coll file " + p);
    std::ifstream in(p, std::ios::binary);
    if (!in) NOLAR_THROW("can't open the file " + p);
    MaxMSPCollFileParser const coll(in);

    HrtfHeaderInfos h;
    h.owner = "NOLAR";
    h.copyright = "Public";
    h.subject = MaxMSPCollFileParser::GetSubjectFromCollFilename(p, "");
    h.measurementSet = "Harken";
    h.interpolationSet = "unknown";
    h.symmetrization = "true";
    h.spatialInterpolation = "true";
    // The rows are biquad rows of a binaural set, whatever was loaded before.
    h.hrtfType = Binaural;
    h.filterType = BiquadCells;
    h.numChannels = 2;
    h.sampleRate = MaxMSPCollFileParser::GetSamplingRateFromCollFileName(p, 0);
    h.numCoefficients = info->rowLength - 1;
    h.numPoints = info->GetNumPoints();
    if (coll.numColumns != h.numCoefficients + 1) {
      NOLAR_THROW("the number of coefficients doesn't match");
    }
    if (h.numPoints != coll.numRows) NOLAR_THROW("not enough measures");

    uint32_t const rowLength = info->rowLength;
    std::vector<HrtfPoint> pts = expandGrid(
        *info, h.numPoints, h.numCoefficients,
        [&coll, &p, rowLength](uint32_t place) -> float const* {
          auto const it = coll.rows.find(static_cast<int32_t>(place + 1));
          if (it == coll.rows.end()) return nullptr;
          if (it->second.size() < rowLength) {
            NOLAR_THROW("too few numbers in row " + std::to_string(place + 1) + " of " + p);
          }
          return it->second.data();
        },
        p);
    install(std::move(h), std::move(pts), p);
  } catch (nolardsp::Exception const&) {
    throw;
  } catch (...) {
    NOLAR_THROW("unknown exception while loading coll file " + p);
  }
}

void Hrtf::LoadFromSofa(char const* path, unsigned int sampleRate) {
  std::string const p = safePath(path);
  HrtfHeaderInfos h;
  std::vector<HrtfPoint> pts;
  try {
    HrtfSofaReader::Read(p, sampleRate, h, pts);
  } catch (nolardsp::Exception const&) {
    throw;
  } catch (std::exception const& e) {
    NOLAR_THROW(std::string(e.what()) + ": " + p);
  } catch (...) {
    NOLAR_THROW("unknown exception while loading file " + p);
  }
  install(std::move(h), std::move(pts), p);
}

void Hrtf::GetPointsPositions(std::vector<nolardsp::CartesianVector>& out) const {
  out.resize(points.size());
  for (std::size_t i = 0; i < points.size(); ++i) out[i] = points[i].position;
}

}  // namespace Zorv
