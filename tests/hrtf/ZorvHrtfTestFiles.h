#pragma once

#include <cstdio>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include "NolarSdifTypes.h"
#include "NolarSdifWriter.h"
#include "ZorvTestFiles.h"

// Hand-made HRTF files for the loader tests, written by our own SDIF writer.
namespace zorvtest {

struct HrtfMatrix {
  char const* signature;
  nolardsp::SdifDataTypeET dataType;
  std::uint32_t rows;
  std::uint32_t columns;
  std::vector<double> values;
};

struct HrtfFrame {
  std::uint32_t id;
  std::vector<HrtfMatrix> matrices;
  char const* signature = "HRTF";
};

// The "HrtfInfos" table of a small valid set; tests change entries by name.
struct HrtfFileContents {
  std::vector<std::pair<std::string, std::string>> infos = {
      {"TableName", "HrtfInfos"},    {"Author", "zorv tests"},     {"Owner", "zorv"},
      {"Subject", "test head"},      {"Generated", "by a test"},   {"Copyright", "none"},
      {"SamplingRate", "44100"},     {"DataType", "Binaural"},     {"FiltersType", "FIR"},
      {"NumChannels", "2"},          {"NumPoints", "1"},           {"FiltersLength", "4"},
      {"MeasurementSet", "none"},    {"InterpolationSet", "none"}, {"Symmetrization", "no"},
      {"SpatialInterpolation", "no"}};
  std::string types =
      "1MTD XCAR {x, y, z}\n1MTD XAED {azimuth, elevation, distance}\n1MTD XITD {itd}\n"
      "1MTD XIIR {coefficients}\n1MTD XFIR {coefficients}\n"
      "1FTD HRTF {XCAR cartesian; XAED spherical; XITD delay; XIIR biquads; XFIR impulse;}\n";
  std::vector<HrtfFrame> frames;

  void Set(std::string const& key, std::string const& value) {
    for (auto& kv : infos) {
      if (kv.first == key) {
        kv.second = value;
        return;
      }
    }
    infos.emplace_back(key, value);
  }
  void Remove(std::string const& key) {
    for (auto it = infos.begin(); it != infos.end(); ++it) {
      if (it->first == key) {
        infos.erase(it);
        return;
      }
    }
  }

  void Write(std::string const& path) const {
    nolardsp::SdifWriter w(path);
    w.WriteGeneralHeader();
    w.WriteTypes(types);
    w.WriteNameValueTable(infos);
    for (HrtfFrame const& f : frames) {
      w.BeginFrame(nolardsp::SdifStringToSignature(f.signature), 0.0, f.id);
      for (HrtfMatrix const& m : f.matrices) {
        w.WriteMatrix(nolardsp::SdifStringToSignature(m.signature), m.dataType, m.rows, m.columns,
                      m.values);
      }
      w.EndFrame();
    }
    w.Close();
  }
};

// A file removed when the test ends.
class ScratchFile {
 public:
  explicit ScratchFile(std::string const& name) : path(TempPath(name)) {}
  ~ScratchFile() { std::remove(path.c_str()); }
  ScratchFile(ScratchFile const&) = delete;
  ScratchFile& operator=(ScratchFile const&) = delete;
  char const* c_str() const { return path.c_str(); }
  std::string const path;
};

inline void WriteText(std::string const& path, std::string const& text) {
  std::ofstream out(path, std::ios::binary);
  out << text;
}

}  // namespace zorvtest
