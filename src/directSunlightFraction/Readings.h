#pragma once

#include "directSunlightFraction/Residuals.h"
#include "radiometry/directSunlightFraction/BandGroups.h"

#include <optional>
#include <unordered_map>
#include <vector>

namespace tessik::radiometry::detail {

/// The readings of one band over a flight, as the fit compares them with its model. Times are s
/// from the capture time of the first image.
struct Readings {
    std::vector<SunlightResidual> posed;        ///< of sensors of known attitude
    std::vector<SunlightAngleResidual> mounted; ///< of sensors whose mounting is to be found
    /// omega, phi, kappa that the metadata of the first mounted reading state, degrees.
    std::optional<Eigen::Vector3d> orientation;

    [[nodiscard]] std::size_t size() const { return posed.size() + mounted.size(); }
};

/// Collects them. Parameters and errors are those of computeDirectSunlightFractionForBand.
Readings collectReadings(const BandIndexByCamera& bandIndexByCamera,
                         const std::vector<InputImage>& images,
                         const geo::OutCoordSystem& outCoordSystem,
                         const geo::SiteCalibration& siteCalibration,
                         const CameraById& cameraById,
                         const std::unordered_map<std::uint64_t, Settings>& settingsByCamera,
                         unsigned int polynomialDegree,
                         bool useSensorAngles);

} // namespace tessik::radiometry::detail
