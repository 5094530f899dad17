#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

// Basic vocabulary of SDIF files: signatures, data types, padding, and the
// tables of matrix and frame types that a file declares in its "1TYP" chunks.
namespace nolardsp {

// Four ASCII characters read as one big-endian 32-bit number: "SDIF" is 0x53444946.
using SdifSignature = std::uint32_t;
using SdifUInt4 = std::uint32_t;
using SdifInt4 = std::int32_t;
using SdifFloat8 = double;

// The signature of a four-character text. Shorter texts are padded with zero bytes.
constexpr SdifSignature SdifSignatureConst(char a, char b, char c, char d) {
  return (static_cast<SdifSignature>(static_cast<unsigned char>(a)) << 24) |
         (static_cast<SdifSignature>(static_cast<unsigned char>(b)) << 16) |
         (static_cast<SdifSignature>(static_cast<unsigned char>(c)) << 8) |
         static_cast<SdifSignature>(static_cast<unsigned char>(d));
}
SdifSignature SdifStringToSignature(char const* text);

constexpr SdifSignature eSDIF = SdifSignatureConst('S', 'D', 'I', 'F');
constexpr SdifSignature e1NVT = SdifSignatureConst('1', 'N', 'V', 'T');
constexpr SdifSignature e1TYP = SdifSignatureConst('1', 'T', 'Y', 'P');
constexpr SdifSignature e1IDS = SdifSignatureConst('1', 'I', 'D', 'S');
constexpr SdifSignature e1MTD = SdifSignatureConst('1', 'M', 'T', 'D');
constexpr SdifSignature e1FTD = SdifSignatureConst('1', 'F', 'T', 'D');

// The four characters of a signature as text. The buffer is one of a small
// ring of static buffers, so a few results may be used in one expression.
char* SdifSignatureToString(SdifSignature signature);

enum SdifDataTypeET : std::uint32_t {
  eFloat4 = 0x0004,
  eFloat8 = 0x0008,
  eInt1 = 0x0101,
  eInt2 = 0x0102,
  eInt4 = 0x0104,
  eUInt1 = 0x0201,
  eUInt2 = 0x0202,
  eUInt4 = 0x0204,
  eText = 0x0301,
};

bool SdifDataTypeKnown(std::uint32_t dataType);
// Bytes per value: the low byte of the data type.
inline std::size_t SdifSizeofDataType(std::uint32_t dataType) {
  return dataType & 0xFFu;
}

// Zero bytes that follow n data bytes to reach a multiple of 8.
inline std::size_t SdifPaddingCalculate(std::size_t bytes) {
  return (bytes % 8) == 0 ? 0 : 8 - (bytes % 8);
}

struct SdifMatrixTypeT {
  SdifSignature signature = 0;
  std::vector<std::string> columnNames;
};

struct SdifFrameComponentT {
  SdifSignature matrixSignature = 0;
  std::string name;
};

struct SdifFrameTypeT {
  SdifSignature signature = 0;
  std::vector<SdifFrameComponentT> components;
  bool HasComponent(SdifSignature matrix) const;
};

// The matrix and frame types known in one scope (the predefined set, or one
// file). A second definition of a type adds its new columns or components to
// the first.
class SdifTypeTables {
 public:
  SdifMatrixTypeT const* FindMatrixType(SdifSignature signature) const;
  SdifFrameTypeT const* FindFrameType(SdifSignature signature) const;
  void AddMatrixType(SdifMatrixTypeT const& type);
  void AddFrameType(SdifFrameTypeT const& type);

  // Reads the statements of a "1TYP" text:
  //   1MTD SIGN { column, column, ... }
  //   1FTD SIGN { MSIG name; MSIG name; ... }
  // White space is free. Returns an empty string on success, otherwise what
  // was wrong, with "bad signature: " in front when a signature is not four
  // characters; the statements before the fault are kept.
  std::string Parse(std::string const& text);

  // The types every file knows without declaring them.
  static SdifTypeTables const& Predefined();

 private:
  std::map<SdifSignature, SdifMatrixTypeT> matrixTypes;
  std::map<SdifSignature, SdifFrameTypeT> frameTypes;
};

}  // namespace nolardsp
