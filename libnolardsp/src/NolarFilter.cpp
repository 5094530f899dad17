#include "NolarFilter.h"

#include <cmath>
#include <mutex>

namespace nolardsp {

std::map<std::string, Filter::FIRImplementation> Filter::firImplementationMap;

Filter::Filter() : SignalProcessing(1, 1, DefaultSampleRate, 512), order(0), silenced(false) {}

Filter::~Filter() = default;

void Filter::Process(float** outputs, float** inputs, unsigned long numSamples,
                     short const* activeInputs) {
  if (activeInputs[0] == 0) return;
  Process(outputs[0], inputs[0], numSamples);
}

unsigned int Filter::GetOrder() const {
  return order;
}

void Filter::GetMemory(std::vector<float>& memoryOut) const {
  memoryOut = memory;
}

void Filter::initFIRImplementationMap() {
  if (!firImplementationMap.empty()) return;
  firImplementationMap["timedomain"] = TimeDomain;
  firImplementationMap["direct"] = TimeDomain;
  firImplementationMap["fftconvolution"] = FFTConvolution;
  firImplementationMap["fft"] = FFTConvolution;
}

Filter::FIRImplementation Filter::GetFIRImplementation(char const* name) {
  // Message threads of several objects may ask at once.
  static std::mutex mapMutex;
  std::lock_guard<std::mutex> lock(mapMutex);
  initFIRImplementationMap();
  return firImplementationMap[name != nullptr ? name : ""];
}

bool Filter::DurbinStepDownRecursion(std::vector<float> const& polynomial) {
  std::vector<double> scratch(polynomial.size());
  return DurbinStepDownRecursion(polynomial.data(), static_cast<unsigned int>(polynomial.size()),
                                 scratch.data());
}

bool Filter::DurbinStepDownRecursion(float const* polynomial, unsigned int n, double* scratch) {
  if (n <= 1) return true;
  for (unsigned int i = 0; i < n; ++i) scratch[i] = polynomial[i];
  // Each stage: a is the last coefficient; the stage passes only if |a| < 1,
  // and the next lower stage is (p_i - a * p_(m-i)) / (1 - a^2), the last
  // entry dropped.
  for (unsigned int m = n - 1; m >= 1; --m) {
    double const a = scratch[m];
    if (!(std::fabs(a) < 1.0)) return false;
    double const scale = 1.0 / (1.0 - a * a);
    for (unsigned int i = 0, j = m; i <= j; ++i, --j) {
      double const lo = scratch[i];
      double const hi = scratch[j];
      scratch[i] = (lo - a * hi) * scale;
      if (i != j) scratch[j] = (hi - a * lo) * scale;
      if (j == 0) break;
    }
  }
  return true;
}

bool Filter::AllFinite(float const* values, unsigned long n) {
  // A sum of products with zero is NaN exactly when some value is NaN or
  // infinite; cheaper than n classifications and vectorises.
  float acc = 0.f;
  for (unsigned long i = 0; i < n; ++i) acc += values[i] * 0.f;
  return acc == 0.f;
}

}  // namespace nolardsp
