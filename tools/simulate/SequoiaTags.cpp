#include "simulate/SequoiaTags.h"

#include "simulate/TagText.h"

#include <QtCore/QByteArray>

#include <cmath>
#include <cstdio>
#include <cstring>

namespace tessik::simulate {
namespace {

/// Such cameras write a list as one text, in a sequence of one item.
exif::NewTag list(const char* key, const std::vector<std::string>& items) {
    return {key, {joined(items, ",")}, true};
}

/// Whole number or float32, least byte first.
template <typename Value>
void append(QByteArray& bytes, Value value) {
    std::uint64_t bits = 0;
    std::memcpy(&bits, &value, sizeof value); // on machines that themselves store it first
    for (std::size_t i = 0; i < sizeof value; ++i) {
        bytes.append(static_cast<char>((bits >> (8 * i)) & 0xffU));
    }
}

/// One way in which the irradiance sensor measures; its gains are those of kLampMeasurement.
struct Measuring {
    std::uint16_t gainIndex;
    double relativeGain;
    std::uint16_t milliseconds;
};
/// Rows of gain index, ms, channel 0, channel 1. In the dark at gain 0, saturated at gain 3.
constexpr auto kLampMeasurement = "0,600,0,1,1,600,341,39,2,600,5610,655,3,600,65535,16010";
constexpr std::array<Measuring, 2> kMeasurings = {Measuring{2, 5610.0 / 341.0, 100},
                                                  Measuring{1, 1.0, 600}};
/// Counts of channel 0 per second at gain 1, for 1 W/m2/nm.
constexpr double kCountsPerIrradiance = 700.0;
constexpr double kInfraredShare = 0.115; ///< of channel 1
constexpr std::int64_t kPeriod = 200000; ///< us
constexpr int kRecordCount = 7;          ///< since the last image

/// What the irradiance sensor measured since the last image, in the light of this one.
std::string irradianceList(std::int64_t imageMicroseconds, const LightReading& reading) {
    constexpr std::int64_t kBeforeImage = 60000; // us, the last record
    constexpr int kLineLength = 160;
    QByteArray bytes;
    for (int i = 0; i < kRecordCount; ++i) {
        const Measuring& measuring = kMeasurings[static_cast<std::size_t>(i) % kMeasurings.size()];
        const double count = kCountsPerIrradiance * measuring.relativeGain * 1e-3 *
                             static_cast<double>(measuring.milliseconds) * reading.irradiance;
        append(bytes,
               static_cast<std::uint64_t>(imageMicroseconds - kBeforeImage -
                                          (kRecordCount - 1 - i) * kPeriod));
        append(bytes, static_cast<std::uint16_t>(std::lround(count)));
        append(bytes, static_cast<std::uint16_t>(std::lround(kInfraredShare * count)));
        append(bytes, measuring.gainIndex);
        append(bytes, measuring.milliseconds);
        append(bytes, static_cast<float>(reading.attitude.yawDegrees));
        append(bytes, static_cast<float>(reading.attitude.pitchDegrees));
        append(bytes, static_cast<float>(reading.attitude.rollDegrees));
    }
    std::string text = bytes.toBase64().toStdString();
    for (std::size_t end = kLineLength; end < text.size(); end += kLineLength + 1) {
        text.insert(end, 1, '\n');
    }
    return text;
}

void addBootTime(std::int64_t microseconds, std::vector<exif::NewTag>& tags) {
    constexpr std::int64_t kSecond = 1000000;
    tags.push_back({"Exif.Photo.DateTimeDigitized", {"1970:01:01 " + clockTime(microseconds)}});
    tags.push_back({"Exif.Photo.SubSecTimeDigitized", {sixDigits(microseconds % kSecond)}});
}

} // namespace

std::vector<exif::NewTag> sequoiaTags(const SequoiaCalibration& calibration,
                                      const SequoiaExposure& exposure,
                                      const std::string& serialNumber,
                                      const Band& band,
                                      const Shot& shot) {
    std::array<char, 40> captureId{};
    std::snprintf(
        captureId.data(), captureId.size(), "51E0A1AC0000000000000000%08zX", shot.capture);
    std::vector<exif::NewTag> tags = {
        {"Exif.Image.Make", {"Parrot"}},
        {"Exif.Image.Model", {"Sequoia"}},
        {"Exif.Image.Software", {"simulate"}},
        // This is not the level of the sensor model, which is the one that counts.
        {"Exif.Image.BlackLevelRepeatDim", {"2", "2"}},
        {"Exif.Image.BlackLevel", {"4953", "4981", "4994", "4965"}},
        {"Exif.Photo.ExposureTime",
         {std::to_string(exposure.numerator) + "/" +
          std::to_string(SequoiaExposure::kDenominator)}},
        {"Exif.Photo.FNumber", {fraction(calibration.fNumber, 10)}},
        {"Exif.Photo.ISOSpeedRatings", {std::to_string(exposure.iso)}},
        {"Exif.Photo.BodySerialNumber", {serialNumber}},
        {"Xmp.Camera.RigName", {"Sequoia"}},
        {"Xmp.Camera.RigCameraIndex", {std::to_string(shot.band)}},
        {"Xmp.Camera.Yaw", {number(shot.station.attitude.yawDegrees)}},
        {"Xmp.Camera.Pitch", {number(shot.station.attitude.pitchDegrees)}},
        {"Xmp.Camera.Roll", {number(shot.station.attitude.rollDegrees)}},
        {"Xmp.Camera.SensorTemperature", {number(exposure.temperature)}},
        {"Xmp.Camera.CaptureUUID", {captureId.data()}},
        {"Xmp.Camera.CalibrationPicture", {"0"}},
        {"Xmp.Camera.BandName", {band.name}, true},
        list("Xmp.Camera.CentralWavelength", numbers({band.info.wavelengthNm})),
        list("Xmp.Camera.WavelengthFWHM", numbers({band.info.fwhmNm})),
        list("Xmp.Camera.BlackCurrent", {"75"}),
        list("Xmp.Camera.SensorModel",
             numbers({calibration.sensitivity, calibration.darkLevel, calibration.correction})),
        list("Xmp.Camera.InvalidPixel", pairs(calibration.badPixels)),
        list("Xmp.Camera.VignettingPolynomial2DName", powers(calibration.brightness)),
        list("Xmp.Camera.VignettingPolynomial2D", numbers(calibration.brightness.coefficients)),
        {"Xmp.Camera.IrradianceCalibrationMeasurement", {kLampMeasurement}},
        {"Xmp.Camera.IrradianceList", {irradianceList(exposure.bootMicroseconds, shot.reading)}}};
    addTime(shot.station.microseconds, tags);
    tags.push_back(subSecondTime(shot.station.microseconds));
    addBootTime(exposure.bootMicroseconds, tags);
    addPosition(positionOf(shot.station), tags);
    return tags;
}

} // namespace tessik::simulate
