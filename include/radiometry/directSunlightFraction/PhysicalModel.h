#pragma once

/// @file
/// The fraction of direct sunlight under a clear sky. All functions are thread safe.

#include "radiometry/directSunlightFraction/BandGroups.h"

#include <map>
#include <unordered_map>
#include <vector>

namespace tessik::radiometry {

/// Mean capture time of the images that have one, s since 1970-01-01 00:00 UTC. 0.0 counts as no
/// time; a NaN counts as one.
/// @throws error "no valid time could be computed"
RADIOMETRY_EXPORT double calcDayTimeMean(const std::vector<InputImage>& images);

/// The fraction under a clear sky, by ClearSkyModelBird for standard pressure and no aerosols.
/// @param time s since 1970-01-01 00:00 UTC
/// @param latitude,longitude rad
/// @throws error "The sun is behind the horizon."
RADIOMETRY_EXPORT double
computeDirectSunlightFractionPhysicalModel(double time, double latitude, double longitude);

/// The fraction under a clear sky at the mean capture time, at the output's reference position.
/// @throws error as above, as calcDayTimeMean, and "Unable to convert from output coordinate system
/// to WGS-84"
RADIOMETRY_EXPORT double
computeDirectSunlightFractionPhysicalModel(const std::vector<InputImage>& images,
                                           const geo::OutCoordSystem& outCoordSystem,
                                           const geo::SiteCalibration& siteCalibration);

/// The same fraction for every band of groupByBand.
/// @return empty when no camera is corrected for the sun angle
/// @throws error as above, std::out_of_range as groupByBand
RADIOMETRY_EXPORT std::map<BandInfo, double> computeDirectSunlightFractionPhysicalModel(
    const std::vector<InputImage>& images,
    const CamerasData& cameras,
    const std::unordered_map<std::uint64_t, Settings>& settingsByCamera,
    const geo::OutCoordSystem& outCoordSystem,
    const geo::SiteCalibration& siteCalibration);

} // namespace tessik::radiometry
