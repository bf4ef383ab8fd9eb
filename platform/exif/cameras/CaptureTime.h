#pragma once

#include "platform/exif/ImageMetadata.h"
#include "platform/exif/Tags.h"

#include <optional>
#include <string>

namespace tessik::exif {

/// How a camera writes the time of a capture.
struct Clock {
    /// What it shows where the file states no zone. EXIF means local time; cameras that take it
    /// from a satellite receiver write UTC.
    bool isUtc = false;
    /// Seven and more digits of a fraction are a count of nanoseconds without leading zeros:
    /// "89040255" is 0.089040255 s. EXIF means 0.89040255 s.
    bool countsNanoseconds = false;
};
inline constexpr Clock kLocalClock{};
inline constexpr Clock kUtcClock{true};

/// A date and time tag with its fraction of a second, as seconds since 1970-01-01 of the clock that
/// wrote it; absent when the date is not stated or is not a date.
/// @param fractionKey tag with the digits of the fraction; absent tag = whole seconds
std::optional<double> readClock(const Tags& tags,
                                const std::string& dateKey,
                                const std::string& fractionKey,
                                bool countsNanoseconds = false);

/// Sets GeoData::captureTime, in UTC; the position must have been read. What the file states of UTC
/// comes first: the exposure's own time, a zone, the satellite receiver's stamps. Then the camera's
/// habit, what the user says, and an estimate from the longitude.
void readCaptureTime(const Tags& tags,
                     const Clock& clock,
                     const ReadOptions& options,
                     ImageMetadata& metadata);

} // namespace tessik::exif
