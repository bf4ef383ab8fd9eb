#pragma once

/// @file
/// Where a celestial object stands for an observer.

#include "platform/export.h"

#include <optional>

namespace tessik::astro {

/// Days from 1899-12-31 12:00 UTC: the day count of this library.
constexpr double kJ2000 = 36525.0; ///< 2000-01-01 12:00

struct Observer {
    double date = 0.0;        ///< day count, UTC
    double latitude = 0.0;    ///< rad, north positive
    double longitude = 0.0;   ///< rad, east positive
    double height = 0.0;      ///< m above the ellipsoid
    double temperature = 0.0; ///< of the air, degrees Celsius
    double pressure = 0.0;    ///< of the air, hPa; 0 = no refraction
    double epoch =
        kJ2000; ///< of equatorial coordinates, day count; horizon coordinates are of date
};

struct Object {
    const char* name = "";
    float azimuth = 0.0F;  ///< rad, 0..2 pi, from north, clockwise
    float altitude = 0.0F; ///< rad above the horizon, refracted
};

/// Index of the Sun among the built-in objects: it follows the planets.
constexpr int kSun = 8;

/// @param objects set to the first of the built-in objects. Their places are those of a
/// planetarium's list; positions are computed for the Sun only.
/// @return how many there are
TESSIK_PLATFORM_EXPORT int getBuiltInObjs(const Object** objects);

/// @param month 1..12
/// @param day of the month, from 1, with fraction
/// @param mjd set to the day count of this date of the Gregorian calendar, 0 h and the fraction;
/// to NaN before the year -4799
TESSIK_PLATFORM_EXPORT void cal_mjd(int month, double day, int year, double* mjd);

/// Sets azimuth and altitude of an object: topocentric (with parallax), with aberration and with
/// refraction for the observer's air.
/// @return 0, or another value on failure: object that cannot be computed, observer not finite,
/// date that the calendar does not reach. The object is then untouched.
TESSIK_PLATFORM_EXPORT int obj_cir(const Observer* observer, Object* object);

/// Elevation of the sun above the horizon, refracted in air of 15 degrees Celsius and 1010 hPa,
/// rad.
/// @param time s since 1970-01-01 00:00 UTC
/// @param latitude,longitude rad
/// @return absent for a time that the calendar does not reach, or a place that is not finite
TESSIK_PLATFORM_EXPORT std::optional<double>
sunElevation(double time, double latitude, double longitude);

} // namespace tessik::astro
