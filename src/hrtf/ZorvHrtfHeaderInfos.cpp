#include "ZorvHrtfHeaderInfos.h"

#include <iostream>
#include <map>
#include <mutex>

namespace Zorv {

namespace {

// Both maps are filled once, on first use, from the thread that loads a file.
std::map<std::string, HrtfType>& hrtfTypeMap() {
  static std::map<std::string, HrtfType> map;
  static std::once_flag once;
  std::call_once(once, [] {
    if (!map.empty()) return;
    map["Binaural"] = Binaural;
    map["NearfieldCompensationFilter"] = NearfieldCompensationFilter;
    map["BinauralToTransauralShufflerSymmetric"] = BinauralToTransauralShufflerSymmetric;
    map["BinauralToTransauralShufflerAsymmetric"] = BinauralToTransauralShufflerAsymmetric;
    map["BinauralToTransauralRecursiveSymmetric"] = BinauralToTransauralRecursiveSymmetric;
    map["BinauralToTransauralRecursiveAsymmetric"] = BinauralToTransauralRecursiveAsymmetric;
    map["BinauralToTransauralFeedForwardSymmetric"] = BinauralToTransauralFeedForwardSymmetric;
    map["BinauralToTransauralFeedForwardAsymmetric"] = BinauralToTransauralFeedForwardAsymmetric;
    map["BinauralToTransauralLeastSquares"] = BinauralToTransauralLeastSquares;
  });
  return map;
}

std::map<std::string, HrtfFilterType>& hrtfFilterTypeMap() {
  static std::map<std::string, HrtfFilterType> map;
  static std::once_flag once;
  std::call_once(once, [] {
    if (!map.empty()) return;
    map["BiquadCells"] = BiquadCells;
    map["Biquads"] = BiquadCells;
    map["Biquad"] = BiquadCells;
    map["BIQUAD"] = BiquadCells;
    map["FIR"] = FIR;
    map["FFT"] = FFT;
    map["MultiChannel"] = MultiChannel;
    map["ARMA"] = ARMA;
    map["SH_COEFF"] = SH_COEFF;
  });
  return map;
}

}  // namespace

HrtfType GetHrtfType(std::string const& text) {
  auto const& map = hrtfTypeMap();
  auto const it = map.find(text);
  if (it != map.end()) return it->second;
  std::cerr << "unknown hrtf type " << text << " (" << __FILE__ << " " << __LINE__ << " "
            << "GetHrtfType"
            << ")" << std::endl;
  return Binaural;
}

HrtfFilterType GetHrtfFilterType(std::string const& text) {
  auto const& map = hrtfFilterTypeMap();
  auto const it = map.find(text);
  if (it != map.end()) return it->second;
  std::cerr << "unknown hrtf filter type " << text << " (" << __FILE__ << " " << __LINE__ << " "
            << "GetHrtfFilterType"
            << ")" << std::endl;
  return BiquadCells;
}

std::string GetHrtfTypeName(HrtfType type) {
  static char const* const names[] = {"Binaural",
                                      "NearfieldCompensationFilter",
                                      "BinauralToTransauralShufflerSymmetric",
                                      "BinauralToTransauralShufflerAsymmetric",
                                      "BinauralToTransauralRecursiveSymmetric",
                                      "BinauralToTransauralRecursiveAsymmetric",
                                      "BinauralToTransauralFeedForwardSymmetric",
                                      "BinauralToTransauralFeedForwardAsymmetric",
                                      "BinauralToTransauralLeastSquares"};
  return type <= BinauralToTransauralLeastSquares ? names[type] : std::string();
}

std::string GetHrtfFilterTypeName(HrtfFilterType type) {
  static char const* const names[] = {"BiquadCells",  "FIR",  "FFT",
                                      "MultiChannel", "ARMA", "SH_COEFF"};
  return type <= SH_COEFF ? names[type] : std::string();
}

}  // namespace Zorv
