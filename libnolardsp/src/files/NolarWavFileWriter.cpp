#include "NolarWavFileWriter.h"

#include <vector>

#include "NolarEndianness.h"

namespace nolardsp {

WavFileWriter::WavFileWriter(char const* path, double rate, unsigned int channels, int bits)
    : AudioFileWriter(path, rate, channels, bits) {
  usesFloatingPointData = bits == 32;
}

AudioFileWriter* WavFileWriter::CreateWriterFor(char const* path, double samplerate,
                                                unsigned int numChannels, int bitsPerSample,
                                                bool overwrite) {
  static int const depths[] = {8, 16, 24, 32};
  checkCreation(path, samplerate, numChannels, bitsPerSample, overwrite, depths, 4);
  std::unique_ptr<WavFileWriter> w(new WavFileWriter(path, samplerate, numChannels, bitsPerSample));
  w->checkOpened(path);
  w->headerPosition = w->writer->GetPosition();
  w->writeHeader();
  return w.release();
}

bool WavFileWriter::writeHeader() {
  FileWriter& w = *writer;
  std::uint32_t const rate = static_cast<std::uint32_t>(samplerate);
  std::uint32_t const dataBytes = static_cast<std::uint32_t>(bytesWritten);
  bool ok = w.SetPosition(headerPosition);
  ok = ok && w.WriteInt(ChunkName("RIFF")) && w.WriteInt(dataBytes + 36) &&
       w.WriteInt(ChunkName("WAVE"));
  ok = ok && w.WriteInt(ChunkName("fmt ")) && w.WriteInt(16) &&
       w.WriteShort(bitsPerSample == 32 ? 3 : 1) &&
       w.WriteShort(static_cast<std::uint16_t>(numChannels)) && w.WriteInt(rate) &&
       w.WriteInt(rate * bytesPerFrame()) &&
       w.WriteShort(static_cast<std::uint16_t>(bytesPerFrame())) &&
       w.WriteShort(static_cast<std::uint16_t>(bitsPerSample));
  ok = ok && w.WriteInt(ChunkName("data")) && w.WriteInt(dataBytes);
  return w.SetPosition(headerPosition + 44 + bytesWritten) && ok;
}

bool WavFileWriter::writeSamples(int const** source, unsigned int numSamples) {
  unsigned int const channels = static_cast<unsigned int>(numChannels);
  unsigned int const width = static_cast<unsigned int>(bitsPerSample) / 8;
  std::vector<unsigned char> bytes(static_cast<std::size_t>(numSamples) * bytesPerFrame());
  unsigned char* b = bytes.data();
  for (unsigned int i = 0; i < numSamples; ++i) {
    for (unsigned int c = 0; c < channels; ++c, b += width) {
      std::uint32_t const v = static_cast<std::uint32_t>(source[c][i]);
      switch (width) {
        case 1:
          b[0] = static_cast<unsigned char>((v >> 24) ^ 0x80u);
          break;
        case 2:
          b[0] = static_cast<unsigned char>(v >> 16);
          b[1] = static_cast<unsigned char>(v >> 24);
          break;
        case 3:
          Endianness::LittleEndian24BitToChars(static_cast<std::int32_t>(v >> 8), b);
          break;
        default:
          b[0] = static_cast<unsigned char>(v);
          b[1] = static_cast<unsigned char>(v >> 8);
          b[2] = static_cast<unsigned char>(v >> 16);
          b[3] = static_cast<unsigned char>(v >> 24);
          break;
      }
    }
  }
  bool const ok = writer->Write(bytes.data(), static_cast<unsigned int>(bytes.size()));
  if (ok) bytesWritten += bytes.size();
  return ok;
}

}  // namespace nolardsp
