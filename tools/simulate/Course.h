#pragma once

#include <cstddef>
#include <cstdint>

namespace tessik::simulate {

/// When and where one capture is taken.
struct Station {
    double eastM = 0.0;            ///< from where the flight begins, m
    double northM = 0.0;           ///< from where the flight begins, m
    std::int64_t microseconds = 0; ///< since the flight's day began, UTC
};

/// The station of a capture: a line to the north at a steady pace, with what wind does to it.
Station stationOf(std::uint64_t seed, std::size_t capture);

/// Width of an image on the ground, m, whatever its size in pixels.
inline constexpr double kFootprintWidthM = 48.0;

/// The day of the flight, as EXIF writes it.
inline constexpr auto kFlightDay = "2024:06:21";

/// WGS 84 position of a station.
struct GeographicPosition {
    double latitudeDegrees = 0.0;
    double longitudeDegrees = 0.0;
    double altitudeM = 0.0;
};
GeographicPosition positionOf(const Station& station);

} // namespace tessik::simulate
