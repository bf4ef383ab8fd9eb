#pragma once

/// @file
/// The fraction of a flight's light that comes directly from the sun: epsilon, 0..1, against light
/// from the whole sky. All functions are thread safe.

#include "radiometry/directSunlightFraction/BandGroups.h"
#include "radiometry/directSunlightFraction/PhysicalModel.h"

#include <Eigen/Core>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <unordered_map>
#include <vector>

namespace tessik::radiometry {

/// A fraction fitted to the readings of irradiance sensors. Covariances are those of readings with
/// an error of variance one: times residualVariance they are the result's own, so that the standard
/// error of the fraction is sqrt(fractionVariance * residualVariance).
struct SunlightFractionFitResult {
    double fraction = 0.0; ///< 0..1
    /// Drift of the illumination, c0 + c1 dt + .. in the readings' unit, lowest order first; dt in
    /// s from the capture time of the first image.
    Eigen::VectorXd coefficients;
    /// (omega, phi, kappa) of the sensors relative to their cameras, degrees; absent = not fitted.
    /// kappa, a turn about the sensor's own normal, keeps the value of the metadata.
    std::optional<Eigen::Vector3d> orientation;

    /// Absent, like the two below, when the readings do not determine the fit.
    std::optional<double> fractionVariance;
    std::optional<Eigen::MatrixXd> coefficientCovariance; ///< in the order of coefficients
    /// In degrees; absent as well where no orientation was fitted. Zero for kappa.
    std::optional<Eigen::Matrix3d> orientationCovariance;

    std::size_t readingCount = 0; ///< that were fitted to
    /// Sum of squared residuals over (readings - fitted parameters), in the readings' unit squared;
    /// absent when there are not more readings than parameters.
    std::optional<double> residualVariance;
    bool hasConverged = false; ///< false = the iterations ran out first
};

/// Fits the fraction of one band: over a flight the direct part of the readings follows the angle
/// between sensor and sun, the diffuse part the sensor's tilt, both the drift of the illumination.
///
/// Readings that are not positive are left out, as are images of other cameras and those with
/// another number of readings than bands; and, where the sensor's attitude is known, readings that
/// cannot be related to the sun: without time, pose or daylight. Where the sensor's orientation is
/// fitted, such a reading is an error: leave it out of `images`.
///
/// @param cameraById asked once for each accepted reading's camera
/// @param polynomialDegree of the drift
/// @param useSensorAngles for cameras of correction type 3, fit the sensor's orientation relative
/// to the camera, from that of the first accepted image's metadata as the start
/// @throws error "Not enough measurements" with fewer than polynomialDegree + 2 readings; "Fit of
/// the direct sunlight fraction: .." when a reading is not a number, or the solver fails
RADIOMETRY_EXPORT SunlightFractionFitResult computeDirectSunlightFractionForBand(
    const BandIndexByCamera& bandIndexByCamera,
    const std::vector<InputImage>& images,
    const geo::OutCoordSystem& outCoordSystem,
    const geo::SiteCalibration& siteCalibration,
    const CameraById& cameraById,
    const std::unordered_map<std::uint64_t, Settings>& settingsByCamera,
    unsigned int polynomialDegree,
    bool useSensorAngles);

/// Fits every band of groupByBand: all, or none when one of them fails, which is logged.
/// @throws std::out_of_range as groupByBand
RADIOMETRY_EXPORT std::map<BandInfo, SunlightFractionFitResult>
computeDirectSunlightFraction(const std::vector<InputImage>& images,
                              const CamerasData& cameras,
                              const std::unordered_map<std::uint64_t, Settings>& settingsByCamera,
                              const geo::OutCoordSystem& outCoordSystem,
                              const geo::SiteCalibration& siteCalibration,
                              const CameraById& cameraById,
                              unsigned int polynomialDegree,
                              bool useSensorAngles);

} // namespace tessik::radiometry
