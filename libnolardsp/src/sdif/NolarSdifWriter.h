#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include "NolarSdifTypes.h"

namespace nolardsp {

// Writes SDIF files that SdifFOpen reads back: the general header, the ASCII
// chunks (types, name-value tables, stream information) and frames of
// matrices of 32- or 64-bit floats, each matrix padded to 8 bytes.
//
//   SdifWriter w(path);                       // raises Exception if it cannot open
//   w.WriteGeneralHeader();
//   w.WriteTypes("1MTD XFIR {Coeffs} 1FTD HRTF {XFIR Filters;}");
//   w.WriteNameValueTable({{"TableName", "Infos"}, {"Author", "me"}});
//   w.BeginFrame(SdifStringToSignature("HRTF"), 0.0, 1);
//   w.WriteMatrix(SdifStringToSignature("XFIR"), eFloat4, rows, columns, values);
//   w.EndFrame();
//   w.Close();                                // raises Exception if the data did not reach the
//   disk
//
// A frame is gathered in memory and written whole by EndFrame, with its size
// and matrix count. Not for the audio thread.
class SdifWriter {
 public:
  explicit SdifWriter(std::string const& path);
  ~SdifWriter();
  SdifWriter(SdifWriter const&) = delete;
  SdifWriter& operator=(SdifWriter const&) = delete;

  // "SDIF", the header size (8 + headerPadding), format version 3, the types
  // version, then headerPadding zero bytes.
  void WriteGeneralHeader(std::uint32_t typesVersion = 1, std::uint32_t headerPadding = 0);

  // One ASCII chunk: a frame of the given signature holding one text matrix
  // of that signature (type 0x0301, one column, one row per byte).
  void WriteTextChunk(SdifSignature signature, std::string const& text);
  void WriteTypes(std::string const& text) { WriteTextChunk(e1TYP, text); }
  void WriteStreamInfo(std::string const& text) { WriteTextChunk(e1IDS, text); }
  // Entries as name TAB value LF, in the given order.
  void WriteNameValueTable(std::vector<std::pair<std::string, std::string>> const& entries);

  void BeginFrame(SdifSignature signature, double time, std::uint32_t streamID);
  // values holds rows x columns numbers, row after row. dataType is eFloat4 or eFloat8.
  void WriteMatrix(SdifSignature signature, SdifDataTypeET dataType, std::uint32_t rows,
                   std::uint32_t columns, double const* values);
  void WriteMatrix(SdifSignature signature, SdifDataTypeET dataType, std::uint32_t rows,
                   std::uint32_t columns, std::vector<double> const& values) {
    WriteMatrix(signature, dataType, rows, columns, values.data());
  }
  void EndFrame();

  // Flushes and closes; raises Exception if writing failed at any point.
  void Close();

  static std::string NameValueText(std::vector<std::pair<std::string, std::string>> const& entries);

 private:
  void put(void const* bytes, std::size_t n);
  static void append32(std::vector<unsigned char>& out, std::uint32_t value);
  static void append64(std::vector<unsigned char>& out, std::uint64_t value);

  std::string path;
  std::FILE* stream = nullptr;
  bool failed = false;
  bool inFrame = false;
  SdifSignature frameSignature = 0;
  double frameTime = 0.0;
  std::uint32_t frameStreamID = 0;
  std::uint32_t frameMatrices = 0;
  std::vector<unsigned char> frameBody;
};

}  // namespace nolardsp
