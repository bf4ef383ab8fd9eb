#include "simulate/TagText.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>

namespace tessik::simulate {
namespace {

constexpr std::int64_t kSecond = 1000000; ///< us

/// Degrees, minutes and seconds.
std::vector<std::string> sexagesimal(double degrees) {
    const double whole = std::floor(degrees);
    const double minutes = std::floor((degrees - whole) * 60.0);
    const double seconds = ((degrees - whole) * 60.0 - minutes) * 60.0;
    return {fraction(whole, 1), fraction(minutes, 1), fraction(seconds, 1000000)};
}

} // namespace

std::string number(double value) {
    std::array<char, 40> text{};
    std::snprintf(text.data(), text.size(), "%.17g", value);
    return text.data();
}

std::string fixed(double value, int digits) {
    std::array<char, 60> text{};
    std::snprintf(text.data(), text.size(), "%.*f", digits, value);
    return text.data();
}

std::vector<std::string> numbers(const std::vector<double>& values) {
    std::vector<std::string> texts;
    texts.reserve(values.size());
    for (const double value : values) {
        texts.push_back(number(value));
    }
    return texts;
}

std::string joined(const std::vector<std::string>& texts, const char* separator) {
    std::string whole;
    for (const std::string& text : texts) {
        whole += (whole.empty() ? "" : separator) + text;
    }
    return whole;
}

std::string fraction(double value, std::int64_t denominator) {
    const double numerator = std::floor(value * static_cast<double>(denominator) + 0.5);
    return std::to_string(static_cast<std::int64_t>(numerator)) + "/" + std::to_string(denominator);
}

std::vector<std::string> pairs(const std::vector<std::pair<int, int>>& pixels) {
    std::vector<std::string> texts;
    texts.reserve(pixels.size());
    for (const auto& [column, row] : pixels) {
        texts.push_back(std::to_string(column) + "," + std::to_string(row));
    }
    return texts;
}

std::vector<std::string> powers(const PlanePolynomial& polynomial) {
    std::vector<std::string> texts;
    for (const auto& [ofX, ofY] : polynomial.powers) {
        texts.push_back(std::to_string(ofX));
        texts.push_back(std::to_string(ofY));
    }
    return texts;
}

std::string clockTime(std::int64_t microseconds) {
    const auto second = static_cast<int>(microseconds / kSecond);
    std::array<char, 40> text{};
    std::snprintf(
        text.data(), text.size(), "%02d:%02d:%02d", second / 3600, second / 60 % 60, second % 60);
    return text.data();
}

std::string sixDigits(std::int64_t value) {
    std::array<char, 40> text{};
    std::snprintf(text.data(), text.size(), "%06d", static_cast<int>(value));
    return text.data();
}

void addTime(std::int64_t microseconds, std::vector<exif::NewTag>& tags) {
    const std::string text = std::string(kFlightDay) + " " + clockTime(microseconds);
    tags.push_back({"Exif.Photo.DateTimeOriginal", {text}});
    tags.push_back({"Exif.Image.DateTime", {text}});
}

void addSatelliteTime(std::int64_t microseconds, std::vector<exif::NewTag>& tags) {
    const std::int64_t second = microseconds / kSecond;
    tags.push_back({"Exif.GPSInfo.GPSDateStamp", {kFlightDay}});
    tags.push_back({"Exif.GPSInfo.GPSTimeStamp",
                    {std::to_string(second / 3600),
                     std::to_string(second / 60 % 60),
                     std::to_string(second % 60)}});
    std::string day = kFlightDay;
    std::replace(day.begin(), day.end(), ':', '-');
    tags.push_back(
        {"Xmp.drone-dji.UTCAtExposure",
         {day + "T" + clockTime(microseconds) + "." + sixDigits(microseconds % kSecond)}});
}

exif::NewTag subSecondTime(std::int64_t microseconds) {
    return {"Exif.Photo.SubSecTime", {sixDigits(microseconds % kSecond)}};
}

void addPosition(const GeographicPosition& position, std::vector<exif::NewTag>& tags) {
    const double latitude = position.latitudeDegrees;
    const double longitude = position.longitudeDegrees;
    tags.push_back({"Exif.GPSInfo.GPSLatitudeRef", {latitude < 0.0 ? "S" : "N"}});
    tags.push_back({"Exif.GPSInfo.GPSLatitude", sexagesimal(std::abs(latitude))});
    tags.push_back({"Exif.GPSInfo.GPSLongitudeRef", {longitude < 0.0 ? "W" : "E"}});
    tags.push_back({"Exif.GPSInfo.GPSLongitude", sexagesimal(std::abs(longitude))});
    tags.push_back({"Exif.GPSInfo.GPSAltitudeRef", {"0"}});
    tags.push_back({"Exif.GPSInfo.GPSAltitude", {fraction(position.altitudeM, 1000)}});
}

} // namespace tessik::simulate
