#pragma once

#include <Eigen/Core>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

namespace tessik {
struct CalibCamera;
} // namespace tessik

namespace tessik::radiometry {

/// Hands out a camera and the poses of its images; null for a camera without poses.
using CameraById = std::function<std::shared_ptr<const CalibCamera>(std::uint64_t)>;

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

} // namespace tessik::radiometry
