#include "ZorvPanMessages.h"

#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "NolarException.h"
#include "NolarMaxAtoms.h"
#include "ZorvCoordinates.h"
#include "ZorvDbapPanning.h"
#include "ZorvPanFamilies.h"

namespace families = zorv_pan_families;
using nolardsp::CartesianVector;

namespace {

t_object* objectOf(zorv_pan_signal_t* x) {
  return &x->ob.ob.z_ob;
}

bool isType(zorv_pan_signal_t* x, char const* name) {
  return x->type == gensym(name);
}

bool isSubtype(zorv_pan_signal_t* x, char const* name) {
  return x->subtype == gensym(name);
}

float clip(float v, float lo, float hi) {
  return v < lo ? lo : (v > hi ? hi : v);
}

// A number by the handlers' rule: a long or a float, anything else 0; a value
// that is not finite counts as 0 too, so that none reaches a panner.
float numberOf(t_atom const* a) {
  float const v = nolarmax::atom_getnumber(a, 0.f);
  return std::isfinite(v) ? v : 0.f;
}

CartesianVector sourcePosition(zorv_pan_signal_t* x, long index) {
  float const* p = x->sourcespositions + 3 * index;
  return CartesianVector(p[0], p[1], p[2]);
}

void store(float* into, CartesianVector const& p) {
  into[0] = p.x;
  into[1] = p.y;
  into[2] = p.z;
}

// The text of a file name; "none" for the empty symbol.
t_symbol* fileOrNone(t_symbol* file) {
  if (file == nullptr || file->s_name[0] == '\0') return gensym("none");
  return file;
}

bool isKemar(char const* name) {
  return std::strcmp(name, "kemar") == 0 || std::strcmp(name, "KEMAR") == 0;
}

// The built-in set by its name, any other name through the search path; an
// empty path when the file cannot be found (reported here).
std::string locate(zorv_pan_signal_t* x, t_symbol* file) {
  if (isKemar(file->s_name)) return "kemar";
  char path[MAX_PATH_CHARS];
  if (!nolarmax::FindFile(file->s_name, path, sizeof path)) {
    object_error(objectOf(x), "couldnt locate file %s", file->s_name);
    return std::string();
  }
  return path;
}

}  // namespace

void zorv_pan_source(zorv_pan_signal_t* x, t_symbol*, long argc, t_atom* argv) {
  t_object* ob = objectOf(x);
  if (argc < 2 || argv == nullptr || argv[0].a_type != A_LONG || argv[1].a_type != A_SYM) {
    nolarmax::post_error_message(ob, argc, argv, "unknown source message");
    return;
  }
  t_atom_long const number = argv[0].a_w.w_long;
  if (number < 1 || number > x->numinputs) {
    object_error(ob, "invalid source index %d", static_cast<int>(number));
    return;
  }
  long const index = static_cast<long>(number - 1);
  t_symbol* const keyword = argv[1].a_w.w_sym;

  if (keyword == gensym("spread")) {
    zorv_pan_update_spreadomni(x, index, argc > 2 ? numberOf(argv + 2) : 0.f);
  } else if (keyword == gensym("spreadxyz")) {
    if (argc != 5) {
      object_error(ob, "invalid spreadxyz message");
      return;
    }
    float const values[3] = {numberOf(argv + 2), numberOf(argv + 3), numberOf(argv + 4)};
    zorv_pan_update_spreadxyz(x, index, values);
  } else if (keyword == gensym("mute")) {
    if (argc < 3 || (argv[2].a_type != A_LONG && argv[2].a_type != A_FLOAT)) {
      nolarmax::post_error_message(ob, argc, argv, "unknown source message");
      return;
    }
    t_atom_long const v = atom_getlong(argv + 2);
    short const muted = v >= 1 ? 1 : 0;
    // No panner call: the block routine reads the flags at its next block.
    x->sourceEnabled[index] = static_cast<short>(1 - muted);
    x->activeInputs[index] = static_cast<short>(x->sourceEnabled[index] & x->inputConnected[index]);
  } else {
    CartesianVector position = sourcePosition(x, index);
    unsigned int read = static_cast<unsigned int>(index);
    if (!get_source_coordinates_from_atoms(ob, static_cast<unsigned int>(x->numinputs), argc, argv,
                                           read, position)) {
      nolarmax::post_error_message(ob, argc, argv, "unknown source message");
      return;
    }
    store(x->sourcespositions + 3 * read, position);
    zorv_pan_update_sourcespositions(x, static_cast<long>(read));
    zorv_pan_warn_if_silent_layout(x);
  }
}

void zorv_pan_update_spreadomni(zorv_pan_signal_t* x, long index, float value) {
  t_object* ob = objectOf(x);
  bool found = false;
  if (isType(x, "dbap")) {
    found = families::IsDbap(x->panner);
  } else if (isType(x, "vbap")) {
    found = families::IsVbap(x->panner);
  } else if (isType(x, "vbap2d")) {
    found = families::IsVbap2D(x->panner);
  } else {
    object_error(ob, "message only supported by dbap or vbap");
    return;
  }
  if (!found) {
    object_error(ob, "couldnt get object");
    return;
  }
  if (index < 0 || index >= x->numinputs) return;
  value = clip(value, Zorv::DbapPanning::MinSpreadFactor, Zorv::DbapPanning::MaxSpreadFactor);
  x->spread[index] = value;
  x->panner->SetOmniSpreadFactor(static_cast<unsigned int>(index), value);
}

void zorv_pan_update_spreadxyz(zorv_pan_signal_t* x, long index, float const* values) {
  t_object* ob = objectOf(x);
  if (!isType(x, "dbap")) {
    object_error(ob, "message only supported by dbap");
    return;
  }
  if (!families::IsDbap(x->panner)) {
    object_error(ob, "couldnt get object");
    return;
  }
  if (index < 0 || index >= x->numinputs) return;
  float clipped[3];
  for (int k = 0; k < 3; ++k) {
    clipped[k] = clip(values[k], 0.f, 100.f);
    x->spreadxyz[3 * index + k] = clipped[k];
  }
  x->panner->SetDirectionalSpreadFactor(static_cast<unsigned int>(index), clipped);
}

void zorv_pan_loudspeakers(zorv_pan_signal_t* x, t_symbol*, long argc, t_atom* argv) {
  if (isType(x, "binaural") || x->numoutputs <= 0) return;
  // A copy, so that a failed message leaves the layout as it was.
  std::vector<CartesianVector> points(static_cast<std::size_t>(x->numoutputs));
  for (long j = 0; j < x->numoutputs; ++j) {
    float const* p = x->speakerspositions + 3 * j;
    points[static_cast<std::size_t>(j)] = CartesianVector(p[0], p[1], p[2]);
  }
  if (!get_speakers_coordinates_from_atoms(objectOf(x), static_cast<unsigned int>(x->numoutputs),
                                           argc, argv, points.data())) {
    return;
  }
  for (long j = 0; j < x->numoutputs; ++j) {
    store(x->speakerspositions + 3 * j, points[static_cast<std::size_t>(j)]);
  }
  zorv_pan_update_speakerspositions(x);
}

void zorv_pan_loudspeaker(zorv_pan_signal_t* x, t_symbol*, long argc, t_atom* argv) {
  if (isType(x, "binaural") || x->numoutputs <= 0) return;
  // Starts at the origin, not at the speaker's present position.
  CartesianVector position;
  unsigned int index = 0;
  if (!get_speaker_coordinates_from_atoms(objectOf(x), static_cast<unsigned int>(x->numoutputs),
                                          argc, argv, position, index)) {
    return;
  }
  store(x->speakerspositions + 3 * index, position);
  zorv_pan_update_speakerspositions(x);
}

void zorv_pan_listener(zorv_pan_signal_t* x, t_symbol*, long argc, t_atom* argv) {
  t_object* ob = objectOf(x);
  if (!isType(x, "binaural")) {
    nolarmax::post_error_message(ob, argc, argv, "message only supported for binaural panning");
    return;
  }
  if (!families::IsBinaural(x->panner)) {
    object_bug(ob, "couldnt get object");
    return;
  }
  if (argc > 0 && argv != nullptr && argv[0].a_type == A_SYM &&
      argv[0].a_w.w_sym == gensym("yaw")) {
    if (argc != 2 || !nolarmax::CheckAtomsFormat("sn", argv, 2) ||
        !std::isfinite(nolarmax::atom_getnumber(argv + 1, 0.f))) {
      nolarmax::post_error_message(ob, argc, argv, "invalid listener yaw message");
      return;
    }
    families::SetListenerYaw(x->panner, nolarmax::atom_getnumber(argv + 1, 0.f));
    return;
  }
  CartesianVector position(x->listenerposition[0], x->listenerposition[1], x->listenerposition[2]);
  if (!get_listener_coordinates_from_atoms(ob, argc, argv, position)) {
    nolarmax::post_error_message(ob, argc, argv, "unknown listener message");
    return;
  }
  // Only the attribute of that name stores the listener's position.
  families::SetListenerPosition(x->panner, position);
}

void zorv_pan_corners(zorv_pan_signal_t* x, t_symbol*, long argc, t_atom* argv) {
  t_object* ob = objectOf(x);
  if (!isType(x, "panr")) {
    nolarmax::post_error_message(ob, argc, argv, "message only supported by panr");
    return;
  }
  if (!families::IsRecursive(x->panner)) {
    object_error(ob, "couldnt get object : %s", "zorv_pan_corners");
    return;
  }
  if (argc > 4) {
    object_warn(ob, "Too many corners arguments. only %d corners values will be read", 4);
  }
  float corners[4];
  bool ok = argc >= 4 && nolarmax::CheckAtomsFormat("nnnn", argv, 4);
  for (int k = 0; ok && k < 4; ++k) {
    corners[k] = nolarmax::atom_getnumber(argv + k, 0.f);
    ok = std::isfinite(corners[k]);
  }
  if (!ok) {
    nolarmax::post_error_message(ob, argc, argv, "invalid corners parameters");
    return;
  }
  families::SetCorners(x->panner, corners);
}

namespace {

void postLines(t_object* ob, std::vector<std::string> const& lines) {
  for (std::string const& line : lines) object_post(ob, "%s", line.c_str());
}

void postHoaInfos(t_object* ob, families::HoaInfos const& infos, char const* label) {
  object_post(ob, "%s : order : %d ", label, infos.order);
  object_post(ob, "%s : encoding convention : %s", label, infos.encoding);
  object_post(ob, "%s : sorting convention : %s", label, infos.sorting);
}

}  // namespace

void zorv_pan_hrtfinfo(zorv_pan_signal_t* x) {
  t_object* ob = objectOf(x);
  if (!isType(x, "binaural") || !families::IsBinaural(x->panner)) {
    object_error(ob, "message only supported by binaural");
    return;
  }
  std::vector<std::string> lines;
  if (!families::GetFilterSetReport(x->panner, 0, "Hrtf", lines)) {
    object_warn(ob, "no hrtf info available");
    return;
  }
  postLines(ob, lines);
}

void zorv_pan_info(zorv_pan_signal_t* x) {
  t_object* ob = objectOf(x);
  if (isType(x, "binaural") && isSubtype(x, "nearfield")) {
    if (!families::IsBinauralNearfield(x->panner)) {
      object_error(ob, "message only supported by binaural nearfield");
    } else {
      zorv_pan_hrtfinfo(x);
      std::vector<std::string> lines;
      if (!families::GetFilterSetReport(x->panner, 1, "Nearfield filter", lines)) {
        object_error(ob, "couldnt get hrtf info");
      } else {
        postLines(ob, lines);
      }
    }
  } else if (isType(x, "binaural") && isSubtype(x, "sh")) {
    std::vector<std::string> lines;
    if (!families::IsBinauralSphericalHarmonics(x->panner)) {
      object_error(ob, "message only supported by binaural sh");
    } else if (!families::GetFilterSetReport(x->panner, 2, "SH Basis", lines)) {
      object_error(ob, "couldnt get hrtf info");
    } else {
      postLines(ob, lines);
    }
  } else if (isType(x, "binaural")) {
    zorv_pan_hrtfinfo(x);
  } else if (isType(x, "hoa2d") || isType(x, "hoa3d")) {
    families::HoaInfos infos;
    if (!families::IsHoa(x->panner) || !families::GetHoaInfos(x->panner, infos)) {
      object_error(ob, "message only supported by hoa");
    } else {
      postHoaInfos(ob, infos, "HOA");
    }
  } else if (isType(x, "nfchoa2d") || isType(x, "nfchoa3d")) {
    families::HoaInfos infos;
    if (!families::IsNfcHoa(x->panner) || !families::GetHoaInfos(x->panner, infos)) {
      object_error(ob, "message only supported by hoa");
    } else {
      postHoaInfos(ob, infos, "NFC-HOA");
    }
  } else {
    object_post(ob, "no info available for this type of panning");
  }
  nolarmax::postdspstatus(&x->ob);
}

void zorv_pan_implementation(zorv_pan_signal_t* x, t_symbol* s, long argc, t_atom* argv) {
  // The change rebuilds filters: it is put off to the low-priority queue.
  defer_medium(x, reinterpret_cast<method>(zorv_pan_implementation_deferred), s,
               static_cast<short>(argc > 32767 ? 32767 : argc), argv);
}

void zorv_pan_implementation_deferred(zorv_pan_signal_t* x, t_symbol*, long argc, t_atom* argv) {
  if (argc < 1 || argv == nullptr || argv[0].a_type != A_SYM) return;
  if (!isType(x, "binaural") || !families::IsBinaural(x->panner)) {
    object_error(objectOf(x), "message only supported by binaural");
    return;
  }
  families::SetFIRFiltersImplementationMethod(x->panner, argv[0].a_w.w_sym->s_name);
}

void zorv_pan_crossfadetype(zorv_pan_signal_t* x, t_symbol* name) {
  if (!families::IsBinaural(x->panner)) {
    object_error(objectOf(x), "message only supported by binaural");
    return;
  }
  families::SetCrossFadeType(x->panner, name != nullptr ? name->s_name : "");
}

void zorv_pan_load(zorv_pan_signal_t* x, t_symbol* file) {
  x->hrtffile = fileOrNone(file);
  zorv_pan_update_hrtffile(x);
}

void zorv_pan_update_hrtffile(zorv_pan_signal_t* x) {
  t_object* ob = objectOf(x);
  if (!isType(x, "binaural")) {
    object_error(ob, "message only supported by binaural");
    return;
  }
  if (x->hrtffile == nullptr || x->hrtffile == gensym("none")) return;
  if (!families::IsBinaural(x->panner)) {
    object_bug(ob, "couldnt get object");
    return;
  }
  std::string const path = locate(x, x->hrtffile);
  if (path.empty()) return;
  if (path != "kemar" && path.find(".coll") == std::string::npos &&
      path.find(".hrtf") == std::string::npos && path.find(".shb") == std::string::npos &&
      path.find(".sofa") == std::string::npos) {
    object_error(ob, "Can only load from coll, hrtf or sofa files");
    return;
  }
  // File loading is the one place where the host catches.
  try {
    if (families::LoadFromFile(x->panner, path.c_str())) {
      object_post(ob, "Loaded hrtf from %s", path.c_str());
      zorv_pan_check_hrtf_samplerate(x);
    } else {
      object_error(ob, "Error loading file %s", path.c_str());
      x->hrtffile = gensym("none");
    }
  } catch (nolardsp::Exception const& e) {
    object_error(ob, "%s", e.what());
  }
  nolarmax::NotifyChange(&x->ob);
}

void zorv_pan_check_hrtf_samplerate(zorv_pan_signal_t* x) {
  unsigned int setRate = 0, runningRate = 0;
  if (!families::TakeSampleRateNotice(x->panner, setRate, runningRate)) return;
  object_warn(objectOf(x),
              "the hrtf set is made for %u Hz and runs at %u Hz: its cues are shifted by a factor "
              "of %.4f",
              setRate, runningRate, static_cast<double>(runningRate) / setRate);
}

void zorv_pan_load_nf(zorv_pan_signal_t* x, t_symbol* file) {
  x->nearfieldhrtffile = fileOrNone(file);
  zorv_pan_update_nearfieldhrtffile(x);
}

void zorv_pan_update_nearfieldhrtffile(zorv_pan_signal_t* x) {
  t_object* ob = objectOf(x);
  if (!isType(x, "binaural") || !isSubtype(x, "nearfield")) {
    object_error(ob, "message only supported by binaural nearfield");
    return;
  }
  if (x->nearfieldhrtffile == nullptr || x->nearfieldhrtffile == gensym("none")) return;
  if (!families::IsBinauralNearfield(x->panner)) {
    object_bug(ob, "couldnt get object");
    return;
  }
  std::string const path = locate(x, x->nearfieldhrtffile);
  if (path.empty()) return;
  if (path != "kemar" && path.find(".near") == std::string::npos) {
    object_error(ob, "Can only load near files");
    return;
  }
  try {
    if (families::LoadCompensationFilters(x->panner, path.c_str())) {
      object_post(ob, "Loaded nearfield compensation filters from %s", path.c_str());
    } else {
      object_error(ob, "Error loading compensation filters from %s", path.c_str());
    }
  } catch (nolardsp::Exception const& e) {
    object_error(ob, "%s", e.what());
  }
  nolarmax::NotifyChange(&x->ob);
}
