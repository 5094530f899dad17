#pragma once

#include <string>
#include <vector>

#include "NolarCartesianVector.h"
#include "NolarKdTree.h"
#include "ZorvHrtfHeaderInfos.h"
#include "ZorvHrtfPoint.h"

namespace Zorv {

// A finite list of measured directions around a listener, with its header and
// a spatial index. Built (loaded) off the audio thread; after that read only,
// so several sources may search one set at the same time.
class HrtfData {
 public:
  HrtfData() = default;
  virtual ~HrtfData();
  HrtfData(HrtfData const&) = default;
  HrtfData& operator=(HrtfData const&) = default;

  // Replaces the whole set, or throws nolardsp::Exception and leaves the set
  // as it was.
  virtual void LoadFromFile(char const* path) = 0;

  // An SDIF .hrtf file. Throws nolardsp::Exception, set unchanged, on any
  // fault of the file or when it yields no usable set.
  void LoadFromHRTF(char const* path);

  unsigned int GetNumPoints() const { return header.numPoints; }
  // Lives as long as this object.
  HrtfHeaderInfos const* GetHrtfHeaderInfos() const { return &header; }
  std::vector<HrtfPoint> const& GetPoints() const { return points; }

  // The stored point nearest to position (plain Euclidean distance), by
  // reference into the set. Every position gets a point, a non-finite one
  // included. On an empty set, a default point. May run on the audio thread:
  // allocates nothing, takes no lock.
  HrtfPoint const& GetNearestHrtfPoint(nolardsp::CartesianVector const& position) const;

  // Indexes the positions of all points; follows every load.
  void buildKdTree();

 protected:
  // Checks a complete set read from path and, if it is usable, makes it this
  // object's set and indexes it. Otherwise throws with a text that names the
  // fault and path, and changes nothing.
  void install(HrtfHeaderInfos&& newHeader, std::vector<HrtfPoint>&& newPoints,
               std::string const& path);

  // The checks of install, on their own.
  static void checkUsable(HrtfHeaderInfos const& header, std::vector<HrtfPoint> const& points,
                          std::string const& path);

  std::vector<HrtfPoint> points;
  HrtfHeaderInfos header;
  nolardsp::KdTree<3> kdTree;
};

}  // namespace Zorv
