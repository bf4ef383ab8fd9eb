#pragma once

#include "simulate/Course.h"

namespace tessik::simulate {

/// Where the sun seems to stand, refraction included.
struct SunDirection {
    double azimuth = 0.0;   ///< radians from north, clockwise, 0 .. 2 pi
    double elevation = 0.0; ///< radians above the horizon
};

/// Good to 0.01 degree from 1950 to 2050, somewhat less close to the horizon, where refraction
/// depends on the weather.
/// @param unixSeconds since 1970-01-01, UTC
SunDirection sunDirection(double unixSeconds, const GeographicPosition& position);

} // namespace tessik::simulate
