#include "ZorvSdifHrtfUtils.h"

#include <cctype>
#include <cstring>
#include <iostream>
#include <limits>

#include "NolarException.h"
#include "NolarSdifUtils.h"

namespace Zorv {

using nolardsp::SdifUtils;

bool SdifHrtfUtils::CheckFileExtension(char const* path, char const* extension) {
  if (path == nullptr || extension == nullptr) return false;
  std::size_t const n = std::strlen(path), e = std::strlen(extension);
  if (e > n) return false;
  for (std::size_t i = 0; i < e; ++i) {
    if (std::tolower(static_cast<unsigned char>(path[n - e + i])) !=
        std::tolower(static_cast<unsigned char>(extension[i]))) {
      return false;
    }
  }
  return true;
}

bool SdifHrtfUtils::ParseNumber(std::string const& text, unsigned int& out) {
  std::size_t i = 0;
  while (i < text.size() && std::isspace(static_cast<unsigned char>(text[i]))) ++i;
  bool negative = false;
  if (i < text.size() && (text[i] == '+' || text[i] == '-')) negative = text[i++] == '-';
  unsigned long long value = 0;
  for (; i < text.size() && std::isdigit(static_cast<unsigned char>(text[i])); ++i) {
    value = value * 10 + static_cast<unsigned>(text[i] - '0');
    if (value > std::numeric_limits<unsigned int>::max()) return false;
  }
  if (negative && value != 0) return false;
  out = static_cast<unsigned int>(value);
  return true;
}

namespace {

bool getNumber(nolardsp::SdifFileS* file, char const* key, unsigned int& out) {
  std::string text;
  if (!SdifUtils::GetValueFromNVT(text, file, SdifHrtfUtils::kTableName, key)) return false;
  return SdifHrtfUtils::ParseNumber(text, out);
}

bool getText(nolardsp::SdifFileS* file, char const* key, std::string& out) {
  return SdifUtils::GetValueFromNVT(out, file, SdifHrtfUtils::kTableName, key);
}

}  // namespace

bool SdifHrtfUtils::GetNumCoefficients(nolardsp::SdifFileS* file, unsigned int& out) {
  return getNumber(file, "FiltersLength", out);
}

bool SdifHrtfUtils::GetNumPoints(nolardsp::SdifFileS* file, unsigned int& out) {
  return getNumber(file, "NumPoints", out);
}

bool SdifHrtfUtils::GetNumChannels(nolardsp::SdifFileS* file, unsigned int& out) {
  return getNumber(file, "NumChannels", out);
}

bool SdifHrtfUtils::GetSampleRate(nolardsp::SdifFileS* file, unsigned int& out) {
  return getNumber(file, "SamplingRate", out);
}

bool SdifHrtfUtils::GetHrtfFilterType(nolardsp::SdifFileS* file, HrtfFilterType& out) {
  std::string text;
  if (!getText(file, "FiltersType", text)) return false;
  out = Zorv::GetHrtfFilterType(text);
  return true;
}

bool SdifHrtfUtils::GetHrtfType(nolardsp::SdifFileS* file, HrtfType& out) {
  std::string text;
  if (!getText(file, "DataType", text)) return false;
  out = Zorv::GetHrtfType(text);
  return true;
}

bool SdifHrtfUtils::GetHrtfHeaderInfos(nolardsp::SdifFileS* file, HrtfHeaderInfos& header) {
  HrtfHeaderInfos h = header;
  std::string tableName;
  std::string author;
  bool ok = true;
  // In the order of the table, without stopping at the first failure, so that
  // every missing key is reported in one pass.
  ok &= getText(file, "TableName", tableName);
  ok &= getText(file, "Author", author);
  ok &= getText(file, "Owner", h.owner);
  ok &= getText(file, "Subject", h.subject);
  ok &= getText(file, "Generated", h.generated);
  ok &= getText(file, "Copyright", h.copyright);
  ok &= GetSampleRate(file, h.sampleRate);
  ok &= GetHrtfType(file, h.hrtfType);
  ok &= GetHrtfFilterType(file, h.filterType);
  ok &= GetNumChannels(file, h.numChannels);
  ok &= GetNumPoints(file, h.numPoints);
  ok &= GetNumCoefficients(file, h.numCoefficients);
  ok &= getText(file, "MeasurementSet", h.measurementSet);
  ok &= getText(file, "InterpolationSet", h.interpolationSet);
  ok &= getText(file, "Symmetrization", h.symmetrization);
  ok &= getText(file, "SpatialInterpolation", h.spatialInterpolation);
  header = h;
  return ok;
}

bool SdifHrtfUtils::GetHrtfHeaderInfos(char const* path, HrtfHeaderInfos& header) {
  nolardsp::SdifGenInitCond("");
  nolardsp::SdifFilePtr file(nolardsp::SdifFOpen(path, nolardsp::eReadFile));
  if (!file) {
    std::cerr << "error reading " << (path == nullptr ? "" : path) << " (" << __FILE__ << " "
              << __LINE__ << " "
              << "GetHrtfHeaderInfos"
              << ")" << std::endl;
    return false;
  }
  try {
    nolardsp::SdifFReadGeneralHeader(file.get());
    nolardsp::SdifFReadAllASCIIChunks(file.get());
  } catch (nolardsp::Exception const&) {
    return false;  // a file that ends inside its text chunks has no header
  }
  return GetHrtfHeaderInfos(file.get(), header);
}

}  // namespace Zorv
