#include "ZorvHrtfItdEstimator.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <utility>
#include <vector>

namespace Zorv {

namespace {

constexpr double kLowPassHz = 1500.0;
constexpr int kUpsampling = 16;
constexpr std::size_t kMinFftSize = 64;
constexpr double kPi = 3.14159265358979323846;

using Complex = std::complex<double>;

// (a.re * b.re - a.im * b.im, ...) written out: the library's complex product
// checks for infinities on every call, which dominates a transform.
inline Complex mul(Complex a, Complex b) {
  return Complex(a.real() * b.real() - a.imag() * b.imag(),
                 a.real() * b.imag() + a.imag() * b.real());
}

// In-place radix-2 transform; n a power of two. sign -1 forward, +1 inverse
// (unscaled).
void fft(std::vector<Complex>& x, int sign) {
  std::size_t const n = x.size();
  for (std::size_t i = 1, j = 0; i < n; ++i) {
    std::size_t bit = n >> 1;
    for (; j & bit; bit >>= 1) j ^= bit;
    j ^= bit;
    if (i < j) std::swap(x[i], x[j]);
  }
  std::vector<Complex> twiddle(n / 2);
  for (std::size_t k = 0; k < n / 2; ++k) {
    double const angle = sign * 2.0 * kPi * static_cast<double>(k) / static_cast<double>(n);
    twiddle[k] = Complex(std::cos(angle), std::sin(angle));
  }
  for (std::size_t len = 2; len <= n; len <<= 1) {
    std::size_t const half = len / 2;
    std::size_t const stride = n / len;
    for (std::size_t i = 0; i < n; i += len) {
      for (std::size_t k = 0; k < half; ++k) {
        Complex const u = x[i + k];
        Complex const v = mul(x[i + k + half], twiddle[k * stride]);
        x[i + k] = u + v;
        x[i + k + half] = u - v;
      }
    }
  }
}

struct Section {
  double b0, b1, b2, a1, a2;
};

// Second-order sections of the Butterworth low-pass, by the bilinear transform.
void lowPass(double fs, Section out[2]) {
  double const k = std::tan(kPi * std::min(kLowPassHz, 0.45 * fs) / fs);
  double const q[2] = {1.0 / (2.0 * std::cos(kPi / 8.0)), 1.0 / (2.0 * std::cos(3.0 * kPi / 8.0))};
  for (int s = 0; s < 2; ++s) {
    double const norm = 1.0 / (1.0 + k / q[s] + k * k);
    out[s].b0 = k * k * norm;
    out[s].b1 = 2.0 * out[s].b0;
    out[s].b2 = out[s].b0;
    out[s].a1 = 2.0 * (k * k - 1.0) * norm;
    out[s].a2 = (1.0 - k / q[s] + k * k) * norm;
  }
}

// Runs the cascade over x in place (transposed direct form II), starting from
// the steady state of a constant input x[0].
void runCascade(Section const sections[2], std::vector<double>& x) {
  if (x.empty()) return;
  double scale = x[0];
  for (int s = 0; s < 2; ++s) {
    Section const& c = sections[s];
    double const dc = (c.b0 + c.b1 + c.b2) / (1.0 + c.a1 + c.a2);
    double z1 = scale * (c.b2 - c.a2 * dc);
    double z0 = scale * (c.b1 - c.a1 * dc) + z1;
    for (double& v : x) {
      double const in = v;
      double const y = c.b0 * in + z0;
      z0 = c.b1 * in - c.a1 * y + z1;
      z1 = c.b2 * in - c.a2 * y;
      v = y;
    }
    scale *= dc;
  }
}

// Forwards and backwards over an odd extension of the signal at both ends.
std::vector<double> filtfilt(Section const sections[2], float const* x, std::size_t n) {
  std::size_t const pad = n > 15 ? 15 : (n > 1 ? n - 1 : 0);
  std::vector<double> e(n + 2 * pad);
  for (std::size_t i = 0; i < pad; ++i) e[i] = 2.0 * x[0] - x[pad - i];
  for (std::size_t i = 0; i < n; ++i) e[pad + i] = x[i];
  for (std::size_t i = 0; i < pad; ++i) e[pad + n + i] = 2.0 * x[n - 1] - x[n - 2 - i];
  runCascade(sections, e);
  std::vector<double> r(e.rbegin(), e.rend());
  runCascade(sections, r);
  return std::vector<double>(r.rbegin() + static_cast<std::ptrdiff_t>(pad),
                             r.rbegin() + static_cast<std::ptrdiff_t>(pad + n));
}

}  // namespace

float HrtfItdEstimator::EstimateMilliseconds(float const* left, float const* right,
                                             std::size_t length, double sampleRate) {
  if (left == nullptr || right == nullptr || length < 2 || !(sampleRate > 0.0)) return 0.f;
  Section sections[2];
  lowPass(sampleRate, sections);
  std::vector<double> const a = filtfilt(sections, left, length);
  std::vector<double> const b = filtfilt(sections, right, length);

  std::size_t n = kMinFftSize;
  while (n < 2 * length) n <<= 1;
  // Both real signals through one transform, a + i b, and apart again.
  std::vector<Complex> f(n);
  for (std::size_t i = 0; i < length; ++i) f[i] = Complex(a[i], b[i]);
  fft(f, -1);
  // Cross-spectrum A conj(B): its inverse peaks at the lag by which the left lags.
  std::vector<Complex> cross(n);
  for (std::size_t k = 0; k < n; ++k) {
    Complex const x = f[k];
    Complex const y = std::conj(f[(n - k) % n]);
    Complex const fa = 0.5 * (x + y);
    Complex const fb = Complex(0.0, -0.5) * (x - y);
    cross[k] = mul(fa, std::conj(fb));
  }
  double energy = 0.0;
  for (std::size_t k = 0; k < n; ++k) energy += std::norm(cross[k]);
  if (!(energy > 0.0) || !std::isfinite(energy)) return 0.f;

  std::vector<Complex> c = cross;
  fft(c, +1);
  std::size_t peak = 0;
  for (std::size_t k = 1; k < n; ++k)
    if (c[k].real() > c[peak].real()) peak = k;
  double const coarse =
      peak < n / 2 ? static_cast<double>(peak) : static_cast<double>(peak) - static_cast<double>(n);

  // The band-limited correlation at a fractional lag: the inverse transform of
  // the half spectrum, as a zero-padded inverse real transform evaluates it.
  // The low-pass leaves nothing of weight above a few kilohertz (at 8 kHz
  // the forward-backward filter is down by more than 200 dB), so the sum stops
  // there.
  std::size_t const top = std::min<std::size_t>(
      n / 2, static_cast<std::size_t>(std::ceil(8000.0 / sampleRate * static_cast<double>(n))));
  auto at = [&cross, n, top](double lag) {
    double sum = cross[0].real();
    double const w = 2.0 * kPi * lag / static_cast<double>(n);
    Complex const step(std::cos(w), std::sin(w));
    Complex phase = step;
    for (std::size_t k = 1; k <= top; ++k, phase = mul(phase, step)) {
      sum += 2.0 * mul(cross[k], phase).real();
    }
    return sum;
  };
  int const steps = 2 * kUpsampling;
  std::vector<double> fine(steps + 3);
  for (int i = 0; i <= steps + 2; ++i) fine[i] = at(coarse - 1.0 + (i - 1) / double(kUpsampling));
  int best = 1;
  for (int i = 2; i <= steps + 1; ++i)
    if (fine[i] > fine[best]) best = i;
  double const y0 = fine[best - 1], y1 = fine[best], y2 = fine[best + 1];
  double const den = y0 - 2.0 * y1 + y2;
  double const d = den != 0.0 ? 0.5 * (y0 - y2) / den : 0.0;
  double const lag = coarse - 1.0 + (best - 1 + d) / double(kUpsampling);
  double const ms = lag * 1000.0 / sampleRate;
  return std::isfinite(ms) ? static_cast<float>(ms) : 0.f;
}

}  // namespace Zorv
