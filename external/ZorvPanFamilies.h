#pragma once

// The object's one view of the panner families by class. Handlers and
// attribute setters first ask whether the panner is of a family (the check of
// its dynamic type, after the check of the `type` symbol) and only then call
// that family's operations; an operation is never called on a panner whose
// check failed.
//
// A family whose class is not part of the build answers false to its check
// and its operations do nothing: each stands in ZorvPanFamilies.cpp as the
// one place where that class is wired in.
//
// Threads: message side only.

#include <string>
#include <vector>

#include "NolarCartesianVector.h"
#include "ZorvPan.h"

namespace zorv_pan_families {

// What "info" reports of an ambisonic panner.
struct HoaInfos {
  int order = 0;
  char const* encoding = "";
  char const* sorting = "";
};

// Spread: DbapPanning, VbapPanning, Vbap2DPanning (their spread factors go
// through Pan's own virtual operations).
bool IsDbap(Zorv::Pan* panner);
bool IsVbap(Zorv::Pan* panner);
bool IsVbap2D(Zorv::Pan* panner);
// VectorBasedPanning (vbap, vbip), and the vector-based part of vdbap: true
// when the speakers form no triplet around the listener, so that every source
// (for vdbap, every source outside the array) stays silent.
bool HasNoSpeakerTriplet(Zorv::Pan* panner);
// DbapPanning only.
void SetDbapSpreadMode(Zorv::Pan* panner, char const* name);
char const* GetDbapSpreadModeName(Zorv::Pan* panner);
void MuteSourceOutsideSpeakersHull(Zorv::Pan* panner, bool mute);

// RecursivePanning.
bool IsRecursive(Zorv::Pan* panner);
void SetCorners(Zorv::Pan* panner, float const corners[4]);

// SubwoofersPanning.
bool IsSubwoofers(Zorv::Pan* panner);
void SetCutOffFrequency(Zorv::Pan* panner, float hertz);

// HOAPanning and NFCHOAPanning: the names given back are the ones in force.
bool IsHoa(Zorv::Pan* panner);
bool IsNfcHoa(Zorv::Pan* panner);
char const* SetEncodingNormalization(Zorv::Pan* panner, char const* name);
char const* SetSorting(Zorv::Pan* panner, char const* name);
bool GetHoaInfos(Zorv::Pan* panner, HoaInfos& infos);
void UseHighPassFilters(Zorv::Pan* panner, bool use);
void SetSpeakerRadius(Zorv::Pan* panner, float metres);

// BinauralPanning and its renderers.
bool IsBinaural(Zorv::Pan* panner);
bool IsBinauralNearfield(Zorv::Pan* panner);
bool IsBinauralSphericalHarmonics(Zorv::Pan* panner);
bool IsBinauralSnowman(Zorv::Pan* panner);
void SetListenerPosition(Zorv::Pan* panner, nolardsp::CartesianVector const& position);
void SetListenerYaw(Zorv::Pan* panner, float degrees);
void SetFIRFiltersImplementationMethod(Zorv::Pan* panner, char const* name);
void SetCrossFadeType(Zorv::Pan* panner, char const* name);
void SetFilterCrossFadeTime(Zorv::Pan* panner, float milliseconds);
// The name of the ITD type in force after the call.
char const* SetITDType(Zorv::Pan* panner, char const* name);
void SetListenerHeadRadius(Zorv::Pan* panner, float metres);
void SetListenerTorsoRadius(Zorv::Pan* panner, float metres);
void SetListenerNeckHeight(Zorv::Pan* panner, float metres);
void SetTorsoReflectionCoefficient(Zorv::Pan* panner, float coefficient);
// Nearfield renderer.
void SetMinimumRadiusAroundListener(Zorv::Pan* panner, float metres);
void EnableDistanceAttenuation(Zorv::Pan* panner, bool enable);
void EnableCrossEarsHrtfSelection(Zorv::Pan* panner, bool enable);
void EnableNearfieldFilters(Zorv::Pan* panner, bool enable);
void EnableGainsCorrection(Zorv::Pan* panner, bool enable);
void EnableDelaysCorrection(Zorv::Pan* panner, bool enable);
void EnableHrtfFilters(Zorv::Pan* panner, bool enable);
// File loading; these may raise the library's Exception, which the caller
// catches.
bool LoadFromFile(Zorv::Pan* panner, char const* path);
bool LoadCompensationFilters(Zorv::Pan* panner, char const* path);
// True, once, when the HRTF set in use was made at another rate than the one
// the panner runs at (and is not resampled to it): its cues are then shifted
// by the ratio of the rates. Both rates in hertz.
bool TakeSampleRateNotice(Zorv::Pan* panner, unsigned int& setRate, unsigned int& runningRate);
// The report of a filter set, one console line each, every line led by the
// label ("Hrtf : owner : ...", in the order and forms the object posts);
// false when the panner has no such set to report. kind: 0 the HRTF set, 1
// the nearfield compensation filters, 2 the spherical-harmonic basis.
bool GetFilterSetReport(Zorv::Pan* panner, int kind, char const* label,
                        std::vector<std::string>& lines);

}  // namespace zorv_pan_families
