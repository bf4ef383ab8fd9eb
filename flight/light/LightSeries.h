#pragma once

#include "flight/input/Flight.h"
#include "flight/light/Rigs.h"
#include "platform/geo/ProjectCoordinateSystems.h"
#include "radiometry/core/Types.h"

#include <Eigen/Core>

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <vector>

namespace tessik::flight {

/// One of the bands in which a rig's sensor reads the light.
struct LightBand {
    std::uint64_t cameraId = 0;
    std::size_t index = 0; ///< of the reading in that camera's metadata
    BandInfo band;         ///< width 0 and wavelength 0 = not stated
};

/// What was read at one capture of a rig.
struct LightCapture {
    double time = 0.0;               ///< s since 1970-01-01 00:00 UTC
    std::vector<std::size_t> images; ///< of the flight, one a camera at most
    Eigen::ArrayXd reading;          ///< one a band of the series, the sensor's unit; NaN = none
    Eigen::ArrayXd clearSky;         ///< light on level ground under a clear sky, W/m2/nm; NaN = ?
    double sunElevation = 0.0;       ///< rad, refraction included; NaN = not known
};

/// The readings of a rig in the order of time.
struct LightSeries {
    Rig rig;
    std::vector<LightBand> bands;
    std::vector<LightCapture> captures;
    /// The readings are in W/m2/nm, so that they can be compared with the clear sky.
    bool isAbsolute = false;

    /// Logarithm of reading / clear sky, captures x bands; of the reading itself where the clear
    /// sky of a capture is not known. NaN = no reading.
    [[nodiscard]] Eigen::ArrayXXd logarithms() const;
};

/// The readings of one rig; empty where its cameras have no light sensor. Images without capture
/// time have no part in it.
LightSeries lightSeriesOf(const Rig& rig, const Flight& flight);

/// The fraction of direct sunlight of each band of the series; NaN = not known.
Eigen::ArrayXd fractionsOf(const LightSeries& series, const std::map<BandInfo, double>& direct);

/// How the sensor stood to the sun at a capture. Unit vectors, in the output coordinate system.
struct SensorView {
    Eigen::Vector3d sun = Eigen::Vector3d::UnitZ();
    Eigen::Vector3d up = Eigen::Vector3d::UnitZ();
    Eigen::Vector3d normal = Eigen::Vector3d::UnitZ(); ///< of the sensor
    /// In the sensor's plane: where the aircraft flies to, and to its right.
    Eigen::Vector3d forward = Eigen::Vector3d::UnitX();
    Eigen::Vector3d right = Eigen::Vector3d::UnitY();
};

/// How the sensor stood at each capture, by the pose that a correction type uses; absent where
/// that, the place or the sun is not known.
std::vector<std::optional<SensorView>> viewsOf(const LightSeries& series,
                                               const Flight& flight,
                                               radiometry::CorrectionType type,
                                               const geo::ProjectCoordinateSystems& systems);

} // namespace tessik::flight
