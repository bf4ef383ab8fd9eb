#pragma once

#include "platform/camera/BandInfo.h"
#include "platform/camera/CameraParams.h"
#include "radiometry/core/Types.h"

#include <Eigen/Core>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <unordered_map>

namespace tessik::radiometry {

/// A band's index in each camera that has the band, by the camera's identifier.
using BandIndexByCamera = std::map<std::uint64_t, std::uint64_t>;

/// Hands out a camera and the poses of its images; null for a camera without poses.
using CameraById = std::function<std::shared_ptr<const CalibCamera>(std::uint64_t)>;

/// The bands of all cameras that are corrected for the sun angle.
/// @throws std::out_of_range when a camera has no settings
RADIOMETRY_EXPORT std::map<BandInfo, BandIndexByCamera>
groupByBand(const CamerasData& cameras,
            const std::unordered_map<std::uint64_t, Settings>& settingsByCamera);

/// One value a band, in the order of `bands`.
/// @throws std::out_of_range when a band has no fraction
RADIOMETRY_EXPORT Eigen::ArrayXd
getFractionOfDirectSunlight(const std::map<BandInfo, double>& fractionByBand, const bands_t& bands);

} // namespace tessik::radiometry
