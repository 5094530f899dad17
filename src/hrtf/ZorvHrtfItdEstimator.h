#pragma once

#include <cstddef>

namespace Zorv {

// The interaural time difference of a pair of head-related impulse responses,
// the way the built-in set was fitted: the lag of the peak of the two ears'
// cross-correlation after a 1.5 kHz low-pass (4th-order Butterworth, run
// forwards and backwards, so without phase), refined to 1/16 sample by
// band-limited interpolation and then by a parabola. The low-pass keeps the
// estimate on the main lobe behind the head, where the full-band correlation
// jumps between lobes. Runs at load time; allocates.
class HrtfItdEstimator {
 public:
  // Left arrival minus right arrival, in milliseconds: negative when the left
  // ear is the nearer. 0 for silent or empty responses.
  static float EstimateMilliseconds(float const* left, float const* right, std::size_t length,
                                    double sampleRate);
};

}  // namespace Zorv
