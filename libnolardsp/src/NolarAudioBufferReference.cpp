#include "NolarAudioBufferReference.h"

namespace nolardsp {

AudioBufferReference::AudioBufferReference() : AudioBuffer(0, 0, false) {}

AudioBufferReference::AudioBufferReference(float** source, unsigned int numChannels_,
                                           unsigned long numSamples_, unsigned long offset)
    : AudioBuffer(source, numChannels_, numSamples_, offset) {}

AudioBufferReference::~AudioBufferReference() = default;

}  // namespace nolardsp
