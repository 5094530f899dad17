#include "ZorvPanFamilies.h"

#include "NolarSphericalHarmonic.h"
#include "ZorvDbapPanning.h"
#include "ZorvHOAPanning.h"
#include "ZorvNFCHOAPanning.h"
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

// RecursivePanning: not built yet.
bool IsRecursive(Zorv::Pan*) {
  return false;
}
void SetCorners(Zorv::Pan*, float const*) {}

// SubwoofersPanning: not built yet.
bool IsSubwoofers(Zorv::Pan*) {
  return false;
}
void SetCutOffFrequency(Zorv::Pan*, float) {}

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

// BinauralPanning and its renderers: not built yet.
bool IsBinaural(Zorv::Pan*) {
  return false;
}
bool IsBinauralNearfield(Zorv::Pan*) {
  return false;
}
bool IsBinauralSphericalHarmonics(Zorv::Pan*) {
  return false;
}
bool IsBinauralSnowman(Zorv::Pan*) {
  return false;
}
void SetListenerPosition(Zorv::Pan*, nolardsp::CartesianVector const&) {}
void SetListenerYaw(Zorv::Pan*, float) {}
void SetFIRFiltersImplementationMethod(Zorv::Pan*, char const*) {}
void SetCrossFadeType(Zorv::Pan*, char const*) {}
void SetFilterCrossFadeTime(Zorv::Pan*, float) {}
char const* SetITDType(Zorv::Pan*, char const* name) {
  return name;
}
void SetListenerHeadRadius(Zorv::Pan*, float) {}
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
bool LoadFromFile(Zorv::Pan*, char const*) {
  return false;
}
bool LoadCompensationFilters(Zorv::Pan*, char const*) {
  return false;
}
bool GetFilterSetReport(Zorv::Pan*, int, char const*, std::vector<std::string>&) {
  return false;
}

}  // namespace zorv_pan_families
