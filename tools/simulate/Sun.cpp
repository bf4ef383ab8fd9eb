// Position: J. J. Michalsky, The Astronomical Almanac's algorithm for approximate solar position
// (1950-2050), Solar Energy 40 (1988).
// Refraction: T. Saemundsson, Sky and Telescope 72 (1986), as in J. Meeus, Astronomical Algorithms,
// 2nd edition, equation 16.4.
#include "simulate/Sun.h"

#include "platform/math/Angle.h"

#include <algorithm>
#include <cmath>

namespace tessik::simulate {
namespace {

constexpr double kSecondsPerDay = 86400.0;
constexpr double kUnixOfNoon2000 = 946728000.0; ///< 2000-01-01 12:00, where the formula counts from

/// At 15 degrees Celsius and 1010 hPa, degrees.
double refraction(double geometricDegrees) {
    constexpr double kDensity = 283.0 / 288.0; // of the air, against the formula's 10 degrees
    const double h = std::max(geometricDegrees, -1.0); // the formula's range
    return kDensity * 1.02 / 60.0 / std::tan((h + 10.3 / (h + 5.11)) * kDegree);
}

} // namespace

SunDirection sunDirection(double unixSeconds, const GeographicPosition& position) {
    const double days = (unixSeconds - kUnixOfNoon2000) / kSecondsPerDay;
    const double meanLongitude = 280.460 + 0.9856474 * days;
    const double anomaly = (357.528 + 0.9856003 * days) * kDegree;
    const double longitude =
        (meanLongitude + 1.915 * std::sin(anomaly) + 0.020 * std::sin(2.0 * anomaly)) * kDegree;
    const double obliquity = (23.439 - 0.0000004 * days) * kDegree;
    const double rightAscension =
        std::atan2(std::cos(obliquity) * std::sin(longitude), std::cos(longitude));
    const double sinDeclination = std::sin(obliquity) * std::sin(longitude);
    const double cosDeclination = std::sqrt(1.0 - sinDeclination * sinDeclination);

    const double daysSince1970 = unixSeconds / kSecondsPerDay;
    const double hour = 24.0 * (daysSince1970 - std::floor(daysSince1970));
    const double siderealHours = 6.697375 + 0.0657098242 * days + hour;
    const double hourAngle =
        (siderealHours * 15.0 + position.longitudeDegrees) * kDegree - rightAscension;

    const double latitude = position.latitudeDegrees * kDegree;
    const double north = sinDeclination * std::cos(latitude) -
                         cosDeclination * std::sin(latitude) * std::cos(hourAngle);
    const double east = -cosDeclination * std::sin(hourAngle);
    const double up = sinDeclination * std::sin(latitude) +
                      cosDeclination * std::cos(latitude) * std::cos(hourAngle);
    const double elevation = std::atan2(up, std::hypot(north, east));
    const double azimuth = std::atan2(east, north);
    return {azimuth < 0.0 ? azimuth + 2.0 * kPi : azimuth,
            elevation + refraction(elevation / kDegree) * kDegree};
}

} // namespace tessik::simulate
