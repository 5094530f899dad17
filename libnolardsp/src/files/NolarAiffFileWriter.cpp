#include "NolarAiffFileWriter.h"

#include <vector>

#include "NolarEndianness.h"

namespace nolardsp {

namespace {
std::uint32_t bigName(char const* c) {
  return Endianness::BigEndianUInt(reinterpret_cast<unsigned char const*>(c));
}
}  // namespace

AiffFileWriter::AiffFileWriter(char const* path, double rate, unsigned int channels, int bits)
    : AudioFileWriter(path, rate, channels, bits) {}

AudioFileWriter* AiffFileWriter::CreateWriterFor(char const* path, double samplerate,
                                                 unsigned int numChannels, int bitsPerSample,
                                                 bool overwrite) {
  static int const depths[] = {8, 16, 24};
  checkCreation(path, samplerate, numChannels, bitsPerSample, overwrite, depths, 3);
  std::unique_ptr<AiffFileWriter> w(
      new AiffFileWriter(path, samplerate, numChannels, bitsPerSample));
  w->checkOpened(path);
  w->headerPosition = w->writer->GetPosition();
  w->writeHeader();
  return w.release();
}

void AiffFileWriter::RateToExtended(double samplerate, unsigned char* b) {
  for (int i = 0; i < 10; ++i) b[i] = 0;
  std::uint32_t const rate =
      samplerate >= 1.0 && samplerate < 1073741824.0 ? static_cast<std::uint32_t>(samplerate) : 0;
  if (rate < 2) {
    // 1.0: the exponent's bias, and the explicit leading one.
    b[0] = 0x3F;
    b[1] = 0xFF;
    b[2] = 0x80;
    return;
  }
  // s: the zero bits above the rate's highest one, counted from bit 30.
  int const s = __builtin_clz(rate) - 1;
  b[0] = 0x40;
  b[1] = static_cast<unsigned char>(29 - s);
  std::uint32_t const mantissa = rate << (s + 1);
  b[2] = static_cast<unsigned char>(mantissa >> 24);
  b[3] = static_cast<unsigned char>(mantissa >> 16);
  b[4] = static_cast<unsigned char>(mantissa >> 8);
  b[5] = static_cast<unsigned char>(mantissa);
}

bool AiffFileWriter::writeHeader() {
  FileWriter& w = *writer;
  std::uint32_t const dataBytes = static_cast<std::uint32_t>(bytesWritten);
  std::uint32_t const padded = dataBytes + (dataBytes & 1u);
  std::uint32_t const frames = static_cast<std::uint32_t>(bytesWritten / bytesPerFrame());
  unsigned char rate[10];
  RateToExtended(samplerate, rate);
  bool ok = w.SetPosition(headerPosition);
  ok = ok && w.WriteIntBigEndian(bigName("FORM")) && w.WriteIntBigEndian(padded + 46) &&
       w.WriteIntBigEndian(bigName("AIFF"));
  ok = ok && w.WriteIntBigEndian(bigName("COMM")) && w.WriteIntBigEndian(18) &&
       w.WriteShortBigEndian(static_cast<std::uint16_t>(numChannels)) &&
       w.WriteIntBigEndian(frames) &&
       w.WriteShortBigEndian(static_cast<std::uint16_t>(bitsPerSample)) && w.Write(rate, 10);
  ok = ok && w.WriteIntBigEndian(bigName("SSND")) && w.WriteIntBigEndian(dataBytes + 8) &&
       w.WriteIntBigEndian(0) && w.WriteIntBigEndian(0);
  // An odd count of sample bytes is followed by a pad byte, which the next
  // samples overwrite.
  std::uint64_t const end = headerPosition + 54 + bytesWritten;
  if (dataBytes & 1u) ok = ok && w.SetPosition(end) && w.WriteByte(0);
  return w.SetPosition(end) && ok;
}

bool AiffFileWriter::writeSamples(int const** source, unsigned int numSamples) {
  unsigned int const channels = static_cast<unsigned int>(numChannels);
  unsigned int const width = static_cast<unsigned int>(bitsPerSample) / 8;
  std::vector<unsigned char> bytes(static_cast<std::size_t>(numSamples) * bytesPerFrame());
  unsigned char* b = bytes.data();
  for (unsigned int i = 0; i < numSamples; ++i) {
    for (unsigned int c = 0; c < channels; ++c, b += width) {
      std::uint32_t const v = static_cast<std::uint32_t>(source[c][i]);
      switch (width) {
        case 1:
          b[0] = static_cast<unsigned char>(v >> 24);
          break;
        case 2:
          b[0] = static_cast<unsigned char>(v >> 24);
          b[1] = static_cast<unsigned char>(v >> 16);
          break;
        default:
          Endianness::BigEndian24BitToChars(static_cast<std::int32_t>(v >> 8), b);
          break;
      }
    }
  }
  bool const ok = writer->Write(bytes.data(), static_cast<unsigned int>(bytes.size()));
  if (ok) bytesWritten += bytes.size();
  return ok;
}

}  // namespace nolardsp
