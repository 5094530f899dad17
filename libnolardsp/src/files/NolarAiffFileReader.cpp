#include "NolarAiffFileReader.h"

#include <algorithm>

#include "NolarConstants.h"
#include "NolarEndianness.h"

namespace nolardsp {

namespace {
constexpr std::uint32_t aifcVersion1 = 0xA2805140u;

std::uint32_t bigName(char const* c) {
  return Endianness::BigEndianUInt(reinterpret_cast<unsigned char const*>(c));
}
}  // namespace

AiffFileReader::AiffFileReader(char const* path) : AudioFileReader(path) {
  readHeader();
}

bool AiffFileReader::CanHandleThisFile(char const* path) {
  return TryToDetermineFileType(path) == AiffType;
}

AudioFileReader* AiffFileReader::CreateReaderFor(char const* path) {
  return new AiffFileReader(path);
}

void AiffFileReader::GetListOfPossibleExtensions(std::vector<std::string>& extensions) {
  extensions.push_back(".aiff");
  extensions.push_back(".aif");
}

void AiffFileReader::readHeader() {
  setUnusable();
  FileReader& r = *reader;
  if (!r.IsOpen() || r.GetSize() < 12) return;
  if (r.ReadIntBigEndian() != bigName("FORM")) return;
  r.ReadIntBigEndian();  // the form size: the chunks are walked to the file's end
  std::uint32_t const form = r.ReadIntBigEndian();
  bool const aifc = form == bigName("AIFC");
  if (!aifc && form != bigName("AIFF")) return;

  bool haveVersion = !aifc, haveCommon = false, haveSound = false;
  std::uint16_t channels = 0, bits = 0;
  std::uint32_t frames = 0;
  double rate = 0.0;
  while (!(haveVersion && haveCommon && haveSound) && r.BytesLeft() >= 8) {
    std::uint32_t const id = r.ReadIntBigEndian();
    std::uint64_t const size = r.ReadIntBigEndian();
    std::uint64_t const start = r.GetPosition();
    if (size > r.BytesLeft()) return;  // declares more than the file holds
    if (id == bigName("FVER")) {
      std::uint32_t const version = size >= 4 ? r.ReadIntBigEndian() : 1;
      if (version != 0 && version != aifcVersion1) return;
      haveVersion = true;
    } else if (id == bigName("COMM")) {
      if (size < 18) return;
      channels = r.ReadShortBigEndian();
      frames = r.ReadIntBigEndian();
      bits = r.ReadShortBigEndian();
      unsigned char extended[10];
      if (r.Read(extended, 10) != 10) return;
      // 80-bit float: sign and exponent, then a 64-bit mantissa with its
      // leading one explicit. Rates from 2 Hz to 2^29 Hz: the shift stays in 2..30.
      if (extended[0] != 0x40 || extended[1] > 28) return;
      std::uint32_t const exponent = (std::uint32_t(extended[0]) << 8) | extended[1];
      std::uint32_t const mantissa = Endianness::BigEndianUInt(extended + 2);
      rate = static_cast<double>(mantissa >> (16414 - exponent));
      if (size > 18) {
        if (size < 22) return;
        std::uint32_t const compression = r.ReadIntBigEndian();
        if (compression == bigName("sowt")) {
          littleEndianData = true;
        } else if (compression != bigName("NONE") && compression != bigName("twos")) {
          return;
        }
      }
      haveCommon = true;
    } else if (id == bigName("SSND")) {
      if (size < 8) return;
      std::uint64_t const offset = r.ReadIntBigEndian();
      r.ReadIntBigEndian();  // block size
      if (offset > size - 8) return;
      dataStart = start + 8 + offset;
      dataLength = size - 8 - offset;
      haveSound = true;
    }
    // Chunks start at even offsets.
    std::uint64_t const next = start + size + (size & 1);
    if (next > r.GetSize() || !r.SetPosition(next)) break;
  }
  if (!haveCommon || !haveSound) return;
  if (channels == 0 || channels > MaxChannels || rate < 2.0) return;
  if (bits != 8 && bits != 16 && bits != 24 && bits != 32) return;

  bytesPerFrame = channels * (bits / 8u);
  numChannels = channels;
  bitsPerSample = bits;
  samplerate = rate;
  lengthInSamples = std::min<std::uint64_t>(frames, dataLength / bytesPerFrame);
}

void AiffFileReader::readSamples(int** destination, unsigned long long firstSample,
                                 unsigned long long numSamples) {
  readFrames(destination, firstSample, numSamples, dataStart, bytesPerFrame, littleEndianData,
             false);
}

}  // namespace nolardsp
