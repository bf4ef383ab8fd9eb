#include "directSunlightFraction/Readings.h"

#include "core/Fail.h"
#include "platform/camera/CameraExternals.h"
#include "platform/camera/ExifInfo.h"
#include "platform/camera/InputImage.h"
#include "platform/geo/ProjectCoordinateSystems.h"
#include "radiometry/sun/SunIrradiance.h"

#include <algorithm>
#include <cmath>

namespace tessik::radiometry::detail {
namespace {

/// What the readings of a flight have in common.
struct Flight {
    const geo::OutCoordSystem& outCoordSystem;
    const geo::SiteCalibration& siteCalibration;
    double startTime;
    std::uint32_t coefficientCount;
};

/// There is one reading a band and, where wavelengths are stated, one wavelength a band.
bool hasConsistentBands(const ExifInfo& exif) {
    return exif.sunIrradiance.size() == exif.bandCount &&
           (exif.bands.empty() || exif.bands.size() == exif.bandCount);
}

/// @return nothing when the image has no reading of the band, or one that is not positive
std::optional<double> readingOf(const InputImage& image, std::uint64_t band) {
    if (!hasConsistentBands(image.exif) || band >= image.exif.bandCount) {
        return std::nullopt;
    }
    const double reading = exif::sunIrradiance(image.exif)[static_cast<Eigen::Index>(band)];
    return reading <= 0.0 ? std::nullopt : std::optional(reading);
}

/// @throws error where it is not known
const CameraExternals& poseOf(const InputImage& image, const CalibCamera* camera) {
    const CameraExternals* externals =
        camera == nullptr ? nullptr : camera->externalsOf(image.path);
    if (externals == nullptr) {
        fail(image.path, ": no camera pose");
    }
    return *externals;
}

SunlightResidual posedReading(const InputImage& image,
                              double irradiance,
                              const CameraExternals& externals,
                              CorrectionType type,
                              const Flight& flight) {
    const Eigen::Vector3d sensorPose = correction::sunIrradianceSensorPoseVector(
        image.exif, externals, image.path, flight.outCoordSystem, type);
    const correction::SunInfo sun =
        correction::sunPositionInfo(flight.outCoordSystem.proc2out(externals.position),
                                    sensorPose,
                                    image.geo.captureTime,
                                    flight.outCoordSystem,
                                    flight.siteCalibration);
    if (!std::isfinite(sun.cosSunIncidence) || !std::isfinite(sun.cosSensorTilt)) {
        fail("No valid sensor pose");
    }
    return {image.geo.captureTime - flight.startTime,
            std::clamp(sun.cosSunIncidence, 0.0, 1.0),
            sun.cosSensorTilt,
            irradiance,
            flight.coefficientCount};
}

SunlightAngleResidual mountedReading(const InputImage& image,
                                     double irradiance,
                                     const CameraExternals& externals,
                                     const Flight& flight) {
    const auto sun =
        correction::getSunRayAndUpDirection(flight.outCoordSystem.proc2out(externals.position),
                                            image.geo.captureTime,
                                            flight.outCoordSystem,
                                            flight.siteCalibration);
    return {image.geo.captureTime - flight.startTime,
            sun.sunRay.normalized(),
            sun.up.normalized(),
            externals.rotation,
            irradiance,
            flight.coefficientCount};
}

/// The orientation that the fit of the sensor's mounting begins with.
Eigen::Vector3d statedOrientation(const InputImage& image) {
    if (!exif::hasSunIrradianceRelativeOrientation(image.exif)) {
        fail("No valid sensor pose");
    }
    return image.exif.sunSensorRelativeOrientation->cast<double>();
}

} // namespace

Readings collectReadings(const BandIndexByCamera& bandIndexByCamera,
                         const std::vector<InputImage>& images,
                         const geo::OutCoordSystem& outCoordSystem,
                         const geo::SiteCalibration& siteCalibration,
                         const CameraById& cameraById,
                         const std::unordered_map<std::uint64_t, Settings>& settingsByCamera,
                         unsigned int polynomialDegree,
                         bool useSensorAngles) {
    Readings readings;
    if (images.empty()) {
        return readings;
    }
    const Flight flight{
        outCoordSystem, siteCalibration, images.front().geo.captureTime, polynomialDegree + 1};
    for (const InputImage& image : images) {
        const auto band = bandIndexByCamera.find(image.cameraId);
        const auto settings = settingsByCamera.find(image.cameraId);
        if (band == bandIndexByCamera.end() || settings == settingsByCamera.end()) {
            continue;
        }
        const std::optional<double> irradiance = readingOf(image, band->second);
        if (!irradiance) {
            continue;
        }
        const CorrectionType type = settings->second.correctionType;
        const auto camera = cameraById(image.cameraId);
        if (useSensorAngles && type == CorrectionType::CameraSunIrradianceAndSunAngle) {
            if (!readings.orientation) {
                readings.orientation = statedOrientation(image);
            }
            readings.mounted.push_back(
                mountedReading(image, *irradiance, poseOf(image, camera.get()), flight));
            continue;
        }
        try {
            readings.posed.push_back(
                posedReading(image, *irradiance, poseOf(image, camera.get()), type, flight));
        } catch (const error&) {
            // A reading that cannot be related to the sun does not count; too few readings are
            // refused later.
            continue;
        }
    }
    return readings;
}

} // namespace tessik::radiometry::detail
