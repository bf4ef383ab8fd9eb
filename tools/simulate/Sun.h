#pragma once

#include "simulate/Course.h"

namespace tessik::simulate {

/// Where the sun appears to stand, refraction included.
struct SunDirection {
    double azimuth = 0.0;   ///< radians from north, clockwise, 0 .. 2 pi
    double elevation = 0.0; ///< radians above the horizon
};

/// Is accurate to 0.01 degree from 1950 to 2050, and somewhat less so close to the horizon, where
/// refraction depends on the weather.
/// @param unixSeconds since 1970-01-01, UTC
SunDirection sunDirection(double unixSeconds, const GeographicPosition& position);

} // namespace tessik::simulate
