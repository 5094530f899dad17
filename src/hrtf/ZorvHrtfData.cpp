#include "ZorvHrtfData.h"

#include <cmath>
#include <utility>

#include <iostream>

#include "NolarException.h"
#include "NolarSdifFile.h"
#include "NolarSdifUtils.h"
#include "ZorvSdifHrtfUtils.h"

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

namespace {

constexpr nolardsp::SdifSignature kHRTF = nolardsp::SdifSignatureConst('H', 'R', 'T', 'F');
constexpr nolardsp::SdifSignature kXCAR = nolardsp::SdifSignatureConst('X', 'C', 'A', 'R');
constexpr nolardsp::SdifSignature kXAED = nolardsp::SdifSignatureConst('X', 'A', 'E', 'D');
constexpr nolardsp::SdifSignature kXITD = nolardsp::SdifSignatureConst('X', 'I', 'T', 'D');
constexpr nolardsp::SdifSignature kXIIR = nolardsp::SdifSignatureConst('X', 'I', 'I', 'R');
constexpr nolardsp::SdifSignature kXFIR = nolardsp::SdifSignatureConst('X', 'F', 'I', 'R');

// Bytes of one frame header: signature, size, time, stream ID, matrix count.
constexpr unsigned long long kFrameHeaderBytes = 24;
// Most filter values of one set, whatever the file's size.
constexpr unsigned long long kMaxValues = 1ull << 27;

bool fatalReported(nolardsp::SdifFileS* file) {
  nolardsp::SdifErrorT const* e = file == nullptr ? nullptr : nolardsp::SdifFLastError(file);
  return e != nullptr && e->level == nolardsp::eFatal;
}

}  // namespace

void HrtfData::LoadFromHRTF(char const* path) {
  using namespace nolardsp;
  std::string const p = path == nullptr ? std::string() : std::string(path);
  HrtfHeaderInfos h;
  std::vector<HrtfPoint> pts;
  SdifFilePtr file;
  try {
    if (!SdifUtils::IsValidSdifFile(p.c_str())) NOLAR_THROW("invalid file " + p);
    if (!SdifHrtfUtils::GetHrtfHeaderInfos(p.c_str(), h)) NOLAR_THROW("invalid header " + p);
    SdifGenInitCond("");
    file.reset(SdifFOpen(p.c_str(), eReadFile));
    if (!file) NOLAR_THROW("couldnt open file " + p);
    SdifFileS* const f = file.get();

    // What the header declares must fit in the file before anything is sized
    // by it: a frame header per point, and 4 bytes (the smallest float) per
    // filter value.
    if (h.numPoints == 0) NOLAR_THROW("no HRTF points in " + p);
    unsigned long long const values =
        static_cast<unsigned long long>(h.numPoints) * h.numCoefficients * h.numChannels;
    if (h.numPoints * kFrameHeaderBytes > f->fileSize) {
      NOLAR_THROW("the header declares more points than the file holds: " + p);
    }
    if (values > kMaxValues || values * 4 > f->fileSize) {
      NOLAR_THROW("the header declares more filter data than the file holds: " + p);
    }
    pts.resize(h.numPoints);
    for (HrtfPoint& pt : pts) {
      pt.coefficients.assign(std::size_t(h.numCoefficients) * h.numChannels, 0.f);
      pt.numCoefficients = h.numCoefficients;
      pt.numChannels = h.numChannels;
    }

    SdifFReadGeneralHeader(f);
    SdifFReadAllASCIIChunks(f);
    bool const fir = h.filterType == FIR;
    unsigned long long frames = 0;
    std::vector<CartesianVector> positions;
    for (;;) {
      if (SdifFLastError(f) != nullptr) break;
      SdifFReadFrameHeader(f);
      if (SdifFCurrFrameSignature(f) != kHRTF) {
        std::cerr << "unexpected frames" << SdifSignatureToString(SdifFCurrFrameSignature(f))
                  << " (" << __FILE__ << " " << __LINE__ << " "
                  << "LoadFromHRTF"
                  << ")" << std::endl;
        SdifFSkipFrameData(f);
      } else {
        ++frames;
        uint32_t const k = SdifFCurrID(f) - 1u;  // ID 0 wraps round and is refused too
        if (k >= h.numPoints) NOLAR_THROW("too many HRTF frames ? " + p);
        HrtfPoint& pt = pts[k];
        pt.index = k;
        SdifUInt4 const matrices = SdifFCurrNbMatrix(f);
        for (SdifUInt4 m = 0; m < matrices; ++m) {
          SdifFReadMatrixHeader(f);
          SdifSignature const sig = SdifFCurrMatrixSignature(f);
          std::size_t bytes = 0;
          if (sig == kXCAR) {
            bytes = SdifUtils::ReadXCARMatrix(f, positions);
            if (positions.size() != 1) NOLAR_THROW("exception reading XCAR matrix " + p);
            pt.position = positions[0];
          } else if (sig == kXAED) {
            bytes = SdifUtils::ReadXAEDMatrix(f, positions, true);
            if (positions.size() != 1) NOLAR_THROW("exception reading XAED matrix " + p);
            pt.position = positions[0];
          } else if (sig == kXITD) {
            if (fir) NOLAR_THROW("XITD matrix with FIR filters ? " + p);
            bytes = SdifUtils::ReadXITDMatrix(f, pt.itd);
          } else if (sig == kXIIR) {
            if (fir) NOLAR_THROW("XIIR matrix with FIR filters ? " + p);
            bytes = SdifUtils::ReadXIIRMatrix(f, pt.coefficients);
          } else if (sig == kXFIR) {
            if (!fir) NOLAR_THROW("unexpected XFIR matrix ? " + p);
            bytes = SdifUtils::ReadXFIRMatrix(f, pt.coefficients);
          } else {
            SdifFSkipMatrixData(f);  // padding included
            continue;
          }
          SdifFReadPadding(f, SdifFPaddingCalculate(f->stream, bytes));
        }
      }
      SdifSignatureTokenET const token = SdifFGetSignature(f, nullptr);
      if (SdifFLastError(f) != nullptr) NOLAR_THROW("error reading file " + p);
      if (token == eEof) break;
    }
    if (SdifFLastError(f) != nullptr) NOLAR_THROW("error reading file " + p);
    if (frames != h.numPoints) NOLAR_THROW("invalid number of HRTF frames ? " + p);
    file.reset();
  } catch (Exception const&) {
    // A fatal report of the reader (the file ends early, a size cannot be
    // right) is a file that could not be read; every other text stands.
    if (fatalReported(file.get())) NOLAR_THROW("error reading file " + p);
    throw;
  } catch (std::exception const& e) {
    NOLAR_THROW(e.what());
  } catch (...) {
    NOLAR_THROW("unknown exception while loading file " + p);
  }
  install(std::move(h), std::move(pts), p);
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
