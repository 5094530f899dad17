#pragma once

#include <vector>

#include "NolarCartesianVector.h"
#include "ZorvSphericalHarmonicData.h"

namespace Zorv {

class Hrtf;

// Fits the spectra of an FIR set onto the spherical harmonics up to an order,
// ear by ear and bin by bin, by regularised least squares; and measures how
// far the fit is from the measurements.
//
// Not for the audio thread.
class SphericalHarmonicFit {
 public:
  struct Error {
    // Over the directions judged: the mean and largest distance of the fitted
    // magnitude from the measured one, in dB, averaged over the bins from
    // 200 Hz to 16 kHz of both ears.
    double meanDb = 0.;
    double maxDb = 0.;
    unsigned int numDirections = 0;
  };

  struct Result {
    SphericalHarmonicData data;
    Error fitted;   // at the directions of the fit
    Error heldOut;  // at the directions left out of it
  };

  // The angles of a direction in the form the harmonics take: theta from the
  // zenith, phi = atan2(y, x). The centre is (pi / 2, 0).
  static void Direction(nolardsp::CartesianVector const& position, double& theta, double& phi);

  // Every holdOut-th point (0: none) is left out of the fit and judged after.
  // lambda weighs the regularisation, relative to the mean energy of the
  // harmonics over the directions. Raises nolardsp::Exception for a set that
  // is not two channels of FIR filters, or has fewer points than harmonics.
  static Result Fit(Hrtf const& set, unsigned int order, double lambda, unsigned int holdOut);

  // Magnitude distance in dB between the spectra of two filters of the same
  // length, taken as n-point transforms; over 200 Hz to 16 kHz.
  static double SpectralDistanceDb(std::vector<float> const& a, std::vector<float> const& b,
                                   double sampleRate);
};

}  // namespace Zorv
