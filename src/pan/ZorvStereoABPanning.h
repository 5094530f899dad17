#pragma once

#include <memory>
#include <vector>

#include "NolarDelay.h"
#include "NolarRamp.h"
#include "ZorvPan.h"

namespace Zorv {

// A spaced pair of microphones, 17 cm apart on the left-right axis: each
// source reaches each output through a delay line and a gain of its own. The
// delays are 1 ms plus or minus half the travel time across the pair at 340
// m/s, so the difference between the channels follows the difference between
// the paths from a distant source to the two microphones; the gains add the
// pair's pick-up pattern. A source nearer than 1 m moves towards the middle
// of the image, where both paths are equal.
//
// Threads: Process and ProcessAdding run on the audio thread and allocate
// nothing (the scratch runs are sized by SetMaxBlockSize). Setters run on a
// message thread; SetNumInputs, SetSamplerate and SetMaxBlockSize allocate
// and must not race with a block.
class StereoABPanning : public Pan {
 public:
  // Milliseconds: glide of the delays and ramp of the gains.
  static float const DefaultRampTime;  // 30
  // Milliseconds: room in each delay line; the delays stay within 1.25 ms.
  static float const DefaultMaxDelay;  // 2

  // One source: a delay and a gain per channel.
  struct Voice {
    Voice();
    nolardsp::Delay left;
    nolardsp::Delay right;
    nolardsp::Ramp leftGain;
    nolardsp::Ramp rightGain;
  };

  // A NullPanning unless there are 2 outputs.
  static Pan* Create(unsigned int numInputs, unsigned int numOutputs);

  // Every source starts in the middle of the image, at the origin.
  explicit StereoABPanning(unsigned int numInputs);
  ~StereoABPanning() override;

  // Overwrites both outputs. An inactive source is not read and its delay
  // lines stand still.
  void Process(float** outputs, float** inputs, unsigned long numSamples,
               short const* activeInputs) override;
  // Adds every active source into both outputs.
  void ProcessAdding(float** outputs, float** inputs, unsigned long numSamples,
                     short const* activeInputs) override;

  void SetSamplerate(float samplerate) override;
  void SetMaxBlockSize(unsigned int maxBlockSize) override;
  void Clear() override;

  // New delays and gains for the source; with immediately they jump (and may
  // click), otherwise delays glide and gains ramp.
  void SetSourcePosition(unsigned int index, nolardsp::CartesianVector const& position,
                         bool immediately) override;
  void SetSourcePositions(nolardsp::CartesianVector const* positions) override;
  // The pair is fixed: speaker positions and the output count mean nothing.
  void SetLoudspeakerPositions(nolardsp::CartesianVector const* positions) override;
  // Makes or deletes voices; new ones are set up at the present rate, block
  // size and time, at the origin.
  void SetNumInputs(unsigned int numInputs) override;
  void SetNumOutputs(unsigned int numOutputs) override;
  void SetInterpolationTime(float milliseconds) override;

  Voice const& GetVoice(unsigned int index) const { return *voices[index]; }

 private:
  void setUpVoice(Voice& voice);

  std::vector<std::unique_ptr<Voice>> voices;
  // One block of gain-ramp values.
  std::vector<float> scratch;
  // One block of delayed signal, for ProcessAdding.
  std::vector<float> scratchAdding;
  float interpolationTime;
};

}  // namespace Zorv
