#pragma once

#include <map>
#include <string>

#include "NolarSphericalHarmonic.h"

namespace Zorv {

// The vocabulary of ambisonic decoding matrices. This system computes no
// decoder: the names exist so that a decoding panner, and the reports about
// it, speak the same language as the encoders.
class HOADecodingMatrix {
 public:
  enum DecoderMethod : unsigned int {
    Projection = 0,
    PseudoInverse = 1,
    EnergyPreserving = 2,
  };

  static nolardsp::SphericalHarmonic::Sorting const DefaultSorting;

  // "projection", "pseudoinverse", "energypreserving"; "pseudoinverse" for
  // any other value.
  static char const* GetDecoderMethodName(DecoderMethod const& method);
};

// Names of the decoding methods, for a decoder that looks them up. Process
// wide; empty, since nothing here decodes.
extern std::map<std::string, HOADecodingMatrix::DecoderMethod> hoaDecoderMethodsMap;

}  // namespace Zorv
