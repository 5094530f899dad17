#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "NolarSphericalHarmonic.h"
#include "ZorvHOADecodingMatrix.h"

namespace Zorv {

// The vocabulary of ambisonic decoders: the weightings of the orders and the
// record a decoder reports about itself. Nothing in this system decodes; a
// decoding panner would describe itself with these.
class HOADecoder {
 public:
  enum HOADecoderType : unsigned int {
    Basic = 0,
    InPhase = 1,
    MaxRe = 2,
    BasicMaxRe = 3,
    MaxReInPhase = 4,
  };

  // What a decoder reports, in this order.
  struct HOADecoderInfos {
    std::uint32_t order = 0;
    HOADecodingMatrix::DecoderMethod decoderMethod = HOADecodingMatrix::PseudoInverse;
    HOADecoderType decoderType = Basic;
    std::string subtype;
    nolardsp::SphericalHarmonic::Normalization normalization =
        nolardsp::SphericalHarmonic::SchmidtSeminormalized3D;
    float modeMatchingConditioning = 0.f;  // dB
    std::uint32_t numSingularValues = 0;
    std::uint32_t numSignificantSingularValues = 0;
    std::uint32_t spare[2] = {0, 0};  // read by nothing here
    nolardsp::SphericalHarmonic::Sorting sorting = HOADecodingMatrix::DefaultSorting;
  };

  // "basic", "inphase", "maxre", "basicmaxre", "maxreinphase"; "basic" for
  // any other value.
  static char const* GetHOADecoderTypeName(HOADecoderType const& type);

  // The lines of a decoder's report, label first: order, subtype, method,
  // type, convention, conditioning, sorting.
  static std::vector<std::string> GetDecoderInfosText(HOADecoderInfos const& infos,
                                                      char const* label);
};

// Names of the decoder types, for a decoder that looks them up. Process wide;
// empty, since nothing here decodes.
extern std::map<std::string, HOADecoder::HOADecoderType> hoaDecoderTypeMap;

}  // namespace Zorv
