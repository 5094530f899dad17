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

// A score held whole as messages in order; a glide gives only its start and
// its end (ScoreMessages gives every step).
std::vector<TimedMessage> TimeScore(Score const& score, double samplerate);

// Where the render loop takes its timed messages from, one at a time, so that
// a score need not be in memory.
class MessageSource {
 public:
  virtual ~MessageSource() = default;
  // Takes the next message whose sample is before end, in order of samples
  // (and of the score's lines for equal samples); false when none is due.
  // May wait for a pipe; throws RenderError (ExitBadScore) for a bad line.
  virtual bool Take(long long end, TimedMessage& message) = 0;
  // True when a wait for input was cut short by a stop.
  virtual bool Interrupted() const { return false; }
};

// Messages held in memory, already in order.
class MessageList final : public MessageSource {
 public:
  explicit MessageList(std::vector<TimedMessage> const& messages) : messages(messages) {}
  bool Take(long long end, TimedMessage& message) override;
  size_t Left() const { return messages.size() - next; }

 private:
  std::vector<TimedMessage> const& messages;
  size_t next = 0;
};

// The messages of a score read as the render goes: a plain line at its
// sample; a glide at its start, then before every block while it runs (every
// sample with exact timing), and at its end with the final values.
class ScoreMessages final : public MessageSource {
 public:
  ScoreMessages(ScoreReader& reader, double samplerate, unsigned int blockSize, bool exact);
  bool Take(long long end, TimedMessage& message) override;
  bool Interrupted() const override { return reader.Interrupted(); }
  // The lines not sent yet (glides cut short included), counted by reading
  // the rest of a score that is a file; of a pipe, which could go on for
  // ever, only what has been read.
  size_t CountRest();

 private:
  struct Glide {
    ScoreEntry entry;
    long long start;
    long long stop;
    long long next;
  };
  bool peek();
  long long following(long long sample, long long stop) const;
  TimedMessage emit(Glide& glide, long long sample);

  ScoreReader& reader;
  double samplerate;
  long long blockSize;
  bool exact;
  bool havePending = false;
  ScoreEntry pending;
  long long pendingSample = 0;
  std::vector<Glide> gliding;
};

struct RenderSettings {
  double samplerate = 48000.;
  unsigned int blockSize = 64;
  long long numFrames = 0;
  bool exact = false;
  // Sends the messages of time 0, then runs the object on silence for as long
  // as it takes to settle (RenderObject::SettleFrames) without writing it, so
  // that the output starts at the gains those messages set.
  bool preroll = false;
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
  long long prerollFrames = 0;
  size_t messagesAfterEnd = 0;  // of a message list; the app counts a score's itself
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
                    MessageSource& messages, RenderSettings const& settings,
                    RenderHooks const& hooks);
RenderReport Render(RenderObject& object, std::vector<Source*> const& sources, Sink& sink,
                    std::vector<TimedMessage> const& messages, RenderSettings const& settings,
                    RenderHooks const& hooks);

}  // namespace zorvrender
