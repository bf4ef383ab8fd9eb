#include "simulate/DjiTags.h"

#include "simulate/TagText.h"

#include <cstdio>

namespace tessik::simulate {
namespace {

std::string signedDegrees(double degrees) {
    std::array<char, 40> text{};
    std::snprintf(text.data(), text.size(), "%+.2f", degrees);
    return text.data();
}

std::string joined(const std::vector<double>& values) {
    std::string text;
    for (const double value : values) {
        text += (text.empty() ? "" : ", ") + number(value);
    }
    return text;
}

/// Aircraft and gimbal; the camera looks straight down from the gimbal and turns with the aircraft.
void addPose(const Shot& shot, std::vector<exif::NewTag>& tags) {
    const Attitude& attitude = shot.station.attitude;
    tags.push_back({"Xmp.drone-dji.FlightYawDegree", {signedDegrees(attitude.yawDegrees)}});
    tags.push_back({"Xmp.drone-dji.FlightPitchDegree", {signedDegrees(attitude.pitchDegrees)}});
    tags.push_back({"Xmp.drone-dji.FlightRollDegree", {signedDegrees(attitude.rollDegrees)}});
    tags.push_back({"Xmp.drone-dji.GimbalYawDegree", {signedDegrees(attitude.yawDegrees)}});
    tags.push_back({"Xmp.drone-dji.GimbalPitchDegree", {signedDegrees(-90.0)}});
    tags.push_back({"Xmp.drone-dji.GimbalRollDegree", {signedDegrees(0.0)}});
}

void addGeometry(Eigen::Index width, std::vector<exif::NewTag>& tags) {
    constexpr double kHeightM = 55.0; // above the ground, of all flights
    const std::string focal = fixed(static_cast<double>(width) * kHeightM / kFootprintWidthM, 7);
    tags.push_back({"Xmp.drone-dji.CalibratedFocalLength", {focal}});
    tags.push_back({"Xmp.drone-dji.RelativeOpticalCenterX", {fixed(0.0, 5)}});
    tags.push_back({"Xmp.drone-dji.RelativeOpticalCenterY", {fixed(0.0, 5)}});
    tags.push_back({"Xmp.drone-dji.DewarpFlag", {"0"}});
    tags.push_back(
        {"Xmp.drone-dji.DewarpData", {"2024-01-15;" + focal + "," + focal + ",0,0,0,0,0,0,0"}});
    tags.push_back({"Xmp.drone-dji.DewarpHMatrix", {kIdentityMatrix}});
}

void addVignetting(const RadialPolynomial& correction, std::vector<exif::NewTag>& tags) {
    // The first one, 1, is not written.
    const std::vector<double> powers(correction.coefficients.begin() + 1,
                                     correction.coefficients.end());
    tags.push_back({"Xmp.drone-dji.CalibratedOpticalCenterX", {number(correction.centerX)}});
    tags.push_back({"Xmp.drone-dji.CalibratedOpticalCenterY", {number(correction.centerY)}});
    tags.push_back({"Xmp.drone-dji.VignettingFlag", {"0"}});
    tags.push_back({"Xmp.drone-dji.VignettingData", {joined(powers)}});
    tags.push_back({"Xmp.Camera.VignettingPolynomial", numbers(powers)});
    tags.push_back(
        {"Xmp.Camera.VignettingCenter", numbers({correction.centerX, correction.centerY})});
}

} // namespace

std::vector<exif::NewTag> djiTags(const DjiBody& body,
                                  const DjiCalibration& calibration,
                                  const DjiExposure& exposure,
                                  double irradiance,
                                  Eigen::Index width,
                                  const Band& band,
                                  const Shot& shot) {
    const std::string microseconds = std::to_string(exposure.microseconds);
    const std::string index = std::to_string(shot.band + 1);
    const std::string wavelength = number(band.info.wavelengthNm);
    const std::string halfWidth = number(0.5 * band.info.fwhmNm);
    std::array<char, 40> captureId{};
    std::snprintf(captureId.data(), captureId.size(), "5e1f%08zx5e1f", shot.capture);
    std::vector<exif::NewTag> tags = {
        {"Exif.Image.Make", {"DJI"}},
        {"Exif.Image.Model", {body.model}},
        {"Exif.Image.Software", {"simulate"}},
        {"Exif.Photo.ExposureTime", {microseconds + "/1000000"}},
        {"Exif.Photo.FNumber", {fraction(body.fNumber, 10)}},
        {"Exif.Photo.ISOSpeed", {std::to_string(exposure.iso)}},
        {"Exif.Photo.BodySerialNumber", {body.serialNumber}},
        {"Xmp.drone-dji.BandName", {band.name}},
        {"Xmp.drone-dji.BandFreq", {wavelength + "(+/-" + halfWidth + ")nm"}},
        {"Xmp.drone-dji.Irradiance", {fixed(irradiance, 3)}},
        {"Xmp.drone-dji.SensorGain", {fixed(exposure.gain, 3)}},
        {"Xmp.drone-dji.ExposureTime", {microseconds}},
        {"Xmp.drone-dji.SensorGainAdjustment", {fixed(calibration.adjustment, 6)}},
        {"Xmp.drone-dji.SensorIndex", {index}},
        {"Xmp.drone-dji.CaptureUUID", {captureId.data()}},
        {"Xmp.Camera.RigName", {body.model}},
        {"Xmp.Camera.RigCameraIndex", {index}},
        {"Xmp.Camera.BandName", {band.name}},
        {"Xmp.Camera.CentralWavelength", {wavelength}},
        {"Xmp.Camera.WavelengthFWHM", {halfWidth}},
        {"Xmp.Camera.BlackCurrent", {number(body.dark)}},
        {"Xmp.Camera.IsNormalized", {"0"}},
        {"Xmp.Camera.Irradiance", {fixed(irradiance, 6)}},
        {"Xmp.Camera.IrradianceYaw", {fixed(0.0, 6)}},
        {"Xmp.Camera.IrradiancePitch", {fixed(0.0, 6)}},
        {"Xmp.Camera.IrradianceRoll", {fixed(0.0, 6)}}};
    addVignetting(calibration.correction, tags);
    addGeometry(width, tags);
    addPose(shot, tags);
    addPosition(positionOf(shot.station), tags);
    return tags;
}

} // namespace tessik::simulate
