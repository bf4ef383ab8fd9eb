#pragma once

#include "simulate/Attitude.h"

#include <cstddef>
#include <cstdint>

namespace tessik::simulate {

/// When and where one capture is taken, and how aircraft and camera hang.
struct Station {
    double eastM = 0.0;            ///< from where the flight begins, m
    double northM = 0.0;           ///< from where the flight begins, m
    double belowFlightM = 0.0;     ///< how much lower than the flight, m
    std::int64_t microseconds = 0; ///< since the flight's day began, UTC
    Attitude attitude;
    Attitude statedError;    ///< by which the files state another attitude
    bool isOnGround = false; ///< before take-off or after landing

    [[nodiscard]] Attitude statedAttitude() const;
};

/// All flights advance this far in this time.
inline constexpr double kAdvanceM = 7.3;
inline constexpr double kAdvanceSeconds = 1.5;

/// The station of a capture before take-off or after landing: near where the flight begins, with
/// the camera held level above what lies on the ground.
Station onGround(Station station);

/// Draws the error with which the files of a capture state pitch and roll.
/// @param deviation standard deviation, degrees
void addPoseNoise(std::uint64_t seed, std::size_t capture, double deviation, Station& station);

/// The station of a capture on a line to the north, flown at a steady pace and displaced by wind.
Station stationOf(std::uint64_t seed, std::size_t capture, double intervalSeconds);

/// The station of a capture in a survey of an area: legs to the north and to the south side by
/// side, joined by half circles, flown in a wind that makes pitch and roll wander. A camera without
/// a gimbal hangs as the aircraft does.
Station surveyStation(std::uint64_t seed, std::size_t capture, double intervalSeconds);

/// Width of an image on the ground in m, whatever its size in pixels.
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
