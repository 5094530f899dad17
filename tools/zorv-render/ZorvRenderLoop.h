#pragma once

#include <functional>
#include <string>
#include <vector>

#include "ZorvRenderObject.h"
#include "ZorvRenderScore.h"
#include "ZorvRenderStreams.h"

namespace zorvrender {

// A message with its sample: it is sent before the block that holds that
// sample, or, with exact timing, between the samples before and at it.
struct TimedMessage {
  long long sample;
  std::string text;
  std::string origin;  // "moves.txt:12", for the console lines it causes
};

// A time in seconds as a sample index at this rate: the nearest sample, so
// that times typed in decimals land where the user counted.
long long SecondsToSample(double seconds, double samplerate);

std::vector<TimedMessage> TimeScore(Score const& score, double samplerate);

struct RenderSettings {
  double samplerate = 48000.;
  unsigned int blockSize = 64;
  long long numFrames = 0;
  bool exact = false;
};

struct RenderHooks {
  // Called before each message with its origin.
  std::function<void(std::string const&)> beforeMessage;
  // Asked after every message and every block; true ends the render there.
  std::function<bool()> stop;
  // Frames done so far, after every block.
  std::function<void(long long)> progress;
};

struct RenderReport {
  long long frames = 0;
  bool stopped = false;
  size_t messagesSent = 0;
  size_t messagesAfterEnd = 0;
  // Where the time went, in seconds of wall clock.
  double readSeconds = 0.;
  double objectSeconds = 0.;   // blocks
  double messageSeconds = 0.;  // timed messages
  double writeSeconds = 0.;
  double totalSeconds = 0.;
};

// Gives each source's channels the next free inlets, in order, and tells the
// object which inlets carry nothing. Throws RenderError (ExitBadInput) naming
// the source whose channels run past the last inlet.
void ConnectInlets(RenderObject& object, std::vector<Source*> const& sources);

// Starts the object's DSP and runs it block by block over settings.numFrames
// frames: reads the sources (silence after their end), sends the messages that
// fall due, processes, writes the outlets to the sink. The buffers are sized
// once, before the first block.
RenderReport Render(RenderObject& object, std::vector<Source*> const& sources, Sink& sink,
                    std::vector<TimedMessage> const& messages, RenderSettings const& settings,
                    RenderHooks const& hooks);

}  // namespace zorvrender
