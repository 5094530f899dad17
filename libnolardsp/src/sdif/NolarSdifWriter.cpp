#include "NolarSdifWriter.h"

#include <cstring>

#include "NolarException.h"

namespace nolardsp {

SdifWriter::SdifWriter(std::string const& path_) : path(path_) {
  stream = std::fopen(path.c_str(), "wb");
  if (stream == nullptr) NOLAR_THROW("couldnt open file " + path);
}

SdifWriter::~SdifWriter() {
  if (stream != nullptr) std::fclose(stream);
}

void SdifWriter::put(void const* bytes, std::size_t n) {
  if (stream == nullptr || n == 0) return;
  if (std::fwrite(bytes, 1, n, stream) != n) failed = true;
}

void SdifWriter::append32(std::vector<unsigned char>& out, std::uint32_t value) {
  for (int shift = 24; shift >= 0; shift -= 8) {
    out.push_back(static_cast<unsigned char>((value >> shift) & 0xFF));
  }
}

void SdifWriter::append64(std::vector<unsigned char>& out, std::uint64_t value) {
  append32(out, static_cast<std::uint32_t>(value >> 32));
  append32(out, static_cast<std::uint32_t>(value & 0xFFFFFFFFu));
}

void SdifWriter::WriteGeneralHeader(std::uint32_t typesVersion, std::uint32_t headerPadding) {
  std::vector<unsigned char> header;
  append32(header, eSDIF);
  append32(header, 8 + headerPadding);
  append32(header, 3);
  append32(header, typesVersion);
  header.resize(header.size() + headerPadding, 0);
  put(header.data(), header.size());
}

void SdifWriter::WriteTextChunk(SdifSignature signature, std::string const& text) {
  BeginFrame(signature, 0.0, 0);
  append32(frameBody, signature);
  append32(frameBody, eText);
  append32(frameBody, static_cast<std::uint32_t>(text.size()));
  append32(frameBody, 1);
  frameBody.insert(frameBody.end(), text.begin(), text.end());
  frameBody.resize(frameBody.size() + SdifPaddingCalculate(text.size()), 0);
  ++frameMatrices;
  EndFrame();
}

std::string SdifWriter::NameValueText(
    std::vector<std::pair<std::string, std::string>> const& entries) {
  std::string text;
  for (auto const& e : entries) text += e.first + '\t' + e.second + '\n';
  return text;
}

void SdifWriter::WriteNameValueTable(
    std::vector<std::pair<std::string, std::string>> const& entries) {
  WriteTextChunk(e1NVT, NameValueText(entries));
}

void SdifWriter::BeginFrame(SdifSignature signature, double time, std::uint32_t streamID) {
  if (inFrame) EndFrame();
  inFrame = true;
  frameSignature = signature;
  frameTime = time;
  frameStreamID = streamID;
  frameMatrices = 0;
  frameBody.clear();
}

void SdifWriter::WriteMatrix(SdifSignature signature, SdifDataTypeET dataType, std::uint32_t rows,
                             std::uint32_t columns, double const* values) {
  if (dataType != eFloat4 && dataType != eFloat8) {
    NOLAR_THROW("SDIF matrices are written as 32- or 64-bit floats only");
  }
  append32(frameBody, signature);
  append32(frameBody, dataType);
  append32(frameBody, rows);
  append32(frameBody, columns);
  std::size_t const count = static_cast<std::size_t>(rows) * columns;
  for (std::size_t i = 0; i < count; ++i) {
    if (dataType == eFloat4) {
      float const v = static_cast<float>(values[i]);
      std::uint32_t bits;
      std::memcpy(&bits, &v, sizeof(bits));
      append32(frameBody, bits);
    } else {
      std::uint64_t bits;
      std::memcpy(&bits, &values[i], sizeof(bits));
      append64(frameBody, bits);
    }
  }
  frameBody.resize(frameBody.size() + SdifPaddingCalculate(count * SdifSizeofDataType(dataType)),
                   0);
  ++frameMatrices;
}

void SdifWriter::EndFrame() {
  if (!inFrame) return;
  inFrame = false;
  std::vector<unsigned char> header;
  std::uint64_t timeBits;
  std::memcpy(&timeBits, &frameTime, sizeof(timeBits));
  append32(header, frameSignature);
  append32(header, static_cast<std::uint32_t>(16 + frameBody.size()));
  append64(header, timeBits);
  append32(header, frameStreamID);
  append32(header, frameMatrices);
  put(header.data(), header.size());
  put(frameBody.data(), frameBody.size());
  frameBody.clear();
}

void SdifWriter::Close() {
  if (stream == nullptr) return;
  EndFrame();
  bool const flushed = std::fflush(stream) == 0;
  bool const closed = std::fclose(stream) == 0;
  stream = nullptr;
  if (failed || !flushed || !closed) NOLAR_THROW("couldnt write file " + path);
}

}  // namespace nolardsp
