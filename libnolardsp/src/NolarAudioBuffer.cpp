#include "NolarAudioBuffer.h"

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "NolarAudioFileReader.h"
#include "NolarAudioFileWriter.h"
#include "NolarException.h"
#include "NolarMatrix.h"
#include "NolarVectorOperations.h"

namespace nolardsp {

namespace {

unsigned int clampChannels(unsigned int n) {
  return n < MaxChannels ? n : MaxChannels;
}

// Samples available from offset in a run of size, 0 past the end.
unsigned long leftFrom(unsigned long size, unsigned long offset) {
  return offset < size ? size - offset : 0;
}

// d[i] (+)= g * s[i] with g running from `from` by (to - from) / n per
// sample: the first sample takes `from`, `to` itself is never applied.
template <bool add>
void rampInto(float* d, float const* s, unsigned long n, float from, float to) {
  float const increment = (to - from) / static_cast<float>(n);
  float gain = from;
  for (unsigned long i = 0; i < n; ++i) {
    if (add) {
      d[i] += gain * s[i];
    } else {
      d[i] = gain * s[i];
    }
    gain += increment;
  }
}

// How many samples a copy between two channels moves: what both have left.
unsigned long overlap(unsigned long sourceLeft, unsigned long destinationLeft) {
  return sourceLeft < destinationLeft ? sourceLeft : destinationLeft;
}

}  // namespace

AudioBuffer::AudioBuffer(unsigned int numChannels_, unsigned long numSamples_, bool allocate_)
    : numChannels(clampChannels(numChannels_)),
      numSamples(numSamples_),
      ownsData(allocate_),
      channels(),
      data(nullptr) {
  if (allocate_) allocate();
}

AudioBuffer::AudioBuffer(float** source, unsigned int numChannels_, unsigned long numSamples_,
                         unsigned long offset)
    : numChannels(0), numSamples(0), ownsData(false), channels(), data(nullptr) {
  ReferenceExternalData(source, numChannels_, numSamples_, offset);
}

AudioBuffer::~AudioBuffer() {
  if (ownsData) std::free(data);
}

void AudioBuffer::allocate() {
  // Never malloc(0): an empty buffer still gets a valid (unused) block.
  std::size_t const size = sizeof(float) * numChannels * numSamples;
  data = static_cast<float*>(std::malloc(size > 0 ? size : 1));
  for (unsigned int k = 0; k < numChannels; ++k) channels[k] = data + k * numSamples;
}

void AudioBuffer::ReferenceExternalData(float** source, unsigned int numChannels_,
                                        unsigned long numSamples_, unsigned long offset) {
  numChannels = clampChannels(numChannels_);
  numSamples = numSamples_;
  for (unsigned int k = 0; k < numChannels; ++k) channels[k] = source[k] + offset;
}

void AudioBuffer::Resize(unsigned int numChannels_, unsigned long numSamples_) {
  numChannels_ = clampChannels(numChannels_);
  if (ownsData && numChannels_ == numChannels && numSamples_ == numSamples) return;
  numChannels = numChannels_;
  numSamples = numSamples_;
  std::free(data);
  allocate();
}

void AudioBuffer::ApplyGain(float gain) {
  for (unsigned int k = 0; k < numChannels; ++k) ApplyGain(k, gain);
}

void AudioBuffer::ApplyGain(unsigned int channel, float gain) {
  if (gain == 1.f) return;
  if (gain == 0.f) {
    Zero(channels[channel], numSamples);
  } else {
    Mul(channels[channel], gain, numSamples);
  }
}

void AudioBuffer::ApplyRamp(float from, float to) {
  for (unsigned int k = 0; k < numChannels; ++k) ApplyRamp(k, from, to);
}

void AudioBuffer::ApplyRamp(unsigned int channel, float from, float to) {
  if (from == to) {
    ApplyGain(channel, from);
    return;
  }
  float const increment = (to - from) / static_cast<float>(numSamples);
  float gain = from;
  float* const d = channels[channel];
  for (unsigned long i = 0; i < numSamples; ++i) {
    d[i] *= gain;
    gain += increment;
  }
}

void AudioBuffer::Clear() {
  for (unsigned int k = 0; k < numChannels; ++k) {
    std::memset(channels[k], 0, numSamples * sizeof(float));
  }
}

void AudioBuffer::AddFrom(AudioBuffer const& source, float gain) {
  for (unsigned int k = 0; k < numChannels; ++k) AddFrom(k, 0, source, k, 0, gain);
}

void AudioBuffer::CopyFrom(AudioBuffer const& source, float gain) {
  for (unsigned int k = 0; k < numChannels; ++k) CopyFrom(k, 0, source, k, 0, gain);
}

void AudioBuffer::AddFrom(unsigned int channel, unsigned long offset, AudioBuffer const& source,
                          unsigned int sourceChannel, unsigned long sourceOffset, float gain) {
  unsigned long const n =
      overlap(leftFrom(source.numSamples, sourceOffset), leftFrom(numSamples, offset));
  if (n == 0) return;
  MulAdd(channels[channel] + offset, source.channels[sourceChannel] + sourceOffset, gain, n);
}

void AudioBuffer::CopyFrom(unsigned int channel, unsigned long offset, AudioBuffer const& source,
                           unsigned int sourceChannel, unsigned long sourceOffset, float gain) {
  unsigned long const n =
      overlap(leftFrom(source.numSamples, sourceOffset), leftFrom(numSamples, offset));
  if (n == 0) return;
  CopyFrom(channel, offset, source.channels[sourceChannel] + sourceOffset, n, gain);
}

void AudioBuffer::AddFromWithRamp(unsigned int channel, unsigned long offset,
                                  AudioBuffer const& source, unsigned int sourceChannel,
                                  unsigned long sourceOffset, float from, float to) {
  if (from == to) {
    AddFrom(channel, offset, source, sourceChannel, sourceOffset, from);
    return;
  }
  unsigned long const n =
      overlap(leftFrom(source.numSamples, sourceOffset), leftFrom(numSamples, offset));
  if (n == 0) return;
  rampInto<true>(channels[channel] + offset, source.channels[sourceChannel] + sourceOffset, n, from,
                 to);
}

void AudioBuffer::CopyFromWithRamp(unsigned int channel, unsigned long offset,
                                   AudioBuffer const& source, unsigned int sourceChannel,
                                   unsigned long sourceOffset, float from, float to) {
  if (from == to) {
    CopyFrom(channel, offset, source, sourceChannel, sourceOffset, from);
    return;
  }
  unsigned long const n =
      overlap(leftFrom(source.numSamples, sourceOffset), leftFrom(numSamples, offset));
  if (n == 0) return;
  rampInto<false>(channels[channel] + offset, source.channels[sourceChannel] + sourceOffset, n,
                  from, to);
}

void AudioBuffer::CopyFrom(unsigned int channel, unsigned long offset, float const* source,
                           unsigned long n, float gain) {
  if (gain == 1.f) {
    Copy(channels[channel] + offset, source, n);
  } else {
    Mul(channels[channel] + offset, source, gain, n);
  }
}

void AudioBuffer::AddFrom(unsigned int channel, unsigned long offset, float const* source,
                          unsigned long n, float gain) {
  if (gain == 1.f) {
    Add(channels[channel] + offset, source, n);
  } else {
    MulAdd(channels[channel] + offset, source, gain, n);
  }
}

void AudioBuffer::Permute(unsigned int* order) {
  float* old[MaxChannels];
  std::memcpy(old, channels, sizeof(float*) * numChannels);
  for (unsigned int k = 0; k < numChannels; ++k) channels[k] = old[order[k]];
}

void AudioBuffer::MergeFrom(AudioBuffer const& source, float gain) {
  if (numChannels == 0) return;
  for (unsigned int i = 0; i < source.numChannels; ++i) {
    if (i / numChannels == 0) {
      CopyFrom(i % numChannels, 0, source, i, 0, gain);
    } else {
      AddFrom(i % numChannels, 0, source, i, 0, gain);
    }
  }
}

void AudioBuffer::Fill(float value) {
  for (unsigned int k = 0; k < numChannels; ++k) FillChannel(k, value);
}

void AudioBuffer::FillChannel(unsigned int channel, float value) {
  nolardsp::Fill(channels[channel], value, numSamples);
}

void AudioBuffer::FillChannelWithNoise(unsigned int channel, float amplitude) {
  double const high = std::fabs(static_cast<double>(amplitude));
  double const low = -high;
  double const width = high - low;
  float* const d = channels[channel];
  for (unsigned long i = 0; i < numSamples; ++i) {
    d[i] = static_cast<float>(std::rand() * 4.656612873077393e-10 * width + low);
  }
}

void AudioBuffer::FillWithNoise(float amplitude) {
  for (unsigned int k = 0; k < numChannels; ++k) FillChannelWithNoise(k, amplitude);
}

void AudioBuffer::Impulse(unsigned int channel) {
  FillChannel(channel, 0.f);
  if (numSamples > 0) channels[channel][0] = 1.f;
}

void AudioBuffer::Impulse() {
  for (unsigned int k = 0; k < numChannels; ++k) Impulse(k);
}

void AudioBuffer::CopyTo(Matrix<float>& matrix) const {
  matrix.Resize(numChannels, static_cast<unsigned int>(numSamples));
  for (unsigned int k = 0; k < numChannels; ++k) Copy(matrix[k], channels[k], numSamples);
}

void AudioBuffer::CopyFrom(Matrix<float> const& matrix) {
  unsigned int const rows = matrix.GetNumRows() < numChannels ? matrix.GetNumRows() : numChannels;
  unsigned long const columns =
      matrix.GetNumColumns() < numSamples ? matrix.GetNumColumns() : numSamples;
  for (unsigned int k = 0; k < rows; ++k) Copy(channels[k], matrix[k], columns);
}

int AudioBuffer::SaveAsMatFile(char const*) {
  return 0;
}

void AudioBuffer::SaveAsAudioFile(char const* path, double samplerate, int bitsPerSample,
                                  bool floatingPoint) {
  std::unique_ptr<AudioFileWriter> writer;
  try {
    writer.reset(AudioFileWriter::CreateWriterFor(path, samplerate, numChannels, bitsPerSample,
                                                  floatingPoint));
  } catch (Exception const& e) {
    throw Exception(e);
  }
  if (!writer) return;
  bool const written = writer->WriteSamples(*this, 0, numSamples);
  if (!writer->Close() || !written) NOLAR_THROW("Couldnt write file : " + std::string(path));
}

void AudioBuffer::LoadFromAudioFile(char const* path) {
  std::unique_ptr<AudioFileReader> reader(AudioFileReader::CreateReaderFor(path));
  unsigned int const channels =
      reader && reader->IsUsable() ? static_cast<unsigned int>(reader->GetNumChannels()) : 0;
  // Frames are counted in unsigned int by the reading interface.
  unsigned long const length = channels > 0 && reader->GetLengthInSamples() <= 0xFFFFFFFFu
                                   ? reader->GetLengthInSamples()
                                   : 0;
  Resize(channels, length);
  if (channels > 0 && length > 0)
    reader->ReadSamples(*this, 0, static_cast<unsigned int>(length), 0);
}

void AudioBuffer::Print(std::ostream& stream, unsigned int precision) const {
  Matrix<float> matrix;
  CopyTo(matrix);
  matrix.Print(stream, precision, "");
}

void AudioBuffer::PrintMatlabLike(std::ostream& stream, unsigned int precision) const {
  Matrix<float> matrix;
  CopyTo(matrix);
  matrix.PrintMatlabLike(stream, precision, "");
}

void AudioBuffer::PrintLatexLike(std::ostream& stream, unsigned int precision) const {
  Matrix<float> matrix;
  CopyTo(matrix);
  matrix.PrintLatexLike(stream, precision, "");
}

}  // namespace nolardsp
