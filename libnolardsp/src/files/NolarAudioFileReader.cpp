#include "NolarAudioFileReader.h"

#include <algorithm>
#include <cstring>

#include "NolarAiffFileReader.h"
#include "NolarAudioBuffer.h"
#include "NolarEndianness.h"
#include "NolarWavFileReader.h"

namespace nolardsp {

namespace {
// The local byte buffer that file data pass through.
constexpr unsigned int readBufferSize = 32768;
constexpr float integerScale = 1.0f / 2147483648.0f;  // 2^-31, exactly
}  // namespace

AudioFileReader::AudioFileReader(char const* path) : reader(new FileReader(path)) {}

AudioFileReader::~AudioFileReader() = default;

void AudioFileReader::setUnusable() {
  samplerate = 0.0;
  bitsPerSample = 0;
  numChannels = 0;
  usesFloatingPointData = false;
  lengthInSamples = 0;
}

AudioFileReader* AudioFileReader::CreateReaderFor(char const* path) {
  switch (TryToDetermineFileType(path)) {
    case AiffType:
      return new AiffFileReader(path);
    case WavType:
      return new WavFileReader(path);
    default:
      return nullptr;
  }
}

void AudioFileReader::readBytesAndConvertToInt(unsigned char const* bytes, unsigned int numFrames,
                                               int** destination, unsigned long long offset,
                                               bool littleEndian, bool unsigned8Bit) {
  unsigned int const channels = static_cast<unsigned int>(numChannels);
  unsigned int const width = static_cast<unsigned int>(bitsPerSample) / 8;
  unsigned int const stride = width * channels;
  for (unsigned int c = 0; c < channels; ++c) {
    int* __restrict d = destination[c] + offset;
    unsigned char const* __restrict b = bytes + c * width;
    switch (width) {
      case 1:
        if (unsigned8Bit) {
          for (unsigned int i = 0; i < numFrames; ++i) {
            d[i] = static_cast<int>((static_cast<std::uint32_t>(b[i * stride]) ^ 0x80u) << 24);
          }
        } else {
          for (unsigned int i = 0; i < numFrames; ++i) {
            d[i] = static_cast<int>(static_cast<std::uint32_t>(b[i * stride]) << 24);
          }
        }
        break;
      case 2:
        for (unsigned int i = 0; i < numFrames; ++i) {
          unsigned char const* s = b + i * stride;
          std::uint32_t const v = littleEndian
                                      ? (std::uint32_t(s[0]) << 16) | (std::uint32_t(s[1]) << 24)
                                      : (std::uint32_t(s[1]) << 16) | (std::uint32_t(s[0]) << 24);
          d[i] = static_cast<int>(v);
        }
        break;
      case 3:
        for (unsigned int i = 0; i < numFrames; ++i) {
          unsigned char const* s = b + i * stride;
          d[i] = static_cast<int>(littleEndian ? Endianness::LittleEndian24BitLeftJustified(s)
                                               : Endianness::BigEndian24BitLeftJustified(s));
        }
        break;
      default:
        for (unsigned int i = 0; i < numFrames; ++i) {
          unsigned char const* s = b + i * stride;
          d[i] = static_cast<int>(littleEndian ? Endianness::LittleEndianUInt(s)
                                               : Endianness::BigEndianUInt(s));
        }
        break;
    }
  }
}

void AudioFileReader::readFrames(int** destination, unsigned long long firstSample,
                                 unsigned long long numSamples, std::uint64_t dataStart,
                                 unsigned int bytesPerFrame, bool littleEndian, bool unsigned8Bit) {
  unsigned int const channels = static_cast<unsigned int>(numChannels);
  unsigned long long available = 0;
  if (IsUsable() && bytesPerFrame > 0 && firstSample < lengthInSamples) {
    available = std::min<unsigned long long>(numSamples, lengthInSamples - firstSample);
  }
  unsigned long long done = 0;
  if (available > 0 && reader->SetPosition(dataStart + firstSample * bytesPerFrame)) {
    unsigned char bytes[readBufferSize];
    unsigned int const framesPerPiece = std::max(1u, readBufferSize / bytesPerFrame);
    while (done < available) {
      unsigned int const want =
          static_cast<unsigned int>(std::min<unsigned long long>(framesPerPiece, available - done));
      unsigned int const got = reader->Read(bytes, want * bytesPerFrame) / bytesPerFrame;
      readBytesAndConvertToInt(bytes, got, destination, done, littleEndian, unsigned8Bit);
      done += got;
      if (got < want) break;
    }
  }
  // Frames past the end, or lost to a short read, are silence.
  for (unsigned int c = 0; c < channels; ++c) {
    if (done < numSamples) {
      std::fill(destination[c] + done, destination[c] + numSamples, 0);
    }
  }
}

void AudioFileReader::ReadSamples(AudioBuffer& buffer, unsigned int firstFrameInBuffer,
                                  unsigned int numFrames, unsigned long long firstSampleInFile) {
  unsigned int const channels = static_cast<unsigned int>(numChannels);
  if (channels == 0 || numFrames == 0) return;
  unsigned long const room =
      buffer.GetNumSamples() > firstFrameInBuffer ? buffer.GetNumSamples() - firstFrameInBuffer : 0;
  numFrames = static_cast<unsigned int>(std::min<unsigned long>(numFrames, room));
  unsigned int const bufferChannels = std::min(buffer.GetNumChannels(), channels);
  unsigned int const piece = std::max(1u, 65536u / channels);
  std::vector<int> scratch(static_cast<std::size_t>(piece) * channels);
  std::vector<int*> pointers(channels);
  for (unsigned int c = 0; c < channels; ++c) pointers[c] = scratch.data() + std::size_t(c) * piece;

  for (unsigned int done = 0; done < numFrames;) {
    unsigned int const n = std::min(piece, numFrames - done);
    readSamples(pointers.data(), firstSampleInFile + done, n);
    for (unsigned int c = 0; c < bufferChannels; ++c) {
      float* __restrict d = buffer.GetChannel(c) + firstFrameInBuffer + done;
      int const* __restrict s = pointers[c];
      if (usesFloatingPointData) {
        std::memcpy(d, s, n * sizeof(float));
      } else {
        for (unsigned int i = 0; i < n; ++i) d[i] = static_cast<float>(s[i]) * integerScale;
      }
    }
    done += n;
  }
}

}  // namespace nolardsp
