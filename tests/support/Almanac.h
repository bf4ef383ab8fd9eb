#pragma once

#include <cmath>

namespace tessik::test {

constexpr double kDegree = 3.141592653589793 / 180.0;

/// The Sun by a few sines: an oracle that shares nothing with the ephemeris, good to 0.01 degrees
/// from 1950 to 2050, without refraction and parallax.
/// Source: The Astronomical Almanac, page C5, low precision formulas for the Sun; Greenwich mean
/// sidereal time from the same, page B8.
struct AlmanacSun {
    explicit AlmanacSun(double unixTime) {
        const double n = unixTime / 86400.0 - 10957.5; // days from 2000-01-01 12 h
        const double meanLongitude = 280.460 + 0.9856474 * n;
        const double anomaly = (357.528 + 0.9856003 * n) * kDegree;
        const double longitude =
            (meanLongitude + 1.915 * std::sin(anomaly) + 0.020 * std::sin(2.0 * anomaly)) * kDegree;
        const double obliquity = (23.439 - 0.0000004 * n) * kDegree;
        rightAscension = std::atan2(std::cos(obliquity) * std::sin(longitude), std::cos(longitude));
        declination = std::asin(std::sin(obliquity) * std::sin(longitude));
        siderealTime = (18.697374558 + 24.06570982441908 * n) * 15.0 * kDegree;
        equationOfTime = std::remainder(meanLongitude * kDegree - rightAscension, 360.0 * kDegree);
    }

    double rightAscension; ///< rad
    double declination;    ///< rad
    double siderealTime;   ///< at Greenwich, rad
    double equationOfTime; ///< true minus mean solar time, rad
};

/// Where the Sun stands, by the almanac.
struct AlmanacAngle {
    AlmanacAngle(double unixTime, double latitude, double longitude) {
        const AlmanacSun sun(unixTime);
        const double hour = sun.siderealTime + longitude - sun.rightAscension;
        const double north = std::sin(sun.declination) * std::cos(latitude) -
                             std::cos(sun.declination) * std::sin(latitude) * std::cos(hour);
        const double east = -std::cos(sun.declination) * std::sin(hour);
        azimuth = std::atan2(east, north);
        altitude = std::asin(std::sin(sun.declination) * std::sin(latitude) +
                             std::cos(sun.declination) * std::cos(latitude) * std::cos(hour));
    }

    double azimuth;  ///< rad, from north, clockwise
    double altitude; ///< rad
};

/// How far two directions are apart along the horizon, as seen in the sky, rad.
inline double azimuthOffset(double azimuth, double other, double altitude) {
    return std::remainder(azimuth - other, 360.0 * kDegree) * std::cos(altitude);
}

} // namespace tessik::test
