#pragma once

#include <string>
#include <vector>

#include "NolarCartesianVector.h"
#include "NolarSignalProcessing.h"

namespace Zorv {

// The panner: N input signals, each a source at a position, rendered onto M
// outputs. The host object owns exactly one, made by Factory, and talks to it
// through the virtual operations below.
//
// Threads: Process and ProcessAdding run on the audio thread and allocate
// nothing; every setter runs on a message thread, with no lock, and is taken up
// by the audio thread at a safe moment (a ramp boundary, a fade's start, the
// next block).
class Pan : public nolardsp::SignalProcessing {
 public:
  enum Type : unsigned int {
    Binaural = 0,
    XY = 1,
    MS = 2,
    AB = 3,
    Surround = 4,
    Panr = 5,
    Angular = 6,
    Vbap2D = 7,
    Vbap = 8,
    Vbip = 9,
    Dbap = 10,
    Dbap3D = 11,
    BFormat = 12,
    HOA2D = 13,
    HOA3D = 14,
    VDbap = 15,
    NFCHOA2D = 16,
    NFCHOA3D = 17,
    Subwoofers = 18,
    Null = 19,
  };

  enum SubType : unsigned int {
    Direct = 0,
    Early = 1,
    Diffuse = 2,
    Nearfield = 3,
    SphericalHarmonics = 4,
    SphericalHeadModel = 5,
    SnowmanModel = 6,
    Continuous = 7,
  };

  enum SpreadingMode : unsigned int {
    Omnidirectional = 0,
    Directional = 1,
  };

  static SpreadingMode const DefaultSpreadingMode;

  Pan();
  ~Pan() override;

  void Process(float** outputs, float** inputs, unsigned long numSamples,
               short const* activeInputs) override = 0;
  void SetSamplerate(float samplerate) override = 0;
  void SetMaxBlockSize(unsigned int maxBlockSize) override = 0;
  void Clear() override = 0;

  // Like Process, but adds into the outputs.
  virtual void ProcessAdding(float** outputs, float** inputs, unsigned long numSamples,
                             short const* activeInputs) = 0;

  // Absolute position in metres. With immediately false the change is ramped
  // or cross-faded; with it true every ramp, delay and filter jumps at once.
  // The index is checked by the caller.
  virtual void SetSourcePosition(unsigned int index, nolardsp::CartesianVector const& position,
                                 bool immediately) = 0;
  // numInputs positions, ramped.
  virtual void SetSourcePositions(nolardsp::CartesianVector const* positions) = 0;
  // numOutputs positions.
  virtual void SetLoudspeakerPositions(nolardsp::CartesianVector const* positions) = 0;
  // For the constructors of composite panners; never called on a live object.
  virtual void SetNumInputs(unsigned int numInputs) = 0;
  virtual void SetNumOutputs(unsigned int numOutputs) = 0;
  virtual void SetInterpolationTime(float milliseconds) = 0;

  // Spread: panners without spread leave these empty.
  virtual void SetSpreadMode(char const* name);
  virtual void SetSpreadMode(SpreadingMode const& mode);
  virtual void SetOmniSpreadFactor(float factor);
  virtual void SetOmniSpreadFactor(unsigned int source, float factor);
  virtual void SetDirectionalSpreadFactor(unsigned int source, float* xyz);
  virtual void SetDirectionalSpreadFactor(float* xyz);

  // Builds the panner for a method and channel counts. Never returns null: a
  // method that does not exist, a channel count it cannot serve or a
  // construction that failed all give a NullPanning.
  static Pan* Factory(unsigned int numInputs, unsigned int numOutputs, Type type, SubType subtype);
  // An unknown type name is "null"; an unknown subtype name is "direct".
  static Pan* Factory(unsigned int numInputs, unsigned int numOutputs, char const* type,
                      char const* subtype);

  // The canonical name; "null" for anything above the last method.
  static char const* GetTypeName(Type type);
  static SpreadingMode GetSpreadMode(char const* name);
  static char const* GetSpreadModeName(SpreadingMode const& mode);
  // The 20 canonical names in the order of Type, "null" last.
  static void GetListOfAvailablePanType(std::vector<std::string>& names);
  // The same names joined by the separator; made once, kept for the process.
  static char const* GetListOfAvailablePanType(char const* separator);

  // Looks a name up in the maps; false when it is not there.
  static bool LookUpType(char const* name, Type& type);
  static bool LookUpSubType(char const* name, SubType& subtype);

  std::vector<nolardsp::CartesianVector> const& GetSourcePositions() const {
    return sourcePositions;
  }

 protected:
  // Re-renders every source from its stored position, ascending: called after
  // anything that changes how a position is rendered.
  void forceUpdate(bool immediately);

  std::vector<nolardsp::CartesianVector> sourcePositions;
};

}  // namespace Zorv
