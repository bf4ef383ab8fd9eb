#pragma once

#include "radiometry/core/Types.h"

#include <Eigen/Core>

#include <memory>

namespace tessik::radiometry {

/// Where the sun stands.
struct SunAngle {
    SunAngle() = default;
    SunAngle(double azimuthRadians, double elevationRadians)
        : azimuth(azimuthRadians), elevation(elevationRadians) {}

    double azimuth = 0.0;   ///< rad, from north, clockwise
    double elevation = 0.0; ///< rad above the horizon, refracted for 15 degrees Celsius, 1010 hPa
};

/// Computes where the sun stands. Not to be shared between threads: make one for a computation.
class RADIOMETRY_EXPORT SunPositionEstimator {
public:
    SunPositionEstimator();
    SunPositionEstimator(const SunPositionEstimator&) = delete;
    SunPositionEstimator& operator=(const SunPositionEstimator&) = delete;
    ~SunPositionEstimator();

    /// The sun may be below the horizon.
    /// @param time s since 1970-01-01 00:00 UTC; fractions are dropped
    /// @param latitude,longitude rad
    /// @throws error "Unable to compute sun position"
    SunAngle sunAngle(double time, double latitude, double longitude);

private:
    struct Data;
    std::unique_ptr<Data> m_data;
};

/// Direction towards the sun in output axes, not normalised: its horizontal part has length 1, its
/// vertical part is tan(elevation). Promised: docs/contract.md, ray-of-no-length.
/// @param position in output coordinates
/// @throws error "Unable to convert output coordinate system to East, North, Up: position .."
RADIOMETRY_EXPORT Eigen::Vector3d
sunRay(const Eigen::Vector3d& position, const SunAngle& angle, const geo::OutCoordSystem& outCS);

} // namespace tessik::radiometry
