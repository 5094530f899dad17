#pragma once

#include <string>

#include "ZorvRenderStreams.h"

namespace zorvrender {

// The demonstration: a few seconds of sound made here (plucked notes over
// noise ticks: broadband onsets are what the ear locates best) and a score that
// takes it once around the listener, clockwise from the front.
constexpr double DemoSeconds = 8.;

class DemoSource final : public Source {
 public:
  explicit DemoSource(double samplerate, double seconds = DemoSeconds);

  std::string const& Name() const override { return name; }
  unsigned int NumChannels() const override { return 1; }
  double Samplerate() const override { return samplerate; }
  long long NumFrames() const override { return numFrames; }
  unsigned int Read(float* const* channels, unsigned int numFrames) override;

  // The sample at this frame; 0 outside the sound.
  float SampleAt(long long frame) const;

 private:
  std::string name = "demo source";
  double samplerate;
  long long numFrames;
  long long position = 0;
};

// The score of the demonstration, as score text: a position every 50 ms with
// a 50 ms ramp, so the gains glide without a pause between steps. For a box of
// one inlet.
std::string DemoScoreText(double seconds = DemoSeconds);

// The demonstration on headphones is longer: once around the listener as
// above, then from the front up over the head to the back, so that the front,
// the sides, the back and the top are all heard.
constexpr double DemoHeadphonesSeconds = 12.;
std::string DemoHeadphonesScoreText(double seconds = DemoHeadphonesSeconds);

// True for a box that renders to headphones ("@type binaural"): the demo then
// takes the headphone score.
bool IsHeadphonesBox(std::string const& normalisedBoxText);

}  // namespace zorvrender
