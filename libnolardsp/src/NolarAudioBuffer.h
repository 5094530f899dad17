#pragma once

#include <iosfwd>

#include "NolarConstants.h"

namespace nolardsp {

template <typename T>
class Matrix;

// A multichannel store of non-interleaved float samples: one contiguous run
// per channel, reached through a table of channel pointers. Either it owns one
// block of numChannels * numSamples floats (channel k at k * numSamples), or it
// is a view onto someone else's channels.
//
// Ownership: ownsData is fixed at construction. A buffer made with allocate
// true frees its block in the destructor. A view (ownsData false) that is
// Resize()d takes a block of its own but stays a view: the block is released
// only by its next Resize(), never by the destructor. Views are meant to stay
// views; size memory in an owning buffer.
//
// At most MaxChannels (1024) channels: larger counts are cut to that.
//
// Threads: constructors and Resize allocate and belong to set-up. Every other
// operation is a plain loop over the samples, allocates nothing and may run on
// the audio thread. Nothing is checked: channel indices and ranges are the
// caller's to get right, except where an operation says it clamps.
class AudioBuffer {
 public:
  // allocate false leaves every channel pointer null until
  // ReferenceExternalData() or Resize(). An allocated buffer is not cleared.
  AudioBuffer(unsigned int numChannels, unsigned long numSamples, bool allocate);
  // A view: channel k is source[k] + offset.
  AudioBuffer(float** source, unsigned int numChannels, unsigned long numSamples,
              unsigned long offset);
  virtual ~AudioBuffer();

  AudioBuffer(AudioBuffer const&) = delete;
  AudioBuffer& operator=(AudioBuffer const&) = delete;

  // Points the channels at source[k] + offset; ownsData and data stay as they are.
  virtual void ReferenceExternalData(float** source, unsigned int numChannels,
                                     unsigned long numSamples, unsigned long offset);
  // New sizes; the old content is lost. Returns at once for an owning buffer
  // whose sizes do not change.
  virtual void Resize(unsigned int numChannels, unsigned long numSamples);

  // 1 leaves the samples alone, 0 zeros them, anything else scales.
  virtual void ApplyGain(float gain);
  virtual void ApplyGain(unsigned int channel, float gain);
  // Sample i is multiplied by from + i * (to - from) / numSamples (built by
  // repeated addition): the first sample takes from, the last takes to less
  // one increment, so abutting ramps do not apply the meeting gain twice.
  virtual void ApplyRamp(float from, float to);
  virtual void ApplyRamp(unsigned int channel, float from, float to);
  virtual void Clear();

  // Channel by channel at offset 0, for this buffer's channel count.
  virtual void AddFrom(AudioBuffer const& source, float gain);
  virtual void CopyFrom(AudioBuffer const& source, float gain);
  // These clamp: the count is the smaller of what is left of the source after
  // sourceOffset and what is left of this channel after offset (0 if either is
  // past the end). AddFrom always multiplies; CopyFrom copies when gain is 1.
  virtual void AddFrom(unsigned int channel, unsigned long offset, AudioBuffer const& source,
                       unsigned int sourceChannel, unsigned long sourceOffset, float gain);
  virtual void AddFromWithRamp(unsigned int channel, unsigned long offset,
                               AudioBuffer const& source, unsigned int sourceChannel,
                               unsigned long sourceOffset, float from, float to);
  virtual void CopyFromWithRamp(unsigned int channel, unsigned long offset,
                                AudioBuffer const& source, unsigned int sourceChannel,
                                unsigned long sourceOffset, float from, float to);
  virtual void CopyFrom(unsigned int channel, unsigned long offset, AudioBuffer const& source,
                        unsigned int sourceChannel, unsigned long sourceOffset, float gain);
  // These do not clamp: the caller guarantees the range. Gain 1 is unscaled.
  virtual void CopyFrom(unsigned int channel, unsigned long offset, float const* source,
                        unsigned long numSamples, float gain);
  virtual void AddFrom(unsigned int channel, unsigned long offset, float const* source,
                       unsigned long numSamples, float gain);

  // channels[i] := old channels[order[i]] for every channel; no sample moves.
  virtual void Permute(unsigned int* order);
  // Folds many channels into few: source channel i goes to channel
  // i mod numChannels, the first numChannels copied, the rest added, all with
  // gain. Into a buffer of no channels it does nothing.
  virtual void MergeFrom(AudioBuffer const& source, float gain);

  virtual void Fill(float value);
  virtual void FillChannel(unsigned int channel, float value);
  // Uniform white noise in [-|amplitude|, |amplitude|] from the C library's
  // rand(), which is not seeded here.
  virtual void FillChannelWithNoise(unsigned int channel, float amplitude);
  virtual void FillWithNoise(float amplitude);
  // Zeros with a 1 at sample 0.
  virtual void Impulse(unsigned int channel);
  virtual void Impulse();

  // The matrix becomes numChannels rows by numSamples columns, row k holding
  // channel k. Allocates: not for the audio thread.
  virtual void CopyTo(Matrix<float>& matrix) const;
  // Row k of the matrix into channel k, for the channels and samples both
  // have; the buffer keeps its size.
  virtual void CopyFrom(Matrix<float> const& matrix);
  // Writes nothing; always 0.
  virtual int SaveAsMatFile(char const* path);
  // Every channel and sample into a WAV or AIFF file chosen by the extension
  // (32 bits: float WAV). The last argument is handed to the writer as its
  // permission to replace an existing file. Raises Exception when the file
  // cannot be made or written; does nothing for a path of another extension.
  virtual void SaveAsAudioFile(char const* path, double samplerate, int bitsPerSample,
                               bool floatingPoint);
  // The buffer becomes the file's channels and length, and holds its samples.
  // A file that cannot be read or used leaves the buffer empty (no channels,
  // no samples); this never raises for a bad file.
  virtual void LoadFromAudioFile(char const* path);
  // The buffer as a matrix (channels as rows) in the matrix's text forms,
  // with an empty title. Allocate: for set-up and debugging.
  virtual void Print(std::ostream& stream, unsigned int precision) const;
  virtual void PrintMatlabLike(std::ostream& stream, unsigned int precision) const;
  virtual void PrintLatexLike(std::ostream& stream, unsigned int precision) const;

  unsigned int GetNumChannels() const { return numChannels; }
  unsigned long GetNumSamples() const { return numSamples; }
  bool OwnsData() const { return ownsData; }
  float* GetChannel(unsigned int channel) const { return channels[channel]; }
  // The channel-pointer table, in the shape Process takes.
  float** GetChannels() { return channels; }

 protected:
  void allocate();

  unsigned int numChannels;
  unsigned long numSamples;
  bool ownsData;
  float* channels[MaxChannels];
  float* data;
};

}  // namespace nolardsp
