#pragma once

#include "platform/camera/CameraExternals.h"
#include "platform/camera/CameraParams.h"
#include "platform/camera/InputImage.h"
#include "platform/geo/ProjectCoordinateSystems.h"
#include "radiometry/directSunlightFraction/DirectSunlightFraction.h"

#include <Eigen/Core>

#include <memory>
#include <unordered_map>
#include <vector>

/// Flights with an irradiance sensor, from a model of sun and sensor of its own.
namespace tessik::test {

/// What a flight is made with.
struct FlightPlan {
    std::size_t captures = 300;
    double duration = 1200.0;              ///< s
    std::vector<double> fractions = {0.5}; ///< one a band
    /// Of the level of the light over the flight: 1, x, x^2, .. for x from 0 to 1.
    std::vector<double> drift = {1.2, 0.1, -0.15};
    double noise = 0.01; ///< standard deviation, relative
    unsigned seed = 1;
    /// (omega, phi, kappa) of the sensor relative to the camera, degrees.
    Eigen::Vector3d mounting = {-2.0, -3.0, 20.0};
    bool staysAsItIs = false; ///< one attitude, one moment
};

/// The images of one camera over a flight of legs to and fro with turns between them. The sensor
/// tilts by 5 to 15 degrees, now towards the sun, now away from it.
struct SunlitFlight {
    explicit SunlitFlight(const FlightPlan& plan);

    static constexpr std::uint64_t kCamera = 7;
    std::vector<InputImage> images;
    CamerasData cameras;
    std::unordered_map<std::uint64_t, radiometry::Settings> settings;
    std::shared_ptr<CalibCamera> poses;
    geo::OutCoordSystem out;

    [[nodiscard]] radiometry::SunlightFractionFitResult
    fit(std::uint64_t band, unsigned degree, bool useSensorAngles = false) const;
    [[nodiscard]] std::map<BandInfo, radiometry::SunlightFractionFitResult>
    fitAll(unsigned degree) const;
};

} // namespace tessik::test
