#include "NolarAudioFileWriter.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

#include "NolarAiffFileWriter.h"
#include "NolarAudioBuffer.h"
#include "NolarCharFunctions.h"
#include "NolarConstants.h"
#include "NolarException.h"
#include "NolarFile.h"
#include "NolarWavFileWriter.h"

namespace nolardsp {

namespace {
constexpr std::uint64_t maxDataBytes = 0xFFF00000u;

// Full scale is 2^31 and not 2^31 - 1, so that every value on the grid of a
// file's depth (k / 2^15 for 16 bits, k / 2^23 for 24) comes back exactly;
// 1.0 and above still give the largest sample.
std::int32_t toInteger(float sample) {
  double const x = sample;
  if (x != x) return 0;
  if (x <= -1.0) return INT32_MIN;
  if (x >= 1.0) return INT32_MAX;
  long const v = std::lrint(x * 2147483648.0);
  return v > INT32_MAX ? INT32_MAX : static_cast<std::int32_t>(v);
}
}  // namespace

AudioFileWriter::AudioFileWriter(char const* path, double samplerate_, unsigned int numChannels_,
                                 int bitsPerSample_)
    : writer(new FileWriter(path)) {
  samplerate = samplerate_;
  numChannels = static_cast<std::int32_t>(numChannels_);
  bitsPerSample = bitsPerSample_;
}

AudioFileWriter::~AudioFileWriter() = default;

void AudioFileWriter::checkCreation(char const* path, double rate, unsigned int channels, int bits,
                                    bool overwrite, int const* validDepths, int numValidDepths) {
  std::string const name = path == nullptr ? std::string() : path;
  if (File::ExistsAsFile(path)) {
    if (!overwrite) NOLAR_THROW("File already exists : " + name);
    if (!File::Delete(path)) NOLAR_THROW("Couldnt delete file : " + name);
  }
  if (std::find(validDepths, validDepths + numValidDepths, bits) == validDepths + numValidDepths) {
    NOLAR_THROW("Invalid bits depth : " + CharFunctions::Int2String(bits));
  }
  if (!(rate >= 1.0 && rate < 1073741824.0)) {
    NOLAR_THROW("Invalid samplerate : " + CharFunctions::Float2String(rate, "%.2f"));
  }
  if (channels == 0 || channels > MaxChannels) {
    NOLAR_THROW("Invalid number of channels : " + CharFunctions::Int2String(channels));
  }
}

void AudioFileWriter::checkOpened(char const* path) {
  if (!writer->IsOpen()) NOLAR_THROW("Couldnt open file : " + std::string(path));
}

AudioFileWriter* AudioFileWriter::CreateWriterFor(char const* path, double samplerate,
                                                  unsigned int numChannels, int bitsPerSample,
                                                  bool overwrite) {
  if (CharFunctions::IsEmpty(path)) return nullptr;
  try {
    if (HasAiffExtension(path)) {
      return AiffFileWriter::CreateWriterFor(path, samplerate, numChannels, bitsPerSample,
                                             overwrite);
    }
    if (HasWavExtension(path)) {
      return WavFileWriter::CreateWriterFor(path, samplerate, numChannels, bitsPerSample,
                                            overwrite);
    }
  } catch (Exception const& e) {
    throw Exception(e);
  }
  return nullptr;
}

bool AudioFileWriter::WriteSamples(AudioBuffer const& buffer, unsigned long firstFrame,
                                   unsigned long numFrames) {
  unsigned int const channels = static_cast<unsigned int>(numChannels);
  if (!writer->IsOpen() || writer->HasFailed()) return false;
  if (bytesWritten + static_cast<std::uint64_t>(numFrames) * bytesPerFrame() > maxDataBytes) {
    return false;
  }
  unsigned long const available =
      buffer.GetNumSamples() > firstFrame ? buffer.GetNumSamples() - firstFrame : 0;
  unsigned int const piece = std::max(1u, 65536u / channels);
  std::vector<int> scratch(static_cast<std::size_t>(piece) * channels);
  std::vector<int const*> pointers(channels);
  for (unsigned int c = 0; c < channels; ++c) pointers[c] = scratch.data() + std::size_t(c) * piece;

  bool ok = true;
  for (unsigned long done = 0; ok && done < numFrames;) {
    unsigned int const n =
        static_cast<unsigned int>(std::min<unsigned long>(piece, numFrames - done));
    for (unsigned int c = 0; c < channels; ++c) {
      int* d = scratch.data() + std::size_t(c) * piece;
      unsigned long const from = firstFrame + done;
      // Channels or frames the buffer does not have are written as silence.
      unsigned int const have =
          c < buffer.GetNumChannels() && from < firstFrame + available
              ? static_cast<unsigned int>(std::min<unsigned long>(n, firstFrame + available - from))
              : 0;
      float const* s = have > 0 ? buffer.GetChannel(c) + from : nullptr;
      if (usesFloatingPointData) {
        if (have > 0) std::memcpy(d, s, have * sizeof(float));
      } else {
        for (unsigned int i = 0; i < have; ++i) d[i] = toInteger(s[i]);
      }
      std::fill(d + have, d + n, 0);
    }
    ok = writeSamples(pointers.data(), n);
    done += n;
  }
  return writeHeader() && ok && !writer->HasFailed();
}

bool AudioFileWriter::Close() {
  return writer->Close();
}

}  // namespace nolardsp
