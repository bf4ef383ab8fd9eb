#pragma once

#include "simulate/Attitude.h"

#include <cstddef>
#include <cstdint>

namespace tessik::simulate {

class Random;

/// When and where one capture is taken, and how aircraft and camera hang.
struct Station {
    double eastM = 0.0;            ///< from where the flight begins, m
    double northM = 0.0;           ///< from where the flight begins, m
    double belowFlightM = 0.0;     ///< lower than the flight, m
    std::int64_t microseconds = 0; ///< since the flight's day began, UTC
    Attitude attitude;
};

/// Of all flights: this far in that time.
inline constexpr double kAdvanceM = 7.3;
inline constexpr double kAdvanceSeconds = 1.5;

/// At a capture before take-off or after landing: near where the flight begins, the camera held
/// level over what lies on the ground.
Station onGround(Station station);

/// The station of a capture: a line to the north at a steady pace, with what wind does to it.
Station stationOf(std::uint64_t seed, std::size_t capture, double intervalSeconds);

/// Time of a capture since the flight began: even but for the camera's own delay.
std::int64_t captureMicroseconds(std::size_t capture, double intervalSeconds, Random& random);

/// Width of an image on the ground, m, whatever its size in pixels.
inline constexpr double kFootprintWidthM = 48.0;

/// The day of the flight, as EXIF writes it.
inline constexpr auto kFlightDay = "2024:06:21";
/// When that day begins: seconds since 1970-01-01, UTC.
inline constexpr double kFlightDayUnix = 1718928000.0;
inline constexpr std::int64_t kDayMicroseconds = 86400LL * 1000000;

/// WGS 84 position of a station.
struct GeographicPosition {
    double latitudeDegrees = 0.0;
    double longitudeDegrees = 0.0;
    double altitudeM = 0.0;
};
GeographicPosition positionOf(const Station& station);

} // namespace tessik::simulate
