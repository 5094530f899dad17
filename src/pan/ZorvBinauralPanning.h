#pragma once

#include <string>
#include <vector>

#include "NolarCartesianVector.h"
#include "NolarFilter.h"
#include "ZorvPan.h"

namespace Zorv {

class Hrtf;
struct HrtfPoint;
struct HrtfHeaderInfos;

// The headphone renderers: N sources onto a left and a right channel. What
// they share lives here: the listener (position, yaw, head radius), the
// conversion of a source's absolute position into one relative to the head,
// and the models of the interaural time difference (ITD).
//
// A source's position is stored as given; the renderer sees it relative to
// the listener and turned by the yaw, through setSourceRelativePosition.
//
// Threads: setters run on a message thread and reach the audio thread only
// through what each renderer hands over at a block boundary.
class BinauralPanning : public Pan {
 public:
  enum ITDType : int {
    SphericalHeadBasicModel = 0,
    SphericalHeadWoodworthModel = 1,
    ITDFromMeasurement = 2,
    LarcherJotModel = 3,
    SaviojaModel = 4,
    MillerModel = 5,
    NoITD = 6,
  };

  // What one ear's chain does. Numbered unlike the filter type of a file.
  enum HRTFFilterType : int {
    FirFiltering = 0,
    BiquadFiltering = 1,
    NoFiltering = 2,
  };

  static ITDType const DefaultItdType;  // measurement

  BinauralPanning();
  ~BinauralPanning() override;

  // Stores the absolute position, forms the one relative to the head and
  // hands it to the renderer.
  void SetSourcePosition(unsigned int index, nolardsp::CartesianVector const& position,
                         bool immediately) override;
  void SetSourcePositions(nolardsp::CartesianVector const* positions) override;
  // Two outputs and no loudspeakers: both do nothing.
  void SetLoudspeakerPositions(nolardsp::CartesianVector const* positions) override;
  void SetNumOutputs(unsigned int numOutputs) override;
  // New absolute positions start one metre in front, new relative ones at the
  // centre of the head.
  void SetNumInputs(unsigned int numInputs) override;

  // Each moves every source relative to the head at once (faded).
  void SetListenerPosition(nolardsp::CartesianVector const& position);
  void SetListenerYaw(float degrees);
  nolardsp::CartesianVector const& GetListenerPosition() const { return listenerPosition; }
  // Radians.
  float GetListenerYaw() const { return listenerYaw; }

  // A change of model is heard at once, by sources at rest too.
  void SetITDType(ITDType type);
  void SetITDType(char const* name);
  ITDType GetCurrentITDType() const { return itdType; }
  // The name that reads back as the same type.
  void GetCurrentITDType(std::string& name) const;
  float GetListenerHeadRadius() const { return headRadius; }

  // The set of filters in use; false when the renderer cannot use the file
  // (and keeps its set). Errors of reading pass out as nolardsp::Exception.
  virtual bool LoadFromFile(char const* path) = 0;
  virtual void SetFilterCrossFadeTime(float milliseconds) = 0;
  virtual void SetCrossFadeType(char const* name) = 0;
  virtual void SetFIRFiltersImplementationMethod(nolardsp::Filter::FIRImplementation method) = 0;
  // Maps the name ("timedomain", "fft", ...) and calls the form above.
  void SetFIRFiltersImplementationMethod(char const* name);
  virtual void SetListenerHeadRadius(float metres) = 0;
  // Null when the renderer has no filter set.
  virtual HrtfHeaderInfos const* GetHrtfHeaderInfos() const = 0;

  // Every accepted name: the model's own words, and each name that
  // GetCurrentITDType gives back. An unknown name is the measured ITD.
  static ITDType GetITDType(char const* name);
  static char const* GetITDTypeName(ITDType type);

  // Delays of both ears in milliseconds for a position relative to the head:
  // a base of 1 ms each, plus and minus half the ITD of the model (so both
  // stay positive and sum to 2 ms while the ITD is below 2 ms). The point is
  // read only by the measured type.
  static void ComputeMonauralDelays(ITDType type, nolardsp::CartesianVector const& position,
                                    HrtfPoint const& point, float headRadius, float& left,
                                    float& right);
  // The same with the point's ITD given as a number.
  static void ComputeMonauralDelays(ITDType type, nolardsp::CartesianVector const& position,
                                    float pointItd, float headRadius, float& left, float& right);

 protected:
  virtual void setSourceRelativePosition(unsigned int index,
                                         nolardsp::CartesianVector const& position,
                                         bool immediately) = 0;
  // Called before sources are re-rendered after a change of how a position
  // maps to delays: a renderer that skips positions within one cell of its
  // grid forgets where each source was.
  virtual void forgetLastPoints() {}

  void getMonauralDelays(nolardsp::CartesianVector const& position, HrtfPoint const& point,
                         float& left, float& right) const;
  void getMonauralDelays(nolardsp::CartesianVector const& position, Hrtf* hrtf, float& left,
                         float& right) const;

  nolardsp::CartesianVector relativePosition(nolardsp::CartesianVector const& absolute) const;

  std::vector<nolardsp::CartesianVector> sourceRelativePositions;
  nolardsp::CartesianVector listenerPosition;
  float listenerYaw;
  ITDType itdType;
  float headRadius;
};

}  // namespace Zorv
