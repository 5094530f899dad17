#include "ZorvRenderProgress.h"

#include <cstdio>

namespace zorvrender {

ProgressBar::ProgressBar(std::ostream& out, long long totalFrames, double samplerate)
    : out(out),
      totalFrames(totalFrames),
      samplerate(samplerate),
      start(std::chrono::steady_clock::now()),
      lastDraw(start) {}

std::string ProgressBar::Format(long long framesDone, long long totalFrames, double samplerate,
                                double elapsedSeconds) {
  constexpr int width = 30;
  double const fraction =
      totalFrames > 0 ? static_cast<double>(framesDone) / static_cast<double>(totalFrames) : 1.;
  int const filled = static_cast<int>(fraction * width);
  std::string bar = "[" + std::string(filled, '#') + std::string(width - filled, '-') + "]";
  double const renderedSeconds = static_cast<double>(framesDone) / samplerate;
  char text[160];
  if (elapsedSeconds > 0. && framesDone > 0) {
    std::snprintf(text, sizeof(text), " %3d%%  %.1f / %.1f s  elapsed %.1f s  %.1fx real time",
                  static_cast<int>(fraction * 100.), renderedSeconds,
                  static_cast<double>(totalFrames) / samplerate, elapsedSeconds,
                  renderedSeconds / elapsedSeconds);
  } else {
    std::snprintf(text, sizeof(text), " %3d%%  %.1f / %.1f s", static_cast<int>(fraction * 100.),
                  renderedSeconds, static_cast<double>(totalFrames) / samplerate);
  }
  return bar + text;
}

void ProgressBar::Update(long long done) {
  framesDone = done;
  auto const now = std::chrono::steady_clock::now();
  if (shown && now - lastDraw < std::chrono::milliseconds(100)) {
    return;
  }
  lastDraw = now;
  draw();
}

void ProgressBar::Clear() {
  if (shown) {
    out << "\r\033[K";
  }
}

void ProgressBar::Redraw() {
  if (shown) {
    draw();
  }
}

void ProgressBar::Finish() {
  draw();
  out << '\n';
  out.flush();
  shown = false;
}

void ProgressBar::draw() {
  double const elapsed =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  out << "\r\033[K" << Format(framesDone, totalFrames, samplerate, elapsed);
  out.flush();
  shown = true;
}

}  // namespace zorvrender
