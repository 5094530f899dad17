#include "ZorvSubwoofersPanning.h"

#include <algorithm>

#include "NolarVectorOperations.h"
#include "ZorvNullPanning.h"
#include "ZorvVbap2DPanning.h"

namespace Zorv {

float const SubwoofersPanning::DefaultCutOffFrequency = 125.f;
float const SubwoofersPanning::MinCutOffFrequency = 10.f;
float const SubwoofersPanning::MaxCutOffFrequency = 20000.f;
float const SubwoofersPanning::DefaultQ = 0.7f;

Pan* SubwoofersPanning::Create(unsigned int numInputs, unsigned int numOutputs) {
  if (numOutputs == 0) return new NullPanning();
  return new SubwoofersPanning(numInputs, numOutputs);
}

SubwoofersPanning::SubwoofersPanning(unsigned int numInputs_, unsigned int numOutputs_)
    : equalizer(nullptr),
      panner(nullptr),
      buffer(numInputs_ > 0 ? numInputs_ : 1, 512, true),
      inputPieces(numInputs_, nullptr),
      outputPieces(numOutputs_, nullptr) {
  numInputs = numInputs_;
  numOutputs = numOutputs_;
  maxBlockSize = 512;
  sourcePositions.resize(numInputs, nolardsp::CartesianVector(0.f, 1.f, 0.f));
  buffer.Clear();
  equalizer = new Equalizer(numOutputs == 1 ? 1 : numInputs, 1);
  // The design is taken at once: a new object must not fade in from a wire.
  for (unsigned int k = 0; k < equalizer->GetNumChannels(); ++k) {
    equalizer->SetFilterType(k, 0, SecondOrderFilters::LowPass, true);
    equalizer->SetQ(k, 0, DefaultQ, true);
    equalizer->SetdBGain(k, 0, 0.f, true);
  }
  panner = numOutputs == 1 ? new NullPanning() : Vbap2DPanning::Create(numInputs, numOutputs);
  for (unsigned int k = 0; k < equalizer->GetNumChannels(); ++k) {
    equalizer->SetFreq(k, 0, DefaultCutOffFrequency, true);
  }
}

SubwoofersPanning::~SubwoofersPanning() {
  delete panner;
  delete equalizer;
}

void SubwoofersPanning::Process(float** outputs, float** inputs, unsigned long numSamples,
                                short const* activeInputs) {
  unsigned long const piece = buffer.GetNumSamples();
  if (numSamples <= piece) {
    processPiece(outputs, inputs, numSamples, activeInputs, false);
    return;
  }
  for (unsigned long done = 0; done < numSamples; done += piece) {
    for (unsigned int i = 0; i < numInputs; ++i) {
      inputPieces[i] = inputs[i] != nullptr ? inputs[i] + done : nullptr;
    }
    for (unsigned int j = 0; j < numOutputs; ++j) outputPieces[j] = outputs[j] + done;
    processPiece(outputPieces.data(), inputPieces.data(), std::min(piece, numSamples - done),
                 activeInputs, false);
  }
}

void SubwoofersPanning::ProcessAdding(float** outputs, float** inputs, unsigned long numSamples,
                                      short const* activeInputs) {
  unsigned long const piece = buffer.GetNumSamples();
  if (numSamples <= piece) {
    processPiece(outputs, inputs, numSamples, activeInputs, true);
    return;
  }
  for (unsigned long done = 0; done < numSamples; done += piece) {
    for (unsigned int i = 0; i < numInputs; ++i) {
      inputPieces[i] = inputs[i] != nullptr ? inputs[i] + done : nullptr;
    }
    for (unsigned int j = 0; j < numOutputs; ++j) outputPieces[j] = outputs[j] + done;
    processPiece(outputPieces.data(), inputPieces.data(), std::min(piece, numSamples - done),
                 activeInputs, true);
  }
}

void SubwoofersPanning::processPiece(float** outputs, float** inputs, unsigned long n,
                                     short const* activeInputs, bool adding) {
  if (numOutputs == 1) {
    // One filter for the sum. It runs whatever the flags say, so that no
    // input's flag can silence the others and the tail of the filter rings
    // out after the last input stops.
    float* sum = buffer.GetChannel(0);
    std::fill(sum, sum + n, 0.f);
    for (unsigned int i = 0; i < numInputs; ++i) {
      if (activeInputs[i] != 0 && inputs[i] != nullptr) nolardsp::Add(sum, inputs[i], n);
    }
    equalizer->GetChannel(0).Process(outputs[0], sum, n, adding);
    return;
  }
  float** filtered = buffer.GetChannels();
  equalizer->Process(filtered, inputs, n, activeInputs);
  if (adding) {
    panner->ProcessAdding(outputs, filtered, n, activeInputs);
  } else {
    panner->Process(outputs, filtered, n, activeInputs);
  }
}

void SubwoofersPanning::SetCutOffFrequency(float hertz) {
  for (unsigned int k = 0; k < equalizer->GetNumChannels(); ++k) equalizer->SetFreq(k, 0, hertz);
}

void SubwoofersPanning::SetSourcePosition(unsigned int index,
                                          nolardsp::CartesianVector const& position,
                                          bool immediately) {
  if (index >= numInputs) return;
  sourcePositions[index] = position;
  panner->SetSourcePosition(index, position, immediately);
}

void SubwoofersPanning::SetSourcePositions(nolardsp::CartesianVector const* positions) {
  if (positions == nullptr) return;
  std::copy(positions, positions + numInputs, sourcePositions.begin());
  panner->SetSourcePositions(positions);
}

void SubwoofersPanning::SetLoudspeakerPositions(nolardsp::CartesianVector const* positions) {
  panner->SetLoudspeakerPositions(positions);
}

void SubwoofersPanning::SetInterpolationTime(float milliseconds) {
  panner->SetInterpolationTime(milliseconds);
}

// Counts above those the object was made for are held to them: its memory is
// sized at construction.
void SubwoofersPanning::SetNumInputs(unsigned int numInputs_) {
  numInputs = std::min(numInputs_, static_cast<unsigned int>(inputPieces.size()));
}

void SubwoofersPanning::SetNumOutputs(unsigned int numOutputs_) {
  numOutputs = std::min(numOutputs_, static_cast<unsigned int>(outputPieces.size()));
}

void SubwoofersPanning::SetSamplerate(float samplerate_) {
  if (!(samplerate_ > 0.f)) return;
  samplerate = samplerate_;
  equalizer->SetSamplerate(samplerate_);
  panner->SetSamplerate(samplerate_);
}

void SubwoofersPanning::SetMaxBlockSize(unsigned int maxBlockSize_) {
  if (maxBlockSize_ < 1) maxBlockSize_ = 1;
  maxBlockSize = maxBlockSize_;
  buffer.Resize(numInputs > 0 ? numInputs : 1, maxBlockSize_);
  buffer.Clear();
  equalizer->SetMaxBlockSize(maxBlockSize_);
  panner->SetMaxBlockSize(maxBlockSize_);
}

void SubwoofersPanning::Clear() {
  equalizer->Clear();
  panner->Clear();
}

}  // namespace Zorv
