#include "ZorvCoordinates.h"

#include <algorithm>
#include <cmath>

#include "NolarMaxAtoms.h"
#include "ZorvDefaultParameters.h"
#include "ZorvUserAngles.h"

using nolardsp::CartesianVector;
using nolardsp::SphericalVector;

namespace {

float const degreesToRadians = 0.017453292f;
float const halfPi = 1.5707964f;
float const pi = 3.1415927f;
float const smallestRadius = 0.00001f;

struct Keyword {
  char const* name;
  CoordinatesFormat format;
  unsigned int stride;
};

// In the order of lookup.
Keyword const keywords[] = {
    {"xyz", CoordinatesFormatXYZ, 3},
    {"xy", CoordinatesFormatXY, 2},
    {"ade", CoordinatesFormatADE, 3},
    {"aed", CoordinatesFormatAED, 3},
    {"ae", CoordinatesFormatAE, 2},
    {"ad", CoordinatesFormatAD, 2},
    {"az", CoordinatesFormatAZ, 1},
    {"azim", CoordinatesFormatAzim, 1},
    {"azim++", CoordinatesFormatAzimPlusPlus, 1},
    {"elev", CoordinatesFormatElev, 1},
    {"elev++", CoordinatesFormatElevPlusPlus, 1},
    {"dist", CoordinatesFormatDist, 1},
    {"dist++", CoordinatesFormatDistPlusPlus, 1},
    {"x++", CoordinatesFormatXPlusPlus, 1},
    {"y++", CoordinatesFormatYPlusPlus, 1},
    {"z++", CoordinatesFormatZPlusPlus, 1},
    {"x", CoordinatesFormatX, 1},
    {"y", CoordinatesFormatY, 1},
    {"z", CoordinatesFormatZ, 1},
    {"zorv3", CoordinatesFormatZorv3, 3},
    {"wfs", CoordinatesFormatWFS, 2},
};
unsigned int const numKeywords = sizeof keywords / sizeof keywords[0];

// The keywords as symbols, made once; gensym is safe from any message thread.
struct KeywordSymbols {
  t_symbol* symbols[numKeywords];
  KeywordSymbols() {
    for (unsigned int k = 0; k < numKeywords; ++k) symbols[k] = gensym(keywords[k].name);
  }
};

KeywordSymbols const& keywordSymbols() {
  static KeywordSymbols const table;
  return table;
}

Keyword const* keywordOf(CoordinatesFormat format) {
  for (Keyword const& k : keywords) {
    if (k.format == format) return &k;
  }
  return nullptr;
}

bool finite(CartesianVector const& p) {
  return std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z);
}

// User azimuth (degrees) to internal radians; mirrored turns the sign of the
// azimuth as the "zorv3" and "wfs" keywords read it.
float internalAzimuth(float azimuthDegrees, bool mirrored) {
  float const u = Zorv::WrapDegrees360(mirrored ? 270.f + azimuthDegrees : 270.f - azimuthDegrees);
  return (u - 180.f) * degreesToRadians;
}

// Folding over the poles as the grammar defines it: these are not the
// formulas of a reflection, and 100 degrees comes out at -10 degrees on the
// other side.
void foldPoles(float& a, float& e) {
  if (e > halfPi) {
    a += pi;
    e = halfPi - e;
  } else if (e < -halfPi) {
    a += pi;
    e = -halfPi - e;
  }
}

// Internal azimuth and elevation (radians, elevation already wrapped) and a
// distance to a point: pole folding, the antipode of a negative distance,
// then the point.
CartesianVector pointFrom(float a, float e, float d, bool handleNegativeDistance) {
  foldPoles(a, e);
  if (handleNegativeDistance && d < 0.f) {
    d = -d;
    e = -e;
    a += pi;
  }
  a = Zorv::WrapRadians(a);
  float const ce = std::cos(e);
  return CartesianVector(ce * std::cos(a) * d, ce * std::sin(a) * d, d * std::sin(e));
}

CartesianVector pointFromDegrees(float azimuth, float elevation, float distance, bool mirrored,
                                 bool handleNegativeDistance) {
  float const a = internalAzimuth(azimuth, mirrored);
  float const e = Zorv::WrapRadians(elevation * degreesToRadians);
  return pointFrom(a, e, distance, handleNegativeDistance);
}

// Elevation in degrees folded into [-90, 90] by the keywords that set it alone.
float foldElevationDegrees(float elevation) {
  float const v = Zorv::WrapDegrees360(elevation + 180.f) - 180.f;
  if (v > 90.f) return 90.f - v;
  if (v < -90.f) return -90.f - v;
  return v;
}

bool isLong(t_atom const* atoms, long count) {
  return count > 0 && atoms != nullptr && atoms[0].a_type == A_LONG;
}

bool isSymbol(t_atom const* atoms, long count) {
  return count > 0 && atoms != nullptr && atoms[0].a_type == A_SYM;
}

// The keyword at the head of a list. A leading symbol is consumed: false when
// it is no keyword. Without a symbol the numbers are read as "ade".
enum class Head { Keyword, Default, Unknown };

Head readKeyword(long& count, t_atom const*& atoms, CoordinatesFormat& format,
                 unsigned int& stride) {
  format = CoordinatesFormatADE;
  stride = 3;
  if (!isSymbol(atoms, count)) return Head::Default;
  t_symbol const* keyword = atoms[0].a_w.w_sym;
  ++atoms;
  --count;
  return CoordinatesFormatLookUp(keyword, format, stride) ? Head::Keyword : Head::Unknown;
}

float clip(float v, float lo, float hi) {
  return std::min(std::max(v, lo), hi);
}

// n leading numbers, each finite once in float.
bool readNumbers(long count, t_atom const* atoms, unsigned int n, float* values) {
  static char const* const patterns[] = {"", "n", "nn", "nnn", "nnnn", "nnnnn", "nnnnnn"};
  if (n > 6 || count < 0 ||
      !nolarmax::CheckAtomsFormat(patterns[n], atoms, static_cast<unsigned int>(count))) {
    return false;
  }
  for (unsigned int i = 0; i < n; ++i) {
    values[i] = nolarmax::atom_getnumber(atoms + i, 0.f);
    if (!std::isfinite(values[i])) return false;
  }
  return true;
}

bool symbolIs(t_atom const& a, char const* text) {
  return a.a_type == A_SYM && a.a_w.w_sym == gensym(text);
}

}  // namespace

char const* CoordinatesFormatName(CoordinatesFormat format) {
  Keyword const* k = keywordOf(format);
  return k != nullptr ? k->name : nullptr;
}

unsigned int CoordinatesFormatStride(CoordinatesFormat format) {
  Keyword const* k = keywordOf(format);
  return k != nullptr ? k->stride : 0;
}

bool CoordinatesFormatLookUp(t_symbol const* keyword, CoordinatesFormat& format,
                             unsigned int& stride) {
  if (keyword == nullptr) return false;
  KeywordSymbols const& table = keywordSymbols();
  for (unsigned int k = 0; k < numKeywords; ++k) {
    if (table.symbols[k] == keyword) {
      format = keywords[k].format;
      stride = keywords[k].stride;
      return true;
    }
  }
  return false;
}

bool atoms2coordinates(CartesianVector& position, CoordinatesFormat const& format, int count,
                       t_atom const* atoms) {
  unsigned int const stride = CoordinatesFormatStride(format);
  if (stride == 0 || count < 0) return false;
  char const* const pattern = stride == 3 ? "nnn" : stride == 2 ? "nn" : "n";
  if (!nolarmax::CheckAtomsFormat(pattern, atoms, static_cast<unsigned int>(count))) return false;
  float v[3] = {0.f, 0.f, 0.f};
  for (unsigned int i = 0; i < stride; ++i) {
    v[i] = nolarmax::atom_getnumber(atoms + i, 0.f);
    // A number that is not finite has no place in a position.
    if (!std::isfinite(v[i])) return false;
  }

  CartesianVector p = position;
  switch (format) {
    case CoordinatesFormatXYZ:
      p = CartesianVector(v[0], v[1], v[2]);
      break;
    case CoordinatesFormatXY:
      p = CartesianVector(v[0], v[1], 0.f);
      break;
    case CoordinatesFormatXPlusPlus:
      p.x += v[0];
      break;
    case CoordinatesFormatYPlusPlus:
      p.y += v[0];
      break;
    case CoordinatesFormatZPlusPlus:
      p.z += v[0];
      break;
    case CoordinatesFormatADE:
      p = pointFromDegrees(v[0], v[2], v[1], false, true);
      break;
    case CoordinatesFormatAED:
      p = pointFromDegrees(v[0], v[1], v[2], false, true);
      break;
    case CoordinatesFormatAE:
      p = pointFromDegrees(v[0], v[1], 1.f, false, false);
      break;
    case CoordinatesFormatAD:
      p = pointFromDegrees(v[0], 0.f, v[1], false, true);
      break;
    case CoordinatesFormatAZ: {
      float const a = internalAzimuth(v[0], false);
      p = CartesianVector(std::cos(a), std::sin(a), 0.f);
      break;
    }
    case CoordinatesFormatAzim: {
      SphericalVector s;
      s = p;
      s.azimuth = internalAzimuth(v[0], false);
      p = s;
      break;
    }
    case CoordinatesFormatAzimPlusPlus: {
      SphericalVector s;
      s = p;
      // A positive step turns clockwise, as the user's azimuth grows.
      s.azimuth = Zorv::WrapRadians(s.azimuth - v[0] * degreesToRadians);
      p = s;
      break;
    }
    case CoordinatesFormatElev: {
      SphericalVector s;
      s = p;
      s.elevation = foldElevationDegrees(v[0]) * degreesToRadians;
      p = s;
      break;
    }
    case CoordinatesFormatElevPlusPlus: {
      SphericalVector s;
      s = p;
      // A positive step lowers the point: the sign is the grammar's own.
      s.elevation = s.elevation - foldElevationDegrees(v[0]) * degreesToRadians;
      p = s;
      break;
    }
    case CoordinatesFormatDist: {
      SphericalVector s;
      s = p;
      s.radius = std::max(std::fabs(v[0]), smallestRadius);
      p = s;
      break;
    }
    case CoordinatesFormatDistPlusPlus: {
      SphericalVector s;
      s = p;
      s.radius = std::max(s.radius + v[0], smallestRadius);
      p = s;
      break;
    }
    case CoordinatesFormatZorv3:
      p = pointFromDegrees(v[0], v[2], v[1], true, true);
      break;
    case CoordinatesFormatWFS:
      p = pointFromDegrees(v[0], 0.f, v[1], true, true);
      break;
    case CoordinatesFormatX:
      p.x = v[0];
      break;
    case CoordinatesFormatY:
      p.y = v[0];
      break;
    case CoordinatesFormatZ:
      p.z = v[0];
      break;
  }
  // A sum or a product past the float range, or a present position that was
  // already bad: the position stays as it was.
  if (!finite(p)) return false;
  position = p;
  return true;
}

bool coordinates2atoms(CartesianVector const& position, CoordinatesFormat const& format, int count,
                       t_atom* atoms) {
  // The widest form writes three atoms.
  if (atoms == nullptr || count < 3) return false;
  float const r = position.radius();
  float const az = Zorv::InternalToUserAzimuth(position.x, position.y);
  float const e = r > 0.f ? std::asin(position.z / r) * 57.29578f : 0.f;
  switch (format) {
    case CoordinatesFormatXYZ:
      atom_setfloat(atoms + 0, position.x);
      atom_setfloat(atoms + 1, position.y);
      atom_setfloat(atoms + 2, position.z);
      return true;
    case CoordinatesFormatXY:
      atom_setfloat(atoms + 0, position.x);
      atom_setfloat(atoms + 1, position.y);
      return true;
    case CoordinatesFormatADE:
      atom_setfloat(atoms + 0, az);
      atom_setfloat(atoms + 1, r);
      atom_setfloat(atoms + 2, e);
      return true;
    case CoordinatesFormatAED:
      atom_setfloat(atoms + 0, az);
      atom_setfloat(atoms + 1, e);
      atom_setfloat(atoms + 2, r);
      return true;
    case CoordinatesFormatAE:
      atom_setfloat(atoms + 0, az);
      atom_setfloat(atoms + 1, e);
      return true;
    case CoordinatesFormatAD:
      atom_setfloat(atoms + 0, az);
      atom_setfloat(atoms + 1, r);
      return true;
    case CoordinatesFormatAZ:
      atom_setfloat(atoms + 0, az);
      return true;
    case CoordinatesFormatZorv3:
      atom_setfloat(atoms + 0, -az);
      atom_setfloat(atoms + 1, r);
      atom_setfloat(atoms + 2, e);
      return true;
    case CoordinatesFormatWFS:
      atom_setfloat(atoms + 0,
                    Zorv::WrapDegrees360(std::atan2(position.y, position.x) * 57.29578f + 270.f));
      atom_setfloat(atoms + 1, r);
      return true;
    default:
      return false;
  }
}

bool get_points_coordinates_from_atoms(t_object* x, unsigned int maxPoints, long count,
                                       t_atom const* atoms, CartesianVector* points,
                                       unsigned int& numberRead) {
  numberRead = 0;
  CoordinatesFormat format;
  unsigned int stride;
  Head const head = readKeyword(count, atoms, format, stride);
  if (head == Head::Unknown) {
    object_error(x, "unknown coordinate type");
    return false;
  }
  if (head == Head::Default) object_warn(x, "using default coordinate type (ade)");
  long const wanted = static_cast<long>(maxPoints) * static_cast<long>(stride);
  if (count > wanted) {
    object_warn(x, "too many point positions. only %d positions will be read",
                static_cast<int>(maxPoints));
  }
  for (unsigned int i = 0; i < maxPoints && count >= static_cast<long>(stride); ++i) {
    if (!atoms2coordinates(points[i], format, static_cast<int>(count), atoms)) {
      object_error(x, "error reading %d th point position", static_cast<int>(i));
      return false;
    }
    atoms += stride;
    count -= stride;
    ++numberRead;
  }
  return true;
}

bool get_speakers_coordinates_from_atoms(t_object* x, unsigned int numSpeakers, long count,
                                         t_atom const* atoms, CartesianVector* points) {
  CoordinatesFormat format;
  unsigned int stride;
  Head const head = readKeyword(count, atoms, format, stride);
  if (head == Head::Unknown) {
    object_error(x, "unknown coordinate type");
    return false;
  }
  if (head == Head::Default) object_warn(x, "using default coordinate type (ade)");
  long const wanted = static_cast<long>(numSpeakers) * static_cast<long>(stride);
  if (count < wanted) {
    object_error(x, "not enough loudspeakers positions. expected %d loudspeakers positions",
                 static_cast<int>(numSpeakers));
    return false;
  }
  if (count > wanted) {
    object_warn(x, "too many loudspeakers positions. only %d positions will be read",
                static_cast<int>(numSpeakers));
  }
  for (unsigned int i = 0; i < numSpeakers; ++i) {
    if (!atoms2coordinates(points[i], format, static_cast<int>(count), atoms)) {
      object_error(x, "error reading %d th speaker position", static_cast<int>(i));
      return false;
    }
    atoms += stride;
    count -= stride;
  }
  return true;
}

namespace {

// What a reader of one point answers with when its list is short, long or bad.
struct OnePointTexts {
  char const* tooFew;
  char const* tooMany;  // takes the number of points read, always 1
  char const* failed;
};

// The keyword (or the default "ade" with a warning), then exactly one point.
bool readOnePoint(t_object* x, long count, t_atom const* atoms, CartesianVector& position,
                  OnePointTexts const& texts) {
  CoordinatesFormat format;
  unsigned int stride;
  Head const head = readKeyword(count, atoms, format, stride);
  if (head == Head::Unknown) {
    object_error(x, "unknown coordinate type");
    return false;
  }
  if (head == Head::Default) object_warn(x, "using default coordinate type (ade)");
  if (count < static_cast<long>(stride)) {
    object_error(x, texts.tooFew);
    return false;
  }
  if (count > static_cast<long>(stride)) object_warn(x, texts.tooMany, 1);
  if (!atoms2coordinates(position, format, static_cast<int>(count), atoms)) {
    object_error(x, texts.failed);
    return false;
  }
  return true;
}

}  // namespace

bool get_speaker_coordinates_from_atoms(t_object* x, unsigned int numSpeakers, long count,
                                        t_atom const* atoms, CartesianVector& position,
                                        unsigned int& index) {
  if (isLong(atoms, count)) {
    t_atom_long const number = atoms[0].a_w.w_long;
    if (number < 1 || number > static_cast<t_atom_long>(numSpeakers)) {
      object_error(x, "invalid speaker index %d", static_cast<int>(number));
      return false;
    }
    index = static_cast<unsigned int>(number - 1);
    ++atoms;
    --count;
  }
  return readOnePoint(
      x, count, atoms, position,
      {"invalid speaker message", "too many loudspeakers positions. only %d position will be read",
       "error reading speaker position"});
}

bool get_listener_coordinates_from_atoms(t_object* x, long count, t_atom const* atoms,
                                         CartesianVector& position) {
  return readOnePoint(
      x, count, atoms, position,
      {"invalid listener message", "too many listener positions. only %d position will be read",
       "error reading listener position"});
}

bool get_source_coordinates_from_atoms(t_object* x, unsigned int numSources, long count,
                                       t_atom const* atoms, unsigned int& index,
                                       CartesianVector& position) {
  if (isLong(atoms, count)) {
    t_atom_long const i = atoms[0].a_w.w_long - 1;
    if (i < 0 || i >= static_cast<t_atom_long>(numSources)) {
      object_error(x, "invalid source index %d", static_cast<int>(i + 1));
      return false;
    }
    index = static_cast<unsigned int>(i);
    ++atoms;
    --count;
  }
  CoordinatesFormat format = CoordinatesFormatADE;
  unsigned int stride = 3;
  if (isSymbol(atoms, count)) {
    t_symbol const* keyword = atoms[0].a_w.w_sym;
    if (!CoordinatesFormatLookUp(keyword, format, stride)) {
      object_error(x, "unknown coordinate type %s", keyword->s_name);
      return false;
    }
    ++atoms;
    --count;
  } else {
    object_warn(x, "using default coordinate type (ade)");
  }

  if (format != CoordinatesFormatZorv3) {
    if (count < static_cast<long>(stride)) {
      object_error(x, "not enough source coordinates. expected %d coordinates",
                   static_cast<int>(stride));
      return false;
    }
    if (count > static_cast<long>(stride)) {
      object_warn(x, "too many source coordinates. only %d coordinates will be read",
                  static_cast<int>(stride));
    }
    if (!atoms2coordinates(position, format, static_cast<int>(count), atoms)) {
      object_error(x, "error reading source coordinates");
      return false;
    }
    return true;
  }

  // "zorv3" has forms of its own here: the longer ones read the azimuth as
  // "ade" does, the one-number form with the opposite sign.
  // The form is chosen by the kinds of the atoms; a number that is not
  // finite then fails the form it belongs to.
  unsigned int const n = count > 0 ? static_cast<unsigned int>(count) : 0;
  unsigned int const numbers = nolarmax::CheckAtomsFormat("nnn", atoms, n)  ? 3
                               : nolarmax::CheckAtomsFormat("nn", atoms, n) ? 2
                               : nolarmax::CheckAtomsFormat("n", atoms, n)  ? 1
                                                                            : 0;
  float v[3];
  CartesianVector p;
  bool read = numbers > 0 && readNumbers(count, atoms, numbers, v);
  if (read && numbers == 3) {
    p = pointFromDegrees(v[0], v[2], v[1], false, true);
  } else if (read && numbers == 2) {
    // The present elevation, folded over the poles by pointFrom.
    p = pointFrom(internalAzimuth(v[0], false), position.elevation(), v[1], true);
  } else if (read) {
    SphericalVector s;
    s = position;
    s.azimuth = internalAzimuth(v[0], true);
    p = s;
  }
  if (!read || !finite(p)) {
    object_error(x, "error reading source coordinates");
    return false;
  }
  position = p;
  return true;
}

bool get_coordinates_format_and_stride(t_symbol const* keyword, t_object* x,
                                       CoordinatesFormat& format, unsigned int& stride,
                                       t_symbol*& canonical) {
  if (CoordinatesFormatLookUp(keyword, format, stride)) {
    canonical = gensym(CoordinatesFormatName(format));
    return true;
  }
  object_warn(x, "unknown coordinate type: %s. using default coordinate type (ade)",
              keyword != nullptr ? keyword->s_name : "");
  // The text says "ade" but the format given is "aed": callers rely on it.
  format = CoordinatesFormatAED;
  stride = 3;
  canonical = gensym("aed");
  return false;
}

bool atoms2hlshelf(float& globalGaindB, float& lowGaindB, float& midGaindB, float& highGaindB,
                   float& lowFrequency, float& highFrequency, long count, t_atom const* atoms) {
  using Zorv::ZorvDefaultParameters;
  if (atoms == nullptr || count <= 0) return false;
  float v[6];
  bool six = false;
  if (count >= 7 && (symbolIs(atoms[0], "hlshelf") || symbolIs(atoms[0], "params"))) {
    six = readNumbers(count - 1, atoms + 1, 6, v);
    if (!six) return false;
  } else if (count >= 6 && readNumbers(count, atoms, 6, v)) {
    six = true;
  }
  auto const gain = [](float g) {
    return clip(g, ZorvDefaultParameters::MinHLShelfGaindB,
                ZorvDefaultParameters::MaxHLShelfGaindB);
  };
  auto const frequency = [](float f) {
    return clip(f, ZorvDefaultParameters::MinHLShelfFrequency,
                ZorvDefaultParameters::MaxHLShelfFrequency);
  };
  auto const global = [](float g) {
    return clip(g, ZorvDefaultParameters::MinHLShelfGlobalGaindB,
                ZorvDefaultParameters::MaxHLShelfGlobalGaindB);
  };
  if (six) {
    globalGaindB = global(v[0]);
    lowGaindB = gain(v[1]);
    midGaindB = gain(v[2]);
    highGaindB = gain(v[3]);
    lowFrequency = frequency(v[4]);
    highFrequency = frequency(v[5]);
    return true;
  }
  if (count >= 5 && symbolIs(atoms[0], "gains")) {
    if (!readNumbers(count - 1, atoms + 1, 4, v)) return false;
    globalGaindB = global(v[0]);
    lowGaindB = gain(v[1]);
    midGaindB = gain(v[2]);
    highGaindB = gain(v[3]);
    return true;
  }
  if (count >= 3 && symbolIs(atoms[0], "freqs")) {
    if (!readNumbers(count - 1, atoms + 1, 2, v)) return false;
    lowFrequency = frequency(v[0]);
    highFrequency = frequency(v[1]);
    return true;
  }
  return false;
}

bool atoms2reverb(float (&fields)[6], long count, t_atom const* atoms) {
  if (atoms == nullptr || count <= 0) return false;
  float v[4];
  if (count >= 5 && symbolIs(atoms[0], "times")) {
    if (!readNumbers(count - 1, atoms + 1, 4, v)) return false;
    for (int i = 0; i < 4; ++i) fields[i] = v[i];
    return true;
  }
  if (count >= 3 && symbolIs(atoms[0], "freqs")) {
    if (!readNumbers(count - 1, atoms + 1, 2, v)) return false;
    fields[4] = v[0];
    fields[5] = v[1];
    return true;
  }
  return false;
}
