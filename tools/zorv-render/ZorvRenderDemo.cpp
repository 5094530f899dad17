#include "ZorvRenderDemo.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>

namespace zorvrender {
namespace {

constexpr double pi = 3.14159265358979323846;
constexpr double beatSeconds = 0.25;
constexpr double fadeSeconds = 0.02;

// A pentatonic line, two bars long, in hertz.
constexpr double melody[] = {220.00, 261.63, 293.66, 329.63, 392.00, 329.63, 293.66, 440.00,
                             392.00, 329.63, 293.66, 261.63, 329.63, 392.00, 523.25, 440.00};

// Repeatable white noise in [-1, 1) from a frame index, so that any frame can
// be made on its own.
double noiseAt(long long frame) {
  uint64_t x = static_cast<uint64_t>(frame) * 0x9E3779B97F4A7C15ull + 0x632BE59BD9B4E019ull;
  x ^= x >> 31;
  x *= 0xBF58476D1CE4E5B9ull;
  x ^= x >> 27;
  return static_cast<double>(x >> 11) * (2. / 9007199254740992.) - 1.;
}

}  // namespace

DemoSource::DemoSource(double samplerate, double seconds)
    : samplerate(samplerate),
      numFrames(static_cast<long long>(std::llround(std::max(0., seconds) * samplerate))) {}

float DemoSource::SampleAt(long long frame) const {
  if (frame < 0 || frame >= numFrames) {
    return 0.f;
  }
  double const t = static_cast<double>(frame) / samplerate;
  long long const beat = static_cast<long long>(t / beatSeconds);
  double const sinceBeat = t - static_cast<double>(beat) * beatSeconds;

  // A plucked note: harmonics 1/k, the upper ones dying sooner.
  double const f = melody[beat % (sizeof(melody) / sizeof(melody[0]))];
  double note = 0.;
  for (int k = 1; k <= 6; ++k) {
    if (f * k < 0.45 * samplerate) {
      note += std::sin(2. * pi * f * k * sinceBeat) * std::exp(-sinceBeat * 6. * k) / k;
    }
  }
  note *= std::min(1., sinceBeat / 0.002);

  // A tick of noise on every beat, brighter on the off-beats; the difference of
  // two noise samples tilts it towards the top.
  double const tickLevel = (beat % 2 == 0) ? 0.25 : 0.4;
  double const tick =
      tickLevel * (noiseAt(frame) - noiseAt(frame - 1)) * 0.5 * std::exp(-sinceBeat / 0.015);

  double const seconds = static_cast<double>(numFrames) / samplerate;
  double const fade = std::min({1., t / fadeSeconds, (seconds - t) / fadeSeconds});
  return static_cast<float>(0.35 * (note + tick) * std::max(0., fade));
}

unsigned int DemoSource::Read(float* const* channels, unsigned int n) {
  unsigned int const count =
      static_cast<unsigned int>(std::max(0LL, std::min<long long>(n, numFrames - position)));
  for (unsigned int k = 0; k < count; ++k) {
    channels[0][k] = SampleAt(position + k);
  }
  position += count;
  return count;
}

std::string DemoScoreText(double seconds) {
  // Positions go by the attribute that holds the sources' x y z (x to the
  // right, y to the front), which every panning type has.
  std::string text =
      "# The built-in demonstration: one source circling the listener once,\n"
      "# clockwise from the front, one metre away.\n"
      "0 interpolationtime 50\n";
  constexpr double step = 0.05;
  long long const steps = static_cast<long long>(std::floor(seconds / step + 1e-9));
  for (long long i = 0; i < steps; ++i) {
    double const t = static_cast<double>(i) * step;
    double const azimuth = 2. * pi * t / seconds;
    char line[96];
    std::snprintf(line, sizeof(line), "%.2f sourcespositions %.6f %.6f 0\n", t, std::sin(azimuth),
                  std::cos(azimuth));
    text += line;
  }
  return text;
}

std::string DemoHeadphonesScoreText(double seconds) {
  std::string text =
      "# The built-in demonstration on headphones: one source circling the\n"
      "# listener, clockwise from the front, then rising from the front over the\n"
      "# head to the back, one metre away.\n"
      "0 interpolationtime 50\n";
  constexpr double step = 0.05;
  double const circle = seconds * 2. / 3.;
  long long const steps = static_cast<long long>(std::floor(seconds / step + 1e-9));
  for (long long i = 0; i < steps; ++i) {
    double const t = static_cast<double>(i) * step;
    double x = 0., y = 0., z = 0.;
    if (t < circle) {
      double const azimuth = 2. * pi * t / circle;
      x = std::sin(azimuth);
      y = std::cos(azimuth);
    } else {
      // Along the median plane: in front, above, behind.
      double const elevation = pi * (t - circle) / (seconds - circle);
      y = std::cos(elevation);
      z = std::sin(elevation);
    }
    char line[112];
    std::snprintf(line, sizeof(line), "%.2f sourcespositions %.6f %.6f %.6f\n", t, x, y, z);
    text += line;
  }
  return text;
}

bool IsHeadphonesBox(std::string const& box) {
  std::size_t const at = box.find("@type binaural");
  if (at == std::string::npos) {
    return false;
  }
  std::size_t const end = at + std::string("@type binaural").size();
  return end == box.size() || box[end] == ' ';
}

}  // namespace zorvrender
