#include "NolarSdifUtils.h"

#include <cmath>
#include <iostream>

#include "NolarException.h"
#include "NolarSdifTypes.h"

namespace nolardsp {

namespace {

constexpr float kDegToRad = 0.017453292f;
constexpr float kPi = 3.1415927f;
constexpr float kHalfPi = 1.5707964f;
constexpr float kTwoPi = 6.2831855f;

// v brought to [0, period).
float wrap(float v, float period) {
  float r = std::fmod(v, period);
  if (r < 0.f) r += period;
  if (r >= period) r = 0.f;  // a tiny negative r rounds up to the period
  return r;
}

bool isFloatType(std::uint32_t dataType) {
  return dataType == eFloat4 || dataType == eFloat8;
}

[[noreturn]] void invalidMatrix(SdifFileS* file) {
  NOLAR_THROW(std::string("Invalid ") + SdifSignatureToString(SdifFCurrMatrixSignature(file)) +
              " matrix");
}

}  // namespace

bool SdifUtils::IsValidSdifFile(char const* path) {
  SdifGenInitCond("");
  return SdifCheckFileFormat(path) != 0;
}

int SdifUtils::GetIndexOfNVTByName(SdifFileS* file, char const* name) {
  if (file == nullptr || name == nullptr) return -1;
  SdifListT* list = SdifNameValueTableList(SdifFNameValueList(file));
  for (SdifListInitLoop(list); SdifListIsNext(list);) {
    SdifNameValueTableT* table = SdifListGetNext(list);
    SdifHashTableT* entries = SdifNameValueTableGetHashTable(table);
    SdifHashTableIteratorT* it = SdifCreateHashTableIterator(entries);
    int found = -1;
    for (SdifHashTableIteratorInitLoop(it, entries); SdifHashTableIteratorIsNext(it);) {
      SdifNameValueT const* pair = SdifHashTableIteratorGetNext(it);
      if (std::string(SdifNameValueGetName(pair)) == "TableName" &&
          std::string(SdifNameValueGetValue(pair)) == name) {
        found = static_cast<int>(SdifNameValueTableGetNumTable(table));
        break;
      }
    }
    SdifKillHashTableIterator(it);
    if (found >= 0) return found;
  }
  return -1;
}

bool SdifUtils::GetValueFromNVT(std::string& value, SdifFileS* file, char const* tableName,
                                char const* fieldName) {
  int const index = GetIndexOfNVTByName(file, tableName);
  if (index < 0) return false;
  SdifListT* list = SdifNameValueTableList(SdifFNameValueList(file));
  for (SdifListInitLoop(list); SdifListIsNext(list);) {
    SdifNameValueTableT* table = SdifListGetNext(list);
    if (static_cast<int>(SdifNameValueTableGetNumTable(table)) != index) continue;
    if (SdifNameValueT const* pair = table->Find(fieldName)) {
      value = pair->value;
      return true;
    }
    break;
  }
  std::cerr << "No field " << fieldName << " in NVT " << tableName << " (" << __FILE__ << " "
            << __LINE__ << " "
            << "GetValueFromNVT"
            << ")" << std::endl;
  return false;
}

std::size_t SdifUtils::ReadFilterCoeffsMatrix(SdifFileS* file, std::vector<float>& values) {
  SdifUInt4 const rows = SdifFCurrNbRow(file);
  SdifUInt4 const columns = SdifFCurrNbCol(file);
  if (!isFloatType(SdifFCurrDataType(file))) invalidMatrix(file);
  if (static_cast<std::uint64_t>(rows) * columns != values.size()) invalidMatrix(file);
  std::size_t bytes = 0;
  std::size_t k = 0;
  for (SdifUInt4 r = 0; r < rows; ++r) {
    bytes += SdifFReadOneRow(file);
    for (SdifUInt4 c = 1; c <= columns; ++c) {
      values[k++] = static_cast<float>(SdifFCurrOneRowCol(file, c));
    }
  }
  return bytes;
}

std::size_t SdifUtils::ReadXFIRMatrix(SdifFileS* file, std::vector<float>& values) {
  return ReadFilterCoeffsMatrix(file, values);
}

std::size_t SdifUtils::ReadXIIRMatrix(SdifFileS* file, std::vector<float>& values) {
  return ReadFilterCoeffsMatrix(file, values);
}

std::size_t SdifUtils::ReadXITDMatrix(SdifFileS* file, float& itd) {
  if (SdifFCurrNbRow(file) != 1 || SdifFCurrNbCol(file) != 1 ||
      !isFloatType(SdifFCurrDataType(file))) {
    invalidMatrix(file);
  }
  std::size_t const bytes = SdifFReadOneRow(file);
  itd = static_cast<float>(SdifFCurrOneRowCol(file, 1));
  return bytes;
}

std::size_t SdifUtils::readTriples(SdifFileS* file, std::vector<CartesianVector>& out, bool asAed,
                                   bool navigation) {
  if (SdifFCurrNbCol(file) != 3 || !isFloatType(SdifFCurrDataType(file))) invalidMatrix(file);
  SdifUInt4 const rows = SdifFCurrNbRow(file);
  out.resize(rows);
  std::size_t bytes = 0;
  for (SdifUInt4 r = 0; r < rows; ++r) {
    bytes += SdifFReadOneRow(file);
    float const a = static_cast<float>(SdifFCurrOneRowCol(file, 1));
    float const b = static_cast<float>(SdifFCurrOneRowCol(file, 2));
    float const c = static_cast<float>(SdifFCurrOneRowCol(file, 3));
    out[r] = asAed ? AedToCartesian(a, b, c, navigation) : CartesianVector(a, b, c);
  }
  return bytes;
}

std::size_t SdifUtils::ReadXCARMatrix(SdifFileS* file, std::vector<CartesianVector>& out) {
  return readTriples(file, out, false, false);
}

std::size_t SdifUtils::ReadXAEDMatrix(SdifFileS* file, std::vector<CartesianVector>& out,
                                      bool navigation) {
  return readTriples(file, out, true, navigation);
}

CartesianVector SdifUtils::AedToCartesian(float a, float e, float d, bool navigation) {
  if (navigation) {
    e = wrap(e + 180.f, 360.f) - 180.f;
    if (e > 90.f) {
      a = a + 180.f;
      e = 90.f - e;
    } else if (e < -90.f) {
      a = a + 180.f;
      e = -90.f - e;
    }
    if (d < 0.f) {
      d = -d;
      e = -e;
      a = a + 180.f;
    }
    a = wrap(a + 180.f, 360.f) - 180.f;
  }
  // Mathematical azimuth: the front is pi/2, the right 0.
  float t = (wrap(270.f - a, 360.f) - 180.f) * kDegToRad;
  float p = wrap(e * kDegToRad + kPi, kTwoPi) - kPi;
  if (p > kHalfPi) {
    t = t + kPi;
    p = kHalfPi - p;
  } else if (p < -kHalfPi) {
    t = t + kPi;
    p = -kHalfPi - p;
  }
  if (d < 0.f) {
    d = -d;
    p = -p;
    t = t + kPi;
  }
  t = wrap(t + kPi, kTwoPi) - kPi;
  float const c = std::cos(p);
  return CartesianVector(d * c * std::cos(t), d * c * std::sin(t), d * std::sin(p));
}

}  // namespace nolardsp
