#include "ZorvJackScorePlayer.h"

#include <utility>

namespace zorvjack {

ScorePlayer::ScorePlayer(std::vector<zorvrender::TimedMessage> messages)
    : messages(std::move(messages)) {}

std::vector<zorvrender::TimedMessage> ScorePlayer::Due(long long frames) {
  std::vector<zorvrender::TimedMessage> due;
  while (next < messages.size() && messages[next].sample <= frames) {
    due.push_back(messages[next]);
    ++next;
  }
  return due;
}

long long ScorePlayer::FramesUntilNext(long long frames) const {
  if (next >= messages.size()) return -1;
  long long const left = messages[next].sample - frames;
  return left > 0 ? left : 0;
}

}  // namespace zorvjack
