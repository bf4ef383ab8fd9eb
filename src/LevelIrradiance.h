#pragma once

#include "radiometry/SunIrradiance.h"

#include <optional>

namespace tessik::radiometry::correction {

/// What correctedSunIrradiance comes to, and how.
struct LevelIrradiance {
    Eigen::ArrayXd reading;    ///< as the sensor stood
    Eigen::ArrayXd irradiance; ///< from the sun-angle type on, that of a level sensor
    std::optional<SunInfo> sun;
    Eigen::ArrayXd factor; ///< irradiance / reading; empty below the sun-angle type
};

/// Arguments and errors as correctedSunIrradiance.
LevelIrradiance levelIrradiance(const ExifInfo& exif,
                                const GeoData& geo,
                                const QString& imagePath,
                                const GlobalShutter& externals,
                                const Eigen::ArrayXd& directSunlightFraction,
                                const geo::OutCoordSystem& outCS,
                                const geo::SiteCalibration& siteCalibration,
                                CorrectionType type);

} // namespace tessik::radiometry::correction
