#pragma once

#include "simulate/Camera.h"
#include "simulate/ClearSky.h"

#include <cstdint>
#include <filesystem>
#include <stdexcept>

namespace tessik::simulate {

/// A failure whose text is shown as it stands: "path: reason".
class Failure : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
    Failure(const std::filesystem::path& path, const std::string& reason)
        : std::runtime_error(path.u8string() + ": " + reason) {}
};

/// Where the raw images and the truth are, below the folder of a flight.
inline constexpr auto kImagesFolder = "images";
inline constexpr auto kTruthFolder = "truth";
inline constexpr auto kManifestFile = "flight.json";

/// The cameras that can be flown. SequoiaV1 has uniform sensors; SequoiaV2 has measured ones, whose
/// model is written beside the images.
enum class CameraModel { RedEdge, RedEdgeP, SequoiaV1, SequoiaV2, P4m, M3m };

enum class Sky {
    Changing, ///< drift and clouds; a straight line, flown level; the sensor is exact
    Clear,    ///< sun; a survey, flown in wind; the sensor tilts with the aircraft
    Overcast, ///< the same survey under a closed cover of clouds
    Broken,   ///< the same survey with shadows of clouds
};

/// Whether the light is direct and diffuse, and the aircraft flies a survey.
constexpr bool hasSun(Sky sky) {
    return sky != Sky::Changing;
}

/// Smallest width and height, px: the few defects of a band must stay a few percent of it.
inline constexpr Eigen::Index kSmallestSide = 16;

struct FlightOptions {
    CameraModel camera = CameraModel::RedEdge;
    std::size_t captures = 6;
    std::uint64_t seed = 1;
    Eigen::Index width = 640;  ///< px
    Eigen::Index height = 480; ///< px
    bool hasTruth = true;
    double noise = 1.0;           ///< times the camera's own
    double intervalSeconds = 1.5; ///< from capture to capture; at least 0.1
    Sky sky = Sky::Changing;
    bool hasPanel =
        false; ///< the first and last capture show a reflectance panel; RedEdge and RedEdge-P only
    bool isPanelAtEnd = true;      ///< if not, the first capture only shows it
    double panelError = 0.0;       ///< its reflectance is 1 + this times what its code states
    double sensitivityDrift = 0.0; ///< of the camera, from the first to the last capture
    ClearSky::Options clearSky;    ///< for a sky with a sun; its clouds are those of the sky
};

/// Renders a flight into a folder, which is new or empty: the camera's files, and beside them what
/// they were made from. The same options give the same bytes.
///   images/<file>      as the camera stores them
///   truth/<file>       two float bands: reflectance, and the relative deviation of the noise
///   truth/flight.json  options, light, sensor, exposure and counts of unusable pixels of each
///   file, and
///                      the panel that it shows; it is written even without the truth's images
///   calibration/       model file and thermal profile of a Sequoia with measured sensors
/// @throws Failure
void renderFlight(const std::filesystem::path& folder, const FlightOptions& options);

} // namespace tessik::simulate
