#include "platform/exif/cameras/CaptureTime.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>

namespace tessik::exif {
namespace {

constexpr double kSecondsPerHour = 3600.0;

/// No time zone is farther from UTC than that of Kiribati.
constexpr int kMaxHours = 14;

/// A clock that nobody has set counts from 1970 or 1980: time since the start, not a date.
constexpr double kOldestSeconds = 20.0 * 365.0 * 24.0 * kSecondsPerHour;

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

/// Days from 1970-01-01 to a date of the Gregorian calendar.
/// Source: H. Hinnant, chrono-compatible low-level date algorithms, days_from_civil.
std::int64_t daysFromCivil(std::int64_t year, int month, int day) {
    year -= month <= 2 ? 1 : 0;
    const std::int64_t era = (year >= 0 ? year : year - 399) / 400;
    const std::int64_t yearOfEra = year - era * 400;
    const std::int64_t dayOfYear = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
    const std::int64_t dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
    return era * 146097 + dayOfEra - 719468;
}

/// "2017:10:19 20:42:10" as seconds since 1970-01-01 of the clock that wrote it.
std::optional<double> parseDateTime(const std::string& text) {
    int year = 0;
    int month = 0;
    int day = 0;
    int hour = 0;
    int minute = 0;
    int second = 0;
    int used = 0;
    if (std::sscanf(text.c_str(), // NOLINT(cert-err34-c): the ranges are checked below
                    "%4d%*1[:-]%2d%*1[:-]%2d%*1[ T]%2d:%2d:%2d%n",
                    &year,
                    &month,
                    &day,
                    &hour,
                    &minute,
                    &second,
                    &used) != 6 ||
        used == 0) {
        return std::nullopt;
    }
    if (year < 1 || month < 1 || month > 12 || day < 1 || day > 31 || hour < 0 || hour > 23 ||
        minute < 0 || minute > 59 || second < 0 || second > 60) {
        return std::nullopt;
    }
    return static_cast<double>(((daysFromCivil(year, month, day) * 24 + hour) * 60 + minute) * 60 +
                               second);
}

/// Digits of a fraction of a second, with a sign on some firmware: "200159" is 0.200159 s,
/// "-182458" is -0.182458 s. Anything else is not a fraction.
double parseSubSeconds(const std::string& text, bool countsNanoseconds) {
    constexpr std::size_t kMinNanosecondDigits = 7;
    constexpr std::size_t kMaxNanosecondDigits = 9;
    const bool isNegative = !text.empty() && text.front() == '-';
    const std::string digits = text.substr(isNegative ? 1 : 0);
    if (!std::all_of(digits.begin(), digits.end(), isDigit)) {
        return 0.0;
    }
    const bool isCount = countsNanoseconds && digits.size() >= kMinNanosecondDigits &&
                         digits.size() <= kMaxNanosecondDigits;
    const std::string zeros(isCount ? kMaxNanosecondDigits - digits.size() : 0, '0');
    const double fraction = parseNumber("0." + zeros + digits).value_or(0.0);
    return isNegative ? -fraction : fraction;
}

/// "+02:00" in seconds.
std::optional<double> parseUtcOffset(const std::string& text) {
    if (text.size() != 6 || (text[0] != '+' && text[0] != '-') || text[3] != ':') {
        return std::nullopt;
    }
    if (!isDigit(text[1]) || !isDigit(text[2]) || !isDigit(text[4]) || !isDigit(text[5])) {
        return std::nullopt;
    }
    const int hours = 10 * (text[1] - '0') + text[2] - '0';
    const int minutes = 10 * (text[4] - '0') + text[5] - '0';
    if (hours > kMaxHours || minutes > 59) {
        return std::nullopt;
    }
    return (text[0] == '-' ? -1.0 : 1.0) * (hours * kSecondsPerHour + minutes * 60.0);
}

/// The satellite receiver's own stamps, in UTC; absent when they are not stated or it had no fix.
std::optional<double> satelliteTime(const Tags& tags) {
    const std::string date = tags.exifText("Exif.GPSInfo.GPSDateStamp");
    const std::vector<double> time = tags.exifNumbers("Exif.GPSInfo.GPSTimeStamp");
    const auto midnight = parseDateTime(date + " 00:00:00");
    if (!midnight || *midnight < kOldestSeconds || time.size() != 3 ||
        tags.exifText("Exif.GPSInfo.GPSStatus") == "V") {
        return std::nullopt;
    }
    const double seconds = time[0] * kSecondsPerHour + time[1] * 60.0 + time[2];
    const bool isTimeOfDay = seconds >= 0.0 && seconds <= 24.0 * kSecondsPerHour;
    return isTimeOfDay ? std::optional(*midnight + seconds) : std::nullopt;
}

/// Zones differ from UTC by whole quarters of an hour; what is left is the time between the
/// exposure and the last fix.
std::optional<double>
offsetToSatelliteTime(const Tags& tags, double cameraSeconds, ImageMetadata& metadata) {
    constexpr double kQuarter = 0.25 * kSecondsPerHour;
    constexpr double kLongestSinceFix = 120.0; // s
    const auto utc = satelliteTime(tags);
    if (!utc) {
        return std::nullopt;
    }
    const double difference = cameraSeconds - *utc;
    const double offset = kQuarter * std::round(difference / kQuarter);
    if (!(std::abs(offset) <= kMaxHours * kSecondsPerHour)) {
        metadata.warnings.emplace_back("The camera's clock and the time of its satellite receiver "
                                       "are days apart: the receiver's time is not used");
        return std::nullopt;
    }
    if (std::abs(difference - offset) > kLongestSinceFix) {
        metadata.warnings.emplace_back(
            "The camera's clock is minutes off the time of its satellite receiver, beyond whole "
            "quarters of an hour: the capture time may be off by as much");
    }
    return offset;
}

/// The very moment of the exposure, where the camera states it in UTC:
/// "2022-06-22T07:25:30.419834", with a blank for the T or a Z at the end on some firmware.
std::optional<double> exposureTimeUtc(const Tags& tags) {
    std::string text = tags.xmpText("drone-dji", "UTCAtExposure");
    if (!text.empty() && text.back() == 'Z') {
        text.pop_back();
    }
    const auto dot = text.find('.');
    const auto seconds = parseDateTime(text.substr(0, dot));
    if (!seconds || *seconds < kOldestSeconds) {
        return std::nullopt;
    }
    return *seconds +
           (dot == std::string::npos ? 0.0 : parseSubSeconds(text.substr(dot + 1), false));
}

/// Seconds that the camera's clock is ahead of UTC.
double clockOffset(const Tags& tags,
                   double cameraSeconds,
                   const Clock& clock,
                   const ReadOptions& options,
                   ImageMetadata& metadata) {
    const auto stated = parseUtcOffset(tags.exifText("Exif.Photo.OffsetTimeOriginal"));
    if (stated || clock.isUtc) {
        return stated.value_or(0.0);
    }
    if (const auto offset = offsetToSatelliteTime(tags, cameraSeconds, metadata)) {
        return *offset;
    }
    if (options.utcOffsetHours) {
        return *options.utcOffsetHours * kSecondsPerHour;
    }
    if (!metadata.geo.position) {
        metadata.warnings.emplace_back("The capture time is local time without a time zone, and "
                                       "there is no position to estimate one from: taken as UTC");
        return 0.0;
    }
    metadata.warnings.emplace_back("The capture time is local time without a time zone: the offset "
                                   "to UTC is estimated from the longitude, in whole hours");
    constexpr double kDegreesPerHour = 15.0;
    metadata.estimatedUtcOffsetHours =
        std::round(metadata.geo.position->longitude / kDegreesPerHour);
    return *metadata.estimatedUtcOffsetHours * kSecondsPerHour;
}

} // namespace

std::optional<double> readClock(const Tags& tags,
                                const std::string& dateKey,
                                const std::string& fractionKey,
                                bool countsNanoseconds) {
    const auto seconds = parseDateTime(tags.exifText(dateKey));
    return seconds ? std::optional(*seconds +
                                   parseSubSeconds(tags.exifText(fractionKey), countsNanoseconds))
                   : std::nullopt;
}

void readCaptureTime(const Tags& tags,
                     const Clock& clock,
                     const ReadOptions& options,
                     ImageMetadata& metadata) {
    if (const auto utc = exposureTimeUtc(tags)) {
        metadata.geo.captureTime = *utc;
        return;
    }
    const bool hasOwnFraction = !tags.exifText("Exif.Photo.SubSecTimeOriginal").empty();
    const auto seconds =
        readClock(tags,
                  "Exif.Photo.DateTimeOriginal",
                  hasOwnFraction ? "Exif.Photo.SubSecTimeOriginal" : "Exif.Photo.SubSecTime",
                  clock.countsNanoseconds);
    if (!seconds) {
        return;
    }
    if (*seconds < kOldestSeconds) {
        metadata.warnings.emplace_back("The camera's clock was not set: no capture time");
        return;
    }
    metadata.geo.captureTime = *seconds - clockOffset(tags, *seconds, clock, options, metadata);
}

} // namespace tessik::exif
