#include "simulate/RedEdgeTags.h"

#include <cmath>
#include <cstdio>

namespace tessik::simulate {
namespace {

/// Enough digits to read the very same number back.
std::string number(double value) {
    std::array<char, 40> text{};
    std::snprintf(text.data(), text.size(), "%.17g", value);
    return text.data();
}

std::string fraction(double value, std::int64_t denominator) {
    const double numerator = std::floor(value * static_cast<double>(denominator) + 0.5);
    return std::to_string(static_cast<std::int64_t>(numerator)) + "/" + std::to_string(denominator);
}

/// Degrees, minutes and seconds.
std::vector<std::string> sexagesimal(double degrees) {
    const double whole = std::floor(degrees);
    const double minutes = std::floor((degrees - whole) * 60.0);
    const double seconds = ((degrees - whole) * 60.0 - minutes) * 60.0;
    return {fraction(whole, 1), fraction(minutes, 1), fraction(seconds, 1000000)};
}

void addTime(std::int64_t microseconds, std::vector<exif::NewTag>& tags) {
    constexpr std::int64_t kSecond = 1000000;
    const auto second = static_cast<int>(microseconds / kSecond);
    std::array<char, 40> text{};
    std::snprintf(text.data(),
                  text.size(),
                  "%s %02d:%02d:%02d",
                  kFlightDay,
                  second / 3600,
                  second / 60 % 60,
                  second % 60);
    tags.push_back({"Exif.Photo.DateTimeOriginal", {text.data()}});
    tags.push_back({"Exif.Image.DateTime", {text.data()}});
    std::snprintf(text.data(), text.size(), "%06d", static_cast<int>(microseconds % kSecond));
    tags.push_back({"Exif.Photo.SubSecTime", {text.data()}});
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

std::vector<std::string> pairs(const std::vector<std::pair<int, int>>& pixels) {
    std::vector<std::string> texts;
    texts.reserve(pixels.size());
    for (const auto& [column, row] : pixels) {
        texts.push_back(std::to_string(column) + "," + std::to_string(row));
    }
    return texts;
}

} // namespace

std::vector<exif::NewTag> redEdgeTags(const RedEdgeCalibration& calibration,
                                      const RedEdgeExposure& exposure,
                                      const Band& band,
                                      const Shot& shot) {
    std::vector<std::string> dark;
    dark.reserve(calibration.dark.size());
    for (const int level : calibration.dark) {
        dark.push_back(std::to_string(level));
    }
    std::vector<std::string> polynomial;
    polynomial.reserve(calibration.polynomial.size());
    for (const double coefficient : calibration.polynomial) {
        polynomial.push_back(number(coefficient));
    }
    std::array<char, 40> captureId{};
    std::snprintf(captureId.data(), captureId.size(), "simulatedcapture%04zu", shot.capture);

    std::vector<exif::NewTag> tags = {
        {"Exif.Image.Make", {"MicaSense"}},
        {"Exif.Image.Model", {"RedEdge"}},
        {"Exif.Image.Software", {"simulate"}},
        {"Exif.Image.BlackLevelRepeatDim", {"2", "2"}},
        {"Exif.Image.BlackLevel", dark},
        {"Exif.Photo.ExposureTime",
         {std::to_string(exposure.numerator) + "/" +
          std::to_string(RedEdgeExposure::kDenominator)}},
        {"Exif.Photo.FNumber", {fraction(calibration.fNumber, 10)}},
        {"Exif.Photo.ISOSpeed", {std::to_string(exposure.iso)}},
        {"Exif.Photo.BodySerialNumber", {"1000001"}},
        {"Xmp.MicaSense.CaptureId", {captureId.data()}},
        {"Xmp.MicaSense.RadiometricCalibration",
         {number(calibration.a1), number(calibration.a2), number(calibration.a3)}},
        {"Xmp.Camera.BandName", {band.name}},
        {"Xmp.Camera.CentralWavelength", {number(band.info.wavelengthNm)}},
        {"Xmp.Camera.WavelengthFWHM", {number(band.info.fwhmNm)}},
        {"Xmp.Camera.VignettingCenter", {number(calibration.centerX), number(calibration.centerY)}},
        {"Xmp.Camera.VignettingPolynomial", polynomial},
        {"Xmp.Camera.BandSensitivity", {number(calibration.bandSensitivity())}},
        {"Xmp.Camera.RigCameraIndex", {std::to_string(shot.band)}},
        {"Xmp.Camera.InvalidPixel", pairs(calibration.badPixels)},
        {"Xmp.Camera.Irradiance", {number(shot.reading.irradiance)}},
        {"Xmp.Camera.IrradianceYaw", {number(shot.reading.attitude.yawDegrees)}},
        {"Xmp.Camera.IrradiancePitch", {number(shot.reading.attitude.pitchDegrees)}},
        {"Xmp.Camera.IrradianceRoll", {number(shot.reading.attitude.rollDegrees)}},
        {"Xmp.Camera.Yaw", {number(shot.station.attitude.yawDegrees)}},
        {"Xmp.Camera.Pitch", {number(shot.station.attitude.pitchDegrees)}},
        {"Xmp.Camera.Roll", {number(shot.station.attitude.rollDegrees)}}};
    addTime(shot.station.microseconds, tags);
    addPosition(positionOf(shot.station), tags);
    return tags;
}

} // namespace tessik::simulate
