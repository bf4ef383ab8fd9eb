#include "radiometry/sun/SunIrradiance.h"

#include "core/Fail.h"
#include "platform/camera/CameraExternals.h"
#include "platform/camera/ExifInfo.h"
#include "platform/camera/GeoData.h"
#include "platform/geo/Conversions.h"
#include "platform/math/Angle.h"
#include "platform/math/RotationMatrix.h"
#include "radiometry/core/Consistency.h"

#include <cmath>
#include <optional>

namespace tessik::radiometry::correction {

SunAnglesSunRayAndUpDirection getSunRayAndUpDirection(const Eigen::Vector3d& position,
                                                      double time,
                                                      const geo::OutCoordSystem& outCS,
                                                      const geo::SiteCalibration& siteCalibration) {
    if (time == 0.0) {
        fail("No valid time");
    }
    GeoPosition wgs84;
    if (!geo::out2wgs84(outCS, siteCalibration, position, wgs84)) {
        fail("Unable to convert from output coordinate system to WGS-84");
    }
    // Promised: docs/contract.md, divide-first.
    const SunAngle angles = SunPositionEstimator().sunAngle(
        time, wgs84.latitude / 180.0 * kPi, wgs84.longitude / 180.0 * kPi);
    if (angles.elevation <= 0.0) {
        // Promised: docs/contract.md, full-stops.
        fail("The sun is behind the horizon.");
    }
    Eigen::Vector3d north;
    Eigen::Vector3d east;
    Eigen::Vector3d up;
    if (!outCS.getTangentAxes(position, north, east, up)) {
        fail("Unable to obtain east, north, up axes for output coordinate system");
    }
    return {angles, sunRay(position, angles, outCS), up};
}

SunInfo sunPositionInfo(const Eigen::Vector3d& position,
                        const Eigen::Vector3d& sensorPose,
                        double time,
                        const geo::OutCoordSystem& outCS,
                        const geo::SiteCalibration& siteCalibration) {
    const auto [angles, ray, up] = getSunRayAndUpDirection(position, time, outCS, siteCalibration);
    return {angles,
            sensorPose.dot(ray) / (ray.norm() * sensorPose.norm()),
            sensorPose.dot(up) / (up.norm() * sensorPose.norm())};
}

Eigen::ArrayXd sunPosition(const SunInfo& info, const Eigen::ArrayXd& directSunlightFraction) {
    const double tilt = info.cosSensorTilt;
    // Promised: docs/contract.md, signed-square.
    const double view = tilt * tilt * (tilt >= 0.0 ? 0.5 : -0.5) + 0.5;
    // A NaN counts as behind. Promised: docs/contract.md, nan-incidence.
    const double direct = info.cosSunIncidence > 0.0 ? info.cosSunIncidence : 0.0;
    const Eigen::ArrayXd& d = directSunlightFraction;
    return (d * std::sin(info.angles.elevation) + (1.0 - d)) / (d * direct + (1.0 - d) * view);
}

Eigen::Vector3d sunIrradianceSensorPoseVector(const ExifInfo& exif,
                                              const GlobalShutter& externals,
                                              const QString& /*imagePath*/,
                                              const geo::OutCoordSystem& outCS,
                                              CorrectionType type) {
    if (type == CorrectionType::CameraSunIrradianceAndSunAngle) {
        if (!exif::hasSunIrradianceRelativeOrientation(exif)) {
            fail("No valid sensor pose");
        }
        // Promised: docs/contract.md, float-radians.
        const Eigen::Vector3f angles = *exif.sunSensorRelativeOrientation / 180.0F * 3.1415927F;
        RotationMatrix cameraFromSensor;
        cameraFromSensor.setOmegaPhiKappaRelative(angles[0], angles[1], angles[2]);
        return externals.rotation * cameraFromSensor.matrix() * Eigen::Vector3d::UnitZ();
    }
    std::optional<Eigen::Matrix3d> outFromSensor;
    if (exif::hasSunIrradianceYawPitchRoll(exif)) {
        outFromSensor = geo::RotationMatrixFromYawPitchRoll(
            *exif.sunSensorYawPitchRoll, outCS.proc2out(externals.position), outCS);
    }
    if (!outFromSensor) {
        fail("No valid sensor pose");
    }
    return *outFromSensor * -Eigen::Vector3d::UnitZ();
}

LevelIrradiance levelIrradiance(const ExifInfo& exif,
                                const GeoData& geo,
                                const QString& imagePath,
                                const GlobalShutter& externals,
                                const Eigen::ArrayXd& directSunlightFraction,
                                const geo::OutCoordSystem& outCS,
                                const geo::SiteCalibration& siteCalibration,
                                CorrectionType type) {
    LevelIrradiance result;
    result.reading = exif::sunIrradiance(exif);
    result.irradiance = result.reading;
    if (!doSunAngleCorrection(type)) {
        return result;
    }
    const Eigen::Vector3d sensorPose =
        sunIrradianceSensorPoseVector(exif, externals, imagePath, outCS, type);
    result.sun = sunPositionInfo(
        outCS.proc2out(externals.position), sensorPose, geo.captureTime, outCS, siteCalibration);
    verifyConsistentNumberOfBands(static_cast<std::size_t>(directSunlightFraction.size()),
                                  static_cast<std::size_t>(result.reading.size()),
                                  QStringLiteral("Correcting for sun irradiance"));
    result.factor = sunPosition(*result.sun, directSunlightFraction);
    result.irradiance = result.reading * result.factor;
    return result;
}

Eigen::ArrayXd correctedSunIrradiance(const ExifInfo& exif,
                                      const GeoData& geo,
                                      const QString& imagePath,
                                      const GlobalShutter& externals,
                                      const Eigen::ArrayXd& directSunlightFraction,
                                      const geo::OutCoordSystem& outCS,
                                      const geo::SiteCalibration& siteCalibration,
                                      CorrectionType type) {
    return levelIrradiance(exif,
                           geo,
                           imagePath,
                           externals,
                           directSunlightFraction,
                           outCS,
                           siteCalibration,
                           type)
        .irradiance;
}

} // namespace tessik::radiometry::correction
