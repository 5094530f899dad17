#include "ZorvHrtfSofaReader.h"

#include <mysofa.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>

#include "NolarException.h"
#include "ZorvHrtfItdEstimator.h"

namespace Zorv {

namespace {

struct SofaFree {
  void operator()(MYSOFA_HRTF* h) const { mysofa_free(h); }
};
using SofaPtr = std::unique_ptr<MYSOFA_HRTF, SofaFree>;

std::string errorText(int err) {
  switch (err) {
    case MYSOFA_INVALID_FORMAT:
      return "not an HDF5 file of the expected form";
    case MYSOFA_UNSUPPORTED_FORMAT:
      return "unsupported HDF5 format";
    case MYSOFA_NO_MEMORY:
      return "out of memory";
    case MYSOFA_READ_ERROR:
      return "read error";
    case MYSOFA_INVALID_ATTRIBUTES:
      return "missing or invalid attributes";
    case MYSOFA_INVALID_DIMENSIONS:
      return "invalid dimensions";
    case MYSOFA_INVALID_DIMENSION_LIST:
      return "invalid dimension list";
    case MYSOFA_INVALID_COORDINATE_TYPE:
      return "invalid coordinate type";
    case MYSOFA_ONLY_EMITTER_WITH_ECI_SUPPORTED:
      return "only one emitter is supported";
    case MYSOFA_ONLY_DELAYS_WITH_IR_OR_MR_SUPPORTED:
      return "delays must be given per receiver or per measurement and receiver";
    case MYSOFA_ONLY_THE_SAME_SAMPLING_RATE_SUPPORTED:
      return "only one sampling rate is supported";
    case MYSOFA_RECEIVERS_WITH_RCI_SUPPORTED:
    case MYSOFA_RECEIVERS_WITH_CARTESIAN_SUPPORTED:
    case MYSOFA_INVALID_RECEIVER_POSITIONS:
      return "unsupported receiver positions";
    case MYSOFA_ONLY_SOURCES_WITH_MC_SUPPORTED:
      return "source positions must be given per measurement";
    default:
      // Below the library's own codes stand the system's (errno).
      if (err > 0 && err < MYSOFA_INVALID_FORMAT) return std::strerror(err);
      return "error " + std::to_string(err);
  }
}

std::string attribute(MYSOFA_ATTRIBUTE* list, char const* name) {
  for (MYSOFA_ATTRIBUTE* a = list; a != nullptr; a = a->next) {
    if (a->name != nullptr && std::string(a->name) == name) {
      return a->value != nullptr ? std::string(a->value) : std::string();
    }
  }
  return std::string();
}

std::string firstOf(MYSOFA_ATTRIBUTE* list, char const* a, char const* b) {
  std::string const v = attribute(list, a);
  return v.empty() ? attribute(list, b) : v;
}

}  // namespace

void HrtfSofaReader::Read(std::string const& path, unsigned int sampleRate, HrtfHeaderInfos& header,
                          std::vector<HrtfPoint>& points) {
  int err = MYSOFA_OK;
  SofaPtr sofa(mysofa_load(path.c_str(), &err));
  if (!sofa || err != MYSOFA_OK) {
    NOLAR_THROW("couldnt read SOFA file " + path + " (" + errorText(err) + ")");
  }
  MYSOFA_HRTF* h = sofa.get();
  std::string const conventions = attribute(h->attributes, "SOFAConventions");
  if (conventions != "SimpleFreeFieldHRIR") {
    NOLAR_THROW("not a SimpleFreeFieldHRIR SOFA file (" +
                (conventions.empty() ? std::string("no conventions") : conventions) + "): " + path);
  }
  err = mysofa_check(h);
  if (err != MYSOFA_OK) {
    NOLAR_THROW("SOFA file does not conform (" + errorText(err) + "): " + path);
  }

  // Sizes, in 64 bits, before anything of ours is allocated.
  unsigned long long const m = h->M, r = h->R, n = h->N;
  if (m == 0) NOLAR_THROW("no HRTF points in " + path);
  if (r != 2) {
    NOLAR_THROW("a binaural HRTF set needs 2 channels, not " + std::to_string(r) + ": " + path);
  }
  if (n == 0) NOLAR_THROW("HRTF filters of length 0 in " + path);
  if (h->DataIR.values == nullptr || h->DataIR.elements != m * r * n ||
      h->SourcePosition.values == nullptr || h->SourcePosition.elements != m * 3 ||
      h->ReceiverPosition.values == nullptr || h->ReceiverPosition.elements < r * 3 ||
      h->DataSamplingRate.values == nullptr || h->DataSamplingRate.elements < 1) {
    NOLAR_THROW("SOFA file with arrays of the wrong size: " + path);
  }
  double const fileRate = h->DataSamplingRate.values[0];
  if (!std::isfinite(fileRate) || fileRate < 1.0 || fileRate > 10.0 * kMaxSampleRate) {
    NOLAR_THROW("SOFA file with an invalid sampling rate: " + path);
  }
  double rate = fileRate;
  if (sampleRate != 0 && double(sampleRate) != fileRate) {
    if (sampleRate < kMinSampleRate || sampleRate > kMaxSampleRate) {
      NOLAR_THROW("couldnt resample SOFA file to " + std::to_string(sampleRate) + " Hz: " + path);
    }
    rate = sampleRate;
  }
  unsigned long long const projected =
      static_cast<unsigned long long>(std::ceil(double(n) * rate / fileRate)) + 1;
  if (projected > kMaxFilterLength || m * projected * r > kMaxValues) {
    NOLAR_THROW("SOFA set too large (" + std::to_string(m) + " points of " +
                std::to_string(projected) + " taps): " + path);
  }
  if (rate != fileRate) {
    err = mysofa_resample(h, static_cast<float>(rate));
    if (err != MYSOFA_OK || h->N == 0 || h->DataIR.elements != m * r * h->N) {
      NOLAR_THROW("couldnt resample SOFA file to " + std::to_string(sampleRate) + " Hz: " + path);
    }
  }
  unsigned long long const taps = h->N;

  // Delays: one pair for the whole set or one per measurement, in samples.
  unsigned long long const delayCount = h->DataDelay.values == nullptr ? 0 : h->DataDelay.elements;
  if (delayCount != 0 && delayCount != r && delayCount != m * r) {
    NOLAR_THROW("SOFA file with delays of the wrong size: " + path);
  }
  auto delayOf = [h, delayCount, r](unsigned long long point, unsigned long long receiver) {
    if (delayCount == 0) return 0.0;
    return double(h->DataDelay.values[delayCount == r ? receiver : point * r + receiver]);
  };

  // SOFA's axes: x to the front, y to the left, z up; spherical positions have
  // the azimuth growing counter-clockwise (90 is the left). Ours: x right, y
  // front, z up. The left receiver is the one further along +y; receiver 0 if
  // the file does not tell them apart.
  mysofa_tocartesian(h);
  float const* rec = h->ReceiverPosition.values;
  unsigned long long const left = rec[4] > rec[1] ? 1 : 0;
  unsigned long long const right = 1 - left;

  unsigned long long extra = 0;
  for (unsigned long long p = 0; p < m; ++p) {
    for (unsigned long long e = 0; e < r; ++e) {
      double const d = delayOf(p, e);
      if (!std::isfinite(d) || d < 0.0 || d > double(kMaxFilterLength)) {
        NOLAR_THROW("SOFA file with a negative, too long or non-finite delay: " + path);
      }
      extra = std::max(extra, static_cast<unsigned long long>(std::lround(d)));
    }
  }
  unsigned long long const length = taps + extra;
  if (length > kMaxFilterLength || m * length * r > kMaxValues) {
    NOLAR_THROW("SOFA set too large (" + std::to_string(m) + " points of " +
                std::to_string(length) + " taps): " + path);
  }

  HrtfHeaderInfos hd;
  hd.owner = firstOf(h->attributes, "Organization", "DatabaseName");
  hd.subject = attribute(h->attributes, "ListenerShortName");
  hd.copyright = attribute(h->attributes, "License");
  hd.hrtfType = Binaural;
  hd.filterType = FIR;
  hd.symmetrization = "unknown";
  hd.spatialInterpolation = "unknown";
  hd.measurementSet = firstOf(h->attributes, "DatabaseName", "Title");
  hd.interpolationSet = "none";
  hd.numCoefficients = static_cast<uint32_t>(length);
  hd.numChannels = 2;
  hd.sampleRate = static_cast<uint32_t>(std::lround(rate));
  hd.numPoints = static_cast<uint32_t>(m);
  hd.generated = "SOFA " + conventions + " " + attribute(h->attributes, "SOFAConventionsVersion");

  std::vector<HrtfPoint> pts(m);
  for (unsigned long long p = 0; p < m; ++p) {
    HrtfPoint& point = pts[p];
    float const* s = h->SourcePosition.values + 3 * p;
    point.position = nolardsp::CartesianVector(-s[1], s[0], s[2]);
    point.numCoefficients = static_cast<uint32_t>(length);
    point.numChannels = 2;
    point.index = static_cast<uint32_t>(p);
    point.coefficients.assign(2 * length, 0.f);
    float const* irLeft = h->DataIR.values + (p * r + left) * taps;
    float const* irRight = h->DataIR.values + (p * r + right) * taps;
    double const dl = delayOf(p, left);
    double const dr = delayOf(p, right);
    // A separate delay is moved into the response, whose taps carry the whole
    // of an FIR set's delay.
    std::copy(irLeft, irLeft + taps, point.coefficients.begin() + std::lround(dl));
    std::copy(irRight, irRight + taps, point.coefficients.begin() + length + std::lround(dr));
    if (dl == 0.0 && dr == 0.0) {
      point.itd = HrtfItdEstimator::EstimateMilliseconds(irLeft, irRight, taps, rate);
    } else {
      point.itd = static_cast<float>((dl - dr) * 1000.0 / rate);
    }
  }
  header = std::move(hd);
  points = std::move(pts);
}

}  // namespace Zorv
