#pragma once

#include <optional>

namespace tessik {

/// A position on the earth, WGS 84.
struct GeoPosition {
    double latitude = 0.0;  ///< degrees, north positive
    double longitude = 0.0; ///< degrees, east positive
    double height = 0.0;    ///< m, as the receiver states it; NaN = not stated
};

/// When and where an image was taken.
struct GeoData {
    /// Seconds since 1970-01-01 00:00 UTC, with fraction; 0.0 = no time.
    double captureTime = 0.0;
    /// Absent = no fix.
    std::optional<GeoPosition> position;
};

} // namespace tessik
