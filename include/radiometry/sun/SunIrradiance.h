#pragma once

/// @file
/// What a level sun-irradiance sensor would have measured. All functions are thread safe.

#include "radiometry/core/Types.h"
#include "radiometry/sun/SunPosition.h"

#include <Eigen/Core>
#include <QtCore/QString>

#include <optional>

namespace tessik::radiometry::correction {

/// How a sun-irradiance sensor stands to the sun and to the sky.
struct SunInfo {
    SunInfo() = default;
    SunInfo(const SunAngle& sunAngles, double sunIncidenceCosine, double sensorTiltCosine)
        : angles(sunAngles), cosSunIncidence(sunIncidenceCosine), cosSensorTilt(sensorTiltCosine) {}

    SunAngle angles;
    double cosSunIncidence = 0.0; ///< cosine between the sensor's normal and the sun ray
    double cosSensorTilt = 1.0;   ///< cosine between the sensor's normal and up
};

struct SunAnglesSunRayAndUpDirection {
    SunAngle angles;
    Eigen::Vector3d sunRay; ///< towards the sun, in output axes, as radiometry::sunRay gives it
    Eigen::Vector3d up;     ///< unit vector, in output axes
};

/// Sun and vertical at a position.
/// @param position in output coordinates
/// @param time s since 1970-01-01 00:00 UTC; 0.0 = no time
/// @throws error "No valid time", "Unable to convert from output coordinate system to WGS-84",
/// "The sun is behind the horizon.", "Unable to obtain east, north, up axes for output coordinate
/// system"
RADIOMETRY_EXPORT SunAnglesSunRayAndUpDirection
getSunRayAndUpDirection(const Eigen::Vector3d& position,
                        double time,
                        const geo::OutCoordSystem& outCS,
                        const geo::SiteCalibration& siteCalibration);

/// How a sensor stands to the sun and to the sky.
/// @param sensorPose the sensor's normal, in output axes, of any length
/// @throws error as getSunRayAndUpDirection
RADIOMETRY_EXPORT SunInfo sunPositionInfo(const Eigen::Vector3d& position,
                                          const Eigen::Vector3d& sensorPose,
                                          double time,
                                          const geo::OutCoordSystem& outCS,
                                          const geo::SiteCalibration& siteCalibration);

/// The factor from the reading of the sensor as it stands to that of a level one:
/// (d sin(elevation) + 1 - d) / (d c + (1 - d) v), c = max(cosSunIncidence, 0), v the part of the
/// sky that the sensor sees, 0.5 + 0.5 sign(cosSensorTilt) cosSensorTilt^2.
/// @param directSunlightFraction d, one value a band, 0..1
/// @return one factor a band
RADIOMETRY_EXPORT Eigen::ArrayXd sunPosition(const SunInfo& info,
                                             const Eigen::ArrayXd& directSunlightFraction);

/// The sensor's normal, in output axes. With type 3 it comes from the camera's rotation and the
/// sensor's orientation relative to it, (0, 0, 0) being a sensor that is level when the camera
/// looks straight down; with any other from the sensor's own yaw, pitch and roll.
/// @param imagePath for diagnostics (promised: docs/contract.md, image-path)
/// @throws error "No valid sensor pose"
RADIOMETRY_EXPORT Eigen::Vector3d sunIrradianceSensorPoseVector(const ExifInfo& exif,
                                                                const GlobalShutter& externals,
                                                                const QString& imagePath,
                                                                const geo::OutCoordSystem& outCS,
                                                                CorrectionType type);

/// The readings of an image; from type 3 on, those of a level sensor.
/// @param imagePath for diagnostics (promised: docs/contract.md, image-path)
/// @param directSunlightFraction one value a band; not used below type 3
/// @return irradiance of each band, in the sensor's unit; empty when there is no reading
/// @throws error as the functions above; "Correcting for sun irradiance: invalid number of bands
/// .." when there are not as many fractions as readings
RADIOMETRY_EXPORT Eigen::ArrayXd
correctedSunIrradiance(const ExifInfo& exif,
                       const GeoData& geo,
                       const QString& imagePath,
                       const GlobalShutter& externals,
                       const Eigen::ArrayXd& directSunlightFraction,
                       const geo::OutCoordSystem& outCS,
                       const geo::SiteCalibration& siteCalibration,
                       CorrectionType type);

/// What correctedSunIrradiance comes to, and how.
struct LevelIrradiance {
    Eigen::ArrayXd reading;    ///< as the sensor stood
    Eigen::ArrayXd irradiance; ///< from the sun-angle type on, that of a level sensor
    std::optional<SunInfo> sun;
    Eigen::ArrayXd factor; ///< irradiance / reading; empty below the sun-angle type
};

/// Arguments and errors as correctedSunIrradiance.
RADIOMETRY_EXPORT LevelIrradiance levelIrradiance(const ExifInfo& exif,
                                                  const GeoData& geo,
                                                  const QString& imagePath,
                                                  const GlobalShutter& externals,
                                                  const Eigen::ArrayXd& directSunlightFraction,
                                                  const geo::OutCoordSystem& outCS,
                                                  const geo::SiteCalibration& siteCalibration,
                                                  CorrectionType type);

} // namespace tessik::radiometry::correction
