#include "ZorvHOADecodingMatrix.h"

namespace Zorv {

nolardsp::SphericalHarmonic::Sorting const HOADecodingMatrix::DefaultSorting =
    nolardsp::SphericalHarmonic::DefaultSorting;

std::map<std::string, HOADecodingMatrix::DecoderMethod> hoaDecoderMethodsMap;

char const* HOADecodingMatrix::GetDecoderMethodName(DecoderMethod const& method) {
  switch (method) {
    case Projection:
      return "projection";
    case EnergyPreserving:
      return "energypreserving";
    default:
      return "pseudoinverse";
  }
}

}  // namespace Zorv
