// Source of the sample's formula: the maker's radiometric calibration model, solved for the sample.
#include "simulate/MicaSenseCamera.h"

#include "platform/math/Angle.h"
#include "simulate/Scene.h"
#include "simulate/TagText.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace tessik::simulate {
namespace {

constexpr double kMicaSenseFullScale = 65536.0;

constexpr std::size_t kMicaSenseBadPixelCount = 8;

constexpr std::uint64_t kMicaSenseDefectPurpose = 0xbad;
constexpr std::uint64_t kMicaSenseExposurePurpose = 0x7e;
constexpr std::uint64_t kMicaSenseNoisePurpose = 0x4015e;

/// Effective exposure of a row, s.
double rowExposure(const MicaSenseCalibration& calibration, double seconds, double row) {
    return seconds + calibration.a2 * row - calibration.a3 * seconds * row;
}

} // namespace

double MicaSenseCalibration::bandSensitivity() const {
    return fNumber * fNumber / (kPi * kMicaSenseFullScale * a1);
}

MicaSenseCamera::MicaSenseCamera(const CameraOptions& options, Model model)
    : m_options(options), m_model(std::move(model)) {}

MicaSenseCalibration MicaSenseCamera::calibrationOf(const CameraOptions& options,
                                                    std::size_t band,
                                                    double a1,
                                                    double shutterSeconds,
                                                    double shutterShare) {
    const auto height = static_cast<double>(options.height);
    MicaSenseCalibration calibration;
    calibration.a1 = a1;
    calibration.a2 = shutterSeconds / height;
    calibration.a3 = shutterShare / height;
    calibration.badPixels = drawPixels(kMicaSenseBadPixelCount,
                                       options.width,
                                       options.height,
                                       Random({options.seed, kMicaSenseDefectPurpose, band}));
    return calibration;
}

std::string MicaSenseCamera::fileName(std::size_t capture, std::size_t band) const {
    std::array<char, 40> text{};
    std::snprintf(text.data(), text.size(), "IMG_%04zu_%zu.tif", capture, band + 1);
    return text.data();
}

/// The ISO speed changes from capture to capture, in turn; the time puts the brightest
/// material at a level drawn for the capture.
MicaSenseExposure MicaSenseCamera::expose(const Shot& shot) const {
    const MicaSenseCalibration& calibration = m_model.optics[shot.band].calibration;
    MicaSenseExposure exposure;
    exposure.iso =
        m_model.speeds[(shot.capture + shot.band + m_options.seed) % m_model.speeds.size()];
    const double peak =
        drawPeak(Random({m_options.seed, kMicaSenseExposurePurpose, shot.capture, shot.band}));
    const double signal = peak - m_model.highestDark;
    const double radiance = Scene::kBrightest * shot.exposing() / kPi;
    const double wanted =
        signal * calibration.a1 / (kMicaSenseFullScale * radiance * exposure.gain());
    const double middle = 0.5 * static_cast<double>(m_options.height);
    const double seconds = (wanted - calibration.a2 * middle) / (1.0 - calibration.a3 * middle);
    exposure.numerator = std::max<std::int64_t>(
        1, static_cast<std::int64_t>(std::floor(seconds * MicaSenseExposure::kDenominator + 0.5)));
    return exposure;
}

std::vector<exif::NewTag> MicaSenseCamera::tagsOf(const MicaSenseExposure& exposure,
                                                  const Shot& shot) const {
    const MicaSenseCalibration& calibration = m_model.optics[shot.band].calibration;
    const Band& band = m_model.bands[shot.band];
    std::array<char, 40> captureId{};
    std::snprintf(captureId.data(), captureId.size(), "simulatedcapture%04zu", shot.capture);
    std::vector<exif::NewTag> tags = {
        {"Exif.Image.Make", {"MicaSense"}},
        {"Exif.Image.Model", {m_model.name}},
        {"Exif.Image.Software", {"simulate"}},
        {"Exif.Photo.ExposureTime",
         {std::to_string(exposure.numerator) + "/" +
          std::to_string(MicaSenseExposure::kDenominator)}},
        {"Exif.Photo.FNumber", {fraction(calibration.fNumber, 10)}},
        {"Exif.Photo.ISOSpeed", {std::to_string(exposure.iso)}},
        {"Exif.Photo.BodySerialNumber", {m_model.serialNumber}},
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
    const std::vector<exif::NewTag> more = m_model.ownTags(shot);
    tags.insert(tags.end(), more.begin(), more.end());
    return tags;
}

Frame MicaSenseCamera::take(const Shot& shot, bool withDeviation) const {
    const auto& [calibration, brightness] = m_model.optics[shot.band];
    const MicaSenseExposure exposure = expose(shot);
    const std::array<double, 4> dark = m_model.darkLevels(shot);
    const double gain = exposure.gain();
    const double perSecond =
        kMicaSenseFullScale * shot.exposing() / kPi * gain / calibration.a1; // and reflectance
    const auto fillRow = [&, &shutter = calibration, &lens = brightness](Eigen::Index y,
                                                                         RowContent& content) {
        const double perReflectance =
            perSecond * rowExposure(shutter, exposure.seconds(), static_cast<double>(y));
        const double* const darkOfRow = &dark[static_cast<std::size_t>(y % 2) * 2];
        for (std::size_t x = 0; x < content.signal.size(); ++x) {
            const auto column = static_cast<Eigen::Index>(x);
            content.dark[x] = darkOfRow[x % 2];
            content.signal[x] = perReflectance * static_cast<double>(shot.reflectance(y, column)) *
                                static_cast<double>(lens(y, column));
        }
    };
    Frame frame;
    frame.samples.resize(brightness.rows(), brightness.cols());
    readOut(m_model.sensor,
            gain,
            m_options.noise,
            Random({m_options.seed, kMicaSenseNoisePurpose, shot.capture, shot.band}),
            calibration.badPixels,
            withDeviation,
            fillRow,
            frame);
    frame.exposureSeconds = exposure.seconds();
    frame.iso = exposure.iso;
    frame.tags = tagsOf(exposure, shot);
    return frame;
}

} // namespace tessik::simulate
