#pragma once

// Conversions between the user's angles (degrees, azimuth 0 in front and
// growing clockwise, shown in [-180, 180)) and the internal frame (radians,
// azimuth = atan2(y, x)). All arithmetic is in float with these exact
// constants: results at the wrap points, and gains compared for equality
// further on, depend on them.
namespace Zorv {

// User azimuth in degrees -> internal azimuth in radians, in [-pi, pi).
float UserAzimuthToInternal(float azimuthDegrees);

// Internal direction (x, y) -> user azimuth in degrees, in [-180, 180).
float InternalToUserAzimuth(float x, float y);

// Wraps degrees into [0, 360).
float WrapDegrees360(float degrees);

// Wraps radians into [-pi, pi).
float WrapRadians(float radians);

}  // namespace Zorv
