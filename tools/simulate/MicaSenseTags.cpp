#include "simulate/MicaSenseTags.h"

#include "simulate/TagText.h"

#include <cstdio>

namespace tessik::simulate {

std::vector<exif::NewTag> micaSenseTags(const std::string& model,
                                        const std::string& serialNumber,
                                        const MicaSenseCalibration& calibration,
                                        const MicaSenseExposure& exposure,
                                        const Band& band,
                                        const Shot& shot) {
    std::array<char, 40> captureId{};
    std::snprintf(captureId.data(), captureId.size(), "simulatedcapture%04zu", shot.capture);

    std::vector<exif::NewTag> tags = {
        {"Exif.Image.Make", {"MicaSense"}},
        {"Exif.Image.Model", {model}},
        {"Exif.Image.Software", {"simulate"}},
        {"Exif.Photo.ExposureTime",
         {std::to_string(exposure.numerator) + "/" +
          std::to_string(MicaSenseExposure::kDenominator)}},
        {"Exif.Photo.FNumber", {fraction(calibration.fNumber, 10)}},
        {"Exif.Photo.ISOSpeed", {std::to_string(exposure.iso)}},
        {"Exif.Photo.BodySerialNumber", {serialNumber}},
        {"Xmp.MicaSense.CaptureId", {captureId.data()}},
        {"Xmp.MicaSense.RadiometricCalibration",
         numbers({calibration.a1, calibration.a2, calibration.a3})},
        {"Xmp.Camera.BandName", {band.name}},
        {"Xmp.Camera.CentralWavelength", {number(band.info.wavelengthNm)}},
        {"Xmp.Camera.WavelengthFWHM", {number(band.info.fwhmNm)}},
        {"Xmp.Camera.BandSensitivity", {number(calibration.bandSensitivity())}},
        {"Xmp.Camera.RigCameraIndex", {std::to_string(shot.band)}},
        {"Xmp.Camera.InvalidPixel", pairs(calibration.badPixels)},
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
