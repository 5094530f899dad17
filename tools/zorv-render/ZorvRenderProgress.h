#pragma once

#include <chrono>
#include <ostream>
#include <string>

namespace zorvrender {

// The progress bar: one line on a terminal, redrawn in place at most ten times
// a second, with the position, the elapsed time and the real-time factor.
class ProgressBar {
 public:
  ProgressBar(std::ostream& out, long long totalFrames, double samplerate);

  // Cheap when nothing is due: one clock read.
  void Update(long long framesDone);
  // Erases the line (before another line is printed) and draws it again.
  void Clear();
  void Redraw();
  // Draws the final state and ends the line.
  void Finish();

  // The text of the bar, e.g. "[#####---------------]  25%  2.0 / 8.0 s  0.1 s  x20.0".
  static std::string Format(long long framesDone, long long totalFrames, double samplerate,
                            double elapsedSeconds);

 private:
  void draw();

  std::ostream& out;
  long long totalFrames;
  double samplerate;
  long long framesDone = 0;
  bool shown = false;
  std::chrono::steady_clock::time_point start;
  std::chrono::steady_clock::time_point lastDraw;
};

}  // namespace zorvrender
