#pragma once

#include "platform/exif/ExifReader.h"
#include "platform/exif/Tags.h"

#include <optional>
#include <string>

namespace tessik::exif {

/// What a camera's clock shows where the file states no zone. EXIF means local time; cameras that
/// take it from a satellite receiver write UTC.
enum class Clock { Local, Utc };

/// A date and time tag with its fraction of a second, as seconds since 1970-01-01 of the clock that
/// wrote it; absent when the date is not stated or is none.
/// @param fractionKey tag with the digits of the fraction; absent tag = whole seconds
std::optional<double>
readClock(const Tags& tags, const std::string& dateKey, const std::string& fractionKey);

/// Sets GeoData::captureTime, in UTC; the position must have been read.
void readCaptureTime(const Tags& tags,
                     Clock clock,
                     const ReadOptions& options,
                     ImageMetadata& metadata);

} // namespace tessik::exif
