#pragma once

#include <cstddef>
#include <vector>

#include "ZorvRenderLoop.h"

namespace zorvjack {

// A score played against the audio clock: a message falls due once the
// blocks processed since the start reach its sample. Times are the
// renderer's (the nearest sample), so a score sounds the same in both.
class ScorePlayer {
 public:
  ScorePlayer() = default;
  explicit ScorePlayer(std::vector<zorvrender::TimedMessage> messages);

  // The messages due at this frame count that were not handed out yet, in
  // order.
  std::vector<zorvrender::TimedMessage> Due(long long frames);
  // Frames until the next message is due (0 when one is due now), or -1 when
  // the score is over.
  long long FramesUntilNext(long long frames) const;

 private:
  std::vector<zorvrender::TimedMessage> messages;
  std::size_t next = 0;
};

}  // namespace zorvjack
