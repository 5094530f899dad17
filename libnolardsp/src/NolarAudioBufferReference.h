#pragma once

#include "NolarAudioBuffer.h"

namespace nolardsp {

// A non-owning view onto channels that live elsewhere, typically the host's
// float** of one block: made empty and pointed with ReferenceExternalData(),
// at no cost, on any thread.
class AudioBufferReference : public AudioBuffer {
 public:
  AudioBufferReference();
  AudioBufferReference(float** source, unsigned int numChannels, unsigned long numSamples,
                       unsigned long offset = 0);
  ~AudioBufferReference() override;
};

}  // namespace nolardsp
