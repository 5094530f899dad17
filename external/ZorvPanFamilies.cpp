#include "ZorvPanFamilies.h"

#include "NolarSphericalHarmonic.h"
#include "ZorvBinauralPanning.h"
#include "ZorvBinauralPanningDirect.h"
#include "ZorvBinauralPanningNearfield.h"
#include "ZorvBinauralPanningSnowmanModel.h"
#include "ZorvBinauralPanningSphericalHarmonics.h"
#include "ZorvDbapPanning.h"
#include "ZorvHOAPanning.h"
#include "ZorvHrtfHeaderInfos.h"
#include "ZorvNFCHOAPanning.h"
#include "ZorvRecursivePanning.h"
#include "ZorvSubwoofersPanning.h"
#include "ZorvVDbapPanning.h"
#include "ZorvVbap2DPanning.h"
#include "ZorvVbapPanning.h"

// The one place where the host object meets the panners' own classes: each
// family's check is a dynamic_cast, each of its operations a call through that
// cast, so that a setter reached on a panner of another class does nothing.
namespace zorv_pan_families {

bool IsDbap(Zorv::Pan* panner) {
  return dynamic_cast<Zorv::DbapPanning*>(panner) != nullptr;
}

bool IsVbap(Zorv::Pan* panner) {
  return dynamic_cast<Zorv::VbapPanning*>(panner) != nullptr;
}

bool HasNoSpeakerTriplet(Zorv::Pan* panner) {
  if (auto* p = dynamic_cast<Zorv::VDbapPanning*>(panner)) return p->InnerLayoutHasNoTriplet();
  auto* p = dynamic_cast<Zorv::VectorBasedPanning*>(panner);
  return p != nullptr && p->GetTriplets().empty();
}

bool IsVbap2D(Zorv::Pan* panner) {
  return dynamic_cast<Zorv::Vbap2DPanning*>(panner) != nullptr;
}

void SetDbapSpreadMode(Zorv::Pan* panner, char const* name) {
  if (auto* p = dynamic_cast<Zorv::DbapPanning*>(panner)) p->SetSpreadMode(name);
}

char const* GetDbapSpreadModeName(Zorv::Pan* panner) {
  auto* p = dynamic_cast<Zorv::DbapPanning*>(panner);
  return Zorv::Pan::GetSpreadModeName(p != nullptr ? p->GetCurrentSpreadMode()
                                                   : Zorv::Pan::DefaultSpreadingMode);
}

void MuteSourceOutsideSpeakersHull(Zorv::Pan* panner, bool mute) {
  if (auto* p = dynamic_cast<Zorv::DbapPanning*>(panner)) p->MuteSourceOutsideSpeakersHull(mute);
}

bool IsRecursive(Zorv::Pan* panner) {
  return dynamic_cast<Zorv::RecursivePanning*>(panner) != nullptr;
}
void SetCorners(Zorv::Pan* panner, float const corners[4]) {
  if (auto* p = dynamic_cast<Zorv::RecursivePanning*>(panner)) p->SetCorners(corners);
}

bool IsSubwoofers(Zorv::Pan* panner) {
  return dynamic_cast<Zorv::SubwoofersPanning*>(panner) != nullptr;
}
void SetCutOffFrequency(Zorv::Pan* panner, float hertz) {
  if (auto* p = dynamic_cast<Zorv::SubwoofersPanning*>(panner)) p->SetCutOffFrequency(hertz);
}

// HOAPanning and NFCHOAPanning: the same conventions, on either class.
bool IsHoa(Zorv::Pan* panner) {
  return dynamic_cast<Zorv::HOAPanning*>(panner) != nullptr;
}
bool IsNfcHoa(Zorv::Pan* panner) {
  return dynamic_cast<Zorv::NFCHOAPanning*>(panner) != nullptr;
}
char const* SetEncodingNormalization(Zorv::Pan* panner, char const* name) {
  if (auto* nfc = dynamic_cast<Zorv::NFCHOAPanning*>(panner)) {
    nfc->SetEncodingNormalization(name);
    return nolardsp::SphericalHarmonic::GetNormalizationName(nfc->GetEncodingNormalization());
  }
  auto* p = dynamic_cast<Zorv::HOAPanning*>(panner);
  if (p == nullptr) return name;
  p->SetEncodingNormalization(name);
  return nolardsp::SphericalHarmonic::GetNormalizationName(p->GetEncodingNormalization());
}
char const* SetSorting(Zorv::Pan* panner, char const* name) {
  if (auto* nfc = dynamic_cast<Zorv::NFCHOAPanning*>(panner)) {
    nfc->SetSorting(name);
    return nolardsp::SphericalHarmonic::GetSortingName(nfc->GetSorting());
  }
  auto* p = dynamic_cast<Zorv::HOAPanning*>(panner);
  if (p == nullptr) return name;
  p->SetSorting(name);
  return nolardsp::SphericalHarmonic::GetSortingName(p->GetSorting());
}
bool GetHoaInfos(Zorv::Pan* panner, HoaInfos& infos) {
  Zorv::HOAPanning::HOAPannerInfos own;
  if (auto* nfc = dynamic_cast<Zorv::NFCHOAPanning*>(panner)) {
    nfc->GetPannerInfos(own);
  } else if (auto* p = dynamic_cast<Zorv::HOAPanning*>(panner)) {
    p->GetPannerInfos(own);
  } else {
    return false;
  }
  infos.order = static_cast<int>(own.order);
  infos.encoding = nolardsp::SphericalHarmonic::GetNormalizationName(own.normalization);
  infos.sorting = nolardsp::SphericalHarmonic::GetSortingName(own.sorting);
  return true;
}
void UseHighPassFilters(Zorv::Pan* panner, bool use) {
  if (auto* p = dynamic_cast<Zorv::NFCHOAPanning*>(panner)) p->UseHighPassFilters(use);
}
void SetSpeakerRadius(Zorv::Pan* panner, float metres) {
  if (auto* p = dynamic_cast<Zorv::NFCHOAPanning*>(panner)) p->SetSpeakerRadius(metres);
}

// BinauralPanning and its renderers.
namespace {
Zorv::BinauralPanning* binaural(Zorv::Pan* panner) {
  return dynamic_cast<Zorv::BinauralPanning*>(panner);
}
Zorv::BinauralPanningSnowmanModel* snowman(Zorv::Pan* panner) {
  return dynamic_cast<Zorv::BinauralPanningSnowmanModel*>(panner);
}
}  // namespace

bool IsBinaural(Zorv::Pan* panner) {
  return binaural(panner) != nullptr;
}
namespace {
Zorv::BinauralPanningNearfield* nearfield(Zorv::Pan* panner) {
  return dynamic_cast<Zorv::BinauralPanningNearfield*>(panner);
}
}  // namespace

bool IsBinauralNearfield(Zorv::Pan* panner) {
  return nearfield(panner) != nullptr;
}
bool IsBinauralSphericalHarmonics(Zorv::Pan* panner) {
  return dynamic_cast<Zorv::BinauralPanningSphericalHarmonics*>(panner) != nullptr;
}
bool IsBinauralSnowman(Zorv::Pan* panner) {
  return snowman(panner) != nullptr;
}
void SetListenerPosition(Zorv::Pan* panner, nolardsp::CartesianVector const& position) {
  if (auto* p = binaural(panner)) p->SetListenerPosition(position);
}
void SetListenerYaw(Zorv::Pan* panner, float degrees) {
  if (auto* p = binaural(panner)) p->SetListenerYaw(degrees);
}
void SetFIRFiltersImplementationMethod(Zorv::Pan* panner, char const* name) {
  if (auto* p = binaural(panner)) p->SetFIRFiltersImplementationMethod(name);
}
void SetCrossFadeType(Zorv::Pan* panner, char const* name) {
  if (auto* p = binaural(panner)) p->SetCrossFadeType(name);
}
void SetFilterCrossFadeTime(Zorv::Pan* panner, float milliseconds) {
  if (auto* p = binaural(panner)) p->SetFilterCrossFadeTime(milliseconds);
}
char const* SetITDType(Zorv::Pan* panner, char const* name) {
  auto* p = binaural(panner);
  if (p == nullptr) return name;
  p->SetITDType(name);
  return Zorv::BinauralPanning::GetITDTypeName(p->GetCurrentITDType());
}
void SetListenerHeadRadius(Zorv::Pan* panner, float metres) {
  if (auto* p = binaural(panner)) p->SetListenerHeadRadius(metres);
}
void SetListenerTorsoRadius(Zorv::Pan* panner, float metres) {
  if (auto* p = snowman(panner)) p->SetListenerTorsoRadius(metres);
}
void SetListenerNeckHeight(Zorv::Pan* panner, float metres) {
  if (auto* p = snowman(panner)) p->SetListenerNeckHeight(metres);
}
void SetTorsoReflectionCoefficient(Zorv::Pan* panner, float c) {
  if (auto* p = snowman(panner)) p->SetTorsoReflectionCoefficient(c);
}
void SetMinimumRadiusAroundListener(Zorv::Pan* panner, float metres) {
  if (auto* p = nearfield(panner)) p->SetMinimumRadiusAroundListener(metres);
}
void EnableDistanceAttenuation(Zorv::Pan* panner, bool enable) {
  if (auto* p = nearfield(panner)) p->EnableDistanceAttenuation(enable);
}
void EnableCrossEarsHrtfSelection(Zorv::Pan* panner, bool enable) {
  if (auto* p = nearfield(panner)) p->EnableCrossEarsHrtfSelection(enable);
}
void EnableNearfieldFilters(Zorv::Pan* panner, bool enable) {
  if (auto* p = nearfield(panner)) p->EnableNearfieldFilters(enable);
}
void EnableGainsCorrection(Zorv::Pan* panner, bool enable) {
  if (auto* p = nearfield(panner)) p->EnableGainsCorrection(enable);
}
void EnableDelaysCorrection(Zorv::Pan* panner, bool enable) {
  if (auto* p = nearfield(panner)) p->EnableDelaysCorrection(enable);
}
void EnableHrtfFilters(Zorv::Pan* panner, bool enable) {
  if (auto* p = nearfield(panner)) p->EnableHrtfFilters(enable);
}
bool LoadFromFile(Zorv::Pan* panner, char const* path) {
  auto* p = binaural(panner);
  return p != nullptr && p->LoadFromFile(path);
}
bool TakeSampleRateNotice(Zorv::Pan* panner, unsigned int& setRate, unsigned int& runningRate) {
  auto* p = dynamic_cast<Zorv::BinauralPanningDirect*>(panner);
  return p != nullptr && p->TakeSampleRateNotice(setRate, runningRate);
}
bool LoadCompensationFilters(Zorv::Pan* panner, char const* path) {
  auto* p = nearfield(panner);
  return p != nullptr && p->LoadCompensationFilters(path);
}
bool GetFilterSetReport(Zorv::Pan* panner, int kind, char const* label,
                        std::vector<std::string>& lines) {
  if (kind == 2) {
    auto* sh = dynamic_cast<Zorv::BinauralPanningSphericalHarmonics*>(panner);
    if (sh == nullptr || !sh->HasData()) return false;
    Zorv::SphericalHarmonicData::Info const& i = sh->GetSphericalHarmonicInfo();
    std::string const l = label != nullptr ? label : "";
    auto line = [&lines, &l](char const* name, std::string const& value) {
      lines.push_back(l + " : " + name + " : " + value);
    };
    line("owner", i.owner);
    line("subject", i.subject);
    line("copyright", i.copyright);
    line("hrtf type", Zorv::GetHrtfTypeName(static_cast<Zorv::HrtfType>(i.hrtfType)));
    line("filter type",
         Zorv::GetHrtfFilterTypeName(static_cast<Zorv::HrtfFilterType>(i.filterType)));
    line("normalization",
         nolardsp::SphericalHarmonic::GetNormalizationName(
             static_cast<nolardsp::SphericalHarmonic::Normalization>(i.normalization)));
    line("maxOrder", std::to_string(i.maxOrder));
    line("numFrequencyBins", std::to_string(i.numFrequencyBins));
    line("channels", std::to_string(i.numChannels));
    line("sampling rate", std::to_string(i.samplingRate));
    line("points", std::to_string(i.numPoints));
    return true;
  }
  auto* p = binaural(panner);
  if (p == nullptr || (kind != 0 && kind != 1)) return false;
  Zorv::HrtfHeaderInfos const* h = p->GetHrtfHeaderInfos();
  if (kind == 1)
    h = nearfield(panner) != nullptr ? nearfield(panner)->GetCompensationFiltersInfo() : nullptr;
  if (h == nullptr) return false;
  std::string const l = label != nullptr ? label : "";
  auto line = [&lines, &l](char const* name, std::string const& value, char const* tail = "") {
    lines.push_back(l + " : " + name + " : " + value + tail);
  };
  line("owner", h->owner, " ");
  line("subject", h->subject);
  line("copyright", h->copyright);
  line("hrtf type", Zorv::GetHrtfTypeName(h->hrtfType));
  line("filter type", Zorv::GetHrtfFilterTypeName(h->filterType));
  line("symmetrization", h->symmetrization);
  line("spatial interpolation", h->spatialInterpolation);
  line("original measurement set", h->measurementSet, " ");
  line("interpolation set", h->interpolationSet, " ");
  line("coefficients", std::to_string(h->numCoefficients));
  line("channels", std::to_string(h->numChannels));
  line("sampling rate", std::to_string(h->sampleRate));
  line("points", std::to_string(h->numPoints));
  return true;
}

}  // namespace zorv_pan_families
