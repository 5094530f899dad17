#pragma once

#include <memory>
#include <vector>

#include "NolarSphericalHarmonic.h"
#include "ZorvHOAPanning.h"
#include "ZorvNFCHOAPanningOneSource.h"
#include "ZorvPan.h"

namespace Zorv {

// Near-field compensated ambisonic encoding: each source encoded as by the
// plain encoder of the dimension, each degree filtered for the source's
// distance as heard over speakers at the speaker radius (1 m at the start).
// Every source has a chain of its own (NFCHOAPanningOneSource); the outputs
// are their sum. The speakers' directions play no part.
//
// Threads: as Pan. The setters run on the message thread; Process and
// ProcessAdding allocate nothing.
class NFCHOAPanning : public Pan {
 public:
  NFCHOAPanning(unsigned int numInputs, unsigned int numOutputs, unsigned int order,
                unsigned int dimension);
  ~NFCHOAPanning() override;

  void Process(float** outputs, float** inputs, unsigned long numSamples,
               short const* activeInputs) override;
  void SetSamplerate(float samplerate) override;
  void SetMaxBlockSize(unsigned int maxBlockSize) override;
  void Clear() override;
  void ProcessAdding(float** outputs, float** inputs, unsigned long numSamples,
                     short const* activeInputs) override;
  // The flag is not used: filters cross-fade and gains ramp.
  void SetSourcePosition(unsigned int source, nolardsp::CartesianVector const& position,
                         bool immediately) override;
  void SetSourcePositions(nolardsp::CartesianVector const* positions) override;
  // Nothing: directions of speakers play no part in encoding.
  void SetLoudspeakerPositions(nolardsp::CartesianVector const* positions) override;
  void SetNumInputs(unsigned int numInputs) override;
  void SetNumOutputs(unsigned int numOutputs) override;
  void SetInterpolationTime(float milliseconds) override;

  // "speakersradius"; raised to ZorvDefaultParameters::MinRadius, a value not
  // a finite number is ignored.
  void SetSpeakerRadius(float metres);
  // "nfchighpass".
  void UseHighPassFilters(bool use);
  void SetEncodingNormalization(char const* name);
  void SetSorting(char const* name);
  nolardsp::SphericalHarmonic::Normalization GetEncodingNormalization() const;
  nolardsp::SphericalHarmonic::Sorting GetSorting() const;
  void GetPannerInfos(HOAPanning::HOAPannerInfos& infos) const;

  unsigned int GetOrder() const { return order; }
  unsigned int GetDimension() const { return dimension; }
  NFCHOAPanningOneSource& GetSource(unsigned int index) const { return *sources[index]; }

 private:
  unsigned int order;
  unsigned int dimension;
  std::vector<std::unique_ptr<NFCHOAPanningOneSource>> sources;
  // An encoder of one input that takes every convention the sources take and
  // answers the queries, whatever the number of sources.
  std::unique_ptr<Pan> conventionsOwner;
  HOAPanning* conventions;
};

}  // namespace Zorv
