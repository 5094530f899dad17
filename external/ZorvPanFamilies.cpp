#include "ZorvPanFamilies.h"

#include "NolarSphericalHarmonic.h"
#include "ZorvBinauralPanning.h"
#include "ZorvBinauralPanningDirect.h"
#include "ZorvBinauralPanningSphericalHarmonics.h"
#include "ZorvDbapPanning.h"
#include "ZorvHOAPanning.h"
#include "ZorvHrtfHeaderInfos.h"
#include "ZorvRecursivePanning.h"
#include "ZorvSubwoofersPanning.h"
#include "ZorvVDbapPanning.h"
#include "ZorvVbap2DPanning.h"
#include "ZorvVbapPanning.h"

// Each family not yet part of the build answers false to its check; its
// operations are reached only after a true check, so their bodies stay empty
// until the class exists. Wiring a class in means: its check becomes a
// dynamic_cast, each of its operations a call through that cast.
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

// HOAPanning; NFCHOAPanning is not built yet.
bool IsHoa(Zorv::Pan* panner) {
  return dynamic_cast<Zorv::HOAPanning*>(panner) != nullptr;
}
bool IsNfcHoa(Zorv::Pan*) {
  return false;
}
char const* SetEncodingNormalization(Zorv::Pan* panner, char const* name) {
  auto* p = dynamic_cast<Zorv::HOAPanning*>(panner);
  if (p == nullptr) return name;
  p->SetEncodingNormalization(name);
  return nolardsp::SphericalHarmonic::GetNormalizationName(p->GetEncodingNormalization());
}
char const* SetSorting(Zorv::Pan* panner, char const* name) {
  auto* p = dynamic_cast<Zorv::HOAPanning*>(panner);
  if (p == nullptr) return name;
  p->SetSorting(name);
  return nolardsp::SphericalHarmonic::GetSortingName(p->GetSorting());
}
bool GetHoaInfos(Zorv::Pan* panner, HoaInfos& infos) {
  auto* p = dynamic_cast<Zorv::HOAPanning*>(panner);
  if (p == nullptr) return false;
  Zorv::HOAPanning::HOAPannerInfos own;
  p->GetPannerInfos(own);
  infos.order = static_cast<int>(own.order);
  infos.encoding = nolardsp::SphericalHarmonic::GetNormalizationName(own.normalization);
  infos.sorting = nolardsp::SphericalHarmonic::GetSortingName(own.sorting);
  return true;
}
void UseHighPassFilters(Zorv::Pan*, bool) {}
void SetSpeakerRadius(Zorv::Pan*, float) {}

// BinauralPanning and its renderers; the nearfield, spherical-harmonics and
// snowman renderers are not built yet.
namespace {
Zorv::BinauralPanning* binaural(Zorv::Pan* panner) {
  return dynamic_cast<Zorv::BinauralPanning*>(panner);
}
}  // namespace

bool IsBinaural(Zorv::Pan* panner) {
  return binaural(panner) != nullptr;
}
bool IsBinauralNearfield(Zorv::Pan*) {
  return false;
}
bool IsBinauralSphericalHarmonics(Zorv::Pan* panner) {
  return dynamic_cast<Zorv::BinauralPanningSphericalHarmonics*>(panner) != nullptr;
}
bool IsBinauralSnowman(Zorv::Pan*) {
  return false;
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
void SetListenerTorsoRadius(Zorv::Pan*, float) {}
void SetListenerNeckHeight(Zorv::Pan*, float) {}
void SetTorsoReflectionCoefficient(Zorv::Pan*, float) {}
void SetMinimumRadiusAroundListener(Zorv::Pan*, float) {}
void EnableDistanceAttenuation(Zorv::Pan*, bool) {}
void EnableCrossEarsHrtfSelection(Zorv::Pan*, bool) {}
void EnableNearfieldFilters(Zorv::Pan*, bool) {}
void EnableGainsCorrection(Zorv::Pan*, bool) {}
void EnableDelaysCorrection(Zorv::Pan*, bool) {}
void EnableHrtfFilters(Zorv::Pan*, bool) {}
bool LoadFromFile(Zorv::Pan* panner, char const* path) {
  auto* p = binaural(panner);
  return p != nullptr && p->LoadFromFile(path);
}
bool TakeSampleRateNotice(Zorv::Pan* panner, unsigned int& setRate, unsigned int& runningRate) {
  auto* p = dynamic_cast<Zorv::BinauralPanningDirect*>(panner);
  return p != nullptr && p->TakeSampleRateNotice(setRate, runningRate);
}
bool LoadCompensationFilters(Zorv::Pan*, char const*) {
  return false;
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
  if (p == nullptr || kind != 0) return false;
  Zorv::HrtfHeaderInfos const* h = p->GetHrtfHeaderInfos();
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
