#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "NolarSphericalHarmonic.h"
#include "ZorvAmplitudePanning.h"

namespace Zorv {

// The higher-order ambisonic encoders: each source's gain row is its encoding
// vector, (order + 1)^2 components in 3-D or 2 order + 1 in 2-D, in the
// normalisation and sorting set here. The speaker layout means nothing to
// them; the order is fixed at construction by the number of outputs.
//
// Threads: the setters run on a message thread and re-render every source
// there (forceUpdate), like any other change of how a position is rendered.
class HOAPanning : public AmplitudePanning {
 public:
  // What the "info" report of the object shows.
  struct HOAPannerInfos {
    std::uint32_t order = 0;
    nolardsp::SphericalHarmonic::Normalization normalization =
        nolardsp::SphericalHarmonic::SchmidtSeminormalized3D;
    nolardsp::SphericalHarmonic::Sorting sorting = nolardsp::SphericalHarmonic::DefaultSorting;
  };

  HOAPanning(unsigned int numInputs, unsigned int numOutputs, unsigned int order);
  ~HOAPanning() override;

  // Keeps the value if it suits the dimension, else the dimension's default,
  // then re-renders every source.
  virtual void SetEncodingNormalization(nolardsp::SphericalHarmonic::Normalization const& n) = 0;
  // By name; an unknown name reads as "Unnormalized", which no encoder keeps.
  // The host compares names with the accepted list before it calls.
  virtual void SetEncodingNormalization(char const* name);

  nolardsp::SphericalHarmonic::Normalization GetEncodingNormalization() const {
    return normalization;
  }
  nolardsp::SphericalHarmonic::Sorting GetSorting() const { return sorting; }
  // An unknown name reads as "IncreasingDegrees". Re-renders every source.
  void SetSorting(char const* name);
  void GetPannerInfos(HOAPannerInfos& infos) const;
  unsigned int GetOrder() const { return order; }

  // The lines of the report, label first ("HOA" or "NFC-HOA"): order,
  // encoding convention, sorting convention.
  static std::vector<std::string> GetPannerInfosText(HOAPannerInfos const& infos,
                                                     char const* label);

 protected:
  // Writes zeros for a position that is not finite: no direction, no sound.
  static bool zeroIfNotFinite(nolardsp::CartesianVector const& position, float* gains,
                              unsigned int count);

  std::uint32_t order;
  nolardsp::SphericalHarmonic::Normalization normalization;
  nolardsp::SphericalHarmonic::Sorting sorting;
  // Scratch of convert; keeps its capacity, so convert allocates nothing after
  // its first call (below the double-precision orders).
  std::vector<float> encodingVector;
};

}  // namespace Zorv
