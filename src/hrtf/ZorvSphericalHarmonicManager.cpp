#include "ZorvSphericalHarmonicManager.h"

#include <cmath>
#include <exception>

#include "NolarException.h"
#include "NolarSdifFile.h"
#include "NolarSdifUtils.h"
#include "NolarSdifWriter.h"
#include "ZorvSdifHrtfUtils.h"

namespace Zorv {

unsigned int const SphericalHarmonicManager::MaxOrder = 40;
unsigned int const SphericalHarmonicManager::MaxFrequencyBins = 65536;

namespace {

char const* const kTable = "SphericalHarmonicInfos";
constexpr nolardsp::SdifSignature kXSHB = nolardsp::SdifSignatureConst('X', 'S', 'H', 'B');
constexpr nolardsp::SdifSignature kXSHC = nolardsp::SdifSignatureConst('X', 'S', 'H', 'C');

bool text(nolardsp::SdifFileS* f, char const* key, std::string& out) {
  return nolardsp::SdifUtils::GetValueFromNVT(out, f, kTable, key);
}

bool number(nolardsp::SdifFileS* f, char const* key, uint32_t& out) {
  std::string t;
  unsigned int v = 0;
  if (!text(f, key, t) || !SdifHrtfUtils::ParseNumber(t, v)) return false;
  out = v;
  return true;
}

}  // namespace

SphericalHarmonicManager::SphericalHarmonicManager(char const* path) {
  LoadFromFile(path);
}

void SphericalHarmonicManager::LoadFromFile(char const* path) {
  using namespace nolardsp;
  std::string const p = path == nullptr ? std::string() : std::string(path);
  if (!SdifHrtfUtils::CheckFileExtension(p.c_str(), ".shb")) return;
  SphericalHarmonicData d;
  SdifFilePtr file;
  try {
    if (!SdifUtils::IsValidSdifFile(p.c_str())) NOLAR_THROW("invalid file " + p);
    SdifGenInitCond("");
    file.reset(SdifFOpen(p.c_str(), eReadFile));
    if (!file) NOLAR_THROW("couldnt open file " + p);
    SdifFileS* const f = file.get();
    SdifFReadGeneralHeader(f);
    SdifFReadAllASCIIChunks(f);
    Info& h = d.info;
    bool ok = text(f, "Owner", h.owner) && text(f, "Subject", h.subject) &&
              text(f, "Copyright", h.copyright) && number(f, "HrtfType", h.hrtfType) &&
              number(f, "FilterType", h.filterType) &&
              number(f, "Normalization", h.normalization) && number(f, "MaxOrder", h.maxOrder) &&
              number(f, "NumFrequencyBins", h.numFrequencyBins) &&
              number(f, "NumChannels", h.numChannels) &&
              number(f, "SamplingRate", h.samplingRate) && number(f, "NumPoints", h.numPoints);
    if (!ok) NOLAR_THROW("invalid header " + p);
    // Sizes are checked against limits and the file before anything is
    // sized by them.
    if (h.numChannels != 2 || h.maxOrder > MaxOrder || h.numFrequencyBins == 0 ||
        h.numFrequencyBins > MaxFrequencyBins) {
      NOLAR_THROW("invalid header " + p);
    }
    unsigned long long const rows = d.numHarmonics();
    unsigned long long const columns = 2ull * h.numFrequencyBins;
    if (rows * columns * 2ull * 4ull > f->fileSize) {
      NOLAR_THROW("the header declares more data than the file holds: " + p);
    }
    std::vector<float> values;
    bool seen[2] = {false, false};
    for (;;) {
      if (SdifFLastError(f) != nullptr) break;
      SdifFReadFrameHeader(f);
      if (SdifFCurrFrameSignature(f) != kXSHB) {
        SdifFSkipFrameData(f);
      } else {
        uint32_t const ear = SdifFCurrID(f) - 1u;
        if (ear > 1u || seen[ear]) NOLAR_THROW("invalid spherical harmonic frames in " + p);
        seen[ear] = true;
        auto& basis = ear == 0 ? d.sphericalBasisLeft : d.sphericalBasisRight;
        SdifUInt4 const matrices = SdifFCurrNbMatrix(f);
        for (SdifUInt4 m = 0; m < matrices; ++m) {
          SdifFReadMatrixHeader(f);
          if (SdifFCurrMatrixSignature(f) != kXSHC) {
            SdifFSkipMatrixData(f);
            continue;
          }
          if (!basis.empty() || SdifFCurrNbRow(f) != rows || SdifFCurrNbCol(f) != columns) {
            NOLAR_THROW("invalid spherical harmonic matrix in " + p);
          }
          values.assign(static_cast<std::size_t>(rows * columns), 0.f);
          std::size_t const bytes = SdifUtils::ReadXFIRMatrix(f, values);
          SdifFReadPadding(f, SdifFPaddingCalculate(f->stream, bytes));
          basis.resize(static_cast<std::size_t>(rows * h.numFrequencyBins));
          for (std::size_t k = 0; k < basis.size(); ++k) {
            if (!std::isfinite(values[2 * k]) || !std::isfinite(values[2 * k + 1])) {
              NOLAR_THROW("invalid spherical harmonic matrix in " + p);
            }
            basis[k] = Complex<float>{values[2 * k], values[2 * k + 1]};
          }
        }
      }
      SdifSignatureTokenET const token = SdifFGetSignature(f, nullptr);
      if (SdifFLastError(f) != nullptr) NOLAR_THROW("error reading file " + p);
      if (token == eEof) break;
    }
    if (SdifFLastError(f) != nullptr) NOLAR_THROW("error reading file " + p);
    if (d.sphericalBasisLeft.empty() || d.sphericalBasisRight.empty()) {
      NOLAR_THROW("incomplete spherical harmonic data in " + p);
    }
    file.reset();
  } catch (Exception const&) {
    throw;
  } catch (std::exception const& e) {
    NOLAR_THROW(e.what());
  } catch (...) {
    NOLAR_THROW("unknown exception while loading file " + p);
  }
  static_cast<SphericalHarmonicData&>(*this) = std::move(d);
}

void SphericalHarmonicManager::Write(SphericalHarmonicData const& data, std::string const& path) {
  using namespace nolardsp;
  Info const& h = data.info;
  std::size_t const size = static_cast<std::size_t>(data.numHarmonics()) * h.numFrequencyBins;
  if (h.numChannels != 2 || h.numFrequencyBins == 0 || data.sphericalBasisLeft.size() != size ||
      data.sphericalBasisRight.size() != size) {
    NOLAR_THROW("incomplete spherical harmonic data for " + path);
  }
  SdifWriter w(path);
  w.WriteGeneralHeader();
  w.WriteTypes("1MTD XSHC {Coefficients} 1FTD XSHB {XSHC Basis;}");
  w.WriteNameValueTable({{"TableName", kTable},
                         {"Owner", h.owner},
                         {"Subject", h.subject},
                         {"Copyright", h.copyright},
                         {"HrtfType", std::to_string(h.hrtfType)},
                         {"FilterType", std::to_string(h.filterType)},
                         {"Normalization", std::to_string(h.normalization)},
                         {"MaxOrder", std::to_string(h.maxOrder)},
                         {"NumFrequencyBins", std::to_string(h.numFrequencyBins)},
                         {"NumChannels", std::to_string(h.numChannels)},
                         {"SamplingRate", std::to_string(h.samplingRate)},
                         {"NumPoints", std::to_string(h.numPoints)}});
  std::vector<double> values(2 * size);
  for (int ear = 0; ear < 2; ++ear) {
    auto const& basis = ear == 0 ? data.sphericalBasisLeft : data.sphericalBasisRight;
    for (std::size_t k = 0; k < size; ++k) {
      values[2 * k] = basis[k].re;
      values[2 * k + 1] = basis[k].im;
    }
    w.BeginFrame(kXSHB, 0.0, static_cast<std::uint32_t>(ear + 1));
    w.WriteMatrix(kXSHC, eFloat4, data.numHarmonics(), 2 * h.numFrequencyBins, values);
    w.EndFrame();
  }
  w.Close();
}

}  // namespace Zorv
