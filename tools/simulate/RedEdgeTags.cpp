#include "simulate/RedEdgeTags.h"

#include "simulate/TagText.h"

#include <cstdio>

namespace tessik::simulate {

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
