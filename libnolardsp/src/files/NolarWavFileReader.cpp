#include "NolarWavFileReader.h"

#include "NolarConstants.h"

namespace nolardsp {

namespace {
constexpr std::uint16_t formatPcm = 1;
constexpr std::uint16_t formatFloat = 3;
constexpr std::uint16_t formatExtensible = 0xFFFE;
}  // namespace

WavFileReader::WavFileReader(char const* path) : AudioFileReader(path) {
  readHeader();
}

bool WavFileReader::CanHandleThisFile(char const* path) {
  return TryToDetermineFileType(path) == WavType;
}

AudioFileReader* WavFileReader::CreateReaderFor(char const* path) {
  return new WavFileReader(path);
}

void WavFileReader::GetListOfPossibleExtensions(std::vector<std::string>& extensions) {
  extensions.push_back(".wav");
  extensions.push_back(".bwf");
}

void WavFileReader::readHeader() {
  setUnusable();
  FileReader& r = *reader;
  if (!r.IsOpen() || r.GetSize() < 12) return;
  if (r.ReadInt() != ChunkName("RIFF")) return;
  r.ReadInt();  // the RIFF size: files in the wild get it wrong, the chunks say more
  if (r.ReadInt() != ChunkName("WAVE")) return;

  bool haveFormat = false, haveData = false;
  std::uint16_t tag = 0, channels = 0, blockAlign = 0, bits = 0;
  std::uint32_t rate = 0;
  // Each chunk header is 8 bytes and each step moves forward by at least
  // that, so the walk ends; a size beyond the file ends it too.
  while (!(haveFormat && haveData) && r.BytesLeft() >= 8) {
    std::uint32_t const id = r.ReadInt();
    std::uint64_t const size = r.ReadInt();
    std::uint64_t const start = r.GetPosition();
    if (id == ChunkName("data")) {
      if (size > r.BytesLeft()) return;  // declares more than the file holds
      dataStart = start;
      dataLength = size;
      haveData = true;
    } else if (id == ChunkName("fmt ")) {
      if (size < 16 || size > r.BytesLeft()) return;
      tag = r.ReadShort();
      channels = r.ReadShort();
      rate = r.ReadInt();
      r.ReadInt();  // bytes per second follow from the rest
      blockAlign = r.ReadShort();
      bits = r.ReadShort();
      if (tag == formatExtensible) {
        if (size < 40) return;
        r.ReadShort();        // size of the extension
        r.ReadShort();        // valid bits: the container's width is what is stored
        r.ReadInt();          // channel mask
        tag = r.ReadShort();  // the sub-format GUID starts with the plain format tag
      }
      haveFormat = true;
    }
    // Chunks start at even offsets.
    std::uint64_t const next = start + size + (size & 1);
    if (next > r.GetSize() || !r.SetPosition(next)) break;
  }
  if (!haveFormat || !haveData) return;
  if (tag != formatPcm && tag != formatFloat) return;
  if (channels == 0 || channels > MaxChannels || rate == 0) return;
  // The depth is the container's, from the block alignment: 20 valid bits
  // travel in 24. Stated bits beyond the container do not add up.
  if (blockAlign == 0 || blockAlign % channels != 0) return;
  unsigned int const container = blockAlign / channels * 8u;
  if (container != 8 && container != 16 && container != 24 && container != 32) return;
  if (bits == 0 || bits > container) return;
  if (tag == formatFloat && container != 32) return;

  bytesPerFrame = blockAlign;
  numChannels = channels;
  bitsPerSample = static_cast<std::int32_t>(container);
  usesFloatingPointData = tag == formatFloat;
  samplerate = rate;
  lengthInSamples = dataLength / bytesPerFrame;
}

void WavFileReader::readSamples(int** destination, unsigned long long firstSample,
                                unsigned long long numSamples) {
  readFrames(destination, firstSample, numSamples, dataStart, bytesPerFrame, true,
             bitsPerSample == 8);
}

}  // namespace nolardsp
