#pragma once

namespace Zorv {

// The square mapping of the surround and recursive panners: a direction and a
// distance become a point of the square from -1 to 1, and a point of the
// square becomes the gains of the speakers at its corners. Shared so that
// both panners render the same square.
//
// Pure functions of their arguments: any thread, no allocation.
class SquareMapping {
 public:
  // Maps a direction (azimuth and elevation in degrees, azimuth 0 in front
  // and positive clockwise) and a distance onto the square, given the
  // azimuths in degrees of the array's four corners in clockwise order. The
  // four sectors between the corners are spread evenly over the square's
  // perimeter: corner 0 comes to (-1, 1), corner 1 to (1, 1), corner 2 to
  // (1, -1) and corner 3 to (-1, -1). A distance of 1 or more with no
  // elevation lands on the perimeter, a distance of 0 (or a source straight
  // above at any distance of 1 or more) in the centre.
  static void panc(float azimuth, float elevation, float distance, float const* corners, float& x,
                   float& y);
  // Four corner weights of a point: front left, front right, rear right, rear
  // left. They sum to 1 anywhere in the square.
  static void panr4(float x, float y, float* out);
  // Five weights: front left, centre, front right, rear right, rear left. The
  // front pair goes over into the centre as the two approach each other. They
  // sum to 1 anywhere in the square.
  static void panr5(float x, float y, float* out);
};

}  // namespace Zorv
