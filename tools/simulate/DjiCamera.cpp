// Source of the sample's formula: the maker's image processing guides, solved for the sample.
#include "simulate/DjiCamera.h"

#include "platform/math/Angle.h"
#include "simulate/Scene.h"
#include "simulate/TagText.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace tessik::simulate {
namespace {

constexpr std::uint64_t kDjiExposurePurpose = 0xd177e;
constexpr std::uint64_t kDjiNoisePurpose = 0xd174015e;

std::string signedDegrees(double degrees) {
    std::array<char, 40> text{};
    std::snprintf(text.data(), text.size(), "%+.2f", degrees);
    return text.data();
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
    tags.push_back({"Xmp.drone-dji.VignettingData", {joined(numbers(powers), ", ")}});
    tags.push_back({"Xmp.Camera.VignettingPolynomial", numbers(powers)});
    tags.push_back(
        {"Xmp.Camera.VignettingCenter", numbers({correction.centerX, correction.centerY})});
}

} // namespace

DjiCamera::DjiCamera(const CameraOptions& options, Model model)
    : m_options(options), m_model(std::move(model)) {}

DjiCamera::Optics DjiCamera::opticsOf(const CameraOptions& options,
                                      double adjustment,
                                      const std::array<double, 6>& correction,
                                      const std::pair<double, double>& centerShift) {
    const auto width = static_cast<double>(options.width);
    const auto height = static_cast<double>(options.height);
    Optics optics;
    optics.calibration.adjustment = adjustment;
    optics.calibration.correction = radialPolynomial((0.5 + centerShift.first) * width,
                                                     (0.5 + centerShift.second) * height,
                                                     0.5 * std::hypot(width, height),
                                                     correction);
    optics.brightness =
        valuesOf(optics.calibration.correction, options.width, options.height).cwiseInverse();
    return optics;
}

/// The time puts the brightest material at a level drawn for the capture.
DjiExposure DjiCamera::expose(const Shot& shot) const {
    DjiExposure exposure = m_model.amplification(shot);
    const double peak =
        drawPeak(Random({m_options.seed, kDjiExposurePurpose, shot.capture, shot.band}));
    const double radiance = Scene::kBrightest * shot.exposing() / kPi;
    const double seconds = (peak - m_model.body.dark) *
                           m_model.optics[shot.band].calibration.adjustment /
                           (m_model.perRadiance * radiance * exposure.gain);
    exposure.microseconds = std::max<std::int64_t>(1, std::llround(seconds * 1e6));
    return exposure;
}

/// The tags that every such camera writes in the same way, and those of the model. The geometry is
/// that of the scene: the lenses do not distort, and all bands see the same.
std::vector<exif::NewTag> DjiCamera::tagsOf(const DjiExposure& exposure, const Shot& shot) const {
    const DjiBody& body = m_model.body;
    const DjiCalibration& calibration = m_model.optics[shot.band].calibration;
    const Band& band = m_model.bands[shot.band];
    const double irradiance = m_model.perIrradiance * shot.reading.level;
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
    addGeometry(m_options.width, tags);
    addPose(shot, tags);
    addPosition(positionOf(shot.station), tags);
    const std::vector<exif::NewTag> more = m_model.ownTags(shot, irradiance);
    tags.insert(tags.end(), more.begin(), more.end());
    return tags;
}

Frame DjiCamera::take(const Shot& shot, bool withDeviation) const {
    const Optics& optics = m_model.optics[shot.band];
    const DjiExposure exposure = expose(shot);
    const double seconds = static_cast<double>(exposure.microseconds) * 1e-6;
    const double perReflectance = m_model.perRadiance * shot.exposing() / kPi * exposure.gain *
                                  seconds / optics.calibration.adjustment;
    const auto fillRow = [&](Eigen::Index row, RowContent& content) {
        const float* reflectance = &shot.reflectance(row, 0);
        const float* brightness = &optics.brightness(row, 0);
        for (std::size_t x = 0; x < content.signal.size(); ++x) {
            content.dark[x] = m_model.body.dark;
            content.signal[x] = perReflectance * static_cast<double>(reflectance[x]) *
                                static_cast<double>(brightness[x]);
        }
        if (optics.clip.size() > 0) {
            const float* clip = &optics.clip(row, 0);
            std::copy(clip, clip + content.clip.size(), content.clip.begin());
        }
    };
    Frame frame;
    frame.samples.resize(m_options.height, m_options.width);
    readOut(m_model.sensor,
            exposure.gain,
            m_options.noise,
            Random({m_options.seed, kDjiNoisePurpose, shot.capture, shot.band}),
            {},
            withDeviation,
            fillRow,
            frame);
    frame.exposureSeconds = seconds;
    frame.iso = exposure.iso;
    frame.tags = tagsOf(exposure, shot);
    return frame;
}

} // namespace tessik::simulate
